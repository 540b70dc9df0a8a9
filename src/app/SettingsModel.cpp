#include "app/SettingsModel.h"

#include "app/AppServices.h"
#include "app/HotKeys.h"
#include "l10n/L10n.h"
#include "notes/Fmt.h"
#include "platform/Desktop.h"
#include "platform/Displays.h"
#include "platform/Files.h"
#include "platform/Scheduler.h"
#include "settings/Settings.h"
#include "sync/CloudFolder.h"
#include "sync/CloudSync.h"

#include <QDir>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

const std::array<SettingsModel::ShortcutRow, 13> SettingsModel::shortcutRows{{
    {u"new", u"shortcut.new_note", true, &Settings::scNewNote, &Settings::setScNewNote},
    {u"all", u"shortcut.all_notes", true, &Settings::scAllNotes, &Settings::setScAllNotes},
    {u"archive", u"shortcut.archive_window", true, &Settings::scArchive, &Settings::setScArchive},
    {u"capture", u"shortcut.quick_capture", true, &Settings::scCapture, &Settings::setScCapture},
    {u"close", u"action.close", false, &Settings::scClose, &Settings::setScClose},
    {u"archiveNote", u"shortcut.archive_note", false, &Settings::scArchiveNote,
     &Settings::setScArchiveNote},
    {u"delete", u"action.delete", false, &Settings::scDelete, &Settings::setScDelete},
    {u"find", u"action.find", false, &Settings::scFind, &Settings::setScFind},
    {u"task", u"shortcut.toggle_task", false, &Settings::scTask, &Settings::setScTask},
    {u"pin", u"action.pin", false, &Settings::scPin, &Settings::setScPin},
    {u"colour", u"action.cycle_colour", false, &Settings::scColour, &Settings::setScColour},
    {u"bigger", u"menu.bigger_text", false, &Settings::scBigger, &Settings::setScBigger},
    {u"smaller", u"menu.smaller_text", false, &Settings::scSmaller, &Settings::setScSmaller},
}};

SettingsModel::SettingsModel(AppServices& services, Hooks hooks, QObject* parent)
    : QObject(parent)
    , services(services)
    , hooks(std::move(hooks))
{
    readAll();
    isLoading = false;
    refreshUpdateStatus();
    refreshSyncStatus();
    connect(&services.displays(), &Displays::changed, this, &SettingsModel::changed);
}

// Straight from Settings, never through the setters: those would write back what a getter
// only migrated or defaulted.
void SettingsModel::readAll()
{
    v.appLanguage = Settings::appLanguage();
    v.deckStyle = Settings::deckStyle();
    v.alwaysShown = Settings::deckAlwaysShown();
    v.pillHidden = Settings::deckPillHidden();
    v.hideActions = Settings::deckHideActions();
    v.deckScale = Settings::deckScale();
    v.onLeftEdge = Settings::deckOnLeftEdge();
    v.displayTarget = Settings::displayTarget();
    v.edgeWidth = Settings::edgeWidth();
    v.overFullScreen = Settings::showOverFullScreen();
    v.launchAtLogin = Settings::launchAtLogin();
    v.fontName = Settings::noteFontName();
    v.fontSize = Settings::noteFontSize();
    v.markdown = Settings::markdownStyling();
    v.noteSizeIndex = Settings::noteSizeIndex();
    v.openOnHover = Settings::openOnHover();
    v.tabPreview = Settings::tabPreview();
    v.cloudSync = Settings::cloudSyncEnabled();
    for (std::size_t i = 0; i < shortcutRows.size(); ++i)
        v.shortcuts[i] = shortcutRows[i].get();
}

template <typename T, typename Set, typename Get>
void SettingsModel::update(T& field, const T& value, Set set, Get get)
{
    if (field == value)
        return;
    const T before = field;
    set(value);
    field = get();
    // A value the store clamped back to the one it held changed nothing.
    if (field == before)
        return;
    if (!isLoading && hooks.refreshDecks)
        hooks.refreshDecks();
    Q_EMIT changed();
}

// The new language shows only after a restart, which the relaunch hook arranges. A value read
// back while syncing is one a failed relaunch has just put back: relaunching for it again
// would loop.
void SettingsModel::setAppLanguage(AppLanguage language)
{
    if (language == v.appLanguage)
        return;
    const AppLanguage previous = v.appLanguage;
    v.appLanguage = language;
    if (!isLoading && !isSyncing) {
        Settings::setAppLanguage(language);
        if (hooks.relaunchForLanguageChange)
            hooks.relaunchForLanguageChange(previous);
    }
    Q_EMIT changed();
}

