// Child process for the one-instance tests: a start of the program as far as the instance
// guard goes. It claims the instance in FOLDER with the given items as its request and says
// on standard output how that went, one line:
//   running               it is the instance; then one "got ITEM|ITEM..." line per request
//                         it receives, until a request holds "quit"
//   handed                the running instance took the request
//   refused REASON|...    the running instance (or the size check) refused it
//   unreachable WHY|...   an instance runs but could not be reached
// Items that start with "refuse" are refused by the running helper.
//
//   instance FOLDER [--gate FIFO] [--big BYTES] [ITEM...]
//     --gate   wait, after printing "ready", until the test closes the FIFO's write end, so
//              that several starts claim at the same instant
//     --big    add one item of BYTES letters
// Exit status: 0 for running (after quit) and handed, 1 otherwise.
#include "platform/qt/QtSingleInstance.h"

#include <QCoreApplication>
#include <QFile>
#include <QTimer>

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

void say(const QString& line)
{
    std::printf("%s\n", line.toUtf8().constData());
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QStringList args = QCoreApplication::arguments().mid(1);
    if (args.isEmpty()) {
        std::fprintf(stderr, "usage: instance FOLDER [--gate FIFO] [--big BYTES] [ITEM...]\n");
        return 2;
    }
    const QString folder = args.takeFirst();
    QString gate;
    QStringList request;
    while (!args.isEmpty()) {
        const QString arg = args.takeFirst();
        if (arg == u"--gate"_s && !args.isEmpty())
            gate = args.takeFirst();
        else if (arg == u"--big"_s && !args.isEmpty())
            request << QString(args.takeFirst().toInt(), u'a');
        else
            request << arg;
    }
    if (!gate.isEmpty()) {
        const int fd = ::open(QFile::encodeName(gate).constData(), O_RDONLY);
        if (fd < 0)
            return 3;
        say(u"ready"_s);
        char byte;
        while (::read(fd, &byte, 1) > 0) {
        }
        ::close(fd);
    }

    QtSingleInstance instance(folder);
    const SingleInstance::Outcome outcome = instance.claim(request);
    switch (outcome.kind) {
    case SingleInstance::Outcome::Kind::HandedOver:
        say(u"handed"_s);
        return 0;
    case SingleInstance::Outcome::Kind::Refused:
        say(u"refused "_s + outcome.details.join(u'|'));
        return 1;
    case SingleInstance::Outcome::Kind::Unreachable:
        say(u"unreachable "_s + outcome.details.join(u'|'));
        return 1;
    case SingleInstance::Outcome::Kind::Running:
        break;
    }
    say(u"running"_s);
    instance.setReceiver([](const QStringList& items) {
        say(u"got "_s + items.join(u'|'));
        QStringList refused;
        for (const QString& item : items) {
            if (item.startsWith(u"refuse"_s))
                refused << u"no to "_s + item;
        }
        if (items.contains(u"quit"_s))
            QTimer::singleShot(0, qApp, &QCoreApplication::quit);
        return refused;
    });
    return app.exec();
}
