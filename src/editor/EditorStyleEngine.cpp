#include "editor/EditorStyleEngine.h"

#include "editor/EditorRanges.h"
#include "editor/EditorStyleCache.h"
#include "editor/MarkdownRuns.h"
#include "notes/NoteText.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetricsF>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>
#include <QTextOption>

#include <algorithm>
#include <cmath>
#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace EditorStyleEngine {
namespace {

using MarkdownRuns::Attributes;
using MarkdownRuns::Tone;

// Sizes are in the note's own units; the body face tells how many QFont points one is.
double pointsPer(const QFont& body, double size)
{
    return size > 0 && body.pointSizeF() > 0 ? body.pointSizeF() / size : 1.0;
}

// Bold form of a face, or a semibold system face when the family has no bold to give.
QFont boldened(QFont font, double size)
{
    QFont bold = font;
    bold.setBold(true);
    if (QFontInfo(bold).weight() < QFont::DemiBold) {
        const double points = font.pointSizeF() > 0 ? font.pointSizeF() : size;
        bold = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
        bold.setPointSizeF(points);
        bold.setWeight(QFont::DemiBold);
    }
    return bold;
}

QFont monospaced(double points)
{
    QFont mono = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    mono.setPointSizeF(std::max(points, 1.0));
    mono.setWeight(QFont::Normal);
    return mono;
}

// A hidden face whose line box is at least the given height: put on one character of an
// image token, it gives the token's line the room its picture needs, without a block format
// (which would be an undoable edit). Its width is scaled to nothing like every hidden
// character's.
double pointSizeForLineHeight(const QFont& base, double height)
{
    QFont probe = base;
    probe.setPointSizeF(100);
    const double per100 = QFontMetricsF(probe).height();
    double size = per100 > 0 ? height * 100 / per100 : height;
    probe.setPointSizeF(size);
    // Metrics are not quite linear in size; grow until the box holds the height.
    for (int i = 0; i < 8 && std::ceil(QFontMetricsF(probe).height()) < std::ceil(height); ++i) {
        size *= 1.01;
        probe.setPointSizeF(size);
    }
    return size;
}

QColor inkAt(const QColor& ink, double alpha)
{
    QColor color = ink;
    color.setAlphaF(static_cast<float>(alpha));
    return color;
}

// The cache's key of attributes without their link and image, which are the pass's own.
quint64 keyOf(const Attributes& a)
{
    return quint64{a.font} | quint64{static_cast<quint8>(a.tone)} << 8 | quint64{a.flags} << 16;
}

// Turns a pass's runs into format ranges and puts them into the blocks of the range, keeping
// what other blocks or other parts of a block carry.
class FormatWriter {
public:
    FormatWriter(const Options& options, EditorStyleCache::Configuration& memory)
        : options(options)
        , memory(memory)
    {
    }

    // block is the one holding range.location, and blockStart its position. heights holds the
    // room reserved for each of the runs' images.
    void write(const MarkdownRuns::Result& runs, const QList<double>& heights, TextRange range,
               QTextBlock block, qsizetype blockStart, qsizetype& dirtyFrom, qsizetype& dirtyTo)
    {
        qsizetype runIndex = 0;
        qsizetype image = 0;
        // Each block starts where the one before ends: counting on is cheaper than asking
        // every block for its position, which walks the document's tree.
        for (; block.isValid(); blockStart += block.length(), block = block.next()) {
            const qsizetype textEnd = blockStart + block.length() - 1;
            if (blockStart > range.end() || (blockStart == range.end() && range.length > 0))
                break;
            const qsizetype from = std::max(range.location, blockStart);
            const qsizetype to = std::min(range.end(), textEnd);
            if ((to > from || !block.layout()->formats().isEmpty())
                && writeBlock(block, blockStart, {runs, heights, range.location, runIndex, image},
                              from, std::max(from, to))) {
                // Up to the block's break, not past it: the layout redoes every block that
                // starts at or before the end of the notice, the next one included.
                dirtyFrom = std::min(dirtyFrom, blockStart);
                dirtyTo = std::max(dirtyTo, blockStart + block.length() - 1);
            }
        }
    }

private:
    struct Source {
        const MarkdownRuns::Result& runs;
        const QList<double>& heights;
        qsizetype start;     // the document position of the runs' text
        qsizetype& runIndex; // the first run that may still reach into a later block
        qsizetype& image;    // the image whose room the next Reserves run holds
    };

    // Where an input method's pre-edit sits in a block's layout, which holds the pre-edit
    // text as if typed while the document does not: a layout position is a document position
    // shifted past the pre-edit when it lies behind it.
    struct Preedit {
        qsizetype at = -1;
        qsizetype length = 0;
    };

