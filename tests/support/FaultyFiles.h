#pragma once

#include "platform/Files.h"
#include "platform/qt/QtFiles.h"

#include <QString>
#include <QStringList>

#include <cerrno>
#include <functional>
#include <optional>

// The real disk, with writes that fail on demand the way a full disk or a folder without
// rights fails them: "the disk fills up on the third image write" is failAfter(2). Reads,
// removals pass through; listings fail on demand.
class FaultyFiles final : public Files {
public:
    // From now on, after `successes` more writes have gone through, every write and creation
    // fails with `error`.
    void failAfter(int successes, int error = ENOSPC);
    // Writes and creations to paths that hold the fragment fail with `error`.
    void failPathsContaining(const QString& fragment, int error = EACCES);
    // Every folder sync fails with `error` until heal().
    void failFolderSyncs(int error = EIO);
    // Every listing of a folder fails, as an unreadable folder fails it, until heal().
    void failListings() { listingsFail = true; }
    // Every write goes through again.
    void heal();

    // Writes and creations that reached the disk.
    int writes = 0;
    // Writes and creations refused.
    int refused = 0;
    // The folders synced to the disk, in order.
    QStringList syncedFolders;

    Result read(const QString& path, QByteArray& into, qint64 limit = -1) override
    {
        return disk.read(path, into, limit);
    }
    Result write(const QString& path, const QByteArray& data,
                 Access access = Access::Shared) override;
    Result create(const QString& path, const QByteArray& data,
                  Access access = Access::Private) override;
    Result remove(const QString& path) override { return disk.remove(path); }
    Result makeFolder(const QString& path, bool withParents,
                      Access access = Access::Shared) override
    {
        return disk.makeFolder(path, withParents, access);
    }
    Result syncFolder(const QString& path) override;
    std::optional<Entry> stat(const QString& path) override { return disk.stat(path); }
    std::optional<Entry> lstat(const QString& path) override { return disk.lstat(path); }
    std::optional<QList<Entry>> list(const QString& folder, bool withDates = true) override
    {
        if (listingsFail)
            return std::nullopt;
        return disk.list(folder, withDates);
    }

private:
    std::optional<Result> fault(const QString& path);
    Result written(const QString& path, const std::function<Result()>& write);

    QtFiles disk;
    std::optional<int> successesLeft;
    int afterError = 0;
    QString fragment;
    int fragmentError = 0;
    int syncError = 0;
    bool listingsFail = false;
};
