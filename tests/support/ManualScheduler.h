#pragma once

#include "platform/Scheduler.h"

#include <map>
#include <memory>

// Virtual time for tests: nothing runs until advance() moves the clock past a deadline,
// and due work runs in deadline order (ties in the order it was scheduled).
class ManualScheduler final : public Scheduler {
public:
    explicit ManualScheduler(Date start = Date{1'700'000'000.0});

    Date now() const override { return clock; }
    HandlePtr after(double seconds, std::function<void()> fn) override;
    HandlePtr every(double seconds, std::function<void()> fn) override;

    // Moves the clock forward, running every piece of work that falls due on the way, at
    // its own deadline.
    void advance(double seconds);
    // Number of pieces of work still waiting.
    int pendingCount() const;

private:
    struct Entry {
        double interval = 0; // 0 for one-shot work
        std::function<void()> fn;
        std::shared_ptr<bool> alive;
    };
    using Key = std::pair<double, quint64>;

    HandlePtr schedule(double delay, double interval, std::function<void()> fn);

    Date clock;
    quint64 sequence = 0;
    std::map<Key, Entry> queue;
};
