#pragma once

#include "notes/NoteStore.h"
#include "platform/Scheduler.h"

#include <QObject>
#include <QRectF>
#include <QSizeF>

#include <functional>
#include <optional>

class Displays;
class Pointer;

// The toast's window as its logic sees it. Frames are in screen coordinates (origin at the
// main display's bottom left, y up).
class UndoToastWindow {
public:
    virtual ~UndoToastWindow() = default;
    // Shows the deleted note at frame, in front, without taking the keyboard; a toast already
    // up shows the new note instead.
    virtual void present(const Note& note, const QRectF& frame) = 0;
    // How much of the undo window is left, 1 to 0.
    virtual void setRemaining(double fraction) = 0;
    virtual void dismiss() = 0;

protected:
    UndoToastWindow() = default;
    UndoToastWindow(const UndoToastWindow&) = delete;
    UndoToastWindow& operator=(const UndoToastWindow&) = delete;
};

// Shows the deleted note for as long as the store can bring it back: a toast at the bottom of
// the screen under the pointer, with a ring that runs down to the deadline and an Undo button.
// The store keeps the deadline and ends the undo; the toast only shows it, so it follows the
// store's pending deletion and nothing else. The ring reads the clock on each tick rather
// than counting ticks, so a stalled event loop never makes it lag the real deadline.
//
// REQUIRES: every collaborator outlives the toast. Main thread only.
class UndoToast final {
public:
    static constexpr QSizeF size{268, 44};
    // From the bottom of the visible area to the toast's bottom.
    static constexpr double bottomInset = 34;
    static constexpr double tickInterval = 0.1;

    // makeWindow builds the window the first time a toast shows; the toast owns it.
    using WindowFactory = std::function<UndoToastWindow*(UndoToast& owner)>;

    UndoToast(NoteStore& notes, Scheduler& scheduler, Pointer& pointer, Displays& displays,
              WindowFactory makeWindow);
    ~UndoToast();
    UndoToast(const UndoToast&) = delete;
    UndoToast& operator=(const UndoToast&) = delete;

    // Follows the store from now on, and shows a deletion that is already pending.
    void start();
    bool isShown() const { return shown.has_value(); }
    // The note the toast shows.
    const std::optional<Note>& note() const { return shown; }
    // What the ring shows: the part of the undo window left, from the clock.
    double remaining() const;
    // The button.
    void undo();

private:
    void follow();
    void tick();
    QRectF frameUnderPointer() const;

    NoteStore& notes;
    Scheduler& scheduler;
    Pointer& pointer;
    Displays& displays;
    WindowFactory makeWindow;
    UndoToastWindow* window = nullptr;
    std::optional<Note> shown;
    std::optional<Date> deadline;
    Scheduler::HandlePtr ticking;
    // The context of the store's signal: deleting it ends the connection.
    QObject listening;
};
