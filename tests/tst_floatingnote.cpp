#include "editor/ui/NoteTextView.h"
#include "platform/fallback/FixedCompositor.h"
#include "settings/Settings.h"
#include "support/FakeDisplays.h"
#include "support/FakePointer.h"
#include "support/InstalledSettings.h"
#include "support/RecordingDesktop.h"
#include "support/RecordingWindowHints.h"
#include "support/TestLibrary.h"
#include "surfaces/FloatingNote.h"
#include "surfaces/FloatingWindow.h"
#include "surfaces/ui/FloatingPanel.h"

#include <QAbstractButton>
#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPointer>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

struct FakeWindow final : FloatingWindow {
    QRectF at;
    bool shown = false;
    bool key = false;
    bool above = false;
    bool dismissed = false;
    std::optional<QRectF> tuckedTo;

    QRectF frame() const override { return at; }
    void setFrame(const QRectF& f) override { at = f; }
    void orderFront() override { shown = true; }
    void makeKeyAndOrderFront() override { shown = key = true; }
    bool isKey() const override { return key; }
    bool isShown() const override { return shown; }
    bool isAbove() const override { return above; }
    void setAbove(bool on) override { above = on; }
    void dismiss(std::optional<QRectF> target) override
    {
        dismissed = true;
        shown = key = false;
        tuckedTo = target;
    }
};

constexpr QRectF screenFrame(0, 0, 1920, 1080);

// Counts the Escape presses that reach the object it watches.
struct EscapeWatch final : QObject {
    int seen = 0;
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::KeyPress
            && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape)
            ++seen;
        return false;
    }
};

struct Floating {
    TestLibrary lib;
    NoteStore& notes = lib.open();
    FakePointer pointer;
    FakeDisplays displays{{FakeDisplays::make(1, screenFrame, true)}};
    std::vector<std::unique_ptr<FakeWindow>> windows;
    FloatingNote floating{notes, lib.clock, pointer, displays,
                          [this](FloatingNote&, const QString&) {
                              windows.push_back(std::make_unique<FakeWindow>());
                              windows.back()->at.setSize(Settings::floatingNoteSize());
                              return windows.back().get();
                          }};
    QString id = notes.create(u"Groceries"_s, QString()).id;

    Floating() { pointer.setLocation({10, 10}); }
    ~Floating()
    {
        for (auto& w : windows) {
            if (w.get() == floating.window())
                (void)w.release();
        }
    }
    FakeWindow& window() { return *windows.back(); }
    FakeWindow& dropped()
    {
        floating.present(id, {700, 400}, {20, 30});
        floating.dragTo({800, 500});
        floating.endDrag(false);
        return window();
    }
};

} // namespace

class TestFloatingNote : public QObject {
    Q_OBJECT

    InstalledSettings settings;

private Q_SLOTS:
    void initTestCase() { settings.install(); }
    void init()
    {
        settings.defaults.values.clear();
        Settings::setFloatingNoteSize({400, 300});
    }

    void thePulledNoteFollowsThePointerAndStays()
    {
        Floating f;
        f.floating.present(f.id, {700, 400}, {20, 30});
        FakeWindow& w = f.window();
        QCOMPARE(w.at, QRectF(680, 370, 400, 300));
        QVERIFY(w.shown && !w.key);
        f.floating.dragTo({800, 500});
        QCOMPARE(w.at.topLeft(), QPointF(780, 470));
        QVERIFY(!Settings::floatingNotePlace());
        f.floating.endDrag(false);
        QVERIFY(w.key);
        QCOMPARE(Settings::floatingNotePlace(), (Settings::FloatingPlace{f.id, {780, 470}}));
    }

    void aCancelledPullLeavesNothingAfloat()
    {
        Floating f;
        f.floating.present(f.id, {700, 400}, {20, 30});
        f.floating.endDrag(true);
        QVERIFY(f.window().dismissed);
        QVERIFY(!f.floating.noteID());
        QVERIFY(!Settings::floatingNotePlace());
        QCOMPARE(f.lib.clock.pendingCount(), 0);
    }

