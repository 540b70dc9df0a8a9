#pragma once

#include <QList>
#include <QString>
#include <QStringView>

// What tells one display output from another, as the desktop reports it. The EDID fields are
// empty where the output gives none (virtual and some older outputs).
struct DisplayIdentity {
    // The connector, such as "HDMI-1".
    QString name;
    QString manufacturer;
    QString model;
    QString serialNumber;
};

// Display ids: a 32-bit number per output that a setting can hold ("id:" + number), so it must
// come out the same in every run and after the output is unplugged and plugged again. It is a
// fixed hash of the monitor's own identity where the monitor tells a serial number (the id
// then follows the monitor from port to port), else of the connector's name; never of the
// list's order, and never of a per-process seed.
namespace DisplayIds {

// FNV-1a over the UTF-8 of text, moved off 0 (which no display may have).
quint32 hash(QStringView text);

// The ids of outputs, in their order: never 0 and distinct. An output whose hash another has
// already gets a tweaked one; which keeps the plain hash depends only on the set of outputs,
// not on their order.
QList<quint32> assign(const QList<DisplayIdentity>& outputs);

} // namespace DisplayIds
