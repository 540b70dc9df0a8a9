#include "platform/DisplayIds.h"

#include <QSet>

#include <algorithm>
#include <numeric>

namespace {

QString keyOf(const DisplayIdentity& output)
{
    if (output.serialNumber.isEmpty())
        return output.name;
    // The serial alone may repeat across makers; the three together name one monitor.
    return output.manufacturer + u'|' + output.model + u'|' + output.serialNumber;
}

} // namespace

namespace DisplayIds {

quint32 hash(QStringView text)
{
    quint32 h = 2166136261u;
    for (const char byte : text.toUtf8()) {
        h ^= static_cast<quint8>(byte);
        h *= 16777619u;
    }
    return h == 0 ? 1u : h;
}

QList<quint32> assign(const QList<DisplayIdentity>& outputs)
{
    QList<QString> keys;
    keys.reserve(outputs.size());
    for (const DisplayIdentity& output : outputs)
        keys.append(keyOf(output));

    // Handing out ids in the order of the keys (ties by connector) makes the outcome of a
    // collision independent of the order the desktop lists its outputs in.
    QList<qsizetype> order(outputs.size());
    std::iota(order.begin(), order.end(), 0);
    std::sort(order.begin(), order.end(), [&](qsizetype a, qsizetype b) {
        return std::tie(keys[a], outputs[a].name) < std::tie(keys[b], outputs[b].name);
    });

    QList<quint32> ids(outputs.size());
    QSet<quint32> taken;
    for (const qsizetype i : order) {
        quint32 id = hash(keys[i]);
        for (int attempt = 1; taken.contains(id); ++attempt)
            id = hash(keys[i] + u'#' + QString::number(attempt));
        taken.insert(id);
        ids[i] = id;
    }
    return ids;
}

} // namespace DisplayIds
