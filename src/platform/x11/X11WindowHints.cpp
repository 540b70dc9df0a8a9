#include "platform/x11/X11WindowHints.h"

#include <QAbstractNativeEventFilter>
#include <QDeadlineTimer>
#include <QGuiApplication>
#include <QHash>
#include <QList>
#include <QTimer>
#include <QVariant>
#include <QWindow>

#include <xcb/shape.h>
#include <xcb/xcb.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

enum Atom {
    WmState,
    WmStateSticky,
    WmStateSkipTaskbar,
    WmStateSkipPager,
    WmStateAbove,
    WmDesktop,
    WmUserTime,
    WmUserTimeWindow,
    ActiveWindow,
    BlurBehindRegion,
    WmWindowType,
    WmWindowTypeDock,
    AtomCount
};

constexpr std::array<const char*, AtomCount> atomNames{
    "_NET_WM_STATE",
    "_NET_WM_STATE_STICKY",
    "_NET_WM_STATE_SKIP_TASKBAR",
    "_NET_WM_STATE_SKIP_PAGER",
    "_NET_WM_STATE_ABOVE",
    "_NET_WM_DESKTOP",
    "_NET_WM_USER_TIME",
    "_NET_WM_USER_TIME_WINDOW",
    "_NET_ACTIVE_WINDOW",
    "_KDE_NET_WM_BLUR_BEHIND_REGION",
    "_NET_WM_WINDOW_TYPE",
    "_NET_WM_WINDOW_TYPE_DOCK",
};

constexpr quint32 allDesktops = 0xFFFFFFFF;
// Qt's own flag for a dock in the window types it reads from a window's dynamic property.
constexpr int qtDockType = 0x4;
constexpr quint32 stateAdd = 1;
// Messages from an application, as opposed to a pager or taskbar acting for the user.
constexpr quint32 sourceApplication = 1;
// Messages a pager or taskbar sends for the user, which window managers always honour.
constexpr quint32 sourcePager = 2;
// Milliseconds between the looks at a released panel that may still hold the keyboard.
constexpr int handBackChecks[] = {150, 350, 700, 1500, 3000, 6000, 12000};

template <typename T>
struct FreeReply {
    void operator()(T* reply) const { std::free(reply); }
};
template <typename T>
using Reply = std::unique_ptr<T, FreeReply<T>>;

QList<xcb_atom_t> atomList(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property)
{
    Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        connection, xcb_get_property(connection, false, window, property, XCB_ATOM_ATOM, 0, 1024),
        nullptr));
    if (!reply || reply->format != 32 || reply->type != XCB_ATOM_ATOM)
        return {};
    const auto* values = static_cast<const xcb_atom_t*>(xcb_get_property_value(reply.get()));
    return QList<xcb_atom_t>(values, values + xcb_get_property_value_length(reply.get()) / 4);
}

} // namespace

struct X11WindowHints::Connection {
    // Qt's, for everything about Qt's windows.
    xcb_connection_t* qt = nullptr;
    xcb_window_t root = XCB_NONE;
    std::array<xcb_atom_t, AtomCount> atoms{};

    // Our own, opened on first need, only to learn the server's time: the answer comes as an
    // event, which on Qt's connection Qt's event thread would take.
    xcb_connection_t* clock = nullptr;
    xcb_window_t clockWindow = XCB_NONE;

    ~Connection()
    {
        if (clock)
            xcb_disconnect(clock);
    }

    xcb_atom_t operator[](Atom a) const { return atoms[a]; }

