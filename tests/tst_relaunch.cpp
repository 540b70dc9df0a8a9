#include "app/AppActions.h"
#include "app/AppServices.h"
#include "app/Migration.h"
#include "app/Relaunch.h"
#include "app/SettingsSurface.h"
#include "deck/DeckController.h"
#include "deck/DeckManager.h"
#include "l10n/L10n.h"
#include "platform/FolderChooser.h"
#include "platform/Log.h"
#include "platform/qt/QtFiles.h"
#include "settings/Settings.h"
#include "support/FakeBackends.h"
#include "support/FakeDeckWindow.h"
#include "support/FakePointer.h"
#include "support/FaultyFiles.h"
#include "support/ManualScheduler.h"
#include "support/RecordingDesktop.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

struct FakeSettingsWindow final : SettingsSurface {
    bool* shown;
    explicit FakeSettingsWindow(bool* shown)
        : shown(shown)
    {
    }
    void show() override { *shown = true; }
    bool isOpen() const override { return *shown; }
};

struct Program {
    QTemporaryDir dir;
    ManualScheduler* clock = nullptr;
    FaultyFiles* files = nullptr;
    FakePointer* pointer = nullptr;
    RecordingDesktop* desktop = nullptr;
    bool settingsShown = false;
    int quits = 0;
    bool quitRefused = false;
    std::unique_ptr<AppServices> services;
    std::unique_ptr<AppActions> actions;
    std::unique_ptr<Relaunch> relaunch;

    Program()
    {
        QDir().mkpath(dir.filePath(u"data"_s));
        FakeBackends fakes(2);
        clock = fakes.clock;
        desktop = fakes.desktop;
        files = fakes.files;
        pointer = fakes.pointer;
        fakes.backends.makeDeckWindow = [](const AppServices::DeckWindowParts&) {
            return std::make_unique<FakeDeckWindow>();
        };
        fakes.backends.makeSettingsWindow = [this](SettingsModel&, KeyboardLayout&) {
            return std::make_unique<FakeSettingsWindow>(&settingsShown);
        };
        services = std::make_unique<AppServices>(std::move(fakes.backends),
                                                 Paths{dir.filePath(u"data"_s)}, dir.path());
    }

    void open()
    {
        services->openNotes();
        actions = std::make_unique<AppActions>(*services, [] {});
        services->openDecks(actions->forDecks());
        relaunch = std::make_unique<Relaunch>(*services, [this] {
            ++quits;
            return !quitRefused;
        });
        services->setLanguageRelaunch(
            [this](AppLanguage previous) { relaunch->relaunchForLanguageChange(previous); });
    }

    ~Program() { services->closeDecks(); }

    QString resumePath() const { return Relaunch::resumePath(services->paths().support); }
    DeckManager& decks() { return *services->deckManager(); }
    QString firstNote() { return services->noteStore().active().first().id; }
};

struct AnsweringChooser final : FolderChooser {
    std::optional<QString> chooseFolder(const QString& startIn, const QString& prompt,
                                        const QString& accept) override
    {
        asked << startIn << prompt << accept;
        return answer;
    }
    std::optional<QString> answer;
    QStringList asked;
};

} // namespace

