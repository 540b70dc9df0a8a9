#include "app/AppActions.h"
#include "app/AppLifecycle.h"
#include "app/AppServices.h"
#include "app/ui/UnsavedQuitDialog.h"
#include "deck/DeckController.h"
#include "deck/DeckManager.h"
#include "l10n/L10n.h"
#include "platform/Log.h"
#include "platform/qt/QtScheduler.h"
#include "settings/Settings.h"
#include "support/FakeBackends.h"
#include "support/FakeDeckWindow.h"
#include "support/FakePointer.h"
#include "support/FaultyFiles.h"
#include "support/ManualScheduler.h"
#include "support/MemoryDefaults.h"
#include "support/TestFiles.h"
#include "sync/CloudSync.h"

#include <QAbstractButton>
#include <QDir>
#include <QMessageBox>
#include <QPushButton>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

struct Program {
    QTemporaryDir dir;
    ManualScheduler* clock = nullptr;
    MemoryDefaults* defaults = nullptr;
    FaultyFiles* files = nullptr;
    FakePointer* pointer = nullptr;
    QMap<quint32, FakeDeckWindow*> deckWindows;
    QStringList alerts;
    std::unique_ptr<AppServices> services;

    explicit Program(const QHash<QString, QVariant>& settings = {})
    {
        QDir().mkpath(dir.filePath(u"data"_s));
        start(settings);
    }

    void start(const QHash<QString, QVariant>& settings = {})
    {
        services.reset();
        FakeBackends fakes(2, settings);
        clock = fakes.clock;
        defaults = fakes.defaults;
        files = fakes.files;
        pointer = fakes.pointer;
        deckWindows.clear();
        fakes.backends.makeDeckWindow = [this](const AppServices::DeckWindowParts& parts) {
            auto window = std::make_unique<FakeDeckWindow>();
            deckWindows.insert(parts.displayID, window.get());
            return window;
        };
        fakes.backends.storageAlert = [this](const LocalizedError& e) {
            alerts << e.description();
        };
        services = std::make_unique<AppServices>(std::move(fakes.backends),
                                                 Paths{dir.filePath(u"data"_s)}, dir.path());
    }
};

