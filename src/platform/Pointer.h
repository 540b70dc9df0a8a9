#pragma once

#include <QPointF>
#include <Qt>

// The mouse pointer as the deck polls it. Locations are in screen coordinates with the
// origin at the bottom left of the main display and y upward (see Displays).
class Pointer {
public:
    virtual ~Pointer() = default;
    Pointer() = default;
    Pointer(const Pointer&) = delete;
    Pointer& operator=(const Pointer&) = delete;

    virtual QPointF location() const = 0;
    // The keyboard modifiers held now.
    virtual Qt::KeyboardModifiers modifiers() const = 0;
    // The mouse buttons held now.
    virtual Qt::MouseButtons buttons() const = 0;
};
