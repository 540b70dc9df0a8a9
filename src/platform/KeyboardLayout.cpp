#include "platform/KeyboardLayout.h"

KeyboardLayout::KeyboardLayout() = default;

KeyboardLayout::~KeyboardLayout() = default;

KeyboardLayout::Subscription KeyboardLayout::onChanged(std::function<void()> listener)
{
    return listeners.add(std::move(listener));
}

void KeyboardLayout::notifyChanged() { listeners.notify(); }
