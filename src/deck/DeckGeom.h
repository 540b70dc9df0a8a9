#pragma once

#include "deck/DeckLayout.h"
#include "deck/DeckState.h"
#include "settings/DeckStyle.h"

#include <QFont>
#include <QHash>
#include <QPointF>
#include <QRectF>
#include <QString>

#include <optional>

// Every length of the deck: the resting pill, the column of tabs, the panel's frame in each
// state and the top of the open note. Lengths are points. Screen rectangles and points have
// their origin at the bottom left of the main display and y upward (see Displays); lengths
// inside the panel run from its top downward.
//
// The scaled lengths follow Settings::deckScale, read afresh on every call, and each is
// rounded by itself before it is added to another: scaled(12) + scaled(28) need not equal
// scaled(40), and the deck's figures depend on which of the two is taken. Besides the scale,
// these functions read Settings::noteSize, deckYRatio, edgeWidth and deckOnLeftEdge.
// REQUIRES: Settings installed. Main thread only.
namespace DeckGeom {

// Half away from zero: 10.5 is 11 and -10.5 is -11.
double round(double x);
// round(n × scale).
double scaled(double n, double scale);
// round(n × Settings::deckScale()).
double scaled(double n);

double scale();
// A tab, the fan column and a chip's slot.
double tabWidth();
// The open note's gutter; the same as tabWidth.
double gutterWidth();
// The fan strip; the hot zone is 20 wider.
double fanWidth();
// The panel's width in the fan and with a note open.
double expandedWidth();
double editorWidth();
double editorHeight();
// How far a tab runs on under its lower neighbour.
double tabLap();
// Above the More tab.
double tabGap();
// Above the pill's first dash and below its last.
double pillPad();
// The natural pitch of labelled tabs lies between these; compression stops at pitchFloor.
double pitchMin();
double pitchMax();
double pitchFloor();
// Added to the longest label.
double labelPad();
double labelInset();
double plusGap();
double plusSize();
double cogGap();
double cogSize();
double chipHeight();
double chipGap();
double moreTabHeight();
double dashHeight();
double dashGap();
// How far a tab runs past the screen edge.
double bleed();

inline constexpr int maxDashes = 14;
inline constexpr double leanDegrees = 3.0;
// The share of the panel's height a fan of labelled tabs may take before its pitch shrinks.
inline constexpr double heightBudget = 0.68;
// The compact style's More chip keeps this height at every scale.
inline constexpr double compactMoreHeight = 22;
inline constexpr double hotZoneExtra = 20;

// The column for count items (0 or less counts as 1) in a panel of that height. Labelled
// tabs take their pitch from the longest label and shrink it, down to pitchFloor, when the
// tabs would take more than heightBudget of the panel; the buttons are not in that budget.
DeckLayout layout(double panelHeight, int count, bool hasMore, DeckStyle style, double longestLabel,
                  bool showsActions);

// The pill for that many notes: one dash a note up to maxDashes, one more for any beyond,
// and never fewer than one.
double pillHeight(int noteCount);

// The rotation of the tab labels in degrees: they lean away from the edge they hang on.
double lean(bool onRight);

// The text as given, measured in that font without its letter spacing, plus tracking once
// for each UTF-16 unit. The tracking is added by hand because a font keeps its letter spacing
// in 1/64 of a pixel, which would lose a part of it.
double measureLabel(const QString& text, const QFont& font, double tracking);

// The panel's frame for a state on a display of that frame and visible frame (the part not
// taken by panels and docks), for a deck with that many active notes. x comes from the whole
// frame, so the panel touches the screen's edge even beside a dock; y from the visible frame.
// The fan and an open note share one frame.
QRectF panelFrame(const DeckState& state, const QRectF& frame, const QRectF& visibleFrame,
                  int activeCount);
QRectF restFrame(const QRectF& frame, const QRectF& visibleFrame, int activeCount);
QRectF wideFrame(const QRectF& frame, const QRectF& visibleFrame);

// The same for a DisplayInfo, or any record with its frame and visibleFrame. A template so that
// this header need not name the platform's display type, whose name X11's headers take too.
template <class D>
QRectF panelFrame(const DeckState& state, const D& display, int activeCount)
{
    return panelFrame(state, display.frame, display.visibleFrame, activeCount);
}
template <class D>
QRectF restFrame(const D& display, int activeCount)
{
    return restFrame(display.frame, display.visibleFrame, activeCount);
}
template <class D>
QRectF wideFrame(const D& display)
{
    return wideFrame(display.frame, display.visibleFrame);
}

// The strip along the edge, across the panel's whole height, in which the pointer counts as
// being at the deck while the fan is open.
QRectF hotZone(const QRectF& panelFrame);
// Whether the point lies in the rectangle, its lower and left edges in, its upper and right
// edges out, so that two rectangles that touch never both hold a point.
bool contains(const QRectF& rect, QPointF point);
bool hotZoneContains(const QRectF& panelFrame, QPointF pointer);

// Where a pill of that height goes when dragged with the pointer at pointerY: its stored
// ratio and the y of its frame's bottom.
struct PillDrop {
    double deckYRatio = 0;
    double frameY = 0;
};
PillDrop pillDrag(const QRectF& visibleFrame, double pillHeight, double pointerY);

// The top of the column inside a panel of that height, centred on the pill (which sits at
// Settings::deckYRatio for activeCount notes) and held 12 clear of both ends; a column that
// cannot fit sticks to the top.
double fanTop(const DeckLayout& layout, double panelHeight, int activeCount);

// The top of the open note inside the panel: openedTop once known; else the note of height
// openedHeight centred on its tab (index among the visible notes, or 0 when it has none),
// held 10 clear of both ends. The caller keeps the result as openedTop, so that the note
// stays put while the list under it changes.
double editorTop(const DeckLayout& layout, double panelHeight, int activeCount, int index,
                 double openedHeight, std::optional<double> openedTop);

} // namespace DeckGeom

// The widths of tab labels, as the tabs need them: the text upper-cased, measured in
// Ink::tabFont with its tracking. Labels are measured for every visible note each time the
// deck is drawn, hence the cache. Its key holds the font, so a change of face or of scale
// needs no invalidation; it is bounded by emptying it whole once it has grown past limit.
// One cache serves every deck of the process. Main thread only.
class LabelWidths {
public:
    static constexpr qsizetype limit = 400;

    // 0 for the empty text, which is not remembered.
    double labelWidth(const QString& text);
    qsizetype size() const { return widths.size(); }

private:
    QHash<QString, double> widths;
};
