#include "settings/DeckStyle.h"

using namespace Qt::Literals::StringLiterals;

namespace DeckStyles {

QString rawValue(DeckStyle style) { return style == DeckStyle::Compact ? u"compact"_s : u"tabs"_s; }

std::optional<DeckStyle> fromRawValue(QStringView raw)
{
    for (DeckStyle style : all) {
        if (raw == rawValue(style))
            return style;
    }
    return std::nullopt;
}

QString titleKey(DeckStyle style)
{
    return style == DeckStyle::Compact ? u"deck_style.colour_chips"_s
                                       : u"deck_style.labelled_tabs"_s;
}

} // namespace DeckStyles
