#include "platform/x11/XkbKeyboardLayout.h"

#include "platform/Log.h"
#include "platform/x11/X11KeyCodes.h"

#include <QSocketNotifier>
#include <QTimer>

#include <xcb/xcb.h>
// xcb's XKB header names a field "explicit", which C++ reserves.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit
#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

#include <array>
#include <cstdlib>
#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

// setxkbmap and the desktops' keyboard settings replace a layout in several requests, each
// with its own notifications; one reading after the burst is enough.
constexpr int settleMilliseconds = 150;

// What a layout or key map change touches: the symbols and types give the key names, the
// rest the modifiers that grabbed keys depend on.
constexpr uint16_t watchedMapParts =
    XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP
    | XCB_XKB_MAP_PART_EXPLICIT_COMPONENTS | XCB_XKB_MAP_PART_KEY_ACTIONS
    | XCB_XKB_MAP_PART_VIRTUAL_MODS | XCB_XKB_MAP_PART_VIRTUAL_MOD_MAP;

// The head every XKB event shares; xkbType tells them apart under the one event number.
struct XkbEventHead {
    uint8_t responseType;
    uint8_t xkbType;
};

} // namespace

struct XkbKeyboardLayout::Connection {
    xcb_connection_t* xcb = nullptr;
    xkb_context* context = nullptr;
    xkb_keymap* keymap = nullptr;
    int32_t deviceId = -1;
    uint8_t xkbEventBase = 0;
    // Absent until the server is watched, disabled once the connection broke.
    std::unique_ptr<QSocketNotifier> notifier;
    bool settlePending = false;
    std::function<void()> settled;

    ~Connection()
    {
        // The notifier goes before the socket it watches is closed.
        notifier.reset();
        if (keymap)
            xkb_keymap_unref(keymap);
        if (context)
            xkb_context_unref(context);
        if (xcb)
            xcb_disconnect(xcb);
    }

    bool isWatching() const { return notifier && notifier->isEnabled(); }

    // Takes every event waiting on the connection, XKB's and any other the server sends
    // every client, and keeps only the news that the key map changed.
    //
    // Trap: a request that waits for its reply (reading the group in character(), reading
    // the key map) reads any events that came before the reply into xcb's queue, and the
    // socket notifier never fires for those. Call this after each such request too.
    void readEvents()
    {
        if (!isWatching())
            return;
        bool changed = false;
        while (xcb_generic_event_t* event = xcb_poll_for_event(xcb)) {
            const auto* head = reinterpret_cast<const XkbEventHead*>(event);
            if ((head->responseType & 0x7F) == xkbEventBase
                && (head->xkbType == XCB_XKB_NEW_KEYBOARD_NOTIFY
                    || head->xkbType == XCB_XKB_MAP_NOTIFY))
                changed = true;
            std::free(event);
        }
        if (xcb_connection_has_error(xcb)) {
            notifier->setEnabled(false);
            Log::line(u"the keyboard layout is no longer followed: the X connection broke"_s);
            return;
        }
        if (changed && !settlePending) {
            settlePending = true;
            // The notifier as context drops the pending reading with the connection.
            QTimer::singleShot(settleMilliseconds, notifier.get(), [this] {
                settlePending = false;
                settled();
            });
        }
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
            XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, &c->xkbEventBase, nullptr))
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
    layout->watch();
    return layout;
}

XkbKeyboardLayout::XkbKeyboardLayout(std::unique_ptr<Connection> connection)
    : connection(std::move(connection))
{
}

XkbKeyboardLayout::~XkbKeyboardLayout() = default;

void XkbKeyboardLayout::watch()
{
    xcb_xkb_select_events_details_t details{};
    details.affectNewKeyboard = XCB_XKB_NKN_DETAIL_KEYCODES;
    details.newKeyboardDetails = XCB_XKB_NKN_DETAIL_KEYCODES;
    const uint16_t events = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
    xcb_generic_error_t* error = xcb_request_check(
        connection->xcb,
        xcb_xkb_select_events_aux_checked(
            connection->xcb, static_cast<xcb_xkb_device_spec_t>(connection->deviceId), events, 0, 0,
            watchedMapParts, watchedMapParts, &details));
    if (error) {
        Log::line(u"the keyboard layout will not be followed: the X server refused its "
                  "notifications"_s,
                  QString::number(error->error_code));
        std::free(error);
        return;
    }
    connection->settled = [this] {
        // A listener may drop the layout itself, so nothing here runs after them.
        if (reload())
            notifyChanged();
    };
    connection->notifier = std::make_unique<QSocketNotifier>(
        xcb_get_file_descriptor(connection->xcb), QSocketNotifier::Read);
    QObject::connect(connection->notifier.get(), &QSocketNotifier::activated,
                     [c = connection.get()] { c->readEvents(); });
    connection->readEvents();
}

bool XkbKeyboardLayout::isFollowingChanges() const { return connection->isWatching(); }

bool XkbKeyboardLayout::reload()
{
    xkb_keymap* keymap = xkb_x11_keymap_new_from_device(
        connection->context, connection->xcb, connection->deviceId, XKB_KEYMAP_COMPILE_NO_FLAGS);
    connection->readEvents();
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
    connection->readEvents();
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
