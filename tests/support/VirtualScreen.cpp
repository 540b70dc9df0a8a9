#include "support/VirtualScreen.h"

#include <QDeadlineTimer>

using namespace Qt::Literals::StringLiterals;

VirtualScreen::~VirtualScreen()
{
    if (server.state() != QProcess::NotRunning) {
        server.terminate();
        server.waitForFinished(10000);
    }
}

QByteArray VirtualScreen::start(QSize size)
{
    // The server picks a free display number and writes it on the descriptor it is given.
    server.start(u"Xvfb"_s,
                 {u"-displayfd"_s, u"1"_s, u"-noreset"_s, u"-nolisten"_s, u"tcp"_s, u"-screen"_s,
                  u"0"_s, u"%1x%2x24"_s.arg(size.width()).arg(size.height())});
    if (!server.waitForStarted())
        return {};
    QByteArray number;
    const QDeadlineTimer deadline(30000);
    while (!number.endsWith('\n') && !deadline.hasExpired()
           && server.state() == QProcess::Running) {
        server.waitForReadyRead(100);
        number += server.readAllStandardOutput();
    }
    if (!number.endsWith('\n'))
        return {};
    return ":" + number.trimmed();
}
