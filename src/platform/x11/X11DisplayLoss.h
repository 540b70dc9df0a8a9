#pragma once

#include <functional>

// Qt ends the process with exit() as soon as it finds its connection to the X server broken
// (the server was killed, as desktops without session management do at logout), right after
// a warning. That warning is the last moment at which the whole program still works: later,
// in the exit handlers, libraries have begun to tear themselves down.
namespace X11DisplayLoss {

// Runs beforeTheEnd once, on the main thread, when Qt reports anything while its X connection
// is broken. Does nothing on a platform other than xcb. Call once, after the application
// object exists.
void callBeforeExit(std::function<void()> beforeTheEnd);

} // namespace X11DisplayLoss
