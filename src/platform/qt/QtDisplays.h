#pragma once

#include "platform/Displays.h"

class QScreen;

// The displays through QScreen: frame is the screen's geometry, visibleFrame its available
// geometry (without panels and docks), both converted to screen coordinates about the primary
// screen, which is the main display. Ids come from DisplayIds. changed is emitted when a
// screen comes or goes, when the primary screen changes, and when any screen's geometry or
// available geometry moves. REQUIRES: a QGuiApplication for the whole life of the object.
class QtDisplays final : public Displays {
    Q_OBJECT

public:
    explicit QtDisplays(QObject* parent = nullptr);

    QList<DisplayInfo> list() const override;

private:
    void follow(QScreen* screen);
};
