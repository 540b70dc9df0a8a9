#pragma once

#include <QString>

// What a deck asks of the program. The application's one table of commands answers, so a
// command from the deck behaves as from the menu or a hot key. Main thread only.
class DeckActions {
public:
    virtual ~DeckActions() = default;

    virtual void newNote() = 0;
    virtual void openSettings() = 0;
    // Changes the note text size by delta points, within the allowed range.
    virtual void stepFontSize(double delta) = 0;
    // Pushes changed settings into every deck (after a pill drag, say).
    virtual void refreshDecks() = 0;
    // Any other command by its id in the application's table ("openAllNotes",
    // "toggleDeckAlwaysShown", ...), as the deck's context menu names them.
    virtual void run(const QString& id) = 0;
    // Whether the program has the command yet; a menu leaves out what it does not offer.
    virtual bool offers(const QString& id) const = 0;

protected:
    DeckActions() = default;
    DeckActions(const DeckActions&) = delete;
    DeckActions& operator=(const DeckActions&) = delete;
};