    // A run's range in the block's layout. A run that goes on past the pre-edit, or ends at it
    // and would take typed text (no marker, nothing hidden), grows over the pre-edit, so that
    // a heading composes at its size; anything else parts around the pre-edit.
    static void placeAround(QList<QTextLayout::FormatRange>& into, QTextLayout::FormatRange range,
                            const Attributes& attributes, Preedit preedit)
    {
        const qsizetype start = range.start;
        const qsizetype end = start + range.length;
        const bool takesTyping =
            !(attributes.flags & MarkdownRuns::Hidden) && attributes.tone != Tone::Dim;
        if (preedit.length == 0 || end < preedit.at || (end == preedit.at && !takesTyping)) {
            into.append(range);
            return;
        }
        if (start >= preedit.at) {
            range.start = static_cast<int>(start + preedit.length);
            into.append(range);
            return;
        }
        if (!(attributes.flags & MarkdownRuns::Hidden)) {
            range.length = static_cast<int>(range.length + preedit.length);
            into.append(range);
            return;
        }
        QTextLayout::FormatRange after = range;
        range.length = static_cast<int>(preedit.at - start);
        into.append(range);
        after.start = static_cast<int>(preedit.at + preedit.length);
        after.length = static_cast<int>(end - preedit.at);
        into.append(after);
    }

    // Whether the block's formats changed. Unchanged formats are left alone, as
    // QSyntaxHighlighter does: setting them would throw away the block's layout.
    //
    // While an input method composes in the block, Qt has put its own pre-edit formats in
    // place of ours (QWidgetTextControl sets the layout's formats to them on every update).
    // Ours are laid back around them, shifted past the pre-edit text, and the input method's
    // go last so that its underline shows over a heading's face. The pass then covers the
    // whole block: what Qt threw away outside the pre-edit is not kept.
    bool writeBlock(const QTextBlock& block, qsizetype blockStart, Source source, qsizetype from,
                    qsizetype to)
    {
        const qsizetype localFrom = from - blockStart;
        const qsizetype localTo = to - blockStart;
        QTextLayout* layout = block.layout();
        const Preedit preedit{layout->preeditAreaPosition(), layout->preeditAreaText().size()};
        const QList<QTextLayout::FormatRange> previous = layout->formats();
        QList<QTextLayout::FormatRange> ranges;
        QList<QTextLayout::FormatRange> composing;
        ranges.reserve(previous.size() + 16);
        for (const QTextLayout::FormatRange& old : previous) {
            const qsizetype oldEnd = old.start + old.length;
            if (preedit.length > 0) {
                if (old.start >= preedit.at && oldEnd <= preedit.at + preedit.length)
                    composing.append(old);
                continue;
            }
            // Keep what lies outside the restyled part (a block split by U+2028 lines).
            if (old.start < localFrom) {
                QTextLayout::FormatRange kept = old;
                kept.length = static_cast<int>(std::min(oldEnd, localFrom) - old.start);
                ranges.append(kept);
            }
            if (oldEnd > localTo) {
                QTextLayout::FormatRange kept = old;
                kept.start = static_cast<int>(std::max<qsizetype>(old.start, localTo));
                kept.length = static_cast<int>(oldEnd - kept.start);
                ranges.append(kept);
            }
        }
        const QList<MarkdownRuns::Run>& runs = source.runs.runs;
        for (qsizetype i = from; i < to && source.runIndex < runs.size();) {
            const MarkdownRuns::Run& run = runs[source.runIndex];
            const qsizetype runEnd = source.start + run.start + run.length;
            if (runEnd <= i) {
                ++source.runIndex;
                continue;
            }
            const qsizetype j = std::min(runEnd, to);
            // A Reserves run is one character: it is never split between blocks.
            const double room = run.attributes.flags & MarkdownRuns::Reserves
                                    ? source.heights[source.image++]
                                    : 0.0;
            QTextLayout::FormatRange range;
            range.start = static_cast<int>(i - blockStart);
            range.length = static_cast<int>(j - i);
            range.format = format(run.attributes, room, source);
            // Plain text in the body face and full ink needs no range: the document's default
            // font and the view's text colour already are that. Fewer ranges, faster layout.
            if (range.format.propertyCount() > 0)
                placeAround(ranges, range, run.attributes, preedit);
            i = j;
        }
        // Qt merges overlapping ranges in list order: sorted ours, then the input method's.
        std::stable_sort(ranges.begin(), ranges.end(),
                         [](const auto& a, const auto& b) { return a.start < b.start; });
        ranges.append(composing);
        if (ranges == previous)
            return false;
        layout->setFormats(ranges);
        return true;
    }

