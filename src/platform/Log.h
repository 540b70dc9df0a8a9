#pragma once

#include <QString>

#include <functional>

// The one way to the system log. Lines are not localised; callers pass the whole text,
// prefix included ("Pondrift: ..." or "Pondrift cloud: ..."), and an em dash before an
// error's description. Without a sink the line goes to standard error, which journald
// collects for a desktop session.
namespace Log {

void line(const QString& text);

// Replaces where lines go until the returned guard is destroyed; tests use it to read lines.
class Capture {
public:
    explicit Capture(std::function<void(const QString&)> sink);
    ~Capture();
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

private:
    std::function<void(const QString&)> previous;
};

} // namespace Log
