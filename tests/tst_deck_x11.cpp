#include "notes/Paths.h"
#include "notes/Store.h"
#include "platform/qt/QtFiles.h"
#include "support/VirtualScreen.h"
#include "support/XWindows.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <xcb/shape.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

// A window manager on a busy machine may take seconds to answer.
constexpr int patience = 30000;

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename T>
using Reply = std::unique_ptr<T, FreeReply>;

// The real program on an X server of its own with openbox, seen from outside: through its
// deck trace, the server's idea of its window, and the pointer moved and clicked by xdotool
// (XTest), as a person's hand would.
class DeckOnScreen {
public:
    ~DeckOnScreen()
    {
        if (x)
            xcb_disconnect(x);
        for (QProcess* p : {&program, &compositor, &windowManager}) {
            if (p->state() != QProcess::NotRunning) {
                p->kill();
                p->waitForFinished(10000);
            }
        }
    }

    bool startDesktop()
    {
        display = screen.start({1280, 800});
        if (display.isEmpty())
            return false;
        x = xcb_connect(display.constData(), nullptr);
        if (xcb_connection_has_error(x))
            return false;
        windowManager.setProcessEnvironment(environment());
        windowManager.start(u"openbox"_s, {u"--sm-disable"_s});
        if (!windowManager.waitForStarted()
            || !QTest::qWaitFor(
                [&] { return !property(root(), "_NET_SUPPORTING_WM_CHECK").isEmpty(); }, patience))
            return false;
        // A compositor, as most desktops run one: the deck is then a clear rectangle, and only
        // its input shape lets clicks through where it draws nothing.
        compositor.setProcessEnvironment(environment());
        compositor.start(u"picom"_s, {u"--backend"_s, u"xrender"_s});
        return compositor.waitForStarted()
               && QTest::qWaitFor([&] { return selectionOwner("_NET_WM_CM_S0") != XCB_NONE; },
                                  patience);
    }

