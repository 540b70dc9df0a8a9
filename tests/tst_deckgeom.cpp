#include "deck/DeckGeom.h"
#include "notes/Ink.h"
#include "settings/Settings.h"
#include "support/MemoryDefaults.h"
#include "support/MemoryLoginItem.h"
#include "support/TableFonts.h"

#include <QFontMetricsF>
#include <QTest>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

// A display as the deck sees it: its whole frame and the part panels and docks leave free.
struct Screen {
    QRectF frame;
    QRectF visibleFrame;
};

// A laptop screen with a dock 70 high along its bottom and a menu panel 28 high along its top.
const Screen bottomDock{{0, 0, 1920, 1080}, {0, 70, 1920, 982}};
// A second screen to its right, with a dock 60 wide down its right side and a panel 25 high
// along its top.
const Screen sideDock{{1920, 0, 1440, 900}, {1920, 0, 1380, 875}};

// The preferences the deck's lengths read, as a row sets them.
struct Prefs {
    double scale = 1.0;
    bool onLeft = false;
    double yRatio = 0.5;
    double edgeWidth = 14;
    int noteSizeIndex = 1;
};

} // namespace

Q_DECLARE_METATYPE(Prefs)
Q_DECLARE_METATYPE(Screen)

class TestDeckGeom : public QObject {
    Q_OBJECT

    std::unique_ptr<MemoryDefaults> defaults;
    MemoryLoginItem loginItem;
    TableFonts fonts;

    void apply(const Prefs& p)
    {
        Settings::setDeckScale(p.scale);
        Settings::setDeckOnLeftEdge(p.onLeft);
        Settings::setDeckYRatio(p.yRatio);
        Settings::setEdgeWidth(p.edgeWidth);
        Settings::setNoteSizeIndex(p.noteSizeIndex);
    }

    static Prefs at(double scale)
    {
        Prefs p;
        p.scale = scale;
        return p;
    }

private Q_SLOTS:
    // A fresh store for each row, which also drops the settings' memory caches.
    void init()
    {
        defaults = std::make_unique<MemoryDefaults>();
        Settings::install(*defaults, loginItem);
        Ink::install(fonts);
    }

    // Each scaled length is rounded by itself, halves away from zero, before it is added to
    // another; a single rounding of the sum, or rounding halves to even, moves these figures.
    void scaledLengthsRoundOneByOne_data()
    {
        QTest::addColumn<double>("scale");
        QTest::addColumn<double>("actions");
        QTest::addColumn<double>("pillOfThree");

        // 14 + 32 + 9 + 27, where a rounded 72 × 1.125 would give 81.
        QTest::newRow("at 1.125 the buttons take 82 and the pads round 7.875 to 8")
            << 1.125 << 82.0 << 2 * 8 + 3 * 16 + 2 * 6.0;
        // 11 + 25 + 7 + 21; the pad of 6.125 rounds to 6.
        QTest::newRow("at 0.875 the buttons take 64, not a rounded 63")
            << 0.875 << 64.0 << 2 * 6 + 3 * 12 + 2 * 4.0;
        // Pads of 10.5 give 11 and gaps of 7.5 give 8: halves away from zero, not to even.
        QTest::newRow("at 1.5 the pads round 10.5 up to 11")
            << 1.5 << 18 + 42 + 12 + 36.0 << 2 * 11 + 3 * 21 + 2 * 8.0;
    }
    void scaledLengthsRoundOneByOne()
    {
        QFETCH(double, scale);
        QFETCH(double, actions);
        QFETCH(double, pillOfThree);
        apply(at(scale));

        const DeckLayout with = DeckGeom::layout(1000, 1, false, DeckStyle::Compact, 0, true);
        const DeckLayout without = DeckGeom::layout(1000, 1, false, DeckStyle::Compact, 0, false);
        QCOMPARE(with.stackHeight() - without.stackHeight(), actions);
        QCOMPARE(DeckGeom::pillHeight(3), pillOfThree);
    }

