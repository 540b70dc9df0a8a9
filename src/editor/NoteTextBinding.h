#pragma once

#include <QObject>
#include <QPointer>
#include <QString>

class BoundTextView;
class NoteStore;

// Binds one text view to one note of the store, for as long as the binding lives: the view
// shows the note's body, what the user types goes to NoteStore::updateBody (saved after the
// store's delay), and a change from outside (sync, another surface) is fed into the view
// with its caret kept. Every surface that edits a note holds one.
//
// Never during an input method's composition: an outside change that arrives then waits.
// When the composition commits text, the user's text wins, as any typing does, since the
// words just typed must never vanish under the caret; a composition that ends without a
// commit lets the waiting change in. A note that vanishes reads as empty, and typing does not
// bring it back. Unbinding, or destroying the binding or the view, saves the note at once
// (NoteStore::flush).
//
// Main thread only. store must outlive the binding; the view is held weakly.
class NoteTextBinding final : public QObject {
    Q_OBJECT

public:
    NoteTextBinding(NoteStore& store, BoundTextView& view, QString noteID,
                    QObject* parent = nullptr);
    ~NoteTextBinding() override;

    const QString& noteID() const { return id; }
    bool isBound() const { return listening != nullptr; }
    // Stops listening and flushes the note; a second call does nothing.
    void unbind();

private:
    void showNote();
    void textEdited();

    NoteStore& store;
    BoundTextView* view;
    QPointer<QObject> viewObject;
    const QString id;
    // The context of every connection: deleting it ends them all.
    QObject* listening;
    // The text the view held when the binding last wrote to it or read from it.
    QString shown;
    // An outside change arrived during a composition.
    bool waiting = false;
};
