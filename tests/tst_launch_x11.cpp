#include "notes/Store.h"
#include "platform/qt/QtFiles.h"
#include "support/ProgramOnScreen.h"
#include "support/VirtualScreen.h"
#include "support/XWindows.h"

#include <QCoreApplication>
#include <QDir>
#include <QTest>

#include <csignal>
#include <cstdio>
#include <functional>

using namespace Qt::Literals::StringLiterals;

// The program as a user starts it: a background process with no window that stays up until
// asked to quit, and quits cleanly.
class TestLaunch : public QObject {
    Q_OBJECT

    QtFiles files;

    // Starts the program in the fixture's home, waits until its launch has opened the notes,
    // checks that it is up with its one deck shown (the test's server has one screen) and no
    // other window, and ends it with the signal. The optional
    // check runs while the program is up, before it is asked to quit.
    static void runOnce(ProgramOnScreen& desk, int signalNumber,
                        const std::function<void()>& whileRunning = {},
                        const QStringList& arguments = {})
    {
        const int before = viewableTopLevels();
        QVERIFY2(before >= 0, "no X server; run this test under xvfb-run");

        QProcess& program = desk.program();
        QVERIFY(desk.startProgram(arguments));

        // The database's shared-memory file lives exactly as long as the store holds the
        // database open: its appearing is the launch reaching the notes.
        const QString openMark = desk.home() + u"/data/Pondrift/notes.db-shm"_s;
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(openMark) || program.state() != QProcess::Running,
                                 60000);
        QVERIFY2(program.state() == QProcess::Running, qPrintable(desk.traceSoFar()));
        QTRY_COMPARE_WITH_TIMEOUT(viewableTopLevels(), before + 1, 60000);
        if (whileRunning)
            whileRunning();

        ::kill(static_cast<pid_t>(program.processId()), signalNumber);
        QVERIFY(program.waitForFinished(60000));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QVERIFY2(program.exitCode() == 0, qPrintable(desk.traceSoFar()));
        QVERIFY2(!QFile::exists(openMark), "the database was not closed on the way out");
    }

private Q_SLOTS:
    void showsItsDeckAndQuitsOnRequest_data()
    {
        QTest::addColumn<int>("signalNumber");
        QTest::newRow("SIGTERM from the session") << static_cast<int>(SIGTERM);
        QTest::newRow("SIGINT from a terminal") << static_cast<int>(SIGINT);
    }
    void showsItsDeckAndQuitsOnRequest()
    {
        QFETCH(int, signalNumber);
        ProgramOnScreen desk(60000);
        runOnce(desk, signalNumber);
    }

    void firstStartSeedsTheWelcomeNoteAndASecondStartKeepsIt()
    {
        ProgramOnScreen desk(60000);
        const QString dataFolder = desk.home() + u"/data/Pondrift"_s;

        runOnce(desk, SIGTERM);
        QList<Note> first;
        {
            Store store(dataFolder + u"/notes.db"_s, dataFolder + u"/note.key"_s, files);
            first = store.load();
        }
        QCOMPARE(first.size(), 1);
        QVERIFY(first.front().body.startsWith(u"# "_s));
        QCOMPARE(QFileInfo(dataFolder + u"/note.key"_s).size(), 32);

        // The second start reads the sealed body back through the same key and seeds nothing.
        runOnce(desk, SIGTERM);
        Store store(dataFolder + u"/notes.db"_s, dataFolder + u"/note.key"_s, files);
        const QList<Note> second = store.load();
        QCOMPARE(second, first);
    }

    // A link opened, or the program started again, while it runs: the later start hands its
    // request to the running one and ends, with a failure status when it was refused; the
    // running one keeps its single deck and the notes. The first start's own URL counts too.
    void aLaterStartHandsItsUrlsToTheRunningOne()
    {
        ProgramOnScreen desk(60000);
        const QString dataFolder = desk.home() + u"/data/Pondrift"_s;
        runOnce(
            desk, SIGTERM,
            [&] {
                const int windows = viewableTopLevels();
                const auto handed = desk.startAgain(
                    {u"pondrift://new?text=From%20a%20link"_s, u"--new"_s, u"typed"_s});
                QVERIFY2(handed.exitCode == 0, qPrintable(handed.errors));
                const auto refused =
                    desk.startAgain({u"pondrift://new?text=%FF"_s, u"pondrift://new?text=kept"_s});
                QCOMPARE(refused.exitCode, 1);
                QVERIFY2(refused.errors.contains(u"Pondrift: the running instance refused the "
                                                 u"request — pondrift://new?text=%FF: the text is "
                                                 u"not UTF-8"_s),
                         qPrintable(refused.errors));
                QCOMPARE(desk.startAgain({}).exitCode, 0);
                QCOMPARE(viewableTopLevels(), windows);
            },
            {u"pondrift://new?text=at%20launch"_s});
        QVERIFY2(!QFile::exists(desk.home() + u"/run/app.pondrift.Pondrift.socket"_s),
                 "the socket outlived its instance");
        Store store(dataFolder + u"/notes.db"_s, dataFolder + u"/note.key"_s, files);
        QStringList bodies;
        for (const Note& note : store.load())
            bodies << note.body;
        bodies.sort(); // the welcome note's heading sorts first
        QCOMPARE(bodies.size(), 5);
        QCOMPARE(bodies.mid(1),
                 (QStringList{u"From a link"_s, u"at launch"_s, u"kept"_s, u"typed"_s}));
    }

    // The library is the program's one ordinary window: a link opens it, a second link
    // brings the same window forward instead of a second one.
    void theLibraryLinkOpensOneWindow()
    {
        ProgramOnScreen desk(60000);
        runOnce(desk, SIGTERM, [&] {
            const int windows = viewableTopLevels();
            for (int i = 0; i < 2; ++i) {
                QCOMPARE(desk.startAgain({u"pondrift://all"_s}).exitCode, 0);
                QTRY_COMPARE_WITH_TIMEOUT(viewableTopLevels(), windows + 1, 60000);
            }
        });
    }

    void withSyncOnTheNotesAppearInTheSyncFolder()
    {
        ProgramOnScreen desk(60000);
        const QString root = desk.home() + u"/Nextcloud"_s;
        QVERIFY(QDir().mkpath(root));
        QVERIFY(desk.writeSettings("[General]\ncloudSyncEnabled=true\n"));

        const QString folder = root + u"/Pondrift"_s;
        runOnce(desk, SIGTERM, [&] {
            QTRY_VERIFY_WITH_TIMEOUT(!QDir(folder).entryList({u"*.md"_s}, QDir::Files).isEmpty(),
                                     10000);
        });
        const QStringList documents = QDir(folder).entryList({u"*.md"_s}, QDir::Files);
        QCOMPARE(documents.size(), 1);
        QFile document(folder + u"/"_s + documents.front());
        QVERIFY(document.open(QIODevice::ReadOnly));
        QVERIFY(document.readAll().startsWith("---\npondrift-id: "));
        QVERIFY(QFile::exists(desk.home() + u"/data/Pondrift/cloud-index.json"_s));
    }
};

// On an X server of its own, so that the windows other tests show meanwhile on the shared
// one neither count among the program's nor hold its global keys.
int main(int argc, char** argv)
{
    VirtualScreen screen;
    const QByteArray display = screen.start(QSize(1280, 800));
    if (display.isEmpty()) {
        std::fprintf(stderr, "tst_launch_x11: Xvfb is needed for this test\n");
        return 1;
    }
    qputenv("DISPLAY", display);
    QCoreApplication app(argc, argv);
    TestLaunch test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_launch_x11.moc"