class TestRelaunch : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void cleanup() { L10n::install(AppLanguage::English); }

    void theResumeFileActsOnceWhateverItHolds_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("decodes");
        QTest::addColumn<QString>("noteID");
        QTest::addColumn<int>("displayID"); // -1: absent
        QTest::addColumn<bool>("settingsOpen");
        QTest::newRow("a file without settingsOpen does not decode")
            << R"({"noteID":"A1","displayID":2})"_ba << false << QString() << -1 << false;
        QTest::newRow("settingsOpen alone decodes, with no note and no display")
            << R"({"settingsOpen":true})"_ba << true << QString() << -1 << true;
        QTest::newRow("unknown keys are ignored")
            << R"({"displayID":7,"later":[1],"noteID":"A1","settingsOpen":false})"_ba << true
            << u"A1"_s << 7 << false;
        QTest::newRow("settingsOpen that is not a boolean does not decode")
            << R"({"settingsOpen":"yes"})"_ba << false << QString() << -1 << false;
        QTest::newRow("a display id that is no display does not decode")
            << R"({"settingsOpen":true,"displayID":-3})"_ba << false << QString() << -1 << false;
        QTest::newRow("a cut-off file does not decode")
            << R"({"settingsOpen":tr)"_ba << false << QString() << -1 << false;
    }
    void theResumeFileActsOnceWhateverItHolds()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, decodes);
        QFETCH(QString, noteID);
        QFETCH(int, displayID);
        QFETCH(bool, settingsOpen);
        QTemporaryDir dir;
        QtFiles files;
        const QString path = Relaunch::resumePath(dir.path());
        QVERIFY(TestFiles::write(path, content));
        const std::optional<ReloadResume> resume = ReloadResume::loadAndClear(files, path);
        QVERIFY2(!QFile::exists(path), "the file is gone, whatever it held");
        QCOMPARE(resume.has_value(), decodes);
        if (!resume)
            return;
        QCOMPARE(resume->noteID.value_or(QString()), noteID);
        QCOMPARE(resume->displayID ? int(*resume->displayID) : -1, displayID);
        QCOMPARE(resume->settingsOpen, settingsOpen);
        QVERIFY(!ReloadResume::loadAndClear(files, path));
    }

    void aLanguageChangeSavesWhatIsOpenAndRelaunchesOrPutsTheLanguageBack_data()
    {
        QTest::addColumn<bool>("noteOpen");
        QTest::addColumn<bool>("settingsOpen");
        QTest::addColumn<QString>("failure"); // "flush", "start", "quit", "resume" or empty
        QTest::addColumn<bool>("relaunched");
        QTest::addColumn<QString>("logged");
        QTest::newRow("nothing open writes no resume file")
            << false << false << QString() << true << QString();
        QTest::newRow("a note open and the settings window are written down")
            << true << true << QString() << true << QString();
        QTest::newRow("a failed save puts the language back and starts nothing")
            << true << false << u"flush"_s << false << QString();
        QTest::newRow("a process that does not start puts the language back, file removed")
            << true << true << u"start"_s << false
            << u"Pondrift: language-change relaunch failed — no such program"_s;
        QTest::newRow("a quit refused after the start puts the language back, file removed")
            << true << true << u"quit"_s << false
            << u"Pondrift: language-change relaunch failed — the notes could not be saved before quitting"_s;
        QTest::newRow("a resume that cannot be written is logged and the relaunch goes on")
            << true << false << u"resume"_s << true
            << u"Pondrift: could not write reload resume — "_s
                   + Files::Result{ENOSPC}.description();
    }
    void aLanguageChangeSavesWhatIsOpenAndRelaunchesOrPutsTheLanguageBack()
    {
        QFETCH(bool, noteOpen);
        QFETCH(bool, settingsOpen);
        QFETCH(QString, failure);
        QFETCH(bool, relaunched);
        QFETCH(QString, logged);
        Program program;
        if (failure == u"flush")
            program.files->failPathsContaining(u"note.key"_s, ENOSPC);
        if (failure == u"resume")
            program.files->failPathsContaining(u"resume.json"_s, ENOSPC);
        if (failure == u"start")
            program.desktop->relaunchFailure = u"no such program"_s;
        program.open();
        program.quitRefused = failure == u"quit";
        const QString id = program.firstNote();
        if (noteOpen) {
            program.decks().deck(2)->expand(id);
            program.clock->advance(1);
        }
        if (settingsOpen)
            program.services->showSettings();
        QStringList log;
        const Log::Capture capture([&](const QString& line) { log << line; });
        SettingsModel& model = *program.services->settingsModel();
        const AppLanguage before = model.appLanguage();

        model.setAppLanguage(AppLanguage::SimplifiedChinese);

        QCOMPARE(program.desktop->relaunches, failure == u"flush" ? 0 : 1);
        QCOMPARE(program.quits, relaunched || failure == u"quit" ? 1 : 0);
        QCOMPARE(program.relaunch->isRelaunching(), relaunched);
        const AppLanguage kept = relaunched ? AppLanguage(AppLanguage::SimplifiedChinese) : before;
        QCOMPARE(Settings::appLanguage(), kept);
        QCOMPARE(model.appLanguage(), kept);
        QVERIFY(logged.isEmpty() || log.contains(logged));
        const std::optional<ReloadResume> resume =
            ReloadResume::loadAndClear(program.services->files(), program.resumePath());
        const bool written = relaunched && failure.isEmpty() && (noteOpen || settingsOpen);
        QCOMPARE(resume.has_value(), written);
        if (resume) {
            QCOMPARE(resume->noteID, noteOpen ? std::optional(id) : std::nullopt);
            QCOMPARE(resume->displayID, noteOpen ? std::optional(2u) : std::nullopt);
            QCOMPARE(resume->settingsOpen, settingsOpen);
        }
        if (relaunched) {
            model.setAppLanguage(before);
            QCOMPARE(program.desktop->relaunches, 1);
            QCOMPARE(program.quits, 1);
        }
    }

    void theNewProcessOpensAgainWhatWasOpen_data()
    {
        QTest::addColumn<bool>("noteExists");
        QTest::addColumn<int>("displayID"); // -1: absent
        QTest::addColumn<bool>("settingsOpen");
        QTest::addColumn<int>("expectedDeck"); // 0: none
        QTest::newRow("the note opens on its own display") << true << 1 << false << 1;
        QTest::newRow("a display that is gone opens the note on the deck under the pointer")
            << true << 99 << false << 2;
        QTest::newRow("no display at all opens it under the pointer") << true << -1 << false << 2;
        QTest::newRow("a deleted note opens nothing, but the settings open again")
            << false << 1 << true << 0;
    }
    void theNewProcessOpensAgainWhatWasOpen()
    {
        QFETCH(bool, noteExists);
        QFETCH(int, displayID);
        QFETCH(bool, settingsOpen);
        QFETCH(int, expectedDeck);
        Program program;
        program.open();
        program.pointer->setLocation({2500, 400});
        const QString id =
            noteExists ? program.firstNote() : u"0BADF00D-DEAD-4000-8000-000000000000"_s;
        ReloadResume resume{.noteID = id, .displayID = {}, .settingsOpen = settingsOpen};
        if (displayID >= 0)
            resume.displayID = quint32(displayID);
        ReloadResume::save(program.services->files(), program.resumePath(), resume);

        program.relaunch->restoreAfterLanguageRelaunch();

        QVERIFY(!QFile::exists(program.resumePath()));
        QCOMPARE(program.settingsShown, settingsOpen);
        const auto expanded = [&](quint32 display) {
            return program.decks().deck(display)->state() == DeckState::expanded(id);
        };
        program.clock->advance(0.1);
        QVERIFY2(!expanded(1) && !expanded(2), "the decks settle before the note opens");
        program.clock->advance(0.1);
        QCOMPARE(expanded(1), expectedDeck == 1);
        QCOMPARE(expanded(2), expectedDeck == 2);
    }

    void notesOfAnInstallOutsideTheSandboxAreCopiedWhenChosen_data()
    {
        QTest::addColumn<QString>("sandbox");
        QTest::addColumn<QStringList>("inData");
        QTest::addColumn<QString>("chosen"); // "legacy", "other" or empty: cancelled
        QTest::addColumn<bool>("asked");
        QTest::addColumn<QStringList>("copied");
        const QStringList closedCleanly{u"notes.db"_s, u"note.key"_s};
        QTest::newRow("outside a sandbox nothing happens")
            << QString() << QStringList{} << u"legacy"_s << false << QStringList{};
        QTest::newRow("with a database of its own nothing is offered")
            << u"app.pondrift.Pondrift"_s << QStringList{u"notes.db"_s} << u"legacy"_s << false
            << QStringList{};
        QTest::newRow("a database closed cleanly comes with its key, a stale key replaced")
            << u"app.pondrift.Pondrift"_s << QStringList{u"note.key"_s} << u"legacy"_s << true
            << closedCleanly;
        QTest::newRow("a wrong folder copies nothing")
            << u"app.pondrift.Pondrift"_s << QStringList{} << u"other"_s << true << QStringList{};
        QTest::newRow("cancelled copies nothing")
            << u"app.pondrift.Pondrift"_s << QStringList{} << QString() << true << QStringList{};
    }
    void notesOfAnInstallOutsideTheSandboxAreCopiedWhenChosen()
    {
        QFETCH(QString, sandbox);
        QFETCH(QStringList, inData);
        QFETCH(QString, chosen);
        QFETCH(bool, asked);
        QFETCH(QStringList, copied);
        QTemporaryDir dir;
        const QString legacy = dir.filePath(u"legacy/Pondrift"_s);
        const Paths data{dir.filePath(u"sandbox/Pondrift"_s)};
        QDir().mkpath(legacy);
        QDir().mkpath(data.support);
        QDir().mkpath(dir.filePath(u"other"_s));
        QVERIFY(TestFiles::write(dir.filePath(u"other/holiday.jpg"_s), "jpeg"));
        for (const QString& name : {u"notes.db"_s, u"note.key"_s})
            QVERIFY(TestFiles::write(legacy + u'/' + name, "old " + name.toUtf8()));
        for (const QString& name : inData)
            QVERIFY(TestFiles::write(data.support + u'/' + name, "sandboxed"));
        AnsweringChooser chooser;
        if (!chosen.isEmpty())
            chooser.answer = chosen == u"legacy" ? legacy : dir.filePath(chosen);
        QtFiles files;

        Migration::runIfNeeded({.sandboxId = sandbox, .legacyFolder = legacy}, data, files,
                               chooser);

        QCOMPARE(!chooser.asked.isEmpty(), asked);
        if (asked)
            QCOMPARE(chooser.asked, (QStringList{legacy, L10n::text(u"migration.panel_prompt"_s),
                                                 L10n::text(u"migration.panel_open"_s)}));
        for (const QString& name : {u"notes.db"_s, u"note.key"_s, u"notes.db-wal"_s,
                                    u"notes.db-shm"_s, u"holiday.jpg"_s}) {
            const QByteArray expected = copied.contains(name)   ? "old " + name.toUtf8()
                                        : inData.contains(name) ? "sandboxed"_ba
                                                                : QByteArray();
            QCOMPARE(TestFiles::read(data.support + u'/' + name), expected);
        }
    }
};

QTEST_MAIN(TestRelaunch)
#include "tst_relaunch.moc"
