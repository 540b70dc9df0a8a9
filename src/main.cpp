#include "app/AppDelegate.h"
#include "app/AppServices.h"
#include "app/ui/ProductionBackends.h"

#include <QApplication>
#include <QDir>

#include <cstdio>

int main(int argc, char* argv[])
{
    // Wayland clients may not place their own windows or stay on top, which an edge deck
    // needs: prefer X11 (XWayland on a Wayland session).
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        if (qEnvironmentVariableIsEmpty("DISPLAY")
            && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
            std::fprintf(stderr,
                         "Pondrift needs a graphical session, and there is none "
                         "(DISPLAY and WAYLAND_DISPLAY are unset).\n"
                         "To run it without a screen: xvfb-run -a %s\n",
                         argv[0]);
            return 2;
        }
        qputenv("QT_QPA_PLATFORM", "xcb;wayland");
    }
    QApplication::setOrganizationName(QStringLiteral("Pondrift"));
    QApplication::setApplicationName(QStringLiteral("Pondrift"));
    QApplication::setDesktopFileName(QStringLiteral("app.pondrift.Pondrift"));
    QApplication app(argc, argv);

    AppServices services(makeProductionBackends(), Paths::user(), QDir::homePath());
    AppDelegate delegate(services);
    delegate.applicationDidFinishLaunching();
    return app.exec();
}
