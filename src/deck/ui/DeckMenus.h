#pragma once

#include "platform/Displays.h"

#include <QList>

class DeckActions;
class NoteStore;
class QMenu;
struct Note;

// The deck's two right-click menus, built fresh for each showing so that every mark tells the
// settings as they are now. Items go through the program's commands; a command the program
// does not offer yet is left out rather than shown doing nothing. Main thread only.
namespace DeckMenus {

// The deck's own menu: new note, the deck's settings, launch at login, quit, and the rest of
// the application menu (about, bigger and smaller text), which has no menu bar to live in.
// The display submenu shows only with two or more displays. A command's item carries its id
// as its data.
void fillDeckMenu(QMenu& menu, DeckActions& actions, const QList<DisplayInfo>& displays);

// The menu of one note's tab: pin, archive, next colour, delete; and, when the deck is kept
// open with its buttons hidden, the new-note and settings commands the buttons would give.
void fillNoteMenu(QMenu& menu, const Note& note, NoteStore& notes, DeckActions& actions);

} // namespace DeckMenus
