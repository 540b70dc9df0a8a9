#include "editor/EditorRanges.h"

#include <QTextBlock>
#include <QTextDocument>

#include <algorithm>

namespace EditorRanges {
namespace {

// Start of the line holding position i (0 ... size). A position between CR and LF belongs
// to the line that the pair ends.
qsizetype lineStartIn(QStringView s, qsizetype i)
{
    if (i > 0 && i < s.size() && s[i] == u'\n' && s[i - 1] == u'\r')
        --i;
    while (i > 0 && !isLineTerminator(s[i - 1]))
        --i;
    return i;
}

// lineEnd, and whether the scan ran off the end without a terminator.
qsizetype lineEndIn(QStringView s, qsizetype j, bool* reachedEnd)
{
    while (j < s.size() && !isLineTerminator(s[j]))
        ++j;
    if (reachedEnd)
        *reachedEnd = j >= s.size();
    if (j >= s.size())
        return s.size();
    if (s[j] == u'\r' && j + 1 < s.size() && s[j + 1] == u'\n')
        return j + 2;
    return j + 1;
}

TextRange clampedInto(TextRange range, qsizetype length)
{
    const qsizetype location = std::clamp<qsizetype>(range.location, 0, length);
    return {location, std::clamp<qsizetype>(range.length, 0, length - location)};
}

template <typename LineOf>
QList<TextRange> affectedLines(const QList<TextRange>& edits, qsizetype length, LineOf lineOf)
{
    if (edits.isEmpty())
        return {};
    if (length == 0)
        return {TextRange{0, 0}};
    QList<TextRange> lines;
    lines.reserve(edits.size());
    for (const TextRange& edit : edits) {
        if (edit.location == TextRange::NotFound || !edit.isValid())
            continue;
        const TextRange clamped = clampedInto(edit, length);
        const qsizetype start = std::max<qsizetype>(clamped.location - 1, 0);
        const qsizetype end = std::min(clamped.end() + 1, length);
        lines.append(lineOf(TextRange{start, end - start}));
    }
    return merged(lines, length);
}

} // namespace

qsizetype lineEnd(QStringView text, qsizetype position)
{
    return lineEndIn(text, std::clamp<qsizetype>(position, 0, text.size()), nullptr);
}

TextRange lineRangeForRange(TextRange range, QStringView text)
{
    const TextRange r = clampedInto(range, text.size());
    const qsizetype start = lineStartIn(text, r.location);
    const qsizetype last = r.length > 0 ? r.end() - 1 : r.location;
    const qsizetype end = std::max(lineEndIn(text, last, nullptr), start);
    return {start, end - start};
}

TextRange lineRange(qsizetype location, QStringView text)
{
    return lineRangeForRange({std::clamp<qsizetype>(location, 0, text.size()), 0}, text);
}

QList<TextRange> affectedLineRanges(const QList<TextRange>& edits, QStringView text)
{
    return affectedLines(edits, text.size(),
                         [&](TextRange r) { return lineRangeForRange(r, text); });
}

QList<TextRange> merged(const QList<TextRange>& ranges, qsizetype length)
{
    QList<TextRange> kept;
    kept.reserve(ranges.size());
    for (const TextRange& range : ranges) {
        if (range.location == TextRange::NotFound || !range.isValid())
            continue;
        const qsizetype location = std::min(range.location, length);
        const TextRange clamped{location, std::min(range.length, length - location)};
        if (clamped.length > 0)
            kept.append(clamped);
    }
    std::sort(kept.begin(), kept.end(), [](TextRange a, TextRange b) {
        return a.location != b.location ? a.location < b.location : a.length < b.length;
    });
    QList<TextRange> result;
    for (const TextRange& range : kept) {
        if (!result.isEmpty() && range.location <= result.back().end()) {
            TextRange& running = result.back();
            running.length = std::max(running.end(), range.end()) - running.location;
        } else {
            result.append(range);
        }
    }
    return result;
}

qsizetype length(const QTextDocument& document)
{
    return std::max(document.characterCount() - 1, 0);
}

QString text(const QTextDocument& document, TextRange range)
{
    const TextRange r = clampedInto(range, length(document));
    return text(document.findBlock(static_cast<int>(r.location)), r);
}

QString text(QTextBlock block, TextRange r)
{
    QString result;
    result.reserve(r.length);
    // Each block starts where the one before ends: counting on is cheaper than asking every
    // block for its position, which walks the document's tree.
    for (qsizetype blockStart = block.position(); block.isValid() && blockStart < r.end();
         blockStart += block.length(), block = block.next()) {
        const QString blockText = block.text();
        const qsizetype from = std::max<qsizetype>(r.location - blockStart, 0);
        const qsizetype to = std::min<qsizetype>(r.end() - blockStart, blockText.size());
        if (to > from)
            result += QStringView(blockText).sliced(from, to - from);
        if (blockStart + blockText.size() < r.end())
            result += u'\n';
    }
    return result;
}

TextRange lineRangeForRange(TextRange range, const QTextDocument& document)
{
    const qsizetype total = length(document);
    const TextRange r = clampedInto(range, total);
    // U+2028 and NEL may break a block into lines, so the scan runs inside the block's text,
    // and the block's end is a line end.
    const QTextBlock first = document.findBlock(static_cast<int>(r.location));
    const qsizetype firstStart = first.position();
    const QString firstText = first.text();
    const qsizetype start =
        firstStart
        + lineStartIn(firstText, std::min<qsizetype>(r.location - firstStart, firstText.size()));
    const qsizetype last = r.length > 0 ? r.end() - 1 : r.location;
    // Most ranges end in the block they start in: no second walk of the document's tree.
    const bool sameBlock = last < firstStart + first.length();
    const QTextBlock lastBlock = sameBlock ? first : document.findBlock(static_cast<int>(last));
    const qsizetype lastStart = sameBlock ? firstStart : lastBlock.position();
    const QString lastText = sameBlock ? firstText : lastBlock.text();
    bool reachedEnd = false;
    qsizetype end =
        lastStart
        + lineEndIn(lastText, std::min<qsizetype>(last - lastStart, lastText.size()), &reachedEnd);
    if (reachedEnd)
        end = std::min<qsizetype>(lastStart + lastBlock.length(), total);
    return {start, std::max(end, start) - start};
}

TextRange lineRange(qsizetype location, const QTextDocument& document)
{
    return lineRangeForRange({std::clamp<qsizetype>(location, 0, length(document)), 0}, document);
}

QList<TextRange> affectedLineRanges(const QList<TextRange>& edits, const QTextDocument& document)
{
    return affectedLines(edits, length(document),
                         [&](TextRange r) { return lineRangeForRange(r, document); });
}

} // namespace EditorRanges
