#pragma once

#include "app/AppLifecycle.h"

#include <QObject>

#include <memory>

class CloudFolder;
class CloudSync;
class KeyboardLayout;
class MassDeleteDialog;
class QSessionManager;
class QSocketNotifier;

// The process: the launch sequence, in its fixed order, and every way of quitting. It owns
// what lives for the whole run. Each launch step is a method of its own; a step whose
// subsystem has not been built yet does nothing.
class AppDelegate final : public QObject {
    Q_OBJECT

public:
    AppDelegate();
    ~AppDelegate() override;

    void applicationDidFinishLaunching();

    // The quit of the menu and of every other front end: saves first, and refuses (the
    // process keeps running) when the notes cannot be saved.
    void terminate();

    AppLifecycle& lifecycle() { return quitPath; }

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

    void installKeyboardLayout();
    void applicationStateChanged(Qt::ApplicationState state);

    AppLifecycle quitPath;
    QSocketNotifier* signalNotifier = nullptr;
    std::unique_ptr<KeyboardLayout> keyboardLayout;
    std::unique_ptr<CloudFolder> syncFolder;
    std::unique_ptr<MassDeleteDialog> massDeletePrompt;
    std::unique_ptr<CloudSync> cloudSync;
};
