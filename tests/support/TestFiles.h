#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

// Plain file helpers for tests, writing and reading around the code under test.
namespace TestFiles {

// Writes the bytes, making missing folders; false when it could not.
bool write(const QString& path, const QByteArray& bytes);
// The file's bytes; empty when it cannot be read.
QByteArray read(const QString& path);
// Every entry under a folder with the bytes of each file ("<folder>" for folders): "nothing
// on disk changed" is two snapshots comparing equal.
QMap<QString, QByteArray> snapshot(const QString& folder);

} // namespace TestFiles