    void layoutFigures_data()
    {
        QTest::addColumn<double>("scale");
        QTest::addColumn<double>("panelHeight");
        QTest::addColumn<int>("count");
        QTest::addColumn<bool>("hasMore");
        QTest::addColumn<DeckStyle>("style");
        QTest::addColumn<double>("longestLabel");
        QTest::addColumn<bool>("showsActions");
        QTest::addColumn<int>("slots");
        QTest::addColumn<double>("pitch");
        QTest::addColumn<double>("moreGap");
        QTest::addColumn<double>("moreHeight");
        QTest::addColumn<double>("stackHeight");

        const DeckStyle tabs = DeckStyle::Tabs;
        const DeckStyle compact = DeckStyle::Compact;
        // 4 × 56 + 96 + 12 + 28 + 8 + 24.
        QTest::newRow("five short labels at 1.0 stand 392 high")
            << 1.0 << 1000.0 << 5 << false << tabs << 10.0 << true << 5 << 56.0 << 7.0 << 34.0
            << 392.0;
        QTest::newRow("a label between the bounds sets the pitch: 20 more than the label")
            << 1.0 << 1000.0 << 2 << false << tabs << 60.0 << false << 2 << 80.0 << 7.0 << 34.0
            << 200.0;
        QTest::newRow("a very long label stops the pitch at 106")
            << 1.0 << 1000.0 << 3 << false << tabs << 500.0 << false << 3 << 106.0 << 7.0 << 34.0
            << 358.0;
        // Budget 0.68 × 400 − (34 + 7) = 231; 5 × 56 + 40 = 320 is over it; (231 − 40) / 5.
        QTest::newRow("five tabs and More in a 400 panel compress to a pitch of 38.2")
            << 1.0 << 400.0 << 5 << true << tabs << 10.0 << true << 5 << 38.2 << 7.0 << 34.0
            << 4 * 38.2 + 78.2 + 41 + 72;
        QTest::newRow("the More tab's room is not taken from a fan that has none")
            << 1.0 << 400.0 << 5 << false << tabs << 10.0 << false << 5 << 46.4 << 7.0 << 34.0
            << 4 * 46.4 + 86.4;
        QTest::newRow("compression stops at the floor of 36 and the column outgrows the panel")
            << 1.0 << 200.0 << 5 << false << tabs << 10.0 << false << 5 << 36.0 << 7.0 << 34.0
            << 220.0;
        // 4 × 70 + 120 + 15 + 35 + 10 + 30.
        QTest::newRow("five short labels at 1.25, the last tab's lap scaled too")
            << 1.25 << 1000.0 << 5 << false << tabs << 10.0 << true << 5 << 70.0 << 9.0 << 43.0
            << 490.0;
        QTest::newRow("compact chips at 1.5 keep the More chip at 22 while its gap is 9")
            << 1.5 << 1000.0 << 5 << true << compact << 10.0 << false << 5 << 45.0 << 9.0 << 22.0
            << 4 * 45 + 36 + 9 + 22.0;
        QTest::newRow("compact chips ignore the label and the height budget")
            << 1.0 << 100.0 << 5 << false << compact << 300.0 << false << 5 << 30.0 << 6.0 << 22.0
            << 4 * 30 + 24.0;
        QTest::newRow("no notes lay out one slot") << 1.0 << 1000.0 << 0 << false << tabs << 0.0
                                                   << true << 1 << 56.0 << 7.0 << 34.0 << 96 + 72.0;
    }
    void layoutFigures()
    {
        QFETCH(double, scale);
        QFETCH(double, panelHeight);
        QFETCH(int, count);
        QFETCH(bool, hasMore);
        QFETCH(DeckStyle, style);
        QFETCH(double, longestLabel);
        QFETCH(bool, showsActions);
        apply(at(scale));

        const DeckLayout l =
            DeckGeom::layout(panelHeight, count, hasMore, style, longestLabel, showsActions);
        QTEST(l.count, "slots");
        QTEST(l.pitch, "pitch");
        QTEST(l.moreGap, "moreGap");
        QTEST(l.moreHeight, "moreHeight");
        QTEST(l.stackHeight(), "stackHeight");
    }

    // Where the column stands and where each tab's visible part has its middle, which is
    // where a note opens and where the pointer finds the tab.
    void layoutPlacesTheColumn_data()
    {
        QTest::addColumn<double>("panelHeight");
        QTest::addColumn<bool>("hasMore");
        QTest::addColumn<double>("top");
        QTest::addColumn<QList<double>>("centers");
        QTest::addColumn<double>("cap");
        QTest::addColumn<bool>("overflows");

        // Stack 392: top (1000 − 392) / 2; only the last tab shows its whole 96.
        QTest::newRow("five tabs centred in a tall panel, the last showing whole")
            << 1000.0 << false << 304.0 << QList<double>{332, 388, 444, 500, 576} << 924.0 << false;
        // Stack 4 × 38.2 + 78.2 + 41 + 72 = 344.
        QTest::newRow("compressed tabs with More in a 400 panel")
            << 400.0 << true << 28.0 << QList<double>{47.1, 85.3, 123.5, 161.7, 219.9} << 324.0
            << true;
        // Stack 4 × 36 + 76 + 72 = 292 in 200: the column keeps 12 from the top and scrolls.
        QTest::newRow("a column taller than its panel starts 12 from the top")
            << 200.0 << false << 12.0 << QList<double>{30, 66, 102, 138, 194} << 140.0 << true;
    }
    void layoutPlacesTheColumn()
    {
        QFETCH(double, panelHeight);
        QFETCH(bool, hasMore);
        QFETCH(QList<double>, centers);

        const DeckLayout l = DeckGeom::layout(panelHeight, 5, hasMore, DeckStyle::Tabs, 10, true);
        QTEST(l.top(), "top");
        for (int i = 0; i < centers.size(); ++i)
            QCOMPARE(l.center(i), centers[i]);
        QTEST(l.cap(), "cap");
        QTEST(l.overflows(), "overflows");
    }

