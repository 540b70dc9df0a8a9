#include "sync/DeletionBrake.h"

#include "platform/Log.h"

using namespace Qt::Literals::StringLiterals;
using SyncPlan::Action;

DeletionBrake::DeletionBrake(MassDeletePrompt& prompt, std::function<bool()> busy, Settle settle)
    : prompt(prompt)
    , busy(std::move(busy))
    , settle(std::move(settle))
{
}

DeletionBrake::~DeletionBrake() { *alive = false; }

bool DeletionBrake::trips(qsizetype deletions, qsizetype indexed)
{
    return deletions > 3 && deletions * 2 > indexed;
}

QList<Action> DeletionBrake::hold(QList<Action> actions, qsizetype indexed)
{
    QSet<QString> deletions;
    for (const Action& a : actions) {
        if (a.kind == Action::Kind::DeleteLocal && !confirmed.contains(a.noteID))
            deletions.insert(a.noteID);
    }
    // A confirmation answers for the pass that follows it, not for later accidents.
    confirmed.clear();
    if (asking) {
        waiting.unite(deletions);
    } else if (trips(deletions.size(), indexed)) {
        waiting = deletions;
        asking = true;
        Log::cloud(
            u"%1 of %2 documents are gone from the folder"_s.arg(deletions.size()).arg(indexed),
            u"holding back their deletions until confirmed"_s);
        const std::weak_ptr<bool> guard = alive;
        prompt.ask(static_cast<int>(deletions.size()), [this, guard](Answer answer) {
            if (const auto live = guard.lock(); live && *live)
                answered(answer);
        });
    }
    actions.removeIf([this](const Action& a) {
        return a.kind == Action::Kind::DeleteLocal && waiting.contains(a.noteID);
    });
    return actions;
}

void DeletionBrake::passEnded()
{
    if (const auto answer = std::exchange(deferred, std::nullopt))
        answered(*answer);
}

void DeletionBrake::answered(Answer answer)
{
    if (busy()) {
        deferred = answer;
        return;
    }
    asking = false;
    const QSet<QString> ids = std::exchange(waiting, {});
    if (answer == Answer::DeleteHere)
        confirmed = ids;
    settle(answer, ids);
}
