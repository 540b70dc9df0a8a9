#include "deck/DeckGeom.h"

#include "notes/Ink.h"
#include "settings/Settings.h"

#include <QFontMetricsF>

#include <algorithm>
#include <cmath>

namespace DeckGeom {

namespace {

double minY(const QRectF& r) { return r.y(); }
double maxY(const QRectF& r) { return r.y() + r.height(); }
double minX(const QRectF& r) { return r.x(); }
double maxX(const QRectF& r) { return r.x() + r.width(); }

// The panel hugs the left or the right edge of the whole screen.
double edgeX(const QRectF& frame, double width)
{
    return Settings::deckOnLeftEdge() ? minX(frame) : maxX(frame) - width;
}

} // namespace

double round(double x) { return std::round(x); }
double scaled(double n, double s) { return round(n * s); }
double scaled(double n) { return scaled(n, scale()); }

double scale() { return Settings::deckScale(); }
double tabWidth() { return scaled(30); }
double gutterWidth() { return scaled(30); }
double fanWidth() { return scaled(50); }
double expandedWidth() { return std::max(scaled(50), Settings::noteSize().width()) + 22; }
double editorWidth() { return Settings::noteSize().width(); }
double editorHeight() { return Settings::noteSize().height(); }
double tabLap() { return scaled(40); }
double tabGap() { return scaled(7); }
double pillPad() { return scaled(7); }
double pitchMin() { return scaled(56); }
double pitchMax() { return scaled(106); }
double pitchFloor() { return scaled(36); }
double labelPad() { return scaled(20); }
double labelInset() { return scaled(12); }
double plusGap() { return scaled(12); }
double plusSize() { return scaled(28); }
double cogGap() { return scaled(8); }
double cogSize() { return scaled(24); }
double chipHeight() { return scaled(24); }
double chipGap() { return scaled(6); }
double moreTabHeight() { return scaled(34); }
double dashHeight() { return scaled(14); }
double dashGap() { return scaled(5); }
double bleed() { return scaled(14); }

DeckLayout layout(double panelHeight, int count, bool hasMore, DeckStyle style, double longestLabel,
                  bool showsActions)
{
    DeckLayout l;
    l.count = std::max(1, count);
    l.hasMore = hasMore;
    l.panelHeight = panelHeight;
    l.showsActions = showsActions;
    if (style == DeckStyle::Compact) {
        l.itemHeight = chipHeight();
        l.pitch = chipHeight() + chipGap();
        l.moreGap = chipGap();
        l.moreHeight = compactMoreHeight;
        return l;
    }
    double pitch = std::min(std::max(labelPad() + longestLabel, pitchMin()), pitchMax());
    const double reserve = hasMore ? moreTabHeight() + tabGap() : 0;
    const double budget = heightBudget * panelHeight - reserve;
    // Left fractional on purpose: the tabs then fill the budget exactly.
    if (l.count * pitch + tabLap() > budget)
        pitch = std::max(pitchFloor(), (budget - tabLap()) / l.count);
    l.pitch = pitch;
    l.itemHeight = tabLap() + pitch;
    l.moreGap = tabGap();
    l.moreHeight = moreTabHeight();
    return l;
}

double pillHeight(int noteCount)
{
    int dashes = std::min(noteCount, maxDashes) + (noteCount > maxDashes ? 1 : 0);
    dashes = std::max(dashes, 1);
    return 2 * pillPad() + dashes * dashHeight() + (dashes - 1) * dashGap();
}

double lean(bool onRight) { return onRight ? -leanDegrees : leanDegrees; }

double measureLabel(const QString& text, const QFont& font, double tracking)
{
    QFont plain = font;
    plain.setLetterSpacing(QFont::AbsoluteSpacing, 0);
    return QFontMetricsF(plain).horizontalAdvance(text) + tracking * text.size();
}

QRectF panelFrame(const DeckState& state, const QRectF& frame, const QRectF& visibleFrame,
                  int activeCount)
{
    return state.isRest() ? restFrame(frame, visibleFrame, activeCount)
                          : wideFrame(frame, visibleFrame);
}

QRectF restFrame(const QRectF& frame, const QRectF& visible, int activeCount)
{
    const double h = pillHeight(std::max(1, activeCount));
    // Even the narrowest edge must leave the pill wide enough to catch.
    const double w = std::max(plusGap() + 2, Settings::edgeWidth());
    const double y =
        round(minY(visible) + Settings::deckYRatio() * std::max(visible.height() - h, 1.0));
    return {edgeX(frame, w), y, w, h};
}

QRectF wideFrame(const QRectF& frame, const QRectF& visible)
{
    const double w = expandedWidth();
    return {edgeX(frame, w), minY(visible), w, visible.height()};
}

QRectF hotZone(const QRectF& panel)
{
    const double w = fanWidth() + hotZoneExtra;
    const double x = Settings::deckOnLeftEdge() ? minX(panel) : maxX(panel) - w;
    return {x, minY(panel), w, panel.height()};
}

bool contains(const QRectF& rect, QPointF p)
{
    return p.x() >= minX(rect) && p.x() < maxX(rect) && p.y() >= minY(rect) && p.y() < maxY(rect);
}

bool hotZoneContains(const QRectF& panel, QPointF pointer)
{
    return contains(hotZone(panel), pointer);
}

PillDrop pillDrag(const QRectF& visible, double h, double pointerY)
{
    const double y = std::min(maxY(visible) - h, std::max(minY(visible), pointerY - h * 0.5));
    return {(y - minY(visible)) / std::max(visible.height() - h, 1.0), round(y)};
}

double fanTop(const DeckLayout& l, double panelHeight, int activeCount)
{
    const double h = pillHeight(std::max(1, activeCount));
    const double avail = std::max(panelHeight - h, 1.0);
    // deckYRatio runs from the bottom, tops from the panel's top.
    const double pillCentre = h * 0.5 + (1 - Settings::deckYRatio()) * avail;
    const double stack = l.stackHeight();
    const double t = pillCentre - stack * 0.5;
    return std::min(std::max(t, 12.0), std::max(panelHeight - stack - 12, 12.0));
}

double editorTop(const DeckLayout& l, double panelHeight, int activeCount, int index,
                 double openedHeight, std::optional<double> openedTop)
{
    if (openedTop)
        return *openedTop;
    const int i = index < 0 ? 0 : index;
    const double c = fanTop(l, panelHeight, activeCount) + l.centerOffset(i);
    const double t = c - openedHeight * 0.5;
    return std::min(std::max(t, 10.0), std::max(panelHeight - openedHeight - 10, 10.0));
}

} // namespace DeckGeom

double LabelWidths::labelWidth(const QString& text)
{
    const QString upper = text.toUpper();
    if (upper.isEmpty())
        return 0;
    const QFont font = Ink::tabFont();
    const QString key = font.key() + u'|' + QString::number(font.pointSizeF()) + u'|' + upper;
    if (const auto it = widths.constFind(key); it != widths.cend())
        return *it;
    const double width = DeckGeom::measureLabel(upper, font, Ink::tabTracking());
    if (widths.size() > limit)
        widths.clear();
    widths.insert(key, width);
    return width;
}
