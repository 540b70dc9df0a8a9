#pragma once

#include "platform/Desktop.h"

// The desktop through Qt: QDesktopServices, which goes to xdg-open or the portal on Linux
// and to NSWorkspace on macOS; QProcess for a new process of the program.
class QtDesktop final : public Desktop {
public:
    bool openUrl(const QUrl& url) override;
    QString relaunch() override;

    // In a process that relaunch started: blocks until the process that started it has
    // ended, or a minute has passed. Without it the new process would find the old one still
    // holding the single instance, hand it an empty request and end, and the relaunch would
    // leave no program running. Does nothing in a process started any other way. Call before
    // claiming the single instance.
    static void awaitReplacedProcess();
};