    void theIdleWatch_data()
    {
        QTest::addColumn<QString>("situation");
        QTest::addColumn<double>("after");
        QTest::addColumn<bool>("tucked");
        QTest::newRow("left alone, within it") << u"alone"_s << 58.0 << false;
        QTest::newRow("pinned") << u"pinned"_s << 600.0 << false;
        QTest::newRow("holding the keyboard") << u"key"_s << 600.0 << false;
        QTest::newRow("pointer 8 from it") << u"near"_s << 600.0 << false;
        QTest::newRow("pointer 9 from it") << u"beyond"_s << 62.0 << true;
        QTest::newRow("archived elsewhere, at the next tick") << u"archived"_s << 2.0 << true;
        QTest::newRow("deleted elsewhere, at the next tick") << u"deleted"_s << 2.0 << true;
    }
    void theIdleWatch()
    {
        QFETCH(QString, situation);
        QFETCH(double, after);
        QFETCH(bool, tucked);
        Floating f;
        FakeWindow& w = f.dropped();
        w.key = situation == u"key"_s;
        if (situation == u"pinned"_s)
            f.notes.togglePin(f.id);
        if (situation == u"near"_s || situation == u"beyond"_s)
            f.pointer.setLocation(w.at.topRight() + QPointF(situation == u"near"_s ? 8 : 9, 0));
        if (situation == u"archived"_s)
            f.notes.setArchived(f.id, true);
        if (situation == u"deleted"_s)
            f.notes.deleteNote(f.id);
        f.lib.clock.advance(after);
        QCOMPARE(w.dismissed, tucked);
        QCOMPARE(f.floating.noteID().has_value(), !tucked);
        QCOMPARE(Settings::floatingNotePlace().has_value(), !tucked);
        if (tucked)
            QVERIFY(w.tuckedTo);
    }

    void aPinnedNoteFloatsAboveAndFocusLiftsForAMoment()
    {
        Floating f;
        FakeWindow& w = f.dropped();
        QVERIFY(!w.above);
        f.floating.togglePin();
        QVERIFY(f.notes.note(f.id)->pinned);
        QVERIFY(w.above);
        f.floating.togglePin();
        QVERIFY(!w.above);
        f.floating.focus();
        QVERIFY(w.above && w.key);
        f.lib.clock.advance(0.5);
        QVERIFY(!w.above);
    }

    void presentingAnotherNoteTucksTheFirstAtOnce()
    {
        Floating f;
        FakeWindow& first = f.dropped();
        const QString other = f.notes.create(u"Other"_s, QString()).id;
        f.floating.present(other, {100, 100}, {0, 0});
        QVERIFY(first.dismissed);
        QVERIFY(!first.tuckedTo);
        QCOMPARE(f.floating.noteID(), std::optional<QString>(other));
    }

    void escapeTucksTowardsTheDecksEdge_data()
    {
        QTest::addColumn<bool>("leftEdge");
        QTest::addColumn<double>("x");
        QTest::newRow("right edge: 8 stay on the screen") << false << 1920.0 - 8;
        QTest::newRow("left edge: 8 stay on the screen") << true << -400.0 + 8;
    }
    void escapeTucksTowardsTheDecksEdge()
    {
        QFETCH(bool, leftEdge);
        QFETCH(double, x);
        Settings::setDeckOnLeftEdge(leftEdge);
        Floating f;
        FakeWindow& w = f.dropped();
        QVERIFY(!f.floating.keyPressed(Qt::Key_A));
        QVERIFY(f.floating.keyPressed(Qt::Key_Escape));
        QVERIFY(w.dismissed);
        QCOMPARE(*w.tuckedTo, QRectF(x, 470, 400, 300));
        // Gone: later keys are not the floating note's.
        QVERIFY(!f.floating.keyPressed(Qt::Key_Escape));
    }

    void theNoteComesBackWhereItStood_data()
    {
        QTest::addColumn<QPointF>("origin");
        QTest::addColumn<bool>("archived");
        QTest::addColumn<bool>("floats");
        QTest::addColumn<QPointF>("shownAt");
        QTest::newRow("where it stood") << QPointF(300, 200) << false << true << QPointF(300, 200);
        QTest::newRow("its note archived meanwhile")
            << QPointF(300, 200) << true << false << QPointF();
        QTest::newRow("its display gone: the main one's middle")
            << QPointF(2500, 200) << false << true << QPointF(760, 390);
    }
    void theNoteComesBackWhereItStood()
    {
        QFETCH(QPointF, origin);
        QFETCH(bool, archived);
        QFETCH(bool, floats);
        QFETCH(QPointF, shownAt);
        Floating f;
        f.notes.setArchived(f.id, archived);
        Settings::setFloatingNotePlace(Settings::FloatingPlace{f.id, origin});
        f.floating.restore();
        QCOMPARE(f.floating.noteID().has_value(), floats);
        QCOMPARE(Settings::floatingNotePlace().has_value(), floats);
        if (!floats)
            return;
        QCOMPARE(f.window().at.topLeft(), shownAt);
        // Back on the screen, but the keyboard stays where the person is.
        QVERIFY(f.window().shown && !f.window().key);
    }

