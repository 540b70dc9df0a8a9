#pragma once

#include "platform/HotKeyBackend.h"

// For desktops that give a program no global keys of its own (a Wayland session without
// XWayland): every grab fails, and the log says which combinations are dead.
class NoHotKeys final : public HotKeyBackend {
public:
    // Not one of the window system's own codes: nothing was asked of it.
    static constexpr int unsupported = -1;
    int grab(quint32, quint32, quint32) override { return unsupported; }
    void releaseAll() override {}
};
