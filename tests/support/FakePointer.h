#pragma once

#include "platform/Pointer.h"

// A pointer that stays where the test puts it.
class FakePointer final : public Pointer {
public:
    QPointF location() const override { return at; }
    Qt::KeyboardModifiers modifiers() const override { return held; }
    Qt::MouseButtons buttons() const override { return pressed; }

    void setLocation(QPointF location) { at = location; }
    void setModifiers(Qt::KeyboardModifiers modifiers) { held = modifiers; }
    void setButtons(Qt::MouseButtons buttons) { pressed = buttons; }

private:
    QPointF at;
    Qt::KeyboardModifiers held;
    Qt::MouseButtons pressed;
};
