#pragma once

#include "sync/MassDeletePrompt.h"
#include "sync/SyncPlan.h"

#include <QList>
#include <QSet>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

// The brake on mass deletions. When the documents of many notes vanish from the folder at
// once (a folder emptied by mistake, a sync client gone wrong), deleting the notes here too
// would spread the accident, so those deletions wait for the user's answer while the rest of
// the pass goes on.
//
// Main thread only. The prompt must outlive the brake; an answer that arrives after the
// brake is gone is dropped.
class DeletionBrake {
public:
    using Answer = MassDeletePrompt::Answer;
    // Told each answer with the ids it covers, never while `busy` says a pass is running: an
    // answer that arrives then waits for passEnded(). After DeleteHere those ids go through
    // the next hold() once; after RestoreToFolder the caller undoes what made them deletions.
    using Settle = std::function<void(Answer, const QSet<QString>& ids)>;

    DeletionBrake(MassDeletePrompt& prompt, std::function<bool()> busy, Settle settle);
    ~DeletionBrake();
    DeletionBrake(const DeletionBrake&) = delete;
    DeletionBrake& operator=(const DeletionBrake&) = delete;

    // Whether one pass that would delete `deletions` notes, of the `indexed` the index knows,
    // must ask first: more than three, and more than half.
    static bool trips(qsizetype deletions, qsizetype indexed);

    // The pass's actions less the local deletions that must wait. A pass that trips the
    // brake asks once; while that question is open, every later local deletion waits with
    // the held ones, and no second question is asked.
    QList<SyncPlan::Action> hold(QList<SyncPlan::Action> actions, qsizetype indexed);
    // Hands on an answer that arrived during the pass that just ended.
    void passEnded();
    // Drops the held ids when the index they came from is gone; an open question stays
    // open, and its answer covers only what is held from then on.
    void release() { waiting.clear(); }

    // Deletions held back for the answer, by note id.
    const QSet<QString>& held() const { return waiting; }

private:
    void answered(Answer answer);

    MassDeletePrompt& prompt;
    std::function<bool()> busy;
    Settle settle;
    QSet<QString> waiting;
    QSet<QString> confirmed;
    bool asking = false;
    std::optional<Answer> deferred;
    // The prompt's callback may outlive the brake.
    std::shared_ptr<bool> alive = std::make_shared<bool>(true);
};
