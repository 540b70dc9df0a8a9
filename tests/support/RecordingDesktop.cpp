#include "support/RecordingDesktop.h"

bool RecordingDesktop::openUrl(const QUrl& url)
{
    openedUrls.append(url);
    return true;
}

QString RecordingDesktop::relaunch()
{
    ++relaunches;
    return relaunchFailure;
}
