#pragma once

#include <QUrl>

// What the program asks of the desktop session: opening an address in the user's browser or
// mail program. Tests substitute a recorder so that no browser starts.
class Desktop {
public:
    virtual ~Desktop() = default;

    // Hands the address to the session's handler for its scheme; false when none took it.
    virtual bool openUrl(const QUrl& url) = 0;

protected:
    Desktop() = default;
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;
};
