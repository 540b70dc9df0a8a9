#include "support/PrivateBus.h"

#include <QDeadlineTimer>

using namespace Qt::Literals::StringLiterals;

PrivateBus::PrivateBus()
{
    daemon.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address=1"_s});
    QByteArray printed;
    const QDeadlineTimer deadline(30000);
    while (!printed.endsWith('\n') && !deadline.hasExpired()
           && daemon.state() != QProcess::NotRunning) {
        daemon.waitForReadyRead(100);
        printed += daemon.readAllStandardOutput();
    }
    if (printed.endsWith('\n'))
        where = QString::fromUtf8(printed.trimmed());
}

PrivateBus::~PrivateBus()
{
    if (daemon.state() != QProcess::NotRunning) {
        daemon.terminate();
        daemon.waitForFinished(10000);
    }
}
