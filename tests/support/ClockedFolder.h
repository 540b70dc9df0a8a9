#pragma once

#include "platform/Scheduler.h"
#include "support/FaultyFiles.h"
#include "sync/CloudFolder.h"

#include <QSet>

// A real CloudFolder whose writes take their modification date from virtual time, so that
// a test decides how much time passes between two writes (the file system's own clock moves
// in steps of milliseconds, and tests run faster than that). Also counts reads and can make
// chosen operations fail, for the fault tests.
class ClockedFolder final : public SyncFolderGateway {
public:
    ClockedFolder(const QString& root, Scheduler& clock);

    CloudFolder& real() { return folder; }
    QString path() const { return folder.path(); }
    // Sets a file's modification date to the next distinct moment of virtual time.
    void stamp(const QString& filePath);

    bool isAvailable() const override { return folder.isAvailable(); }
    Ensured ensure() override { return folder.ensure(); }
    FolderScan scan() override;
    std::optional<QString> read(const QString& name) override;
    std::optional<Date> modificationDate(const QString& name) override
    {
        return folder.modificationDate(name);
    }
    bool write(const QString& text, const QString& name) override;
    bool remove(const QString& name) override;
    bool writeConflict(const QString& text, const QString& name) override;

    // The disk under the folder, with faults on demand.
    FaultyFiles files;
    int reads = 0;
    int writes = 0;
    int scans = 0;
    // Names whose reads or writes fail, as a full disk or a file without rights would.
    QSet<QString> failingReads;
    QSet<QString> failingWrites;

private:
    CloudFolder folder{[this] { return rootPath; }, files, [this] { return clock.now(); }};
    QString rootPath;
    Scheduler& clock;
    double lastStamp = 0;
};
