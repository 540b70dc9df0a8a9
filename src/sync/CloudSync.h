#pragma once

#include "notes/Note.h"
#include "platform/Scheduler.h"
#include "sync/CloudSyncIndex.h"
#include "sync/MassDeletePrompt.h"
#include "sync/SyncFolderGateway.h"
#include "sync/SyncPlan.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QSet>

#include <functional>
#include <optional>

class Files;
class NoteStoring;

// Runs sync passes: looks at the folder, asks SyncPlan what to do, does it, and remembers
// the outcome in the index. Everything runs on the main thread, synchronously: from the
// repeating timer, one second after the last local change, or an explicit call.
//
// Beyond carrying out the plan, the engine keeps three promises:
// - A folder that had to be made again (deleted, another drive mounted) is not read as
//   "every document deleted": the index is forgotten and the pass is a first sync.
// - When one pass would delete here more than half of the notes the index knows, and more
//   than three, those deletions wait for the user's answer; everything else goes on.
// - A note that left the store within the undo window is not taken in again from the
//   folder until that window has passed, so that an undo can never make two records with
//   one id.
class CloudSync final : public QObject {
    Q_OBJECT

public:
    static constexpr double defaultInterval = 5.0;
    static constexpr double debounce = 1.0;
    // The store's undo window, plus a second for the timers' own order.
    static constexpr double undoHold = 11.0;

    // `enabled` is asked at every pass and by reload(). The index is loaded from indexPath
    // once, here, and saved there through files. The references must outlive the engine.
    CloudSync(SyncFolderGateway& folder, NoteStoring& store, Scheduler& scheduler, Files& files,
              QString indexPath, std::function<bool()> enabled, MassDeletePrompt& prompt,
              double interval = defaultInterval, QObject* parent = nullptr);
    ~CloudSync() override;

    // Starts when enabled, stops otherwise. Called at launch and when the setting changes.
    void reload();
    // Watches the store, starts the repeating pass and runs one at once. Nothing if started.
    void start();
    // Stops the timer, the pending pass and the watch; the folder and index stay as they are.
    void stop();
    bool isStarted() const { return timer != nullptr; }
    // One pass; true when it ran to its end. False at once when disabled, when a pass is
    // already running, or when the folder is unavailable.
    bool syncNow();

    // The end of the last finished pass.
    std::optional<Date> lastSync() const { return last; }
    const CloudSyncIndex& index() const { return syncIndex; }
    // What the last finished pass carried out (holds taken out).
    const QList<SyncPlan::Action>& lastPlan() const { return lastActions; }
    // Deletions held back for the user's answer, by note id.
    const QSet<QString>& heldDeletions() const { return held; }

Q_SIGNALS:
    void lastSyncChanged();

private:
    void scheduleLocalPush();
    bool finishPass(const QList<SyncPlan::Action>& planned, const QList<Note>& notes,
                    const FolderScan& scan, bool quiet = true);
    void settleRestoredDates(const FolderScan& scan, const QList<Note>& notes);
    QList<SyncPlan::RemoteFile> remoteFiles(const FolderScan& scan);
    QList<SyncPlan::Action> applyHolds(QList<SyncPlan::Action> actions);
    void carryOut(const SyncPlan::Action& action);
    bool push(const QString& noteID, const std::optional<QString>& existingFileName);
    void pull(const QString& fileName);
    void reindex(const QString& noteID, const QString& fileName);
    void adopt(const QString& fileName);
    void deleteLocal(const QString& noteID);
    void deleteRemote(const QString& fileName);
    void resolve(const QString& noteID, const QString& fileName, bool localWins);
    void answered(MassDeletePrompt::Answer answer);
    void forgetOldVanished();
    bool wasInStore(const QString& id);
    QSet<QString>& claimedSet();

    SyncFolderGateway& folder;
    NoteStoring& store;
    Scheduler& scheduler;
    Files& files;
    MassDeletePrompt& prompt;
    std::function<bool()> enabled;
    double interval;
    QString indexPath;
    CloudSyncIndex syncIndex;

    std::optional<Date> last;
    QList<SyncPlan::Action> lastActions;
    bool isRunning = false;
    bool indexChanged = false;
    // Per pass: the notes parsed from files read in this pass, and every name taken in the
    // folder (lower-cased), so that a new note never takes a name that exists.
    QHash<QString, Note> scanned;
    std::optional<QSet<QString>> claimed;
    std::function<QSet<QString>()> claimedNames;
    QSet<QString> adopted;

    Scheduler::HandlePtr timer;
    Scheduler::HandlePtr pending;
    Scheduler::HandlePtr followUp;
    QPointer<QObject> watch;

    // The deletions brake.
    QSet<QString> held;
    bool asking = false;
    QSet<QString> confirmed;
    std::optional<MassDeletePrompt::Answer> deferredAnswer;
    std::shared_ptr<bool> alive = std::make_shared<bool>(true);

    // The undo gap: the notes the last pass left in the store (their ids built only when
    // needed), and ids that left it recently, with the moment they were seen gone.
    QList<Note> previousNotes;
    bool lastPassQuiet = false;
    quint64 quietRevision = 0;
    FolderScan lastScan;
    std::optional<QSet<QString>> previousIDs;
    QHash<QString, Date> vanished;
    // Files adopted in a pass whose write failed: the next attempt keeps the same new id,
    // so a retry replaces the note instead of making a second one.
    QHash<QString, QString> pendingAdoptions;
};
