#include "editor/ImageCaret.h"

#include "editor/EditorRanges.h"
#include "editor/EditorStyleEngine.h"

#include <QTextCursor>
#include <QTextDocument>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace ImageCaret {
namespace {

bool lineBreakAt(const QTextDocument& document, qsizetype position)
{
    return EditorRanges::text(document, {position, 1}) == u"\n"_s;
}

} // namespace

QList<ImageToken> tokensIn(const QTextDocument& document, TextRange range)
{
    QList<ImageToken> found = ImageTokens::tokens(EditorRanges::text(document, range));
    for (ImageToken& token : found)
        token.range.location += range.location;
    return found;
}

Edge edgeOfMove(qsizetype from, qsizetype to)
{
    if (to > from)
        return Edge::Trailing;
    return to < from ? Edge::Leading : Edge::Nearest;
}

std::optional<qsizetype> snapped(const QTextCursor& cursor, Edge edge)
{
    const QTextDocument& document = *cursor.document();
    const qsizetype caret = cursor.position();
    const QList<ImageToken> tokens = tokensIn(document, EditorRanges::lineRange(caret, document));
    const auto inside = std::find_if(tokens.begin(), tokens.end(), [&](const ImageToken& t) {
        return t.range.location < caret && t.range.end() > caret;
    });
    if (inside == tokens.end() || !EditorStyleEngine::isHidden(document, inside->range.location))
        return std::nullopt;
    const TextRange token = inside->range;
    if (edge == Edge::Trailing
        || (edge == Edge::Nearest && token.location + token.length / 2 < caret))
        return token.end();
    return token.location;
}

std::optional<ImageToken> tokenBeforeDelete(const QTextCursor& cursor, bool backward, Unit unit)
{
    if (cursor.hasSelection())
        return std::nullopt;
    const QTextDocument& document = *cursor.document();
    const qsizetype caret = cursor.position();
    TextRange lines = EditorRanges::lineRange(caret, document);
    if (backward && lines.location > 0) {
        const TextRange above = EditorRanges::lineRange(lines.location - 1, document);
        lines = {above.location, lines.end() - above.location};
    }
    for (const ImageToken& token : tokensIn(document, lines)) {
        if (!EditorStyleEngine::isHidden(document, token.range.location))
            continue;
        const TextRange r = token.range;
        const bool hit = backward
                             ? (r.location < caret && caret <= r.end())
                                   || (caret == r.end() + 1 && lineBreakAt(document, caret - 1))
                             : r.location == caret;
        if (hit)
            return token;
    }
    if (unit == Unit::Character)
        return std::nullopt;
    // What the word delete would take: Qt's own word boundary, from the block's layout.
    QTextCursor word = cursor;
    word.movePosition(backward ? QTextCursor::PreviousWord : QTextCursor::NextWord,
                      QTextCursor::KeepAnchor);
    const TextRange taken{word.selectionStart(), word.selectionEnd() - word.selectionStart()};
    QList<ImageToken> reached;
    for (const ImageToken& token :
         tokensIn(document, EditorRanges::lineRangeForRange(taken, document))) {
        if (token.range.intersectionLength(taken) > 0
            && EditorStyleEngine::isHidden(document, token.range.location))
            reached.append(token);
    }
    if (reached.isEmpty())
        return std::nullopt;
    return backward ? reached.last() : reached.first();
}

std::optional<ImageToken> touchedToken(const QTextCursor& cursor, const QString& id)
{
    const QTextDocument& document = *cursor.document();
    const TextRange selection{cursor.selectionStart(),
                              cursor.selectionEnd() - cursor.selectionStart()};
    // Tokens never span lines: the selection's own lines are where the token can be.
    const TextRange around = EditorRanges::lineRangeForRange(selection, document);
    for (const ImageToken& token : tokensIn(document, around)) {
        if (token.id != id)
            continue;
        if (selection.length == 0 ? token.range.contains(selection.location)
                                  : token.range.intersectionLength(selection) > 0)
            return token;
    }
    return std::nullopt;
}

qsizetype positionBehind(const QTextDocument& document, TextRange token)
{
    const qsizetype behind = token.end() + (lineBreakAt(document, token.end()) ? 1 : 0);
    return std::min(behind, EditorRanges::length(document));
}

} // namespace ImageCaret
