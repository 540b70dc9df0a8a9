#pragma once

#include <QtGlobal>

#include <optional>

// The stored key codes (see KeyCodes) as the X server numbers keys: keysyms, key codes in
// evdev numbering (as every current X server uses) and the core modifier state. Only the X11
// backends use these tables.
namespace X11KeyCodes {

std::optional<quint32> fromX11Keycode(quint32 x11Keycode);
std::optional<quint32> x11Keycode(quint32 keyCode);
std::optional<quint32> x11Keysym(quint32 keyCode);
// Core state bits: Shift 0x1, Control 0x4, Mod1 (Alt) 0x8, Mod4 (Super) 0x40. Flags outside
// the four are dropped.
quint32 fromX11State(quint32 state);
quint32 x11State(quint32 mask);

} // namespace X11KeyCodes
