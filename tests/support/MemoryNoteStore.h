#pragma once

#include "notes/NoteStoring.h"

#include <QPointer>

#include <optional>

// A plain list behind the sync's narrow store interface, with the one undo slot of the real
// store: deleteNote moves the note there, and undoDelete appends it back without a check,
// exactly as the real store does.
class MemoryNoteStore final : public NoteStoring {
public:
    QList<Note> notes() const override { return list; }
    QList<Note> active() const override;
    std::optional<Note> note(const QString& id) const override;
    void absorb(const Note& note) override;
    void deleteNote(const QString& id) override;
    void observeNotes(QObject* context, std::function<void()> callback) override;

    // Test-side edits; each tells the observers, as the store's changes do.
    void put(const Note& note) { absorb(note); }
    void undoDelete();
    std::optional<Note> pendingUndo;
    int absorbCount = 0;

private:
    void changed();

    QList<Note> list;
    QList<std::pair<QPointer<QObject>, std::function<void()>>> observers;
};
