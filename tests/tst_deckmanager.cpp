#include "deck/DeckActions.h"
#include "deck/DeckController.h"
#include "deck/DeckManager.h"
#include "deck/DeckTargets.h"
#include "settings/Settings.h"
#include "support/FakeDeckWindow.h"
#include "support/FakeDisplays.h"
#include "support/FakePointer.h"
#include "support/MemoryDefaults.h"
#include "support/MemoryLoginItem.h"
#include "support/RecordingDeckActions.h"
#include "support/TestLibrary.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// A laptop at the origin, marked main, and a monitor to its right.
const QList<DisplayInfo> twoScreens{FakeDisplays::make(7, {0, 0, 1440, 900}, true),
                                    FakeDisplays::make(42, {1440, 0, 2560, 1440})};

// Fake screens, pointer and windows (remembered by display) over a real library.
struct Desk {
    MemoryDefaults defaults;
    MemoryLoginItem loginItem;
    TestLibrary library;
    FakeDisplays displays{twoScreens};
    FakePointer pointer;
    RecordingDeckActions actions;
    QMultiMap<quint32, FakeDeckWindow*> made;
    std::unique_ptr<DeckManager> manager;

    explicit Desk(const QString& target = u"all"_s)
    {
        Settings::install(defaults, loginItem);
        Settings::setDisplayTarget(target);
        library.open();
        manager = std::make_unique<DeckManager>(DeckManager::Collaborators{
            .displays = displays,
            .pointer = pointer,
            .scheduler = library.clock,
            .notes = *library.notes,
            .actions = actions,
            .detachTarget = nullptr,
            .makeWindow =
                [this](quint32 id) {
                    auto window = std::make_unique<FakeDeckWindow>();
                    made.insert(id, window.get());
                    return window;
                },
        });
    }
    FakeDeckWindow* window(quint32 id) const { return made.value(id); }
    QList<quint32> deckIDs() const
    {
        QList<quint32> ids;
        for (const DeckController* deck : manager->decks())
            ids << deck->displayID();
        return ids;
    }
    void settle() { library.clock.advance(DeckManager::rebuildDelay + 0.01); }
};

} // namespace

