#include "app/AppLifecycle.h"

#include "platform/Log.h"

using namespace Qt::Literals::StringLiterals;

AppLifecycle::AppLifecycle(Hooks hooks)
    : hooks(std::move(hooks))
{
}

void AppLifecycle::setFlushAll(std::function<bool()> flushAll)
{
    hooks.flushAll = std::move(flushAll);
}

bool AppLifecycle::shouldTerminate()
{
    if (hooks.flushAll && !hooks.flushAll())
        return false;
    willTerminate();
    return true;
}

void AppLifecycle::terminateUnconditionally()
{
    if (hooks.flushAll && !hooks.flushAll())
        Log::line(u"quitting on a signal with notes that could not be saved"_s);
    willTerminate();
}

void AppLifecycle::willTerminate()
{
    if (std::exchange(terminated, true))
        return;
    if (hooks.willTerminate)
        hooks.willTerminate();
}
