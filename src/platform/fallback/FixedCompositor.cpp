#include "platform/fallback/FixedCompositor.h"

#include <QGuiApplication>

using namespace Qt::Literals::StringLiterals;

namespace {

bool platformComposites()
{
    const QString platform = QGuiApplication::platformName();
    return platform == u"offscreen"_s || platform.startsWith(u"wayland"_s);
}

} // namespace

FixedCompositor::FixedCompositor()
    : FixedCompositor(platformComposites())
{
}

FixedCompositor::FixedCompositor(bool active)
    : active(active)
{
}

Subscription FixedCompositor::onChanged(std::function<void(bool)> callback)
{
    return listeners.add(std::move(callback));
}

void FixedCompositor::setActive(bool now)
{
    if (now == active)
        return;
    active = now;
    listeners.notify(active);
}
