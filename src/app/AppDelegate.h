#pragma once

#include "app/AppActions.h"
#include "app/AppLifecycle.h"
#include "app/Relaunch.h"

#include <QObject>

#include <memory>

class AppServices;
class QSessionManager;
class QSocketNotifier;

// The process: the launch sequence, in its fixed order, and every way of quitting. The
// objects themselves live in AppServices. Each launch step is a method of its own; a step
// whose subsystem has not been built yet does nothing.
class AppDelegate final : public QObject {
    Q_OBJECT

public:
    // services must outlive the delegate.
    explicit AppDelegate(AppServices& services);
    ~AppDelegate() override;

    void applicationDidFinishLaunching();

    // The quit of the menu and of every other front end: saves first; when the notes cannot
    // be saved it asks, and the process keeps running unless the person gives them up.
    // True when the process is ending.
    bool terminate();

    AppLifecycle& lifecycle() { return quitPath; }
    AppActions& actions() { return commands; }

private:
    // Launch steps, in order.
    void setAccessoryPolicy();
    void runMigration();
    void buildMainMenu();
    void createDeckManager();
    void restoreAfterLanguageRelaunch();
    void startUndoToast();
    void registerHotKeys();
    void startUpdater();
    void reloadCloudSync();

    void commitData(QSessionManager& manager);
    void installSignalHandlers();
    void onSignal();
    UnsavedWork unsavedWork() const;

    void applicationStateChanged(Qt::ApplicationState state);

    AppServices& services;
    AppLifecycle quitPath;
    AppActions commands;
    Relaunch relaunch;
    // After the commands it runs, so that it goes first.
    std::unique_ptr<QObject> trayIcon;
    QSocketNotifier* signalNotifier = nullptr;
};