    void theWindowSavesTypingAndEscapeDoesNotReachTheText()
    {
        Panel p;
        QTest::keyClicks(p.window->textView(), u" and eggs"_s);
        EscapeWatch watch;
        p.window->textView()->installEventFilter(&watch);
        QTest::keyClick(p.window->textView(), Qt::Key_Escape);
        QCOMPARE(watch.seen, 0);
        // Tucked at once, and the words are saved without waiting for the save delay.
        QVERIFY(!p.floating.noteID());
        QCOMPARE(p.lib.storedNote(p.id)->body, u"Milk and eggs"_s);
        QTRY_VERIFY(p.window.isNull());
    }

    void theHeaderMovesTheWindowAndTheRimResizesIt()
    {
        Panel p;
        FloatingPanel* w = p.window;
        const QPoint start = w->pos();
        QWidget* header = w->header();
        p.drag(header, QPoint(40, 10), {QPoint(140, 60), QPoint(240, 110)});
        QCOMPARE(w->pos(), start + QPoint(200, 100));
        QCOMPARE(Settings::floatingNotePlace()->origin, w->frame().topLeft());
        // The bottom right corner, beyond the least size on one axis and short of it on the
        // other; the size is kept only when the pull ends.
        const QPoint corner = w->paperRect().bottomRight().toPoint() - QPoint(1, 1);
        QList<QPoint> steps{corner + QPoint(60, -50), corner + QPoint(60, -500)};
        p.drag(w, corner, steps, [&] { QCOMPARE(Settings::floatingNoteSize(), QSizeF(400, 300)); });
        QCOMPARE(w->frame().size(), QSizeF(460, 220));
        QCOMPARE(Settings::floatingNoteSize(), QSizeF(460, 220));
        // Far past the least size from the top left: the opposite corner stays put.
        const QPointF bottomRight = w->mapToGlobal(w->paperRect().bottomRight());
        const QPoint topLeft = w->paperRect().topLeft().toPoint() + QPoint(1, 1);
        p.drag(w, topLeft, {topLeft + QPoint(900, 900)});
        QCOMPARE(w->frame().size(), QSizeF(280, 220));
        QCOMPARE(w->mapToGlobal(w->paperRect().bottomRight()), bottomRight);
    }

    void theCloseButtonSavesAndThePinLiftsTheWindow()
    {
        Panel p;
        p.window->findChild<QAbstractButton*>(u"pin"_s)->click();
        QVERIFY(p.notes.note(p.id)->pinned);
        QVERIFY(p.window->isAbove());
        QTest::keyClicks(p.window->textView(), u"!"_s);
        p.window->findChild<QAbstractButton*>(u"close"_s)->click();
        QCOMPARE(p.lib.storedNote(p.id)->body, u"Milk!"_s);
        QVERIFY(!p.floating.noteID());
        QTRY_VERIFY(p.window.isNull());
    }

private:
    // The real window on the offscreen platform, its note dropped and holding the keyboard.
    struct Panel {
        TestLibrary lib;
        NoteStore& notes = lib.open();
        FakePointer pointer;
        FakeDisplays displays{{FakeDisplays::make(1, screenFrame, true)}};
        RecordingDesktop desktop;
        RecordingWindowHints hints;
        FixedCompositor compositor{true};
        QPointer<FloatingPanel> window;
        FloatingNote floating{
            notes, lib.clock, pointer, displays, [this](FloatingNote& owner, const QString& id) {
                window =
                    new FloatingPanel(owner, id,
                                      FloatingPanel::Parts{notes, lib.clock, desktop, lib.images,
                                                           hints, compositor, nullptr});
                return window.data();
            }};
        QString id = notes.create(u"Milk"_s, QString()).id;
        Panel()
        {
            floating.present(id, {500, 500}, {10, 10});
            floating.endDrag(false);
            QApplication::setActiveWindow(window);
            window->textView()->setFocus();
            window->textView()->moveCursor(QTextCursor::End);
        }
        // A press at from in widget, moves through steps, a release; check runs before it.
        void drag(QWidget* widget, QPoint from, const QList<QPoint>& steps,
                  const std::function<void()>& check = {})
        {
            // The hand moves on the screen, whatever the window does under it.
            const QPoint origin = widget->mapToGlobal(QPoint(0, 0));
            const auto send = [&](QEvent::Type type, QPoint local, Qt::MouseButtons held) {
                const QPoint global = origin + local;
                QMouseEvent event(type, QPointF(widget->mapFromGlobal(global)), QPointF(global),
                                  Qt::LeftButton, held, Qt::NoModifier);
                QApplication::sendEvent(widget, &event);
            };
            send(QEvent::MouseButtonPress, from, Qt::LeftButton);
            for (const QPoint& step : steps)
                send(QEvent::MouseMove, step, Qt::LeftButton);
            if (check)
                check();
            send(QEvent::MouseButtonRelease, steps.last(), Qt::NoButton);
        }
    };
};

QTEST_MAIN(TestFloatingNote)
#include "tst_floatingnote.moc"
