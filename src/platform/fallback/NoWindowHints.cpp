#include "platform/fallback/NoWindowHints.h"

#include <QWindow>

void NoWindowHints::takeKeyboard(QWindow* window, quint32)
{
    // Qt refuses to activate a window that does not accept focus.
    window->setFlag(Qt::WindowDoesNotAcceptFocus, false);
    window->requestActivate();
}

void NoWindowHints::releaseKeyboard(QWindow* window)
{
    window->setFlag(Qt::WindowDoesNotAcceptFocus, true);
}
