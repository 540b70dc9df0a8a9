#include "app/AppServices.h"

#include "app/HotKeys.h"
#include "app/SettingsSurface.h"
#include "deck/DeckManager.h"
#include "deck/DeckWindow.h"
#include "exchange/TransferPrompts.h"
#include "images/ImageStore.h"
#include "l10n/L10n.h"
#include "notes/Ink.h"
#include "notes/Store.h"
#include "platform/Compositor.h"
#include "platform/Defaults.h"
#include "platform/Desktop.h"
#include "platform/Displays.h"
#include "platform/Files.h"
#include "platform/FolderChooser.h"
#include "platform/Fonts.h"
#include "platform/KeyboardLayout.h"
#include "platform/Log.h"
#include "platform/LoginItem.h"
#include "platform/Pointer.h"
#include "platform/Scheduler.h"
#include "platform/SpellChecker.h"
#include "platform/WindowHints.h"
#include "settings/Settings.h"
#include "surfaces/FloatingNote.h"
#include "surfaces/Library.h"
#include "surfaces/QuickCapture.h"
#include "surfaces/TransferFlow.h"
#include "surfaces/Transfers.h"
#include "surfaces/UndoToast.h"
#include "sync/CloudFolder.h"
#include "sync/CloudSync.h"
#include "sync/DocumentNames.h"
#include "sync/LocalTrash.h"
#include "sync/MassDeletePrompt.h"

using namespace Qt::Literals::StringLiterals;

AppServices::Backends::Backends() = default;
AppServices::Backends::~Backends() = default;
AppServices::Backends::Backends(Backends&&) noexcept = default;
AppServices::Backends& AppServices::Backends::operator=(Backends&&) noexcept = default;

namespace {

// Where nothing can ask the person (no choosers, as in a headless run), export and import
// have nobody to ask; the library's menu entries then say so in the log.
class NoTransfers final : public Transfers {
public:
    void exportNotes(TransferFormat, const QStringList&) override
    {
        Log::line(QStringLiteral("export is not available here: nothing can ask where to"));
    }
    void importFiles() override
    {
        Log::line(QStringLiteral("import is not available here: nothing can ask what to"));
    }
};

} // namespace

AppServices::AppServices(Backends given, Paths data, QString home)
    : backends(std::move(given))
    , data(std::move(data))
    , home(std::move(home))
{
    Settings::install(*backends.defaults, *backends.loginItem);
    Ink::install(*backends.fonts);
    // Before any widget exists, so that every text comes in the user's language.
    L10n::install(Settings::appLanguage());
    if (backends.hotKeys)
        keys = std::make_unique<HotKeys>(*backends.hotKeys);
}

// The engine and the store go before the backends they hold on to, and whatever holds a
// note (a deck, the floating note) before the store.
AppServices::~AppServices()
{
    settingsWindow.reset();
    settings.reset();
    keys.reset();
    toast.reset();
    notesLibrary.reset();
    decks.reset();
    floating.reset();
    capture.reset();
    transferFlow.reset();
    sync.reset();
    trash.reset();
    syncFolder.reset();
    notes.reset();
    images.reset();
    database.reset();
}

void AppServices::openNotes()
{
    if (notes)
        return;
    database = std::make_unique<Store>(data.db(), data.key(), files());
    images = std::make_unique<ImageStore>(data.images(), files());
    notes =
        std::make_unique<NoteStore>(*database, scheduler(), *images, true, backends.storageAlert);
    if (backends.transferPrompts)
        transferFlow = std::make_unique<TransferFlow>(*notes, *images, files(), scheduler(),
                                                      *backends.transferPrompts);
}

Transfers* AppServices::transfers() { return transferFlow.get(); }

