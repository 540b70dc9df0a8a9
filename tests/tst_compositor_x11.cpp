#include "platform/x11/X11Compositor.h"
#include "support/VirtualScreen.h"

#include <QDeadlineTimer>
#include <QGuiApplication>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

// A compositor takes the whole screen, so the test runs its own X server, apart from the one
// other tests share.
class Server {
public:
    bool start()
    {
        const QByteArray display = screen.start({800, 600});
        if (display.isEmpty())
            return false;
        qputenv("DISPLAY", display);
        return true;
    }

private:
    VirtualScreen screen;
};

// A compositor on a busy machine may take seconds to come up.
constexpr int patience = 30000;

enum class Ending { Quits, IsKilled };

} // namespace

Q_DECLARE_METATYPE(Ending)

class TestCompositorX11 : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void followsACompositorThatComesAndGoes_data()
    {
        QTest::addColumn<Ending>("ending");
        QTest::newRow("a compositor that quits") << Ending::Quits;
        // It leaves no chance to give up the selection: the server takes it back.
        QTest::newRow("a compositor that is killed") << Ending::IsKilled;
    }

    void followsACompositorThatComesAndGoes()
    {
        QFETCH(Ending, ending);
        if (QStandardPaths::findExecutable(u"picom"_s).isEmpty())
            QSKIP("picom is not installed; scripts/install-deps.sh installs it");
        const std::unique_ptr<X11Compositor> compositor = X11Compositor::open();
        QVERIFY(compositor);
        QVERIFY(!compositor->isActive());
        QList<bool> told;
        const Subscription subscription =
            compositor->onChanged([&](bool active) { told.append(active); });

        QProcess picom;
        picom.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        picom.start(u"picom"_s, {u"--backend"_s, u"xrender"_s, u"--config"_s, u"/dev/null"_s});
        QVERIFY(picom.waitForStarted());
        QTRY_COMPARE_WITH_TIMEOUT(told, QList<bool>{true}, patience);
        QVERIFY(compositor->isActive());
        // One opened while it runs knows it from the start.
        QVERIFY(X11Compositor::open()->isActive());

        if (ending == Ending::Quits)
            picom.terminate();
        else
            picom.kill();
        QVERIFY(picom.waitForFinished(patience));
        QTRY_COMPARE_WITH_TIMEOUT(told, (QList<bool>{true, false}), patience);
        QVERIFY(!compositor->isActive());
    }
};

int main(int argc, char** argv)
{
    Server server;
    if (!server.start()) {
        qWarning("no X server of the test's own could be started");
        return 1;
    }
    QGuiApplication app(argc, argv);
    TestCompositorX11 test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_compositor_x11.moc"
