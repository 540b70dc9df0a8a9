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
// whose surface is not built yet is not in the table, so nothing offers it. A command that
// takes a value carries it after a colon: "setDeckStyle:compact", "setDisplayTarget:id:7".
class AppActions final {
public:
    // quit asks the process to end the way every quit does (see AppDelegate::terminate).
    // services must outlive the table.
    AppActions(AppServices& services, std::function<void()> quit);

    // False for an id the table does not hold; nothing runs then.
    bool run(const QString& id);
    // The same commands as the decks ask for them.
    DeckActions& forDecks() { return deckActions; }
    // Whether the table holds the command, given with or without its value.
    bool contains(const QString& id) const;
    // Every id, sorted.
    QStringList ids() const;
    // Runs each pondrift: URL in turn (see UrlScheme), as another program or a later start
    // hands them in. One that does not qualify is skipped with a log line and the next is
    // taken. Answers why each skipped one was, for the sender to tell.
    QStringList openUrls(const QStringList& urls);
    // Runs the command, or logs that its surface (what) is not there yet.
    void runOrLog(const QString& id, const QString& what);

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
        bool offers(const QString& id) const override { return table.contains(id); }

    private:
        AppActions& table;
    };

    void newNote();
    bool addNote(const QString& body);
    void stepFontSize(double delta);
    void refreshDecks();
    void addSettingsCommands();

    AppServices& services;
    // By name; the value is what followed the colon, empty for a command without one.
    QHash<QString, std::function<void(const QString& value)>> actions;
    Deck deckActions{*this};
};
