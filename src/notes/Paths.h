#pragma once

#include <QString>

// Where every local file of the program lives. The folder is made on first use; the values
// never change within a process. Classes take their paths in their constructors, with these
// as the defaults, so tests never come near the real folder.
namespace Paths {

// The per-user data folder plus "Pondrift". Created with its parents on first use; a failure
// to create it is ignored here and surfaces as the first file operation that needs it.
QString support();
QString db();
QString key();

} // namespace Paths