    void pillHeights_data()
    {
        QTest::addColumn<double>("scale");
        QTest::addColumn<int>("notes");
        QTest::addColumn<double>("height");

        QTest::newRow("no notes draw one dash, as one note does") << 1.0 << 0 << 28.0;
        QTest::newRow("fourteen notes, fourteen dashes") << 1.0 << 14 << 14 + 14 * 14 + 13 * 5.0;
        QTest::newRow("fifteen notes, one dash and gap more than fourteen")
            << 1.0 << 15 << 14 + 15 * 14 + 14 * 5.0;
        QTest::newRow("five hundred notes, no more than fifteen")
            << 1.0 << 500 << 14 + 15 * 14 + 14 * 5.0;
    }
    void pillHeights()
    {
        QFETCH(double, scale);
        QFETCH(int, notes);
        apply(at(scale));
        QTEST(DeckGeom::pillHeight(notes), "height");
    }

    void panelFrames_data()
    {
        QTest::addColumn<Prefs>("prefs");
        QTest::addColumn<Screen>("display");
        QTest::addColumn<DeckState>("state");
        QTest::addColumn<int>("activeNotes");
        QTest::addColumn<QRectF>("frame");

        const DeckState rest = DeckState::rest();
        const DeckState fan = DeckState::fan();
        const DeckState open = DeckState::expanded(u"A1"_s);

        // The pill of five notes is 104 high; mid-way is 70 + 0.5 × (982 − 104) = 509.
        QTest::newRow("rest on the right sits mid-way up the space above the dock")
            << Prefs{1, false, 0.5, 14, 1} << bottomDock << rest << 5 << QRectF(1906, 509, 14, 104);
        QTest::newRow("rest on the left touches the screen's left edge")
            << Prefs{1, true, 0.5, 14, 1} << bottomDock << rest << 5 << QRectF(0, 509, 14, 104);
        QTest::newRow("rest at the bottom stands on the dock, not under it")
            << Prefs{1, false, 0, 14, 1} << bottomDock << rest << 5 << QRectF(1906, 70, 14, 104);
        // 70 + 0.25 × 878 = 289.5.
        QTest::newRow("rest's y is rounded, halves away from zero")
            << Prefs{1, false, 0.25, 14, 1} << bottomDock << rest << 5
            << QRectF(1906, 290, 14, 104);
        QTest::newRow("rest with no notes is a one-dash pill")
            << Prefs{1, false, 0.5, 44, 1} << bottomDock << rest << 0 << QRectF(1876, 547, 44, 28);
        // The side dock takes the right of the screen, yet the pill hangs on the screen's own
        // edge; 12 × 1.5 + 2 = 20 is wider than the edge's 14. Pill: 22 + 3 × 21 + 2 × 8.
        QTest::newRow("rest at 1.5 hangs on the screen's edge past a side dock")
            << Prefs{1.5, false, 0.5, 14, 1} << sideDock << rest << 3 << QRectF(3340, 387, 20, 101);
        // 12 × 1.8 rounds to 22, so the pill is 24 wide; 70 + 0.5 × (982 − 51) = 535.5.
        QTest::newRow("rest at 1.8 never narrower than the plus gap and 2, even at edge 8")
            << Prefs{1.8, false, 0.5, 8, 1} << bottomDock << rest << 1 << QRectF(1896, 536, 24, 51);
        QTest::newRow("rest on the left of the second screen starts at its own left")
            << Prefs{1.5, true, 0, 14, 1} << sideDock << rest << 3 << QRectF(1920, 0, 20, 101);

        // The medium note (460) and 22: 482 wide, the visible frame's height.
        QTest::newRow("fan on the right spans the space between dock and panel")
            << Prefs{1, false, 0.5, 14, 1} << bottomDock << fan << 5 << QRectF(1438, 70, 482, 982);
        QTest::newRow("fan at 1.5 with the huge note on the right of a side dock")
            << Prefs{1.5, false, 0.5, 14, 3} << sideDock << fan << 30 << QRectF(2658, 0, 702, 875);
        QTest::newRow("an open note with the small note on the left of the second screen")
            << Prefs{0.85, true, 0.5, 14, 0} << sideDock << open << 2 << QRectF(1920, 0, 422, 875);
    }
    void panelFrames()
    {
        QFETCH(Prefs, prefs);
        QFETCH(Screen, display);
        QFETCH(DeckState, state);
        QFETCH(int, activeNotes);
        apply(prefs);
        QTEST(DeckGeom::panelFrame(state, display, activeNotes), "frame");
    }

