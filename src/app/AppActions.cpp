#include "app/AppActions.h"

#include "app/AppServices.h"
#include "deck/DeckController.h"
#include "deck/DeckManager.h"
#include "settings/Settings.h"

using namespace Qt::Literals::StringLiterals;

AppActions::AppActions(AppServices& services, std::function<void()> quit)
    : services(services)
{
    actions.insert(u"newNote"_s, [this] { newNote(); });
    actions.insert(u"biggerText"_s, [this] { stepFontSize(+1.5); });
    actions.insert(u"smallerText"_s, [this] { stepFontSize(-1.5); });
    actions.insert(u"refreshDecks"_s, [this] { refreshDecks(); });
    actions.insert(u"quit"_s, std::move(quit));
}

bool AppActions::run(const QString& id)
{
    const auto action = actions.constFind(id);
    if (action == actions.cend())
        return false;
    (*action)();
    return true;
}

QStringList AppActions::ids() const
{
    QStringList list = actions.keys();
    list.sort();
    return list;
}

// An empty note with the next colour, opened in the deck under the pointer. A library that
// could not be opened refuses it aloud, and nothing opens.
void AppActions::newNote()
{
    if (!services.notesAreOpen())
        return;
    NoteStore& notes = services.noteStore();
    const Note note = notes.create();
    if (!notes.note(note.id))
        return;
    if (DeckManager* decks = services.deckManager()) {
        if (DeckController* deck = decks->focused())
            deck->expand(note.id);
    }
}

// The setter keeps the size in its range.
void AppActions::stepFontSize(double delta)
{
    Settings::setNoteFontSize(Settings::noteFontSize() + delta);
    refreshDecks();
}

void AppActions::refreshDecks()
{
    if (DeckManager* decks = services.deckManager())
        decks->refreshAll();
}
