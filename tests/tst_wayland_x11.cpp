// The program on a Wayland desktop: a headless Weston with XWayland, as a person's session
// would run it. It starts, shows its deck through XWayland, says once how to get global keys
// where the desktop offers no portal for them, and takes a capture request from a later start.
#include "support/PrivateBus.h"
#include "support/ProgramOnScreen.h"
#include "support/XWindows.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>

#include <csignal>

using namespace Qt::Literals::StringLiterals;

namespace {

// A headless Weston of the test's own, with XWayland; stopped when dropped.
class Weston {
public:
    explicit Weston(const QString& runtimeFolder)
        : log(runtimeFolder + u"/weston.log"_s)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"XDG_RUNTIME_DIR"_s, runtimeFolder);
        environment.remove(u"WAYLAND_DISPLAY"_s);
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(u"weston"_s, {u"--backend=headless-backend.so"_s, u"--xwayland"_s,
                                    u"--socket=pondrift-test"_s, u"--idle-time=0"_s,
                                    u"--width=1280"_s, u"--height=800"_s, u"--log="_s + log});
    }
    ~Weston()
    {
        if (process.state() != QProcess::NotRunning) {
            process.terminate();
            if (!process.waitForFinished(10000))
                process.kill();
        }
    }
    // The X display XWayland serves (":N"), once Weston says it listens; empty if it never
    // does within a minute.
    QString xDisplay()
    {
        const QDeadlineTimer deadline(60000);
        QString found;
        while ((found = displayIn()).isEmpty() && !deadline.hasExpired()
               && process.state() != QProcess::NotRunning)
            QTest::qWait(50);
        return found;
    }
    QString logText() const
    {
        QFile file(log);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

private:
    QString displayIn() const
    {
        static const QRegularExpression listening(u"xserver listening on display (:\\d+)"_s);
        return listening.match(logText()).captured(1);
    }
    const QString log;
    QProcess process;
};

} // namespace

class TestWayland : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void runsThroughXWaylandAndTakesACaptureRequest()
    {
        if (QStandardPaths::findExecutable(u"weston"_s).isEmpty()
            || QStandardPaths::findExecutable(u"Xwayland"_s).isEmpty())
            QSKIP("weston and Xwayland are not installed (scripts/install-deps.sh installs them)");
        ProgramOnScreen desk(60000);
        Weston weston(desk.home() + u"/run"_s);
        const QString display = weston.xDisplay();
        QVERIFY2(!display.isEmpty(), qPrintable(weston.logText()));
        // A session bus without a portal for global keys, as on many Wayland desktops.
        PrivateBus bus;
        QVERIFY(!bus.address().isEmpty());

        desk.setVariable(u"XDG_SESSION_TYPE"_s, u"wayland"_s);
        desk.setVariable(u"WAYLAND_DISPLAY"_s, u"pondrift-test"_s);
        desk.setVariable(u"DISPLAY"_s, display);
        desk.setVariable(u"DBUS_SESSION_BUS_ADDRESS"_s, bus.address());

        const QByteArray x = display.toLatin1();
        // Starting the first X client starts XWayland; Weston's own window manager may map
        // windows of its own first.
        QTRY_VERIFY_WITH_TIMEOUT(viewableTopLevels(x.constData()) >= 0, 60000);
        const int before = viewableTopLevels(x.constData());

        QProcess& program = desk.program();
        QVERIFY(desk.startProgram());
        QTRY_VERIFY_WITH_TIMEOUT(viewableTopLevels(x.constData()) == before + 1
                                     || program.state() != QProcess::Running,
                                 60000);
        QCOMPARE(program.state(), QProcess::Running);

        QCOMPARE(desk.startAgain({u"--capture"_s}).exitCode, 0);
        // The capture panel comes up beside the deck.
        QTRY_COMPARE_WITH_TIMEOUT(viewableTopLevels(x.constData()), before + 2, 60000);

        ::kill(static_cast<pid_t>(program.processId()), SIGTERM);
        QVERIFY(program.waitForFinished(60000));
        QCOMPARE(program.exitCode(), 0);
        QCOMPARE(desk.traceSoFar().count(u"Pondrift: global hot keys: this Wayland desktop "
                                         u"offers no GlobalShortcuts portal"_s),
                 1);
    }
};

QTEST_MAIN(TestWayland)
#include "tst_wayland_x11.moc"
