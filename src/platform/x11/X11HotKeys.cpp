#include "platform/x11/X11HotKeys.h"

#include "platform/Log.h"
#include "platform/x11/X11KeyCodes.h"

#include <QCoreApplication>
#include <QGuiApplication>

#include <xcb/xcb.h>

#include <array>
#include <cstdlib>

using namespace Qt::Literals::StringLiterals;

namespace {

// Caps Lock, Num Lock (Mod2 on every layout in use) and both.
constexpr std::array<quint16, 4> lockStates{0, XCB_MOD_MASK_LOCK, XCB_MOD_MASK_2,
                                            XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2};
constexpr int badValue = 2;

} // namespace

std::unique_ptr<X11HotKeys> X11HotKeys::open(KeyboardLayout& layout)
{
    auto* x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    if (!x11 || !x11->connection())
        return nullptr;
    xcb_connection_t* connection = x11->connection();
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    return std::unique_ptr<X11HotKeys>(new X11HotKeys(connection, root, layout));
}

X11HotKeys::X11HotKeys(xcb_connection_t* connection, quint32 rootWindow, KeyboardLayout& layout)
    : x(connection)
    , root(rootWindow)
{
    QCoreApplication::instance()->installNativeEventFilter(this);
    layoutWatch = layout.onChanged([this] { regrab(); });
}

X11HotKeys::~X11HotKeys()
{
    QCoreApplication::instance()->removeNativeEventFilter(this);
    releaseAll();
}

int X11HotKeys::grab(quint32 id, quint32 keyCode, quint32 modifiers)
{
    Combination c{id, keyCode, modifiers, 0, 0};
    const int status = grabOnServer(c);
    if (status == 0)
        grabbed.append(c);
    return status;
}

// All four lock states, each checked: one refused leaves none of them taken.
int X11HotKeys::grabOnServer(Combination& c)
{
    const std::optional<quint32> code = X11KeyCodes::x11Keycode(c.keyCode);
    if (!code || *code > 255)
        return badValue;
    c.x11Keycode = static_cast<quint8>(*code);
    c.x11State = static_cast<quint16>(X11KeyCodes::x11State(c.modifiers));
    int status = 0;
    for (const quint16 lock : lockStates) {
        xcb_generic_error_t* error = xcb_request_check(
            x, xcb_grab_key_checked(x, true, root, c.x11State | lock, c.x11Keycode,
                                    XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        if (error) {
            status = error->error_code;
            std::free(error);
        }
    }
    if (status != 0)
        ungrabOnServer(c);
    return status;
}

void X11HotKeys::ungrabOnServer(const Combination& c)
{
    for (const quint16 lock : lockStates)
        xcb_ungrab_key(x, c.x11Keycode, root, c.x11State | lock);
    xcb_flush(x);
}

void X11HotKeys::releaseAll()
{
    for (const Combination& c : std::as_const(grabbed))
        ungrabOnServer(c);
    grabbed.clear();
}

void X11HotKeys::regrab()
{
    const QList<Combination> before = std::exchange(grabbed, {});
    for (const Combination& c : before)
        ungrabOnServer(c);
    for (Combination c : before) {
        if (const int status = grabOnServer(c); status == 0)
            grabbed.append(c);
        else
            Log::line(
                u"hot key %1 lost with the keyboard's new map (status %2)"_s.arg(c.id).arg(status));
    }
}

bool X11HotKeys::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*)
{
    if (eventType != "xcb_generic_event_t" || !pressed)
        return false;
    auto* event = static_cast<xcb_generic_event_t*>(message);
    if ((event->response_type & 0x7f) != XCB_KEY_PRESS)
        return false;
    auto* key = reinterpret_cast<xcb_key_press_event_t*>(event);
    if (key->event != root)
        return false;
    const quint16 state = key->state & ~(XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2);
    for (const Combination& c : std::as_const(grabbed)) {
        if (c.x11Keycode == key->detail && c.x11State == (state & 0xff)) {
            pressed(c.id, key->time);
            return true;
        }
    }
    return false;
}
