#include "deck/FanColumnState.h"
#include "deck/Motion.h"
#include "settings/Settings.h"
#include "support/DeckRig.h"
#include "support/MemoryDefaults.h"
#include "support/MemoryLoginItem.h"

#include <QStandardPaths>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using Moving = FanColumnState::PreviewMotion;

namespace {

constexpr double pitch = 40;

// A deck with five notes, fanned out by the pointer unless asked not to be.
struct Fan : DeckRig {
    FanColumnState column{deck, notes, lib.clock};

    explicit Fan(bool fanned = true)
    {
        for (int i = 0; i < 5; ++i)
            notes.create(QString::number(i));
        if (fanned)
            fanOut();
    }
    void advance(double seconds) { lib.clock.advance(seconds); }
    QStringList ids() const
    {
        QStringList out;
        for (const Note& n : notes.active())
            out.append(n.id);
        return out;
    }
    QString id(int i) const { return ids().at(i); }
};

} // namespace

class TestFanColumn : public QObject {
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

    void aMotionHoldsThroughItsDelayThenSettlesExactlyOnItsTarget_data()
    {
        QTest::addColumn<Curve>("curve");
        QTest::addColumn<bool>("overshoots");
        QTest::addColumn<double>("quarter");
        QTest::newRow("underdamped spring") << Curve::spring(0.34, 0.84) << true << 0.0;
        QTest::newRow("critically damped spring") << Curve::spring(0.3, 1) << false << 0.0;
        QTest::newRow("overdamped spring") << Curve::spring(0.3, 1.6) << false << 0.0;
        QTest::newRow("ease-in-out") << Curve::easeInOut(0.2) << false << 0.129161931;
        QTest::newRow("ease-out") << Curve::easeOut(0.12) << false << 0.378138131;
    }
    void aMotionHoldsThroughItsDelayThenSettlesExactlyOnItsTarget()
    {
        QFETCH(Curve, curve);
        QFETCH(bool, overshoots);
        QFETCH(double, quarter);
        const double delay = 0.1;
        const double from = 10;
        const double to = 110;
        Animated a(from);
        a.animateTo(to, curve.delayed(delay), 0);
        QCOMPARE(a.value(delay / 2), from);
        QCOMPARE(a.velocity(delay / 2), 0.0);
        if (curve.kind == Curve::Kind::Spring)
            QVERIFY(std::abs(a.velocity(delay)) < 1e-6); // sets off from rest, with no jolt
        else
            QVERIFY(std::abs(a.value(delay + curve.duration / 4) - (from + 100 * quarter)) < 1e-4);
        double highest = from;
        double settledAt = -1;
        double before = from;
        for (int ms = 0; ms < 3000 && settledAt < 0; ++ms) {
            const double t = delay + ms / 1000.0;
            highest = std::max(highest, a.value(t));
            if (a.settled(t))
                settledAt = t;
            else
                before = a.value(t);
        }
        QVERIFY2(settledAt > 0, "never settled");
        QCOMPARE(highest > to + 0.5, overshoots);
        // Settling snaps to the target only once nothing visible is left of the motion.
        QVERIFY2(std::abs(before - to) <= 0.12, qPrintable(QString::number(before - to)));
        QCOMPARE(a.value(settledAt), to);
        QCOMPARE(a.velocity(settledAt), 0.0);
        if (curve.kind != Curve::Kind::Spring)
            QVERIFY(std::abs(settledAt - delay - curve.duration) < 0.0015);
    }

