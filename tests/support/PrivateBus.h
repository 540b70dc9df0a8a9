#pragma once

#include <QProcess>
#include <QString>

// A D-Bus session bus of the test's own, so that a test meets a real daemon without reaching
// the desktop's bus (or needing one).
class PrivateBus {
public:
    PrivateBus();
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    // The bus's address for DBUS_SESSION_BUS_ADDRESS; empty when the daemon did not start.
    QString address() const { return where; }

private:
    QProcess daemon;
    QString where;
};
