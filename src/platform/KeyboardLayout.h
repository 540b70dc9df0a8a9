#pragma once

#include <QString>
#include <QtGlobal>

#include <optional>

// The user's keyboard as the desktop knows it: the character a key gives in the current
// layout, and the stored key code (see KeyCodes) of the desktop's own number for a key. Key
// names in shortcuts come from here.
class KeyboardLayout {
public:
    virtual ~KeyboardLayout() = default;
    KeyboardLayout() = default;
    KeyboardLayout(const KeyboardLayout&) = delete;
    KeyboardLayout& operator=(const KeyboardLayout&) = delete;

    // The character of the key without modifiers; empty when the key gives none or the
    // layout cannot be read.
    virtual QString character(quint32 keyCode) const = 0;
    // The stored key code of a key event's native scan code, which names the key's place
    // whatever the layout. Absent when the backend has no numbering of its own; then the
    // event's Qt key stands in.
    virtual std::optional<quint32> keyCodeForScanCode(quint32 scanCode) const = 0;
};
