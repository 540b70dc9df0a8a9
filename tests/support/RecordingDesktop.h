#pragma once

#include "platform/Desktop.h"

#include <QList>
#include <QUrl>

// Records what the program asked the desktop to open, and opens nothing.
class RecordingDesktop final : public Desktop {
public:
    bool openUrl(const QUrl& url) override;

    QList<QUrl> openedUrls;
};
