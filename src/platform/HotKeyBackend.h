#pragma once

#include <QtGlobal>

#include <functional>

// Key combinations that reach the program from anywhere on the desktop. Combinations are the
// stored key codes and modifier masks (see KeyCodes); the backend maps them to the desktop's
// own numbering, and keeps them grabbed when the keyboard's layout changes. Main thread only.
class HotKeyBackend {
public:
    virtual ~HotKeyBackend() = default;

    // 0 when the combination is now the program's; otherwise the desktop's failure status
    // (on X11 the error code: 10, BadAccess, when another program holds it).
    virtual int grab(quint32 id, quint32 keyCode, quint32 modifiers) = 0;
    virtual void releaseAll() = 0;

    // Called from the event loop with a grabbed combination's id and the press's time (the
    // window system's clock for user input; 0 when it gives none).
    std::function<void(quint32 id, quint32 time)> pressed;

protected:
    HotKeyBackend() = default;
    HotKeyBackend(const HotKeyBackend&) = delete;
    HotKeyBackend& operator=(const HotKeyBackend&) = delete;
};
