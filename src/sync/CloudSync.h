#pragma once

#include "notes/Note.h"
#include "platform/Scheduler.h"
#include "sync/CloudSyncIndex.h"
#include "sync/DeletionBrake.h"
#include "sync/SyncFolderGateway.h"
#include "sync/SyncPlan.h"
#include "sync/VanishedNotes.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QSet>

#include <functional>
#include <optional>

class Files;
class LocalTrash;
class NoteStoring;

// Runs sync passes: looks at the folder, asks SyncPlan what to do, holds back what must wait,
// does the rest, and remembers the outcome in the index. Everything runs on the main thread,
// synchronously: from the repeating timer, one second after the last local change, the
// user's answer to a held deletion, or an explicit call.
//
// Beyond carrying out the plan, the engine keeps three promises:
// - A folder that is not the one the index was made over (another root, a folder deleted
//   and made again, another one put in its place: told by the marker file the folder keeps)
//   is not read as "every document deleted": the index is forgotten, the pass is a first
//   sync, and the index is tied to the folder it found.
// - When one pass would delete here more than half of the notes the index knows, and more
//   than three, those deletions wait for the user's answer; everything else goes on
//   (DeletionBrake).
// - A note that left the store within the undo window is not taken in again from the
//   folder until that window has passed, so that an undo can never make two records with
//   one id (VanishedNotes).
// - A second document of a synced note's id while the note's own document is still there
//   may be a rename from another machine whose removal of the old name has not arrived yet,
//   edited meanwhile: it is not made a note of its own for renameWait seconds, so that the
//   note keeps its id when the old name goes. When the old name is still there after that,
//   both names stay for good (one machine renamed while another edited the old name in
//   place, and the client brought the edit back): every machine keeps the name that sorts
//   first as the note's document, keeps the other's differing text as a conflict copy,
//   carries over a value (a colour, a pin) the other name changed while both stood, and
//   removes the other name, so that all of them end with one document and one note.
class CloudSync final : public QObject {
    Q_OBJECT

public:
    static constexpr double defaultInterval = 5.0;
    static constexpr double debounce = 1.0;
    // The store's undo window, plus a second for the timers' own order.
    static constexpr double undoHold = 11.0;
    // How long a second document of a synced note, with other text, may wait for the
    // removal of the note's own document before it counts as a note of its own.
    static constexpr double renameWait = 60.0;

    // Why passes are not running, for the settings' sync status.
    enum class Blocked {
        None,
        FolderUnavailable, // no sync root, or the folder could not be made
        StoreReadOnly,     // the notes could not be read, so none can be kept either
        FolderUnlisted,    // the folder's listing failed: nothing in it can be told apart
    };

    // `enabled` is asked at every pass and by reload(). The index is loaded from indexPath
    // once, here, and saved there through files. The references must outlive the engine.
    CloudSync(SyncFolderGateway& folder, NoteStoring& store, Scheduler& scheduler, Files& files,
              QString indexPath, std::function<bool()> enabled, MassDeletePrompt& prompt,
              double interval = defaultInterval, QObject* parent = nullptr);
    ~CloudSync() override;

    // Where the last text of a note goes before a pass deletes the note here. Without one,
    // notes are deleted with nothing kept. The trash must outlive the engine.
    void keepDeletedIn(LocalTrash* trash) { deletedNotes = trash; }

    // Starts when enabled, stops otherwise. Called at launch and when the setting changes.
    void reload();
    // Watches the store, starts the repeating pass and runs one at once. Nothing if started.
    void start();
    // Stops the timer, the pending pass and the watch; the folder and index stay as they are.
    void stop();
    bool isStarted() const { return triggers.timer != nullptr; }
    // One pass; true when it ran to its end. False at once when disabled, when a pass is
    // already running, or when the folder is unavailable.
    bool syncNow();

