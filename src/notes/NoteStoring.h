#pragma once

#include "notes/Note.h"

#include <QList>
#include <QObject>

#include <functional>
#include <optional>

// The narrow view of the note store that the sync engine is written against, so that it can
// run against a plain list in tests as well as against the real store.
class NoteStoring {
public:
    virtual ~NoteStoring() = default;

    // Every note, active and archived, in no particular order.
    virtual QList<Note> notes() const = 0;
    // Not archived, sorted by order ascending.
    virtual QList<Note> active() const = 0;
    virtual std::optional<Note> note(const QString& id) const = 0;
    // Whether changes can be kept at all. A store that could not read its notes shows none
    // and keeps none: syncing against it would read every document as a note deleted here.
    virtual bool isWritable() const = 0;
    // Inserts or replaces by id, keeping the record's own dates. True when the note is kept
    // (saved, or already held as it stands); false leaves the store as it was, so that the
    // caller records nothing it would later take for a note deleted here.
    virtual bool absorb(const Note& note) = 0;
    virtual void deleteNote(const QString& id) = 0;
    // Calls back on the main thread after every change of notes, until context goes.
    virtual void observeNotes(QObject* context, std::function<void()> callback) = 0;
};
