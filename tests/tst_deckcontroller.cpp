#include "deck/DeckActions.h"
#include "deck/DeckController.h"
#include "deck/DeckGeom.h"
#include "deck/DeckKeys.h"
#include "deck/DeckModel.h"
#include "platform/KeyCodes.h"
#include "settings/Settings.h"
#include "support/FakeDeckWindow.h"
#include "support/FakeDisplays.h"
#include "support/FakeFloatingNote.h"
#include "support/FakePointer.h"
#include "support/MemoryDefaults.h"
#include "support/MemoryLoginItem.h"
#include "support/RecordingDeckActions.h"
#include "support/TestLibrary.h"

#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

class CountingCoordinator final : public DeckCoordinator {
public:
    void deckDidActivate(DeckController&) override { ++activations; }
    int activations = 0;
};

const DisplayInfo screen{7, u"Screen"_s, QRectF(0, 0, 1920, 1080), QRectF(0, 60, 1920, 1000), true};
constexpr QPointF atEdge{1900, 500};
constexpr QPointF away{900, 500};

KeyPress pressOf(const Shortcut& s) { return {s.keyCode, KeyCodes::qtModifiers(s.modifiers)}; }

struct Deck {
    TestLibrary lib;
    NoteStore& notes = lib.open();
    FakeDisplays displays{{screen}};
    FakePointer pointer;
    FakeDeckWindow window;
    RecordingDeckActions actions;
    FakeFloatingNote floating;
    CountingCoordinator coordinator;
    std::unique_ptr<DeckController> deck;
    QString a = notes.create(u"first"_s).id;
    QString b = notes.create(u"second"_s).id;

    Deck()
    {
        pointer.setLocation(away);
        deck = std::make_unique<DeckController>(screen.id, displays, pointer, lib.clock, notes,
                                                window, actions, &floating, &coordinator);
    }
    ManualScheduler& clock() { return lib.clock; }
    DeckModel& model() { return deck->model(); }
    QRectF wide() const { return DeckGeom::wideFrame(screen); }
    QRectF rest() { return DeckGeom::restFrame(screen, static_cast<int>(notes.active().size())); }
    void fanOut()
    {
        pointer.setLocation(atEdge);
        deck->pointerEntered();
    }
    void leave()
    {
        pointer.setLocation(away);
        deck->pointerExited();
    }
    void open(const QString& id)
    {
        deck->expand(id);
        clock().advance(DeckController::growthDelay);
    }
};

} // namespace