    // The end of the last finished pass.
    std::optional<Date> lastSync() const { return lastPass.end; }
    const CloudSyncIndex& index() const { return syncIndex; }
    // What the last finished pass carried out (holds taken out).
    const QList<SyncPlan::Action>& lastPlan() const { return lastPass.carriedOut; }
    // Deletions held back for the user's answer, by note id.
    const QSet<QString>& heldDeletions() const { return brake.held(); }
    // Why the last attempted pass did not run; None once one runs.
    Blocked blocked() const { return blockedBy; }

Q_SIGNALS:
    void lastSyncChanged();
    void blockedChanged();

private:
    // What one pass knows while it runs.
    struct Pass {
        // Out of line: inside the engine's own definition the members' defaults are not yet
        // known, and some compilers then take a pass for not default-constructible.
        Pass();
        FolderScan scan;
        // The notes parsed from the files read in this pass, by file name.
        QHash<QString, Note> scanned;
        // Every name taken in the folder, lower-cased, so that a new note never takes a name
        // that exists; gathered on first use, since most passes name no file.
        std::optional<QSet<QString>> claimed;
        // Lower-cased names that more than one file in the folder takes (names that differ
        // only in case), gathered with claimed.
        QSet<QString> sharedByCase;
        // Files adopted in this pass: their documents are the adopted notes' now.
        QSet<QString> adopted;
        // Second documents of synced notes that waited their time: one of the two names goes.
        QStringList twins;
        bool indexChanged = false;
    };
    // What the last finished pass did and saw. A pass that would see the very same notes,
    // index and folder as a quiet one would plan nothing again.
    struct LastPass {
        std::optional<Date> end;
        QList<SyncPlan::Action> carriedOut;
        bool quiet = false;
        quint64 indexRevision = 0;
        FolderScan scan;
        QList<Note> notes;
    };
    // What starts a pass besides a call: the repeating timer, the pass a moment after the
    // last local change, the pass after the user's answer, and the watch on the store.
    struct Triggers {
        Scheduler::HandlePtr timer;
        Scheduler::HandlePtr pending;
        Scheduler::HandlePtr followUp;
        QPointer<QObject> watch;
    };

    void scheduleLocalPush();
    // Logs once per change of reason, not on every pass that is turned away.
    void block(Blocked reason);
    std::optional<QString> idOfDocument(const QString& fileName) const;
    // Makes sure the index speaks of the folder this pass looks at; false when the folder
    // cannot say which it is, and then the pass must not run.
    bool tieIndexToFolder();
    // The document is not as this pass's scan saw it: replaced, made or removed since.
    bool changedSinceScan(const QString& name);
    // SyncPlan::contentHash, remembered per note until the note changes.
    QByteArray localHash(const Note& note);
    QList<SyncPlan::RemoteFile> remoteFiles();
    QSet<QString> unresolvedNames(const QList<SyncPlan::RemoteFile>& remote) const;
    QList<SyncPlan::Action> hold(const QList<SyncPlan::Action>& planned);
    enum class SecondDocument { No, Waiting, Settle };
    // Whether an adoption planned for the file is of a second document of a synced note whose
    // own document is still there: one that waits for the removal of that document (see
    // renameWait), or one that has waited long enough and is settled instead of adopted.
    SecondDocument secondDocument(const QString& fileName, Date now);
    // Whether fileName is another name of an indexed note whose indexed document is still
    // there and still the note's.
    bool isLingeringName(const QString& fileName, const QString& noteID) const;
    // Whether a document other than fileName, and not a client's copy, declares the note.
    bool hasAnotherDocument(const QString& noteID, const QString& fileName) const;
    // Leaves the note of a second document that waited its time with one of the two names.
    void settleTwin(const QString& fileName);
    void carryOut(const SyncPlan::Action& action);
    bool finishPass(const QList<SyncPlan::Action>& carriedOut, const QList<Note>& notes,
                    bool quiet = true);
    void settle(DeletionBrake::Answer answer, const QSet<QString>& ids);

    bool push(const QString& noteID, const std::optional<QString>& existingFileName);
    void pull(const QString& fileName);
    void reindex(const QString& noteID, const QString& fileName);
    void adopt(const QString& fileName);
    void deleteLocal(const QString& noteID);
    void deleteRemote(const QString& fileName);
    void resolve(const QString& noteID, const QString& fileName, bool localWins);
    // A conflict whose two texts agree, settled value by value; false when it cannot be.
    bool mergeHeaders(const Note& local, const Note& remote, const QString& fileName);
    void discard(const QString& fileName);
    QSet<QString>& claimed();
    // The name of a file this pass removed is free again.
    void release(const QString& removed);

    SyncFolderGateway& folder;
    NoteStoring& store;
    Scheduler& scheduler;
    Files& files;
    std::function<bool()> enabled;
    double interval;
    QString indexPath;
    LocalTrash* deletedNotes = nullptr;
    CloudSyncIndex syncIndex;
    Triggers triggers;
    // Present for the length of a pass.
    std::optional<Pass> pass;
    LastPass lastPass;
    DeletionBrake brake;
    VanishedNotes vanished{undoHold};
    Blocked blockedBy = Blocked::None;
    // Each note's content hash with the note it was taken from (see localHash).
    QHash<QString, std::pair<Note, QByteArray>> hashes;
    // Second documents of synced notes' ids waiting for their note's old name to go, with
    // the moment each was first held back.
    QHash<QString, Date> renamesWaiting;
    // What the two names of a note held when the second began to wait, by the second name:
    // a value either side changed on its name meanwhile is carried over when that name goes.
    struct TwinStart {
        std::optional<Note> second;
        std::optional<Note> indexed;
    };
    QHash<QString, TwinStart> twinStarts;
};
