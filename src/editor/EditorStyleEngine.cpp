#include "editor/EditorStyleEngine.h"

#include "editor/EditorRanges.h"
#include "notes/ImageTokens.h"
#include "notes/NoteText.h"
#include "notes/Tasks.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetricsF>
#include <QHash>
#include <QRegularExpression>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>
#include <QTextOption>

#include <algorithm>
#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace EditorStyleEngine {
namespace {

// --- Expressions, each built once -----------------------------------------------------------

// (*ANY) gives ^, $ and . the line semantics of ICU (every Unicode line break), and Unicode
// properties give \s the meaning ICU gives it.
QRegularExpression expression(const QString& pattern, bool anchorsMatchLines)
{
    QRegularExpression::PatternOptions options = QRegularExpression::UseUnicodePropertiesOption;
    if (anchorsMatchLines)
        options |= QRegularExpression::MultilineOption;
    QRegularExpression re(u"(*ANY)"_s + pattern, options);
    Q_ASSERT_X(re.isValid(), "EditorStyleEngine", qPrintable(re.errorString()));
    re.optimize();
    return re;
}

struct Expressions {
    QRegularExpression heading = expression(uR"(^(#{1,6})[ \t]+(.+)$)"_s, true);
    QRegularExpression bold = expression(uR"((\*\*|__)(?=\S)(.+?)(?<=\S)\1)"_s, false);
    QRegularExpression italic =
        expression(uR"((?<![\*_])([\*_])(?=[^\*_\s])(.+?)(?<=[^\*_\s])\1(?![\*_]))"_s, false);
    QRegularExpression code = expression(uR"(`([^`\n]+)`)"_s, false);
    QRegularExpression struck = expression(uR"(~~(?=\S)(.+?)(?<=\S)~~)"_s, false);
    QRegularExpression quote = expression(uR"(^>[ \t]?(.*)$)"_s, true);
    QRegularExpression bullet = expression(uR"(^[ \t]*([-*+])[ \t]+)"_s, true);
    QRegularExpression link = expression(uR"(\[([^\]\n]+)\]\(([^)\s]+)\))"_s, false);
};

const Expressions& expressions()
{
    static const Expressions all;
    return all;
}

// The characters any expression needs: "*_`~#>-+[". A line with none is left to the task
// strike alone. A switch per character, not a search of a string per character.
bool holdsMarkdownChar(QStringView s)
{
    return std::any_of(s.begin(), s.end(), [](QChar c) {
        switch (c.unicode()) {
        case u'*':
        case u'_':
        case u'`':
        case u'~':
        case u'#':
        case u'>':
        case u'-':
        case u'+':
        case u'[':
            return true;
        default:
            return false;
        }
    });
}

// --- The run store of one pass --------------------------------------------------------------

enum Flag : quint8 {
    Hidden = 1,
    Underline = 2,
    Struck = 4,
    Background = 8,
    Oblique = 16,
};

enum class Ink : quint8 { Full, Dim, Quote, Bullet, Done };

enum FontSlot : quint8 { BaseFont, BoldFont, MonoFont, HeadingFont /* + level - 1 */ };

// What one character carries; equal neighbours become one format range.
struct Attr {
    quint8 font = BaseFont;
    Ink ink = Ink::Full;
    quint8 flags = 0;
    quint8 tall = 0;  // index + 1 into the pass's reserved heights
    qint32 link = -1; // index into the pass's links

    quint64 key() const
    {
        return static_cast<quint64>(font) | static_cast<quint64>(ink) << 8
               | static_cast<quint64>(flags) << 16 | static_cast<quint64>(tall) << 24
               | static_cast<quint64>(static_cast<quint32>(link)) << 32;
    }
    friend bool operator==(const Attr& a, const Attr& b) { return a.key() == b.key(); }
};

// Bold form of a face, or a semibold system face when the family has no bold to give.
// Sizes are in the note's own units; the body face tells how many QFont points one is.
double pointsPer(const QFont& body, double size)
{
    return size > 0 && body.pointSizeF() > 0 ? body.pointSizeF() / size : 1.0;
}

QFont boldened(QFont font, double size)
{
    static QHash<QString, QFont> cache;
    const QString key = font.key() + u'|' + QString::number(size);
    if (auto it = cache.constFind(key); it != cache.cend())
        return *it;
    QFont bold = font;
    bold.setBold(true);
    if (QFontInfo(bold).weight() < QFont::DemiBold) {
        const double points = font.pointSizeF() > 0 ? font.pointSizeF() : size;
        bold = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
        bold.setPointSizeF(points);
        bold.setWeight(QFont::DemiBold);
    }
    cache.insert(key, bold);
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
    static QHash<QString, double> cache;
    const QString key = base.family() + u'|' + QString::number(height);
    if (auto it = cache.constFind(key); it != cache.cend())
        return *it;
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
    cache.insert(key, size);
    return size;
}

class Pass {
public:
    Pass(const Options& options, qsizetype offset, qsizetype length,
         std::optional<TextRange> revealing)
        : options(options)
        , offset(offset)
        , revealing(revealing)
        , attrs(length)
    {
    }

