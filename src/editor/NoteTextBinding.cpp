#include "editor/NoteTextBinding.h"

#include "editor/BoundTextView.h"
#include "notes/NoteStore.h"

NoteTextBinding::NoteTextBinding(NoteStore& store, BoundTextView& view, QString noteID,
                                 QObject* parent)
    : QObject(parent)
    , store(store)
    , view(&view)
    , viewObject(view.viewObject())
    , id(std::move(noteID))
    , listening(new QObject(this))
{
    store.observeNotes(listening, [this] { showNote(); });
    view.observeText(
        listening, [this] { textEdited(); },
        [this] {
            if (waiting)
                showNote();
        });
    connect(viewObject, &QObject::destroyed, listening, [this] { unbind(); });
    showNote();
}

NoteTextBinding::~NoteTextBinding()
{
    unbind();
}

void NoteTextBinding::unbind()
{
    if (!listening)
        return;
    delete listening;
    listening = nullptr;
    store.flush(id);
}

void NoteTextBinding::showNote()
{
    if (!viewObject)
        return;
    const std::optional<Note> note = store.note(id);
    const QString body = note ? note->body : QString();
    if (view->hasMarkedText()) {
        waiting = waiting || body != view->text();
        return;
    }
    waiting = false;
    view->setText(body);
}

void NoteTextBinding::textEdited()
{
    // What a composition committed gives way to the outside change waiting for its end. A
    // vanished note stays gone: the store changes no note it does not hold.
    if (waiting || !viewObject)
        return;
    store.updateBody(id, view->text());
}
