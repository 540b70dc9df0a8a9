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
// The permission bits of what is at the path (links followed), as in 0600; -1 when nothing
// is there.
int permissions(const QString& path);

// Sets the process's umask while it lives, for the files it makes.
class Umask final {
public:
    explicit Umask(int mask);
    ~Umask();
    Umask(const Umask&) = delete;
    Umask& operator=(const Umask&) = delete;

private:
    int previous;
};

// Every entry under a folder with the bytes of each file ("<folder>" for folders): "nothing
// on disk changed" is two snapshots comparing equal.
QMap<QString, QByteArray> snapshot(const QString& folder);

} // namespace TestFiles