    // The strip where the pointer keeps a fan open hangs on the panel's outer edge.
    void hotZoneHoldsThePointer_data()
    {
        QTest::addColumn<Prefs>("prefs");
        QTest::addColumn<QPointF>("pointer");
        QTest::addColumn<bool>("inside");

        const Prefs right = at(1.0);
        Prefs left = right;
        left.onLeft = true;
        // The fan's frame on bottomDock: x from 1438 (right) or 0 (left), y 70 to 1052; the
        // zone is 50 + 20 wide at 1.0 and 75 + 20 at 1.5.
        QTest::newRow("right: at the zone's inner edge") << right << QPointF(1850, 500) << true;
        QTest::newRow("right: a point past the zone, still over the panel")
            << right << QPointF(1849.5, 500) << false;
        QTest::newRow("right: over the dock, under the panel")
            << right << QPointF(1900, 69) << false;
        QTest::newRow("right: on the panel's bottom row") << right << QPointF(1900, 70) << true;
        QTest::newRow("right: at the panel's top, which is outside")
            << right << QPointF(1900, 1052) << false;
        QTest::newRow("left: at the zone's inner edge, which is outside")
            << left << QPointF(70, 500) << false;
        QTest::newRow("left: at the zone's last column") << left << QPointF(69.5, 500) << true;
        QTest::newRow("right at 1.5: the zone is 95 wide")
            << Prefs{1.5, false, 0.5, 14, 1} << QPointF(1825, 500) << true;
    }
    void hotZoneHoldsThePointer()
    {
        QFETCH(Prefs, prefs);
        QFETCH(QPointF, pointer);
        apply(prefs);
        const QRectF panel = DeckGeom::panelFrame(DeckState::fan(), bottomDock, 5);
        QTEST(DeckGeom::hotZoneContains(panel, pointer), "inside");
    }

    // Dragging the pill keeps it inside the visible frame, and the ratio it stores brings the
    // pill back to where it was dropped.
    void pillDrags_data()
    {
        QTest::addColumn<double>("pointerY");
        QTest::addColumn<double>("ratio");
        QTest::addColumn<double>("frameY");

        // A pill of 104 in a visible frame from 70 to 1052.
        QTest::newRow("the pointer at the pill's middle, mid-way up") << 561.0 << 0.5 << 509.0;
        QTest::newRow("the pointer over the dock holds the pill on the dock")
            << 10.0 << 0.0 << 70.0;
        QTest::newRow("the pointer above the screen holds the pill under the panel")
            << 1200.0 << 1.0 << 948.0;
        QTest::newRow("a fractional place is rounded for the frame only")
            << 300.7 << 178.7 / 878 << 249.0;
    }
    void pillDrags()
    {
        QFETCH(double, pointerY);
        QFETCH(double, frameY);
        const double pill = DeckGeom::pillHeight(5);
        const DeckGeom::PillDrop drop = DeckGeom::pillDrag(bottomDock.visibleFrame, pill, pointerY);
        QTEST(drop.deckYRatio, "ratio");
        QCOMPARE(drop.frameY, frameY);

        Settings::setDeckYRatio(drop.deckYRatio);
        QCOMPARE(DeckGeom::restFrame(bottomDock, 5).y(), frameY);
    }

