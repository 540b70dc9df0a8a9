#pragma once

#include "notes/Note.h"
#include "platform/Date.h"

#include <QList>
#include <QRectF>
#include <QString>

#include <functional>
#include <optional>

class Displays;
class NoteStore;
class Pointer;
class Scheduler;

// The capture panel's window as the logic sees it. Frames are in screen coordinates (origin at
// the main display's bottom left, y up).
class CaptureWindow {
public:
    virtual ~CaptureWindow() = default;
    // Shows the window at frame and gives it the keyboard, as the user's action at time (0:
    // now), so that focus-stealing prevention lets it.
    virtual void present(const QRectF& frame, quint32 time) = 0;
    // Goes for good: hidden at once, deleted from the event loop. The caller lets go of it.
    virtual void close() = 0;

protected:
    CaptureWindow() = default;
    CaptureWindow(const CaptureWindow&) = delete;
    CaptureWindow& operator=(const CaptureWindow&) = delete;
};

// A few words from anywhere: a hot key opens a small panel in the middle of the screen under
// the pointer, Return appends them to the chosen note or makes a new one, Escape or a click
// elsewhere drops them. A second press within the debounce leaves the panel as it is, so a
// held key does not flicker it. REQUIRES: every collaborator outlives the capture. Main
// thread only.
class QuickCapture final {
public:
    static constexpr double debounce = 0.35;
    static constexpr QSizeF size{460, 150};
    static constexpr int targetLimit = 8;

    using WindowFactory = std::function<CaptureWindow*(QuickCapture& owner)>;

    QuickCapture(NoteStore& notes, Scheduler& scheduler, Pointer& pointer, Displays& displays,
                 WindowFactory makeWindow);
    ~QuickCapture();
    QuickCapture(const QuickCapture&) = delete;
    QuickCapture& operator=(const QuickCapture&) = delete;

    bool isOpen() const { return window != nullptr; }
    // The hot key: opens, or closes an open panel, unless the last opening was within the
    // debounce. time is the key press's.
    void toggle(quint32 time = 0);
    void show(quint32 time = 0);
    void dismiss();

    // From the window. The panel lost the keyboard: it closes, unless it opened a moment ago
    // (other programs may still be giving the keyboard up), when it takes it back.
    void keyboardLost();
    // Return: the trimmed text appended to the target (on a line of its own) or, with none or
    // with the target gone, a new note; blanks save nothing. The panel closes either way.
    void save(const QString& text, const std::optional<QString>& into);

    // The notes the panel offers to append to, in the deck's order.
    QList<Note> targets() const;
    // Control and a digit: 1 is a new note (newNoteTarget), 2 to 9 the targets in order (an
    // index of targets()). Absent for a digit that picks nothing.
    static constexpr int newNoteTarget = -1;
    static std::optional<int> targetForDigit(int digit, int targetCount);

private:
    QRectF frameUnderPointer() const;
    bool withinDebounce() const;

    NoteStore& notes;
    Scheduler& scheduler;
    Pointer& pointer;
    Displays& displays;
    WindowFactory makeWindow;
    CaptureWindow* window = nullptr;
    QRectF shownFrame;
    std::optional<Date> shownAt;
    quint32 lastTime = 0;
};
