#include "notes/NoteStore.h"

#include "l10n/L10n.h"
#include "notes/ImageTokens.h"
#include "notes/NoteColor.h"
#include "notes/Store.h"
#include "platform/Log.h"

#include <algorithm>
#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace {

qint64 paletteSize() { return static_cast<qint64>(NoteColor::all().size()); }

QSet<QString> idsReferencedBy(const QList<Note>& notes)
{
    QSet<QString> ids;
    for (const Note& note : notes) {
        for (const QString& id : ImageTokens::referencedIDs(note.body))
            ids.insert(id);
    }
    return ids;
}

} // namespace

NoteStore::NoteStore(Store& store, Scheduler& scheduler, ImageFiles& images, bool seedWelcome,
                     ErrorReporter onError)
    : store(store)
    , scheduler(scheduler)
    , images(images)
    , onError(std::move(onError))
{
    try {
        allNotes = store.load();
    } catch (const LocalizedError& error) {
        // Nothing may be written over rows that could not be read, and no image may go on
        // the word of a partial list.
        writable = false;
        report(error);
        return;
    }
    removeOrphanedImages();
    if (allNotes.isEmpty() && seedWelcome)
        create(L10n::text(u"welcome.note_body"_s));
}

NoteStore::~NoteStore() = default;

// Reading.

QList<Note> NoteStore::active() const
{
    QList<Note> result;
    for (const Note& note : allNotes) {
        if (!note.archived)
            result.append(note);
    }
    std::stable_sort(result.begin(), result.end(),
                     [](const Note& a, const Note& b) { return a.order < b.order; });
    return result;
}

QList<Note> NoteStore::archived() const
{
    QList<Note> result;
    for (const Note& note : allNotes) {
        if (note.archived)
            result.append(note);
    }
    std::stable_sort(result.begin(), result.end(),
                     [](const Note& a, const Note& b) { return a.modified > b.modified; });
    return result;
}

std::optional<Note> NoteStore::note(const QString& id) const
{
    const qsizetype index = indexOf(id);
    if (index < 0)
        return std::nullopt;
    return allNotes.at(index);
}

qsizetype NoteStore::indexOf(const QString& id) const
{
    for (qsizetype i = 0; i < allNotes.size(); ++i) {
        if (allNotes.at(i).id == id)
            return i;
    }
    // The same id in another Unicode form (a document another program rewrote) is the same
    // note. An id of plain ASCII has no other form, and it was looked for above: a new note's
    // id, the common miss, costs no second walk.
    if (std::all_of(id.cbegin(), id.cend(), [](QChar c) { return c.unicode() < 0x80; }))
        return -1;
    const QString wanted = canonicalText(id);
    for (qsizetype i = 0; i < allNotes.size(); ++i) {
        if (canonicalText(allNotes.at(i).id) == wanted)
            return i;
    }
    return -1;
}

qsizetype NoteStore::editableIndex(const QString& id) const { return writable ? indexOf(id) : -1; }

double NoteStore::lowestActiveOrder(double fallback) const
{
    double lowest = std::numeric_limits<double>::infinity();
    for (const Note& note : allNotes) {
        if (!note.archived)
            lowest = std::min(lowest, note.order);
    }
    return lowest == std::numeric_limits<double>::infinity() ? fallback : lowest;
}

void NoteStore::observeNotes(QObject* context, std::function<void()> callback)
{
    connect(this, &NoteStore::notesChanged, context, std::move(callback));
}

// Creating and editing.

Note NoteStore::create(const QString& body, const QString& title, std::optional<qint64> color)
{
    Note note;
    note.created = scheduler.now();
    note.modified = scheduler.now();
    note.order = lowestActiveOrder(0.0) - 1.0;
    note.color = color.value_or(allNotes.size() % paletteSize());
    note.body = body;
    note.title = title;
    if (!writable) {
        // A note the person believes kept but that goes nowhere is the worst failure there
        // is: say so, once, whoever asked for the note.
        report(PersistenceError(PersistenceError::Kind::ReadOnly));
        return note;
    }
    allNotes.append(note);
    Q_EMIT notesChanged();
    persist(note);
    return note;
}

void NoteStore::updateTitle(const QString& id, const QString& title)
{
    const qsizetype index = editableIndex(id);
    if (index < 0 || allNotes.at(index).title == title)
        return;
    Note& note = allNotes[index];
    note.title = title;
    note.modified = scheduler.now();
    Q_EMIT notesChanged();
    scheduleSave(id);
}

void NoteStore::updateBody(const QString& id, const QString& body)
{
    const qsizetype index = editableIndex(id);
    if (index < 0 || allNotes.at(index).body == body)
        return;
    Note& note = allNotes[index];
    note.body = body;
    note.modified = scheduler.now();
    Q_EMIT notesChanged();
    scheduleSave(id);
}

