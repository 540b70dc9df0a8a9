#pragma once

#include "platform/Desktop.h"

// The desktop through Qt: QDesktopServices, which goes to xdg-open or the portal on Linux
// and to NSWorkspace on macOS.
class QtDesktop final : public Desktop {
public:
    bool openUrl(const QUrl& url) override;
};
