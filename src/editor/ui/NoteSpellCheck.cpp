#include "editor/ui/NoteSpellCheck.h"

#include "editor/SpellRanges.h"
#include "platform/SpellChecker.h"

#include <QSet>
#include <QTextBlock>
#include <QTextDocument>

#include <algorithm>
#include <utility>

namespace {

QTextCharFormat underline()
{
    QTextCharFormat format;
    format.setUnderlineStyle(QTextCharFormat::SpellCheckUnderline);
    format.setUnderlineColor(Qt::red);
    return format;
}

// The first position of every fence line, in order.
QList<qsizetype> fencePositions(const QTextDocument& document)
{
    QList<qsizetype> found;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        if (SpellRanges::isFence(block.text()))
            found.append(block.position());
    }
    return found;
}

} // namespace

NoteSpellCheck::NoteSpellCheck(QTextEdit& view, SpellChecker& checker, Scheduler& scheduler,
                               Show show)
    : document(*view.document())
    , checker(checker)
    , scheduler(scheduler)
    , show(std::move(show))
{
    if (!checker.available())
        return;
    QObject::connect(&document, &QTextDocument::contentsChange, &context,
                     [this](int position, int, int added) { changed(position, added); });

    for (qsizetype position : fencePositions(document)) {
        QTextCursor cursor(&document);
        cursor.setPosition(static_cast<int>(position));
        fenceLines.append(cursor);
    }
    // What the user sees first, then the rest of the note, in separate ranges so that the
    // order holds.
    const QRect viewport = view.viewport()->rect();
    const qsizetype firstShown = view.cursorForPosition(viewport.topLeft()).block().position();
    const QTextBlock lastShownBlock = view.cursorForPosition(viewport.bottomRight()).block();
    const qsizetype lastShown = lastShownBlock.position() + lastShownBlock.length() - 1;
    const qsizetype end = document.characterCount() - 1;
    markDirty(firstShown, lastShown);
    if (firstShown > 0)
        markDirty(0, firstShown - 1);
    if (lastShown < end)
        markDirty(lastShown + 1, end);
    schedule(0);
}

NoteSpellCheck::~NoteSpellCheck() = default;

QList<TextRange> NoteSpellCheck::marked() const
{
    QList<TextRange> ranges;
    for (const QTextCursor& mark : marks) {
        if (mark.hasSelection())
            ranges.append(
                TextRange{mark.selectionStart(), mark.selectionEnd() - mark.selectionStart()});
    }
    std::sort(ranges.begin(), ranges.end(),
              [](TextRange a, TextRange b) { return a.location < b.location; });
    return ranges;
}

void NoteSpellCheck::changed(int position, int added)
{
    // Styling changes formats and reports them as changes too; rechecking such a line costs
    // little and keeps undo, which restores text without a new edit, from being missed.
    markDirty(position, position + added);
    schedule(settleSeconds);
}

void NoteSpellCheck::markDirty(qsizetype from, qsizetype to)
{
    const qsizetype last = std::max<qsizetype>(document.characterCount() - 1, 0);
    from = std::clamp<qsizetype>(from, 0, last);
    to = std::clamp<qsizetype>(to, from, last);
    for (QTextCursor& range : dirty) {
        if (from <= range.selectionEnd() && to >= range.selectionStart()) {
            const qsizetype start = std::min<qsizetype>(from, range.selectionStart());
            const qsizetype end = std::max<qsizetype>(to, range.selectionEnd());
            range.setPosition(static_cast<int>(start));
            range.setPosition(static_cast<int>(end), QTextCursor::KeepAnchor);
            return;
        }
    }
    QTextCursor range(&document);
    range.setPosition(static_cast<int>(from));
    range.setPosition(static_cast<int>(to), QTextCursor::KeepAnchor);
    dirty.append(range);
}

void NoteSpellCheck::schedule(double seconds)
{
    pending = scheduler.after(seconds, [this] { turn(); });
}

void NoteSpellCheck::turn()
{
    pending.reset();
    QList<bool> fenced;
    QList<qsizetype> fences;
    SpellRanges::Fences tracker;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        const QString text = block.text();
        fenced.append(tracker.inCode(text));
        if (SpellRanges::isFence(text))
            fences.append(block.position());
    }
    noteFenceChanges(fences);

    const QList<QTextCursor> ranges = std::exchange(dirty, {});
    QSet<int> done;
    int budget = linesPerTurn;
    for (const QTextCursor& range : ranges) {
        QTextBlock block = document.findBlock(range.selectionStart());
        const int last = document.findBlock(range.selectionEnd()).blockNumber();
        for (; block.isValid() && block.blockNumber() <= last; block = block.next()) {
            if (budget == 0) {
                markDirty(block.position(), range.selectionEnd());
                break;
            }
            if (done.contains(block.blockNumber()))
                continue;
            done.insert(block.blockNumber());
            check(block, fenced.value(block.blockNumber()));
            --budget;
        }
    }
    publish();
    if (!dirty.isEmpty())
        schedule(0);
}

void NoteSpellCheck::noteFenceChanges(const QList<qsizetype>& fences)
{
    qsizetype i = 0;
    while (i < fences.size() && i < fenceLines.size() && fences[i] == fenceLines[i].position())
        ++i;
    if (i == fences.size() && i == fenceLines.size())
        return;
    // Everything from the first fence that differs may have moved in or out of code.
    qsizetype from = document.characterCount();
    if (i < fences.size())
        from = fences[i];
    if (i < fenceLines.size())
        from = std::min<qsizetype>(from, fenceLines[i].position());
    markDirty(from, document.characterCount() - 1);
    fenceLines.clear();
    for (qsizetype position : fences) {
        QTextCursor cursor(&document);
        cursor.setPosition(static_cast<int>(position));
        fenceLines.append(cursor);
    }
}

void NoteSpellCheck::check(const QTextBlock& block, bool inFence)
{
    const qsizetype start = block.position();
    const qsizetype end = start + block.length();
    marks.removeIf([&](const QTextCursor& mark) {
        return !mark.hasSelection()
               || (mark.selectionStart() >= start && mark.selectionStart() < end);
    });
    const QString prose = SpellRanges::prose(block.text(), inFence);
    for (const SpellChecker::Range& word : checker.misspelled(prose)) {
        QTextCursor mark(&document);
        mark.setPosition(static_cast<int>(start + word.start));
        mark.setPosition(static_cast<int>(start + word.start + word.length),
                         QTextCursor::KeepAnchor);
        marks.append(mark);
    }
}

void NoteSpellCheck::publish()
{
    const QTextCharFormat format = underline();
    QList<QTextEdit::ExtraSelection> selections;
    for (const TextRange& range : marked()) {
        QTextCursor cursor(&document);
        cursor.setPosition(static_cast<int>(range.location));
        cursor.setPosition(static_cast<int>(range.end()), QTextCursor::KeepAnchor);
        selections.append(QTextEdit::ExtraSelection{cursor, format});
    }
    show(selections);
}
