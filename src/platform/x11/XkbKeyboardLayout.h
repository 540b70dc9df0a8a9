#pragma once

#include "platform/KeyboardLayout.h"

#include <memory>

// The X server's keyboard layout through XKB. Holds its own connection to the display, so
// it works whatever Qt's platform is, as long as an X server is reachable.
//
// It follows the server: when the layout or the key map is replaced (setxkbmap, a desktop's
// keyboard settings), the burst of notifications that brings the change is let settle, the
// key map is read again and the change listeners are told.
class XkbKeyboardLayout final : public KeyboardLayout {
public:
    // Absent when no X server answers or it lacks the XKB extension.
    // REQUIRES: called on the main thread, with the application object already made; the
    // server is watched from that thread's event loop.
    static std::unique_ptr<XkbKeyboardLayout> open();
    ~XkbKeyboardLayout() override;

    // Reads the group (layout) in effect at the moment of the call, so switching between
    // the layouts of one keyboard needs no reload.
    QString character(quint32 keyCode) const override;
    std::optional<quint32> keyCodeForScanCode(quint32 scanCode) const override;

    // False once the connection to the X server has broken (or the server refused to send
    // keyboard notifications); the key map last read then stays in use.
    bool isFollowingChanges() const;

private:
    struct Connection;
    explicit XkbKeyboardLayout(std::unique_ptr<Connection> connection);
    bool reload();
    void watch();
    std::unique_ptr<Connection> connection;
};
