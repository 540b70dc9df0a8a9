#pragma once

#include <QPointF>
#include <QRectF>

// The two ways of placing things on the screens. Qt's: origin at the top left of the virtual
// desktop, y downward. Ours, in which the deck does its arithmetic: origin at the bottom left
// of the main display, y upward, so that the main display's frame always starts at (0, 0)
// whatever the desktop's arrangement. mainQt is the main display's geometry in Qt's
// coordinates (QScreen::geometry() of the primary screen); every conversion in one moment
// must use the same one.
//
// A rectangle keeps its size; a point on a rectangle's top edge in one stays on its top edge
// in the other.
namespace ScreenCoordinates {

QRectF fromQt(const QRectF& rect, const QRectF& mainQt);
QRectF toQt(const QRectF& rect, const QRectF& mainQt);
QPointF fromQt(QPointF point, const QRectF& mainQt);
QPointF toQt(QPointF point, const QRectF& mainQt);

} // namespace ScreenCoordinates
