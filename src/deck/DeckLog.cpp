#include "deck/DeckLog.h"

#include <cstdio>

namespace DeckLog {

bool enabled()
{
    // The environment is not expected to change while the program runs, and the trace sits
    // on paths as hot as the idle watch.
    static const bool on = qEnvironmentVariable("PONDRIFT_DEBUG_DECK") == u"1";
    return on;
}

void write(const QString& message)
{
    const QByteArray bytes = QByteArrayLiteral("[deck] ") + message.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stderr);
    std::fflush(stderr);
}

} // namespace DeckLog
