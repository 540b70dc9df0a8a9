#pragma once

#include <QStringView>

#include <array>

// The application menu: what a desktop with a menu bar would show under the program's name.
// A background program on Linux has no menu bar, so the tray's menu and the deck's own menu
// carry these items, each running the command of the same id. hide and the Edit menu are left
// out: there is no application window to hide, and a text field's own context menu already
// cuts, copies and pastes.
namespace AppMenu {

struct Item {
    // Both empty for a separator.
    QStringView titleKey;
    QStringView action;

    constexpr bool isSeparator() const { return action.isEmpty(); }
};

inline constexpr std::array items{
    Item{u"menu.about", u"showAbout"},
    Item{u"menu.check_for_updates", u"checkForUpdates"},
    Item{},
    Item{u"menu.new_note", u"newNote"},
    Item{u"menu.all_notes", u"openAllNotes"},
    Item{u"menu.archive", u"openArchive"},
    Item{},
    Item{u"menu.settings", u"openSettings"},
    Item{},
    Item{u"menu.import", u"importStickies"},
    Item{},
    Item{u"menu.bigger_text", u"biggerText"},
    Item{u"menu.smaller_text", u"smallerText"},
    Item{},
    Item{u"menu.quit", u"quit"},
};

} // namespace AppMenu
