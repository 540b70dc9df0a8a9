#pragma once

#include "deck/DeckActions.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <functional>

class AppServices;

// The one table of the program's commands. Menus, the tray, global hot keys, the URL scheme,
// the command line and the deck's menu all run the same actions by id, so a command behaves
// the same whichever way it is given. Ids are the actions' names ("newNote", "quit"). An id
// whose surface is not built yet is not in the table, so nothing offers it.
class AppActions final {
public:
    // quit asks the process to end the way every quit does (see AppDelegate::terminate).
    // services must outlive the table.
    AppActions(AppServices& services, std::function<void()> quit);

    // False for an id the table does not hold; nothing runs then.
    bool run(const QString& id);
    // The same commands as the decks ask for them.
    DeckActions& forDecks() { return deckActions; }
    bool contains(const QString& id) const { return actions.contains(id); }
    // Every id, sorted.
    QStringList ids() const;

private:
    // The deck's view of the table.
    class Deck final : public DeckActions {
    public:
        explicit Deck(AppActions& table)
            : table(table)
        {
        }
        void newNote() override { table.newNote(); }
        void openSettings() override { table.run(QStringLiteral("openSettings")); }
        void stepFontSize(double delta) override { table.stepFontSize(delta); }
        void refreshDecks() override { table.refreshDecks(); }
        void run(const QString& id) override { table.run(id); }

    private:
        AppActions& table;
    };

    void newNote();
    void stepFontSize(double delta);
    void refreshDecks();

    AppServices& services;
    QHash<QString, std::function<void()>> actions;
    Deck deckActions{*this};
};
