#pragma once

#include "platform/HotKeyBackend.h"
#include "platform/KeyboardLayout.h"

#include <QAbstractNativeEventFilter>
#include <QList>

#include <memory>

struct xcb_connection_t;

// Global keys on X11: a passive grab of each combination on the root window, once for every
// state of the lock keys (Caps Lock and Num Lock would otherwise make the combination another
// one), and the presses picked from Qt's own event stream. A change of the keyboard's map
// grabs everything again, since the key codes may have moved.
class X11HotKeys final : public HotKeyBackend, public QAbstractNativeEventFilter {
public:
    // Absent when the application does not run on Qt's xcb platform. layout tells of map
    // changes and must outlive the backend.
    static std::unique_ptr<X11HotKeys> open(KeyboardLayout& layout);
    ~X11HotKeys() override;

    int grab(quint32 id, quint32 keyCode, quint32 modifiers) override;
    void releaseAll() override;

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    struct Combination {
        quint32 id;
        quint32 keyCode;
        quint32 modifiers;
        quint8 x11Keycode;
        quint16 x11State;
    };
    X11HotKeys(xcb_connection_t* connection, quint32 root, KeyboardLayout& layout);
    int grabOnServer(Combination& combination);
    void ungrabOnServer(const Combination& combination);
    void regrab();

    xcb_connection_t* const x;
    const quint32 root;
    QList<Combination> grabbed;
    Subscription layoutWatch;
};
