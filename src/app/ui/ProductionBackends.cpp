#include "app/ui/ProductionBackends.h"

#include "app/ui/AboutBox.h"
#include "app/ui/SettingsWindow.h"
#include "app/ui/TrayIcon.h"
#include "app/ui/UnsavedQuitDialog.h"
#include "deck/ui/DeckPanel.h"
#include "l10n/L10n.h"
#include "notes/ui/StorageErrorDialog.h"
#include "platform/Log.h"
#include "platform/fallback/FixedCompositor.h"
#include "platform/fallback/NoHotKeys.h"
#include "platform/fallback/NoSpellChecker.h"
#include "platform/fallback/NoWindowHints.h"
#include "platform/fallback/UsKeyboardLayout.h"
#include "platform/qt/QSettingsDefaults.h"
#include "platform/qt/QtDesktop.h"
#include "platform/qt/QtDisplays.h"
#include "platform/qt/QtFiles.h"
#include "platform/qt/QtPointer.h"
#include "platform/qt/QtScheduler.h"
#include "platform/qt/QtSingleInstance.h"
#include "platform/qt/ui/QtFolderChooser.h"
#include "platform/x11/X11Compositor.h"
#include "platform/x11/X11DisplayLoss.h"
#include "platform/x11/X11HotKeys.h"
#include "platform/x11/X11WindowHints.h"
#include "platform/x11/XkbKeyboardLayout.h"
#include "platform/xdg/FontconfigFonts.h"
#include "platform/xdg/HunspellSpellChecker.h"
#include "platform/xdg/PortalHotKeys.h"
#include "platform/xdg/XdgLoginItem.h"
#include "surfaces/ui/CapturePanel.h"
#include "surfaces/ui/FloatingPanel.h"
#include "surfaces/ui/LibraryWindow.h"
#include "surfaces/ui/QtTransferPrompts.h"
#include "surfaces/ui/UndoToastPanel.h"
#include "sync/ui/MassDeleteDialog.h"

#include <QCoreApplication>

namespace {

bool waylandSession()
{
    return qEnvironmentVariable("XDG_SESSION_TYPE") == QLatin1String("wayland")
           || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

// Under a Wayland desktop, keys grabbed through XWayland arrive only while one of its X
// windows has the keyboard, so the desktop's own portal is asked first there.
std::unique_ptr<HotKeyBackend> makeHotKeys(KeyboardLayout& layout)
{
    if (waylandSession()) {
        if (auto portal = PortalHotKeys::open(QDBusConnection::sessionBus()))
            return portal;
        Log::line(QStringLiteral(
            "global hot keys: this Wayland desktop offers no GlobalShortcuts portal, so they work "
            "only while a Pondrift window is active; bind the command 'pondrift --capture' to a "
            "key in the desktop's own keyboard settings"));
    }
    if (auto x11 = X11HotKeys::open(layout))
        return x11;
    return std::make_unique<NoHotKeys>();
}

} // namespace

AppServices::Backends makeProductionBackends()
{
    AppServices::Backends backends;
    backends.scheduler = std::make_unique<QtScheduler>();
    backends.defaults = std::make_unique<QSettingsDefaults>();
    backends.loginItem = std::make_unique<XdgLoginItem>(XdgLoginItem::defaultEntryPath(),
                                                        QCoreApplication::applicationFilePath());
    // Key names follow the user's own layout when an X server tells it; a Wayland-only
    // session gets the US table.
    if (auto xkb = XkbKeyboardLayout::open())
        backends.keyboardLayout = std::move(xkb);
    else
        backends.keyboardLayout = std::make_unique<UsKeyboardLayout>();
    backends.desktop = std::make_unique<QtDesktop>();
    backends.files = std::make_unique<QtFiles>();
    backends.folderChooser = std::make_unique<QtFolderChooser>();
    backends.fonts = std::make_unique<FontconfigFonts>();
    backends.massDeletePrompt = std::make_unique<MassDeleteDialog>();
    backends.transferPrompts = std::make_unique<QtTransferPrompts>(*backends.desktop);
    backends.pointer = std::make_unique<QtPointer>();
    backends.displays = std::make_unique<QtDisplays>();
    if (auto x11 = X11WindowHints::open())
        backends.windowHints = std::move(x11);
    else
        backends.windowHints = std::make_unique<NoWindowHints>();
    if (auto x11 = X11Compositor::open())
        backends.compositor = std::move(x11);
    else
        backends.compositor = std::make_unique<FixedCompositor>();
    // English always, and the interface language's dictionary where one is installed;
    // asked at the first check, once the interface language is known.
    if (HunspellSpellChecker::anyInstalled())
        backends.spellChecker = std::make_unique<HunspellSpellChecker>([] {
            QStringList names{QStringLiteral("en_US")};
            if (L10n::language() == AppLanguage::SimplifiedChinese)
                names.append(QStringLiteral("zh_CN"));
            return names;
        });
    else
        backends.spellChecker = std::make_unique<NoSpellChecker>();
    backends.makeDeckWindow =
        [](const AppServices::DeckWindowParts& parts) -> std::unique_ptr<DeckWindow> {
        return std::make_unique<DeckPanel>(DeckPanel::Parts{
            parts.notes, parts.scheduler, parts.actions, parts.displays, parts.pointer, parts.hints,
            parts.compositor, parts.keyboard, parts.desktop, parts.images, parts.spellChecker});
    };
    backends.hotKeys = makeHotKeys(*backends.keyboardLayout);
    backends.makeFloatingWindow = [](FloatingNote& owner, const QString& id,
                                     const AppServices::DeckWindowParts& parts) {
        return new FloatingPanel(owner, id,
                                 FloatingPanel::Parts{parts.notes, parts.scheduler, parts.desktop,
                                                      parts.images, parts.hints, parts.compositor,
                                                      parts.spellChecker});
    };
    backends.makeCaptureWindow = [](QuickCapture& owner,
                                    const AppServices::DeckWindowParts& parts) {
        return new CapturePanel(owner,
                                CapturePanel::Parts{parts.notes, parts.hints, parts.compositor});
    };
    backends.makeLibraryWindow = [](Library& owner, Transfers& transfers,
                                    const AppServices::DeckWindowParts& parts) {
        return new LibraryWindow(owner,
                                 LibraryWindow::Parts{parts.notes, parts.scheduler, parts.desktop,
                                                      parts.images, transfers, parts.spellChecker});
    };
    backends.makeUndoToastWindow = [](UndoToast& owner, const AppServices::DeckWindowParts& parts) {
        return new UndoToastPanel(owner, UndoToastPanel::Parts{parts.hints, parts.compositor});
    };
    backends.makeSettingsWindow = [](SettingsModel& model, KeyboardLayout& layout) {
        return std::make_unique<SettingsWindow>(model, layout);
    };
    backends.showAbout = &AboutBox::show;
    backends.makeTrayIcon = [](AppActions& actions) -> std::unique_ptr<QObject> {
        return std::make_unique<TrayIcon>(actions);
    };
    backends.storageAlert = &StorageErrorDialog::show;
    backends.askAfterFailedSave = &UnsavedQuitDialog::ask;
    backends.whenDisplayIsLost = &X11DisplayLoss::callBeforeExit;
    return backends;
}

std::unique_ptr<SingleInstance> makeSingleInstance()
{
    return std::make_unique<QtSingleInstance>(QtSingleInstance::defaultFolder());
}
