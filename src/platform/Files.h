#pragma once

#include "platform/Date.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

// Whole-file access to the local disk: the key file, pictures, the sync memory and the synced
// documents all go through here, so that a test can make the disk fill up on the third write.
// Paths are absolute. Every write is whole or nothing: a failed write leaves the file as it
// was. No call throws.
class Files {
public:
    // The outcome of a call: an errno value, 0 for success.
    struct Result {
        int error = 0;

        static Result ok() { return {}; }
        explicit operator bool() const { return error == 0; }
        // The system's text for the error ("No space left on device").
        QString description() const;
    };

    enum class Kind { File, Folder, Other };

    // Who may read what a call makes. Shared: as the umask allows, for documents that other
    // programs and people share. Private: the owner only (files 0600, folders 0700) whatever
    // the umask, for the program's own data, which other accounts on the machine must not
    // read.
    enum class Access { Shared, Private };

    struct Entry {
        QString name; // the entry's name inside its folder
        Kind kind = Kind::Other;
        Date modified;
        qint64 size = 0;
        // The last change of the file or of its status, set by the file system itself.
        Date changed;
        // A symbolic link: kind, date and size are those of what it leads to (Other for a
        // link that leads nowhere). Other programs' links are theirs to change.
        bool link = false;
    };

    virtual ~Files() = default;
    Files() = default;
    Files(const Files&) = delete;
    Files& operator=(const Files&) = delete;

    // Reads the file into `into`. With a limit, reads at most that many bytes, so a caller
    // can tell a file longer than it expects without reading it all.
    virtual Result read(const QString& path, QByteArray& into, qint64 limit = -1) = 0;
    // Replaces the file with the data, or leaves it as it was. A shared file that was there
    // keeps its permissions; a private one ends private whatever it had.
    virtual Result write(const QString& path, const QByteArray& data,
                         Access access = Access::Shared) = 0;
    // Writes a file that must not exist yet, synced to the disk before it appears under its
    // name. EEXIST when a file of that name is there (another process got there first); it is
    // never replaced. The new name itself reaches the disk only with syncFolder.
    virtual Result create(const QString& path, const QByteArray& data,
                          Access access = Access::Private) = 0;
    // ENOENT when there was nothing to remove.
    virtual Result remove(const QString& path) = 0;
    // Makes the folder, and with parents every missing folder above it, with the access
    // given; an existing folder is success and keeps its permissions. Without parents, the
    // folder above must exist, so that a vanished root is never made again by accident.
    virtual Result makeFolder(const QString& path, bool withParents,
                              Access access = Access::Shared) = 0;
    // Puts the folder's names (files made, linked, renamed or removed in it) on the disk, so
    // that a power cut cannot take back a name that a caller has started to depend on.
    virtual Result syncFolder(const QString& path) = 0;
    // Absent when nothing is at the path. Links are followed.
    virtual std::optional<Entry> stat(const QString& path) = 0;
    // As stat, but a link at the path is not followed: it comes back as itself, with link
    // set, kind Other and the link's own date.
    virtual std::optional<Entry> lstat(const QString& path) = 0;
    // The entries of a folder, "." and ".." left out, in no particular order, each as stat
    // gives it, links flagged (an entry that vanished while listing is left out). Without dates,
    // only names and kinds are filled, which spares a look at every file where the folder's own
    // listing tells the kind. Absent when the folder cannot be read.
    virtual std::optional<QList<Entry>> list(const QString& folder, bool withDates = true) = 0;
};
