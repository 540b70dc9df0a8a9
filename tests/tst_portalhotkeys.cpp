// Global keys through the desktop's GlobalShortcuts portal, against a stand-in portal on a
// D-Bus daemon of the test's own: what is offered, what the log says the desktop did, and
// which presses arrive.
#include "platform/KeyCodes.h"
#include "platform/Log.h"
#include "platform/xdg/PortalHotKeys.h"
#include "support/PrivateBus.h"

#include <QDBusConnection>
#include <QProcess>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr quint32 keyN = 0x2D;
constexpr quint32 keySpace = 0x31;
constexpr quint32 keyF5 = 0x60;
// A code no keyboard table names.
constexpr quint32 keyNone = 0x7F0;

// The stand-in portal as a child process; its lines say what it was asked.
class FakePortal {
public:
    FakePortal(const QString& bus, const QStringList& arguments)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, bus);
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QStringLiteral(PONDRIFT_HELPER_DIR "/fakeportal"), arguments);
    }
    ~FakePortal()
    {
        process.closeWriteChannel();
        if (!process.waitForFinished(10000))
            process.kill();
    }
    // The first line that starts with prefix, read while the event loop runs (the program
    // under test answers the portal from it); empty after the deadline.
    QString waitFor(const QString& prefix)
    {
        const QDeadlineTimer deadline(20000);
        while (!deadline.hasExpired()) {
            while (process.canReadLine()) {
                const QString line = QString::fromUtf8(process.readLine()).trimmed();
                seen.append(line);
                if (line.startsWith(prefix))
                    return line;
            }
            QTest::qWait(10);
        }
        return {};
    }
    void press(const QString& id) { process.write("press " + id.toUtf8() + '\n'); }
    QStringList seen;

private:
    QProcess process;
};

} // namespace

class TestPortalHotKeys : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void offersEveryKeyAndReportsWhatTheDesktopDid_data()
    {
        QTest::addColumn<QStringList>("portalArguments");
        QTest::addColumn<QString>("offered");
        QTest::addColumn<QStringList>("logged");
        QTest::addColumn<bool>("pressArrives");

        const QString all = u"bind hotkey-1|New note|CTRL+ALT+n;hotkey-3|Archive|SHIFT+LOGO+F5;"
                            u"hotkey-4|Quick note|CTRL+ALT+space;hotkey-6|hotkey-6|"_s;
        QTest::newRow("bound") << QStringList{} << all
                               << QStringList{u"hotkey 1 bound by the desktop to CTRL+ALT+n"_s,
                                              u"hotkey 4 bound by the desktop to CTRL+ALT+space"_s}
                               << true;
        QTest::newRow("one left unbound")
            << QStringList{u"--skip"_s, u"hotkey-4"_s} << all
            << QStringList{u"hotkey 1 bound by the desktop to CTRL+ALT+n"_s,
                           u"hotkey 4 was not bound by the desktop"_s}
            << false;
        QTest::newRow("declined") << QStringList{u"--decline"_s} << all
                                  << QStringList{u"global hot keys: the desktop declined them "
                                                 u"(response 2)"_s}
                                  << false;
    }
    void offersEveryKeyAndReportsWhatTheDesktopDid()
    {
        QFETCH(QStringList, portalArguments);
        QFETCH(QString, offered);
        QFETCH(QStringList, logged);
        QFETCH(bool, pressArrives);

        PrivateBus bus;
        QVERIFY(!bus.address().isEmpty());
        FakePortal portal(bus.address(), portalArguments);
        QCOMPARE(portal.waitFor(u"ready"_s), u"ready"_s);
        const QString name = QString::fromLatin1(QTest::currentDataTag());
        QDBusConnection connection = QDBusConnection::connectToBus(bus.address(), name);
        QStringList lines;
        const Log::Capture capture([&](const QString& line) { lines.append(line); });
        {
            auto keys = PortalHotKeys::open(connection);
            QVERIFY(keys);
            QList<quint32> presses;
            keys->pressed = [&](quint32 id, quint32 time) {
                QCOMPARE(time, 0u);
                presses.append(id);
            };
            keys->describe(1, u"New note"_s);
            keys->describe(3, u"Archive"_s);
            keys->describe(4, u"Quick note"_s);
            QCOMPARE(keys->grab(1, keyN, KeyCodes::command | KeyCodes::option), 0);
            QCOMPARE(keys->grab(3, keyF5, KeyCodes::control | KeyCodes::shift), 0);
            QCOMPARE(keys->grab(4, keySpace, KeyCodes::command | KeyCodes::option), 0);
            // Offered without preferred keys, and described by its id, when nothing says more.
            QCOMPARE(keys->grab(6, keyNone, KeyCodes::command), 0);

            QCOMPARE(portal.waitFor(u"bind"_s), offered);
            for (const QString& line : logged)
                QTRY_VERIFY2(lines.contains(u"Pondrift: "_s + line), qPrintable(lines.join(u'\n')));
            portal.press(u"hotkey-4"_s);
            if (pressArrives)
                QTRY_COMPARE(presses, QList<quint32>{4});
            // Only one session was asked for, whatever the number of keys.
            QCOMPARE(portal.seen.filter(u"session "_s).size(), 1);
        }
        QVERIFY(!portal.waitFor(u"closed "_s).isEmpty());
        QDBusConnection::disconnectFromBus(name);
    }

    // Changing a key in the settings gives the keys up and offers them again: a session's
    // keys cannot be changed, so the old one is closed and a new one carries the new keys.
    void aReloadOffersAgainInANewSession()
    {
        PrivateBus bus;
        FakePortal portal(bus.address(), {});
        QCOMPARE(portal.waitFor(u"ready"_s), u"ready"_s);
        QDBusConnection connection = QDBusConnection::connectToBus(bus.address(), u"reload"_s);
        {
            auto keys = PortalHotKeys::open(connection);
            QVERIFY(keys);
            QList<quint32> presses;
            keys->pressed = [&](quint32 id, quint32) { presses.append(id); };
            keys->grab(4, keySpace, KeyCodes::command | KeyCodes::option);
            const QString first = portal.waitFor(u"session "_s).mid(8);
            QVERIFY(!portal.waitFor(u"bind "_s).isEmpty());

            keys->releaseAll();
            keys->grab(4, keyN, KeyCodes::command | KeyCodes::option);
            QCOMPARE(portal.waitFor(u"closed "_s), u"closed "_s + first);
            QVERIFY(portal.waitFor(u"session "_s).mid(8) != first);
            QCOMPARE(portal.waitFor(u"bind "_s), u"bind hotkey-4|hotkey-4|CTRL+ALT+n"_s);
            portal.press(u"hotkey-4"_s);
            QTRY_COMPARE(presses, QList<quint32>{4});
        }
        QDBusConnection::disconnectFromBus(u"reload"_s);
    }

    void absentWithoutAPortal()
    {
        PrivateBus bus;
        QDBusConnection connection = QDBusConnection::connectToBus(bus.address(), u"none"_s);
        QVERIFY(connection.isConnected());
        QVERIFY(!PortalHotKeys::open(connection));
        QDBusConnection::disconnectFromBus(u"none"_s);
    }
};

QTEST_MAIN(TestPortalHotKeys)
#include "tst_portalhotkeys.moc"