class TestDeckController : public QObject {
    Q_OBJECT

private:
    MemoryDefaults defaults;
    MemoryLoginItem loginItem;

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        Settings::install(defaults, loginItem);
    }
    void init() { defaults.values.clear(); }

    void aDeckAtRestRunsNoTimer_data()
    {
        QTest::addColumn<bool>("alwaysShown");
        QTest::newRow("a deck that folds away") << false;
        QTest::newRow("a deck kept shown, sitting in its fan") << true;
    }
    void aDeckAtRestRunsNoTimer()
    {
        QFETCH(bool, alwaysShown);
        Settings::setDeckAlwaysShown(alwaysShown);
        Deck d;
        QCOMPARE(d.deck->state(), DeckState::resting(alwaysShown));
        QCOMPARE(d.clock().pendingCount(), 0);
        QCOMPARE(d.window.currentFrame, alwaysShown ? d.wide() : d.rest());
        QVERIFY(d.window.shown);
    }

    void aFoldingFanShrinksItsContentBeforeItsFrameThenStopsItsTimers()
    {
        Deck d;
        d.fanOut();
        d.leave();
        d.clock().advance(DeckController::exitGrace);
        QCOMPARE(d.model().state(), DeckState::rest());
        QCOMPARE(d.window.changes.last(),
                 (FakeDeckWindow::Change{DeckState::rest(), DeckSprings::shrinking}));
        // The content shrinks inside the old frame first; rest again touches nothing.
        QCOMPARE(d.window.currentFrame, d.wide());
        const auto changes = d.window.changes;
        d.deck->collapseToRest();
        d.deck->dismiss();
        QCOMPARE(d.window.changes, changes);
        d.clock().advance(DeckController::shrinkDelay);
        QCOMPARE(d.window.currentFrame, d.rest());
        QCOMPARE(d.clock().pendingCount(), 0);
    }

    void anExitWithThePointerBackInTheHotZoneKeepsTheFan_data()
    {
        QTest::addColumn<QPointF>("pointerWhenChecked");
        QTest::addColumn<bool>("dragging");
        QTest::newRow("pointer back in the strip") << atEdge << false;
        QTest::newRow("a tab is being dragged") << away << true;
    }
    void anExitWithThePointerBackInTheHotZoneKeepsTheFan()
    {
        QFETCH(QPointF, pointerWhenChecked);
        QFETCH(bool, dragging);
        Deck d;
        d.fanOut();
        d.leave();
        d.pointer.setLocation(pointerWhenChecked);
        d.model().setDragging(dragging);
        d.clock().advance(DeckController::exitGrace + 0.01);
        QCOMPARE(d.deck->state(), DeckState::fan());
    }

    void reenteringWithinTheShrinkCancelsItAndReplaysTheReveal()
    {
        Deck d;
        d.fanOut();
        d.leave();
        d.clock().advance(DeckController::exitGrace + 0.3);
        const int activations = d.coordinator.activations;
        d.fanOut();
        QCOMPARE(d.deck->state(), DeckState::fan());
        QCOMPARE(d.model().revealTick(), 2);
        QCOMPARE(d.coordinator.activations, activations + 1);
        d.clock().advance(5 * DeckController::shrinkDelay);
        for (const QRectF& f : d.window.frames.mid(1))
            QCOMPARE(f, d.wide());
    }

    void theIdleWatchFoldsAFanLeftAlone_data()
    {
        QTest::addColumn<double>("fannedUntil");
        QTest::addColumn<QPointF>("thenPointerAt");
        QTest::addColumn<double>("foldedAfter");
        const double idle = DeckController::idlePeriod;
        QTest::newRow("leave event lost: down within one tick") << 0.0 << away << idle;
        QTest::newRow("a still pointer at the edge: down after four seconds")
            << Settings::fanIdleTimeout - 0.2 << atEdge + QPointF(2, -2) << 0.5;
    }
    void theIdleWatchFoldsAFanLeftAlone()
    {
        QFETCH(double, fannedUntil);
        QFETCH(QPointF, thenPointerAt);
        QFETCH(double, foldedAfter);
        Deck d;
        d.fanOut();
        d.clock().advance(fannedUntil);
        QCOMPARE(d.deck->state(), DeckState::fan());
        d.pointer.setLocation(thenPointerAt);
        d.clock().advance(foldedAfter);
        QCOMPARE(d.deck->state(), DeckState::rest());
    }

    void anOpenNoteAndAClickElsewhereOrTheIdleLimit_data()
    {
        QTest::addColumn<bool>("pinned");
        QTest::addColumn<bool>("click");
        QTest::newRow("an unpinned note closes on a click elsewhere") << false << true;
        QTest::newRow("a pinned note survives a click elsewhere") << true << true;
        QTest::newRow("an unpinned note closes after a minute untouched") << false << false;
        QTest::newRow("a pinned note survives a minute untouched") << true << false;
    }
    void anOpenNoteAndAClickElsewhereOrTheIdleLimit()
    {
        QFETCH(bool, pinned);
        QFETCH(bool, click);
        Deck d;
        if (pinned)
            d.notes.togglePin(d.a);
        d.open(d.a);
        if (click) {
            d.deck->activationLost();
            d.clock().advance(0);
        } else {
            d.clock().advance(Settings::noteIdleTimeout - 0.5);
            QCOMPARE(d.deck->state(), DeckState::expanded(d.a));
            d.clock().advance(1);
        }
        QCOMPARE(d.deck->state(), pinned ? DeckState::expanded(d.a) : DeckState::rest());
        QCOMPARE(d.window.key, pinned);
        QCOMPARE(d.window.monitored, pinned);
    }

    void altHeldWhileEnteringKeepsTheDeckAtRest()
    {
        Deck d;
        d.fanOut();
        d.leave();
        d.clock().advance(DeckController::exitGrace);
        QCOMPARE(d.clock().pendingCount(), 1); // the frame's shrink
        const int activations = d.coordinator.activations;
        d.pointer.setModifiers(Qt::AltModifier);
        d.fanOut();
        QCOMPARE(d.deck->state(), DeckState::rest());
        QCOMPARE(d.coordinator.activations, activations);
        QCOMPARE(d.clock().pendingCount(), 0);
    }

    void aNoteOpensAtOnceFromAfarAndGrowsUnderThePointer_data()
    {
        QTest::addColumn<bool>("fromTheEdge");
        QTest::newRow("opened by a hot key with the pointer away") << false;
        QTest::newRow("opened from the fan") << true;
    }
    void aNoteOpensAtOnceFromAfarAndGrowsUnderThePointer()
    {
        QFETCH(bool, fromTheEdge);
        Deck d;
        if (fromTheEdge)
            d.fanOut();
        d.deck->expand(d.a);
        QCOMPARE(d.window.currentFrame, d.wide());
        QVERIFY(d.window.key);
        QCOMPARE(d.model().state() == DeckState::expanded(d.a), !fromTheEdge);
        d.clock().advance(DeckController::growthDelay);
        QCOMPARE(d.model().state(), DeckState::expanded(d.a));
        QCOMPARE(d.window.changes.last(),
                 (FakeDeckWindow::Change{DeckState::expanded(d.a),
                                         fromTheEdge ? std::optional(DeckSprings::growing)
                                                     : std::nullopt}));
    }

    void switchingNotesKeepsTheFindBarAndTheMonitors()
    {
        Deck d;
        d.open(d.a);
        d.model().setFindQuery(u"milk"_s);
        d.model().setShowAll(true);
        d.open(d.b);
        QCOMPARE(d.deck->state(), DeckState::expanded(d.b));
        QCOMPARE(d.window.monitorInstalls, 1);
        QCOMPARE(d.model().findQuery(), std::optional(u"milk"_s));
        QVERIFY(d.model().showAll());
        d.deck->dismiss();
        QCOMPARE(d.model().findQuery(), std::nullopt);
        QVERIFY(!d.model().showAll());
        QVERIFY(!d.window.monitored);
    }

    void aDeckKeptShown()
    {
        Settings::setDeckAlwaysShown(true);
        Deck d;
        d.open(d.a);
        d.model().setFindQuery(QString());
        d.deck->dismiss();
        QCOMPARE(d.deck->state(), DeckState::fan());
        QCOMPARE(d.model().findQuery(), std::nullopt);
        d.clock().advance(DeckController::shrinkDelay);
        QCOMPARE(d.clock().pendingCount(), 0);
        d.deck->pointerExited();
        d.clock().advance(60);
        QCOMPARE(d.deck->state(), DeckState::fan());
    }

    void aNoteThatFloatsIsNotOpenedTwice()
    {
        Deck d;
        d.floating.floating = d.a;
        d.model().setOpenedHeight(123);
        d.deck->expand(d.a);
        QCOMPARE(d.deck->state(), DeckState::rest());
        QCOMPARE(d.model().openedHeight(), 123.0);
        QCOMPARE(d.floating.focused, 1);
        QVERIFY(!d.window.key);
    }

    void theKeysOfAnOpenNote_data()
    {
        QTest::addColumn<int>("command");
        QTest::addColumn<bool>("closes");
        QTest::addColumn<QString>("effect");
        using C = DeckKeys::Command;
        QTest::newRow("archive") << int(C::Archive) << true << u"archived"_s;
        QTest::newRow("delete") << int(C::Delete) << true << u"gone"_s;
        QTest::newRow("pin") << int(C::Pin) << false << u"pinned"_s;
        QTest::newRow("colour") << int(C::Colour) << false << u"recoloured"_s;
        QTest::newRow("bigger") << int(C::Bigger) << false << u"stepFontSize 1.5"_s;
        QTest::newRow("smaller") << int(C::Smaller) << false << u"stepFontSize -1.5"_s;
    }
    void theKeysOfAnOpenNote()
    {
        QFETCH(int, command);
        QFETCH(bool, closes);
        const DeckKeys::Shortcuts s = DeckKeys::current();
        const std::array keys{s.close, s.archive, s.remove, s.find,   s.task,
                              s.pin,   s.colour,  s.bigger, s.smaller};
        Deck d;
        d.open(d.a);
        const Note before = *d.notes.note(d.a);
        QVERIFY(d.deck->handleKeyPress(pressOf(keys[static_cast<size_t>(command)])));
        QCOMPARE(d.deck->state(), closes ? DeckState::fan() : DeckState::expanded(d.a));
        const std::optional<Note> n = d.notes.note(d.a);
        QTEST(!n                         ? u"gone"_s
              : n->archived              ? u"archived"_s
              : n->pinned                ? u"pinned"_s
              : n->color != before.color ? u"recoloured"_s
                                         : d.actions.calls.join(u','),
              "effect");
    }

    void theCloseKeyWithTheFindBarOpenClosesOnlyTheFindBar()
    {
        Deck d;
        d.open(d.a);
        const KeyPress close = pressOf(Settings::scClose());
        QVERIFY(d.deck->handleKeyPress(pressOf(Settings::scFind())));
        QVERIFY(d.deck->handleKeyPress(close));
        QCOMPARE(d.model().findQuery(), std::nullopt);
        QCOMPARE(d.deck->state(), DeckState::expanded(d.a));
        QVERIFY(d.deck->handleKeyPress(close));
        QCOMPARE(d.deck->state(), DeckState::fan());
        QVERIFY(!d.window.key);
    }

    void keysPassWhenTheyAreNotTheDecks_data()
    {
        QTest::addColumn<bool>("open");
        QTest::addColumn<bool>("key");
        QTest::addColumn<bool>("extraModifier");
        QTest::newRow("no note open") << false << true << false;
        QTest::newRow("the panel does not hold the keyboard") << true << false << false;
        QTest::newRow("a shortcut with a modifier too many") << true << true << true;
    }
    void keysPassWhenTheyAreNotTheDecks()
    {
        QFETCH(bool, open);
        QFETCH(bool, key);
        QFETCH(bool, extraModifier);
        Deck d;
        if (open)
            d.open(d.a);
        d.window.key = key;
        KeyPress press = pressOf(Settings::scPin());
        if (extraModifier)
            press.modifiers |= Qt::ShiftModifier;
        QVERIFY(!d.deck->handleKeyPress(press));
        QVERIFY(!d.notes.note(d.a)->pinned);
    }

    void theEarlierOfTwoEqualShortcutsWins()
    {
        DeckKeys::Shortcuts s = DeckKeys::current();
        s.find = s.close;
        s.smaller = s.pin;
        QCOMPARE(DeckKeys::commandFor(pressOf(s.close), s), DeckKeys::Command::Close);
        QCOMPARE(DeckKeys::commandFor(pressOf(s.pin), s), DeckKeys::Command::Pin);
        QCOMPARE(DeckKeys::commandFor(pressOf(s.smaller), s), DeckKeys::Command::Pin);
    }

    void pullingANoteOutFloatsItFromWhereItHung()
    {
        Deck d;
        const QSizeF s = Settings::floatingNoteSize();
        d.open(d.a);
        d.model().setOpenedTop(100);
        const QRectF panel = d.window.currentFrame;
        const QPointF p(panel.right() - 20, panel.bottom() - 150);
        d.deck->detachExpandedNote(p);
        QCOMPARE(d.model().detachingID(), std::optional(d.a));
        QCOMPARE(d.floating.floating, std::optional(d.a));
        QCOMPARE(d.floating.grabOffset, QPointF(s.width() - 20, s.height() + 100 - 150));
        d.deck->finishDetach();
        QCOMPARE(d.floating.ends, QList<bool>{false});
        QCOMPARE(d.model().detachingID(), std::nullopt);
        QCOMPARE(d.deck->state(), DeckState::fan());
    }

    void settingsChangesMoveTheRestingState_data()
    {
        QTest::addColumn<bool>("fanFirst");
        QTest::addColumn<bool>("alwaysShown");
        QTest::addColumn<QPointF>("pointerAt");
        QTest::addColumn<bool>("fanAfter");
        QTest::newRow("kept shown: a resting deck fans out") << false << true << away << true;
        QTest::newRow("no longer kept shown, pointer away: the fan folds")
            << true << false << away << false;
        QTest::newRow("no longer kept shown, pointer at the edge: the fan waits for it to go")
            << true << false << atEdge << true;
    }
    void settingsChangesMoveTheRestingState()
    {
        QFETCH(bool, fanFirst);
        QFETCH(bool, alwaysShown);
        QFETCH(QPointF, pointerAt);
        QFETCH(bool, fanAfter);
        Settings::setDeckAlwaysShown(fanFirst);
        Deck d;
        Settings::setDeckAlwaysShown(alwaysShown);
        d.pointer.setLocation(pointerAt);
        d.deck->applyRestingState();
        QCOMPARE(d.deck->state(), fanAfter ? DeckState::fan() : DeckState::rest());
        if (fanAfter && !alwaysShown) {
            d.pointer.setLocation(away);
            d.clock().advance(DeckController::idlePeriod);
            QCOMPARE(d.deck->state(), DeckState::rest());
        }
    }

    void thePillFollowsTheNumberOfNotes()
    {
        Deck d;
        const double before = d.window.currentFrame.height();
        d.notes.create(u"third"_s);
        QCOMPARE(d.window.currentFrame, d.rest());
        QVERIFY(d.window.currentFrame.height() > before);
    }

    void aDeckWithoutItsDisplayLeavesTheFrameAlone()
    {
        Deck d;
        d.displays.set({});
        const QRectF frame = d.window.currentFrame;
        d.fanOut();
        QCOMPARE(d.window.currentFrame, frame);
    }

    // The settings come in on request, once; the moment's state stays.
    void aModelSyncsItsPreferencesOnceAndKeepsTheMoment()
    {
        DeckModel model;
        model.setFindQuery(u"milk"_s);
        model.setOpenedHeight(200);
        Settings::setDeckAlwaysShown(true);
        Settings::setNoteSizeIndex(3);
        QSignalSpy changed(&model, &DeckModel::changed);
        model.syncPreferences();
        model.syncPreferences();
        QCOMPARE(changed.count(), 1);
        QVERIFY(model.alwaysShown());
        QCOMPARE(model.noteSize(), Settings::noteSize());
        QCOMPARE(model.findQuery(), std::optional(u"milk"_s));
        QCOMPARE(model.openedHeight(), 200.0);
    }
};

QTEST_GUILESS_MAIN(TestDeckController)
#include "tst_deckcontroller.moc"
