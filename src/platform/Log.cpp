#include "platform/Log.h"

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace Log {
namespace {

std::function<void(const QString&)>& sink()
{
    static std::function<void(const QString&)> current;
    return current;
}

void write(const QString& prefix, const QString& what, const QString& detail)
{
    const QString text = detail.isEmpty() ? prefix + what : prefix + what + u" — "_s + detail;
    if (sink()) {
        sink()(text);
        return;
    }
    const QByteArray utf8 = text.toUtf8();
    std::fprintf(stderr, "%s\n", utf8.constData());
    std::fflush(stderr);
}

} // namespace

void line(const QString& what, const QString& detail) { write(u"Pondrift: "_s, what, detail); }

void cloud(const QString& what, const QString& detail)
{
    write(u"Pondrift cloud: "_s, what, detail);
}

Capture::Capture(std::function<void(const QString&)> newSink)
    : previous(std::exchange(sink(), std::move(newSink)))
{
}

Capture::~Capture() { sink() = std::move(previous); }

} // namespace Log
