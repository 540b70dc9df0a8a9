// Child process for the key race: makes the key under the path it is given, as a launch
// with an empty database does, the moment the test releases it, and prints the probe text
// sealed under whatever key it ended up with (hex), so the test can tell which key that was.
//
//   keyrace KEYPATH GATE   GATE is a FIFO that the test holds open for writing; every racer
//                          blocks reading it and is woken by the test's close, all at once.
#include "notes/Crypto.h"
#include "notes/Note.h"
#include "platform/qt/QtFiles.h"

#include <QByteArray>
#include <QString>

#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: keyrace KEYPATH GATE\n");
        return 2;
    }
    QtFiles files;
    Crypto crypto(QString::fromLocal8Bit(argv[1]), true, files);
    const int gate = ::open(argv[2], O_RDONLY);
    if (gate < 0)
        return 3;
    std::printf("ready\n");
    std::fflush(stdout);
    char byte;
    while (::read(gate, &byte, 1) > 0) {
    }
    ::close(gate);
    try {
        const QByteArray sealed = crypto.seal(u"race"_s);
        std::printf("%s\n", sealed.toHex().constData());
    } catch (const std::exception& e) {
        std::fprintf(stderr, "keyrace: %s\n", e.what());
        return 1;
    }
    return 0;
}
