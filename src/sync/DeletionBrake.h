#pragma once

#include "sync/MassDeletePrompt.h"
#include "sync/SyncPlan.h"

#include <QList>
#include <QSet>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

// The brake on mass deletions, both ways. When the documents of many notes vanish from the
// folder at once (a folder emptied by mistake, a sync client gone wrong), deleting the notes
// here too would spread the accident; when many notes vanish here at once (a database
// replaced, a store gone wrong), deleting their documents would spread it to every other
// machine. Those deletions wait for the user's answer while the rest of the pass goes on.
//
// Main thread only. The prompt must outlive the brake; an answer that arrives after the
// brake is gone is dropped.
class DeletionBrake {
public:
    using Answer = MassDeletePrompt::Answer;
    // Told each answer with the note ids it covers, never while `busy` says a pass is
    // running: an answer that arrives then waits for passEnded(). After DeleteHere those
    // deletions go through the next hold() once; after RestoreToFolder the caller undoes
    // what made them deletions.
    using Settle = std::function<void(Answer, const QSet<QString>& ids)>;

    DeletionBrake(MassDeletePrompt& prompt, std::function<bool()> busy, Settle settle);
    ~DeletionBrake();
    DeletionBrake(const DeletionBrake&) = delete;
    DeletionBrake& operator=(const DeletionBrake&) = delete;

    // The note a document deletion is about, by the document's file name.
    using NoteOfDocument = std::function<QString(const QString& fileName)>;

    // Whether one pass that would delete `deletions` notes or documents, of the `indexed`
    // the index knows, must ask first: more than three, and more than half.
    static bool trips(qsizetype deletions, qsizetype indexed);

    // The pass's actions less the deletions, of notes and of documents, that must wait. A
    // pass that trips the brake asks once; while that question is open, every later
    // deletion waits with the held ones, and no second question is asked. Without
    // noteOfDocument, a document deletion is known by its file name.
    QList<SyncPlan::Action> hold(QList<SyncPlan::Action> actions, qsizetype indexed,
                                 const NoteOfDocument& noteOfDocument = {});
    // Hands on an answer that arrived during the pass that just ended.
    void passEnded();
    // Forgets everything when the index the held deletions came from is gone: the held ids,
    // any confirmation, and the open question, whose answer would otherwise apply to
    // deletions nobody was asked about. The next deletions that trip the brake ask anew.
    void reset();

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