    // The fan opens centred on the pill, 12 clear of the panel's ends.
    void fanTops_data()
    {
        QTest::addColumn<double>("yRatio");
        QTest::addColumn<double>("panelHeight");
        QTest::addColumn<double>("top");

        // Pill of five notes: 104, so 896 to travel. Stack of five short tabs: 392.
        QTest::newRow("pill mid-way: the column's middle meets the pill's")
            << 0.5 << 1000.0 << 304.0;
        QTest::newRow("pill at the top: the column keeps 12 from the top") << 1.0 << 1000.0 << 12.0;
        QTest::newRow("pill at the bottom: the column keeps 12 from the bottom")
            << 0.0 << 1000.0 << 596.0;
        // Stack 4 × 36 + 76 + 72 = 292 in 300: centred on the pill it would start at 102.
        QTest::newRow("a column that cannot keep 12 from the bottom sticks to the top")
            << 0.0 << 300.0 << 12.0;
    }
    void fanTops()
    {
        QFETCH(double, yRatio);
        QFETCH(double, panelHeight);
        Settings::setDeckYRatio(yRatio);
        const DeckLayout l = DeckGeom::layout(panelHeight, 5, false, DeckStyle::Tabs, 10, true);
        QTEST(DeckGeom::fanTop(l, panelHeight, 5), "top");
    }

    // A note opens centred on its tab, 10 clear of the panel's ends, and stays where it first
    // stood.
    void editorTops_data()
    {
        QTest::addColumn<double>("yRatio");
        QTest::addColumn<int>("index");
        QTest::addColumn<double>("openedHeight");
        QTest::addColumn<std::optional<double>>("openedTop");
        QTest::addColumn<double>("top");

        const std::optional<double> unknown;
        // Five short tabs in a panel of 1000; the fan's top is 304 with the pill mid-way.
        QTest::newRow("a middle tab's note centres on the tab's visible part")
            << 0.5 << 2 << 380.0 << unknown << 304 + 2 * 56 + 28 - 190.0;
        QTest::newRow("the last tab's note centres on the whole tab")
            << 0.5 << 4 << 380.0 << unknown << 304 + 4 * 56 + 48 - 190.0;
        QTest::newRow("a note without a tab centres on the first")
            << 0.5 << -1 << 380.0 << unknown << 304 + 28 - 190.0;
        QTest::newRow("a note that has a top keeps it")
            << 0.5 << 2 << 380.0 << std::optional<double>(77) << 77.0;
        QTest::newRow("near the bottom the note keeps 10 clear")
            << 0.0 << 4 << 380.0 << unknown << 1000 - 380 - 10.0;
        QTest::newRow("a note taller than the panel hangs 10 from the top")
            << 0.5 << 2 << 1200.0 << unknown << 10.0;
    }
    void editorTops()
    {
        QFETCH(double, yRatio);
        QFETCH(int, index);
        QFETCH(double, openedHeight);
        QFETCH(std::optional<double>, openedTop);
        Settings::setDeckYRatio(yRatio);
        const DeckLayout l = DeckGeom::layout(1000, 5, false, DeckStyle::Tabs, 10, true);
        QTEST(DeckGeom::editorTop(l, 1000, 5, index, openedHeight, openedTop), "top");
    }

    // Labels are upper-cased, measured in the tab font and tracked by hand; a change of scale
    // measures afresh.
    void labelWidthsFollowTheTabFont()
    {
        LabelWidths widths;
        QFont plain = Ink::tabFont();
        plain.setLetterSpacing(QFont::AbsoluteSpacing, 0);
        const double ink = QFontMetricsF(plain).horizontalAdvance(u"GROCERIES"_s);
        QVERIFY(ink > 0);

        QCOMPARE(widths.labelWidth(u"groceries"_s), ink + 9 * 0.1);
        QCOMPARE(widths.labelWidth(u"Groceries"_s), ink + 9 * 0.1);
        QCOMPARE(widths.size(), qsizetype(1));

        QCOMPARE(widths.labelWidth(QString()), 0.0);
        QCOMPARE(widths.size(), qsizetype(1));

        Settings::setDeckScale(1.5);
        const double larger = widths.labelWidth(u"groceries"_s);
        QVERIFY2(larger > ink * 1.4, "the label kept its width from the smaller scale");
        QCOMPARE(widths.size(), qsizetype(2));
    }

    void labelWidthCacheIsBounded()
    {
        LabelWidths widths;
        const double first = widths.labelWidth(u"note 0"_s);
        for (int i = 1; i <= LabelWidths::limit; ++i)
            widths.labelWidth(u"note "_s + QString::number(i));
        QCOMPARE(widths.size(), LabelWidths::limit + 1);
        widths.labelWidth(u"note 7"_s);
        QCOMPARE(widths.size(), LabelWidths::limit + 1);

        // Past the bound it empties whole and keeps only the newcomer, which measures as ever.
        widths.labelWidth(u"one more"_s);
        QCOMPARE(widths.size(), qsizetype(1));
        QCOMPARE(widths.labelWidth(u"note 0"_s), first);
        QCOMPARE(widths.size(), qsizetype(2));
    }
};

QTEST_MAIN(TestDeckGeom)
#include "tst_deckgeom.moc"
