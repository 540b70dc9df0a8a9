#pragma once

#include "app/AppLifecycle.h"
#include "app/SettingsModel.h"
#include "notes/NoteStore.h"
#include "notes/Paths.h"
#include "platform/HotKeyBackend.h"

#include <QObject>
#include <QString>

#include <memory>

class AppActions;
class CloudFolder;
class CloudSync;
class Compositor;
class DeckActions;
class DeckManager;
class CaptureWindow;
class FloatingNote;
class QuickCapture;
class HotKeys;
class FloatingWindow;
class DeckWindow;
class Library;
class LibraryView;
class LocalTrash;
class Transfers;
class UndoToast;
class UndoToastWindow;
class Defaults;
class Desktop;
class Displays;
class Files;
class FolderChooser;
class Fonts;
class ImageStore;
class KeyboardLayout;
class LoginItem;
class MassDeletePrompt;
class Pointer;
class Scheduler;
class SettingsSurface;
class SpellChecker;
class Store;
class TransferFlow;
class TransferPrompts;
class Transfers;
class WindowHints;

// Every object of the program, each made once and handed its collaborators in its
// constructor. It is built from the backends the desktop gives (the production ones from
// makeProductionBackends, fakes in tests), so the whole program can run against a temporary
// folder, virtual time and in-memory settings.
//
// Construction installs the settings store, the font lookup and the interface language. The
// notes and the sync come later, by the launch steps that open them (see AppDelegate): a
// migration of old data must run before the database is opened. Main thread only.
class AppServices final {
public:
    // What a deck's window is made with: the services it draws from and reports to.
    struct DeckWindowParts {
        quint32 displayID = 0;
        NoteStore& notes;
        Scheduler& scheduler;
        DeckActions& actions;
        Displays& displays;
        Pointer& pointer;
        WindowHints& hints;
        Compositor& compositor;
        KeyboardLayout& keyboard;
        // What an open note's text view needs: links, pictures, spelling (null: off).
        Desktop& desktop;
        ImageStore& images;
        SpellChecker* spellChecker = nullptr;
    };

    struct Backends {
        // Out of line, where the backends' types are complete.
        Backends();
        ~Backends();
        Backends(Backends&&) noexcept;
        Backends& operator=(Backends&&) noexcept;

        std::unique_ptr<Scheduler> scheduler;
        std::unique_ptr<Defaults> defaults;
        std::unique_ptr<LoginItem> loginItem;
        std::unique_ptr<KeyboardLayout> keyboardLayout;
        std::unique_ptr<Desktop> desktop;
        std::unique_ptr<Files> files;
        // Asks for the folder of an earlier install to migrate. Absent: nothing is migrated.
        std::unique_ptr<FolderChooser> folderChooser;
        // Where the note faces' fonts are looked for.
        std::unique_ptr<Fonts> fonts;
        // Asks before the sync deletes many notes at once.
        std::unique_ptr<MassDeletePrompt> massDeletePrompt;
        // The pointer and the displays, as the decks poll and follow them.
        std::unique_ptr<Pointer> pointer;
        std::unique_ptr<Displays> displays;
        // What panels ask of the window manager beyond Qt's flags.
        std::unique_ptr<WindowHints> windowHints;
        // Whether translucent windows show through, and when that changes.
        std::unique_ptr<Compositor> compositor;
        // Marks misspelled words in the editor; one that is not available leaves spelling
        // off. Absent: also off.
        std::unique_ptr<SpellChecker> spellChecker;
        // Keys from anywhere on the desktop; absent where the program takes none.
        std::unique_ptr<HotKeyBackend> hotKeys;
        // The window of a deck, from what it is made with. Absent where the program has no
        // deck window to show; then no deck is made.
        std::function<std::unique_ptr<DeckWindow>(const DeckWindowParts&)> makeDeckWindow;
        // The window of the floating note for the note with this id, from the same parts
        // (the display aside). Absent where no note can float.
        std::function<FloatingWindow*(FloatingNote& owner, const QString& noteID,
                                      const DeckWindowParts&)>
            makeFloatingWindow;
        // The quick capture panel, from the same parts. Absent where there is none.
        std::function<CaptureWindow*(QuickCapture& owner, const DeckWindowParts&)>
            makeCaptureWindow;
        // The settings window over its model, made at its first opening. Absent where there
        // is none.
        std::function<std::unique_ptr<SettingsSurface>(SettingsModel&, KeyboardLayout&)>
            makeSettingsWindow;
        // What export and import ask and tell. Absent: no export or import is offered.
        std::unique_ptr<TransferPrompts> transferPrompts;
        // The library's window, exporting and importing through transfers. Absent where there
        // is none.
        std::function<LibraryView*(Library& owner, Transfers& transfers, const DeckWindowParts&)>
            makeLibraryWindow;
        // The undo toast's window. Absent where there is none.
        std::function<UndoToastWindow*(UndoToast& owner, const DeckWindowParts&)>
            makeUndoToastWindow;
        // Shows a storage failure to the user; the note store has logged it already.
        NoteStore::ErrorReporter storageAlert;
        // Asks what to do when a quit cannot save everything.
        std::function<QuitChoice(const UnsavedWork&)> askAfterFailedSave;
        // Tells what the program is, its version and licence, and waits until it is read.
        // Absent where there is nobody to tell.
        std::function<void()> showAbout;
        // The icon in the desktop's tray, offering the application menu through actions.
        // Absent, or answering null, where there is no tray.
        std::function<std::unique_ptr<QObject>(AppActions& actions)> makeTrayIcon;
        // Arranges for the given work to run when the display goes away, before the toolkit
        // ends the process; absent where the toolkit tells of no such ending.
        std::function<void(std::function<void()>)> whenDisplayIsLost;
    };

