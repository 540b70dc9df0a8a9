#include "platform/Displays.h"

std::optional<DisplayInfo> displayUnder(const QList<DisplayInfo>& displays, QPointF point)
{
    for (const DisplayInfo& d : displays) {
        if (d.frame.contains(point))
            return d;
    }
    for (const DisplayInfo& d : displays) {
        if (d.isMain)
            return d;
    }
    if (displays.isEmpty())
        return std::nullopt;
    return displays.first();
}