    void aNewTargetTakesOverWithoutAJump_data()
    {
        QTest::addColumn<Curve>("first");
        QTest::addColumn<Curve>("second");
        QTest::newRow("a timed curve taken over by a spring")
            << Curve::easeInOut(0.3) << Curve::spring(0.22, 0.85);
        QTest::newRow("a spring taken over by a timed curve")
            << Curve::spring(0.3, 0.8) << Curve::easeOut(0.1);
    }
    void aNewTargetTakesOverWithoutAJump()
    {
        QFETCH(Curve, first);
        QFETCH(Curve, second);
        Animated a(0);
        a.animateTo(100, first, 0);
        const double now = 0.08;
        const double value = a.value(now);
        const double velocity = a.velocity(now);
        QVERIFY(value > 5 && velocity > 100);
        a.animateTo(-50, second, now);
        QCOMPARE(a.value(now), value);
        // A spring carries the motion on; a timed curve starts afresh from where it stands.
        if (second.kind == Curve::Kind::Spring) {
            QCOMPARE(a.velocity(now), velocity);
            QVERIFY(a.value(now + 0.005) > value);
        }
        QVERIFY(!a.settled(now + 0.05));
        QCOMPARE(a.value(now + 3), -50.0);
    }

    void theDropTargetNeedsSixTenthsOfAPitch_data()
    {
        QTest::addColumn<int>("from");
        QTest::addColumn<double>("dy");
        QTest::addColumn<double>("pitchUsed");
        QTest::addColumn<int>("expected");
        QTest::newRow("0.59 pitch down stays") << 1 << 0.59 * pitch << pitch << 1;
        QTest::newRow("0.6 pitch down moves") << 1 << 0.6 * pitch << pitch << 2;
        QTest::newRow("0.59 pitch up stays") << 2 << -0.59 * pitch << pitch << 2;
        QTest::newRow("0.6 pitch up moves") << 2 << -0.6 * pitch << pitch << 1;
        QTest::newRow("past the last") << 3 << 9 * pitch << pitch << 4;
        QTest::newRow("past the first") << 1 << -9 * pitch << pitch << 0;
        QTest::newRow("a pitch below 1 counts points") << 0 << 1.6 << 0.5 << 2;
    }
    void theDropTargetNeedsSixTenthsOfAPitch()
    {
        QFETCH(int, from);
        QFETCH(double, dy);
        QFETCH(double, pitchUsed);
        QFETCH(int, expected);
        QCOMPARE(FanColumnState::target(from, dy, pitchUsed, 5), expected);
    }

    void aDraggedTabMakesRoomAndLandsOnItsTarget_data()
    {
        QTest::addColumn<int>("from");
        QTest::addColumn<double>("pitches");
        QTest::addColumn<QList<int>>("offsets"); // in pitches, for each tab
        QTest::addColumn<QList<int>>("order");   // original indices after the drop
        QTest::newRow("two down") << 1 << 1.7 << QList<int>{0, 0, -1, -1, 0}
                                  << QList<int>{0, 2, 3, 1, 4};
        QTest::newRow("two up") << 3 << -1.7 << QList<int>{0, 1, 1, 0, 0}
                                << QList<int>{0, 3, 1, 2, 4};
        QTest::newRow("ending on its start")
            << 2 << 0.5 << QList<int>{0, 0, 0, 0, 0} << QList<int>{0, 1, 2, 3, 4};
    }
    void aDraggedTabMakesRoomAndLandsOnItsTarget()
    {
        QFETCH(int, from);
        QFETCH(double, pitches);
        QFETCH(QList<int>, offsets);
        QFETCH(QList<int>, order);
        Fan f;
        const QList<Note> notes = f.notes.active();
        const QStringList before = f.ids();
        f.column.dragChanged(notes, from, 0.3 * pitch, pitch);
        f.column.dragChanged(notes, from, pitches * pitch, pitch);
        QCOMPARE(f.column.dragID(), notes.at(from).id);
        QVERIFY(f.deck.model().isDragging());
        for (int i = 0; i < notes.size(); ++i)
            QCOMPARE(f.column.neighbourOffset(notes, i, pitch), offsets.at(i) * pitch);
        f.column.dragEnded(notes, from, pitches * pitch, pitch);
        QVERIFY(!f.column.dragID() && !f.deck.model().isDragging());
        QStringList expected;
        for (int i : order)
            expected.append(before.at(i));
        QCOMPARE(f.ids(), expected);
    }

