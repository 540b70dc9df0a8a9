#pragma once

#include "platform/KeyboardLayout.h"

// A fixed US layout, for when the desktop's own cannot be read (no X server, Wayland).
class UsKeyboardLayout final : public KeyboardLayout {
public:
    QString character(quint32 keyCode) const override;
    std::optional<quint32> keyCodeForScanCode(quint32) const override { return std::nullopt; }
};