    const QFont& font(quint8 slot)
    {
        std::optional<QFont>& kept = memory.fonts.at(slot);
        if (!kept) {
            if (slot == MarkdownRuns::BodyFont) {
                kept = memory.base;
            } else if (slot == MarkdownRuns::BoldFont) {
                kept = boldened(options.bodyFont(options.size), options.size);
            } else if (slot == MarkdownRuns::MonoFont) {
                kept = monospaced((options.size - 0.5) * pointsPer(memory.base, options.size));
            } else {
                const int level = slot - MarkdownRuns::HeadingFont + 1;
                const double size = options.size + 7.0 - 1.1 * level;
                kept = boldened(options.bodyFont(size), size);
            }
        }
        return *kept;
    }

    // room: the height a Reserves character holds for its picture; 0 for none.
    QTextCharFormat format(const Attributes& attr, double room, const Source& source)
    {
        // The room of a picture is rare and the pass's own: never kept.
        if (room > 0)
            return build(attr, room, source);
        const quint64 key = keyOf(attr);
        if (attr.link >= 0) {
            const EditorStyleCache::LinkKey linkKey{key, source.runs.links[attr.link]};
            if (const QTextCharFormat* kept = memory.linkFormats.find(linkKey))
                return *kept;
            return memory.linkFormats.insert(linkKey, build(attr, 0, source));
        }
        if (const QTextCharFormat* kept = memory.formats.find(key))
            return *kept;
        return memory.formats.insert(key, build(attr, 0, source));
    }

    QTextCharFormat build(const Attributes& attr, double room, const Source& source)
    {
        QTextCharFormat f;
        if (attr.font != MarkdownRuns::BodyFont)
            f.setFont(font(attr.font));
        switch (attr.tone) {
        case Tone::Full:
            break; // the document's text colour: the typing attributes' ink
        case Tone::Dim:
            f.setForeground(inkAt(options.ink, dimAlpha));
            break;
        case Tone::Quote:
            f.setForeground(inkAt(options.ink, 0.62));
            break;
        case Tone::Bullet:
            f.setForeground(inkAt(options.ink, 0.5));
            break;
        case Tone::Done:
            f.setForeground(inkAt(options.ink, 0.45));
            break;
        }
        // The slant leans the run's own face. Qt has no shear by a factor (QFont and
        // QTextCharFormat carry none), but asked for italic in a face named by its style, Qt's
        // FreeType engine shears that face itself (FT_GlyphSlot_Oblique, a fixed 0.21) rather
        // than take the family's italic face. Quotes lean the same 0.21: any other factor
        // would need every run painted by hand under a sheared painter.
        if (attr.flags & MarkdownRuns::Oblique) {
            f.setFontStyleName(QFontInfo(font(attr.font)).styleName());
            f.setFontItalic(true);
        }
        if (attr.flags & MarkdownRuns::Underline)
            f.setFontUnderline(true);
        if (attr.flags & MarkdownRuns::Struck)
            f.setFontStrikeOut(true);
        if (attr.flags & MarkdownRuns::Background)
            f.setBackground(inkAt(options.ink, 0.07));
        if (attr.link >= 0) {
            f.setAnchor(true);
            f.setAnchorHref(source.runs.links[attr.link]);
        }
        if (attr.flags & MarkdownRuns::Hidden) {
            // Zero advance, checked on Qt 6.4 by measuring QTextLine::cursorToX: a stretch of
            // 1% with letter spacing of 1/64% gives exactly 0. Letter spacing of 0% is the
            // trap: Qt takes 0 for "unset" and leaves the advance whole.
            f.setFontStretch(1);
            f.setFontLetterSpacingType(QFont::PercentageSpacing);
            f.setFontLetterSpacing(1.0 / 64);
            f.setForeground(Qt::transparent);
            f.setBackground(Qt::transparent);
            f.setProperty(hiddenProperty, true);
            if (room > 0) {
                f.setFontPointSize(pointsForLineHeight(room));
                f.setProperty(reservedHeightProperty, room);
            }
        }
        return f;
    }

    double pointsForLineHeight(double height)
    {
        if (const double* kept = memory.lineHeightPoints.find(height))
            return *kept;
        return memory.lineHeightPoints.insert(height, pointSizeForLineHeight(memory.base, height));
    }

