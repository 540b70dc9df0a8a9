#pragma once

#include <functional>

// The quit decision, apart from any toolkit so that it can be tested: before the process
// ends, every unsaved note must reach the database. A quit that cannot save is refused and
// the process stays, with the failure already shown to the user by the note store.
class AppLifecycle {
public:
    struct Hooks {
        // Saves everything unsaved; false when something could not be saved.
        std::function<bool()> flushAll;
        // Runs once the quit is certain (hot keys are let go here).
        std::function<void()> willTerminate;
    };

    explicit AppLifecycle(Hooks hooks);

    // Asks whether the process may end now. Runs the flush every time it is asked.
    bool shouldTerminate();
    // A quit that cannot be refused (SIGTERM, SIGINT): flush once, log a failure, and let go.
    void terminateUnconditionally();
    // Called once when the process is certain to end; later calls do nothing.
    void willTerminate();

    void setFlushAll(std::function<bool()> flushAll);

private:
    Hooks hooks;
    bool terminated = false;
};
