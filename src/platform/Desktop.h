#pragma once

#include <QString>
#include <QUrl>

// What the program asks of the desktop session: opening an address in the user's browser or
// mail program, and starting itself anew. Tests substitute a recorder so that no browser and
// no second program starts.
class Desktop {
public:
    virtual ~Desktop() = default;

    // Hands the address to the session's handler for its scheme; false when none took it.
    virtual bool openUrl(const QUrl& url) = 0;
    // Starts another process of this program, the same executable with the same environment
    // and no arguments, detached so that it outlives this one. The new process waits for this
    // one to end before it claims the single instance (see QtDesktop::awaitReplacedProcess).
    // Empty on success, else why it could not start; a desktop that cannot start programs
    // says so.
    virtual QString relaunch() { return QStringLiteral("this desktop cannot start programs"); }

protected:
    Desktop() = default;
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;
};
