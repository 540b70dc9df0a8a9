#include "deck/DeckTargets.h"

#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace DeckTargets {

std::optional<quint32> mainID(const QList<DisplayInfo>& displays)
{
    for (const DisplayInfo& display : displays) {
        if (display.isMain)
            return display.id;
    }
    if (displays.isEmpty())
        return std::nullopt;
    return displays.first().id;
}

namespace {

// Only plain decimal digits: no sign, no spaces, nothing past 32 bits.
std::optional<quint32> chosenID(QStringView rest)
{
    if (rest.isEmpty())
        return std::nullopt;
    quint64 value = 0;
    for (const QChar c : rest) {
        if (c < u'0' || c > u'9')
            return std::nullopt;
        value = value * 10 + (c.unicode() - u'0');
        if (value > std::numeric_limits<quint32>::max())
            return std::nullopt;
    }
    return static_cast<quint32>(value);
}

QList<quint32> allIDs(const QList<DisplayInfo>& displays)
{
    QList<quint32> ids;
    for (const DisplayInfo& display : displays)
        ids.append(display.id);
    return ids;
}

} // namespace

QList<quint32> displayIDs(const QList<DisplayInfo>& displays, const QString& target,
                          quint32 lastMainID)
{
    const quint32 main = mainID(displays).value_or(lastMainID);
    if (target == u"main"_s)
        return {main};
    if (target.startsWith(u"id:"_s)) {
        if (const std::optional<quint32> id = chosenID(QStringView(target).mid(3))) {
            const bool connected = std::any_of(displays.cbegin(), displays.cend(),
                                               [&](const DisplayInfo& d) { return d.id == *id; });
            return {connected ? *id : main};
        }
    }
    return allIDs(displays);
}

std::optional<quint32> displayAt(const QList<DisplayInfo>& displays, QPointF point)
{
    for (const DisplayInfo& display : displays) {
        if (display.frame.contains(point))
            return display.id;
    }
    return std::nullopt;
}

} // namespace DeckTargets
