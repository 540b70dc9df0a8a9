#include "platform/Log.h"

#include <cstdio>

namespace Log {
namespace {
std::function<void(const QString&)>& sink()
{
    static std::function<void(const QString&)> current;
    return current;
}
} // namespace

void line(const QString& text)
{
    if (sink()) {
        sink()(text);
        return;
    }
    const QByteArray utf8 = text.toUtf8();
    std::fprintf(stderr, "%s\n", utf8.constData());
    std::fflush(stderr);
}

Capture::Capture(std::function<void(const QString&)> newSink)
    : previous(std::exchange(sink(), std::move(newSink)))
{
}

Capture::~Capture() { sink() = std::move(previous); }

} // namespace Log
