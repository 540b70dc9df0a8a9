#include "app/AppDelegate.h"
#include "app/AppServices.h"
#include "app/CommandLine.h"
#include "app/ui/ProductionBackends.h"
#include "platform/Log.h"
#include "platform/qt/QtDesktop.h"

#include <QApplication>
#include <QDir>
#include <QIcon>

#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

void print(std::FILE* to, const QString& text) { std::fputs(text.toLocal8Bit().constData(), to); }

// After the toolkit has taken its own options. A later start that hands its request over ends
// here; so does one the running instance refused, with a failure status for the caller.
std::optional<int> endBeforeLaunch(SingleInstance& instance, const CommandLine::Parsed& line)
{
    const SingleInstance::Outcome outcome = instance.claim(line.urls);
    switch (outcome.kind) {
    case SingleInstance::Outcome::Kind::Running:
        for (const QString& warning : outcome.details)
            Log::line(warning);
        return std::nullopt;
    case SingleInstance::Outcome::Kind::HandedOver:
        if (line.urls.isEmpty())
            Log::line(u"already running"_s);
        return 0;
    case SingleInstance::Outcome::Kind::Refused:
        for (const QString& reason : outcome.details)
            Log::line(u"the running instance refused the request"_s, reason);
        return 1;
    case SingleInstance::Outcome::Kind::Unreachable:
        for (const QString& reason : outcome.details)
            Log::line(u"already running, but the request could not be handed over"_s, reason);
        return 1;
    }
    return 1;
}

// The theme's icon first: it is the one the desktop entry names, and a theme may draw its own.
// Run from the build tree, uninstalled, the program's embedded copies stand in.
QIcon applicationIcon()
{
    QIcon embedded;
    for (const int size : {16, 32, 64, 256})
        embedded.addFile(u":/icons/%1x%1/app.pondrift.Pondrift.png"_s.arg(size), QSize(size, size));
    return QIcon::fromTheme(u"app.pondrift.Pondrift"_s, embedded);
}

} // namespace

int main(int argc, char* argv[])
{
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
            print(stdout, CommandLine::usage());
            return 0;
        }
    }
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
    QApplication::setWindowIcon(applicationIcon());

    const CommandLine::Parsed line = CommandLine::parse(QApplication::arguments().mid(1));
    if (!line.error.isEmpty()) {
        print(stderr, u"pondrift: "_s + line.error + u"\n\n"_s + CommandLine::usage());
        return 2;
    }
    // Before anything opens the notes: two processes over one library would each save over
    // the other's edits.
    QtDesktop::awaitReplacedProcess();
    const std::unique_ptr<SingleInstance> instance = makeSingleInstance();
    if (const std::optional<int> status = endBeforeLaunch(*instance, line))
        return *status;

    AppServices services(makeProductionBackends(), Paths::user(), QDir::homePath());
    AppDelegate delegate(services);
    delegate.applicationDidFinishLaunching();
    instance->setReceiver(
        [&delegate](const QStringList& urls) { return delegate.actions().openUrls(urls); });
    delegate.actions().openUrls(line.urls);
    return app.exec();
}
