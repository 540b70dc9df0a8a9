#pragma once

#include "platform/WindowHints.h"

// For window systems that take no such hints (a Wayland session without XWayland): panels
// keep what Qt's window flags give them. Taking the keyboard is still Qt's part, the flag and
// the request, without a user time.
class NoWindowHints final : public WindowHints {
public:
    void makePanel(QWindow*) override {}
    void makeFloating(QWindow*) override {}
    void setUserTime(QWindow*, quint32) override {}
    void takeKeyboard(QWindow* window, quint32 time) override;
    void releaseKeyboard(QWindow* window) override;
    void setBlurBehind(QWindow*, bool) override {}
    void setInputRegion(QWindow*, const std::optional<QRegion>&) override {}
};
