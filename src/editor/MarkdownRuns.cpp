#include "editor/MarkdownRuns.h"

#include "editor/EditorRanges.h"
#include "notes/Tasks.h"

#include <QRegularExpression>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace MarkdownRuns {
namespace {

// (*ANY) makes ^, $ and . know every Unicode line break, not LF alone, and Unicode properties
// make \s match every Unicode blank: the patterns mean the same on any text a note holds.
QRegularExpression expression(const QString& pattern, bool anchorsMatchLines)
{
    QRegularExpression::PatternOptions options = QRegularExpression::UseUnicodePropertiesOption;
    if (anchorsMatchLines)
        options |= QRegularExpression::MultilineOption;
    QRegularExpression re(u"(*ANY)"_s + pattern, options);
    Q_ASSERT_X(re.isValid(), "MarkdownRuns", qPrintable(re.errorString()));
    re.optimize();
    return re;
}

// None lets "." cross a line break, so every match lies within one line: restyling whole
// lines is always enough.
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

// The characters any expression needs: "*_`~#>-+[". A stretch with none is left to the task
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

// One character's attributes per unit of the text, painted pass by pass; a later pass
// overrides an earlier one's tone or font where they overlap.
class Canvas {
public:
    explicit Canvas(const Input& input)
        : input(input)
        , attrs(input.text.size())
    {
    }

    void setFont(qsizetype from, qsizetype count, quint8 font)
    {
        for (Attributes* a = attrs.data() + from; a < attrs.data() + from + count; ++a)
            a->font = font;
    }
    void setTone(qsizetype from, qsizetype count, Tone tone)
    {
        for (Attributes* a = attrs.data() + from; a < attrs.data() + from + count; ++a)
            a->tone = tone;
    }
    void addFlag(qsizetype from, qsizetype count, Flag flag)
    {
        for (Attributes* a = attrs.data() + from; a < attrs.data() + from + count; ++a)
            a->flags |= flag;
    }
    void setLink(qsizetype from, qsizetype count, const QString& href)
    {
        result.links.append(href);
        const auto link = static_cast<qint32>(result.links.size() - 1);
        for (Attributes* a = attrs.data() + from; a < attrs.data() + from + count; ++a)
            a->link = link;
    }
    void addImage(ImageToken token)
    {
        attrs[token.range.location].flags |= Reserves;
        token.range.location += input.offset;
        result.images.append(std::move(token));
    }

    // A marker shows dimmed on the revealing line and is hidden elsewhere. The location test
    // keeps a marker shown against an empty revealing range (the empty last line).
    void paintMarker(qsizetype from, qsizetype count)
    {
        if (count <= 0)
            return;
        const TextRange marker{from + input.offset, count};
        const std::optional<TextRange>& revealing = input.revealing;
        const bool revealed = revealing
                              && (marker.location == revealing->location
                                  || marker.intersectionLength(*revealing) > 0);
        if (!revealed)
            addFlag(from, count, Hidden);
        setTone(from, count, Tone::Dim);
    }

    // The opening and closing markers of a span, `units` long at each end of the match.
    void paintEnds(const QRegularExpressionMatch& m, qsizetype units)
    {
        paintMarker(m.capturedStart(0), units);
        paintMarker(m.capturedEnd(0) - units, units);
    }

    Result finish()
    {
        const QList<Attributes>& all = attrs; // read only: no detach checks in the loop
        result.runs.reserve(std::min<qsizetype>(all.size(), 32));
        for (qsizetype i = 0; i < all.size();) {
            qsizetype j = i + 1;
            while (j < all.size() && all[j] == all[i])
                ++j;
            result.runs.append(Run{i, j - i, all[i]});
            i = j;
        }
        return std::move(result);
    }

