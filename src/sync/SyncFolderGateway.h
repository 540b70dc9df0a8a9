#pragma once

#include "sync/FileStamp.h"

#include <QHash>
#include <QSet>
#include <QString>

#include <optional>

// One look at the synced folder.
struct FolderScan {
    // Documents present and readable as files, by name, with their stamps.
    QHash<QString, FileStamp> documents;
    // Documents that exist but cannot be looked at yet (placeholders of undownloaded files,
    // a directory wearing a document's name, a file whose date cannot be had).
    QSet<QString> unresolved;
    // False when the folder could not be listed: the scan is then empty, which must not be
    // read as a folder whose documents were all deleted.
    bool complete = true;

    QSet<QString> allNames() const
    {
        QSet<QString> names = unresolved;
        for (auto it = documents.cbegin(); it != documents.cend(); ++it)
            names.insert(it.key());
        return names;
    }
};

// Everything the sync engine does to the folder. Names are plain file names inside the
// folder. No operation throws: failures come back as false or absent, and the
// implementation writes its own log line.
class SyncFolderGateway {
public:
    enum class Ensured {
        Unavailable, // no drive root, or the folder could not be created
        Existed,
        // The folder was missing and has just been made: whatever the index remembers of it
        // is gone (deleted by hand, another drive mounted), which is not the same as every
        // document having been deleted.
        Created,
    };

    // Which folder this is: its path, and the identity kept in its marker file. A folder
    // deleted and made again, or another one put in its place, has another identity or none.
    struct Identity {
        QString path;
        // Absent when the folder has no marker.
        std::optional<QString> id;
        // False when a marker is there but cannot be read: the folder cannot be told apart
        // from another one.
        bool readable = true;
    };

    virtual ~SyncFolderGateway() = default;
    SyncFolderGateway() = default;
    SyncFolderGateway(const SyncFolderGateway&) = delete;
    SyncFolderGateway& operator=(const SyncFolderGateway&) = delete;

    // The root the folder lives under exists and is a directory.
    virtual bool isAvailable() const = 0;
    virtual Ensured ensure() = 0;
    virtual FolderScan scan() = 0;
    // REQUIRES: ensure() gave a folder.
    virtual Identity identity() = 0;
    // Gives the folder a marker with a new identity, which it returns; absent when the
    // marker cannot be written.
    virtual std::optional<QString> mark() = 0;
    // Absent when the file cannot be read or is not UTF-8.
    virtual std::optional<QString> read(const QString& name) = 0;
    // Absent when the file is not there or cannot be looked at.
    virtual std::optional<FileStamp> fileStamp(const QString& name) = 0;
    // Replaces the file whole, or leaves it as it was.
    virtual bool write(const QString& text, const QString& name) = 0;
    virtual bool remove(const QString& name) = 0;
    // A copy for people to read, in the conflicts subfolder; never read back by the sync.
    virtual bool writeConflict(const QString& text, const QString& name) = 0;
};
