#pragma once

#include "platform/WindowHints.h"

#include <QList>

#include <memory>

// The panel hints on X11, through the EWMH properties and client messages that Qt's own
// window flags do not reach: the dock window type, _NET_WM_STATE (sticky, skip taskbar, skip
// pager, above),
// _NET_WM_DESKTOP for every workspace, _NET_WM_USER_TIME and _NET_ACTIVE_WINDOW; the blur
// region KWin reads; and the input shape.
//
// REQUIRES: the windows passed keep Qt::WindowStaysOnTopHint in their flags. Qt restates
// "above" from that flag whenever a shown window's flags change, and taking or releasing the
// keyboard changes them.
class X11WindowHints final : public WindowHints {
public:
    // Absent when the application does not run on Qt's xcb platform.
    static std::unique_ptr<X11WindowHints> open();
    ~X11WindowHints() override;

    void makePanel(QWindow* window) override;
    void makeFloating(QWindow* window) override;
    void setUserTime(QWindow* window, quint32 time) override;
    void takeKeyboard(QWindow* window, quint32 time) override;
    void releaseKeyboard(QWindow* window) override;
    void setBlurBehind(QWindow* window, bool on) override;
    // Through the X Shape extension's input shape; nothing where the server lacks it.
    void setInputRegion(QWindow* window, const std::optional<QRegion>& region) override;

private:
    struct Connection;
    class FocusWatch;
    explicit X11WindowHints(std::unique_ptr<Connection> connection);
    void makeDock(QWindow* window);
    void addStates(QWindow* window, const QList<quint32>& wanted);
    quint32 serverTime();
    void handBackLater(QWindow* window, quint32 previous, int attempt);
    std::unique_ptr<Connection> x;
    std::unique_ptr<FocusWatch> focusWatch;
};