    void hoveringOpensANoteOrShowsItsCard_data()
    {
        QTest::addColumn<bool>("openOnHover");
        QTest::addColumn<bool>("tabPreview");
        QTest::addColumn<bool>("clickFirst");
        QTest::newRow("open on hover") << true << false << false;
        QTest::newRow("open on hover leaves no room for a card") << true << true << false;
        QTest::newRow("a click first keeps the note open") << true << false << true;
        QTest::newRow("a card alone") << false << true << false;
    }
    void hoveringOpensANoteOrShowsItsCard()
    {
        QFETCH(bool, openOnHover);
        QFETCH(bool, tabPreview);
        QFETCH(bool, clickFirst);
        Settings::setOpenOnHover(openOnHover);
        Settings::setTabPreview(tabPreview);
        Fan f;
        const QString a = f.id(1);
        f.column.handleHover(a, true);
        if (clickFirst)
            f.column.open(a);
        const int keyRequests = f.window.keyRequests;
        const bool cardExpected = tabPreview && !openOnHover;
        f.advance(Settings::tabPreviewDelay - 0.01);
        QVERIFY(!f.column.previewNoteID());
        f.advance(0.02);
        QCOMPARE(f.column.previewNoteID(), cardExpected ? std::optional(a) : std::nullopt);
        const DeckState before = clickFirst ? DeckState::expanded(a) : DeckState::fan();
        f.advance(Settings::openOnHoverDelay - Settings::tabPreviewDelay - 0.02);
        QCOMPARE(f.deck.state(), before);
        f.advance(0.02);
        QCOMPARE(f.deck.state(), openOnHover ? DeckState::expanded(a) : DeckState::fan());
        QCOMPARE(f.window.keyRequests, keyRequests + (openOnHover && !clickFirst ? 1 : 0));
    }

    void theCardFollowsThePointerAndWaitsBeforeLeaving()
    {
        Settings::setTabPreview(true);
        Fan f;
        QList<Moving> moves;
        connect(&f.column, &FanColumnState::previewMoving, this,
                [&](Moving how) { moves.append(how); });
        const QString a = f.id(0);
        const QString b = f.id(1);
        f.column.handleHover(a, true);
        f.advance(0.2);
        QCOMPARE(f.column.previewNoteID(), a);
        QCOMPARE(f.column.activePreviewNote(f.notes.active())->id, a);
        f.column.handleHover(a, false);
        f.advance(FanColumnState::previewGrace - 0.02);
        f.column.handleHover(a, true);
        f.advance(0.5);
        QCOMPARE(f.column.previewNoteID(), a);
        // From the card to the next tab: the card goes straight there.
        f.column.handleHover(a, false);
        f.column.handleHover(b, true);
        QCOMPARE(f.column.previewNoteID(), b);
        QCOMPARE(f.column.previewIndex(f.notes.active()), 1);
        f.column.handleHover(b, false);
        f.advance(FanColumnState::previewGrace - 0.01);
        QCOMPARE(f.column.previewNoteID(), b);
        f.advance(0.02);
        QVERIFY(!f.column.previewNoteID());
        QCOMPARE(moves, (QList<Moving>{Moving::SpringIn, Moving::Slide, Moving::FadeOut}));
    }

    void theRevealReplaysEachTimeTheFanOpensOutOfThePill()
    {
        Fan f(false);
        QList<bool> seen;
        connect(&f.column, &FanColumnState::changed, this,
                [&] { seen.append(f.column.appeared()); });
        for (int round = 0; round < 2; ++round) {
            f.fanOut();
            QVERIFY(!f.column.appeared());
            f.advance(0);
            QVERIFY(f.column.isRevealed());
            // Opening a note and closing it back to the fan does not replay the reveal.
            f.column.open(f.id(0));
            f.advance(0.1);
            f.column.open(f.id(0));
            f.advance(0.1);
            QCOMPARE(f.deck.state(), DeckState::fan());
            QVERIFY(f.column.appeared());
            f.deck.dismiss();
            QVERIFY(!f.column.appeared() && !f.column.isRevealed());
            f.advance(1);
        }
        QCOMPARE(seen, (QList<bool>{true, false, true, false}));
    }
};

QTEST_GUILESS_MAIN(TestFanColumn)
#include "tst_fancolumn.moc"
