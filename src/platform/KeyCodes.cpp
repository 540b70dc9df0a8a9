#include "platform/KeyCodes.h"

#include <QGuiApplication>
#include <QKeyEvent>

#include <array>
#include <string_view>

using namespace Qt::Literals::StringLiterals;

namespace KeyCodes {
namespace {

struct Row {
    quint32 keyCode; // macOS virtual key code (ANSI)
    int qtKey;
    quint32 keysym;
    quint32 x11Keycode; // evdev code + 8
    char16_t us;        // 0 when the key gives no character
};

// clang-format off
constexpr std::array rows{
    Row{0x00, Qt::Key_A, 0x61, 38, u'a'}, Row{0x01, Qt::Key_S, 0x73, 39, u's'},
    Row{0x02, Qt::Key_D, 0x64, 40, u'd'}, Row{0x03, Qt::Key_F, 0x66, 41, u'f'},
    Row{0x04, Qt::Key_H, 0x68, 43, u'h'}, Row{0x05, Qt::Key_G, 0x67, 42, u'g'},
    Row{0x06, Qt::Key_Z, 0x7a, 52, u'z'}, Row{0x07, Qt::Key_X, 0x78, 53, u'x'},
    Row{0x08, Qt::Key_C, 0x63, 54, u'c'}, Row{0x09, Qt::Key_V, 0x76, 55, u'v'},
    Row{0x0B, Qt::Key_B, 0x62, 56, u'b'}, Row{0x0C, Qt::Key_Q, 0x71, 24, u'q'},
    Row{0x0D, Qt::Key_W, 0x77, 25, u'w'}, Row{0x0E, Qt::Key_E, 0x65, 26, u'e'},
    Row{0x0F, Qt::Key_R, 0x72, 27, u'r'}, Row{0x10, Qt::Key_Y, 0x79, 29, u'y'},
    Row{0x11, Qt::Key_T, 0x74, 28, u't'}, Row{0x12, Qt::Key_1, 0x31, 10, u'1'},
    Row{0x13, Qt::Key_2, 0x32, 11, u'2'}, Row{0x14, Qt::Key_3, 0x33, 12, u'3'},
    Row{0x15, Qt::Key_4, 0x34, 13, u'4'}, Row{0x16, Qt::Key_6, 0x36, 15, u'6'},
    Row{0x17, Qt::Key_5, 0x35, 14, u'5'}, Row{0x18, Qt::Key_Equal, 0x3d, 21, u'='},
    Row{0x19, Qt::Key_9, 0x39, 18, u'9'}, Row{0x1A, Qt::Key_7, 0x37, 16, u'7'},
    Row{0x1B, Qt::Key_Minus, 0x2d, 20, u'-'}, Row{0x1C, Qt::Key_8, 0x38, 17, u'8'},
    Row{0x1D, Qt::Key_0, 0x30, 19, u'0'}, Row{0x1E, Qt::Key_BracketRight, 0x5d, 35, u']'},
    Row{0x1F, Qt::Key_O, 0x6f, 32, u'o'}, Row{0x20, Qt::Key_U, 0x75, 30, u'u'},
    Row{0x21, Qt::Key_BracketLeft, 0x5b, 34, u'['}, Row{0x22, Qt::Key_I, 0x69, 31, u'i'},
    Row{0x23, Qt::Key_P, 0x70, 33, u'p'}, Row{0x24, Qt::Key_Return, 0xff0d, 36, 0},
    Row{0x25, Qt::Key_L, 0x6c, 46, u'l'}, Row{0x26, Qt::Key_J, 0x6a, 44, u'j'},
    Row{0x27, Qt::Key_Apostrophe, 0x27, 48, u'\''}, Row{0x28, Qt::Key_K, 0x6b, 45, u'k'},
    Row{0x29, Qt::Key_Semicolon, 0x3b, 47, u';'}, Row{0x2A, Qt::Key_Backslash, 0x5c, 51, u'\\'},
    Row{0x2B, Qt::Key_Comma, 0x2c, 59, u','}, Row{0x2C, Qt::Key_Slash, 0x2f, 61, u'/'},
    Row{0x2D, Qt::Key_N, 0x6e, 57, u'n'}, Row{0x2E, Qt::Key_M, 0x6d, 58, u'm'},
    Row{0x2F, Qt::Key_Period, 0x2e, 60, u'.'}, Row{0x30, Qt::Key_Tab, 0xff09, 23, 0},
    Row{0x31, Qt::Key_Space, 0x20, 65, u' '}, Row{0x32, Qt::Key_QuoteLeft, 0x60, 49, u'`'},
    Row{0x33, Qt::Key_Backspace, 0xff08, 22, 0}, Row{0x35, Qt::Key_Escape, 0xff1b, 9, 0},
    Row{0x7A, Qt::Key_F1, 0xffbe, 67, 0}, Row{0x78, Qt::Key_F2, 0xffbf, 68, 0},
    Row{0x63, Qt::Key_F3, 0xffc0, 69, 0}, Row{0x76, Qt::Key_F4, 0xffc1, 70, 0},
    Row{0x60, Qt::Key_F5, 0xffc2, 71, 0}, Row{0x61, Qt::Key_F6, 0xffc3, 72, 0},
    Row{0x62, Qt::Key_F7, 0xffc4, 73, 0}, Row{0x64, Qt::Key_F8, 0xffc5, 74, 0},
    Row{0x65, Qt::Key_F9, 0xffc6, 75, 0}, Row{0x6D, Qt::Key_F10, 0xffc7, 76, 0},
    Row{0x67, Qt::Key_F11, 0xffc8, 95, 0}, Row{0x6F, Qt::Key_F12, 0xffc9, 96, 0},
    Row{0x69, Qt::Key_F13, 0xffca, 191, 0}, Row{0x6B, Qt::Key_F14, 0xffcb, 192, 0},
    Row{0x71, Qt::Key_F15, 0xffcc, 193, 0}, Row{0x6A, Qt::Key_F16, 0xffcd, 194, 0},
    Row{0x40, Qt::Key_F17, 0xffce, 195, 0}, Row{0x4F, Qt::Key_F18, 0xffcf, 196, 0},
    Row{0x50, Qt::Key_F19, 0xffd0, 197, 0}, Row{0x5A, Qt::Key_F20, 0xffd1, 198, 0},
    Row{0x72, Qt::Key_Insert, 0xff63, 118, 0}, Row{0x73, Qt::Key_Home, 0xff50, 110, 0},
    Row{0x74, Qt::Key_PageUp, 0xff55, 112, 0}, Row{0x75, Qt::Key_Delete, 0xffff, 119, 0},
    Row{0x77, Qt::Key_End, 0xff57, 115, 0}, Row{0x79, Qt::Key_PageDown, 0xff56, 117, 0},
    Row{0x7B, Qt::Key_Left, 0xff51, 113, 0}, Row{0x7C, Qt::Key_Right, 0xff53, 114, 0},
    Row{0x7D, Qt::Key_Down, 0xff54, 116, 0}, Row{0x7E, Qt::Key_Up, 0xff52, 111, 0},
};
// clang-format on

template <typename Match>
const Row* find(Match match)
{
    for (const Row& row : rows) {
        if (match(row))
            return &row;
    }
    return nullptr;
}

const Row* byKeyCode(quint32 keyCode)
{
    return find([keyCode](const Row& r) { return r.keyCode == keyCode; });
}

} // namespace

std::optional<quint32> fromQtKey(int qtKey)
{
    // The keypad's Enter and Shift+Tab arrive as keys of their own, and a shifted symbol
    // names the character, not the key: Shift+1 comes as "!". Without the X11 key code the
    // US layout is the best guess at the key behind a symbol.
    static constexpr std::u16string_view shifted = u"!@#$%^&*()_+{}:\"|<>?~";
    static constexpr std::u16string_view unshifted = u"1234567890-=[];'\\,./`";
    if (qtKey == Qt::Key_Enter)
        qtKey = Qt::Key_Return;
    if (qtKey == Qt::Key_Backtab)
        qtKey = Qt::Key_Tab;
    if (qtKey < 0x80) {
        if (const auto at = shifted.find(char16_t(qtKey)); at != shifted.npos)
            qtKey = unshifted[at];
    }
    if (const Row* r = find([qtKey](const Row& row) { return row.qtKey == qtKey; }))
        return r->keyCode;
    return std::nullopt;
}

std::optional<int> qtKey(quint32 keyCode)
{
    if (const Row* r = byKeyCode(keyCode))
        return r->qtKey;
    return std::nullopt;
}

std::optional<quint32> fromX11Keycode(quint32 x11Keycode)
{
    if (const Row* r = find([x11Keycode](const Row& row) { return row.x11Keycode == x11Keycode; }))
        return r->keyCode;
    return std::nullopt;
}

std::optional<quint32> x11Keycode(quint32 keyCode)
{
    if (const Row* r = byKeyCode(keyCode))
        return r->x11Keycode;
    return std::nullopt;
}

std::optional<quint32> x11Keysym(quint32 keyCode)
{
    if (const Row* r = byKeyCode(keyCode))
        return r->keysym;
    return std::nullopt;
}

std::optional<QChar> usCharacter(quint32 keyCode)
{
    if (const Row* r = byKeyCode(keyCode); r && r->us != 0)
        return QChar(r->us);
    return std::nullopt;
}

std::optional<quint32> fromKeyEvent(const QKeyEvent& event)
{
#ifdef Q_OS_MACOS
    // There the event carries the very code we store.
    return event.nativeVirtualKey();
#else
    if (event.nativeScanCode() != 0 && QGuiApplication::platformName() == u"xcb"_s) {
        if (auto code = fromX11Keycode(event.nativeScanCode()))
            return code;
    }
    return fromQtKey(event.key());
#endif
}

quint32 fromQtModifiers(Qt::KeyboardModifiers modifiers)
{
    quint32 mask = 0;
    if (modifiers & Qt::ControlModifier)
        mask |= command;
    if (modifiers & Qt::AltModifier)
        mask |= option;
    if (modifiers & Qt::ShiftModifier)
        mask |= shift;
    if (modifiers & Qt::MetaModifier)
        mask |= control;
    return mask;
}

Qt::KeyboardModifiers qtModifiers(quint32 mask)
{
    Qt::KeyboardModifiers modifiers;
    if (mask & command)
        modifiers |= Qt::ControlModifier;
    if (mask & option)
        modifiers |= Qt::AltModifier;
    if (mask & shift)
        modifiers |= Qt::ShiftModifier;
    if (mask & control)
        modifiers |= Qt::MetaModifier;
    return modifiers;
}

namespace {
constexpr quint32 x11Shift = 0x1;
constexpr quint32 x11Control = 0x4;
constexpr quint32 x11Mod1 = 0x8;
constexpr quint32 x11Mod4 = 0x40;
} // namespace

quint32 fromX11State(quint32 state)
{
    quint32 mask = 0;
    if (state & x11Control)
        mask |= command;
    if (state & x11Mod1)
        mask |= option;
    if (state & x11Shift)
        mask |= shift;
    if (state & x11Mod4)
        mask |= control;
    return mask;
}

quint32 x11State(quint32 mask)
{
    quint32 state = 0;
    if (mask & command)
        state |= x11Control;
    if (mask & option)
        state |= x11Mod1;
    if (mask & shift)
        state |= x11Shift;
    if (mask & control)
        state |= x11Mod4;
    return state;
}

} // namespace KeyCodes
