#pragma once

#include "platform/Compositor.h"

#include <QAbstractNativeEventFilter>
#include <QtGlobal>

#include <memory>

struct xcb_connection_t;

// On X11 a compositing manager announces itself by owning the selection _NET_WM_CM_S<n> of
// the screen it draws. The server reports every change of that owner through XFixes (a new
// compositor, one that quits, crashes or is replaced), so the answer follows without anything
// polling. Works on Qt's own connection, whose events it sees through a native event filter.
class X11Compositor final : public Compositor, private QAbstractNativeEventFilter {
public:
    // Absent when the application does not run on Qt's xcb platform or the server lacks
    // XFixes.
    static std::unique_ptr<X11Compositor> open();
    ~X11Compositor() override;

    bool isActive() const override { return active; }
    Subscription onChanged(std::function<void(bool active)> callback) override;

private:
    X11Compositor(xcb_connection_t* connection, quint32 root, quint32 selection,
                  quint8 firstXFixesEvent);
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

    xcb_connection_t* connection;
    quint32 root;
    quint32 selection;
    quint8 firstXFixesEvent;
    bool active = false;
    Listeners<bool> listeners;
};
