#include "platform/x11/X11Compositor.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QGuiApplication>

#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <cstdlib>

namespace {

template <typename T>
struct FreeReply {
    void operator()(T* reply) const { std::free(reply); }
};
template <typename T>
using Reply = std::unique_ptr<T, FreeReply<T>>;

// The screen Qt draws on: the one $DISPLAY names, as Qt connects by it.
int screenNumber()
{
    int screen = 0;
    char* host = nullptr;
    int display = 0;
    if (!xcb_parse_display(nullptr, &host, &display, &screen))
        return 0;
    std::free(host);
    return screen;
}

} // namespace

std::unique_ptr<X11Compositor> X11Compositor::open()
{
    auto* x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    xcb_connection_t* connection = x11 ? x11->connection() : nullptr;
    if (!connection)
        return nullptr;
    const xcb_query_extension_reply_t* xfixes = xcb_get_extension_data(connection, &xcb_xfixes_id);
    if (!xfixes || !xfixes->present)
        return nullptr;
    // The server holds each client to the version it last asked for, and Qt shares this
    // connection: ask for the one Qt's own headers name, never an older one.
    const Reply<xcb_xfixes_query_version_reply_t> version(xcb_xfixes_query_version_reply(
        connection,
        xcb_xfixes_query_version(connection, XCB_XFIXES_MAJOR_VERSION, XCB_XFIXES_MINOR_VERSION),
        nullptr));
    if (!version || version->major_version < 1)
        return nullptr;

    const int screen = screenNumber();
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screen && screens.rem > 1; ++i)
        xcb_screen_next(&screens);
    const xcb_window_t root = screens.data->root;

    const QByteArray name = "_NET_WM_CM_S" + QByteArray::number(screen);
    const Reply<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, false, name.size(), name.constData()), nullptr));
    if (!atom)
        return nullptr;

    std::unique_ptr<X11Compositor> compositor(
        new X11Compositor(connection, root, atom->atom, xfixes->first_event));
    // Selected before the owner is read, so that a compositor starting in between is not
    // missed: its event then follows the reply.
    xcb_xfixes_select_selection_input(connection, root, atom->atom,
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER
                                          | XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY
                                          | XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
    const Reply<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
        connection, xcb_get_selection_owner(connection, atom->atom), nullptr));
    compositor->active = owner && owner->owner != XCB_NONE;
    QCoreApplication::instance()->installNativeEventFilter(compositor.get());
    return compositor;
}

X11Compositor::X11Compositor(xcb_connection_t* connection, quint32 root, quint32 selection,
                             quint8 firstXFixesEvent)
    : connection(connection)
    , root(root)
    , selection(selection)
    , firstXFixesEvent(firstXFixesEvent)
{
}

// The selection input stays: the server keeps one per window and selection for the whole
// connection, so taking it back would deafen any other watcher on Qt's connection, and the
// events that still come are ignored.
X11Compositor::~X11Compositor() = default;

Subscription X11Compositor::onChanged(std::function<void(bool)> callback)
{
    return listeners.add(std::move(callback));
}

bool X11Compositor::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*)
{
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    if ((event->response_type & 0x7f) != firstXFixesEvent + XCB_XFIXES_SELECTION_NOTIFY)
        return false;
    const auto* notify = reinterpret_cast<const xcb_xfixes_selection_notify_event_t*>(event);
    // Qt watches the same selection for itself, on a window of its own; those copies and
    // every other selection are left alone.
    if (notify->window != root || notify->selection != selection)
        return false;
    // A destroyed window or a closed client leaves no owner; a new owner is named.
    const bool now = notify->owner != XCB_NONE;
    if (now != active) {
        active = now;
        listeners.notify(active);
    }
    // Qt has its own use for selection events.
    return false;
}
