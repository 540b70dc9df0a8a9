#include "deck/DeckLayout.h"

#include "deck/DeckGeom.h"

#include <algorithm>

double DeckLayout::stackHeight() const
{
    if (count < 1)
        return 0;
    double height = (count - 1) * pitch + itemHeight;
    if (hasMore)
        height += moreGap + moreHeight;
    if (showsActions) {
        height +=
            DeckGeom::plusGap() + DeckGeom::plusSize() + DeckGeom::cogGap() + DeckGeom::cogSize();
    }
    return height;
}

double DeckLayout::top() const { return std::max(12.0, (panelHeight - stackHeight()) * 0.5); }

double DeckLayout::centerOffset(int i) const
{
    const double shown = i == count - 1 ? itemHeight : pitch;
    return pitch * i + shown * 0.5;
}

double DeckLayout::cap() const { return std::max(140.0, panelHeight - 76); }
