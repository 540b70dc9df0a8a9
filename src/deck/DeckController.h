#pragma once

#include "deck/DeckCoordinator.h"
#include "deck/DeckModel.h"
#include "deck/DeckState.h"
#include "platform/Date.h"
#include "platform/Displays.h"
#include "platform/Scheduler.h"
#include "settings/Shortcut.h"

#include <QPointF>
#include <QString>

#include <optional>

class DeckActions;
class DeckWindow;
class DetachTarget;
class NoteStore;
class Pointer;

// Drives one deck on one display: moves its model between rest, fan and an open note, orders
// the change of the window's frame against the change of its content (content shrinks first
// and the frame follows; the frame grows first and the content follows), decides that the
// pointer has left, runs the idle watch, and handles the keys of an open note and the clicks
// elsewhere while it is open.
//
// Its window, the program's commands, the floating note and the deck's owner are reached
// through interfaces; every delay runs through the scheduler, and nothing is pending while
// the deck rests (unless a shrink of the frame is still due). REQUIRES: every collaborator
// outlives the controller, and Settings is installed. Main thread only.
class DeckController final {
public:
    // The delays of the state machine, in seconds.
    static constexpr double shrinkDelay = 0.45;
    static constexpr double growthDelay = 1.0 / 30;
    static constexpr double exitGrace = 0.15;
    static constexpr double idlePeriod = 0.12;
    // Pointer travel on either axis, strictly beyond which the pointer counts as moved.
    static constexpr double pointerSlop = 2.0;

    // Starts in the resting state with its frame set and the window shown. detachTarget and
    // coordinator may be null: no note then floats, and no other deck is told anything.
    DeckController(quint32 displayID, Displays& displays, Pointer& pointer, Scheduler& scheduler,
                   NoteStore& notes, DeckWindow& window, DeckActions& actions,
                   DetachTarget* detachTarget, DeckCoordinator* coordinator);
    // Removes the note monitors and orders the window out.
    ~DeckController();
    DeckController(const DeckController&) = delete;
    DeckController& operator=(const DeckController&) = delete;

    quint32 displayID() const { return display; }
    DeckModel& model() { return deckModel; }
    const DeckModel& model() const { return deckModel; }
    // The state the deck has taken. The model shows it too, except for the 1/30 s in which a
    // grown frame waits for its content.
    const DeckState& state() const { return current; }
    // The deck's display, absent while it is not connected.
    std::optional<DisplayInfo> screen() const;

    // Sets the window's frame for the current state, or for that state. Without a screen,
    // nothing.
    void layout();
    void layout(const DeckState& state);
    void refreshLevel();
    void noteActivity();

    // From the window's own enter and leave events.
    void pointerEntered();
    void pointerExited();

    // Opens the note here, unless it floats, in which case the floating note comes forward
    // and the deck stays as it is.
    void expand(const QString& id);
    // Closes the open note back to the fan, or takes a fan to the resting state.
    void collapse();
    // Closes everything to the resting state.
    void dismiss();
    // The resting state, from anywhere; what other decks are sent to when one activates.
    void collapseToRest();

    // Whether an open note can be pulled out to float: there is a floating note to take it.
    bool canDetach() const { return detachTarget != nullptr; }
    // The open note is being pulled out of the panel, the pointer at p (screen coordinates).
    // Only with a note open.
    void detachExpandedNote(QPointF p);
    // Each pointer move of the pull, in screen coordinates.
    void moveDetached(QPointF p);
    void finishDetach();

    // After a change of settings: a deck kept shown fans out, a fan no longer kept shown
    // folds unless the pointer is at it.
    void applyRestingState();

    // Held while pressing the pill, these move it instead of opening the deck: Alt (Option on
    // a Mac), and on X11 also Control, since most X11 window managers keep Alt-drag to move
    // windows themselves and the press never reaches the deck.
    static bool grabsPill(Qt::KeyboardModifiers held);
    // The pill moves from the resting state only.
    bool canBeginPillDrag() const;
    // Stops the timers and goes to rest for a pill drag the window runs; endPillDrag after it.
    void beginPillDrag();
    void endPillDrag();

    // A key press while the note monitors are installed; true when the deck used it and it
    // must go no further.
    bool handleKeyPress(const KeyPress& press);
    // The window lost activation while a note was open: a click went elsewhere. An open note
    // that is not pinned closes, on the next turn of the event loop.
    void activationLost();

    // The open note exists and is pinned.
    bool openNoteIsPinned() const;

private:
    void setState(const DeckState& next);
    void enterState(const DeckState& old, const DeckState& next);
    DeckState resting() const;
    void startIdleWatch();
    void watchTick();
    void confirmExit();
    void setMonitors(bool on);
    void logState(const QString& what) const;

    // Pending work; dropping a handle cancels it.
    struct Work {
        Scheduler::HandlePtr shrink;
        Scheduler::HandlePtr growth;
        Scheduler::HandlePtr exit;
        Scheduler::HandlePtr dismiss;
        Scheduler::HandlePtr idle;
    };

    const quint32 display;
    Displays& displays;
    Pointer& pointer;
    Scheduler& scheduler;
    NoteStore& notes;
    DeckWindow& window;
    DeckActions& actions;
    DetachTarget* const detachTarget;
    DeckCoordinator* const coordinator;
    DeckModel deckModel;
    DeckState current;
    Work work;
    Date lastActivity;
    QPointF lastPointer;
    bool monitoring = false;
};