    QProcessEnvironment environment() const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(u"DISPLAY"_s, QString::fromLatin1(display));
        env.insert(u"HOME"_s, home.path());
        env.insert(u"XDG_DATA_HOME"_s, home.path() + u"/data"_s);
        env.insert(u"XDG_CONFIG_HOME"_s, home.path() + u"/config"_s);
        env.insert(u"XDG_RUNTIME_DIR"_s, home.path() + u"/run"_s);
        env.insert(u"PONDRIFT_DEBUG_DECK"_s, u"1"_s);
        env.remove(u"QT_QPA_PLATFORM"_s);
        return env;
    }

    // Notes in the program's own library, written as an earlier launch would have.
    bool seed(const QStringList& titles)
    {
        QDir(home.path()).mkpath(u"run"_s);
        QFile::setPermissions(home.path() + u"/run"_s, QFileDevice::ReadOwner
                                                           | QFileDevice::WriteOwner
                                                           | QFileDevice::ExeOwner);
        return QProcess::execute(QString::fromUtf8(PONDRIFT_HELPER_DIR) + u"/seednotes"_s,
                                 QStringList{home.path() + u"/data/Pondrift"_s} + titles)
               == 0;
    }

    bool launch()
    {
        program.setProcessEnvironment(environment());
        program.setProcessChannelMode(QProcess::MergedChannels);
        program.start(QString::fromUtf8(PONDRIFT_BINARY), {});
        return program.waitForStarted() && waitForLine(u"making a deck"_s);
    }

    // Waits for a trace line holding the text, after the lines already looked at.
    bool waitForLine(const QString& text)
    {
        return QTest::qWaitFor(
            [&] {
                trace += QString::fromUtf8(program.readAll());
                const qsizetype at = trace.indexOf(text, seen);
                if (at < 0)
                    return false;
                seen = at + text.size();
                return true;
            },
            patience);
    }
    QString traceSoFar() { return trace + QString::fromUtf8(program.readAll()); }

    // The deck's window: the program's only top-level window that the server shows.
    xcb_window_t deckWindow()
    {
        const Reply<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(x, xcb_query_tree(x, root()), nullptr));
        if (!tree)
            return XCB_NONE;
        const xcb_window_t* frames = xcb_query_tree_children(tree.get());
        for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
            const Reply<xcb_query_tree_reply_t> inner(
                xcb_query_tree_reply(x, xcb_query_tree(x, frames[i]), nullptr));
            QList<xcb_window_t> candidates{frames[i]};
            if (inner) {
                const xcb_window_t* kids = xcb_query_tree_children(inner.get());
                candidates.append(
                    QList<xcb_window_t>(kids, kids + xcb_query_tree_children_length(inner.get())));
            }
            for (const xcb_window_t w : candidates) {
                if (className(w).contains("pondrift"))
                    return w;
            }
        }
        return XCB_NONE;
    }

    QRect geometry(xcb_window_t window)
    {
        const Reply<xcb_get_geometry_reply_t> g(
            xcb_get_geometry_reply(x, xcb_get_geometry(x, window), nullptr));
        const Reply<xcb_translate_coordinates_reply_t> t(xcb_translate_coordinates_reply(
            x, xcb_translate_coordinates(x, window, root(), 0, 0), nullptr));
        if (!g || !t)
            return {};
        return {t->dst_x, t->dst_y, g->width, g->height};
    }

    bool viewable(xcb_window_t window)
    {
        const Reply<xcb_get_window_attributes_reply_t> a(
            xcb_get_window_attributes_reply(x, xcb_get_window_attributes(x, window), nullptr));
        return a && a->map_state == XCB_MAP_STATE_VIEWABLE;
    }

    // WM_HINTS: flags, then input; the input field counts only with its flag (bit 0) set. A
    // window that says no is never given the keyboard by a click, whatever the manager.
    bool takesInput(xcb_window_t window)
    {
        const QList<quint32> hints = property(window, "WM_HINTS");
        return hints.size() >= 2 && (hints[0] & 1u) && hints[1] != 0;
    }

    // The modifier keys the server holds down now.
    quint16 modifiers()
    {
        const Reply<xcb_query_pointer_reply_t> p(
            xcb_query_pointer_reply(x, xcb_query_pointer(x, root()), nullptr));
        return p ? p->mask : 0;
    }

    xcb_window_t focus()
    {
        const Reply<xcb_get_input_focus_reply_t> f(
            xcb_get_input_focus_reply(x, xcb_get_input_focus(x), nullptr));
        return f ? f->focus : XCB_NONE;
    }

    // An ordinary window of another program, holding the keyboard.
    xcb_window_t openOtherWindow()
    {
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(x)).data;
        const xcb_window_t w = xcb_generate_id(x);
        const quint32 values[] = {screen->white_pixel, XCB_EVENT_MASK_BUTTON_PRESS};
        // Wide enough to lie under the fanned deck's clear part.
        xcb_create_window(x, XCB_COPY_FROM_PARENT, w, screen->root, 100, 100, 1100, 500, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                          XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
        xcb_map_window(x, w);
        xcb_flush(x);
        return w;
    }

    void xdotool(const QStringList& args)
    {
        QProcess tool;
        tool.setProcessEnvironment(environment());
        tool.start(u"xdotool"_s, args);
        QVERIFY2(tool.waitForFinished(patience), "xdotool is needed for this test");
        QCOMPARE(tool.exitCode(), 0);
    }

    // Whether a click has reached the window since the last look.
    bool clicked(xcb_window_t window)
    {
        bool found = false;
        while (xcb_generic_event_t* event = xcb_poll_for_event(x)) {
            if ((event->response_type & 0x7f) == XCB_BUTTON_PRESS
                && reinterpret_cast<xcb_button_press_event_t*>(event)->event == window)
                found = true;
            std::free(event);
        }
        return found;
    }

    // As a pager's "Show Desktop" button asks.
    void showDesktop(bool on)
    {
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = root();
        event.type = atom("_NET_SHOWING_DESKTOP");
        event.data.data32[0] = on ? 1 : 0;
        xcb_send_event(x, false, root(),
                       XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                       reinterpret_cast<const char*>(&event));
        xcb_flush(x);
    }

    QList<quint32> property(xcb_window_t window, const char* name)
    {
        const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
            x, xcb_get_property(x, false, window, atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, 1024),
            nullptr));
        if (!reply || reply->format != 32)
            return {};
        const auto* values = static_cast<const quint32*>(xcb_get_property_value(reply.get()));
        return QList<quint32>(values, values + xcb_get_property_value_length(reply.get()) / 4);
    }

    xcb_atom_t atom(const char* name)
    {
        const Reply<xcb_intern_atom_reply_t> reply(
            xcb_intern_atom_reply(x, xcb_intern_atom(x, false, std::strlen(name), name), nullptr));
        return reply ? reply->atom : XCB_NONE;
    }

    // Whether the window is cut to a shape of its own rather than its rectangle.
    bool shaped(xcb_window_t window)
    {
        const Reply<xcb_shape_query_extents_reply_t> e(
            xcb_shape_query_extents_reply(x, xcb_shape_query_extents(x, window), nullptr));
        return e && e->bounding_shaped;
    }

    void stopCompositor()
    {
        compositor.terminate();
        compositor.waitForFinished(patience);
    }

    xcb_window_t selectionOwner(const char* name)
    {
        const Reply<xcb_get_selection_owner_reply_t> owner(
            xcb_get_selection_owner_reply(x, xcb_get_selection_owner(x, atom(name)), nullptr));
        return owner ? owner->owner : XCB_NONE;
    }

    xcb_window_t root() { return xcb_setup_roots_iterator(xcb_get_setup(x)).data->root; }

    // Mapped top-level windows of every program on this desk's server.
    int windows() { return viewableTopLevels(display.constData()); }

    // Holds a combination on the root window, as another program that got there first does.
    bool holdKey(quint8 keycode, quint16 modifiers)
    {
        Reply<xcb_generic_error_t> error(
            xcb_request_check(x, xcb_grab_key_checked(x, true, root(), modifiers, keycode,
                                                      XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC)));
        return !error;
    }

    // Every note's text as the database holds it, read beside the running program.
    QString storedText()
    {
        QtFiles files;
        const Paths paths(home.path() + u"/data/Pondrift"_s);
        Store store(paths.db(), paths.key(), files);
        QString all;
        for (const Note& note : store.load())
            all += note.title + u'\n' + note.body + u'\n';
        return all;
    }

    // A value of the program's settings file, as the next launch would read it.
    QByteArray setting(const char* key)
    {
        QFile file(home.path() + u"/config/Pondrift/Pondrift.conf"_s);
        if (!file.open(QIODevice::ReadOnly))
            return {};
        for (const QByteArray& line : file.readAll().split('\n')) {
            if (line.startsWith(QByteArray(key) + '='))
                return line.mid(qstrlen(key) + 1).trimmed();
        }
        return {};
    }

    QProcess program;