    // data: where the program's own files live. home: the folder the sync clients' folders
    // are looked for in when the settings name no sync root.
    AppServices(Backends backends, Paths data, QString home);
    ~AppServices();
    AppServices(const AppServices&) = delete;
    AppServices& operator=(const AppServices&) = delete;

    // Opens the database, reads the key, loads every note and seeds the welcome note.
    // Once; later calls do nothing.
    void openNotes();
    // Makes the decks, one per display the settings ask for, asking the program's commands
    // through actions, which must outlive them. REQUIRES: openNotes. Once; later calls do
    // nothing, and so does a program without a deck window.
    void openDecks(DeckActions& actions);
    // Takes the decks down before the commands they ask for go away.
    void closeDecks();
    // Makes the sync engine over the folder, stopped; it follows the setting from its first
    // reload on. REQUIRES: openNotes. Once; later calls do nothing.
    void makeSync();

    Scheduler& scheduler() { return *backends.scheduler; }
    Defaults& defaults() { return *backends.defaults; }
    KeyboardLayout& keyboardLayout() { return *backends.keyboardLayout; }
    Desktop& desktop() { return *backends.desktop; }
    Pointer& pointer() { return *backends.pointer; }
    Displays& displays() { return *backends.displays; }
    WindowHints& windowHints() { return *backends.windowHints; }
    Compositor& compositor() { return *backends.compositor; }
    // Absent when the backends gave none.
    SpellChecker* spellChecker() { return backends.spellChecker.get(); }
    const std::function<QuitChoice(const UnsavedWork&)>& askAfterFailedSave() const
    {
        return backends.askAfterFailedSave;
    }
    const std::function<void(std::function<void()>)>& whenDisplayIsLost() const
    {
        return backends.whenDisplayIsLost;
    }
    Files& files() { return *backends.files; }
    FolderChooser* folderChooser() { return backends.folderChooser.get(); }
    const Paths& paths() const { return data; }

    bool notesAreOpen() const { return notes != nullptr; }
    // REQUIRES: openNotes.
    NoteStore& noteStore() { return *notes; }
    ImageStore& imageStore() { return *images; }
    // Absent until makeSync.
    CloudSync* cloudSync() { return sync.get(); }
    // Absent until openDecks, and without a deck window.
    DeckManager* deckManager() { return decks.get(); }
    FloatingNote* floatingNote() { return floating.get(); }
    // Absent until openDecks, and without a capture window.
    QuickCapture* quickCapture() { return capture.get(); }
    // Absent until openDecks, and without their windows.
    Library* library() { return notesLibrary.get(); }
    UndoToast* undoToast() { return toast.get(); }
    // Absent without a hot key backend.
    HotKeys* hotKeys() { return keys.get(); }
    // Absent until openNotes, and without transfer prompts.
    Transfers* transfers();

    void showAbout()
    {
        if (backends.showAbout)
            backends.showAbout();
    }
    // Null without a tray. actions must outlive the icon.
    std::unique_ptr<QObject> makeTrayIcon(AppActions& actions)
    {
        return backends.makeTrayIcon ? backends.makeTrayIcon(actions) : nullptr;
    }

    // The settings' model, with what its changes call. Once; later calls do nothing.
    void makeSettings(SettingsModel::Hooks hooks);
    // Absent until makeSettings.
    SettingsModel* settingsModel() { return settings.get(); }
    bool offersSettingsWindow() const { return bool(backends.makeSettingsWindow); }
    // Makes the window at the first call; brings it forward at every call. Nothing without
    // makeSettings or a settings window.
    void showSettings();
    bool settingsAreOpen() const;
    // What a change of the interface language runs, once the launch has set it.
    void setLanguageRelaunch(std::function<void(AppLanguage previous)> relaunch);
    void relaunchForLanguageChange(AppLanguage previous);

    // The sync root the settings name. With none named and sync on, the first sync client's
    // folder found in the home folder is stored as the root and given; with none found,
    // empty, and no pass runs. So the root changes only when the setting does.
    QString syncRoot();
    // The stored sync root, else the sync client's folder that would be stored when sync is
    // turned on; empty when there is none. Stores nothing.
    QString proposedSyncRoot() const;
    // Sync is on and has no folder to go to: the user must choose one.
    bool syncNeedsAFolder() const;

private:
    Backends backends;
    Paths data;
    QString home;
    std::unique_ptr<Store> database;
    std::unique_ptr<ImageStore> images;
    std::unique_ptr<NoteStore> notes;
    std::unique_ptr<CloudFolder> syncFolder;
    std::unique_ptr<LocalTrash> trash;
    std::unique_ptr<TransferFlow> transferFlow;
    std::unique_ptr<CloudSync> sync;
    std::unique_ptr<QuickCapture> capture;
    // Before the decks, which hold it: they go first.
    std::unique_ptr<FloatingNote> floating;
    std::unique_ptr<DeckManager> decks;
    std::unique_ptr<HotKeys> keys;
    std::unique_ptr<Transfers> noTransfers;
    std::unique_ptr<Library> notesLibrary;
    std::unique_ptr<UndoToast> toast;
    std::unique_ptr<SettingsModel> settings;
    std::unique_ptr<SettingsSurface> settingsWindow;
    std::function<void(AppLanguage)> languageRelaunch;
    // The missing sync root is logged once, not on every pass.
    bool toldNoRoot = false;
};