void AppServices::openDecks(DeckActions& actions)
{
    if (decks || !notes || !backends.makeDeckWindow)
        return;
    const auto parts = [this, &actions](quint32 displayID) {
        return DeckWindowParts{
            .displayID = displayID,
            .notes = *notes,
            .scheduler = scheduler(),
            .actions = actions,
            .displays = displays(),
            .pointer = pointer(),
            .hints = windowHints(),
            .compositor = compositor(),
            .keyboard = keyboardLayout(),
            .desktop = desktop(),
            .images = *images,
            .spellChecker = spellChecker(),
        };
    };
    if (backends.makeCaptureWindow)
        capture = std::make_unique<QuickCapture>(
            *notes, scheduler(), pointer(), displays(), [this, parts](QuickCapture& owner) {
                return backends.makeCaptureWindow(owner, parts(0));
            });
    if (backends.makeFloatingWindow)
        floating = std::make_unique<FloatingNote>(
            *notes, scheduler(), pointer(), displays(),
            [this, parts](FloatingNote& owner, const QString& id) {
                return backends.makeFloatingWindow(owner, id, parts(0));
            });
    decks = std::make_unique<DeckManager>(DeckManager::Collaborators{
        .displays = displays(),
        .pointer = pointer(),
        .scheduler = scheduler(),
        .notes = *notes,
        .actions = actions,
        .detachTarget = floating.get(),
        .makeWindow =
            [this, parts](quint32 displayID) { return backends.makeDeckWindow(parts(displayID)); },
    });
    if (floating)
        floating->restore();
    if (backends.makeLibraryWindow && !notesLibrary) {
        if (!transferFlow && !noTransfers)
            noTransfers = std::make_unique<NoTransfers>();
        Transfers* through =
            transferFlow ? static_cast<Transfers*>(transferFlow.get()) : noTransfers.get();
        notesLibrary = std::make_unique<Library>(
            *notes, files(), data.trash(), [this, parts, through](Library& owner) {
                return backends.makeLibraryWindow(owner, *through, parts(0));
            });
    }
    if (backends.makeUndoToastWindow && !toast) {
        toast = std::make_unique<UndoToast>(
            *notes, scheduler(), pointer(), displays(), [this, parts](UndoToast& owner) {
                return backends.makeUndoToastWindow(owner, parts(0));
            });
        toast->start();
    }
}

void AppServices::closeDecks()
{
    decks.reset();
    floating.reset();
    capture.reset();
}

void AppServices::makeSync()
{
    if (sync || !notes)
        return;
    syncFolder = std::make_unique<CloudFolder>([this] { return syncRoot(); }, files());
    sync = std::make_unique<CloudSync>(
        *syncFolder, *notes, scheduler(), files(), data.syncIndex(),
        [] { return Settings::cloudSyncEnabled(); }, *backends.massDeletePrompt,
        Settings::cloudSyncInterval);
    // A month of what the sync deleted here; older documents go at launch.
    trash = std::make_unique<LocalTrash>(data.trash(), files());
    trash->prune(scheduler().now());
    sync->keepDeletedIn(trash.get());
}

void AppServices::makeSettings(SettingsModel::Hooks hooks)
{
    if (!settings)
        settings = std::make_unique<SettingsModel>(*this, std::move(hooks));
}

void AppServices::showSettings()
{
    if (!settings || !backends.makeSettingsWindow)
        return;
    if (!settingsWindow)
        settingsWindow = backends.makeSettingsWindow(*settings, keyboardLayout());
    settings->refreshSyncStatus();
    settingsWindow->show();
}

bool AppServices::settingsAreOpen() const { return settingsWindow && settingsWindow->isOpen(); }

void AppServices::setLanguageRelaunch(std::function<void(AppLanguage)> relaunch)
{
    languageRelaunch = std::move(relaunch);
}

void AppServices::relaunchForLanguageChange(AppLanguage previous)
{
    if (languageRelaunch)
        languageRelaunch(previous);
    else
        Log::line(u"the new language shows from the next start"_s);
}

QString AppServices::proposedSyncRoot() const
{
    if (QString stored = Settings::cloudSyncRoot(); !stored.isEmpty())
        return stored;
    // Never the home folder itself, which no client carries anywhere.
    const QString found = DocumentNames::discoveredRoot(home);
    return found == home ? QString() : found;
}

QString AppServices::syncRoot()
{
    if (QString stored = Settings::cloudSyncRoot(); !stored.isEmpty())
        return stored;
    if (!Settings::cloudSyncEnabled())
        return {};
    // Proposed once and stored: chosen again on every pass, a second client installed later,
    // or the first one's folder away for a while, would move the sync to another folder.
    const QString found = proposedSyncRoot();
    if (found.isEmpty()) {
        if (!toldNoRoot)
            Log::cloud(u"no sync folder is chosen"_s,
                       u"set cloudSyncRoot in the settings to the folder a sync client carries"_s);
        toldNoRoot = true;
        return {};
    }
    Settings::setCloudSyncRoot(found);
    Log::cloud(u"syncing into "_s + found, u"set cloudSyncRoot in the settings to change it"_s);
    return found;
}

bool AppServices::syncNeedsAFolder() const
{
    return Settings::cloudSyncEnabled() && Settings::cloudSyncRoot().isEmpty();
}