private:
    QByteArray className(xcb_window_t w)
    {
        const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
            x, xcb_get_property(x, false, w, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 256), nullptr));
        if (!reply)
            return {};
        return QByteArray(static_cast<const char*>(xcb_get_property_value(reply.get())),
                          xcb_get_property_value_length(reply.get()));
    }

    QTemporaryDir home;
    // Declared first of the processes, so that the server goes last.
    VirtualScreen screen;
    QProcess windowManager;
    QProcess compositor;
    QByteArray display;
    xcb_connection_t* x = nullptr;
    QString trace;
    qsizetype seen = 0;
};

// The centre of the first item of that kind in the deck's last "items" trace line.
QPoint itemCentre(const QString& trace, const QString& kind)
{
    const qsizetype line = trace.lastIndexOf(u"[deck] items"_s);
    const QRegularExpression item(u" "_s + kind + u":\\S*@(-?\\d+),(-?\\d+),(\\d+)x(\\d+)"_s);
    const QRegularExpressionMatch m =
        item.match(trace.mid(line, trace.indexOf(u'\n', line) - line));
    if (!m.hasMatch())
        return {};
    return QRect(m.captured(1).toInt(), m.captured(2).toInt(), m.captured(3).toInt(),
                 m.captured(4).toInt())
        .center();
}

} // namespace

