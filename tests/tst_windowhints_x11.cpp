#include "platform/DisplayIds.h"
#include "platform/qt/QtDisplays.h"
#include "platform/x11/X11WindowHints.h"
#include "support/VirtualScreen.h"

#include <QDeadlineTimer>
#include <QGuiApplication>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>
#include <QWindow>

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

// Focus, workspaces and the window state are the window manager's decisions, so the test runs
// once per window manager, each time with an X server of its own, apart from the server other
// tests share.
const QStringList windowManagers{u"openbox"_s, u"xfwm4"_s};
// Set in the run for one window manager; the first run starts one for each.
constexpr char windowManagerVariable[] = "PONDRIFT_TEST_WINDOW_MANAGER";

class Desktop {
public:
    // Absent when the window manager is not installed.
    std::optional<bool> start(const QString& name)
    {
        display = screen.start({1600, 900});
        if (display.isEmpty())
            return false;
        const QDeadlineTimer deadline(30000);
        qputenv("DISPLAY", display);
        if (QStandardPaths::findExecutable(name).isEmpty())
            return std::nullopt;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        QStringList arguments{u"--sm-disable"_s};
        if (name == u"xfwm4"_s) {
            // xfwm4 reads its settings from xfconfd over a session bus and quits without one.
            bus.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address=1"_s});
            QByteArray address;
            while (!address.endsWith('\n') && !deadline.hasExpired()
                   && bus.state() != QProcess::NotRunning) {
                bus.waitForReadyRead(100);
                address += bus.readAllStandardOutput();
            }
            environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, QString::fromUtf8(address.trimmed()));
            environment.insert(u"NO_AT_BRIDGE"_s, u"1"_s);
            arguments = QStringList{u"--compositor=off"_s, u"--sm-client-disable"_s};
        }
        windowManager.setProcessEnvironment(environment);
        windowManager.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        windowManager.start(name, arguments);
        return windowManager.waitForStarted();
    }
    ~Desktop()
    {
        for (QProcess* p : {&windowManager, &bus}) {
            if (p->state() != QProcess::NotRunning) {
                p->terminate();
                p->waitForFinished(10000);
            }
        }
    }

    QByteArray display;

private:
    VirtualScreen screen;
    QProcess bus;
    QProcess windowManager;
};

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename T>
using Reply = std::unique_ptr<T, FreeReply>;

xcb_connection_t* connection()
{
    return qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
}

xcb_atom_t atom(const char* name)
{
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        connection(), xcb_intern_atom(connection(), false, std::strlen(name), name), nullptr));
    return reply ? reply->atom : XCB_NONE;
}

// A 32-bit property's values, read from the server.
QList<quint32> windowProperty(xcb_window_t window, const char* name)
{
    const Reply<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(connection(),
                               xcb_get_property(connection(), false, window, atom(name),
                                                XCB_GET_PROPERTY_TYPE_ANY, 0, 1024),
                               nullptr));
    if (!reply || reply->format != 32)
        return {};
    const auto* values = static_cast<const quint32*>(xcb_get_property_value(reply.get()));
    return QList<quint32>(values, values + xcb_get_property_value_length(reply.get()) / 4);
}

xcb_window_t root() { return xcb_setup_roots_iterator(xcb_get_setup(connection())).data->root; }

// Openbox states stickiness as the window's desktop (every one), not as a state.
bool hasPanelState(const QWindow& window)
{
    const QList<quint32> state = windowProperty(window.winId(), "_NET_WM_STATE");
    for (const char* name :
         {"_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER", "_NET_WM_STATE_ABOVE"}) {
        if (!state.contains(atom(name)))
            return false;
    }
    return true;
}

bool onEveryDesktop(const QWindow& window)
{
    return windowProperty(window.winId(), "_NET_WM_DESKTOP") == QList<quint32>{0xFFFFFFFFu};
}

// WM_HINTS: flags, then input; the input field counts only with its flag (bit 0) set.
bool takesInput(const QWindow& window)
{
    const QList<quint32> hints = windowProperty(window.winId(), "WM_HINTS");
    return hints.size() >= 2 && (hints[0] & 1u) && hints[1] != 0;
}

xcb_window_t inputFocus()
{
    const Reply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(connection(), xcb_get_input_focus(connection()), nullptr));
    return reply ? reply->focus : XCB_NONE;
}

bool viewable(const QWindow& window)
{
    const Reply<xcb_get_window_attributes_reply_t> reply(xcb_get_window_attributes_reply(
        connection(), xcb_get_window_attributes(connection(), window.winId()), nullptr));
    return reply && reply->map_state == XCB_MAP_STATE_VIEWABLE;
}

// Asks the window manager for something, as a pager would.
void askWindowManager(const char* message, quint32 value)
{
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = root();
    event.type = atom(message);
    event.data.data32[0] = value;
    xcb_send_event(connection(), false, root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&event));
    xcb_flush(connection());
}

void makePanelWindow(QWindow& window)
{
    window.setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint
                    | Qt::WindowDoesNotAcceptFocus);
    window.setGeometry(1570, 300, 30, 200);
    window.winId();
}