// Immediate changes: the change is made in memory, observers hear of it, and the whole
// note is written at once, which also carries pending text along and ends its debounce.
void NoteStore::changeNow(qsizetype index, bool touchesModified,
                          const std::function<void(Note&)>& change)
{
    Note& note = allNotes[index];
    change(note);
    if (touchesModified)
        note.modified = scheduler.now();
    Q_EMIT notesChanged();
    persist(allNotes.at(index));
}

void NoteStore::togglePin(const QString& id)
{
    const qsizetype index = editableIndex(id);
    if (index < 0)
        return;
    changeNow(index, false, [](Note& note) { note.pinned = !note.pinned; });
}

void NoteStore::cycleColor(const QString& id)
{
    const qsizetype index = editableIndex(id);
    if (index < 0)
        return;
    const qint64 size = paletteSize();
    // A stored colour may be out of range (sync takes records as they come); the modulo of
    // a negative number must not stay negative.
    changeNow(index, true,
              [size](Note& note) { note.color = (((note.color + 1) % size) + size) % size; });
}

void NoteStore::setColor(const QString& id, qint64 color)
{
    const qsizetype index = editableIndex(id);
    if (index < 0 || color < 0 || color >= paletteSize())
        return;
    changeNow(index, true, [color](Note& note) { note.color = color; });
}

void NoteStore::setTextDirection(const QString& id, NoteTextDirection direction)
{
    const qsizetype index = editableIndex(id);
    if (index < 0 || allNotes.at(index).textDirection == direction)
        return;
    changeNow(index, true, [direction](Note& note) { note.textDirection = direction; });
}

void NoteStore::setArchived(const QString& id, bool archived)
{
    const qsizetype index = editableIndex(id);
    if (index < 0)
        return;
    changeNow(index, true, [this, archived](Note& note) {
        note.archived = archived;
        // Restoring puts the note first; it already counts among the active ones here.
        if (!archived)
            note.order = lowestActiveOrder(0.0) - 1.0;
    });
}

// Deleting.

void NoteStore::deleteNote(const QString& id)
{
    const qsizetype index = editableIndex(id);
    if (index < 0)
        return;
    try {
        store.deleteNote(id);
    } catch (const LocalizedError& error) {
        // The earlier deletion stays undoable, images and all.
        report(error);
        return;
    }
    // One undo slot: the earlier deletion becomes final. The note going now still counts
    // among the notes here, so images it shares with the earlier one stay.
    finalizePendingDelete();
    // Out of the list before anyone hears of it: an observer of the unsaved set must not
    // find a note whose row is already gone.
    const Note removed = allNotes.takeAt(index);
    cancelSave(id);
    markSaved(id);
    Q_EMIT notesChanged();

    pending = PendingDelete{removed, scheduler.now().addingSeconds(undoWindow)};
    // The previous pending deletion, if any, was made final above; its timer goes now.
    undoTimer = scheduler.after(undoWindow, [this] {
        finalizePendingDelete();
        pending.reset();
        Q_EMIT pendingUndoChanged();
    });
    Q_EMIT pendingUndoChanged();
}

void NoteStore::finalizePendingDelete()
{
    if (!pending)
        return;
    const QSet<QString> stillUsed = idsReferencedBy(allNotes);
    QStringList orphans;
    for (const QString& id : ImageTokens::referencedIDs(pending->note.body)) {
        if (!stillUsed.contains(id) && !orphans.contains(id))
            orphans.append(id);
    }
    if (orphans.isEmpty())
        return;
    orphans.sort();
    images.deleteImages(orphans);
}

void NoteStore::undoDelete()
{
    if (!writable || !pending)
        return;
    undoTimer.reset();
    const Note restored = pending->note;
    allNotes.append(restored);
    Q_EMIT notesChanged();
    persist(restored);
    pending.reset();
    Q_EMIT pendingUndoChanged();
}

// Bulk changes.

void NoteStore::reorder(const QString& id, int offset)
{
    if (editableIndex(id) < 0 || offset == 0)
        return;
    QList<Note> list = active();
    const auto found =
        std::find_if(list.cbegin(), list.cend(), [&](const Note& note) { return note.id == id; });
    if (found == list.cend())
        return; // archived notes have no place in the fan
    const qsizetype from = found - list.cbegin();
    const qsizetype target = std::clamp<qsizetype>(from + offset, 0, list.size() - 1);
    if (target == from)
        return;
    list.move(from, target);
    for (qsizetype i = 0; i < list.size(); ++i) {
        const double position = static_cast<double>(i);
        if (list.at(i).order == position)
            continue;
        const qsizetype index = indexOf(list.at(i).id);
        allNotes[index].order = position;
        Q_EMIT notesChanged();
        persist(allNotes.at(index));
    }
}

