#include "platform/KeyCodes.h"
#include "platform/x11/X11KeyCodes.h"
#include "platform/x11/XkbKeyboardLayout.h"
#include "settings/Shortcut.h"

#include <QDeadlineTimer>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// An X server of the test's own: its layout can be replaced, and the server ended, without
// touching the one that other tests share.
class OwnXServer {
public:
    OwnXServer()
    {
        // With -displayfd the server writes its display number once it takes clients.
        // Without -noreset it would start over, refusing clients for a moment and dropping
        // the layout set, each time its last client leaves, as setxkbmap does.
        process.start(u"Xvfb"_s,
                      {u"-displayfd"_s, u"1"_s, u"-noreset"_s, u"-nolisten"_s, u"tcp"_s});
        if (!process.waitForStarted())
            return;
        QByteArray number;
        const QDeadlineTimer deadline(30000);
        while (!number.endsWith('\n') && !deadline.hasExpired()
               && process.state() == QProcess::Running) {
            process.waitForReadyRead(100);
            number += process.readAllStandardOutput();
        }
        if (number.endsWith('\n'))
            display = u":"_s + QString::fromLatin1(number.trimmed());
    }
    ~OwnXServer() { end(); }
    OwnXServer(const OwnXServer&) = delete;
    OwnXServer& operator=(const OwnXServer&) = delete;

    // Empty when the server did not come up.
    QString display;

    std::unique_ptr<XkbKeyboardLayout> openLayout() const
    {
        const QByteArray shared = qgetenv("DISPLAY");
        qputenv("DISPLAY", display.toLatin1());
        auto layout = XkbKeyboardLayout::open();
        qputenv("DISPLAY", shared);
        return layout;
    }
    bool setLayout(const QString& layout) const
    {
        return QProcess::execute(u"setxkbmap"_s, {u"-display"_s, display, layout}) == 0;
    }
    // Ends the server as a session would, so that it removes its socket and lock.
    bool end()
    {
        if (process.state() == QProcess::NotRunning)
            return true;
        process.terminate();
        if (process.waitForFinished(30000))
            return true;
        process.kill();
        process.waitForFinished();
        return false;
    }

private:
    QProcess process;
};

} // namespace

// The key tables against a real X server running the US layout, and key names from it.
class TestKeyboardX11 : public QObject {
    Q_OBJECT

    std::unique_ptr<OwnXServer> server;
    std::unique_ptr<XkbKeyboardLayout> layout;

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        server = std::make_unique<OwnXServer>();
        QVERIFY2(!server->display.isEmpty(), "Xvfb is missing");
        QVERIFY2(server->setLayout(u"us"_s), "setxkbmap is missing");
        layout = server->openLayout();
        QVERIFY2(layout, "no XKB on the X server");
    }
    void cleanupTestCase()
    {
        layout.reset();
        server.reset();
    }
    // Whatever a test left behind, the next one starts from the US layout.
    void cleanup() { QVERIFY(server->setLayout(u"us"_s)); }

    void everyKeyOfTheTableIsWhereTheServerHasIt()
    {
        // A wrong X11 key code in the table would grab, and name, another key.
        int checked = 0;
        for (quint32 code = 0; code < 128; ++code) {
            const auto x11 = X11KeyCodes::x11Keycode(code);
            QCOMPARE(x11.has_value(), KeyCodes::qtKey(code).has_value());
            if (!x11)
                continue;
            QCOMPARE(layout->keyCodeForScanCode(*x11), code);
            const auto us = KeyCodes::usCharacter(code);
            QCOMPARE(layout->character(code), us ? QString(*us) : QString());
            ++checked;
        }
        QCOMPARE(checked, 82);
        for (quint32 mask : {0u, 0x100u, 0x200u, 0x800u, 0x1000u, 0x1B00u})
            QCOMPARE(X11KeyCodes::fromX11State(X11KeyCodes::x11State(mask)), mask);
    }

    void keyNamesFollowAReplacedLayoutWithoutBeingAsked()
    {
        // What each change call sees, so that a call made before the new key map is read
        // (which would leave every name one layout behind) shows.
        QStringList seen;
        const auto subscription =
            layout->onChanged([&] { seen << Shortcut::keyName(0x10, *layout); });
        // A listener whose owner has gone, as a closed shortcut field's.
        int droppedCalls = 0;
        {
            const auto dropped = layout->onChanged([&] { ++droppedCalls; });
        }
        QCOMPARE(Shortcut::keyName(0x10, *layout), u"Y"_s);

        QVERIFY(server->setLayout(u"de"_s));
        // The German layout swaps Y and Z, and has "ö" where the US one has ";". Asking at
        // once, as QTRY does before it waits, makes the name's own request read the change's
        // notifications off the socket, where the socket's watch no longer sees them.
        QTRY_COMPARE_WITH_TIMEOUT(Shortcut::keyName(0x10, *layout), u"Z"_s, 20000);
        QCOMPARE(Shortcut::keyName(0x29, *layout), u"Ö"_s);
        QVERIFY(!seen.isEmpty());
        QCOMPARE(seen.constLast(), u"Z"_s);

        seen.clear();
        QVERIFY(server->setLayout(u"us"_s));
        QTRY_COMPARE_WITH_TIMEOUT(Shortcut::keyName(0x10, *layout), u"Y"_s, 20000);
        QVERIFY(!seen.isEmpty());
        QCOMPARE(seen.constLast(), u"Y"_s);
        QCOMPARE(droppedCalls, 0);
        QVERIFY(layout->isFollowingChanges());
    }

    void aServerThatGoesAwayEndsTheWatchAndKeepsTheNames()
    {
        OwnXServer gone;
        QVERIFY(!gone.display.isEmpty());
        auto own = gone.openLayout();
        QVERIFY(own);
        QVERIFY(own->isFollowingChanges());

        QVERIFY(gone.end());
        // A watch that went on would spin on the closed socket for the rest of the session.
        QTRY_VERIFY_WITH_TIMEOUT(!own->isFollowingChanges(), 20000);
        QCOMPARE(Shortcut::keyName(0x10, *own), u"Y"_s);
    }
};

QTEST_MAIN(TestKeyboardX11)
#include "tst_keyboard_x11.moc"
