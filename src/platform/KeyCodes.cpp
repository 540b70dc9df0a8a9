#include "platform/KeyCodes.h"

#include <array>
#include <string_view>

namespace KeyCodes {
namespace {

struct Row {
    quint32 keyCode; // macOS virtual key code (ANSI)
    int qtKey;
    char16_t us; // 0 when the key gives no character
};

// clang-format off
constexpr std::array rows{
    Row{0x00, Qt::Key_A, u'a'}, Row{0x01, Qt::Key_S, u's'},
    Row{0x02, Qt::Key_D, u'd'}, Row{0x03, Qt::Key_F, u'f'},
    Row{0x04, Qt::Key_H, u'h'}, Row{0x05, Qt::Key_G, u'g'},
    Row{0x06, Qt::Key_Z, u'z'}, Row{0x07, Qt::Key_X, u'x'},
    Row{0x08, Qt::Key_C, u'c'}, Row{0x09, Qt::Key_V, u'v'},
    Row{0x0B, Qt::Key_B, u'b'}, Row{0x0C, Qt::Key_Q, u'q'},
    Row{0x0D, Qt::Key_W, u'w'}, Row{0x0E, Qt::Key_E, u'e'},
    Row{0x0F, Qt::Key_R, u'r'}, Row{0x10, Qt::Key_Y, u'y'},
    Row{0x11, Qt::Key_T, u't'}, Row{0x12, Qt::Key_1, u'1'},
    Row{0x13, Qt::Key_2, u'2'}, Row{0x14, Qt::Key_3, u'3'},
    Row{0x15, Qt::Key_4, u'4'}, Row{0x16, Qt::Key_6, u'6'},
    Row{0x17, Qt::Key_5, u'5'}, Row{0x18, Qt::Key_Equal, u'='},
    Row{0x19, Qt::Key_9, u'9'}, Row{0x1A, Qt::Key_7, u'7'},
    Row{0x1B, Qt::Key_Minus, u'-'}, Row{0x1C, Qt::Key_8, u'8'},
    Row{0x1D, Qt::Key_0, u'0'}, Row{0x1E, Qt::Key_BracketRight, u']'},
    Row{0x1F, Qt::Key_O, u'o'}, Row{0x20, Qt::Key_U, u'u'},
    Row{0x21, Qt::Key_BracketLeft, u'['}, Row{0x22, Qt::Key_I, u'i'},
    Row{0x23, Qt::Key_P, u'p'}, Row{0x24, Qt::Key_Return, 0},
    Row{0x25, Qt::Key_L, u'l'}, Row{0x26, Qt::Key_J, u'j'},
    Row{0x27, Qt::Key_Apostrophe, u'\''}, Row{0x28, Qt::Key_K, u'k'},
    Row{0x29, Qt::Key_Semicolon, u';'}, Row{0x2A, Qt::Key_Backslash, u'\\'},
    Row{0x2B, Qt::Key_Comma, u','}, Row{0x2C, Qt::Key_Slash, u'/'},
    Row{0x2D, Qt::Key_N, u'n'}, Row{0x2E, Qt::Key_M, u'm'},
    Row{0x2F, Qt::Key_Period, u'.'}, Row{0x30, Qt::Key_Tab, 0},
    Row{0x31, Qt::Key_Space, u' '}, Row{0x32, Qt::Key_QuoteLeft, u'`'},
    Row{0x33, Qt::Key_Backspace, 0}, Row{0x35, Qt::Key_Escape, 0},
    Row{0x7A, Qt::Key_F1, 0}, Row{0x78, Qt::Key_F2, 0},
    Row{0x63, Qt::Key_F3, 0}, Row{0x76, Qt::Key_F4, 0},
    Row{0x60, Qt::Key_F5, 0}, Row{0x61, Qt::Key_F6, 0},
    Row{0x62, Qt::Key_F7, 0}, Row{0x64, Qt::Key_F8, 0},
    Row{0x65, Qt::Key_F9, 0}, Row{0x6D, Qt::Key_F10, 0},
    Row{0x67, Qt::Key_F11, 0}, Row{0x6F, Qt::Key_F12, 0},
    Row{0x69, Qt::Key_F13, 0}, Row{0x6B, Qt::Key_F14, 0},
    Row{0x71, Qt::Key_F15, 0}, Row{0x6A, Qt::Key_F16, 0},
    Row{0x40, Qt::Key_F17, 0}, Row{0x4F, Qt::Key_F18, 0},
    Row{0x50, Qt::Key_F19, 0}, Row{0x5A, Qt::Key_F20, 0},
    Row{0x72, Qt::Key_Insert, 0}, Row{0x73, Qt::Key_Home, 0},
    Row{0x74, Qt::Key_PageUp, 0}, Row{0x75, Qt::Key_Delete, 0},
    Row{0x77, Qt::Key_End, 0}, Row{0x79, Qt::Key_PageDown, 0},
    Row{0x7B, Qt::Key_Left, 0}, Row{0x7C, Qt::Key_Right, 0},
    Row{0x7D, Qt::Key_Down, 0}, Row{0x7E, Qt::Key_Up, 0},
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
    // names the character, not the key: Shift+1 comes as "!". Without the desktop's own key
    // code the US layout is the best guess at the key behind a symbol.
    static constexpr std::u16string_view shifted = u"!@#$%^&*()_+{}:\"|<>?~";
    static constexpr std::u16string_view unshifted = u"1234567890-=[];'\\,./`";
    if (qtKey == Qt::Key_Enter)
        qtKey = Qt::Key_Return;
    if (qtKey == Qt::Key_Backtab)
        qtKey = Qt::Key_Tab;
    if (qtKey < 0x80) {
        if (const auto at = shifted.find(static_cast<char16_t>(qtKey)); at != shifted.npos)
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

std::optional<QChar> usCharacter(quint32 keyCode)
{
    if (const Row* r = byKeyCode(keyCode); r && r->us != 0)
        return QChar(r->us);
    return std::nullopt;
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

} // namespace KeyCodes
