#pragma once

#include <QChar>
#include <Qt>
#include <QtGlobal>

#include <optional>

// The one table between the key codes the program stores and Qt's keys. Stored key codes are
// the macOS virtual key codes and the modifier mask is the Carbon one, on every platform, so
// a settings file means the same everywhere; the desktop's own numbering of keys is the
// keyboard layout backend's business (see KeyboardLayout).
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
// The character the key gives on a US layout without modifiers ("a" for the A key).
// Absent for keys without one (arrows, function keys).
std::optional<QChar> usCharacter(quint32 keyCode);

// Modifier masks. Flags outside the four are dropped.
quint32 fromQtModifiers(Qt::KeyboardModifiers modifiers);
Qt::KeyboardModifiers qtModifiers(quint32 mask);

} // namespace KeyCodes
