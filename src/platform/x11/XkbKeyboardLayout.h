#pragma once

#include "platform/KeyboardLayout.h"

#include <memory>

// The X server's keyboard layout through XKB. Holds its own connection to the display, so
// it works whatever Qt's platform is, as long as an X server is reachable.
class XkbKeyboardLayout final : public KeyboardLayout {
public:
    // Absent when no X server answers or it lacks the XKB extension.
    static std::unique_ptr<XkbKeyboardLayout> open();
    ~XkbKeyboardLayout() override;

    // Reads the group (layout) in effect at the moment of the call, so switching layouts
    // needs no reload.
    QString character(quint32 keyCode) const override;
    std::optional<quint32> keyCodeForScanCode(quint32 scanCode) const override;
    // Reads the keymap again; call after the server reports a mapping change.
    bool reload();

private:
    struct Connection;
    explicit XkbKeyboardLayout(std::unique_ptr<Connection> connection);
    std::unique_ptr<Connection> connection;
};
