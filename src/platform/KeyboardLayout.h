#pragma once

#include <QString>
#include <QtGlobal>

// The character a key gives in the user's current keyboard layout, without modifiers. Key
// codes are the system's stored ones (see KeyCodes).
class KeyboardLayout {
public:
    virtual ~KeyboardLayout() = default;
    KeyboardLayout() = default;
    KeyboardLayout(const KeyboardLayout&) = delete;
    KeyboardLayout& operator=(const KeyboardLayout&) = delete;

    // Empty when the key gives no character or the layout cannot be read.
    virtual QString character(quint32 keyCode) const = 0;

    // The layout key names come from: the one installed, else a fixed US layout.
    static const KeyboardLayout& current();
    // REQUIRES: layout outlives its installation; pass nullptr to go back to the US table.
    static void install(const KeyboardLayout* layout);
};
