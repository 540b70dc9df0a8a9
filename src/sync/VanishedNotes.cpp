#include "sync/VanishedNotes.h"

#include "notes/NoteStoring.h"

void VanishedNotes::remember(QList<Note> notes)
{
    lastSeen = std::move(notes);
    lastSeenIDs.reset();
}

void VanishedNotes::expire(Date now)
{
    gone.removeIf(
        [&](QHash<QString, Date>::iterator left) { return now.seconds - left->seconds > window; });
}

bool VanishedNotes::keepsOut(const QString& id, const NoteStoring& store, Date now)
{
    if (wasInStore(id) && !store.note(id))
        gone.insert(id, now);
    return gone.contains(id);
}

bool VanishedNotes::wasInStore(const QString& id)
{
    if (!lastSeenIDs) {
        lastSeenIDs.emplace();
        lastSeenIDs->reserve(lastSeen.size());
        for (const Note& note : std::as_const(lastSeen))
            lastSeenIDs->insert(note.id);
    }
    return lastSeenIDs->contains(id);
}
