#pragma once

#include "platform/WindowHints.h"

#include <QList>

// Records what was asked of the window manager, and asks nothing.
class RecordingWindowHints final : public WindowHints {
public:
    enum class Operation {
        MakePanel,
        MakeFloating,
        SetUserTime,
        TakeKeyboard,
        ReleaseKeyboard,
        SetBlurBehind,
        SetInputRegion
    };
    struct Call {
        Operation operation;
        QWindow* window = nullptr;
        // The time passed, 0 where the operation takes none.
        quint32 time = 0;
        // Whether blur was asked on; false for the other operations.
        bool on = false;
        // The input region asked for; absent for the whole window and the other operations.
        std::optional<QRegion> region = std::nullopt;

        friend bool operator==(const Call&, const Call&) = default;
    };

    void makePanel(QWindow* window) override { calls.append({Operation::MakePanel, window}); }
    void makeFloating(QWindow* window) override { calls.append({Operation::MakeFloating, window}); }
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
    void setBlurBehind(QWindow* window, bool on) override
    {
        calls.append({Operation::SetBlurBehind, window, 0, on});
    }
    void setInputRegion(QWindow* window, const std::optional<QRegion>& region) override
    {
        calls.append({Operation::SetInputRegion, window, 0, false, region});
    }

    QList<Call> calls;
};