void SettingsModel::setDeckStyle(DeckStyle style)
{
    update(v.deckStyle, style, &Settings::setDeckStyle, &Settings::deckStyle);
}

void SettingsModel::setAlwaysShown(bool on)
{
    update(v.alwaysShown, on, &Settings::setDeckAlwaysShown, &Settings::deckAlwaysShown);
}

void SettingsModel::setPillHidden(bool on)
{
    update(v.pillHidden, on, &Settings::setDeckPillHidden, &Settings::deckPillHidden);
}

void SettingsModel::setHideActions(bool on)
{
    update(v.hideActions, on, &Settings::setDeckHideActions, &Settings::deckHideActions);
}

void SettingsModel::setDeckScale(double scale)
{
    update(v.deckScale, scale, &Settings::setDeckScale, &Settings::deckScale);
}

void SettingsModel::setOnLeftEdge(bool on)
{
    update(v.onLeftEdge, on, &Settings::setDeckOnLeftEdge, &Settings::deckOnLeftEdge);
}

void SettingsModel::setDisplayTarget(const QString& target)
{
    update(v.displayTarget, target, &Settings::setDisplayTarget, &Settings::displayTarget);
}

QList<SettingsModel::Choice> SettingsModel::displayChoices() const
{
    const QList<DisplayInfo> displays = services.displays().list();
    if (displays.size() < 2)
        return {};
    QList<Choice> choices{{L10n::text(u"display.all"_s), u"all"_s},
                          {L10n::text(u"display.main"_s), u"main"_s}};
    for (const DisplayInfo& d : displays)
        choices.append({d.isMain ? L10n::format(u"display.named_main"_s, {d.name}) : d.name,
                        u"id:%1"_s.arg(d.id)});
    return choices;
}

void SettingsModel::setEdgeWidth(double width)
{
    update(v.edgeWidth, width, &Settings::setEdgeWidth, &Settings::edgeWidth);
}

void SettingsModel::setOverFullScreen(bool on)
{
    update(v.overFullScreen, on, &Settings::setShowOverFullScreen, &Settings::showOverFullScreen);
}

// The login item is the truth: a change it refused leaves the toggle as it was.
void SettingsModel::setLaunchAtLogin(bool on)
{
    if (on == v.launchAtLogin)
        return;
    Settings::setLaunchAtLogin(on);
    v.launchAtLogin = Settings::launchAtLogin();
    Q_EMIT changed();
}

void SettingsModel::refreshUpdateStatus()
{
    v.updateStatus = L10n::text(u"updates.no_sparkle_status"_s);
    Q_EMIT changed();
}

void SettingsModel::setFontName(const QString& name)
{
    update(v.fontName, name, &Settings::setNoteFontName, &Settings::noteFontName);
}

void SettingsModel::setFontSize(double size)
{
    update(v.fontSize, size, &Settings::setNoteFontSize, &Settings::noteFontSize);
}

void SettingsModel::setMarkdown(bool on)
{
    update(v.markdown, on, &Settings::setMarkdownStyling, &Settings::markdownStyling);
}

void SettingsModel::setNoteSizeIndex(int index)
{
    update(v.noteSizeIndex, index, &Settings::setNoteSizeIndex, &Settings::noteSizeIndex);
}

void SettingsModel::setOpenOnHover(bool on)
{
    update(v.openOnHover, on, &Settings::setOpenOnHover, &Settings::openOnHover);
}

void SettingsModel::setTabPreview(bool on)
{
    update(v.tabPreview, on, &Settings::setTabPreview, &Settings::tabPreview);
}

CloudSync* SettingsModel::engine() const { return services.cloudSync(); }

// Starting and stopping the engine is its reload's business.
void SettingsModel::setCloudSync(bool on)
{
    if (on == v.cloudSync)
        return;
    v.cloudSync = on;
    if (!isLoading) {
        Settings::setCloudSyncEnabled(on);
        if (CloudSync* sync = engine())
            sync->reload();
        refreshSyncStatus();
    }
    Q_EMIT changed();
}

QString SettingsModel::syncRoot() const { return services.proposedSyncRoot(); }