// A quit over scripted hooks: flushes fail until `failing` have been tried.
struct Quit {
    int flushes = 0, ended = 0, failing = 0;
    QList<QuitChoice> answers;
    QList<UnsavedWork> asked;
    QStringList log;
    const UnsavedWork work{u"disk I/O error"_s, {u"Plans"_s, u"Todo"_s}};
    AppLifecycle lifecycle{{
        .flushAll = [this] { return ++flushes > failing; },
        .unsavedWork = [this] { return work; },
        .askAfterFailedSave =
            [this](const UnsavedWork& w) {
                asked << w;
                return answers.isEmpty() ? QuitChoice::Stay : answers.takeFirst();
            },
        .willTerminate = [this] { ++ended; },
    }};
    const Log::Capture capture{[this](const QString& line) { log << line; }};
};

} // namespace

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

    // The welcome note can never be saved: the alert says why, and giving it up still quits.
    void aStorageFailureReachesTheAlertAndDoesNotTrapTheQuit_data()
    {
        QTest::addColumn<bool>("shortKey");
        QTest::newRow("a key file that finds no room") << false;
        QTest::newRow("a key file of the wrong size") << true;
    }
    void aStorageFailureReachesTheAlertAndDoesNotTrapTheQuit()
    {
        QFETCH(bool, shortKey);
        Program program;
        if (shortKey)
            TestFiles::write(program.services->paths().key(), QByteArray(5, 'k'));
        else
            program.files->failPathsContaining(u"note.key"_s, ENOSPC);
        program.services->openNotes();
        NoteStore& notes = program.services->noteStore();
        QCOMPARE(program.alerts.size(), 1);
        QVERIFY(program.alerts.first().contains(
            shortKey ? PersistenceError(PersistenceError::Kind::InvalidKey).description()
                     : Files::Result{ENOSPC}.description()));
        QCOMPARE(notes.unsavedIDs().size(), 1);
        Quit quit;
        quit.lifecycle.setFlushAll([&] { return notes.flushAll(); });
        quit.answers = {QuitChoice::QuitWithoutSaving};
        QVERIFY(quit.lifecycle.shouldTerminate());
        QCOMPARE(quit.asked.size(), 1);
    }

    // While the chosen root is away no pass runs elsewhere, so nothing is taken for deleted.
    void rootThatGoesAwayAndComesBackKeepsTheNotesWrittenMeanwhile_data()
    {
        QTest::addColumn<bool>("anotherClient");
        QTest::newRow("with another client's folder beside it") << true;
        QTest::newRow("alone in the home folder") << false;
    }
    void rootThatGoesAwayAndComesBackKeepsTheNotesWrittenMeanwhile()
    {
        QFETCH(bool, anotherClient);
        Program program;
        const QString home = program.dir.path();
        const QString chosen = home + u"/Nextcloud"_s;
        QVERIFY(QDir().mkpath(chosen));
        if (anotherClient)
            QVERIFY(QDir().mkpath(home + u"/Sync"_s));
        Settings::setCloudSyncEnabled(true);
        program.services->openNotes();
        program.services->makeSync();
        CloudSync& sync = *program.services->cloudSync();
        sync.reload();

        QVERIFY(QDir().rename(chosen, home + u"/away"_s));
        const Note written = program.services->noteStore().create(u"meanwhile"_s, u"Meanwhile"_s);
        program.clock->advance(6);
        const bool ranWhileAway = sync.syncNow();
        QVERIFY(QDir().rename(home + u"/away"_s, chosen));
        program.clock->advance(6);
        QVERIFY(sync.syncNow());
        QVERIFY(program.services->noteStore().note(written.id));
        QCOMPARE(program.services->noteStore().notes().size(), 2);
        QVERIFY(!ranWhileAway);
        QCOMPARE(QDir(chosen + u"/Pondrift"_s).entryList({u"*.md"_s}, QDir::Files).size(), 2);
        QVERIFY(!QFileInfo::exists(home + u"/Sync/Pondrift"_s));
        QVERIFY(!QFileInfo::exists(home + u"/Pondrift"_s));
        QCOMPARE(Settings::cloudSyncRoot(), chosen);
    }

    void syncWithNoFolderToProposeRunsNoPass()
    {
        Program program;
        const QString home = program.dir.path();
        QStringList log;
        Log::Capture capture([&](const QString& line) { log << line; });
        Settings::setCloudSyncEnabled(true);
        program.services->openNotes();
        program.services->makeSync();
        CloudSync& sync = *program.services->cloudSync();
        sync.reload();
        QVERIFY(!sync.syncNow());
        QVERIFY(program.services->syncNeedsAFolder());
        QVERIFY(!QFileInfo::exists(home + u"/Pondrift"_s));
        QCOMPARE(Settings::cloudSyncRoot(), QString());
        QCOMPARE(log.filter(u"Pondrift cloud: no sync folder is chosen"_s).size(), 1);

        QVERIFY(QDir().mkpath(home + u"/Sync"_s));
        QVERIFY(sync.syncNow());
        QVERIFY(!program.services->syncNeedsAFolder());
        QCOMPARE(Settings::cloudSyncRoot(), home + u"/Sync"_s);
        QCOMPARE(QDir(home + u"/Sync/Pondrift"_s).entryList({u"*.md"_s}, QDir::Files).size(), 1);
    }

    void actionsRunByTheirId()
    {
        Program program;
        int quits = 0;
        AppActions actions(*program.services, [&] { ++quits; });
        QVERIFY(actions.ids().contains(u"newNote"_s));
        QVERIFY(actions.run(u"quit"_s));
        QCOMPARE(quits, 1);
        QVERIFY(!actions.run(u"openEverything"_s));
        QCOMPARE(quits, 1);

        QVERIFY(actions.run(u"setDeckStyle:compact"_s));
        QCOMPARE(Settings::deckStyle(), DeckStyle::Compact);
        QVERIFY(actions.run(u"setDeckScale:1.25"_s));
        QCOMPARE(Settings::deckScale(), 1.25);
        const double size = Settings::noteFontSize();
        QVERIFY(actions.run(u"setFontSize:large"_s));
        QCOMPARE(Settings::noteFontSize(), size);
        QVERIFY(actions.run(u"setDisplayTarget:id:42"_s));
        QCOMPARE(Settings::displayTarget(), u"id:42"_s);
    }

    void aQuitThatCannotSaveAsksInsteadOfTrapping_data()
    {
        QTest::addColumn<QList<QuitChoice>>("answers");
        QTest::addColumn<int>("failingFlushes");
        QTest::addColumn<bool>("terminates");
        QTest::addColumn<int>("flushes");
        QTest::newRow("saved at once: nothing to ask") << QList<QuitChoice>{} << 0 << true << 1;
        QTest::newRow("stay") << QList<QuitChoice>{QuitChoice::Stay} << 9 << false << 1;
        QTest::newRow("try again once the disk has room")
            << QList<QuitChoice>{QuitChoice::TryAgain} << 1 << true << 2;
        QTest::newRow("try again, still failing, then stay")
            << QList<QuitChoice>{QuitChoice::TryAgain, QuitChoice::Stay} << 9 << false << 2;
        QTest::newRow("quit without saving")
            << QList<QuitChoice>{QuitChoice::QuitWithoutSaving} << 9 << true << 1;
    }
    void aQuitThatCannotSaveAsksInsteadOfTrapping()
    {
        Quit quit;
        QFETCH(QList<QuitChoice>, answers);
        QFETCH(int, flushes);
        quit.answers = answers;
        QFETCH(int, failingFlushes);
        quit.failing = failingFlushes;
        QTEST(quit.lifecycle.shouldTerminate(), "terminates");
        QCOMPARE(quit.flushes, flushes);
        QVERIFY2(quit.answers.isEmpty(), "every answer was asked for");
        for (const UnsavedWork& work : quit.asked) {
            QCOMPARE(work.reason, quit.work.reason);
            QCOMPARE(work.titles, quit.work.titles);
        }
        QCOMPARE(quit.ended, 0);
        const bool lost = answers.contains(QuitChoice::QuitWithoutSaving);
        QCOMPARE(quit.log.size(), lost ? 1 : 0);
        if (lost)
            QVERIFY2(quit.log.first().contains(u"Plans"_s), "the log names what was given up");
    }

    // Staying cancels the logout; the end step (letting go of the hot keys) is still ahead.
    void aCancelledLogoutLeavesTheEndStepForTheRealQuit()
    {
        Quit quit;
        quit.failing = 99;
        int askedForLeave = 0;
        const auto mayAsk = [&] { return ++askedForLeave > 0; };
        QVERIFY2(quit.lifecycle.commitData(mayAsk), "staying cancels the logout");
        QCOMPARE(quit.ended, 0);
        quit.failing = 0;
        QVERIFY2(!quit.lifecycle.commitData(mayAsk), "a save that works lets the session go on");
        QCOMPARE(askedForLeave, 1);
        QVERIFY(quit.lifecycle.shouldTerminate());
        quit.lifecycle.willTerminate();
        quit.lifecycle.willTerminate();
        QCOMPARE(quit.ended, 1);
    }

    void anEndingThatCannotAskLogsWhatIsLost_data()
    {
        QTest::addColumn<bool>("bySession");
        QTest::newRow("a session without interaction") << true;
        QTest::newRow("a signal") << false;
    }
    void anEndingThatCannotAskLogsWhatIsLost()
    {
        QFETCH(bool, bySession);
        Quit quit;
        quit.failing = 9;
        if (bySession)
            QVERIFY2(!quit.lifecycle.commitData([] { return false; }), "the logout is not refused");
        else
            quit.lifecycle.terminateUnconditionally();
        QVERIFY(quit.asked.isEmpty());
        QCOMPARE(quit.flushes, 1);
        QCOMPARE(quit.ended, bySession ? 0 : 1);
        QCOMPARE(quit.log.size(), 1);
        QVERIFY(quit.log.first().contains(u"Plans, Todo"_s));
        QVERIFY(quit.log.first().contains(u"disk I/O error"_s));
    }

    // Neither Return nor Escape gives notes up.
    void theUnsavedQuestionNamesTheLossAndDefaultsToSafety()
    {
        QStringList titles;
        for (int i = 1; i <= 10; ++i)
            titles << u"Note %1"_s.arg(i);
        const auto box = UnsavedQuitDialog::build({u"disk I/O error"_s, titles});
        QCOMPARE(box->text(), L10n::text(u"quit.unsaved.title"_s));
        const QString info = box->informativeText();
        QVERIFY(info.startsWith(u"disk I/O error"_s));
        QVERIFY(info.contains(u"• Note 8"_s));
        QVERIFY(!info.contains(u"• Note 9"_s));
        QVERIFY(info.contains(L10n::plural(u"quit.unsaved.more"_s, 2)));
        QMap<int, QString> byChoice;
        for (QAbstractButton* button : box->buttons())
            byChoice[button->property("choice").toInt()] = button->text();
        QCOMPARE(byChoice.value(int(QuitChoice::TryAgain)),
                 L10n::text(u"quit.unsaved.try_again"_s));
        QCOMPARE(byChoice.value(int(QuitChoice::QuitWithoutSaving)),
                 L10n::text(u"quit.unsaved.quit"_s));
        QCOMPARE(byChoice.value(int(QuitChoice::Stay)), L10n::text(u"quit.unsaved.stay"_s));
        QCOMPARE(box->defaultButton()->property("choice").toInt(), int(QuitChoice::TryAgain));
        QCOMPARE(box->escapeButton()->property("choice").toInt(), int(QuitChoice::Stay));
    }

    void aNewNoteOpensInTheDeckUnderThePointer()
    {
        Program program;
        program.services->openNotes();
        AppActions actions(*program.services, [] {});
        program.services->openDecks(actions.forDecks());
        DeckManager* decks = program.services->deckManager();
        QVERIFY(decks);
        QCOMPARE(decks->decks().size(), 2);
        program.pointer->setLocation({2500, 400});
        QVERIFY(actions.run(u"newNote"_s));
        const QString id = program.services->noteStore().active().first().id;
        program.clock->advance(1);
        QCOMPARE(decks->deck(2)->state(), DeckState::expanded(id));
        QCOMPARE(decks->deck(1)->state(), DeckState::rest());

        const int levelsBefore = program.deckWindows.value(1)->levelApplications;
        QVERIFY(actions.run(u"biggerText"_s));
        QCOMPARE(Settings::noteFontSize(), 15.0);
        QCOMPARE(decks->deck(1)->model().fontSize(), 15.0);
        QCOMPARE(program.deckWindows.value(1)->levelApplications, levelsBefore + 1);
        for (int i = 0; i < 40; ++i)
            actions.run(u"smallerText"_s);
        QVERIFY2(Settings::noteFontSize() > 0, "the size stays in its range");
        program.services->closeDecks();
    }

    void urlsHandedInRunInOrderAndSkipWhatDoesNotQualify()
    {
        Program program;
        program.services->openNotes();
        AppActions actions(*program.services, [] {});
        program.services->openDecks(actions.forDecks());
        QStringList logged;
        const Log::Capture capture([&](const QString& line) { logged << line; });
        const QStringList refused = actions.openUrls({
            u"pondrift://new?text=first"_s,
            u"Pondrift://new?text=lost"_s,
            u"pondrift://new?text=%FF"_s,
            u"pondrift://new?text=second%0Aline"_s,
            u"pondrift://new?text="_s,
            u"pondrift://capture"_s,
            u"pondrift://all"_s,
            u"pondrift://settings"_s,
            u"pondrift://nope\nwith a break"_s,
        });
        QCOMPARE(refused, (QStringList{
                              u"Pondrift://new?text=lost: not a pondrift: address"_s,
                              u"pondrift://new?text=%FF: the text is not UTF-8"_s,
                              u"pondrift://nope with a break: an unknown command (new, capture, "
                              u"all and settings are known)"_s,
                          }));
        QStringList bodies;
        for (const Note& note : program.services->noteStore().active())
            bodies << note.body;
        QCOMPARE(bodies.size(), 3);
        QCOMPARE(bodies.mid(0, 2), (QStringList{u"second\nline"_s, u"first"_s}));
        program.clock->advance(1);
        for (DeckController* deck : program.services->deckManager()->decks())
            QCOMPARE(deck->state(), DeckState::rest());
        const auto count = [&](const QString& line) {
            return logged.count(u"Pondrift: "_s + line);
        };
        QCOMPARE(count(u"quick capture is not available here; the request is dropped"_s), 2);
        QCOMPARE(count(u"the library is not available here; the request is dropped"_s), 1);
        QCOMPARE(count(u"the settings window is not available yet; the request is dropped"_s), 1);
        QCOMPARE(count(u"skipped a URL — "_s + refused.first()), 1);
        program.services->closeDecks();
    }

    void aUrlTextTheLibraryCannotKeepIsRefused()
    {
        Program program;
        program.services->openNotes();
        QVERIFY(program.services->noteStore().flushAll());
        program.services.reset();
        QVERIFY(QFile::remove(program.dir.filePath(u"data/note.key"_s)));
        program.start();
        program.services->openNotes();
        QVERIFY(!program.services->noteStore().isWritable());
        AppActions actions(*program.services, [] {});
        const Log::Capture capture([](const QString&) {});
        QCOMPARE(actions.openUrls({u"pondrift://new?text=precious"_s}),
                 QStringList{u"pondrift://new?text=precious: the notes cannot be saved now; the "
                             u"text was not kept"_s});
    }

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

QTEST_MAIN(TestApp)
#include "tst_app.moc"