    const Options& options;
    EditorStyleCache::Configuration& memory;
};

void setTypingAttributes(QTextDocument& document, const QFont& base, NoteTextDirection direction)
{
    if (document.defaultFont() != base)
        document.setDefaultFont(base);
    // Automatic leaves each block to Qt, which takes the direction from the block's first
    // strong character, as NoteText::firstStrong does (Qt reads the bidi class, firstStrong
    // the alphabetic property; they part only on rare symbols). Left alignment mirrors for a
    // right-to-left block. The explicit directions hold for the whole note.
    const NoteText::ParagraphStyle style = NoteText::paragraphStyle(direction);
    QTextOption option = document.defaultTextOption();
    const Qt::LayoutDirection wanted =
        direction == NoteTextDirection::Automatic ? Qt::LayoutDirectionAuto : style.direction;
    const Qt::Alignment alignment =
        direction == NoteTextDirection::Automatic
            ? Qt::Alignment{Qt::AlignLeft}
            : (style.direction == Qt::RightToLeft ? Qt::AlignRight | Qt::AlignAbsolute
                                                  : Qt::AlignLeft | Qt::AlignAbsolute);
    if (option.textDirection() != wanted || option.alignment() != alignment) {
        option.setTextDirection(wanted);
        option.setAlignment(alignment);
        document.setDefaultTextOption(option);
    }
}

} // namespace

Report apply(QTextDocument& document, const QList<TextRange>& ranges,
             std::optional<TextRange> revealing, const std::optional<QString>& forceRevealImageID,
             const Options& options, EditorStyleCache& cache)
{
    const QFont base = options.bodyFont ? options.bodyFont(options.size) : document.defaultFont();
    setTypingAttributes(document, base, options.textDirection);

    Report report;
    report.styled = EditorRanges::merged(ranges, EditorRanges::length(document));
    if (report.styled.isEmpty())
        return report;

    Options resolved = options;
    if (!resolved.bodyFont)
        resolved.bodyFont = [base](double size) {
            QFont f = base;
            f.setPointSizeF(size);
            return f;
        };
    FormatWriter writer(resolved, cache.configuration(options.ink, options.size, base));
    MarkdownRuns::Input input;
    input.revealing = revealing;
    input.forceRevealImageID = forceRevealImageID;
    input.markdownEnabled = options.markdownEnabled;
    input.isCompletedTask = options.isCompletedTask;
    input.followableHref = [&cache](const QString& address) {
        return cache.followableHref(address);
    };
    // Each notice makes Qt walk every block below it once and lay out every block it covers:
    // ranges close together share one notice, ranges far apart get one each. A notice goes
    // out before the next far range's formats are set: a block whose layout was thrown away
    // but not yet announced makes Qt's walk lay out again every line between.
    constexpr qsizetype nearby = 256;
    std::optional<TextRange> pending;
    auto announce = [&] {
        if (pending)
            document.markContentsDirty(static_cast<int>(pending->location),
                                       static_cast<int>(pending->length));
        pending.reset();
    };
    QList<double> heights;
    for (const TextRange& range : std::as_const(report.styled)) {
        const QTextBlock first = document.findBlock(static_cast<int>(range.location));
        input.text = EditorRanges::text(first, range);
        input.offset = range.location;
        const MarkdownRuns::Result runs = MarkdownRuns::compute(input);
        heights.clear();
        for (const ImageToken& image : runs.images) {
            const double height =
                options.reservedLineHeight ? options.reservedLineHeight(image) : 0.0;
            heights.append(height);
            report.images.append({image, height});
        }
        if (pending && range.location - pending->end() > nearby)
            announce();
        qsizetype dirtyFrom = std::numeric_limits<qsizetype>::max();
        qsizetype dirtyTo = -1;
        writer.write(runs, heights, range, first, first.position(), dirtyFrom, dirtyTo);
        if (dirtyTo < dirtyFrom)
            continue;
        if (pending)
            pending->length = dirtyTo - pending->location;
        else
            pending = TextRange{dirtyFrom, dirtyTo - dirtyFrom};
    }
    announce();
    return report;
}

QTextCharFormat styledFormat(const QTextDocument& document, qsizetype position)
{
    const QTextBlock block = document.findBlock(static_cast<int>(position));
    if (!block.isValid() || !block.layout())
        return {};
    qsizetype local = position - block.position();
    // While an input method composes, the layout's positions behind the pre-edit are shifted.
    const QTextLayout* layout = block.layout();
    if (const qsizetype at = layout->preeditAreaPosition(); at >= 0 && local >= at)
        local += layout->preeditAreaText().size();
    for (const QTextLayout::FormatRange& range : layout->formats()) {
        if (local >= range.start && local < range.start + range.length)
            return range.format;
    }
    return {};
}

bool isHidden(const QTextDocument& document, qsizetype position)
{
    return styledFormat(document, position).boolProperty(hiddenProperty);
}

QString linkAt(const QTextDocument& document, qsizetype position)
{
    const QTextCharFormat format = styledFormat(document, position);
    return format.isAnchor() ? format.anchorHref() : QString();
}

} // namespace EditorStyleEngine