int NoteStore::ingest(QList<Note> incoming)
{
    if (!writable)
        return 0;
    double lowest = std::numeric_limits<double>::infinity();
    for (const Note& note : allNotes)
        lowest = std::min(lowest, note.order);
    double next = (allNotes.isEmpty() ? 0.0 : lowest) - static_cast<double>(incoming.size());
    std::stable_sort(incoming.begin(), incoming.end(),
                     [](const Note& a, const Note& b) { return a.order < b.order; });
    int stored = 0;
    for (Note& note : incoming) {
        if (indexOf(note.id) >= 0)
            note.id = Note::newID();
        note.order = next;
        next += 1.0;
        if (note.color < 0 || note.color >= paletteSize()) {
            // Its place in the numbering stays empty.
            report(PersistenceError(PersistenceError::Kind::InvalidColor));
            continue;
        }
        allNotes.append(note);
        Q_EMIT notesChanged();
        if (persist(note))
            ++stored;
        // Saved or not, the imported record is the note now; an undo must not bring back
        // the older one beside it.
        supersedePending(note.id);
    }
    return stored;
}

bool NoteStore::absorb(const Note& arriving)
{
    if (!writable)
        return false;
    const qsizetype index = indexOf(arriving.id);
    Note note = arriving;
    std::optional<Note> previous;
    if (index >= 0) {
        // The id keeps the form it was stored under, so that its record is replaced, not
        // doubled.
        note.id = allNotes.at(index).id;
        if (allNotes.at(index) == note)
            return true;
        previous = allNotes.at(index);
        allNotes[index] = note;
    } else {
        allNotes.append(note);
    }
    const bool hadUnsavedEdits = unsaved.contains(note.id);
    Q_EMIT notesChanged();
    if (!persist(note)) {
        // Held only in memory, the arrival would be gone after a forced end while the sync
        // had taken it for kept, and then read its document as a note deleted here. The
        // store goes back to what it held; the sync brings the note again next time.
        const qsizetype at = indexOf(note.id);
        if (previous)
            allNotes[at] = *previous;
        else
            allNotes.removeAt(at);
        if (hadUnsavedEdits)
            scheduleSave(note.id);
        else
            markSaved(note.id);
        Q_EMIT notesChanged();
        return false;
    }
    supersedePending(note.id);
    return true;
}

// The same note came back from outside while its deletion could still be undone: the arrival
// supersedes the deleted copy, so that an undo can never make a second record with this id.
// Pictures the arrival still shows stay.
void NoteStore::supersedePending(const QString& id)
{
    if (!pending || !sameNoteID(pending->note.id, id))
        return;
    undoTimer.reset();
    finalizePendingDelete();
    pending.reset();
    Q_EMIT pendingUndoChanged();
}

// Saving.

void NoteStore::scheduleSave(const QString& id)
{
    markUnsaved(id);
    // Replacing the handle cancels the previous debounce of this note. The handle is owned
    // here, so the work cannot outlive the store.
    saveWork[id] = scheduler.after(saveDelay, [this, id] { flush(id); });
}

void NoteStore::cancelSave(const QString& id)
{
    const auto it = saveWork.find(id);
    if (it == saveWork.end())
        return;
    // Moved out first: the work being cancelled may be the one running right now.
    const Scheduler::HandlePtr handle = std::move(it->second);
    saveWork.erase(it);
    handle->cancel();
}

bool NoteStore::flush(const QString& id)
{
    if (!unsaved.contains(id))
        return true;
    const qsizetype index = indexOf(id);
    if (index < 0)
        return true;
    return persist(allNotes.at(index));
}

bool NoteStore::flushAll()
{
    const QList<QString> snapshot = unsaved.values();
    for (const QString& id : snapshot) {
        if (!unsaved.contains(id))
            continue;
        const qsizetype index = indexOf(id);
        if (index >= 0)
            persist(allNotes.at(index));
    }
    return unsaved.isEmpty();
}

bool NoteStore::persist(Note note)
{
    cancelSave(note.id);
    try {
        store.upsert(note);
    } catch (const LocalizedError& error) {
        // Kept unsaved, so that the next edit or flush tries again; nothing retries alone.
        markUnsaved(note.id);
        report(error);
        return false;
    }
    markSaved(note.id);
    if (unsaved.isEmpty())
        setLastError(std::nullopt);
    return true;
}

void NoteStore::markUnsaved(const QString& id)
{
    if (unsaved.contains(id))
        return;
    unsaved.insert(id);
    Q_EMIT unsavedIDsChanged();
}

void NoteStore::markSaved(const QString& id)
{
    if (unsaved.remove(id))
        Q_EMIT unsavedIDsChanged();
}

void NoteStore::report(const LocalizedError& error)
{
    const QString description = error.description();
    if (lastFailure == description)
        return;
    Log::line(u"storage failure"_s, description);
    setLastError(description);
    if (onError)
        onError(error);
}

void NoteStore::setLastError(std::optional<QString> description)
{
    if (lastFailure == description)
        return;
    lastFailure = std::move(description);
    Q_EMIT lastErrorChanged();
}

void NoteStore::removeOrphanedImages()
{
    const QSet<QString> referenced = idsReferencedBy(allNotes);
    QStringList orphans;
    for (const QString& id : images.allIDs()) {
        if (!referenced.contains(id))
            orphans.append(id);
    }
    if (!orphans.isEmpty())
        images.deleteImages(orphans);
}
