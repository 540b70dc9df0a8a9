#pragma once

#include <QChar>
#include <Qt>
#include <QtGlobal>

#include <optional>

class QKeyEvent;

// The one table between the key codes the program stores and the desktop's own. Stored key
// codes are the macOS virtual key codes and the modifier mask is the Carbon one, on every
// platform, so a settings file means the same everywhere; this table turns them into Qt keys,
// X11 keysyms and X11 key codes (evdev numbering, as every current X server uses) and back.
//
// Modifiers follow Qt's own macOS mapping, where Qt::ControlModifier is the Command key and
// Qt::MetaModifier the Control key. On Linux that makes Ctrl the command key (Ctrl+N stands
// where Command N stands on a Mac), Super the control key, Alt the option key.
namespace KeyCodes {

inline constexpr quint32 command = 0x100;
inline constexpr quint32 shift = 0x200;
inline constexpr quint32 option = 0x800;
inline constexpr quint32 control = 0x1000;

std::optional<quint32> fromQtKey(int qtKey);
std::optional<int> qtKey(quint32 keyCode);
std::optional<quint32> fromX11Keycode(quint32 x11Keycode);
std::optional<quint32> x11Keycode(quint32 keyCode);
std::optional<quint32> x11Keysym(quint32 keyCode);
// The character the key gives on a US layout without modifiers ("a" for the A key).
// Absent for keys without one (arrows, function keys).
std::optional<QChar> usCharacter(quint32 keyCode);

// The system's key code of a key event: by the X11 key code where the event carries one,
// which keeps the code tied to the key's place whatever the layout, else by the Qt key.
std::optional<quint32> fromKeyEvent(const QKeyEvent& event);

// Modifier masks. Flags outside the four are dropped.
quint32 fromQtModifiers(Qt::KeyboardModifiers modifiers);
Qt::KeyboardModifiers qtModifiers(quint32 mask);
// X11 core state bits: Shift 0x1, Control 0x4, Mod1 (Alt) 0x8, Mod4 (Super) 0x40.
quint32 fromX11State(quint32 state);
quint32 x11State(quint32 mask);

} // namespace KeyCodes
