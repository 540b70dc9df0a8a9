#pragma once

#include <QString>

#include <functional>

// The one way to the system log. Lines are not localised. The helper writes the prefix
// ("Pondrift: " or, for the folder sync, "Pondrift cloud: ") and, when there is a detail such
// as an error's description, an em dash before it: "Pondrift: storage failure — disk full".
// Without a sink the line goes to standard error, which journald collects for a desktop
// session.
namespace Log {

void line(const QString& what, const QString& detail = {});
void cloud(const QString& what, const QString& detail = {});

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