    // The window the window manager says is active, XCB_NONE when it says none.
    xcb_window_t activeWindow() const
    {
        Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
            qt, xcb_get_property(qt, false, root, atoms[ActiveWindow], XCB_ATOM_WINDOW, 0, 1),
            nullptr));
        if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 4)
            return XCB_NONE;
        return *static_cast<const xcb_window_t*>(xcb_get_property_value(reply.get()));
    }

    bool viewable(xcb_window_t window) const
    {
        Reply<xcb_get_window_attributes_reply_t> reply(
            xcb_get_window_attributes_reply(qt, xcb_get_window_attributes(qt, window), nullptr));
        return reply && reply->map_state == XCB_MAP_STATE_VIEWABLE;
    }

    xcb_window_t inputFocus() const
    {
        Reply<xcb_get_input_focus_reply_t> reply(
            xcb_get_input_focus_reply(qt, xcb_get_input_focus(qt), nullptr));
        return reply ? reply->focus : XCB_NONE;
    }

    // The window that had the keyboard before each panel took it, by panel.
    QHash<xcb_window_t, xcb_window_t> before;

    void sendToRoot(xcb_window_t window, xcb_atom_t type, std::array<quint32, 5> data) const
    {
        xcb_client_message_event_t event;
        std::memset(&event, 0, sizeof event);
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = window;
        event.type = type;
        std::memcpy(event.data.data32, data.data(), sizeof event.data.data32);
        xcb_send_event(qt, false, root,
                       XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                       reinterpret_cast<const char*>(&event));
    }

    void setCardinal(xcb_window_t window, Atom property, quint32 value) const
    {
        xcb_change_property(qt, XCB_PROP_MODE_REPLACE, window, atoms[property], XCB_ATOM_CARDINAL,
                            32, 1, &value);
    }

    // Hands the keyboard from a panel that gave it back to the window the person worked in:
    // asked as a pager asks, and set directly too for a window manager that still counts that
    // window as active and so has nothing to do.
    void handBack(xcb_window_t previous)
    {
        sendToRoot(previous, atoms[ActiveWindow], {sourcePager, 0, 0, 0, 0});
        if (viewable(previous))
            xcb_set_input_focus(qt, XCB_INPUT_FOCUS_PARENT, previous, XCB_CURRENT_TIME);
        xcb_flush(qt);
    }
};

// A panel that has given the keyboard back and is given it again without asking: a window
// manager carrying out, late, the activation asked for when the panel opened (on a loaded
// machine openbox has done so many seconds after the release). Watched for half a minute,
// or until the panel asks for the keyboard again or goes.
class X11WindowHints::FocusWatch final : public QObject, public QAbstractNativeEventFilter {
public:
    explicit FocusWatch(Connection& x)
        : x(x)
    {
        QCoreApplication::instance()->installNativeEventFilter(this);
    }

