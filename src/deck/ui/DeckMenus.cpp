#include "deck/ui/DeckMenus.h"

#include "deck/DeckActions.h"
#include "l10n/L10n.h"
#include "notes/Ink.h"
#include "notes/NoteStore.h"
#include "settings/DeckStyle.h"
#include "settings/Settings.h"

#include <QApplication>
#include <QMenu>
#include <QTimer>

#include <cmath>
#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

// A command can take down the deck whose menu ran it (a move to another display), so it runs
// once the menu has closed and its event has returned.
void later(std::function<void()> work) { QTimer::singleShot(0, qApp, std::move(work)); }

void run(DeckActions& actions, const QString& id)
{
    later([&actions, id] { actions.run(id); });
}

// A command item; absent from the menu when the program does not offer the command.
QAction* command(QMenu& menu, DeckActions& actions, const QString& key, const QString& id)
{
    if (!actions.offers(id))
        return nullptr;
    QAction* action = menu.addAction(L10n::text(key), [&actions, id] { run(actions, id); });
    action->setData(id);
    return action;
}

void check(QAction* action, bool on)
{
    if (!action)
        return;
    action->setCheckable(true);
    action->setChecked(on);
}

// A submenu of choices of one command, each carrying its value; the current one is checked.
struct Choice {
    QString title;
    QString value;
    bool current = false;
};

void choices(QMenu& menu, DeckActions& actions, const QString& key, const QString& id,
             const QList<Choice>& list)
{
    if (!actions.offers(id) || list.isEmpty())
        return;
    QMenu* sub = menu.addMenu(L10n::text(key));
    for (const Choice& c : list)
        check(sub->addAction(c.title, [&actions, id, v = c.value] { run(actions, id + u':' + v); }),
              c.current);
}

// A divider between groups, never first, last or twice: the commands around it may be absent.
void separate(QMenu& menu)
{
    const QList<QAction*> list = menu.actions();
    if (!list.isEmpty() && !list.constLast()->isSeparator())
        menu.addSeparator();
}

void trim(QMenu& menu)
{
    const QList<QAction*> list = menu.actions();
    if (!list.isEmpty() && list.constLast()->isSeparator())
        menu.removeAction(list.constLast());
}

bool near(double a, double b) { return std::abs(a - b) < 0.01; }

template <class Table>
QList<Choice> sizes(const Table& table, double current)
{
    QList<Choice> list;
    for (const auto& entry : table)
        list.append({L10n::text(entry.key.toString()), QString::number(entry.value),
                     near(entry.value, current)});
    return list;
}

} // namespace

