#include "support/MemoryNoteStore.h"

#include <algorithm>

QList<Note> MemoryNoteStore::active() const
{
    QList<Note> result;
    for (const Note& n : list) {
        if (!n.archived)
            result.append(n);
    }
    std::stable_sort(result.begin(), result.end(),
                     [](const Note& a, const Note& b) { return a.order < b.order; });
    return result;
}

std::optional<Note> MemoryNoteStore::note(const QString& id) const
{
    for (const Note& n : list) {
        if (n.id == id)
            return n;
    }
    return std::nullopt;
}

void MemoryNoteStore::absorb(const Note& note)
{
    ++absorbCount;
    for (Note& n : list) {
        if (n.id == note.id) {
            if (n == note)
                return;
            n = note;
            changed();
            return;
        }
    }
    list.append(note);
    changed();
}

void MemoryNoteStore::deleteNote(const QString& id)
{
    for (qsizetype i = 0; i < list.size(); ++i) {
        if (list[i].id == id) {
            pendingUndo = list.takeAt(i);
            changed();
            return;
        }
    }
}

void MemoryNoteStore::undoDelete()
{
    if (!pendingUndo)
        return;
    list.append(*std::exchange(pendingUndo, std::nullopt));
    changed();
}

void MemoryNoteStore::observeNotes(QObject* context, std::function<void()> callback)
{
    observers.append({context, std::move(callback)});
}

void MemoryNoteStore::changed()
{
    const auto current = observers;
    for (const auto& [context, callback] : current) {
        if (context)
            callback();
    }
}