    void watch(QWindow* window, xcb_window_t previous)
    {
        const auto id = static_cast<xcb_window_t>(window->winId());
        if (!returning.contains(id))
            connect(window, &QObject::destroyed, this, [this, id] { returning.remove(id); });
        returning.insert(id, {previous, QDeadlineTimer(30'000)});
    }
    void forget(QWindow* window) { returning.remove(static_cast<xcb_window_t>(window->winId())); }

    bool nativeEventFilter(const QByteArray& type, void* message, qintptr*) override
    {
        // Every event of the program passes here, pointer motion included; almost always
        // nothing is watched.
        if (returning.isEmpty() || type != "xcb_generic_event_t")
            return false;
        const auto* event = static_cast<const xcb_generic_event_t*>(message);
        if ((event->response_type & 0x7f) != XCB_FOCUS_IN)
            return false;
        const auto* focus = reinterpret_cast<const xcb_focus_in_event_t*>(event);
        // A grab's start and end move no keyboard between windows.
        if (focus->mode == XCB_NOTIFY_MODE_GRAB || focus->mode == XCB_NOTIFY_MODE_UNGRAB)
            return false;
        const auto it = returning.constFind(focus->event);
        if (it == returning.cend())
            return false;
        if (it->until.hasExpired())
            returning.remove(focus->event);
        else
            x.handBack(it->previous);
        return false;
    }

private:
    struct Returning {
        xcb_window_t previous = XCB_NONE;
        QDeadlineTimer until;
    };
    Connection& x;
    QHash<xcb_window_t, Returning> returning; // by panel
};

std::unique_ptr<X11WindowHints> X11WindowHints::open()
{
    auto* x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    if (!x11 || !x11->connection())
        return nullptr;
    auto connection = std::make_unique<Connection>();
    connection->qt = x11->connection();
    const xcb_setup_t* setup = xcb_get_setup(connection->qt);
    connection->root = xcb_setup_roots_iterator(setup).data->root;

    std::array<xcb_intern_atom_cookie_t, AtomCount> cookies{};
    for (int i = 0; i < AtomCount; ++i)
        cookies[i] =
            xcb_intern_atom(connection->qt, false, std::strlen(atomNames[i]), atomNames[i]);
    for (int i = 0; i < AtomCount; ++i) {
        Reply<xcb_intern_atom_reply_t> reply(
            xcb_intern_atom_reply(connection->qt, cookies[i], nullptr));
        if (!reply)
            return nullptr;
        connection->atoms[i] = reply->atom;
    }
    return std::unique_ptr<X11WindowHints>(new X11WindowHints(std::move(connection)));
}

X11WindowHints::X11WindowHints(std::unique_ptr<Connection> connection)
    : x(std::move(connection))
    , focusWatch(std::make_unique<FocusWatch>(*x))
{
}

X11WindowHints::~X11WindowHints() = default;

void X11WindowHints::makePanel(QWindow* window)
{
    if (!window->isVisible())
        makeDock(window);
    addStates(window, {(*x)[WmStateSticky], (*x)[WmStateSkipTaskbar], (*x)[WmStateSkipPager],
                       (*x)[WmStateAbove]});
}

// "Above" is left to Qt's flag, which Qt restates itself whenever the window's flags change.
void X11WindowHints::makeFloating(QWindow* window)
{
    addStates(window, {(*x)[WmStateSticky], (*x)[WmStateSkipTaskbar], (*x)[WmStateSkipPager]});
}

void X11WindowHints::addStates(QWindow* window, const QList<quint32>& wanted)
{
    const auto id = static_cast<xcb_window_t>(window->winId());
    if (window->isVisible()) {
        // A managed window's state belongs to the window manager: it is asked, two states
        // to a message.
        for (qsizetype i = 0; i < wanted.size(); i += 2)
            x->sendToRoot(id, (*x)[WmState],
                          {stateAdd, wanted[i], wanted.value(i + 1, 0), sourceApplication, 0});
        x->sendToRoot(id, (*x)[WmDesktop], {allDesktops, sourceApplication, 0, 0, 0});
    } else {
        // Before the map the properties themselves are read. Qt merges its own states into
        // what it finds when it shows the window, so ours are merged in the same way.
        QList<xcb_atom_t> states = atomList(x->qt, id, (*x)[WmState]);
        for (const xcb_atom_t state : wanted) {
            if (!states.contains(state))
                states.append(state);
        }
        xcb_change_property(x->qt, XCB_PROP_MODE_REPLACE, id, (*x)[WmState], XCB_ATOM_ATOM, 32,
                            static_cast<quint32>(states.size()), states.constData());
        x->setCardinal(id, WmDesktop, allDesktops);
    }
    xcb_flush(x->qt);
}

// When the user asks to see the desktop, openbox hides every window but docks and the
// desktop itself (xfwm4 spares windows out of the taskbar as well), so a panel calls itself a
// dock; both still give a dock the keyboard when it asks. Window managers read the type when
// they take a window on, and xfwm4, seeing it change on a shown window, no longer lets that
// window onto every workspace: so it is set on hidden windows only. Qt writes the type again
// whenever the window's flags change, as taking the keyboard does, and keeps one named in the
// dynamic property ahead of its own; the window exists already, so this time it is written
// here.
void X11WindowHints::makeDock(QWindow* window)
{
    const auto id = static_cast<xcb_window_t>(window->winId());
    window->setProperty("_q_xcb_wm_window_type", qtDockType);
    QList<xcb_atom_t> types = atomList(x->qt, id, (*x)[WmWindowType]);
    if (types.value(0) == (*x)[WmWindowTypeDock])
        return;
    types.removeAll((*x)[WmWindowTypeDock]);
    types.prepend((*x)[WmWindowTypeDock]);
    xcb_change_property(x->qt, XCB_PROP_MODE_REPLACE, id, (*x)[WmWindowType], XCB_ATOM_ATOM, 32,
                        static_cast<quint32>(types.size()), types.constData());
}

void X11WindowHints::setUserTime(QWindow* window, quint32 time)
{
    const auto id = static_cast<xcb_window_t>(window->winId());
    x->setCardinal(id, WmUserTime, time);
    // Qt keeps the user time on a window of its own when the window manager supports that,
    // and the window manager then reads it only there.
    Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        x->qt, xcb_get_property(x->qt, false, id, (*x)[WmUserTimeWindow], XCB_ATOM_WINDOW, 0, 1),
        nullptr));
    if (reply && reply->format == 32 && xcb_get_property_value_length(reply.get()) == 4) {
        const xcb_window_t timeWindow =
            *static_cast<const xcb_window_t*>(xcb_get_property_value(reply.get()));
        x->setCardinal(timeWindow, WmUserTime, time);
    }
    xcb_flush(x->qt);
}

void X11WindowHints::takeKeyboard(QWindow* window, quint32 time)
{
    if (time == 0)
        time = serverTime();
    const auto id = static_cast<xcb_window_t>(window->winId());
    // From one of our panels to another (a note pulled off the deck to float), the keyboard
    // later goes back to where the person worked before the first of them.
    if (const xcb_window_t previous = x->activeWindow(); previous != XCB_NONE && previous != id)
        x->before.insert(id, x->before.value(previous, previous));
    // Qt refuses to activate a window that does not accept focus, and its flag is what
    // tells the window manager (WM_HINTS input).
    focusWatch->forget(window);
    window->setFlag(Qt::WindowDoesNotAcceptFocus, false);
    // Qt's request carries the time of the last event Qt itself saw, which may be older than
    // the action that opened the panel (a hot key's press is taken before Qt sees it); ours
    // follows with the right time, and the user time is written after Qt's.
    window->requestActivate();
    if (time == 0)
        return;
    setUserTime(window, time);
    x->sendToRoot(static_cast<xcb_window_t>(window->winId()), (*x)[ActiveWindow],
                  {sourceApplication, time, 0, 0, 0});
    xcb_flush(x->qt);
}

void X11WindowHints::releaseKeyboard(QWindow* window)
{
    const auto id = static_cast<xcb_window_t>(window->winId());
    const xcb_window_t previous = x->before.take(id);
    // Whether the panel holds the keyboard is asked before the window says it takes none: a
    // window manager that sees that may move the focus at once, and not always to where the
    // person was. The window manager may not have written the panel as active yet when a
    // note closes right after it opened, so the keyboard's focus counts too.
    const xcb_window_t active = x->activeWindow();
    const bool holds = active == id || x->inputFocus() == id;
    window->setFlag(Qt::WindowDoesNotAcceptFocus, true);
    if (previous != XCB_NONE)
        focusWatch->watch(window, previous);
    // The keyboard goes back to where the person was working, unless they have already
    // taken it elsewhere (a click in another window is what closed the panel, say). Asked as
    // a pager asks, since it is the person's own action that ends the panel's turn.
    if (previous == XCB_NONE || !holds)
        return;
    const quint32 now = serverTime();
    x->sendToRoot(previous, (*x)[ActiveWindow], {sourcePager, now, 0, 0, 0});
    // A window manager that still counts the earlier window as active has nothing to do for
    // that request, and the keyboard would stay here: it is handed over directly as well.
    if (active == previous)
        xcb_set_input_focus(x->qt, XCB_INPUT_FOCUS_PARENT, previous, now ? now : XCB_CURRENT_TIME);
    xcb_flush(x->qt);
    handBackLater(window, previous, 0);
}

// A window that takes no keyboard must not keep it. Should the panel still hold it a moment
// later (a window manager still busy with the panel's own activation, which on a loaded
// machine can take seconds), the keyboard is handed over again, at the server's
// current time; looked at a few times, further apart each time, unless the panel has asked
// for the keyboard again meanwhile.
void X11WindowHints::handBackLater(QWindow* window, quint32 previous, int attempt)
{
    if (attempt >= int(std::size(handBackChecks)))
        return;
    const auto id = static_cast<xcb_window_t>(window->winId());
    QTimer::singleShot(handBackChecks[attempt], window, [this, window, id, previous, attempt] {
        if (!window->flags().testFlag(Qt::WindowDoesNotAcceptFocus))
            return;
        if (x->inputFocus() == id)
            x->handBack(previous);
        handBackLater(window, previous, attempt + 1);
    });
}

void X11WindowHints::setBlurBehind(QWindow* window, bool on)
{
    const auto id = static_cast<xcb_window_t>(window->winId());
    // The property lists rectangles to blur; present and empty, it means the whole window.
    if (on)
        xcb_change_property(x->qt, XCB_PROP_MODE_REPLACE, id, (*x)[BlurBehindRegion],
                            XCB_ATOM_CARDINAL, 32, 0, nullptr);
    else
        xcb_delete_property(x->qt, id, (*x)[BlurBehindRegion]);
    xcb_flush(x->qt);
}

void X11WindowHints::setInputRegion(QWindow* window, const std::optional<QRegion>& region)
{
    const xcb_query_extension_reply_t* shape = xcb_get_extension_data(x->qt, &xcb_shape_id);
    if (!shape || !shape->present)
        return;
    const auto id = static_cast<xcb_window_t>(window->winId());
    if (!region) {
        // No input shape of its own: the window's whole bounding shape takes the pointer.
        xcb_shape_mask(x->qt, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, id, 0, 0, XCB_NONE);
        xcb_flush(x->qt);
        return;
    }
    // The server counts in device pixels; a rectangle grows to whole pixels rather than lose
    // an edge of what the person can click.
    const qreal ratio = window->devicePixelRatio();
    std::vector<xcb_rectangle_t> rects;
    rects.reserve(static_cast<size_t>(region->rectCount()));
    for (const QRect& r : *region) {
        const int left = static_cast<int>(std::floor(r.left() * ratio));
        const int top = static_cast<int>(std::floor(r.top() * ratio));
        const int right = static_cast<int>(std::ceil((r.right() + 1) * ratio));
        const int bottom = static_cast<int>(std::ceil((r.bottom() + 1) * ratio));
        rects.push_back({static_cast<int16_t>(left), static_cast<int16_t>(top),
                         static_cast<uint16_t>(right - left), static_cast<uint16_t>(bottom - top)});
    }
    xcb_shape_rectangles(x->qt, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED,
                         id, 0, 0, static_cast<uint32_t>(rects.size()), rects.data());
    xcb_flush(x->qt);
}

// The server's time now: a property change on a window of our own comes back as an event
// that carries it (ICCCM's way to get a timestamp without user input). 0 when it cannot be
// had.
quint32 X11WindowHints::serverTime()
{
    if (!x->clock) {
        xcb_connection_t* clock = xcb_connect(nullptr, nullptr);
        if (xcb_connection_has_error(clock)) {
            xcb_disconnect(clock);
            return 0;
        }
        x->clock = clock;
        x->clockWindow = xcb_generate_id(clock);
        const quint32 mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_create_window(clock, XCB_COPY_FROM_PARENT, x->clockWindow,
                          xcb_setup_roots_iterator(xcb_get_setup(clock)).data->root, -1, -1, 1, 1,
                          0, XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                          &mask);
    }
    if (xcb_connection_has_error(x->clock))
        return 0;
    xcb_change_property(x->clock, XCB_PROP_MODE_APPEND, x->clockWindow, XCB_ATOM_WM_NAME,
                        XCB_ATOM_STRING, 8, 0, nullptr);
    xcb_flush(x->clock);
    // Nothing else is selected on this connection, so the next event is the answer.
    while (xcb_generic_event_t* event = xcb_wait_for_event(x->clock)) {
        const bool answer = (event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY;
        const quint32 time =
            answer ? reinterpret_cast<xcb_property_notify_event_t*>(event)->time : 0;
        std::free(event);
        if (answer)
            return time;
    }
    return 0;
}
