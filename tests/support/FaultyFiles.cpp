#include "support/FaultyFiles.h"

void FaultyFiles::failAfter(int successes, int error)
{
    successesLeft = successes;
    afterError = error;
}

void FaultyFiles::failPathsContaining(const QString& value, int error)
{
    fragment = value;
    fragmentError = error;
}

void FaultyFiles::failFolderSyncs(int error) { syncError = error; }

void FaultyFiles::heal()
{
    successesLeft.reset();
    fragment.clear();
    syncError = 0;
    listingsFail = false;
}

std::optional<Files::Result> FaultyFiles::fault(const QString& path)
{
    if (!fragment.isEmpty() && path.contains(fragment))
        return Result{fragmentError};
    if (successesLeft) {
        if (*successesLeft == 0)
            return Result{afterError};
        --*successesLeft;
    }
    return std::nullopt;
}

Files::Result FaultyFiles::written(const QString& path, const std::function<Result()>& write)
{
    if (const auto failed = fault(path)) {
        ++refused;
        return *failed;
    }
    const Result result = write();
    if (result)
        ++writes;
    return result;
}

Files::Result FaultyFiles::write(const QString& path, const QByteArray& data, Access access)
{
    return written(path, [&] { return disk.write(path, data, access); });
}

Files::Result FaultyFiles::create(const QString& path, const QByteArray& data, Access access)
{
    return written(path, [&] { return disk.create(path, data, access); });
}

Files::Result FaultyFiles::syncFolder(const QString& path)
{
    if (syncError != 0)
        return Result{syncError};
    const Result result = disk.syncFolder(path);
    if (result)
        syncedFolders.append(path);
    return result;
}
