#pragma once

// A SQLite file system that passes every call to the one that was the default, except that
// writes can be made to fail on demand the way a failing or full disk fails them. Installed
// as the default, so a Store opened afterwards goes through it with no change of its own.
// Everything above the file layer is real SQLite.
namespace FaultInjectingVfs {

enum class Fault { None, IoError, DiskFull };

// Registers the file system as the default; later calls do nothing.
void install();
// From now on every write answers with this fault (None lets writes through again).
void setWriteFault(Fault fault);
// Writes that reached the disk since the last reset, over all files.
int writeCount();
void resetWriteCount();

} // namespace FaultInjectingVfs
