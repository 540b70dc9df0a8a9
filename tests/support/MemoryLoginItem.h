#pragma once

#include "platform/LoginItem.h"

// A login item in memory. With failure set, enable and disable change nothing and report it.
class MemoryLoginItem final : public LoginItem {
public:
    bool isEnabled() const override { return enabled; }
    std::optional<QString> enable() override { return change(true); }
    std::optional<QString> disable() override { return change(false); }

    bool enabled = false;
    std::optional<QString> failure;
    int changes = 0;

private:
    std::optional<QString> change(bool on)
    {
        if (failure)
            return failure;
        enabled = on;
        ++changes;
        return std::nullopt;
    }
};
