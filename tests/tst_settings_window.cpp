#include "app/AppServices.h"
#include "app/HotKeys.h"
#include "app/SettingsModel.h"
#include "app/ShortcutRecorder.h"
#include "app/ui/SettingsWindow.h"
#include "app/ui/ShortcutField.h"
#include "l10n/L10n.h"
#include "settings/Settings.h"
#include "support/FakeBackends.h"
#include "support/FakeDisplays.h"
#include "support/TestFiles.h"
#include "sync/CloudSync.h"

#include <QAbstractButton>
#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QScrollArea>
#include <QSlider>
#include <QStandardPaths>
#include <QTabBar>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

class RecordingHotKeys final : public HotKeyBackend {
public:
    int grab(quint32, quint32, quint32) override
    {
        ++grabs;
        return 0;
    }
    void releaseAll() override { ++releases; }
    int grabs = 0;
    int releases = 0;
};

struct Rig {
    QTemporaryDir dir;
    RecordingHotKeys* keys = nullptr;
    FakeDisplays* displays = nullptr;
    std::unique_ptr<AppServices> services;
    int refreshes = 0;
    QList<AppLanguage> relaunches;

    explicit Rig(const QHash<QString, QVariant>& settings = {}, int displayCount = 1)
    {
        QDir().mkpath(dir.filePath(u"data"_s));
        FakeBackends fakes(displayCount, settings);
        displays = fakes.displays;
        keys = static_cast<RecordingHotKeys*>(
            (fakes.backends.hotKeys = std::make_unique<RecordingHotKeys>()).get());
        services = std::make_unique<AppServices>(std::move(fakes.backends),
                                                 Paths{dir.filePath(u"data"_s)}, dir.path());
        services->hotKeys()->registerActions({}, {}, {}, {});
    }

    SettingsModel& model()
    {
        services->makeSettings({
            .refreshDecks = [this] { ++refreshes; },
            .relaunchForLanguageChange = [this](AppLanguage was) { relaunches << was; },
        });
        return *services->settingsModel();
    }
};

using Change = std::function<void(SettingsModel&)>;

QStringList documentsIn(const QString& folder)
{
    return QDir(folder).entryList({u"*.md"_s}, QDir::Files, QDir::Name);
}

} // namespace

Q_DECLARE_METATYPE(Change)
Q_DECLARE_METATYPE(Shortcut)

