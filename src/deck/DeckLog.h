#pragma once

#include <QString>

#include <concepts>

// The deck's debug trace: "[deck] " lines on standard error, written only when the process
// started with PONDRIFT_DEBUG_DECK=1. Not the system log, and not localised.
namespace DeckLog {

// Read from the environment once, on first use.
bool enabled();
void write(const QString& message);

// The message is built only when the trace is on, so a trace line costs nothing otherwise.
template <std::invocable F>
void line(F&& message)
{
    if (enabled())
        write(message());
}

} // namespace DeckLog
