#pragma once

#include "platform/Compositor.h"

// An answer that only changes when told, for window systems with no way to watch for a
// compositor: it composites always on Wayland, and on the offscreen platform, whose images
// keep their alpha; elsewhere it is taken to be absent, so panels stay readable.
class FixedCompositor final : public Compositor {
public:
    // The answer for the platform Qt runs on.
    FixedCompositor();
    explicit FixedCompositor(bool active);

    bool isActive() const override { return active; }
    Subscription onChanged(std::function<void(bool active)> callback) override;

    // Tells the subscribers when the answer differs from the one before.
    void setActive(bool active);

private:
    bool active;
    Listeners<bool> listeners;
};
