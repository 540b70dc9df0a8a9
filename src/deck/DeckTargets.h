#pragma once

#include "platform/Displays.h"

#include <QList>
#include <QPointF>
#include <QString>

#include <optional>

// Which displays get a deck, and which display is under the pointer: the pure half of the
// deck manager.
namespace DeckTargets {

// The displays the setting asks for, from "all", "main" or "id:" and a decimal 32-bit number.
// A chosen display that is not connected gives the main one, so notes never lose their deck
// to an unplugged screen; any text the setting cannot mean gives all. With no display
// connected, "main" gives lastMainID: the deck waits there, with nothing to lay out, for the
// next change of the screens.
QList<quint32> displayIDs(const QList<DisplayInfo>& displays, const QString& target,
                          quint32 lastMainID);

// The main display's id: the one marked main, else the first; absent with no displays.
std::optional<quint32> mainID(const QList<DisplayInfo>& displays);

// The first display whose frame holds the point (screen coordinates).
std::optional<quint32> displayAt(const QList<DisplayInfo>& displays, QPointF point);

} // namespace DeckTargets