// A window manager on a busy machine may take seconds to answer.
constexpr int patience = 30000;

enum class When { BeforeTheFirstShow, BeforeShowingAgain, WhileShown };

} // namespace

Q_DECLARE_METATYPE(When)

class TestWindowHintsX11 : public QObject {
    Q_OBJECT

    std::unique_ptr<X11WindowHints> hints;

public:
    QString windowManager;
    bool windowManagerInstalled = true;

private Q_SLOTS:
    void initTestCase()
    {
        if (!windowManagerInstalled)
            QSKIP(qPrintable(windowManager
                             + u" is not installed; scripts/install-deps.sh installs it"_s));
        QCOMPARE(QGuiApplication::platformName(), u"xcb"_s);
        hints = X11WindowHints::open();
        QVERIFY(hints);
        // Windows shown before the window manager runs would never be managed.
        QTRY_VERIFY_WITH_TIMEOUT(!windowProperty(root(), "_NET_SUPPORTING_WM_CHECK").isEmpty(),
                                 30000);
        // The check window comes early in the manager's start, and now and then a window
        // mapped just after it is never taken on (openbox drops that first map request). A
        // window it has mapped is the sign that it has come all the way up; ask again until
        // then.
        QWindow probe;
        probe.setGeometry(0, 0, 50, 50);
        for (int attempt = 0; attempt < 5 && !viewable(probe); ++attempt) {
            probe.show();
            if (QTest::qWaitFor([&] { return viewable(probe); }, patience / 3))
                break;
            probe.hide();
        }
        QVERIFY(viewable(probe));
    }

    void aPanelIsStickyOutOfTaskbarAndPagerAndAbove_data()
    {
        QTest::addColumn<When>("when");
        QTest::newRow("hinted before the first show") << When::BeforeTheFirstShow;
        // The window manager forgets a window's state when it is hidden.
        QTest::newRow("hinted again before it shows again") << When::BeforeShowingAgain;
        QTest::newRow("hinted while it is shown") << When::WhileShown;
    }

    void aPanelIsStickyOutOfTaskbarAndPagerAndAbove()
    {
        QFETCH(When, when);
        QWindow panel;
        makePanelWindow(panel);
        switch (when) {
        case When::BeforeTheFirstShow:
            hints->makePanel(&panel);
            panel.show();
            break;
        case When::BeforeShowingAgain:
            hints->makePanel(&panel);
            panel.show();
            QTRY_VERIFY_WITH_TIMEOUT(hasPanelState(panel), patience);
            // Only a window the manager has taken on is forgotten when it hides; a hide that
            // comes first leaves the state as the program wrote it.
            QTRY_VERIFY_WITH_TIMEOUT(!windowProperty(panel.winId(), "WM_STATE").isEmpty(),
                                     patience);
            panel.hide();
            QTRY_VERIFY_WITH_TIMEOUT(!hasPanelState(panel), patience);
            hints->makePanel(&panel);
            panel.show();
            break;
        case When::WhileShown:
            panel.show();
            QVERIFY(QTest::qWaitForWindowExposed(&panel, patience));
            // Managed now: the window manager has written its own view of the state.
            QTRY_VERIFY_WITH_TIMEOUT(windowProperty(panel.winId(), "_NET_WM_STATE")
                                         .contains(atom("_NET_WM_STATE_ABOVE")),
                                     patience);
            // xfwm4 keeps a utility window out of the taskbar and the pager of its own
            // accord, but on one workspace.
            QVERIFY(!hasPanelState(panel) || !onEveryDesktop(panel));
            hints->makePanel(&panel);
            break;
        }
        QTRY_VERIFY_WITH_TIMEOUT(hasPanelState(panel), patience);
        QTRY_VERIFY_WITH_TIMEOUT(onEveryDesktop(panel), patience);

        // What the user sees of it: the panel stays when another workspace shows, which
        // also proves the window manager took the hints rather than the test reading back
        // what was written.
        QWindow ordinary;
        ordinary.setGeometry(100, 100, 200, 200);
        ordinary.show();
        // Mapped is enough: the window manager may place it under the panel, and a window
        // that is covered whole never counts as exposed.
        QTRY_VERIFY_WITH_TIMEOUT(viewable(ordinary), patience);
        askWindowManager("_NET_CURRENT_DESKTOP", 1);
        QTRY_VERIFY_WITH_TIMEOUT(
            windowProperty(root(), "_NET_CURRENT_DESKTOP") == QList<quint32>{1}, patience);
        QTRY_VERIFY_WITH_TIMEOUT(!viewable(ordinary), patience);
        QVERIFY(viewable(panel));
        askWindowManager("_NET_CURRENT_DESKTOP", 0);
        QTRY_VERIFY_WITH_TIMEOUT(viewable(ordinary), patience);
    }

    void aPanelOutlastsWhatHidesOtherWindows_data()
    {
        QTest::addColumn<QByteArray>("request");
        const QByteArray name = windowManager.toUtf8();
        QTest::addRow("%s: the desktop is shown", name.constData())
            << QByteArray("_NET_SHOWING_DESKTOP");
        QTest::addRow("%s: another workspace is shown", name.constData())
            << QByteArray("_NET_CURRENT_DESKTOP");
    }

