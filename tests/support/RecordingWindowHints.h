#pragma once

#include "platform/WindowHints.h"

#include <QList>

// Records what was asked of the window manager, and asks nothing.
class RecordingWindowHints final : public WindowHints {
public:
    enum class Operation { MakePanel, SetUserTime, TakeKeyboard, ReleaseKeyboard };
    struct Call {
        Operation operation;
        QWindow* window = nullptr;
        // The time passed, 0 where the operation takes none.
        quint32 time = 0;

        friend bool operator==(const Call&, const Call&) = default;
    };

    void makePanel(QWindow* window) override { calls.append({Operation::MakePanel, window}); }
    void setUserTime(QWindow* window, quint32 time) override
    {
        calls.append({Operation::SetUserTime, window, time});
    }
    void takeKeyboard(QWindow* window, quint32 time) override
    {
        calls.append({Operation::TakeKeyboard, window, time});
    }
    void releaseKeyboard(QWindow* window) override
    {
        calls.append({Operation::ReleaseKeyboard, window});
    }

    QList<Call> calls;
};