void SettingsModel::setSyncRoot(const QString& root)
{
    const QString cleaned = root.isEmpty() ? QString() : QDir::cleanPath(root);
    if (cleaned == Settings::cloudSyncRoot())
        return;
    Settings::setCloudSyncRoot(cleaned);
    // The folder knows which sync it belongs to: over a new one the engine writes out and
    // takes in everything, and deletes nothing.
    if (CloudSync* sync = engine(); sync && v.cloudSync) {
        if (sync->isStarted())
            sync->syncNow();
        else
            sync->reload();
    }
    refreshSyncStatus();
}

QString SettingsModel::syncFolderPath() const
{
    const QString root = syncRoot();
    return root.isEmpty() ? QString() : CloudFolder(root, services.files()).path();
}

bool SettingsModel::syncFolderAvailable() const
{
    const QString root = syncRoot();
    return !root.isEmpty() && CloudFolder(root, services.files()).isAvailable();
}

void SettingsModel::refreshSyncStatus()
{
    CloudSync* sync = engine();
    if (sync && watched != sync) {
        // Live while the window is open: each pass's end and each new reason to wait.
        watched = sync;
        connect(sync, &CloudSync::lastSyncChanged, this, &SettingsModel::refreshSyncStatus);
        connect(sync, &CloudSync::blockedChanged, this, &SettingsModel::refreshSyncStatus);
    }
    QString status;
    if (!v.cloudSync)
        status = L10n::text(u"settings.sync.status_off"_s);
    else if (syncRoot().isEmpty())
        status = L10n::text(u"settings.sync.status_no_folder"_s);
    else if (!syncFolderAvailable())
        status = L10n::text(u"settings.sync.status_unavailable"_s);
    else if (sync && sync->blocked() == CloudSync::Blocked::StoreReadOnly)
        status = L10n::text(u"settings.sync.status_notes_unreadable"_s);
    else if (sync && sync->blocked() == CloudSync::Blocked::FolderUnlisted)
        status = L10n::text(u"settings.sync.status_unlisted"_s);
    else if (sync && sync->blocked() == CloudSync::Blocked::FolderUnavailable)
        status = L10n::text(u"settings.sync.status_unavailable"_s);
    else if (const std::optional<Date> last = sync ? sync->lastSync() : std::nullopt)
        status = L10n::format(u"settings.sync.status_last"_s,
                              {Fmt::ago(*last, services.scheduler().now())});
    else
        status = L10n::text(u"settings.sync.status_never"_s);
    v.syncStatus = status;
    Q_EMIT changed();
}

void SettingsModel::syncNow()
{
    if (CloudSync* sync = engine())
        sync->syncNow();
    refreshSyncStatus();
}

void SettingsModel::revealSyncFolder()
{
    const QString root = syncRoot();
    if (root.isEmpty())
        return;
    CloudFolder folder(root, services.files());
    if (folder.ensure() == SyncFolderGateway::Ensured::Unavailable)
        return;
    services.desktop().openUrl(QUrl::fromLocalFile(folder.path()));
}

const SettingsModel::ShortcutRow* SettingsModel::row(QStringView id) const
{
    for (const ShortcutRow& r : shortcutRows) {
        if (r.id == id)
            return &r;
    }
    return nullptr;
}

Shortcut SettingsModel::shortcut(QStringView id) const
{
    const ShortcutRow* r = row(id);
    return r ? v.shortcuts[static_cast<std::size_t>(r - shortcutRows.data())] : Shortcut::none();
}

// Only the four global keys are grabbed; the keys inside a note are read at each press.
void SettingsModel::setShortcut(QStringView id, const Shortcut& shortcut)
{
    const ShortcutRow* r = row(id);
    if (!r)
        return;
    Shortcut& field = v.shortcuts[static_cast<std::size_t>(r - shortcutRows.data())];
    if (field == shortcut)
        return;
    field = shortcut;
    r->set(shortcut);
    if (r->global && !isLoading) {
        if (HotKeys* keys = services.hotKeys())
            keys->reload();
    }
    Q_EMIT changed();
}

bool SettingsModel::duplicate(const Shortcut& s, QStringView ignoring) const
{
    if (!s.isSet())
        return false;
    for (std::size_t i = 0; i < shortcutRows.size(); ++i) {
        if (shortcutRows[i].id != ignoring && v.shortcuts[i] == s)
            return true;
    }
    return false;
}

// Whoever changed a value elsewhere (the deck's menu, a failed relaunch) has acted on it
// already: reading it back acts on nothing, and a language put back starts no relaunch.
void SettingsModel::syncFromDefaults()
{
    isSyncing = true;
    setAppLanguage(Settings::appLanguage());
    readAll();
    isSyncing = false;
    refreshSyncStatus();
}