namespace DeckMenus {

void fillDeckMenu(QMenu& menu, DeckActions& actions, const QList<DisplayInfo>& displays)
{
    command(menu, actions, u"menu.new_note"_s, u"newNote"_s);
    command(menu, actions, u"menu.all_notes"_s, u"openAllNotes"_s);
    command(menu, actions, u"menu.archive"_s, u"openArchive"_s);
    separate(menu);

    check(command(menu, actions, u"menu.show_over_fullscreen"_s, u"toggleOverFullScreen"_s),
          Settings::showOverFullScreen());

    QList<Choice> styles;
    for (const DeckStyle style : DeckStyles::all)
        styles.append({L10n::text(DeckStyles::titleKey(style)), DeckStyles::rawValue(style),
                       style == Settings::deckStyle()});
    choices(menu, actions, u"menu.deck_style"_s, u"setDeckStyle"_s, styles);

    QList<Choice> faces;
    const NoteFace current = Ink::face();
    for (const NoteFace& face : Ink::faces())
        faces.append({face.localizedName(), face.body, face == current});
    choices(menu, actions, u"menu.note_font"_s, u"setNoteFont"_s, faces);
    choices(menu, actions, u"menu.text_size"_s, u"setFontSize"_s,
            sizes(Settings::fontSizes, Settings::noteFontSize()));
    command(menu, actions, u"menu.bigger_text"_s, u"biggerText"_s);
    command(menu, actions, u"menu.smaller_text"_s, u"smallerText"_s);
    choices(menu, actions, u"menu.deck_size"_s, u"setDeckScale"_s,
            sizes(Settings::deckSizes, Settings::deckScale()));

    check(command(menu, actions, u"menu.keep_deck_open"_s, u"toggleDeckAlwaysShown"_s),
          Settings::deckAlwaysShown());
    check(command(menu, actions, u"menu.dock_left"_s, u"toggleDeckEdge"_s),
          Settings::deckOnLeftEdge());

    if (displays.size() >= 2 && actions.offers(u"setDisplayTarget"_s)) {
        QMenu* sub = menu.addMenu(L10n::text(u"menu.display"_s));
        const QString target = Settings::displayTarget();
        const auto add = [&](const QString& title, const QString& value) {
            check(sub->addAction(
                      title, [&actions, value] { run(actions, u"setDisplayTarget:"_s + value); }),
                  value == target);
        };
        add(L10n::text(u"display.all"_s), u"all"_s);
        add(L10n::text(u"display.main"_s), u"main"_s);
        sub->addSeparator();
        for (const DisplayInfo& d : displays) {
            const QString title =
                d.isMain ? L10n::format(u"display.named_main"_s, {d.name}) : d.name;
            add(title, u"id:"_s + QString::number(d.id));
        }
    }

    command(menu, actions, u"menu.about"_s, u"showAbout"_s);
    command(menu, actions, u"menu.check_for_updates"_s, u"checkForUpdates"_s);
    // Packages update the program on Linux: there is no automatic check to switch on.
    QAction* automatic =
        command(menu, actions, u"menu.check_automatically"_s, u"toggleAutoUpdates"_s);
    check(automatic, false);
    if (automatic)
        automatic->setEnabled(false);
    separate(menu);
    check(command(menu, actions, u"menu.launch_at_login"_s, u"toggleLaunchAtLogin"_s),
          Settings::launchAtLogin());
    separate(menu);

    if (actions.offers(u"exportMarkdown"_s)) {
        QMenu* sub = menu.addMenu(L10n::text(u"menu.export"_s));
        command(*sub, actions, u"export.markdown_per_note"_s, u"exportMarkdown"_s);
        command(*sub, actions, u"export.plain_per_note"_s, u"exportPlainText"_s);
        command(*sub, actions, u"export.single_document"_s, u"exportSingleFile"_s);
        command(*sub, actions, u"export.sticky_archive"_s, u"exportStickies"_s);
    }
    command(menu, actions, u"menu.import"_s, u"importStickies"_s);
    separate(menu);
    command(menu, actions, u"menu.settings"_s, u"openSettings"_s);
    command(menu, actions, u"menu.quit"_s, u"quit"_s);
    trim(menu);
}

void fillNoteMenu(QMenu& menu, const Note& note, NoteStore& notes, DeckActions& actions)
{
    const QString id = note.id;
    menu.addAction(L10n::text(note.pinned ? u"action.unpin"_s : u"action.pin"_s),
                   [&notes, id] { later([&notes, id] { notes.togglePin(id); }); });
    menu.addAction(L10n::text(u"action.archive"_s),
                   [&notes, id] { later([&notes, id] { notes.setArchived(id, true); }); });
    menu.addAction(L10n::text(u"help.cycle_colour"_s),
                   [&notes, id] { later([&notes, id] { notes.cycleColor(id); }); });
    menu.addSeparator();
    menu.addAction(L10n::text(u"action.delete"_s),
                   [&notes, id] { later([&notes, id] { notes.deleteNote(id); }); });
    if (Settings::deckAlwaysShown() && Settings::deckHideActions()) {
        menu.addSeparator();
        command(menu, actions, u"menu.new_note"_s, u"newNote"_s);
        command(menu, actions, u"menu.settings"_s, u"openSettings"_s);
        trim(menu);
    }
}

} // namespace DeckMenus
