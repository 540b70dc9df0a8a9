#pragma once

#include "notes/TextRange.h"

#include <QList>
#include <QString>
#include <QStringView>

class QTextBlock;
class QTextDocument;

// Range arithmetic over a note's text: its lines, the lines an edit touched, and ranges joined
// for one styling pass. Positions and ranges are UTF-16 units, the same as QTextDocument
// positions. Nothing here fails: what lies outside the text is clamped into it or dropped.
namespace EditorRanges {

// LF, CR, NEL, U+2028 and U+2029 end a line; CR LF ends one line, not two. Inline: every
// scan of a line asks it of each unit.
inline bool isLineTerminator(QChar c)
{
    const char16_t u = c.unicode();
    return u == u'\n' || u == u'\r' || u == 0x0085 || u == 0x2028 || u == 0x2029;
}
// The end of the line holding the unit at position, terminator included; the text's size
// when the text ends first.
qsizetype lineEnd(QStringView text, qsizetype position);

// The line holding the range, terminator included. The range is clamped into the text.
TextRange lineRangeForRange(TextRange range, QStringView text);
// The line of the empty range at location, clamped to 0 ... length.
TextRange lineRange(qsizetype location, QStringView text);
// Whole lines around each edit, widened by one unit either side so that a line break typed
// or removed restyles both lines it touches. Edits with a negative or NotFound location or a
// negative length are dropped. An empty text gives the one range (0, 0).
QList<TextRange> affectedLineRanges(const QList<TextRange>& edits, QStringView text);
// Valid ranges clamped into the length, empty ones dropped, sorted, touching ones joined.
QList<TextRange> merged(const QList<TextRange>& ranges, qsizetype length);

// The same over a document, without copying its text: the keystroke path uses these. A
// block is a paragraph; U+2028 and NEL inside it still end lines.
qsizetype length(const QTextDocument& document);
// The document's text over the range, block breaks as "\n" (what toPlainText gives).
QString text(const QTextDocument& document, TextRange range);
// The same from the block that holds the range's start, for a caller that has found it; the
// range must lie inside the document.
QString text(QTextBlock first, TextRange range);
TextRange lineRangeForRange(TextRange range, const QTextDocument& document);
TextRange lineRange(qsizetype location, const QTextDocument& document);
QList<TextRange> affectedLineRanges(const QList<TextRange>& edits, const QTextDocument& document);

} // namespace EditorRanges
