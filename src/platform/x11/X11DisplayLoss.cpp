#include "platform/x11/X11DisplayLoss.h"

#include <QGuiApplication>

#include <xcb/xcb.h>

namespace X11DisplayLoss {
namespace {

QtMessageHandler previous = nullptr;
xcb_connection_t* connection = nullptr;

std::function<void()>& pending()
{
    static std::function<void()> work;
    return work;
}

void watch(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    // Not the warning's text, which Qt may change: the connection's own state says it.
    if (connection && xcb_connection_has_error(connection)) {
        if (std::function<void()> work = std::exchange(pending(), nullptr))
            work();
    }
    if (previous)
        previous(type, context, message);
}

} // namespace

void callBeforeExit(std::function<void()> beforeTheEnd)
{
    auto* x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    if (!x11 || !x11->connection())
        return;
    connection = x11->connection();
    pending() = std::move(beforeTheEnd);
    previous = qInstallMessageHandler(&watch);
}

} // namespace X11DisplayLoss
