#pragma once

#include <QRectF>

#include <optional>

// The window of the floating note, as its logic sees it. Frames are the note's own rectangle
// (its shadow aside) in screen coordinates: origin at the main display's bottom left, y up.
class FloatingWindow {
public:
    virtual ~FloatingWindow() = default;

    virtual QRectF frame() const = 0;
    // At once, without the window system's own animation.
    virtual void setFrame(const QRectF& frame) = 0;
    // Shows and raises the window without taking the keyboard from where it is.
    virtual void orderFront() = 0;
    // Shows and raises the window and gives it the keyboard.
    virtual void makeKeyAndOrderFront() = 0;
    virtual bool isKey() const = 0;
    virtual bool isShown() const = 0;
    // Above ordinary windows (pinned), or among them.
    virtual bool isAbove() const = 0;
    virtual void setAbove(bool above) = 0;
    // Goes for good: slides to target while fading out when one is given, at once otherwise,
    // and gives the keyboard back if it held it. The window deletes itself when done; the
    // caller must not touch it after this call.
    virtual void dismiss(std::optional<QRectF> target) = 0;

protected:
    FloatingWindow() = default;
    FloatingWindow(const FloatingWindow&) = delete;
    FloatingWindow& operator=(const FloatingWindow&) = delete;
};
