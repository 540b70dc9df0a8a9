#pragma once

#include <QList>
#include <QObject>
#include <QRectF>
#include <QString>

#include <optional>

// One connected display (not "Display", which Xlib's headers, pulled in by Qt's, already
// name). Rectangles are in screen coordinates: origin at the bottom left of
// the main display, y upward, in logical pixels (points). The id is stable for an output
// across restarts and replugging, so a chosen display can be stored.
struct DisplayInfo {
    quint32 id = 0;
    QString name;
    // The whole screen.
    QRectF frame;
    // The part not taken by panels and docks.
    QRectF visibleFrame;
    bool isMain = false;

    friend bool operator==(const DisplayInfo&, const DisplayInfo&) = default;
};

// The connected displays, and a signal when they change (plugged, unplugged, resized,
// rearranged, or their work areas moved). Main thread only.
class Displays : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    // In the desktop's order; the main display is marked, and there is at most one.
    virtual QList<DisplayInfo> list() const = 0;

Q_SIGNALS:
    void changed();
};

// The display that holds the point, else the main one, else the first; absent with none. Where
// a panel opens for the person, it opens where they are looking.
std::optional<DisplayInfo> displayUnder(const QList<DisplayInfo>& displays, QPointF point);
