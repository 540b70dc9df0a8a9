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

NoteTextBinding::~NoteTextBinding() { unbind(); }

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
    shown = view->text();
}

void NoteTextBinding::textEdited()
{
    // A composition's pre-edit text announces itself as a change of the text that is none.
    if (!viewObject || view->text() == shown)
        return;
    shown = view->text();
    // What the user typed supersedes an outside change still waiting for the composition.
    if (!view->hasMarkedText())
        waiting = false;
    // A vanished note stays gone: the store changes no note it does not hold.
    store.updateBody(id, shown);
}
