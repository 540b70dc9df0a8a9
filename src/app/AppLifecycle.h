#pragma once

#include <QString>
#include <QStringList>

#include <functional>

// What a failed save before quitting would leave behind.
struct UnsavedWork {
    // The last storage failure, as the user was shown it.
    QString reason;
    // The notes whose changes are not on disk, by the titles the user knows them by.
    QStringList titles;
};

// The answers to "your notes could not be saved" when quitting.
enum class QuitChoice { TryAgain, QuitWithoutSaving, Stay };

// The quit decision, apart from any toolkit so that it can be tested: before the process
// ends, every unsaved note must reach the database. When it cannot, a person who can be
// asked chooses between trying again, quitting without those changes and staying; an
// ending that cannot ask (a signal, a lost display, a session that allows no questions)
// saves what it can and writes down what it could not.
//
// Deciding to end and ending are apart: a session manager may ask for a save and then go
// on (a cancelled logout), so willTerminate runs only when the process really ends.
class AppLifecycle {
public:
    struct Hooks {
        // Saves everything unsaved; false when something could not be saved.
        std::function<bool()> flushAll;
        // What is still unsaved, asked right after a failed flush.
        std::function<UnsavedWork()> unsavedWork;
        // Asks the person what to do about it; without it, nothing unsaved is given up.
        std::function<QuitChoice(const UnsavedWork&)> askAfterFailedSave;
        // Runs once, when the process ends (hot keys are let go here).
        std::function<void()> willTerminate;
    };

    explicit AppLifecycle(Hooks hooks);

    // The quit of the menu and the other front ends: true when the process may end now.
    bool shouldTerminate();
    // The session's request to save before it may end the process. mayAsk asks the session
    // for leave to ask the person, only once a save has failed. True when the session should
    // be asked to cancel its logout.
    bool commitData(const std::function<bool()>& mayAsk);
    // An ending that cannot be refused: flush once, log what is lost, and end.
    void terminateUnconditionally();
    // The process is ending; the first call runs the hook, later calls do nothing.
    void willTerminate();

    void setFlushAll(std::function<bool()> flushAll);
    void setUnsavedWork(std::function<UnsavedWork()> unsavedWork);

private:
    // Flushes, and asks after each failure until saved or answered; true to end.
    bool saveOrAsk();
    void logLoss(const QString& how);

    Hooks hooks;
    bool terminated = false;
};
