#include "platform/x11/X11KeyCodes.h"

#include "platform/KeyCodes.h"

#include <array>

namespace X11KeyCodes {
namespace {

struct Row {
    quint32 keyCode; // the stored (macOS virtual) key code
    quint32 keysym;
    quint32 x11Keycode; // evdev code + 8
};

// clang-format off
constexpr std::array rows{
    Row{0x00, 0x61, 38}, Row{0x01, 0x73, 39},
    Row{0x02, 0x64, 40}, Row{0x03, 0x66, 41},
    Row{0x04, 0x68, 43}, Row{0x05, 0x67, 42},
    Row{0x06, 0x7a, 52}, Row{0x07, 0x78, 53},
    Row{0x08, 0x63, 54}, Row{0x09, 0x76, 55},
    Row{0x0B, 0x62, 56}, Row{0x0C, 0x71, 24},
    Row{0x0D, 0x77, 25}, Row{0x0E, 0x65, 26},
    Row{0x0F, 0x72, 27}, Row{0x10, 0x79, 29},
    Row{0x11, 0x74, 28}, Row{0x12, 0x31, 10},
    Row{0x13, 0x32, 11}, Row{0x14, 0x33, 12},
    Row{0x15, 0x34, 13}, Row{0x16, 0x36, 15},
    Row{0x17, 0x35, 14}, Row{0x18, 0x3d, 21},
    Row{0x19, 0x39, 18}, Row{0x1A, 0x37, 16},
    Row{0x1B, 0x2d, 20}, Row{0x1C, 0x38, 17},
    Row{0x1D, 0x30, 19}, Row{0x1E, 0x5d, 35},
    Row{0x1F, 0x6f, 32}, Row{0x20, 0x75, 30},
    Row{0x21, 0x5b, 34}, Row{0x22, 0x69, 31},
    Row{0x23, 0x70, 33}, Row{0x24, 0xff0d, 36},
    Row{0x25, 0x6c, 46}, Row{0x26, 0x6a, 44},
    Row{0x27, 0x27, 48}, Row{0x28, 0x6b, 45},
    Row{0x29, 0x3b, 47}, Row{0x2A, 0x5c, 51},
    Row{0x2B, 0x2c, 59}, Row{0x2C, 0x2f, 61},
    Row{0x2D, 0x6e, 57}, Row{0x2E, 0x6d, 58},
    Row{0x2F, 0x2e, 60}, Row{0x30, 0xff09, 23},
    Row{0x31, 0x20, 65}, Row{0x32, 0x60, 49},
    Row{0x33, 0xff08, 22}, Row{0x35, 0xff1b, 9},
    Row{0x7A, 0xffbe, 67}, Row{0x78, 0xffbf, 68},
    Row{0x63, 0xffc0, 69}, Row{0x76, 0xffc1, 70},
    Row{0x60, 0xffc2, 71}, Row{0x61, 0xffc3, 72},
    Row{0x62, 0xffc4, 73}, Row{0x64, 0xffc5, 74},
    Row{0x65, 0xffc6, 75}, Row{0x6D, 0xffc7, 76},
    Row{0x67, 0xffc8, 95}, Row{0x6F, 0xffc9, 96},
    Row{0x69, 0xffca, 191}, Row{0x6B, 0xffcb, 192},
    Row{0x71, 0xffcc, 193}, Row{0x6A, 0xffcd, 194},
    Row{0x40, 0xffce, 195}, Row{0x4F, 0xffcf, 196},
    Row{0x50, 0xffd0, 197}, Row{0x5A, 0xffd1, 198},
    Row{0x72, 0xff63, 118}, Row{0x73, 0xff50, 110},
    Row{0x74, 0xff55, 112}, Row{0x75, 0xffff, 119},
    Row{0x77, 0xff57, 115}, Row{0x79, 0xff56, 117},
    Row{0x7B, 0xff51, 113}, Row{0x7C, 0xff53, 114},
    Row{0x7D, 0xff54, 116}, Row{0x7E, 0xff52, 111},
};
// clang-format on

constexpr quint32 x11Shift = 0x1;
constexpr quint32 x11Control = 0x4;
constexpr quint32 x11Mod1 = 0x8;
constexpr quint32 x11Mod4 = 0x40;

const Row* byKeyCode(quint32 keyCode)
{
    for (const Row& row : rows) {
        if (row.keyCode == keyCode)
            return &row;
    }
    return nullptr;
}

} // namespace

std::optional<quint32> fromX11Keycode(quint32 x11Keycode)
{
    for (const Row& row : rows) {
        if (row.x11Keycode == x11Keycode)
            return row.keyCode;
    }
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

quint32 fromX11State(quint32 state)
{
    quint32 mask = 0;
    if (state & x11Control)
        mask |= KeyCodes::command;
    if (state & x11Mod1)
        mask |= KeyCodes::option;
    if (state & x11Shift)
        mask |= KeyCodes::shift;
    if (state & x11Mod4)
        mask |= KeyCodes::control;
    return mask;
}

quint32 x11State(quint32 mask)
{
    quint32 state = 0;
    if (mask & KeyCodes::command)
        state |= x11Control;
    if (mask & KeyCodes::option)
        state |= x11Mod1;
    if (mask & KeyCodes::shift)
        state |= x11Shift;
    if (mask & KeyCodes::control)
        state |= x11Mod4;
    return state;
}

} // namespace X11KeyCodes
