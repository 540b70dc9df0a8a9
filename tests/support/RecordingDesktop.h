#pragma once

#include "platform/Desktop.h"

#include <QList>
#include <QUrl>

// Records what the program asked the desktop to open, and opens nothing.
class RecordingDesktop final : public Desktop {
public:
    bool openUrl(const QUrl& url) override;
    QString relaunch() override;

    QList<QUrl> openedUrls;
    // Relaunches asked for, those refused included.
    int relaunches = 0;
    // What relaunch answers; empty: it started.
    QString relaunchFailure;
};
