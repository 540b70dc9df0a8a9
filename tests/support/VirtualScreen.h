#pragma once

#include <QByteArray>
#include <QProcess>
#include <QSize>

// An X server of a test's own (Xvfb), apart from the one other tests share, for tests that
// change the server or need a window manager or compositor on it. Stopped when dropped.
class VirtualScreen {
public:
    VirtualScreen() = default;
    VirtualScreen(const VirtualScreen&) = delete;
    VirtualScreen& operator=(const VirtualScreen&) = delete;
    ~VirtualScreen();

    // The display's name (":N") once the server runs with one screen of that size; empty
    // when it could not start within half a minute.
    QByteArray start(QSize size);

private:
    QProcess server;
};
