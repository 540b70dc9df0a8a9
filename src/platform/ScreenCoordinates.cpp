#include "platform/ScreenCoordinates.h"

// Both directions are the same reflection about the main display's bottom edge, so each is
// its own inverse; a rectangle reflects its bottom edge, not its origin.
namespace ScreenCoordinates {

QPointF fromQt(QPointF point, const QRectF& mainQt)
{
    return {point.x() - mainQt.x(), mainQt.y() + mainQt.height() - point.y()};
}

QPointF toQt(QPointF point, const QRectF& mainQt)
{
    return {point.x() + mainQt.x(), mainQt.y() + mainQt.height() - point.y()};
}

QRectF fromQt(const QRectF& rect, const QRectF& mainQt)
{
    const QPointF bottomLeft = fromQt(QPointF(rect.x(), rect.y() + rect.height()), mainQt);
    return {bottomLeft, rect.size()};
}

QRectF toQt(const QRectF& rect, const QRectF& mainQt)
{
    const QPointF topLeft = toQt(QPointF(rect.x(), rect.y() + rect.height()), mainQt);
    return {topLeft, rect.size()};
}

} // namespace ScreenCoordinates
