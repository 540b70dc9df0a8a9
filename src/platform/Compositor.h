#pragma once

#include "platform/Subscription.h"

#include <functional>

// Whether a compositing manager draws the screen. Only then do a translucent window's clear
// parts show what lies behind it, and shadows render; without one the clear parts come out
// black, so a panel that is meant to float over the desktop paints itself opaque instead.
// The answer changes while the program runs (a compositor is started or killed, a desktop
// turns its effects off). Main thread only.
class Compositor {
public:
    virtual ~Compositor() = default;

    // A compositing manager owns the screen: transparency and shadows render.
    virtual bool isActive() const = 0;
    // Calls back on the main thread each time that changes, with the new value, while the
    // subscription lives. Not called for the value isActive() gives now.
    [[nodiscard]] virtual Subscription onChanged(std::function<void(bool active)> callback) = 0;

protected:
    Compositor() = default;
    Compositor(const Compositor&) = delete;
    Compositor& operator=(const Compositor&) = delete;
};
