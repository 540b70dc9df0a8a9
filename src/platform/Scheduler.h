#pragma once

#include "platform/Date.h"

#include <functional>
#include <memory>

// Every delay and timer of the program goes through a Scheduler, so that tests can advance
// virtual time and see exactly what fires. All work runs on the main thread.
class Scheduler {
public:
    // Owning handle of one piece of scheduled work. Dropping the handle or calling cancel()
    // guarantees that the work does not run afterwards; cancelling twice is harmless.
    class Handle {
    public:
        virtual ~Handle() = default;
        virtual void cancel() = 0;
        virtual bool isActive() const = 0;
    };
    using HandlePtr = std::unique_ptr<Handle>;

    virtual ~Scheduler() = default;
    Scheduler() = default;
    Scheduler(const Scheduler&) = delete;
    Scheduler& operator=(const Scheduler&) = delete;

    virtual Date now() const = 0;
    // Runs fn once, seconds from now. Work must re-check its state when it runs.
    virtual HandlePtr after(double seconds, std::function<void()> fn) = 0;
    // Runs fn every interval seconds until the handle is cancelled or dropped.
    virtual HandlePtr every(double seconds, std::function<void()> fn) = 0;
};