    void setFont(qsizetype from, qsizetype count, quint8 font)
    {
        for (qsizetype i = from; i < from + count; ++i)
            attrs[i].font = font;
    }
    void setInk(qsizetype from, qsizetype count, Ink ink)
    {
        for (qsizetype i = from; i < from + count; ++i)
            attrs[i].ink = ink;
    }
    void addFlag(qsizetype from, qsizetype count, Flag flag)
    {
        for (qsizetype i = from; i < from + count; ++i)
            attrs[i].flags |= flag;
    }
    void setLink(qsizetype from, qsizetype count, const QString& href)
    {
        links.append(href);
        for (qsizetype i = from; i < from + count; ++i)
            attrs[i].link = static_cast<qint32>(links.size() - 1);
    }
    void setTall(qsizetype at, double height)
    {
        if (tallHeights.size() >= 255)
            return;
        tallHeights.append(height);
        attrs[at].tall = static_cast<quint8>(tallHeights.size());
    }

    // A marker shows dimmed on the caret's line and is hidden elsewhere. The location test
    // keeps a marker shown against an empty revealing range (the empty last line).
    // The opening and closing markers of a span, `units` long at each end of the match.
    void paintEnds(const QRegularExpressionMatch& m, qsizetype units)
    {
        paintMarker(m.capturedStart(0), units);
        paintMarker(m.capturedEnd(0) - units, units);
    }

    void paintMarker(qsizetype from, qsizetype count)
    {
        if (count <= 0)
            return;
        const TextRange marker{from + offset, count};
        const bool revealed = revealing
                              && (marker.location == revealing->location
                                  || marker.intersectionLength(*revealing) > 0);
        if (!revealed)
            addFlag(from, count, Hidden);
        setInk(from, count, Ink::Dim);
    }

