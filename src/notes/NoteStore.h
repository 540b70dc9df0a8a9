#pragma once

#include "notes/Note.h"
#include "notes/NoteStoring.h"
#include "platform/Scheduler.h"

#include <QList>
#include <QObject>
#include <QSet>
#include <QString>

#include <functional>
#include <map>
#include <optional>

class ImageFiles;
class Store;

// The single source of truth at run time: every note in memory, observable by every
// surface, and every change of a note goes through here. It decides when a change reaches
// the database (text edits 0.25 s after the last change of that note, everything else at
// once), assigns sort orders and default colours, keeps the one deletion that can be undone,
// removes image files nothing refers to, and reports storage failures once per distinct
// message.
//
// A failed initial load leaves the store read-only for the life of the process: the notes
// stay empty, nothing is written, and the database is left exactly as it was.
//
// Main thread only; the debounced saves and the undo timer run there through the scheduler.
// The store never throws: failures become lastError, a reporter call and, for a note whose
// save failed, a lasting entry in unsavedIDs until a later save succeeds.
class NoteStore final : public QObject, public NoteStoring {
    Q_OBJECT

public:
    using ErrorReporter = std::function<void(const LocalizedError&)>;

    // How long a deletion stays undoable, and the pause after a text edit before it is saved.
    static constexpr double undoWindow = 10.0;
    static constexpr double saveDelay = 0.25;

    struct PendingDelete {
        Note note;
        Date deadline;
        friend bool operator==(const PendingDelete&, const PendingDelete&) = default;
    };

    // Loads every note, removes image files that no note refers to, and seeds the welcome
    // note into an empty library when asked. store, scheduler and images must outlive the
    // note store. onError hears of each distinct failure once, after the log has.
    NoteStore(Store& store, Scheduler& scheduler, ImageFiles& images, bool seedWelcome,
              ErrorReporter onError);
    ~NoteStore() override;

    QList<Note> notes() const override { return allNotes; }
    // Not archived, by order ascending; pinning plays no part.
    QList<Note> active() const override;
    // Archived, by modified descending.
    QList<Note> archived() const;
    std::optional<Note> note(const QString& id) const override;
    const std::optional<PendingDelete>& pendingUndo() const { return pending; }
    // Ids whose memory state is ahead of the database.
    const QSet<QString>& unsavedIDs() const { return unsaved; }
    // The description of the last reported failure; cleared once every note is saved.
    const std::optional<QString>& lastError() const { return lastFailure; }
    bool isWritable() const override { return writable; }

    // A new note ahead of all others. Without a colour, the colours rotate with the size of
    // the library. In read-only mode the record is returned but goes nowhere, and the
    // refusal is reported (once, like every failure): callers holding text the person typed
    // check isWritable first and keep it.
    Note create(const QString& body = {}, const QString& title = {},
                std::optional<qint64> color = std::nullopt);

    // Text edits: memory now, the database after the debounce. The same text again changes
    // nothing, not even modified.
    void updateTitle(const QString& id, const QString& title);
    void updateBody(const QString& id, const QString& body);

    // Saved at once, together with any pending text of the note.
    void togglePin(const QString& id);
    void cycleColor(const QString& id);
    // A colour outside the palette is ignored.
    void setColor(const QString& id, qint64 color);
    void setTextDirection(const QString& id, NoteTextDirection direction);
    // Restoring puts the note first among the active ones.
    void setArchived(const QString& id, bool archived);

    // Removes the note from the database and from notes at once; it can be brought back
    // within undoWindow seconds. There is one undo slot: a second deletion makes the first
    // final, and its images go unless another note refers to them.
    void deleteNote(const QString& id) override;
    void undoDelete();

    // Moves an active note by offset places (clamped to the ends) and renumbers the active
    // notes 0, 1, 2, ...; modified stays.
    void reorder(const QString& id, int offset);
    // Adds imported notes ahead of everything, in their own relative order; a clashing id
    // gets a new one. A note whose deletion waits to be undone is final once its id comes
    // in again. Answers how many were stored.
    int ingest(QList<Note> incoming);
    // Inserts or replaces a note from outside (sync) as it stands; an identical record
    // writes nothing. A save that fails is reported and leaves the notes as they were.
    bool absorb(const Note& note) override;

    // Saves the note now if it is unsaved; false when the save failed.
    bool flush(const QString& id);
    // Saves every unsaved note; true when nothing is left unsaved.
    bool flushAll();

    void observeNotes(QObject* context, std::function<void()> callback) override;

Q_SIGNALS:
    void notesChanged();
    void pendingUndoChanged();
    void unsavedIDsChanged();
    void lastErrorChanged();

private:
    qsizetype indexOf(const QString& id) const;
    // The guards every change of one note begins with: writable, and the note exists.
    qsizetype editableIndex(const QString& id) const;
    void changeNow(qsizetype index, bool touchesModified, const std::function<void(Note&)>& change);
    void removeOrphanedImages();
    void scheduleSave(const QString& id);
    void cancelSave(const QString& id);
    // By value: observers run inside and may change the list the note came from.
    bool persist(Note note);
    void report(const LocalizedError& error);
    void finalizePendingDelete();
    void supersedePending(const QString& id);
    void markUnsaved(const QString& id);
    void markSaved(const QString& id);
    void setLastError(std::optional<QString> description);
    double lowestActiveOrder(double fallback) const;

    Store& store;
    Scheduler& scheduler;
    ImageFiles& images;
    ErrorReporter onError;
    QList<Note> allNotes;
    std::optional<PendingDelete> pending;
    QSet<QString> unsaved;
    std::optional<QString> lastFailure;
    std::map<QString, Scheduler::HandlePtr> saveWork;
    Scheduler::HandlePtr undoTimer;
    bool writable = true;
};
