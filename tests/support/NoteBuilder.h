#pragma once

#include "notes/Note.h"

// Notes for tests, with fixed dates so that whole records compare equal:
//   const Note note = aNote().id(u"A"_s).body(u"text"_s).modified(5);
class NoteBuilder {
public:
    NoteBuilder()
    {
        note.created = Date{1000};
        note.modified = Date{2000};
    }

    NoteBuilder& id(const QString& value) { return set(note.id, value); }
    NoteBuilder& title(const QString& value) { return set(note.title, value); }
    NoteBuilder& body(const QString& value) { return set(note.body, value); }
    NoteBuilder& color(qint64 value) { return set(note.color, value); }
    NoteBuilder& created(double seconds) { return set(note.created, Date{seconds}); }
    NoteBuilder& modified(double seconds) { return set(note.modified, Date{seconds}); }
    NoteBuilder& archived(bool value = true) { return set(note.archived, value); }
    NoteBuilder& pinned(bool value = true) { return set(note.pinned, value); }
    NoteBuilder& direction(NoteTextDirection value) { return set(note.textDirection, value); }
    NoteBuilder& order(double value) { return set(note.order, value); }

    operator Note() const { return note; }
    Note build() const { return note; }

private:
    template <typename T, typename V>
    NoteBuilder& set(T& field, const V& value)
    {
        field = value;
        return *this;
    }

    Note note;
};

inline NoteBuilder aNote() { return {}; }
