#include "app/AppActions.h"

#include "app/AppServices.h"

using namespace Qt::Literals::StringLiterals;

AppActions::AppActions(AppServices& services, std::function<void()> quit)
    : services(services)
{
    actions.insert(u"newNote"_s, [this] { newNote(); });
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

// An empty note with the next colour; the deck it opens in comes with the decks.
void AppActions::newNote()
{
    if (services.notesAreOpen())
        services.noteStore().create();
}
