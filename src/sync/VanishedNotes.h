#pragma once

#include "notes/Note.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

#include <optional>

class NoteStoring;

// The ids that left the store a moment ago. A deleted note waits in the store's undo slot for
// a while; taking its document in from the folder meanwhile and then undoing would give the
// store two records with one id. So an id seen leaving stays out of the store until `window`
// seconds have passed.
//
// Notes are told apart by id only. Main thread only, like the engine that owns it.
class VanishedNotes {
public:
    // `window` must cover the store's undo window.
    explicit VanishedNotes(double window)
        : window(window)
    {
    }

    // The notes as a pass leaves the store: the next pass tells by them which ids have just
    // left. The list is kept shared, its ids are gathered only when a question needs them.
    void remember(QList<Note> notes);
    // The sync itself deleted the note at `now`.
    void deleted(const QString& id, Date now) { gone.insert(id, now); }
    // Forgets the ids that left more than the window before `now`.
    void expire(Date now);
    // Whether a document of this id must stay out of the store at `now`. An id the last pass
    // saw in the store that `store` no longer holds has just left, and counts from `now`.
    bool keepsOut(const QString& id, const NoteStoring& store, Date now);

private:
    bool wasInStore(const QString& id);

    double window;
    QList<Note> lastSeen;
    std::optional<QSet<QString>> lastSeenIDs;
    QHash<QString, Date> gone;
};
