#pragma once

#include "platform/Scheduler.h"

// Scheduler over QTimer on the thread that calls it (the main thread) and the wall clock.
class QtScheduler final : public Scheduler {
public:
    Date now() const override;
    HandlePtr after(double seconds, std::function<void()> fn) override;
    HandlePtr every(double seconds, std::function<void()> fn) override;
};