    const Input& input;

private:
    QList<Attributes> attrs;
    Result result;
};

std::optional<QString> hrefFor(const Input& input, const QString& address)
{
    return input.followableHref ? input.followableHref(address) : followableHref(address);
}

void styleMarkdown(Canvas& canvas, const QString& s)
{
    const Expressions& re = expressions();
    const std::optional<QString>& revealedID = canvas.input.forceRevealImageID;

    // 0. Image tokens: hidden whole unless named for reveal; the revealing line has no say.
    const QList<ImageToken> tokens = ImageTokens::tokens(s);
    for (const ImageToken& token : tokens) {
        if (!(revealedID && *revealedID == token.id)) {
            canvas.addFlag(token.range.location, token.range.length, Hidden);
            canvas.addImage(token);
        }
        canvas.setTone(token.range.location, token.range.length, Tone::Dim);
    }

    // 1. Headings: the "#" run is a marker; the blanks behind it stay.
    for (auto it = re.heading.globalMatch(s); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        const auto level = static_cast<quint8>(m.capturedLength(1));
        canvas.setFont(m.capturedStart(0), m.capturedLength(0), HeadingFont + level - 1);
        canvas.paintMarker(m.capturedStart(1), m.capturedLength(1));
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
        canvas.addFlag(titleStart, titleEnd - titleStart, Underline);
        if (const std::optional<QString> href = hrefFor(canvas.input, m.captured(2)))
            canvas.setLink(titleStart, titleEnd - titleStart, *href);
        canvas.paintMarker(whole.location, 1);
        canvas.paintMarker(titleEnd, whole.end() - titleEnd);
    }

    // 3. Bold, over the inner text; two marker units at each end.
    for (auto it = re.bold.globalMatch(s); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        canvas.setFont(m.capturedStart(2), m.capturedLength(2), BoldFont);
        canvas.paintEnds(m, 2);
    }

    // 4. Italic: a slant only, the font stays.
    for (auto it = re.italic.globalMatch(s); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        canvas.addFlag(m.capturedStart(2), m.capturedLength(2), Oblique);
        canvas.paintEnds(m, 1);
    }

    // 5. Code spans.
    for (auto it = re.code.globalMatch(s); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        canvas.setFont(m.capturedStart(1), m.capturedLength(1), MonoFont);
        canvas.addFlag(m.capturedStart(1), m.capturedLength(1), Background);
        canvas.paintEnds(m, 1);
    }

    // 6. Strike-through.
    for (auto it = re.struck.globalMatch(s); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        canvas.addFlag(m.capturedStart(1), m.capturedLength(1), Struck);
        canvas.paintEnds(m, 2);
    }

    // 7. Quotes: the ">" is a marker, a blank behind it stays.
    for (auto it = re.quote.globalMatch(s); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        canvas.setTone(m.capturedStart(0), m.capturedLength(0), Tone::Quote);
        canvas.addFlag(m.capturedStart(1), m.capturedLength(1), Oblique);
        canvas.paintMarker(m.capturedStart(0), 1);
    }

    // 8. Bullets: the bullet character is softened, never hidden.
    for (auto it = re.bullet.globalMatch(s); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        canvas.setTone(m.capturedStart(1), m.capturedLength(1), Tone::Bullet);
    }
}

// Whole lines of completed tasks are struck at a light tone, box included. Runs with Markdown
// styling on or off.
void styleCompletedTasks(Canvas& canvas, QStringView s)
{
    const auto& isCompleted = canvas.input.isCompletedTask;
    qsizetype start = 0;
    while (start < s.size()) {
        qsizetype end = start;
        while (end < s.size() && !EditorRanges::isLineTerminator(s[end]))
            ++end;
        const QStringView line = s.sliced(start, end - start);
        if (isCompleted ? isCompleted(line) : Tasks::marker(line) == Tasks::done) {
            canvas.addFlag(start, end - start, Struck);
            canvas.setTone(start, end - start, Tone::Done);
        }
        start = EditorRanges::lineEnd(s, end);
    }
}

} // namespace

Result compute(const Input& input)
{
    Canvas canvas(input);
    if (input.markdownEnabled && holdsMarkdownChar(input.text))
        styleMarkdown(canvas, input.text);
    styleCompletedTasks(canvas, input.text);
    return canvas.finish();
}

std::optional<QUrl> openableURL(const QString& text)
{
    const QUrl url(text, QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    if (url.isValid() && (scheme == u"http"_s || scheme == u"https"_s || scheme == u"mailto"_s))
        return url;
    return std::nullopt;
}

std::optional<QString> followableHref(const QString& address)
{
    if (const std::optional<QUrl> url = openableURL(address))
        return url->toString();
    return std::nullopt;
}

} // namespace MarkdownRuns