    const Options& options;
    const qsizetype offset;
    const std::optional<TextRange> revealing;
    QList<Attr> attrs;
    QStringList links;
    QList<double> tallHeights;
};

// The href a link's address gives, or nothing when it cannot be followed. Every keystroke on
// a line with a link asks again for the same address, and writing the URL back out costs as
// much as parsing it: a small memory of answers, dropped whole when it fills.
const std::optional<QString>& followableHref(const QString& address)
{
    static QHash<QString, std::optional<QString>> known;
    if (auto it = known.constFind(address); it != known.cend())
        return *it;
    if (known.size() > 512)
        known.clear();
    std::optional<QString> href;
    if (const auto url = openableURL(address))
        href = url->toString();
    return *known.insert(address, std::move(href));
}

void styleMarkdown(Pass& pass, const QString& s, const std::optional<QString>& forceRevealImageID)
{
    const Expressions& re = expressions();

    // 0. Image tokens: hidden whole unless named for reveal; the caret's line has no say.
    const QList<ImageToken> tokens = ImageTokens::tokens(s);
    for (const ImageToken& token : tokens) {
        const qsizetype from = token.range.location;
        const qsizetype count = token.range.length;
        if (!(forceRevealImageID && *forceRevealImageID == token.id)) {
            pass.addFlag(from, count, Hidden);
            if (pass.options.reservedLineHeight && count > 0) {
                ImageToken placed = token;
                placed.range.location += pass.offset;
                const double height = pass.options.reservedLineHeight(placed);
                if (height > 0)
                    pass.setTall(from, height);
            }
        }
        pass.setInk(from, count, Ink::Dim);
    }

    // 1. Headings: the "#" run is a marker; the blanks behind it stay.
    for (auto it = re.heading.globalMatch(s); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        const qsizetype level = m.capturedLength(1);
        pass.setFont(m.capturedStart(0), m.capturedLength(0),
                     static_cast<quint8>(HeadingFont + level - 1));
        pass.paintMarker(m.capturedStart(1), m.capturedLength(1));
    }

    // 2. Links, except where they overlap an image token (a token's own text looks like one).
    for (auto it = re.link.globalMatch(s); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        const TextRange whole{m.capturedStart(0), m.capturedLength(0)};
        if (std::any_of(tokens.begin(), tokens.end(), [&](const ImageToken& token) {
                return whole.intersectionLength(token.range) > 0;
            }))
            continue;
        const qsizetype titleStart = m.capturedStart(1);
        const qsizetype titleEnd = m.capturedEnd(1);
        pass.addFlag(titleStart, titleEnd - titleStart, Underline);
        if (const std::optional<QString>& href = followableHref(m.captured(2)))
            pass.setLink(titleStart, titleEnd - titleStart, *href);
        pass.paintMarker(whole.location, 1);
        pass.paintMarker(titleEnd, whole.end() - titleEnd);
    }

    // 3. Bold, over the inner text; two marker units at each end.
    for (auto it = re.bold.globalMatch(s); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        pass.setFont(m.capturedStart(2), m.capturedLength(2), BoldFont);
        pass.paintEnds(m, 2);
    }

    // 4. Italic: a slant only, the font stays.
    for (auto it = re.italic.globalMatch(s); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        pass.addFlag(m.capturedStart(2), m.capturedLength(2), Oblique);
        pass.paintEnds(m, 1);
    }

    // 5. Code spans.
    for (auto it = re.code.globalMatch(s); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        pass.setFont(m.capturedStart(1), m.capturedLength(1), MonoFont);
        pass.addFlag(m.capturedStart(1), m.capturedLength(1), Background);
        pass.paintEnds(m, 1);
    }

    // 6. Strike-through.
    for (auto it = re.struck.globalMatch(s); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        pass.addFlag(m.capturedStart(1), m.capturedLength(1), Struck);
        pass.paintEnds(m, 2);
    }

    // 7. Quotes: the ">" is a marker, a blank behind it stays.
    for (auto it = re.quote.globalMatch(s); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        pass.setInk(m.capturedStart(0), m.capturedLength(0), Ink::Quote);
        pass.addFlag(m.capturedStart(1), m.capturedLength(1), Oblique);
        pass.paintMarker(m.capturedStart(0), 1);
    }

    // 8. Bullets: the bullet character is softened, never hidden.
    for (auto it = re.bullet.globalMatch(s); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        pass.setInk(m.capturedStart(1), m.capturedLength(1), Ink::Bullet);
    }
}

// Whole lines of completed tasks are struck at a light ink, box included. Runs with Markdown
// styling on or off.
void styleCompletedTasks(Pass& pass, QStringView s)
{
    qsizetype start = 0;
    while (start < s.size()) {
        qsizetype end = start;
        while (end < s.size() && !EditorRanges::isLineTerminator(s[end]))
            ++end;
        const QStringView line = s.sliced(start, end - start);
        const bool completed = pass.options.isCompletedTask ? pass.options.isCompletedTask(line)
                                                            : Tasks::marker(line) == Tasks::done;
        if (completed) {
            pass.addFlag(start, end - start, Struck);
            pass.setInk(start, end - start, Ink::Done);
        }
        start = EditorRanges::lineEnd(s, end);
    }
}

QColor inkAt(const QColor& ink, double alpha)
{
    QColor color = ink;
    color.setAlphaF(static_cast<float>(alpha));
    return color;
}

// Turns a pass's characters into format ranges and puts them into the blocks of the range,
// keeping what other blocks or other parts of a block carry.
class FormatWriter {
public:
    FormatWriter(const Options& options, QFont base)
        : options(options)
        , base(std::move(base))
        , cache(sharedCache())
    {
        // Formats depend on the ink, the size and the face only; keep them across passes.
        if (cache.ink != options.ink || cache.size != options.size || cache.base != this->base) {
            cache.ink = options.ink;
            cache.size = options.size;
            cache.base = this->base;
            cache.formats.clear();
            cache.linkFormats.clear();
            cache.fonts.clear();
        }
    }

