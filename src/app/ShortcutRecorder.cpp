#include "app/ShortcutRecorder.h"

namespace {

constexpr quint32 escapeKey = 53;
constexpr quint32 backspaceKey = 51;

// Shift, Control, Alt, Super and the like, on either side: held on the way to a combination.
bool isModifierKey(int qtKey)
{
    switch (qtKey) {
    case Qt::Key_Shift:
    case Qt::Key_Control:
    case Qt::Key_Meta:
    case Qt::Key_Alt:
    case Qt::Key_AltGr:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
    case Qt::Key_Hyper_L:
    case Qt::Key_Hyper_R:
    case Qt::Key_CapsLock:
    case Qt::Key_NumLock:
        return true;
    default:
        return false;
    }
}

} // namespace

ShortcutRecorder::Outcome ShortcutRecorder::press(int qtKey, const std::optional<KeyPress>& press,
                                                  Shortcut& shortcut)
{
    if (!active || isModifierKey(qtKey))
        return Outcome::Ignored;
    // A key outside the table could never be pressed again to match.
    if (!press)
        return Outcome::Refused;
    // Only the bare key: Escape or Backspace with modifiers may well be the wanted combination.
    if (KeyCodes::fromQtModifiers(press->modifiers) == 0) {
        if (press->keyCode == escapeKey) {
            active = false;
            return Outcome::Cancelled;
        }
        if (press->keyCode == backspaceKey) {
            shortcut = Shortcut::none();
            active = false;
            return Outcome::Cleared;
        }
    }
    const std::optional<Shortcut> taken = Shortcut::from(*press, bareKeys);
    if (!taken)
        return Outcome::Refused;
    shortcut = *taken;
    active = false;
    return Outcome::Captured;
}
