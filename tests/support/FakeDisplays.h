#pragma once

#include "platform/Displays.h"

// Displays the test plugs in and out. set() replaces the whole list and tells listeners, as a
// desktop does after a change; the list is taken as given, main mark and order included.
class FakeDisplays final : public Displays {
public:
    explicit FakeDisplays(QList<DisplayInfo> displays = {})
        : current(std::move(displays))
    {
    }

    QList<DisplayInfo> list() const override { return current; }

    void set(QList<DisplayInfo> displays)
    {
        current = std::move(displays);
        Q_EMIT changed();
    }

    // A display whose visible frame is the whole of frame.
    static DisplayInfo make(quint32 id, QRectF frame, bool isMain = false)
    {
        return DisplayInfo{id, QStringLiteral("Display %1").arg(id), frame, frame, isMain};
    }

private:
    QList<DisplayInfo> current;
};
