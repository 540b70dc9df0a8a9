#pragma once

#include "notes/TextRange.h"
#include "platform/Scheduler.h"

#include <QList>
#include <QObject>
#include <QTextCursor>
#include <QTextEdit>

#include <functional>

class QTextBlock;
class SpellChecker;

// Continuous spelling for a note's text view: misspelled words get Qt's spell-check
// underline, drawn as extra selections so that the document's formats (the styling engine's)
// are never touched and no check is ever an edit.
//
// Checking stays off the keystroke path: an edit only notes which lines it touched, and
// those lines are checked once typing has paused for settleSeconds. At attach, the lines in
// view are checked first and the rest of the note after them. Work is cut into turns of at
// most linesPerTurn lines, each a piece of scheduled work, so a long note never holds the
// event loop (a turn of 100 lines of prose takes a few milliseconds with Hunspell's English,
// so no thread is needed). Underlines of unchecked lines move with the text meanwhile.
//
// With a checker that is not available nothing is watched or shown: spelling is off.
class NoteSpellCheck final {
public:
    using Show = std::function<void(const QList<QTextEdit::ExtraSelection>&)>;

    static constexpr double settleSeconds = 0.4;
    static constexpr int linesPerTurn = 100;

    // show: where the underlines go, the whole set each time (the view's "spelling" layer).
    // REQUIRES: view, checker and scheduler outlive this; the view keeps its document.
    NoteSpellCheck(QTextEdit& view, SpellChecker& checker, Scheduler& scheduler, Show show);
    ~NoteSpellCheck();
    NoteSpellCheck(const NoteSpellCheck&) = delete;
    NoteSpellCheck& operator=(const NoteSpellCheck&) = delete;

    // The words underlined now, in document order.
    QList<TextRange> marked() const;
    // Whether lines wait to be checked.
    bool isPending() const { return !dirty.isEmpty(); }

private:
    void changed(int position, int added);
    void markDirty(qsizetype from, qsizetype to);
    void schedule(double seconds);
    void turn();
    void noteFenceChanges(const QList<qsizetype>& fences);
    void check(const QTextBlock& block, bool inFence);
    void publish();

    QTextDocument& document;
    SpellChecker& checker;
    Scheduler& scheduler;
    Show show;
    // Ranges of text that wait for a check, as cursors so that later edits move them.
    QList<QTextCursor> dirty;
    // One selection per misspelled word; empty ones are words since deleted.
    QList<QTextCursor> marks;
    // The first position of each fence line at the last turn, moved along by edits: a fence
    // typed or removed changes what is code below it.
    QList<QTextCursor> fenceLines;
    Scheduler::HandlePtr pending;
    QObject context;
};
