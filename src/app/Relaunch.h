#pragma once

#include "l10n/AppLanguage.h"
#include "platform/Scheduler.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <optional>

class AppServices;
class Files;

// What was open when a language change replaced the process, for the new one to open again.
struct ReloadResume {
    // The note that was expanded in a deck, and that deck's display.
    std::optional<QString> noteID;
    std::optional<quint32> displayID;
    bool settingsOpen = false;

    // A record that opens nothing is worth nothing and is not saved.
    bool open() const { return noteID.has_value() || settingsOpen; }

    // One JSON object; absent fields are left out. "settingsOpen" is required: without it, or
    // with a field of the wrong type, decode gives absent. Unknown keys are ignored.
    QByteArray encode() const;
    static std::optional<ReloadResume> decode(const QByteArray& json);

    // The file lives only between the two processes of a relaunch. A failed write is logged
    // and swallowed: the relaunch goes on without it.
    static void save(Files& files, const QString& path, const ReloadResume& resume);
    // Removes the file in every case, so that a stale or damaged one acts at most once.
    static std::optional<ReloadResume> loadAndClear(Files& files, const QString& path);
    static void clear(Files& files, const QString& path);
};

// The interface language is fixed when the process starts, so a change of it replaces the
// process: everything is saved, what is open is written down, a new process is started and
// this one quits; the new one opens again what was open. Main thread only.
class Relaunch final {
public:
    // quit: the ordinary quit, which saves again; false when the process stays (a save failed
    // and the person chose to stay). services must outlive the relaunch.
    Relaunch(AppServices& services, std::function<bool()> quit);

    static QString resumePath(const QString& dataFolder);

    // Called once the new language is stored. When the notes cannot be saved, or the new
    // process cannot start, the previous language is put back and this process goes on.
    void relaunchForLanguageChange(AppLanguage previous);
    bool isRelaunching() const { return relaunching; }

    // At launch, once the decks are open: what the previous process had open opens again.
    void restoreAfterLanguageRelaunch();

private:
    void putBack(AppLanguage previous);

    AppServices& services;
    std::function<bool()> quit;
    bool relaunching = false;
    Scheduler::HandlePtr expansion;
};