class TestDeckX11 : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Hover fans the deck out, a tab's click opens its note and a second click closes it, and
    // the deck rests again once the pointer has gone; a click on the deck never takes the
    // keyboard from the window that had it, and "Show Desktop" leaves the deck where it was.
    void theDeckAnswersThePointerAndKeepsOutOfTheWay()
    {
        DeckOnScreen desk;
        QVERIFY2(desk.startDesktop(), "Xvfb, openbox and picom are needed for this test");
        QVERIFY(desk.seed(
            {u"Groceries"_s, u"Call Mum"_s, u"Ideas"_s, u"Trip"_s, u"Books"_s, u"Films"_s}));
        QVERIFY(desk.launch());
        xcb_window_t deck = XCB_NONE;
        QVERIFY(QTest::qWaitFor([&] { return (deck = desk.deckWindow()) && desk.viewable(deck); },
                                patience));
        const QRect resting = desk.geometry(deck);
        QCOMPARE(resting.right(), 1279);
        QVERIFY2(resting.width() <= 44, qPrintable(u"%1 wide at rest"_s.arg(resting.width())));
        QVERIFY(!desk.takesInput(deck));
        // With a compositor the clear parts show the desktop: no shape is needed.
        QVERIFY(!desk.shaped(deck));

        const xcb_window_t other = desk.openOtherWindow();
        QVERIFY(QTest::qWaitFor([&] { return desk.viewable(other); }, patience));
        desk.xdotool({u"windowfocus"_s, u"--sync"_s, QString::number(other)});
        QCOMPARE(desk.focus(), other);

        // To the edge, where the pill is.
        desk.xdotool({u"mousemove"_s, u"--sync"_s, QString::number(resting.center().x()),
                      QString::number(resting.center().y())});
        QVERIFY2(desk.waitForLine(u"setState rest -> fan"_s), qPrintable(desk.traceSoFar()));
        QVERIFY(QTest::qWaitFor([&] { return desk.geometry(deck).width() > 200; }, patience));
        QVERIFY2(desk.waitForLine(u"[deck] items"_s), qPrintable(desk.traceSoFar()));
        const QString trace = desk.traceSoFar();
        for (const char* title : {"tab:", "plus:", "cog:"})
            QVERIFY2(trace.count(QLatin1String(title)) >= (qstrcmp(title, "tab:") ? 1 : 5),
                     qPrintable(trace));

        const QPoint tab = itemCentre(trace, u"tab"_s);
        QVERIFY2(!tab.isNull(), qPrintable(trace));
        desk.xdotool(
            {u"mousemove"_s, u"--sync"_s, QString::number(tab.x()), QString::number(tab.y())});
        desk.xdotool({u"click"_s, u"1"_s});
        QVERIFY2(desk.waitForLine(u"fan -> expanded("_s), qPrintable(desk.traceSoFar()));
        // An open note takes the keyboard.
        QVERIFY(QTest::qWaitFor([&] { return desk.focus() == deck; }, patience));
        // What is typed goes into the note; Escape closes it, and the text is in the database.
        desk.xdotool({u"type"_s, u"--delay"_s, u"20"_s, u"typed in the deck"_s});
        desk.xdotool({u"key"_s, u"Escape"_s});
        QVERIFY2(desk.waitForLine(u"expanded("_s) && desk.waitForLine(u") -> fan"_s),
                 qPrintable(desk.traceSoFar()));
        QVERIFY(QTest::qWaitFor([&] { return desk.storedText().contains(u"typed in the deck"_s); },
                                patience));
        // The keyboard is back in the window that had it.
        QVERIFY(QTest::qWaitFor([&] { return desk.focus() == other; }, patience));

        QVERIFY(QTest::qWaitFor([&] { return !desk.takesInput(deck); }, patience));

        // The fanned deck's frame is wide, but where it draws nothing a click reaches the
        // window below, at once (the frame shrinks only half a second after the fan folds).
        desk.clicked(other);
        desk.xdotool({u"mousemove"_s, u"--sync"_s, u"850"_s, u"350"_s, u"click"_s, u"1"_s});
        QVERIFY(QTest::qWaitFor([&] { return desk.clicked(other); }, patience));
        desk.xdotool({u"mousemove"_s, u"--sync"_s, u"300"_s, u"300"_s});
        QVERIFY2(desk.waitForLine(u"fan -> rest"_s), qPrintable(desk.traceSoFar()));
        QVERIFY(QTest::qWaitFor([&] { return desk.geometry(deck).width() <= 44; }, patience));

        // A click on the deck with another window focused (the More tab: it opens no note)
        // leaves the keyboard where it was.
        desk.xdotool({u"windowfocus"_s, u"--sync"_s, QString::number(other)});
        desk.xdotool({u"mousemove"_s, u"--sync"_s, QString::number(resting.center().x()),
                      QString::number(resting.center().y())});
        QVERIFY2(desk.waitForLine(u"rest -> fan"_s) && desk.waitForLine(u"[deck] items"_s),
                 qPrintable(desk.traceSoFar()));
        const QPoint more = itemCentre(desk.traceSoFar(), u"more"_s);
        QVERIFY2(!more.isNull(), qPrintable(desk.traceSoFar()));
        desk.xdotool(
            {u"mousemove"_s, u"--sync"_s, QString::number(more.x()), QString::number(more.y())});
        desk.xdotool({u"click"_s, u"1"_s});
        // The column lists all six once the click has gone through.
        QVERIFY2(desk.waitForLine(u"[deck] items"_s), qPrintable(desk.traceSoFar()));
        QCOMPARE(desk.focus(), other);
        desk.xdotool({u"mousemove"_s, u"--sync"_s, u"300"_s, u"300"_s});
        QVERIFY(desk.waitForLine(u"fan -> rest"_s));

        desk.showDesktop(true);
        QVERIFY(QTest::qWaitFor([&] { return !desk.viewable(other); }, patience));
        QVERIFY(desk.viewable(deck));
        desk.showDesktop(false);
        QVERIFY(QTest::qWaitFor([&] { return desk.viewable(other); }, patience));

        // With Control held (Alt-drag is openbox's own) the pill goes where it is dragged,
        // across to the other edge, and stays there: the next launch reads it from the settings.
        QVERIFY(QTest::qWaitFor([&] { return desk.geometry(deck).width() <= 44; }, patience));
        const QRect pill = desk.geometry(deck);
        // The key first, as a hand holds it before it reaches the pill.
        desk.xdotool({u"keydown"_s, u"ctrl"_s});
        QVERIFY(QTest::qWaitFor([&] { return desk.modifiers() & XCB_MOD_MASK_CONTROL; }, patience));
        desk.xdotool({u"mousemove"_s, u"--sync"_s, QString::number(pill.center().x()),
                      QString::number(pill.center().y()), u"mousedown"_s, u"1"_s});
        QVERIFY2(desk.waitForLine(u"pill drag begins"_s), qPrintable(desk.traceSoFar()));
        desk.xdotool({u"mousemove"_s, u"--sync"_s, u"640"_s, u"200"_s, u"mousemove"_s, u"--sync"_s,
                      u"20"_s, u"200"_s, u"mouseup"_s, u"1"_s, u"keyup"_s, u"ctrl"_s});
        QVERIFY2(desk.waitForLine(u"pill dropped on the left edge"_s),
                 qPrintable(desk.traceSoFar()));
        QVERIFY2(QTest::qWaitFor([&] { return desk.geometry(deck).left() == 0; }, patience),
                 qPrintable(desk.traceSoFar().right(800)));
        QVERIFY(desk.geometry(deck).top() < pill.top());
        QVERIFY(
            QTest::qWaitFor([&] { return desk.setting("deckOnLeftEdge") == "true"; }, patience));

        // Without one they would show black: the deck cuts itself to what it draws, at once.
        desk.stopCompositor();
        QVERIFY(QTest::qWaitFor([&] { return desk.shaped(deck); }, patience));
    }

    // A note pulled off the deck by its gutter floats in a window of its own, takes the
    // keyboard, keeps what is typed, and tucks away on Escape, handing the keyboard back to
    // the window the person was in before the deck.
    void aNotePulledOffTheDeckFloatsAndTucksAway()
    {
        DeckOnScreen desk;
        QVERIFY2(desk.startDesktop(), "Xvfb, openbox and picom are needed for this test");
        QVERIFY(desk.seed({u"Groceries"_s, u"Call Mum"_s}));
        QVERIFY(desk.launch());
        xcb_window_t deck = XCB_NONE;
        QVERIFY(QTest::qWaitFor([&] { return (deck = desk.deckWindow()) && desk.viewable(deck); },
                                patience));
        const QRect resting = desk.geometry(deck);
        const xcb_window_t other = desk.openOtherWindow();
        QVERIFY(QTest::qWaitFor([&] { return desk.viewable(other); }, patience));
        desk.xdotool({u"windowfocus"_s, u"--sync"_s, QString::number(other)});

        desk.xdotool({u"mousemove"_s, u"--sync"_s, QString::number(resting.center().x()),
                      QString::number(resting.center().y())});
        QVERIFY2(desk.waitForLine(u"[deck] items"_s), qPrintable(desk.traceSoFar()));
        const QPoint tab = itemCentre(desk.traceSoFar(), u"tab"_s);
        desk.xdotool({u"mousemove"_s, u"--sync"_s, QString::number(tab.x()),
                      QString::number(tab.y()), u"click"_s, u"1"_s});
        QVERIFY2(desk.waitForLine(u"fan -> expanded("_s), qPrintable(desk.traceSoFar()));
        QVERIFY2(desk.waitForLine(u"gutter:"_s), qPrintable(desk.traceSoFar()));
        const QPoint gutter = itemCentre(desk.traceSoFar(), u"gutter"_s);
        QVERIFY2(!gutter.isNull(), qPrintable(desk.traceSoFar()));

        // Away from the edge, step by step as a hand goes, then let go.
        desk.xdotool({u"mousemove"_s, u"--sync"_s, QString::number(gutter.x()),
                      QString::number(gutter.y()), u"mousedown"_s, u"1"_s});
        for (int dx : {20, 60, 120, 240, 400})
            desk.xdotool({u"mousemove"_s, u"--sync"_s, QString::number(gutter.x() - dx),
                          QString::number(gutter.y() + 40)});
        desk.xdotool({u"mouseup"_s, u"1"_s});
        QVERIFY2(desk.waitForLine(u"expanded("_s) && desk.waitForLine(u") -> fan"_s),
                 qPrintable(desk.traceSoFar()));
        // The floating note holds the keyboard: a window of its own, neither the deck's nor
        // the other program's.
        xcb_window_t floating = XCB_NONE;
        QVERIFY(QTest::qWaitFor(
            [&] {
                floating = desk.focus();
                return floating != other && floating != deck && floating > XCB_INPUT_FOCUS_PARENT
                       && desk.viewable(floating);
            },
            patience));
        // It followed the pointer away from the edge.
        QVERIFY2(desk.geometry(floating).left() < gutter.x() - 200,
                 qPrintable(u"%1 from the left"_s.arg(desk.geometry(floating).left())));

        desk.xdotool({u"type"_s, u"--delay"_s, u"20"_s, u"typed afloat"_s});
        QVERIFY(QTest::qWaitFor([&] { return desk.storedText().contains(u"typed afloat"_s); },
                                patience));
        desk.xdotool({u"key"_s, u"Escape"_s});
        QVERIFY(QTest::qWaitFor([&] { return !desk.viewable(floating); }, patience));
        QVERIFY(QTest::qWaitFor([&] { return desk.focus() == other; }, patience));
        QVERIFY(desk.setting("floatingNoteID").isEmpty());
    }

    // The capture key from another program's window opens quick capture with the keyboard;
    // the words typed and Return are a new note, and the keyboard goes back.
    void theCaptureKeyTakesAFewWordsFromAnywhere()
    {
        DeckOnScreen desk;
        QVERIFY2(desk.startDesktop(), "Xvfb, openbox and picom are needed for this test");
        QVERIFY(desk.seed({u"Groceries"_s}));
        QVERIFY(desk.launch());
        xcb_window_t deck = XCB_NONE;
        QVERIFY(QTest::qWaitFor([&] { return (deck = desk.deckWindow()) && desk.viewable(deck); },
                                patience));
        const xcb_window_t other = desk.openOtherWindow();
        QVERIFY(QTest::qWaitFor([&] { return desk.viewable(other); }, patience));
        desk.xdotool({u"windowfocus"_s, u"--sync"_s, QString::number(other)});
        QCOMPARE(desk.focus(), other);

        desk.xdotool({u"key"_s, u"ctrl+shift+space"_s});
        xcb_window_t panel = XCB_NONE;
        QVERIFY(QTest::qWaitFor(
            [&] {
                panel = desk.focus();
                return panel != other && panel != deck && panel > XCB_INPUT_FOCUS_PARENT
                       && desk.viewable(panel);
            },
            patience));
        desk.xdotool({u"type"_s, u"--delay"_s, u"20"_s, u"captured words"_s});
        desk.xdotool({u"key"_s, u"Return"_s});
        QVERIFY(QTest::qWaitFor([&] { return desk.storedText().contains(u"captured words"_s); },
                                patience));
        QVERIFY(QTest::qWaitFor([&] { return !desk.viewable(panel); }, patience));
        QVERIFY(QTest::qWaitFor([&] { return desk.focus() == other; }, patience));
    }

    // A combination another program holds is reported by number and stays dead; the other
    // keys still work: a new note, and the library, an ordinary window in the taskbar's list
    // until it is closed.
    void aKeyHeldElsewhereIsReportedAndTheOthersStillWork()
    {
        DeckOnScreen desk;
        QVERIFY2(desk.startDesktop(), "Xvfb, openbox and picom are needed for this test");
        // Ctrl+Shift+Space, the capture key; 65 is Space in the evdev numbering Xvfb uses.
        QVERIFY(desk.holdKey(65, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT));
        QVERIFY(desk.seed({u"Groceries"_s}));
        QVERIFY(desk.launch());
        QVERIFY2(desk.waitForLine(u"Pondrift: hotkey 4 unavailable (status 10) — another app may "
                                  u"own it"_s),
                 qPrintable(desk.traceSoFar()));
        QVERIFY(!desk.traceSoFar().contains(u"hotkey 1 unavailable"_s));
        const xcb_window_t other = desk.openOtherWindow();
        QVERIFY(QTest::qWaitFor([&] { return desk.viewable(other); }, patience));
        desk.xdotool({u"windowfocus"_s, u"--sync"_s, QString::number(other)});

        desk.xdotool({u"key"_s, u"ctrl+alt+n"_s});
        QVERIFY(QTest::qWaitFor([&] { return desk.focus() != other; }, patience));
        desk.xdotool({u"type"_s, u"--delay"_s, u"20"_s, u"made by the key"_s});
        QVERIFY(QTest::qWaitFor([&] { return desk.storedText().contains(u"made by the key"_s); },
                                patience));

        // All notes opens the library; the archive key brings the same window forward.
        const int before = desk.windows();
        desk.xdotool({u"key"_s, u"ctrl+alt+a"_s});
        QVERIFY(QTest::qWaitFor([&] { return desk.windows() == before + 1; }, patience));
        desk.xdotool({u"windowfocus"_s, u"--sync"_s, QString::number(other)});
        desk.xdotool({u"key"_s, u"ctrl+alt+l"_s});
        QVERIFY(QTest::qWaitFor([&] { return desk.focus() != other; }, patience));
        QCOMPARE(desk.windows(), before + 1);

        // The library is an ordinary window: in the taskbar's list while open, gone from it
        // when closed, and the deck stays.
        const xcb_window_t library = desk.focus();
        const auto listed = [&] {
            return desk.property(desk.root(), "_NET_CLIENT_LIST").contains(library);
        };
        QVERIFY(listed());
        QVERIFY(!desk.property(library, "_NET_WM_STATE")
                     .contains(desk.atom("_NET_WM_STATE_SKIP_TASKBAR")));
        desk.xdotool({u"key"_s, u"alt+F4"_s});
        QVERIFY(QTest::qWaitFor([&] { return !listed(); }, patience));
        QVERIFY(desk.viewable(desk.deckWindow()));
    }
};

QTEST_GUILESS_MAIN(TestDeckX11)
#include "tst_deck_x11.moc"
