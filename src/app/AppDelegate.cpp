#include "app/AppDelegate.h"

#include "app/AppServices.h"
#include "app/HotKeys.h"
#include "app/Migration.h"
#include "notes/NoteStore.h"
#include "notes/NoteText.h"
#include "platform/FolderChooser.h"
#include "platform/Log.h"
#include "surfaces/QuickCapture.h"
#include "sync/CloudSync.h"

#include <QGuiApplication>
#include <QPointer>
#include <QSessionManager>
#include <QSocketNotifier>

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// Written by the signal handler, read on the main thread: the only async-signal-safe way
// from a handler into the event loop.
int signalPipe[2] = {-1, -1};

void onTerminationSignal(int signal)
{
    const char byte = static_cast<char>(signal);
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[0], &byte, 1);
}

// Every signal that asks the process to end. SIGHUP comes when the terminal it was started
// from closes, SIGQUIT from Ctrl+\ there; each would otherwise end it with nothing saved.
constexpr int endingSignals[] = {SIGTERM, SIGINT, SIGHUP, SIGQUIT};

} // namespace

AppDelegate::AppDelegate(AppServices& services)
    : services(services)
    , quitPath(AppLifecycle::Hooks{
          .flushAll = {},
          .unsavedWork = {},
          .askAfterFailedSave = services.askAfterFailedSave(),
          .willTerminate = [] {},
      })
    , commands(services, [this] { terminate(); })
    , relaunch(services, [this] { return terminate(); })
{
    services.setLanguageRelaunch(
        [this](AppLanguage previous) { relaunch.relaunchForLanguageChange(previous); });
    QGuiApplication::setQuitOnLastWindowClosed(false);
    connect(qApp, &QGuiApplication::commitDataRequest, this, &AppDelegate::commitData);
    connect(qApp, &QGuiApplication::applicationStateChanged, this,
            &AppDelegate::applicationStateChanged);
    connect(qApp, &QCoreApplication::aboutToQuit, this, [this] { quitPath.willTerminate(); });
    installSignalHandlers();
    if (const auto& whenLost = services.whenDisplayIsLost()) {
        // The process ends right after; nobody can be asked.
        QPointer<AppDelegate> self(this);
        whenLost([self] {
            if (!self)
                return;
            Log::line(u"the connection to the display broke; saving before the end"_s);
            self->quitPath.terminateUnconditionally();
        });
    }
}

AppDelegate::~AppDelegate()
{
    services.closeDecks();
    for (const int signal : endingSignals)
        std::signal(signal, SIG_DFL);
}

void AppDelegate::applicationDidFinishLaunching()
{
    setAccessoryPolicy();
    runMigration();
    buildMainMenu();
    createDeckManager();
    restoreAfterLanguageRelaunch();
    startUndoToast();
    registerHotKeys();
    startUpdater();
    reloadCloudSync();
}

// On X11 a program without a window has no taskbar entry; nothing to switch.
void AppDelegate::setAccessoryPolicy() {}

// Notes of an install outside the sandbox, brought in before the database opens.
void AppDelegate::runMigration()
{
    if (FolderChooser* chooser = services.folderChooser())
        Migration::runIfNeeded(Migration::Environment::current(), services.paths(),
                               services.files(), *chooser);
}

// No menu bar holds a background program's menu here: the tray's icon carries it, where the
// desktop has a tray, and the deck's own menu everywhere.
void AppDelegate::buildMainMenu() { trayIcon = services.makeTrayIcon(commands); }

// The first use of the note store, which opens the database, reads the key, loads every note
// and seeds the welcome note (storage failures are alerts from here on), then the decks,
// where the program has a deck window to show them in.
void AppDelegate::createDeckManager()
{
    services.openNotes();
    services.openDecks(commands.forDecks());
    quitPath.setFlushAll([this] { return services.noteStore().flushAll(); });
    quitPath.setUnsavedWork([this] { return unsavedWork(); });
}

UnsavedWork AppDelegate::unsavedWork() const
{
    NoteStore& notes = services.noteStore();
    UnsavedWork work{.reason = notes.lastError().value_or(QString()), .titles = {}};
    // In the library's order, so that the list reads like the deck.
    for (const Note& note : notes.notes()) {
        if (notes.unsavedIDs().contains(note.id))
            work.titles << NoteText::displayTitle(note);
    }
    return work;
}

// Re-opens what was open before a language change restarted the process.
void AppDelegate::restoreAfterLanguageRelaunch() { relaunch.restoreAfterLanguageRelaunch(); }

// The countdown toast of the last deletion.
void AppDelegate::startUndoToast() {}

// New note, all notes, archive and quick capture from anywhere on the desktop.
void AppDelegate::registerHotKeys()
{
    HotKeys* keys = services.hotKeys();
    if (!keys)
        return;
    keys->registerActions(
        [this](quint32) { commands.run(u"newNote"_s); },
        [this](quint32) { commands.runOrLog(u"openAllNotes"_s, u"the list of all notes"_s); },
        [this](quint32) { commands.runOrLog(u"openArchive"_s, u"the archive"_s); },
        // The press's time lets the panel take the keyboard.
        [this](quint32 time) {
            if (QuickCapture* capture = services.quickCapture())
                capture->toggle(time);
            else
                commands.runOrLog(u"quickCapture"_s, u"quick capture"_s);
        });
}

// On Linux the program is updated through the system's packages; there is no updater.
void AppDelegate::startUpdater() {}

// Mirroring notes into the sync folder when the setting is on. The engine is made once and
// follows the setting from then on.
void AppDelegate::reloadCloudSync()
{
    services.makeSync();
    services.cloudSync()->reload();
}

// Coming back to the program is a good moment to pick up what other machines wrote.
void AppDelegate::applicationStateChanged(Qt::ApplicationState state)
{
    if (state == Qt::ApplicationActive && services.cloudSync())
        services.cloudSync()->syncNow();
}

bool AppDelegate::terminate()
{
    if (!quitPath.shouldTerminate())
        return false;
    QCoreApplication::quit();
    return true;
}

// The session asks for everything to be saved and may still go on (a cancelled logout), so
// nothing here ends the process. When the notes cannot be saved and the session lets us ask,
// the person decides; staying cancels the logout.
void AppDelegate::commitData(QSessionManager& manager)
{
    if (quitPath.commitData([&manager] { return manager.allowsInteraction(); }))
        manager.cancel();
    manager.release();
}

void AppDelegate::installSignalHandlers()
{
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, signalPipe) != 0) {
        Log::line(u"cannot watch for termination signals"_s);
        return;
    }
    signalNotifier = new QSocketNotifier(signalPipe[1], QSocketNotifier::Read, this);
    connect(signalNotifier, &QSocketNotifier::activated, this, &AppDelegate::onSignal);
    struct sigaction action = {};
    action.sa_handler = onTerminationSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int signal : endingSignals)
        ::sigaction(signal, &action, nullptr);
}

void AppDelegate::onSignal()
{
    char byte = 0;
    [[maybe_unused]] const ssize_t got = ::read(signalPipe[1], &byte, 1);
    quitPath.terminateUnconditionally();
    QCoreApplication::quit();
}
