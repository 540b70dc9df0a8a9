#pragma once

#include "platform/Subscription.h"

#include <QString>
#include <QtGlobal>

#include <functional>
#include <memory>
#include <optional>

// The user's keyboard as the desktop knows it: the character a key gives in the current
// layout, and the stored key code (see KeyCodes) of the desktop's own number for a key. Key
// names in shortcuts come from here. Used on the main thread only.
class KeyboardLayout {
public:
    using Subscription = ::Subscription;

    virtual ~KeyboardLayout();
    KeyboardLayout();
    KeyboardLayout(const KeyboardLayout&) = delete;
    KeyboardLayout& operator=(const KeyboardLayout&) = delete;

    // The character of the key without modifiers; empty when the key gives none or the
    // layout cannot be read.
    virtual QString character(quint32 keyCode) const = 0;
    // The stored key code of a key event's native scan code, which names the key's place
    // whatever the layout. Absent when the backend has no numbering of its own; then the
    // event's Qt key stands in.
    virtual std::optional<quint32> keyCodeForScanCode(quint32 scanCode) const = 0;

    // Calls listener, from the event loop, each time the desktop has replaced the layout or
    // its key map; character() already answers from the new one by then. Key names shown
    // and keys grabbed by the desktop's numbering are stale until they are asked again. A
    // layout that never changes never calls.
    [[nodiscard]] Subscription onChanged(std::function<void()> listener);

protected:
    // For backends: tells every listener, in the order they subscribed. Listeners may
    // subscribe or drop subscriptions meanwhile; one dropped before its turn is not called.
    void notifyChanged();

private:
    Listeners<> listeners;
};
