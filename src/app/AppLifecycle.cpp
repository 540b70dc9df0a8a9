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

void AppLifecycle::setUnsavedWork(std::function<UnsavedWork()> unsavedWork)
{
    hooks.unsavedWork = std::move(unsavedWork);
}

bool AppLifecycle::saveOrAsk()
{
    while (hooks.flushAll && !hooks.flushAll()) {
        if (!hooks.askAfterFailedSave)
            return false;
        switch (hooks.askAfterFailedSave(hooks.unsavedWork ? hooks.unsavedWork() : UnsavedWork{})) {
        case QuitChoice::TryAgain:
            continue;
        case QuitChoice::QuitWithoutSaving:
            logLoss(u"quitting without saving, as asked"_s);
            return true;
        case QuitChoice::Stay:
            return false;
        }
    }
    return true;
}

bool AppLifecycle::shouldTerminate() { return saveOrAsk(); }

bool AppLifecycle::commitData(const std::function<bool()>& mayAsk)
{
    if (!hooks.flushAll || hooks.flushAll())
        return false;
    if (hooks.askAfterFailedSave && mayAsk())
        return !saveOrAsk();
    logLoss(u"the session is ending with notes that could not be saved"_s);
    return false;
}

void AppLifecycle::terminateUnconditionally()
{
    if (hooks.flushAll && !hooks.flushAll())
        logLoss(u"ending with notes that could not be saved"_s);
    willTerminate();
}

void AppLifecycle::willTerminate()
{
    if (std::exchange(terminated, true))
        return;
    if (hooks.willTerminate)
        hooks.willTerminate();
}

// The log is all that is left of the changes once the process is gone, so it names them.
void AppLifecycle::logLoss(const QString& how)
{
    const UnsavedWork lost = hooks.unsavedWork ? hooks.unsavedWork() : UnsavedWork{};
    QString detail = lost.titles.join(u", "_s);
    if (!lost.reason.isEmpty())
        detail += (detail.isEmpty() ? u""_s : u"; "_s) + lost.reason;
    Log::line(how, detail);
}