class TestDeckManager : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theSettingChoosesTheDisplays_data()
    {
        QTest::addColumn<QList<DisplayInfo>>("displays");
        QTest::addColumn<QString>("target");
        QTest::addColumn<QList<quint32>>("expected");
        QTest::newRow("all") << twoScreens << u"all"_s << QList<quint32>{7, 42};
        QTest::newRow("main") << twoScreens << u"main"_s << QList<quint32>{7};
        QTest::newRow("a connected display") << twoScreens << u"id:42"_s << QList<quint32>{42};
        QTest::newRow("an unplugged display falls to the main one")
            << twoScreens << u"id:99"_s << QList<quint32>{7};
        QTest::newRow("id: with nothing is all") << twoScreens << u"id:"_s << QList<quint32>{7, 42};
        QTest::newRow("id: with letters is all")
            << twoScreens << u"id:4x2"_s << QList<quint32>{7, 42};
        QTest::newRow("id: with a sign is all")
            << twoScreens << u"id:+42"_s << QList<quint32>{7, 42};
        QTest::newRow("id: past 32 bits is all")
            << twoScreens << u"id:4294967338"_s << QList<quint32>{7, 42};
        QTest::newRow("the largest 32-bit id is a number")
            << twoScreens << u"id:4294967295"_s << QList<quint32>{7};
        QTest::newRow("no mark: the first is main")
            << QList<DisplayInfo>{FakeDisplays::make(5, {0, 0, 800, 600}),
                                  FakeDisplays::make(6, {800, 0, 800, 600})}
            << u"main"_s << QList<quint32>{5};
        QTest::newRow("no screens: all is nothing")
            << QList<DisplayInfo>{} << u"all"_s << QList<quint32>{};
        QTest::newRow("no screens: main waits on the last main")
            << QList<DisplayInfo>{} << u"main"_s << QList<quint32>{3};
    }
    void theSettingChoosesTheDisplays()
    {
        QFETCH(QList<DisplayInfo>, displays);
        QFETCH(QString, target);
        QFETCH(QList<quint32>, expected);
        QCOMPARE(DeckTargets::displayIDs(displays, target, 3), expected);
    }

    // The setting stays, and the deck goes back when the monitor returns.
    void anUnpluggedChosenDisplayLendsItsDeckToTheMainOne()
    {
        Desk desk(u"id:42"_s);
        QCOMPARE(desk.deckIDs(), QList<quint32>{42});
        desk.displays.set({twoScreens.first()});
        desk.settle();
        QCOMPARE(desk.deckIDs(), QList<quint32>{7});
        QCOMPARE(Settings::displayTarget(), u"id:42"_s);
        desk.displays.set(twoScreens);
        desk.settle();
        QCOMPARE(desk.deckIDs(), QList<quint32>{42});
        QVERIFY(desk.window(42)->shown);
        QVERIFY(twoScreens.last().frame.contains(desk.window(42)->frame()));
    }

    void aDeckWithoutItsDisplayHidesUntilItReturns()
    {
        Desk desk(u"main"_s);
        FakeDeckWindow* window = desk.window(7);
        QVERIFY(window->shown);
        desk.displays.set({});
        desk.settle();
        QCOMPARE(desk.deckIDs(), QList<quint32>{7});
        QVERIFY(!window->shown);
        desk.displays.set(twoScreens);
        desk.settle();
        QCOMPARE(desk.window(7), window);
        QVERIFY(window->shown);
        QVERIFY(twoScreens.first().frame.contains(window->frame()));
    }

    void fromAllToMainTheMainDeckKeepsItsState()
    {
        Desk desk;
        const Note note = desk.library.notes->create(u"plans"_s);
        DeckController* main = desk.manager->deck(7);
        main->expand(note.id);
        desk.library.clock.advance(1);
        QCOMPARE(main->state(), DeckState::expanded(note.id));
        Settings::setDisplayTarget(u"main"_s);
        desk.manager->refreshAll();
        QCOMPARE(desk.deckIDs(), QList<quint32>{7});
        QCOMPARE(desk.manager->deck(7), main);
        QCOMPARE(main->state(), DeckState::expanded(note.id));
    }

    void aBurstOfDisplayChangesRebuildsOnce()
    {
        Desk desk;
        FakeDeckWindow* window = desk.window(42);
        const qsizetype framesBefore = window->frames.size();
        QList<DisplayInfo> moving = twoScreens;
        for (int i = 1; i <= 10; ++i) {
            moving[1].frame.moveLeft(1440 + i);
            moving[1].visibleFrame = moving[1].frame;
            desk.displays.set(moving);
            desk.library.clock.advance(DeckManager::rebuildDelay / 2);
        }
        QCOMPARE(window->frames.size(), framesBefore);
        desk.settle();
        QCOMPARE(window->frames.size(), framesBefore + 1);
        QVERIFY(moving[1].frame.contains(window->frame()));
        QCOMPARE(desk.made.size(), 2);
    }

    // Also when it is the only one, which must not send itself to rest.
    void anActivatedDeckStandsTheOthersDown_data()
    {
        QTest::addColumn<QString>("target");
        QTest::newRow("two decks") << u"all"_s;
        QTest::newRow("one deck") << u"main"_s;
    }
    void anActivatedDeckStandsTheOthersDown()
    {
        QFETCH(QString, target);
        Desk desk(target);
        const Note first = desk.library.notes->create(u"plans"_s);
        const Note second = desk.library.notes->create(u"list"_s);
        DeckController* main = desk.manager->deck(7);
        main->expand(first.id);
        desk.library.clock.advance(1);
        QCOMPARE(main->state(), DeckState::expanded(first.id));
        DeckController* other = desk.manager->deck(42);
        if (!other)
            return;
        other->expand(second.id);
        desk.library.clock.advance(1);
        QCOMPARE(other->state(), DeckState::expanded(second.id));
        QCOMPARE(main->state(), DeckState::rest());
    }

    void theFocusedDeckIsTheOneUnderThePointer()
    {
        Desk desk;
        desk.pointer.setLocation({2000, 500});
        QCOMPARE(desk.manager->focused(), desk.manager->deck(42));
        desk.pointer.setLocation({100, 100});
        QCOMPARE(desk.manager->focused(), desk.manager->deck(7));
        desk.pointer.setLocation({100, 1200});
        QVERIFY2(desk.manager->focused(), "off every screen, some deck still acts");
    }
};

QTEST_GUILESS_MAIN(TestDeckManager)
#include "tst_deckmanager.moc"
