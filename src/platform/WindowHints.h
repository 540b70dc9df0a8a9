#pragma once

#include <QRegion>
#include <QtGlobal>

#include <optional>

class QWindow;

// What a panel (the deck, a floating note, quick capture) asks of the window manager beyond
// Qt's own flags: to be on every workspace, to stay out of the taskbar and the pager, to stay
// above ordinary windows, and to take the keyboard when a note opens in it although a click
// alone never gives it the focus.
//
// Times are the window system's clock for user input (on X11 the server's timestamp, which
// QInputEvent::timestamp() reports for its events). Focus-stealing prevention lets a window
// take the focus only for a user action newer than the one that focused the current window,
// so a panel that opens because of a click or a hot key must pass that event's time.
//
// REQUIRES for every call: the window has its native window (QWindow::winId() or
// QWidget::winId() was called). Main thread only.
class WindowHints {
public:
    virtual ~WindowHints() = default;

    // Sticky (every workspace), skip taskbar, skip pager and above, and staying when the user
    // asks to see the desktop. Call before every show: window managers drop these when a
    // window hides. On a shown window the change goes to the window manager at once, except
    // the last, which counts from the next show.
    virtual void makePanel(QWindow* window) = 0;
    // A window of its own that floats over the work, a note pulled off the deck: on every
    // workspace and out of the taskbar and the pager, at the level its Qt::WindowStaysOnTopHint
    // gives it. The window manager still moves, stacks and focuses it as any other. Call
    // before every show, as makePanel.
    virtual void makeFloating(QWindow* window) = 0;
    // Records the user's last action in the window at time. Qt writes its own when it shows a
    // window, so call this after show.
    virtual void setUserTime(QWindow* window, quint32 time) = 0;
    // Lets the shown window take the keyboard and asks for it to be activated, as the user's
    // action at time; 0 stands for now. Until releaseKeyboard, a click in the window focuses it.
    virtual void takeKeyboard(QWindow* window, quint32 time) = 0;
    // A click in the window no longer takes the focus from the window the user works in; and
    // while the window still holds the keyboard, it goes back to the window that had it
    // before takeKeyboard.
    virtual void releaseKeyboard(QWindow* window) = 0;
    // Asks a compositor that can to blur what shows through the window's clear parts, over
    // the whole window, or no more. Compositors that cannot ignore it, and it costs nothing
    // without one. Holds across hides and shows.
    virtual void setBlurBehind(QWindow* window, bool on) = 0;
    // Where the window takes the pointer, in its own logical pixels: elsewhere clicks and
    // motion reach whatever lies below, as if the window were not there, although it still
    // draws there. Absent: the whole window. Call after the window exists; it lasts until
    // the next call.
    virtual void setInputRegion(QWindow* window, const std::optional<QRegion>& region) = 0;

protected:
    WindowHints() = default;
    WindowHints(const WindowHints&) = delete;
    WindowHints& operator=(const WindowHints&) = delete;
};
