#pragma once

#include "platform/Pointer.h"

// The pointer through Qt. The location is the real one on X11 (under XWayland it stands still
// over native Wayland windows); the modifiers are asked of the window system when polled, the
// buttons are those of the last mouse event the application saw.
class QtPointer final : public Pointer {
public:
    QPointF location() const override;
    Qt::KeyboardModifiers modifiers() const override;
    Qt::MouseButtons buttons() const override;
};
