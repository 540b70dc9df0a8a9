#include "platform/qt/QtDesktop.h"

#include <QDesktopServices>

bool QtDesktop::openUrl(const QUrl& url) { return QDesktopServices::openUrl(url); }