class TestSettingsWindow : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void cleanup() { L10n::install(AppLanguage::English); }

    // Made at launch, the model must not redraw, grab or start anything.
    void initialisingActsOnNothing()
    {
        QTemporaryDir root;
        Rig rig({{u"cloudSyncEnabled"_s, true},
                 {u"cloudSyncRoot"_s, root.path()},
                 {u"appLanguage"_s, u"zh-Hans"_s},
                 {u"deckStyle"_s, u"compact"_s}});
        rig.services->openNotes();
        rig.services->makeSync();
        const int grabs = rig.keys->grabs;
        SettingsModel& model = rig.model();
        QCOMPARE(model.deckStyle(), DeckStyle::Compact);
        QCOMPARE(model.appLanguage(), AppLanguage::SimplifiedChinese);
        QCOMPARE(rig.refreshes, 0);
        QCOMPARE(rig.relaunches.size(), 0);
        QCOMPARE(rig.keys->grabs, grabs);
        QVERIFY(!rig.services->cloudSync()->isStarted());
    }

    void aChangeActsOnlyAsItsSettingDemands_data()
    {
        QTest::addColumn<Change>("change");
        QTest::addColumn<int>("refreshes");
        QTest::addColumn<int>("reloads");
        QTest::addColumn<int>("relaunches");
        const Shortcut other{0x28, Shortcut::command | Shortcut::option}; // K
        QTest::newRow("another deck style redraws the decks")
            << Change([](SettingsModel& m) { m.setDeckStyle(DeckStyle::Compact); }) << 1 << 0 << 0;
        QTest::newRow("the deck style it has does nothing")
            << Change([](SettingsModel& m) { m.setDeckStyle(DeckStyle::Tabs); }) << 0 << 0 << 0;
        QTest::newRow("a deck size the store clamps to the one it has does nothing")
            << Change([](SettingsModel& m) {
                   m.setDeckScale(0.7);
                   m.setDeckScale(0.2);
               })
            << 1 << 0 << 0;
        QTest::newRow("another language asks for a relaunch, with the one before")
            << Change([](SettingsModel& m) { m.setAppLanguage(AppLanguage::English); }) << 0 << 0
            << 1;
        QTest::newRow("the language it has does nothing")
            << Change([](SettingsModel& m) { m.setAppLanguage(AppLanguage::System); }) << 0 << 0
            << 0;
        QTest::newRow("quick capture's shortcut grabs the global keys again")
            << Change([other](SettingsModel& m) { m.setShortcut(u"capture", other); }) << 0 << 1
            << 0;
        QTest::newRow("the close shortcut never grabs the global keys")
            << Change([other](SettingsModel& m) { m.setShortcut(u"close", other); }) << 0 << 0 << 0;
        QTest::newRow("quick capture's own shortcut does nothing")
            << Change([](SettingsModel& m) { m.setShortcut(u"capture", Settings::scCapture()); })
            << 0 << 0 << 0;
        QTest::newRow("a language read back after a failed relaunch asks for none")
            << Change([](SettingsModel& m) {
                   Settings::setAppLanguage(AppLanguage::SimplifiedChinese);
                   m.syncFromDefaults();
               })
            << 0 << 0 << 0;
    }
    void aChangeActsOnlyAsItsSettingDemands()
    {
        QFETCH(Change, change);
        QFETCH(int, refreshes);
        QFETCH(int, reloads);
        QFETCH(int, relaunches);
        Rig rig;
        SettingsModel& model = rig.model();
        const int releases = rig.keys->releases;
        change(model);
        QCOMPARE(rig.refreshes, refreshes);
        QCOMPARE(rig.keys->releases - releases, reloads);
        QCOMPARE(rig.relaunches.size(), relaunches);
        if (relaunches)
            QCOMPARE(rig.relaunches.first(), AppLanguage::System);
        QCOMPARE(Settings::appLanguage(), model.appLanguage());
        QCOMPARE(Settings::scClose(), model.shortcut(u"close"));
        QCOMPARE(Settings::scCapture(), model.shortcut(u"capture"));
    }

    void theDisplayPickerComesWithASecondDisplay_data()
    {
        QTest::addColumn<int>("displays");
        QTest::addColumn<QStringList>("values");
        QTest::newRow("one display: nothing to choose") << 1 << QStringList();
        QTest::newRow("two displays: all, main, and each")
            << 2 << QStringList{u"all"_s, u"main"_s, u"id:1"_s, u"id:2"_s};
    }
    void theDisplayPickerComesWithASecondDisplay()
    {
        QFETCH(int, displays);
        QFETCH(QStringList, values);
        Rig rig({}, displays);
        SettingsWindow window(rig.model(), rig.services->keyboardLayout());
        QStringList shown;
        for (const SettingsModel::Choice& c : rig.model().displayChoices())
            shown << c.value;
        QCOMPARE(shown, values);
        auto* picker = window.findChild<QComboBox*>(u"displayTarget"_s);
        QCOMPARE(!picker->isHidden(), displays > 1);
        rig.displays->set({FakeDisplays::make(1, QRectF(0, 0, 1920, 1080), true)});
        QVERIFY(picker->isHidden());
    }

    void aClashShowsOnBothRows()
    {
        Rig rig;
        SettingsModel& model = rig.model();
        SettingsWindow window(model, rig.services->keyboardLayout());
        const auto warned = [&window] {
            QStringList ids;
            for (const SettingsModel::ShortcutRow& row : SettingsModel::shortcutRows) {
                if (window.findChild<QLabel*>(u"clash:"_s + row.id.toString())->isHidden() == false)
                    ids << row.id.toString();
            }
            return ids;
        };
        QCOMPARE(warned(), QStringList());
        model.setShortcut(u"find", Settings::scPin());
        QCOMPARE(Settings::scFind(), Settings::scPin());
        QCOMPARE(warned(), (QStringList{u"find"_s, u"pin"_s}));
        model.setShortcut(u"find", Shortcut::none());
        model.setShortcut(u"pin", Shortcut::none());
        QCOMPARE(warned(), QStringList());
    }

    void anotherSyncFolderIsAFirstSyncThatDeletesNothing()
    {
        QTemporaryDir first, second;
        Rig rig({{u"cloudSyncEnabled"_s, true}, {u"cloudSyncRoot"_s, first.path()}});
        rig.services->openNotes();
        NoteStore& notes = rig.services->noteStore();
        notes.create(u"Milk and eggs"_s);
        rig.services->makeSync();
        rig.services->cloudSync()->reload();
        const QStringList firstDocuments = documentsIn(first.filePath(u"Pondrift"_s));
        QCOMPARE(firstDocuments.size(), notes.active().size());
        TestFiles::write(second.filePath(u"Pondrift/From the laptop.md"_s), "Written elsewhere\n");

        SettingsModel& model = rig.model();
        model.setSyncRoot(second.path());

        QCOMPARE(Settings::cloudSyncRoot(), second.path());
        QCOMPARE(documentsIn(first.filePath(u"Pondrift"_s)), firstDocuments);
        const QStringList secondDocuments = documentsIn(second.filePath(u"Pondrift"_s));
        QVERIFY(secondDocuments.contains(u"From the laptop.md"_s));
        QCOMPARE(secondDocuments.size(), firstDocuments.size() + 1);
        QCOMPARE(notes.active().size(), firstDocuments.size() + 1);
        QCOMPARE(model.syncFolderPath(), second.filePath(u"Pondrift"_s));
    }

    void theRecorderTakesACombinationAndNothingElse_data()
    {
        QTest::addColumn<bool>("bareKeys");
        QTest::addColumn<int>("qtKey");
        QTest::addColumn<int>("keyCode"); // -1: a key outside the key table
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<int>("outcome");
        QTest::addColumn<Shortcut>("after");
        using O = ShortcutRecorder::Outcome;
        const Shortcut old{0x2D, Shortcut::command | Shortcut::option};
        const int ctrl = Qt::ControlModifier, shift = Qt::ShiftModifier;
        QTest::newRow("Ctrl+K is taken") << false << int(Qt::Key_K) << 0x28 << ctrl
                                         << int(O::Captured) << Shortcut{0x28, Shortcut::command};
        QTest::newRow("Shift alone is modifier enough")
            << false << int(Qt::Key_A) << 0x00 << shift << int(O::Captured)
            << Shortcut{0x00, Shortcut::shift};
        QTest::newRow("a plain letter where a modifier is needed beeps and keeps the old")
            << false << int(Qt::Key_K) << 0x28 << 0 << int(O::Refused) << old;
        QTest::newRow("a plain letter where bare keys are allowed is taken")
            << true << int(Qt::Key_K) << 0x28 << 0 << int(O::Captured) << Shortcut{0x28, 0};
        QTest::newRow("Escape keeps the old")
            << true << int(Qt::Key_Escape) << 0x35 << 0 << int(O::Cancelled) << old;
        QTest::newRow("Backspace clears")
            << false << int(Qt::Key_Backspace) << 0x33 << 0 << int(O::Cleared) << Shortcut::none();
        QTest::newRow("Ctrl+Backspace is a combination, not a clearing")
            << false << int(Qt::Key_Backspace) << 0x33 << ctrl << int(O::Captured)
            << Shortcut{0x33, Shortcut::command};
        QTest::newRow("Ctrl pressed by itself waits for the key")
            << false << int(Qt::Key_Control) << -1 << ctrl << int(O::Ignored) << old;
        QTest::newRow("Shift pressed by itself waits even where bare keys are allowed")
            << true << int(Qt::Key_Shift) << -1 << shift << int(O::Ignored) << old;
        QTest::newRow("a key outside the table beeps")
            << false << int(Qt::Key_LaunchMail) << -1 << ctrl << int(O::Refused) << old;
    }
    void theRecorderTakesACombinationAndNothingElse()
    {
        QFETCH(bool, bareKeys);
        QFETCH(int, qtKey);
        QFETCH(int, keyCode);
        QFETCH(int, modifiers);
        QFETCH(int, outcome);
        QFETCH(Shortcut, after);
        ShortcutRecorder recorder(bareKeys);
        Shortcut shortcut{0x2D, Shortcut::command | Shortcut::option};
        QCOMPARE(int(recorder.press(qtKey, KeyPress{0x28, Qt::ControlModifier}, shortcut)),
                 int(ShortcutRecorder::Outcome::Ignored));
        recorder.start();
        std::optional<KeyPress> press;
        if (keyCode >= 0)
            press = KeyPress{quint32(keyCode), Qt::KeyboardModifiers(modifiers)};
        QCOMPARE(int(recorder.press(qtKey, press, shortcut)), outcome);
        QCOMPARE(shortcut, after);
        const bool goesOn = outcome == int(ShortcutRecorder::Outcome::Refused)
                            || outcome == int(ShortcutRecorder::Outcome::Ignored);
        QCOMPARE(recorder.recording(), goesOn);
    }

    void eachTabsControlsChangeTheModel_data()
    {
        QTest::addColumn<int>("tab");
        QTest::addColumn<QString>("control");
        QTest::addColumn<Change>("check");
        QTest::newRow("shortcuts: a recorded combination")
            << 0 << u"shortcut:capture"_s << Change([](SettingsModel& m) {
                   QCOMPARE(m.shortcut(u"capture"), (Shortcut{0x28, Shortcut::command}));
               });
        QTest::newRow("deck: the style")
            << 1 << u"deckStyle"_s
            << Change([](SettingsModel& m) { QCOMPARE(m.deckStyle(), DeckStyle::Compact); });
        QTest::newRow("deck: keep open")
            << 1 << u"alwaysShown"_s << Change([](SettingsModel& m) { QVERIFY(m.alwaysShown()); });
        QTest::newRow("deck: the size")
            << 1 << u"deckScale"_s
            << Change([](SettingsModel& m) { QCOMPARE(m.deckScale(), 1.8); });
        QTest::newRow("deck: the language")
            << 1 << u"appLanguage"_s << Change([](SettingsModel& m) {
                   QCOMPARE(m.appLanguage(), AppLanguage::SimplifiedChinese);
               });
        QTest::newRow("deck: launch at login")
            << 1 << u"launchAtLogin"_s
            << Change([](SettingsModel& m) { QVERIFY(m.launchAtLogin()); });
        QTest::newRow("notes: the note size")
            << 2 << u"noteSizeIndex"_s
            << Change([](SettingsModel& m) { QCOMPARE(m.noteSizeIndex(), 3); });
        QTest::newRow("notes: the text size")
            << 2 << u"fontSize"_s << Change([](SettingsModel& m) { QCOMPARE(m.fontSize(), 30.0); });
        QTest::newRow("notes: Markdown styling")
            << 2 << u"markdown"_s << Change([](SettingsModel& m) { QVERIFY(!m.markdown()); });
        QTest::newRow("sync: on") << 3 << u"cloudSync"_s
                                  << Change([](SettingsModel& m) { QVERIFY(m.cloudSync()); });
        QTest::newRow("updates: the package manager's word")
            << 4 << u"updateStatus"_s << Change([](SettingsModel&) {});
    }
    void eachTabsControlsChangeTheModel()
    {
        QFETCH(int, tab);
        QFETCH(QString, control);
        QFETCH(Change, check);
        QTemporaryDir root;
        Rig rig({{u"cloudSyncRoot"_s, root.path()}});
        SettingsModel& model = rig.model();
        SettingsWindow window(model, rig.services->keyboardLayout());
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        auto* tabs = window.findChild<QTabWidget*>(u"tabs"_s);
        tabs->setCurrentIndex(tab);
        QWidget* widget = tabs->currentWidget()->findChild<QWidget*>(control);
        QVERIFY2(widget, qPrintable(control));
        QVERIFY(widget->isVisible());
        if (auto* field = qobject_cast<ShortcutField*>(widget)) {
            QTest::mouseClick(field, Qt::LeftButton);
            QTest::keyClick(field, Qt::Key_K, Qt::ControlModifier);
        } else if (auto* box = qobject_cast<QCheckBox*>(widget)) {
            QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2));
        } else if (auto* slider = qobject_cast<QSlider*>(widget)) {
            slider->setFocus();
            QTest::keyClick(slider, Qt::Key_End);
        } else if (auto* combo = qobject_cast<QComboBox*>(widget)) {
            combo->setFocus();
            QTest::keyClick(combo, Qt::Key_End);
        } else if (auto* group = widget->findChild<QButtonGroup*>()) {
            QTest::mouseClick(group->buttons().last(), Qt::LeftButton);
        } else {
            QCOMPARE(qobject_cast<QLabel*>(widget)->text(),
                     L10n::text(u"updates.install_sparkle"_s));
        }
        check(model);
        window.show();
        QVERIFY2(window.isOpen(), "opened again, it stays the one window");
    }

    void theKeyboardWalksEachPageInReadingOrder()
    {
        Rig rig;
        SettingsWindow window(rig.model(), rig.services->keyboardLayout());
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        auto* tabs = window.findChild<QTabWidget*>(u"tabs"_s);
        qsizetype reached = 0;
        for (int page = 0; page < tabs->count(); ++page) {
            tabs->setCurrentIndex(page);
            tabs->tabBar()->setFocus(Qt::TabFocusReason);
            QPoint last(-1, -1);
            QStringList walked;
            for (int step = 0; step < 60; ++step) {
                QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
                QWidget* now = QApplication::focusWidget();
                if (!now || now == tabs->tabBar() || !tabs->currentWidget()->isAncestorOf(now))
                    break;
                QWidget* body = qobject_cast<QScrollArea*>(tabs->currentWidget())->widget();
                const QPoint at = now->mapTo(body, QPoint(0, now->height() / 2));
                walked << QString::fromLatin1(now->metaObject()->className()) + u' '
                              + now->accessibleName() + u' ' + QString::number(at.x()) + u','
                              + QString::number(at.y());
                const bool sameRow = std::abs(at.y() - last.y()) <= now->height() / 2;
                QVERIFY2(sameRow ? at.x() > last.x() : at.y() > last.y(),
                         qPrintable(walked.join(u" → "_s)));
                last = at;
            }
            reached += walked.size();
        }
        QVERIFY(reached > 20);
    }
};

QTEST_MAIN(TestSettingsWindow)
#include "tst_settings_window.moc"
