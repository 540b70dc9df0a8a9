#pragma once

#include "platform/Date.h"
#include "sync/FileStamp.h"

#include <QHash>
#include <QMultiHash>
#include <QString>

#include <optional>

class Files;

// This machine's memory of the last agreement between each note and its document: which file
// it lives in, both dates as they stood at that sync, and a hash of the document's content
// then. It is what tells a new note from a deleted one and a changed file from an unchanged
// one. It lives beside the database, never in the synced folder.
//
// The file's date is kept exactly (beside its whole-second form), so that after a restart an
// unchanged file is still known as unchanged without being read.
class CloudSyncIndex {
public:
    struct Entry {
        QString fileName;
        Date syncedModified; // the note's modified when last synced
        FileStamp file;      // the file as it stood when last synced
        // The content of the document as last written or read (SyncPlan::contentHash); absent
        // in entries saved before hashes were kept, whose content must be compared afresh.
        std::optional<QByteArray> contentHash;

        friend bool operator==(const Entry&, const Entry&) = default;
    };

    // The folder the entries describe: where it was, and the identity its marker file held.
    // Entries are evidence only about that folder; over any other, a missing document says
    // nothing about a deletion.
    struct Folder {
        QString path;
        QString id;

        friend bool operator==(const Folder&, const Folder&) = default;
    };

    // Never fails: a missing, unreadable or undecodable file (a single entry lacking a key,
    // or a folder record lacking one, is enough) gives an empty index, which the sync treats
    // as its first run.
    static CloudSyncIndex load(const QString& path, Files& files);
    // Replaces the file in one step; on failure logs one line and returns false, leaving the
    // old file and this index as they are.
    bool save(const QString& path, Files& files) const;

    // The encoded form, as saved: pretty-printed, keys sorted, whole-second UTC dates.
    QByteArray encode() const;
    static std::optional<CloudSyncIndex> decode(const QByteArray& data);

    const QHash<QString, Entry>& entries() const { return table; }
    const Entry* entry(const QString& noteID) const;
    bool isEmpty() const { return table.isEmpty(); }
    qsizetype size() const { return table.size(); }
    // Moves on with every change, so that a caller can tell that nothing changed.
    quint64 revision() const { return changes; }

    // Absent for a new index and for one saved before folders were recorded.
    const std::optional<Folder>& folder() const { return tiedTo; }
    // Says which folder the entries belong to from now on; the entries stay as they are.
    void tie(Folder folder);

    // The id whose entry names exactly this file (case sensitive); which one when two do is
    // unspecified.
    std::optional<QString> idForFileName(const QString& name) const;
    // Replaces the whole entry for the id, file name included.
    void record(const QString& noteID, const QString& fileName, Date noteModified, FileStamp file,
                std::optional<QByteArray> contentHash = std::nullopt);
    void forget(const QString& noteID);
    void forgetAll();

    friend bool operator==(const CloudSyncIndex& a, const CloudSyncIndex& b)
    {
        return a.table == b.table && a.tiedTo == b.tiedTo;
    }

private:
    QHash<QString, Entry> table;
    std::optional<Folder> tiedTo;
    // fileName -> ids, so that looking up every scanned name stays linear in the folder.
    QMultiHash<QString, QString> byFileName;
    quint64 changes = 0;
};
