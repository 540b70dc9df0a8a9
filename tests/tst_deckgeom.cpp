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

struct Screen {
    QRectF frame;
    QRectF visibleFrame;
};

// A dock 70 high at the bottom, a panel 28 at the top; then a screen docked 60 on its right.
const Screen bottomDock{{0, 0, 1920, 1080}, {0, 70, 1920, 982}};
const Screen sideDock{{1920, 0, 1440, 900}, {1920, 0, 1380, 875}};

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

private Q_SLOTS:
    void init()
    {
        defaults = std::make_unique<MemoryDefaults>();
        Settings::install(*defaults, loginItem);
        Ink::install(fonts);
    }

    // Each scaled length is rounded by itself before it is summed: at 1.125 the buttons take
    // 82 and the pads round 7.875 to 8.
    void scaledLengthsRoundOneByOne()
    {
        Settings::setDeckScale(1.125);
        const DeckLayout with = DeckGeom::layout(1000, 1, false, DeckStyle::Compact, 0, true);
        const DeckLayout without = DeckGeom::layout(1000, 1, false, DeckStyle::Compact, 0, false);
        QCOMPARE(with.stackHeight() - without.stackHeight(), 82.0);
        QCOMPARE(DeckGeom::pillHeight(3), 2 * 8 + 3 * 16 + 2 * 6.0);
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
        QTest::addColumn<double>("pitch");
        QTest::addColumn<double>("stackHeight");
        const DeckStyle tabs = DeckStyle::Tabs;
        const DeckStyle compact = DeckStyle::Compact;
        QTest::newRow("a label between the bounds: pitch 20 more than the label")
            << 1.0 << 1000.0 << 2 << false << tabs << 60.0 << false << 80.0 << 200.0;
        QTest::newRow("a very long label stops the pitch at 106")
            << 1.0 << 1000.0 << 3 << false << tabs << 500.0 << false << 106.0 << 358.0;
        // Budget 0.68 × 400 − (34 + 7) = 231; (231 − 40) / 5.
        QTest::newRow("five tabs and More in a 400 panel compress")
            << 1.0 << 400.0 << 5 << true << tabs << 10.0 << true << 38.2
            << 4 * 38.2 + 78.2 + 41 + 72;
        QTest::newRow("no More room is taken from a fan without one")
            << 1.0 << 400.0 << 5 << false << tabs << 10.0 << false << 46.4 << 4 * 46.4 + 86.4;
        QTest::newRow("compression stops at the floor of 36")
            << 1.0 << 200.0 << 5 << false << tabs << 10.0 << false << 36.0 << 220.0;
        QTest::newRow("at 1.25 the last tab's lap is scaled too")
            << 1.25 << 1000.0 << 5 << false << tabs << 10.0 << true << 70.0 << 490.0;
        QTest::newRow("compact chips at 1.5 keep the More chip at 22")
            << 1.5 << 1000.0 << 5 << true << compact << 10.0 << false << 45.0
            << 4 * 45 + 36 + 9 + 22.0;
        QTest::newRow("no notes lay out one slot")
            << 1.0 << 1000.0 << 0 << false << tabs << 0.0 << true << 56.0 << 96 + 72.0;
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
        Settings::setDeckScale(scale);
        const DeckLayout l =
            DeckGeom::layout(panelHeight, count, hasMore, style, longestLabel, showsActions);
        QTEST(l.pitch, "pitch");
        QTEST(l.stackHeight(), "stackHeight");
    }

    // Where the column stands and the middle of each tab's visible part.
    void layoutPlacesTheColumn_data()
    {
        QTest::addColumn<double>("panelHeight");
        QTest::addColumn<bool>("hasMore");
        QTest::addColumn<double>("top");
        QTest::addColumn<QList<double>>("centers");
        QTest::addColumn<double>("cap");
        QTest::addColumn<bool>("overflows");
        QTest::newRow("five tabs centred in a tall panel, the last showing whole")
            << 1000.0 << false << 304.0 << QList<double>{332, 388, 444, 500, 576} << 924.0 << false;
        QTest::newRow("compressed tabs with More in a 400 panel")
            << 400.0 << true << 28.0 << QList<double>{47.1, 85.3, 123.5, 161.7, 219.9} << 324.0
            << true;
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
        QTest::addColumn<int>("notes");
        QTest::addColumn<double>("height");
        QTest::newRow("no notes draw one dash, as one note does") << 0 << 28.0;
        QTest::newRow("fourteen notes, fourteen dashes") << 14 << 14 + 14 * 14 + 13 * 5.0;
        QTest::newRow("five hundred notes, no more than fifteen") << 500 << 14 + 15 * 14 + 14 * 5.0;
    }
    void pillHeights()
    {
        QFETCH(int, notes);
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
        QTest::newRow("rest on the left touches the screen's left edge")
            << Prefs{1, true, 0.5, 14, 1} << bottomDock << rest << 5 << QRectF(0, 509, 14, 104);
        QTest::newRow("rest's y is rounded, halves away from zero")
            << Prefs{1, false, 0.25, 14, 1} << bottomDock << rest << 5
            << QRectF(1906, 290, 14, 104);
        // 12 × 1.5 + 2 = 20 is wider than the edge's 14; the pads round 10.5 up to 11, halves
        // away from zero.
        QTest::newRow("rest at 1.5 hangs on the screen's edge past a side dock")
            << Prefs{1.5, false, 0.5, 14, 1} << sideDock << rest << 3 << QRectF(3340, 387, 20, 101);
        QTest::newRow("rest at 1.8 never narrower than the plus gap and 2, even at edge 8")
            << Prefs{1.8, false, 0.5, 8, 1} << bottomDock << rest << 1 << QRectF(1896, 536, 24, 51);
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

    void hotZoneHoldsThePointer_data()
    {
        QTest::addColumn<Prefs>("prefs");
        QTest::addColumn<QPointF>("pointer");
        QTest::addColumn<bool>("inside");
        const Prefs right;
        Prefs left = right;
        left.onLeft = true;
        // The fan spans y 70 to 1052; the strip is 70 wide at 1.0 and 95 at 1.5.
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

    // A dragged pill stays in the visible frame; its stored ratio brings it back where dropped.
    void pillDrags_data()
    {
        QTest::addColumn<double>("pointerY");
        QTest::addColumn<double>("ratio");
        QTest::addColumn<double>("frameY");
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

    // The fan opens centred on the pill (see editorTops), 12 clear of the panel's ends.
    void fanTops_data()
    {
        QTest::addColumn<double>("yRatio");
        QTest::addColumn<double>("panelHeight");
        QTest::addColumn<double>("top");
        QTest::newRow("pill at the top: the column keeps 12 from the top") << 1.0 << 1000.0 << 12.0;
        QTest::newRow("pill at the bottom: the column keeps 12 from the bottom")
            << 0.0 << 1000.0 << 596.0;
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

    // A note opens centred on its tab, 10 clear of the panel's ends, and stays where it stood.
    void editorTops_data()
    {
        QTest::addColumn<double>("yRatio");
        QTest::addColumn<int>("index");
        QTest::addColumn<double>("openedHeight");
        QTest::addColumn<std::optional<double>>("openedTop");
        QTest::addColumn<double>("top");
        const std::optional<double> unknown;
        // The fan's top is 304 with the pill mid-way.
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

    // Upper-cased, measured in the tab font, tracked by hand; a new scale measures afresh.
    void labelWidthsFollowTheTabFont()
    {
        LabelWidths widths;
        QFont plain = Ink::tabFont();
        plain.setLetterSpacing(QFont::AbsoluteSpacing, 0);
        const double ink = QFontMetricsF(plain).horizontalAdvance(u"GROCERIES"_s);
        QVERIFY(ink > 0);
        QCOMPARE(widths.labelWidth(u"groceries"_s), ink + 9 * 0.1);
        QCOMPARE(widths.labelWidth(u"Groceries"_s), ink + 9 * 0.1);
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
        widths.labelWidth(u"note 7"_s);
        QCOMPARE(widths.size(), LabelWidths::limit + 1);
        // Past the bound it empties whole and keeps only the newcomer.
        widths.labelWidth(u"one more"_s);
        QCOMPARE(widths.size(), qsizetype(1));
        QCOMPARE(widths.labelWidth(u"note 0"_s), first);
        QCOMPARE(widths.size(), qsizetype(2));
    }
};

QTEST_MAIN(TestDeckGeom)
#include "tst_deckgeom.moc"
