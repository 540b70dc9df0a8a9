#pragma once

#include <QString>
#include <QStringView>

#include <array>
#include <optional>

// How the deck draws its tabs.
enum class DeckStyle { Tabs, Compact };

namespace DeckStyles {
inline constexpr std::array<DeckStyle, 2> all{DeckStyle::Tabs, DeckStyle::Compact};
// "tabs" and "compact", as stored.
QString rawValue(DeckStyle style);
std::optional<DeckStyle> fromRawValue(QStringView raw);
QString titleKey(DeckStyle style);
} // namespace DeckStyles