    // block is the one holding range.location, and blockStart its position.
    void write(const Pass& pass, TextRange range, QTextBlock block, qsizetype blockStart,
               qsizetype& dirtyFrom, qsizetype& dirtyTo)
    {
        // Each block starts where the one before ends: counting on is cheaper than asking
        // every block for its position, which walks the document's tree.
        for (; block.isValid(); blockStart += block.length(), block = block.next()) {
            const qsizetype textEnd = blockStart + block.length() - 1;
            if (blockStart > range.end() || (blockStart == range.end() && range.length > 0))
                break;
            const qsizetype from = std::max(range.location, blockStart);
            const qsizetype to = std::min(range.end(), textEnd);
            if ((to > from || !block.layout()->formats().isEmpty())
                && writeBlock(block, blockStart, pass, from, std::max(from, to), range.location)) {
                // Up to the block's break, not past it: the layout redoes every block that
                // starts at or before the end of the notice, the next one included.
                dirtyFrom = std::min(dirtyFrom, blockStart);
                dirtyTo = std::max(dirtyTo, blockStart + block.length() - 1);
            }
        }
    }

private:
    // Whether the block's formats changed. Unchanged formats are left alone, as
    // QSyntaxHighlighter does: setting them would throw away the block's layout.
    bool writeBlock(const QTextBlock& block, qsizetype blockStart, const Pass& pass, qsizetype from,
                    qsizetype to, qsizetype passStart)
    {
        const qsizetype localFrom = from - blockStart;
        const qsizetype localTo = to - blockStart;
        const QList<QTextLayout::FormatRange> previous = block.layout()->formats();
        QList<QTextLayout::FormatRange> ranges;
        ranges.reserve(previous.size() + 16);
        // Keep what lies outside the restyled part (a block split by U+2028 lines).
        for (const QTextLayout::FormatRange& old : previous) {
            const qsizetype oldEnd = old.start + old.length;
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
        qsizetype i = from;
        while (i < to) {
            const Attr& attr = pass.attrs[i - passStart];
            qsizetype j = i + 1;
            while (j < to && pass.attrs[j - passStart] == attr)
                ++j;
            QTextLayout::FormatRange range;
            range.start = static_cast<int>(i - blockStart);
            range.length = static_cast<int>(j - i);
            range.format = format(attr, pass);
            // Plain text in the body face and full ink needs no range: the document's default
            // font and the view's text colour already are that. Fewer ranges, faster layout.
            if (range.format.propertyCount() > 0)
                ranges.append(range);
            i = j;
        }
        std::sort(ranges.begin(), ranges.end(),
                  [](const auto& a, const auto& b) { return a.start < b.start; });
        if (ranges == previous)
            return false;
        block.layout()->setFormats(ranges);
        return true;
    }

    const QFont& font(quint8 slot)
    {
        if (cache.fonts.size() <= slot)
            cache.fonts.resize(slot + 1);
        std::optional<QFont>& cached = cache.fonts[slot];
        if (!cached) {
            if (slot == BaseFont) {
                cached = base;
            } else if (slot == BoldFont) {
                cached = boldened(options.bodyFont(options.size), options.size);
            } else if (slot == MonoFont) {
                cached = monospaced((options.size - 0.5) * pointsPer(base, options.size));
            } else {
                const int level = slot - HeadingFont + 1;
                const double size = options.size + 7.0 - 1.1 * level;
                cached = boldened(options.bodyFont(size), size);
            }
        }
        return *cached;
    }

    QTextCharFormat format(const Attr& attr, const Pass& pass)
    {
        // Tall characters are rare and carry a per-pass height: never cached. A link's index
        // is the pass's own, so its format is kept under the address instead.
        if (attr.tall > 0)
            return build(attr, pass);
        if (attr.link >= 0) {
            Attr unlinked = attr;
            unlinked.link = -1;
            const LinkKey key{unlinked.key(), pass.links[attr.link]};
            if (auto it = cache.linkFormats.constFind(key); it != cache.linkFormats.cend())
                return *it;
            if (cache.linkFormats.size() > 512)
                cache.linkFormats.clear();
            return *cache.linkFormats.insert(key, build(attr, pass));
        }
        if (auto it = cache.formats.constFind(attr.key()); it != cache.formats.cend())
            return *it;
        return *cache.formats.insert(attr.key(), build(attr, pass));
    }

    QTextCharFormat build(const Attr& attr, const Pass& pass)
    {
        QTextCharFormat f;
        if (attr.font != BaseFont)
            f.setFont(font(attr.font));
        switch (attr.ink) {
        case Ink::Full:
            break; // the document's text colour: the typing attributes' ink

        case Ink::Dim:
            f.setForeground(inkAt(options.ink, dimAlpha));
            break;
        case Ink::Quote:
            f.setForeground(inkAt(options.ink, 0.62));
            break;
        case Ink::Bullet:
            f.setForeground(inkAt(options.ink, 0.5));
            break;
        case Ink::Done:
            f.setForeground(inkAt(options.ink, 0.45));
            break;
        }
        // Qt has no synthetic slant by a factor; italic stands in (fontconfig slants a face
        // that has no italic of its own).
        if (attr.flags & Oblique)
            f.setFontItalic(true);
        if (attr.flags & Underline)
            f.setFontUnderline(true);
        if (attr.flags & Struck)
            f.setFontStrikeOut(true);
        if (attr.flags & Background)
            f.setBackground(inkAt(options.ink, 0.07));
        if (attr.link >= 0) {
            f.setAnchor(true);
            f.setAnchorHref(pass.links[attr.link]);
        }
        if (attr.flags & Hidden) {
            // Zero advance, checked on Qt 6.4 by measuring QTextLine::cursorToX: a stretch of
            // 1% with letter spacing of 1/64% gives exactly 0. Letter spacing of 0% is the
            // trap: Qt takes 0 for "unset" and leaves the advance whole.
            f.setFontStretch(1);
            f.setFontLetterSpacingType(QFont::PercentageSpacing);
            f.setFontLetterSpacing(1.0 / 64);
            f.setForeground(Qt::transparent);
            f.setBackground(Qt::transparent);
            f.setProperty(hiddenProperty, true);
            if (attr.tall > 0) {
                const double height = pass.tallHeights[attr.tall - 1];
                f.setFontPointSize(pointSizeForLineHeight(base, height));
                f.setProperty(reservedHeightProperty, height);
            }
        }
        return f;
    }

    using LinkKey = std::pair<quint64, QString>;
    struct Cache {
        QColor ink;
        double size = 0;
        QFont base;
        QHash<quint64, QTextCharFormat> formats;
        QHash<LinkKey, QTextCharFormat> linkFormats;
        QList<std::optional<QFont>> fonts;
    };
    static Cache& sharedCache()
    {
        static Cache cache;
        return cache;
    }

    const Options& options;
    const QFont base;
    Cache& cache;
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
            ? Qt::Alignment(Qt::AlignLeft)
            : (style.direction == Qt::RightToLeft ? Qt::AlignRight | Qt::AlignAbsolute
                                                  : Qt::AlignLeft | Qt::AlignAbsolute);
    if (option.textDirection() != wanted || option.alignment() != alignment) {
        option.setTextDirection(wanted);
        option.setAlignment(alignment);
        document.setDefaultTextOption(option);
    }
}

} // namespace

std::optional<QUrl> openableURL(const QString& text)
{
    // Every keystroke on a line with a link asks again for the same address; parsing is the
    // dear part. A small memory of answers, dropped whole when it fills.
    static QHash<QString, std::optional<QUrl>> known;
    if (auto it = known.constFind(text); it != known.cend())
        return *it;
    if (known.size() > 512)
        known.clear();
    std::optional<QUrl> answer;
    const QUrl url(text, QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    if (url.isValid() && !scheme.isEmpty()
        && (scheme == u"http"_s || scheme == u"https"_s || scheme == u"mailto"_s))
        answer = url;
    known.insert(text, answer);
    return answer;
}

// --- Styling ------------------------------------------------------------------------------------

QList<TextRange> apply(QTextDocument& document, const QList<TextRange>& ranges,
                       std::optional<TextRange> revealing,
                       const std::optional<QString>& forceRevealImageID, const Options& options)
{
    const QFont base = options.bodyFont ? options.bodyFont(options.size) : document.defaultFont();
    setTypingAttributes(document, base, options.textDirection);

    const QList<TextRange> normalized =
        EditorRanges::merged(ranges, EditorRanges::length(document));
    if (normalized.isEmpty())
        return {};

    Options resolved = options;
    if (!resolved.bodyFont)
        resolved.bodyFont = [base](double size) {
            QFont f = base;
            f.setPointSizeF(size);
            return f;
        };
    FormatWriter writer(resolved, base);
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
    for (const TextRange& range : normalized) {
        const QTextBlock first = document.findBlock(static_cast<int>(range.location));
        const qsizetype firstStart = first.position();
        const QString s = EditorRanges::text(document, range);
        Pass pass(resolved, range.location, s.size(), revealing);
        if (resolved.markdownEnabled && holdsMarkdownChar(s))
            styleMarkdown(pass, s, forceRevealImageID);
        styleCompletedTasks(pass, s);
        if (pending && range.location - pending->end() > nearby)
            announce();
        qsizetype dirtyFrom = std::numeric_limits<qsizetype>::max();
        qsizetype dirtyTo = -1;
        writer.write(pass, range, first, firstStart, dirtyFrom, dirtyTo);
        if (dirtyTo < dirtyFrom)
            continue;
        if (pending)
            pending->length = dirtyTo - pending->location;
        else
            pending = TextRange{dirtyFrom, dirtyTo - dirtyFrom};
    }
    announce();
    return normalized;
}

QTextCharFormat styledFormat(const QTextDocument& document, qsizetype position)
{
    const QTextBlock block = document.findBlock(static_cast<int>(position));
    if (!block.isValid() || !block.layout())
        return {};
    const qsizetype local = position - block.position();
    for (const QTextLayout::FormatRange& range : block.layout()->formats()) {
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
