#include "editor/EditorCoordinator.h"

#include "editor/EditorRanges.h"
#include "editor/ImageCaret.h"

#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

EditorCoordinator::EditorCoordinator(const QTextDocument& document)
    : document(document)
{
}

TextRange EditorCoordinator::caretLine(const QTextCursor& cursor) const
{
    return EditorRanges::lineRange(cursor.selectionStart(), document);
}

EditorCoordinator::Answer EditorCoordinator::pass(const QList<TextRange>& lines,
                                                  const QTextCursor& cursor, bool composing)
{
    if (composing)
        return std::nullopt;
    const QList<TextRange> ranges = EditorRanges::merged(lines, EditorRanges::length(document));
    if (ranges.isEmpty())
        return std::nullopt;
    lastLine = caretLine(cursor);
    return Restyle{ranges, lastLine, revealed, false};
}

EditorCoordinator::Answer EditorCoordinator::fullPass(const QTextCursor& cursor, bool composing)
{
    if (composing) {
        needsFullPass = true;
        return std::nullopt;
    }
    edits.clear();
    needsFullPass = false;
    lastLine = caretLine(cursor);
    return Restyle{{{0, EditorRanges::length(document)}}, lastLine, revealed, true};
}

EditorCoordinator::Answer EditorCoordinator::configure(const QString& newStamp,
                                                       bool markdownEnabled,
                                                       const QTextCursor& cursor, bool composing)
{
    markdown = markdownEnabled;
    if (stamp != newStamp) {
        stamp = newStamp;
        needsFullPass = true;
    }
    return needsFullPass ? fullPass(cursor, composing) : std::nullopt;
}

void EditorCoordinator::textReplaced()
{
    edits.clear();
    needsFullPass = true;
}

// Styles an edit's lines as soon as the document reports it, before the layout runs, so the
// touched lines are laid out once. The caret has already moved by then.
EditorCoordinator::Answer
EditorCoordinator::contentsChanged(TextRange edit, const QTextCursor& cursor, bool composing)
{
    if (applying)
        return std::nullopt;
    edits.record(edit);
    if (needsFullPass)
        return std::nullopt;
    return pass(edits.consume(document, composing), cursor, composing);
}

EditorCoordinator::Answer EditorCoordinator::textChanged(const QTextCursor& cursor, bool composing)
{
    if (applying)
        return std::nullopt;
    if (needsFullPass)
        return fullPass(cursor, composing);
    return pass(edits.consume(document, composing), cursor, composing);
}

EditorCoordinator::Answer EditorCoordinator::selectionChanged(const QTextCursor& cursor,
                                                              bool composing)
{
    // An edit's own pass deals with the caret it moved.
    if (applying || composing || edits.hasPendingEdits())
        return std::nullopt;
    const TextRange line = caretLine(cursor);
    if (revealed && !ImageCaret::touchedToken(cursor, *revealed)) {
        revealed.reset();
        const TextRange selection{cursor.selectionStart(),
                                  cursor.selectionEnd() - cursor.selectionStart()};
        return pass({lastLine, line, EditorRanges::lineRangeForRange(selection, document)}, cursor,
                    false);
    }
    if (!markdown || line.location == lastLine.location) {
        lastLine = line;
        return std::nullopt;
    }
    return pass({lastLine, line}, cursor, false);
}

EditorCoordinator::Answer
EditorCoordinator::inputMethodHandled(bool wasComposing, const QTextCursor& cursor, bool composing)
{
    if (composing) {
        // The edits stay pending for the commit; the block is styled as it was, the pre-edit
        // aside. The whole block: Qt's formats replaced all of it, lines split by U+2028
        // included.
        const QTextBlock block = document.findBlock(cursor.position());
        if (!block.isValid())
            return std::nullopt;
        const QList<TextRange> whole = EditorRanges::merged({{block.position(), block.length()}},
                                                            EditorRanges::length(document));
        if (whole.isEmpty())
            return std::nullopt;
        return Restyle{whole, caretLine(cursor), revealed, false};
    }
    if (needsFullPass)
        return fullPass(cursor, false);
    if (!wasComposing && !edits.hasPendingEdits())
        return std::nullopt;
    // Composition replaced the caret block's formats with its own underlines: restyle the
    // block along with whatever the commit changed.
    QList<TextRange> lines = edits.consume(document, false);
    lines.append(caretLine(cursor));
    return pass(lines, cursor, false);
}

EditorCoordinator::Answer EditorCoordinator::restyle(const QList<TextRange>& lines,
                                                     const QTextCursor& cursor, bool composing)
{
    return pass(lines, cursor, composing);
}

std::optional<TextRange> EditorCoordinator::revealBeforeDelete(const QTextCursor& cursor,
                                                               bool backward, ImageCaret::Unit unit)
{
    const std::optional<ImageToken> token = ImageCaret::tokenBeforeDelete(cursor, backward, unit);
    if (!token)
        return std::nullopt;
    revealed = token->id;
    return token->range;
}

std::optional<qsizetype> EditorCoordinator::cancelRevealIfSelected(const QTextCursor& cursor) const
{
    if (!revealed)
        return std::nullopt;
    const std::optional<ImageToken> token = ImageCaret::touchedToken(cursor, *revealed);
    const TextRange selection{cursor.selectionStart(),
                              cursor.selectionEnd() - cursor.selectionStart()};
    if (!token || token->range != selection)
        return std::nullopt;
    return ImageCaret::positionBehind(document, token->range);
}

EditorCoordinator::Answer EditorCoordinator::clearRevealedImage(const QTextCursor& cursor,
                                                                bool composing)
{
    if (!revealed)
        return std::nullopt;
    revealed.reset();
    return pass({caretLine(cursor)}, cursor, composing);
}
