#pragma once

// The sync's world for tests: a scripted answer to the mass-deletion question, a real folder
// in virtual time, one machine with a real store and engine on it, and random lives of two
// machines sharing one folder.

#include "images/ImageStore.h"
#include "notes/NoteStore.h"
#include "notes/Store.h"
#include "support/FaultyFiles.h"
#include "sync/CloudFolder.h"
#include "sync/CloudSync.h"
#include "sync/LocalTrash.h"
#include "sync/MassDeletePrompt.h"

#include <QMap>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

// Records every question; answers at once when told to, else keeps the callback so that the
// test answers later.
class ScriptedPrompt final : public MassDeletePrompt {
public:
    void ask(int count, std::function<void(Answer)> answer) override
    {
        counts.append(count);
        if (immediate)
            answer(*immediate);
        else
            waiting = std::move(answer);
    }
    void reply(Answer answer)
    {
        if (auto fn = std::exchange(waiting, nullptr))
            fn(answer);
    }

    std::optional<Answer> immediate;
    QList<int> counts;
    std::function<void(Answer)> waiting;
};

// A real CloudFolder whose writes take their modification date from virtual time, so that
// a test decides how much time passes between two writes (the file system's own clock moves
// in steps of milliseconds, and tests run faster than that). Also counts reads;
// faults come from the disk underneath (files).
class ClockedFolder final : public SyncFolderGateway {
public:
    ClockedFolder(const QString& root, Scheduler& clock);

    QString path() const { return folder.path(); }
    // Sets a file's modification date to the next distinct moment of virtual time.
    void stamp(const QString& filePath);
    // Points the folder at another root from the next pass on, as a changed setting does.
    void setRoot(const QString& root) { rootPath = root; }

    bool isAvailable() const override { return folder.isAvailable(); }
    Ensured ensure() override { return folder.ensure(); }
    FolderScan scan() override { return folder.scan(); }
    Identity identity() override { return folder.identity(); }
    std::optional<QString> mark() override { return folder.mark(); }
    std::optional<QString> read(const QString& name) override;
    std::optional<FileStamp> fileStamp(const QString& name) override
    {
        if (beforeTouch)
            beforeTouch(name);
        return folder.fileStamp(name);
    }
    bool write(const QString& text, const QString& name) override;
    bool remove(const QString& name) override { return folder.remove(name); }
    bool writeConflict(const QString& text, const QString& name) override
    {
        return folder.writeConflict(text, name);
    }

    // The disk under the folder, with faults on demand.
    FaultyFiles files;
    int reads = 0;
    // Runs once, the next time the engine reads a document, before the read: what a sync
    // client does between a pass's scan and its writes.
    std::function<void(const QString& name)> onNextRead;
    // Runs before every read of a document and every look at its date, until cleared: a sync
    // client working on the folder while a pass runs.
    std::function<void(const QString& name)> beforeTouch;

private:
    CloudFolder folder{[this] { return rootPath; }, files, [this] { return clock.now(); }};
    QString rootPath;
    Scheduler& clock;
    double lastStamp = 0;
};

// What two machines must agree on, by id: all that a document carries but the dates, which
// differ by design (a pull moves modified to the file's date; documents keep whole seconds).
QMap<QString, QString> contents(const NoteStoring& store);

// One machine of the sync's world: its own data folder with a real database, note store and
// engine, on a sync root that other machines may share, in virtual time they share too. A
// storage failure fails the running test.
struct SyncMachine {
    SyncMachine(const QString& root, Scheduler& clock);
    // A relaunch: everything saved, then database, store, index and engine read back from
    // disk. Unflushed, it is a forced end: what the store holds only in memory is lost.
    void restart(bool flushFirst = true);

    QString file(const QString& name) const { return folder.path() + u'/' + name; }
    // The documents in the synced folder, or in a folder of it, sorted.
    QStringList names(const QString& under = {}) const;

    QTemporaryDir data;
    ClockedFolder folder;
    Scheduler& clock;
    ScriptedPrompt prompt;
    // What the sync deleted here, in the data folder.
    LocalTrash trash{data.filePath(QStringLiteral("Trash")), folder.files};
    bool enabled = true;
    // Storage failures fail the running test unless a test expects them: then they are
    // collected here.
    bool storageFailuresExpected = false;
    QStringList storageFailures;
    std::unique_ptr<Store> database;
    std::unique_ptr<ImageStore> images;
    std::unique_ptr<NoteStore> notes;
    std::unique_ptr<CloudSync> engine;
};

// Two machines, one folder: a seeded random life of creates, edits, archives, deletes, title
// changes, hand edits and renames on both sides, with passes in between. After quiet passes
// both stores must agree, nothing that was not deleted on purpose may be missing, every
// conflict must have left its copy, and nothing more may be planned, also after restarts.
// Failures go to the running Qt test. Time is virtual throughout, so a busy machine only makes
// a life take longer.
namespace SyncLife {
void live(quint32 seed);
} // namespace SyncLife