    void aPanelOutlastsWhatHidesOtherWindows()
    {
        QFETCH(QByteArray, request);
        QWindow ordinary;
        ordinary.setGeometry(100, 100, 200, 200);
        ordinary.show();
        QWindow panel;
        makePanelWindow(panel);
        hints->makePanel(&panel);
        panel.show();
        QTRY_VERIFY_WITH_TIMEOUT(viewable(ordinary) && viewable(panel), patience);
        QTRY_VERIFY_WITH_TIMEOUT(!windowProperty(panel.winId(), "WM_STATE").isEmpty(), patience);

        askWindowManager(request.constData(), 1);
        QTRY_VERIFY_WITH_TIMEOUT(windowProperty(root(), request.constData()) == QList<quint32>{1},
                                 patience);
        QTRY_VERIFY_WITH_TIMEOUT(!viewable(ordinary), patience);
        QVERIFY(viewable(panel));
        QVERIFY(
            !windowProperty(panel.winId(), "_NET_WM_STATE").contains(atom("_NET_WM_STATE_HIDDEN")));
        // A note opened from the deck meanwhile still gets the keys.
        hints->takeKeyboard(&panel, 0);
        QTRY_COMPARE_WITH_TIMEOUT(inputFocus(), xcb_window_t(panel.winId()), patience);
        QVERIFY(viewable(panel));

        hints->releaseKeyboard(&panel);
        askWindowManager(request.constData(), 0);
        QTRY_VERIFY_WITH_TIMEOUT(viewable(ordinary), patience);
    }

    void aPanelTakesTheKeyboardOnlyWhenAsked()
    {
        QWindow other;
        other.setGeometry(100, 100, 400, 300);
        other.show();
        other.requestActivate();
        QTRY_VERIFY_WITH_TIMEOUT(other.isActive(), patience);
        QTRY_COMPARE_WITH_TIMEOUT(windowProperty(root(), "_NET_ACTIVE_WINDOW").value(0),
                                  quint32(other.winId()), patience);

        QWindow panel;
        makePanelWindow(panel);
        hints->makePanel(&panel);
        panel.show();
        QVERIFY(QTest::qWaitForWindowExposed(&panel, patience));
        QVERIFY(!takesInput(panel));

        hints->takeKeyboard(&panel, 0);
        QTRY_VERIFY_WITH_TIMEOUT(panel.isActive(), patience);
        QVERIFY(takesInput(panel));
        QVERIFY(hasPanelState(panel));

        // Given back at once, before the window manager has caught up, the keyboard still
        // returns to the window the person was working in.
        hints->releaseKeyboard(&panel);
        QTRY_VERIFY_WITH_TIMEOUT(!takesInput(panel), patience);
        QVERIFY(hasPanelState(panel));
        // The server's focus is what the person's typing follows; this process's own idea of
        // its active window may lag behind the window manager's back-and-forth.
        QTRY_VERIFY2_WITH_TIMEOUT(
            inputFocus() == xcb_window_t(other.winId()),
            qPrintable(u"focus %1, active %2, other %3, panel %4"_s.arg(inputFocus())
                           .arg(windowProperty(root(), "_NET_ACTIVE_WINDOW").value(0))
                           .arg(other.winId())
                           .arg(panel.winId())),
            patience);
    }

    void theServersScreenIsTheMainDisplay()
    {
        const QList<DisplayInfo> displays = QtDisplays().list();
        QCOMPARE(displays.size(), 1);
        QVERIFY(displays[0].isMain);
        QCOMPARE(displays[0].frame, QRectF(0, 0, 1600, 900));
        QCOMPARE(displays[0].visibleFrame, QRectF(0, 0, 1600, 900));
        QCOMPARE(displays[0].id, DisplayIds::hash(QGuiApplication::primaryScreen()->name()));
    }
};

int main(int argc, char** argv)
{
    const QString windowManager = qEnvironmentVariable(windowManagerVariable);
    if (windowManager.isEmpty()) {
        // One run for each window manager, each with the arguments given.
        QCoreApplication app(argc, argv);
        int failed = 0;
        for (const QString& name : windowManagers) {
            QProcess run;
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
            environment.insert(QString::fromLatin1(windowManagerVariable), name);
            run.setProcessEnvironment(environment);
            run.setProcessChannelMode(QProcess::ForwardedChannels);
            run.start(QCoreApplication::applicationFilePath(), app.arguments().mid(1));
            run.waitForFinished(-1);
            if (run.exitStatus() != QProcess::NormalExit || run.exitCode() != 0)
                ++failed;
        }
        return failed;
    }
    Desktop desktop;
    const std::optional<bool> started = desktop.start(windowManager);
    if (started == false) {
        qWarning("no X server or window manager of the test's own could be started");
        return 1;
    }
    QGuiApplication app(argc, argv);
    TestWindowHintsX11 test;
    test.windowManager = windowManager;
    test.windowManagerInstalled = started.has_value();
    return QTest::qExec(&test, argc, argv);
}

#include "tst_windowhints_x11.moc"
