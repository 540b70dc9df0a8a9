#include "app/AppActions.h"
#include "app/AppLifecycle.h"
#include "app/AppServices.h"
#include "l10n/L10n.h"
#include "platform/fallback/UsKeyboardLayout.h"
#include "platform/qt/QtScheduler.h"
#include "settings/Settings.h"
#include "support/FaultyFiles.h"
#include "support/ManualScheduler.h"
#include "support/MemoryDefaults.h"
#include "support/MemoryLoginItem.h"
#include "support/RecordingDesktop.h"
#include "support/SyncMachine.h"
#include "support/TableFonts.h"
#include "sync/CloudSync.h"

#include <QDir>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// The whole program over fakes for the desktop, in a temporary folder. The backends are
// moved into the services; the pointers stay for the test to look through.
struct Program {
    QTemporaryDir dir;
    ManualScheduler* clock = nullptr;
    MemoryDefaults* defaults = nullptr;
    FaultyFiles* files = nullptr;
    QStringList alerts;
    std::unique_ptr<AppServices> services;

    explicit Program(const QHash<QString, QVariant>& settings = {})
    {
        AppServices::Backends backends;
        backends.scheduler = std::make_unique<ManualScheduler>();
        clock = static_cast<ManualScheduler*>(backends.scheduler.get());
        backends.defaults = std::make_unique<MemoryDefaults>();
        defaults = static_cast<MemoryDefaults*>(backends.defaults.get());
        defaults->values = settings;
        backends.loginItem = std::make_unique<MemoryLoginItem>();
        backends.keyboardLayout = std::make_unique<UsKeyboardLayout>();
        backends.desktop = std::make_unique<RecordingDesktop>();
        backends.files = std::make_unique<FaultyFiles>();
        files = static_cast<FaultyFiles*>(backends.files.get());
        backends.fonts = std::make_unique<TableFonts>();
        backends.massDeletePrompt = std::make_unique<ScriptedPrompt>();
        backends.storageAlert = [this](const LocalizedError& e) { alerts << e.description(); };
        QDir().mkpath(dir.filePath(u"data"_s));
        services = std::make_unique<AppServices>(std::move(backends),
                                                 Paths{dir.filePath(u"data"_s)}, dir.path());
    }
};

} // namespace

// The program's wiring and its quit path, and the timers every delay goes through.
class TestApp : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void cleanup() { L10n::install(AppLanguage::English); }

    void theStoreOpensInTheChosenLanguageWithItsWelcomeNote()
    {
        Program program({{u"appLanguage"_s, u"zh-Hans"_s}});
        QCOMPARE(L10n::language(), AppLanguage::SimplifiedChinese);
        program.services->openNotes();
        NoteStore& notes = program.services->noteStore();
        QCOMPARE(notes.notes().size(), 1);
        QCOMPARE(notes.notes().first().body, L10n::text(u"welcome.note_body"_s));
        QVERIFY(notes.notes().first().body.contains(QChar(0x6B22))); // 欢
        QVERIFY(QFile::exists(program.services->paths().key()));
        program.services->openNotes();
        QVERIFY2(&program.services->noteStore() == &notes, "the store is made once");
    }

    void aStorageFailureReachesTheAlert()
    {
        Program program;
        program.files->failPathsContaining(u"note.key"_s, ENOSPC);
        program.services->openNotes();
        QCOMPARE(program.alerts.size(), 1);
        QVERIFY(program.alerts.first().contains(Files::Result{ENOSPC}.description()));
        QVERIFY2(!program.services->noteStore().unsavedIDs().isEmpty(),
                 "the welcome note stays in memory, unsaved");
    }

    void theSyncFollowsTheSettingsRoot()
    {
        Program program;
        QTemporaryDir root;
        Settings::setCloudSyncRoot(root.path());
        Settings::setCloudSyncEnabled(true);
        program.services->openNotes();
        program.services->makeSync();
        program.services->cloudSync()->reload();
        QCOMPARE(QDir(root.filePath(u"Pondrift"_s)).entryList({u"*.md"_s}, QDir::Files).size(), 1);
        QVERIFY(QFile::exists(program.services->paths().syncIndex()));
    }

    void actionsRunByTheirId()
    {
        Program program;
        program.services->openNotes();
        int quits = 0;
        AppActions actions(*program.services, [&] { ++quits; });
        QCOMPARE(actions.ids(), (QStringList{u"newNote"_s, u"quit"_s}));
        QVERIFY(actions.run(u"newNote"_s));
        QCOMPARE(program.services->noteStore().notes().size(), 2);
        QCOMPARE(program.services->noteStore().active().first().body, QString());
        QVERIFY(actions.run(u"quit"_s));
        QCOMPARE(quits, 1);
        QVERIFY(!actions.run(u"openEverything"_s));
        QCOMPARE(quits, 1);
    }

    void quitWaitsForTheFlush_data()
    {
        QTest::addColumn<bool>("flushSucceeds");
        QTest::addColumn<bool>("terminates");
        QTest::newRow("a failed save keeps the process running") << false << false;
        QTest::newRow("a successful save lets it end") << true << true;
    }
    void quitWaitsForTheFlush()
    {
        QFETCH(bool, flushSucceeds);
        QFETCH(bool, terminates);
        QStringList calls;
        AppLifecycle lifecycle({
            .flushAll =
                [&] {
                    calls << u"flush"_s;
                    return flushSucceeds;
                },
            .willTerminate = [&] { calls << u"unregister hot keys"_s; },
        });
        QCOMPARE(lifecycle.shouldTerminate(), terminates);
        QStringList expected{u"flush"_s};
        if (terminates)
            expected << u"unregister hot keys"_s;
        QCOMPARE(calls, expected);
    }

    void refusedQuitCanBeRetriedAfterTheCauseIsGone()
    {
        bool diskFull = true;
        int unregistered = 0;
        AppLifecycle lifecycle({
            .flushAll = [&] { return !diskFull; },
            .willTerminate = [&] { ++unregistered; },
        });
        QVERIFY(!lifecycle.shouldTerminate());
        diskFull = false;
        QVERIFY(lifecycle.shouldTerminate());
        lifecycle.willTerminate();
        QCOMPARE(unregistered, 1);
    }

    void signalQuitFlushesEvenWhenItCannotRefuse()
    {
        int flushes = 0;
        bool ended = false;
        AppLifecycle lifecycle({
            .flushAll =
                [&] {
                    ++flushes;
                    return false;
                },
            .willTerminate = [&] { ended = true; },
        });
        lifecycle.terminateUnconditionally();
        QCOMPARE(flushes, 1);
        QVERIFY(ended);
    }

    // A later timer that fires is the sign that an earlier one had its chance.
    void qtTimersFireOnceAndCancelHolds()
    {
        QtScheduler scheduler;
        int once = 0;
        int never = 0;
        int dropped = 0;
        bool sentinel = false;
        auto a = scheduler.after(0.01, [&] { ++once; });
        auto b = scheduler.after(0.01, [&] { ++never; });
        b->cancel();
        Scheduler::HandlePtr repeating;
        repeating = scheduler.every(0.005, [&] {
            ++dropped;
            repeating.reset();
        });
        auto last = scheduler.after(0.06, [&] { sentinel = true; });
        QTRY_VERIFY(sentinel);
        QCOMPARE(once, 1);
        QCOMPARE(never, 0);
        QCOMPARE(dropped, 1);
    }
};

QTEST_GUILESS_MAIN(TestApp)
#include "tst_app.moc"
