#include "sync/DeletionBrake.h"

#include "platform/Log.h"

#include <QStringList>

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

QList<Action> DeletionBrake::hold(QList<Action> actions, qsizetype indexed,
                                  const NoteOfDocument& noteOfDocument)
{
    // The note each deletion is about, for either direction; empty for other actions.
    const auto noteOf = [&](const Action& a) -> QString {
        if (a.kind == Action::Kind::DeleteLocal)
            return a.noteID;
        if (a.kind == Action::Kind::DeleteRemote)
            return noteOfDocument ? noteOfDocument(a.fileName) : a.fileName;
        return {};
    };
    QSet<QString> deletions;
    qsizetype documents = 0;
    for (const Action& a : actions) {
        const QString id = noteOf(a);
        if (id.isEmpty() || confirmed.contains(id) || deletions.contains(id))
            continue;
        deletions.insert(id);
        if (a.kind == Action::Kind::DeleteRemote)
            ++documents;
    }
    // A confirmation answers for the pass that follows it, not for later accidents.
    confirmed.clear();
    if (asking) {
        waiting.unite(deletions);
    } else if (trips(deletions.size(), indexed)) {
        waiting = deletions;
        asking = true;
        const qsizetype notes = deletions.size() - documents;
        QStringList gone;
        if (notes > 0)
            gone << u"%1 of %2 documents are gone from the folder"_s.arg(notes).arg(indexed);
        if (documents > 0)
            gone << u"%1 of %2 notes are gone here"_s.arg(documents).arg(indexed);
        Log::cloud(gone.join(u", and "_s), u"holding back their deletions until confirmed"_s);
        const std::weak_ptr<bool> guard = alive;
        prompt.ask(static_cast<int>(deletions.size()), [this, guard](Answer answer) {
            if (const auto live = guard.lock(); live && *live)
                answered(answer);
        });
    }
    actions.removeIf([&](const Action& a) {
        const QString id = noteOf(a);
        return !id.isEmpty() && waiting.contains(id);
    });
    return actions;
}

void DeletionBrake::reset()
{
    waiting.clear();
    confirmed.clear();
    asking = false;
    deferred.reset();
    // The open question's callback holds the old flag: its answer now finds nothing to call.
    *alive = false;
    alive = std::make_shared<bool>(true);
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
