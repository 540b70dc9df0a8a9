#pragma once

#include "deck/DeckState.h"

#include <QRectF>

#include <optional>

class DeckController;

// A damped spring for the content's move to a new state: response in seconds, damping as a
// fraction of critical.
struct DeckSpring {
    double response = 0;
    double damping = 0;

    friend bool operator==(const DeckSpring&, const DeckSpring&) = default;
};

namespace DeckSprings {
// The content settling into a smaller state, before the frame follows.
inline constexpr DeckSpring shrinking{0.28, 0.88};
// The content spreading into a frame that has already grown.
inline constexpr DeckSpring growing{0.34, 0.82};
} // namespace DeckSprings

// The deck's window as its controller drives it: one borderless panel on a screen edge that
// never takes the keyboard on a click, yet can take it when a note opens. The panel of the
// deck's ui folder is the implementation; tests use a recording fake. Every call comes from
// the main thread, and none may call back into the controller before it returns.
class DeckWindow {
public:
    virtual ~DeckWindow() = default;

    // The controller that drives the window, which reports the pointer and the clicks to it;
    // null once the controller is gone. The controller attaches itself first thing when it is
    // made and detaches last thing when it goes.
    virtual void attach(DeckController* controller) = 0;

    // In screen coordinates (origin bottom left, y up). Set at once, without the window
    // system's own animation; the window converts at its edge.
    virtual QRectF frame() const = 0;
    virtual void setFrame(const QRectF& frame) = 0;
    // Raises the panel and shows it without taking the keyboard.
    virtual void orderFront() = 0;
    // Raises the panel and gives it the keyboard, activating the program if it must.
    virtual void makeKeyAndOrderFront() = 0;
    // Hands the keyboard back to the window the person was in before.
    virtual void resignKey() = 0;
    // Whether the panel holds the keyboard now.
    virtual bool isKey() const = 0;
    // Stacking level and workspace behaviour from the current settings.
    virtual void applyLevel() = 0;
    virtual void orderOut() = 0;

    // While installed, the window routes the program's key presses to
    // DeckController::handleKeyPress (swallowing those it answers true to) and reports its own
    // loss of activation, a click elsewhere on the desktop, to DeckController::activationLost.
    virtual void installNoteMonitors() = 0;
    virtual void removeNoteMonitors() = 0;

    // Says how the content should move to the state the model takes next: with this spring,
    // or at once when absent. The model's state changes right after this call returns.
    virtual void willChangeState(const DeckState& next, std::optional<DeckSpring> spring) = 0;

protected:
    DeckWindow() = default;
    DeckWindow(const DeckWindow&) = delete;
    DeckWindow& operator=(const DeckWindow&) = delete;
};
