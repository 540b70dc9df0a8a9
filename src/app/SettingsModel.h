#pragma once

#include "l10n/AppLanguage.h"
#include "settings/DeckStyle.h"
#include "settings/Shortcut.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

#include <array>
#include <functional>

class AppServices;
class CloudSync;

// The settings window's face of Settings: each control binds to one property here, and each
// setter stores the value and then does what the value demands (the decks redrawn, the global
// keys grabbed again, the sync started or stopped, the login item changed, a relaunch for a
// language). Setting a value to what it already is does nothing at all. changed() tells the
// window to read everything again. Main thread only.
class SettingsModel final : public QObject {
    Q_OBJECT

public:
    struct Hooks {
        // Every deck shows the settings afresh.
        std::function<void()> refreshDecks;
        // The new language is stored; the program restarts into it. A relaunch that fails
        // puts the previous value back in Settings and calls syncFromDefaults.
        std::function<void(AppLanguage previous)> relaunchForLanguageChange;
    };

    // One row of the shortcuts: its id, the localisation key of its label, whether it works
    // from anywhere (bare keys are refused there), and where Settings keeps it.
    struct ShortcutRow {
        QStringView id;
        QStringView labelKey;
        bool global;
        Shortcut (*get)();
        void (*set)(const Shortcut&);
    };
    // The four global ones first, then those inside a note, in the window's order.
    static const std::array<ShortcutRow, 13> shortcutRows;

    // A choice of a picker: its text and the value stored.
    struct Choice {
        QString title;
        QString value;
    };

    // Reads every value; nothing is refreshed, grabbed or started. services must outlive the
    // model.
    SettingsModel(AppServices& services, Hooks hooks, QObject* parent = nullptr);

    // True while the first values are read: setters then act on nothing.
    bool loading() const { return isLoading; }
    // True while syncFromDefaults runs: a language read back then starts no relaunch.
    bool syncing() const { return isSyncing; }

    AppLanguage appLanguage() const { return v.appLanguage; }
    void setAppLanguage(AppLanguage language);
    DeckStyle deckStyle() const { return v.deckStyle; }
    void setDeckStyle(DeckStyle style);
    bool alwaysShown() const { return v.alwaysShown; }
    void setAlwaysShown(bool on);
    bool pillHidden() const { return v.pillHidden; }
    void setPillHidden(bool on);
    bool hideActions() const { return v.hideActions; }
    void setHideActions(bool on);
    double deckScale() const { return v.deckScale; }
    void setDeckScale(double scale);
    bool onLeftEdge() const { return v.onLeftEdge; }
    void setOnLeftEdge(bool on);
    QString displayTarget() const { return v.displayTarget; }
    void setDisplayTarget(const QString& target);
    // All displays, the main one, then each display by its id; empty with fewer than two
    // displays, where there is nothing to choose.
    QList<Choice> displayChoices() const;
    double edgeWidth() const { return v.edgeWidth; }
    void setEdgeWidth(double width);
    bool overFullScreen() const { return v.overFullScreen; }
    void setOverFullScreen(bool on);
    bool launchAtLogin() const { return v.launchAtLogin; }
    void setLaunchAtLogin(bool on);

    // Packages update the program here: there is no updater to ask or set.
    static constexpr bool updatesAvailable = false;
    QString updateStatus() const { return v.updateStatus; }
    void refreshUpdateStatus();

    QString fontName() const { return v.fontName; }
    void setFontName(const QString& name);
    double fontSize() const { return v.fontSize; }
    void setFontSize(double size);
    bool markdown() const { return v.markdown; }
    void setMarkdown(bool on);
    int noteSizeIndex() const { return v.noteSizeIndex; }
    void setNoteSizeIndex(int index);
    bool openOnHover() const { return v.openOnHover; }
    void setOpenOnHover(bool on);
    bool tabPreview() const { return v.tabPreview; }
    void setTabPreview(bool on);

    bool cloudSync() const { return v.cloudSync; }
    void setCloudSync(bool on);
    // The folder the sync goes into: the stored one, or the sync client's folder it would
    // take when turned on; empty when there is none.
    QString syncRoot() const;
    // Another folder: over it, the next pass is a first sync that deletes nothing, in either
    // folder. Starts that pass at once when sync is on.
    void setSyncRoot(const QString& root);
    // The Pondrift folder inside the root; empty without a root.
    QString syncFolderPath() const;
    bool syncFolderAvailable() const;
    QString syncStatus() const { return v.syncStatus; }
    void refreshSyncStatus();
    void syncNow();
    // Makes the folder if it is missing, and opens it in the file manager.
    void revealSyncFolder();

    Shortcut shortcut(QStringView id) const;
    void setShortcut(QStringView id, const Shortcut& shortcut);
    // Whether another row than ignoring holds s. Unset shortcuts never clash.
    bool duplicate(const Shortcut& s, QStringView ignoring) const;

    // Reads every value again, after a change made outside the window (the deck's menu, a
    // relaunch that failed and put the language back).
    void syncFromDefaults();

Q_SIGNALS:
    void changed();

private:
    struct Values {
        AppLanguage appLanguage;
        DeckStyle deckStyle = DeckStyle::Tabs;
        bool alwaysShown = false;
        bool pillHidden = false;
        bool hideActions = false;
        double deckScale = 1;
        bool onLeftEdge = false;
        QString displayTarget;
        double edgeWidth = 14;
        bool overFullScreen = false;
        bool launchAtLogin = false;
        QString updateStatus;
        QString fontName;
        double fontSize = 13.5;
        bool markdown = true;
        int noteSizeIndex = 1;
        bool openOnHover = false;
        bool tabPreview = true;
        bool cloudSync = false;
        QString syncStatus;
        std::array<Shortcut, 13> shortcuts;
    };

    void readAll();
    // Stores value and keeps what the store made of it (clamped); then the decks redraw.
    template <typename T, typename Set, typename Get>
    void update(T& field, const T& value, Set set, Get get);
    const ShortcutRow* row(QStringView id) const;
    CloudSync* engine() const;

    AppServices& services;
    Hooks hooks;
    Values v;
    bool isLoading = true;
    bool isSyncing = false;
    QPointer<CloudSync> watched;
};
