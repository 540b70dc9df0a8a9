#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

#include <functional>

class AppServices;

// The one table of the program's commands. Menus, the tray, global hot keys, the URL scheme,
// the command line and the deck's menu all run the same actions by id, so a command behaves
// the same whichever way it is given. Ids are the actions' names ("newNote", "quit").
class AppActions final {
public:
    // quit asks the process to end the way every quit does (see AppDelegate::terminate).
    // services must outlive the table.
    AppActions(AppServices& services, std::function<void()> quit);

    // False for an id the table does not hold; nothing runs then.
    bool run(const QString& id);
    bool contains(const QString& id) const { return actions.contains(id); }
    // Every id, sorted.
    QStringList ids() const;

private:
    void newNote();

    AppServices& services;
    QHash<QString, std::function<void()>> actions;
};
