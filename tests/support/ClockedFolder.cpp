#include "support/ClockedFolder.h"

#include <QDateTime>
#include <QDir>
#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>

#include <cmath>

ClockedFolder::ClockedFolder(const QString& root, Scheduler& clock)
    : rootPath(root)
    , clock(clock)
{
}

void ClockedFolder::stamp(const QString& filePath)
{
    // Distinct even when virtual time has not moved, and never behind an earlier stamp.
    double when = std::max(clock.now().seconds, lastStamp + 0.001);
    lastStamp = when;
    timespec times[2];
    times[0].tv_sec = static_cast<time_t>(std::floor(when));
    times[0].tv_nsec = static_cast<long>((when - std::floor(when)) * 1e9);
    times[1] = times[0];
    ::utimensat(AT_FDCWD, QFile::encodeName(filePath).constData(), times, 0);
}

FolderScan ClockedFolder::scan()
{
    ++scans;
    return folder.scan();
}

std::optional<QString> ClockedFolder::read(const QString& name)
{
    ++reads;
    if (failingReads.contains(name))
        return std::nullopt;
    return folder.read(name);
}

bool ClockedFolder::write(const QString& text, const QString& name)
{
    if (failingWrites.contains(name))
        return false;
    if (!folder.write(text, name))
        return false;
    ++writes;
    stamp(folder.path() + u'/' + name);
    return true;
}

bool ClockedFolder::remove(const QString& name) { return folder.remove(name); }

bool ClockedFolder::writeConflict(const QString& text, const QString& name)
{
    return folder.writeConflict(text, name);
}
