#include "platform/x11/XkbKeyboardLayout.h"

#include "platform/x11/X11KeyCodes.h"

#include <xcb/xcb.h>
#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

#include <array>

struct XkbKeyboardLayout::Connection {
    xcb_connection_t* xcb = nullptr;
    xkb_context* context = nullptr;
    xkb_keymap* keymap = nullptr;
    int32_t deviceId = -1;

    ~Connection()
    {
        if (keymap)
            xkb_keymap_unref(keymap);
        if (context)
            xkb_context_unref(context);
        if (xcb)
            xcb_disconnect(xcb);
    }
};

std::unique_ptr<XkbKeyboardLayout> XkbKeyboardLayout::open()
{
    auto c = std::make_unique<Connection>();
    c->xcb = xcb_connect(nullptr, nullptr);
    // xcb_connect always hands back an object; a failed one only says so here.
    if (xcb_connection_has_error(c->xcb))
        return nullptr;
    if (!xkb_x11_setup_xkb_extension(
            c->xcb, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
            XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, nullptr, nullptr))
        return nullptr;
    c->deviceId = xkb_x11_get_core_keyboard_device_id(c->xcb);
    if (c->deviceId < 0)
        return nullptr;
    c->context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    if (!c->context)
        return nullptr;
    std::unique_ptr<XkbKeyboardLayout> layout(new XkbKeyboardLayout(std::move(c)));
    if (!layout->reload())
        return nullptr;
    return layout;
}

XkbKeyboardLayout::XkbKeyboardLayout(std::unique_ptr<Connection> connection)
    : connection(std::move(connection))
{
}

XkbKeyboardLayout::~XkbKeyboardLayout() = default;

bool XkbKeyboardLayout::reload()
{
    xkb_keymap* keymap = xkb_x11_keymap_new_from_device(
        connection->context, connection->xcb, connection->deviceId, XKB_KEYMAP_COMPILE_NO_FLAGS);
    if (!keymap)
        return false;
    if (connection->keymap)
        xkb_keymap_unref(connection->keymap);
    connection->keymap = keymap;
    return true;
}

QString XkbKeyboardLayout::character(quint32 keyCode) const
{
    const auto x11Code = X11KeyCodes::x11Keycode(keyCode);
    if (!x11Code || !connection->keymap)
        return {};
    xkb_layout_index_t group = 0;
    if (xkb_state* state = xkb_x11_state_new_from_device(connection->keymap, connection->xcb,
                                                         connection->deviceId)) {
        group = xkb_state_serialize_layout(state, XKB_STATE_LAYOUT_EFFECTIVE);
        xkb_state_unref(state);
    }
    // Level 0 of the group in effect is the key without modifiers.
    const xkb_keysym_t* syms = nullptr;
    const int count =
        xkb_keymap_key_get_syms_by_level(connection->keymap, *x11Code, group, 0, &syms);
    if (count < 1)
        return {};
    std::array<char, 16> utf8{};
    const int written = xkb_keysym_to_utf8(syms[0], utf8.data(), utf8.size());
    if (written <= 1)
        return {};
    const QString text = QString::fromUtf8(utf8.data(), written - 1);
    // Keys such as Escape and Return give control characters, which are no name.
    if (text.size() == 1 && !text.at(0).isPrint())
        return {};
    return text;
}

std::optional<quint32> XkbKeyboardLayout::keyCodeForScanCode(quint32 scanCode) const
{
    // The scan code of an event from the X server is its X11 key code.
    return X11KeyCodes::fromX11Keycode(scanCode);
}
