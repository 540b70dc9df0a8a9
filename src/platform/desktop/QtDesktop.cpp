#include "platform/desktop/QtDesktop.h"

#include <QDesktopServices>

QtDesktop& QtDesktop::shared()
{
    static QtDesktop desktop;
    return desktop;
}

bool QtDesktop::openUrl(const QUrl& url)
{
    return QDesktopServices::openUrl(url);
}
