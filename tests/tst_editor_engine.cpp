#include "editor/EditorCoordinator.h"
#include "editor/EditorEditAccumulator.h"
#include "editor/EditorRanges.h"
#include "editor/EditorStyleCache.h"
#include "editor/EditorStyleEngine.h"
#include "editor/ImageCaret.h"
#include "editor/MarkdownRuns.h"

#include <QAbstractTextDocumentLayout>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextLayout>

using namespace Qt::Literals::StringLiterals;
using MarkdownRuns::Attributes;
using Ranges = QList<TextRange>;

namespace {

constexpr double bodySize = 14;

QFont body(double size)
{
    QFont font(u"DejaVu Sans"_s);
    font.setPointSizeF(size);
    return font;
}

const QHash<QString, std::function<bool(const Attributes&)>> looks{
    {u"hidden"_s, [](const Attributes& a) { return a.flags & MarkdownRuns::Hidden; }},
    {u"dim"_s, [](const Attributes& a) { return a.tone == MarkdownRuns::Tone::Dim; }},
    {u"full"_s, [](const Attributes& a) { return a.tone == MarkdownRuns::Tone::Full; }},
    {u"done"_s, [](const Attributes& a) { return a.tone == MarkdownRuns::Tone::Done; }},
    {u"bullet"_s, [](const Attributes& a) { return a.tone == MarkdownRuns::Tone::Bullet; }},
    {u"body"_s, [](const Attributes& a) { return a.font == MarkdownRuns::BodyFont; }},
    {u"bold"_s, [](const Attributes& a) { return a.font == MarkdownRuns::BoldFont; }},
    {u"heading1"_s, [](const Attributes& a) { return a.font == MarkdownRuns::HeadingFont; }},
    {u"mono"_s, [](const Attributes& a) { return a.font == MarkdownRuns::MonoFont; }},
    {u"shaded"_s, [](const Attributes& a) { return a.flags & MarkdownRuns::Background; }},
    {u"italic"_s, [](const Attributes& a) { return a.flags & MarkdownRuns::Oblique; }},
    {u"struck"_s, [](const Attributes& a) { return a.flags & MarkdownRuns::Struck; }},
    {u"underlined"_s, [](const Attributes& a) { return a.flags & MarkdownRuns::Underline; }},
    {u"linked"_s, [](const Attributes& a) { return a.link >= 0; }},
    {u"reserves"_s, [](const Attributes& a) { return a.flags & MarkdownRuns::Reserves; }},
};

// The first occurrence of the needle, or "@n+len" for a position.
TextRange locate(const QString& text, const QString& needle)
{
    const QStringList at = needle.mid(1).split(u'+');
    if (needle.startsWith(u'@') && at.size() == 2)
        return {at[0].toLongLong(), at[1].toLongLong()};
    return {text.indexOf(needle), needle.size()};
}

const QString token = u"![image](pondrift-img://A)"_s; // 26 units

// A document driven as NoteTextView drives it, without a widget: its reports go to the coordinator,
// and each answer is carried out by a real styling pass and written down.
struct Driven {
    QTextDocument document;
    QTextCursor cursor{&document};
    EditorCoordinator coordinator{document};
    EditorStyleCache cache;
    EditorStyleEngine::Options options;
    QStringList passes;
    bool composing = false;

    explicit Driven(const QString& text)
    {
        document.setPlainText(text);
        document.documentLayout(); // without a layout the document reports no edits
        cursor.setPosition(0);
        QObject::connect(
            &document, &QTextDocument::contentsChange, [this](int from, int, int added) {
                carryOut(coordinator.contentsChanged({from, added}, cursor, composing));
            });
        QObject::connect(&document, &QTextDocument::contentsChanged, [this] {
            if (!coordinator.isApplying())
                carryOut(coordinator.textChanged(cursor, composing));
        });
        carryOut(coordinator.configure(u"yellow"_s, true, cursor, false));
        passes.clear();
    }

    // "full", or the ranges restyled, with the token shown for deletion; with "@n" where an
    // arrow leaves the caret and "select" what Backspace or Delete selects instead.
    void carryOut(const EditorCoordinator::Answer& answer)
    {
        if (!answer)
            return;
        QStringList ranges;
        for (const TextRange& r : answer->ranges)
            ranges.append(u"%1+%2"_s.arg(r.location).arg(r.length));
        passes.append((answer->full ? u"full"_s : ranges.join(u','))
                      + (answer->forceRevealImageID ? u" shows"_s : u""_s));
        EditorCoordinator::Applying applying(coordinator);
        EditorStyleEngine::apply(document, answer->ranges, answer->revealing,
                                 answer->forceRevealImageID, options, cache);
    }

    void moved() { carryOut(coordinator.selectionChanged(cursor, composing)); }

    const QHash<QString, ImageCaret::Edge> edges{{u"left"_s, ImageCaret::Edge::Leading},
                                                 {u"right"_s, ImageCaret::Edge::Trailing},
                                                 {u"near"_s, ImageCaret::Edge::Nearest}};

    void run(const QString& step)
    {
        const QString verb = step.section(u' ', 0, 0);
        const QString rest = step.section(u' ', 1);
        if (verb == u"at") {
            cursor.setPosition(rest.toInt());
            moved();
        } else if (verb == u"type") {
            cursor.insertText(rest);
            moved();
        } else if (verb == u"compose") {
            composing = true;
        } else if (verb == u"commit") { // what the input method gives when it ends
            cursor.insertText(rest);
            composing = false;
            carryOut(coordinator.inputMethodHandled(true, cursor, false));
        } else if (verb == u"preedit") { // an input method's update while it composes
            composing = true;
            carryOut(coordinator.inputMethodHandled(true, cursor, true));
        } else if (verb == u"went") { // an arrow took the caret from there to here
            const qsizetype from = rest.toInt();
            if (const auto to =
                    ImageCaret::snapped(cursor, ImageCaret::edgeOfMove(from, cursor.position())))
                passes.append(u"@%1"_s.arg(*to));
        } else if (verb == u"select") {
            cursor.setPosition(rest.section(u' ', 0, 0).toInt());
            cursor.setPosition(rest.section(u' ', 1).toInt(), QTextCursor::KeepAnchor);
            moved();
            passes.append(u"markers %1"_s.arg(
                coordinator.restyle({{0, 1}}, cursor, false)->revealing.location));
        } else if (verb == u"configure" || verb == u"plain") {
            options.markdownEnabled = verb == u"configure";
            carryOut(coordinator.configure(rest, options.markdownEnabled, cursor, composing));
        } else if (edges.contains(verb)) { // where an arrow left the caret
            if (const auto to = ImageCaret::snapped(cursor, edges[verb]))
                passes.append(u"@%1"_s.arg(*to));
        } else if (const auto range = coordinator.revealBeforeDelete(
                       cursor, verb.endsWith(u"backspace"_s),
                       verb.startsWith(u"word"_s) ? ImageCaret::Unit::Word
                                                  : ImageCaret::Unit::Character)) {
            passes.append(u"select %1+%2"_s.arg(range->location).arg(range->length));
            cursor.setPosition(static_cast<int>(range->location));
            cursor.setPosition(static_cast<int>(range->end()), QTextCursor::KeepAnchor);
            moved();
            carryOut(coordinator.restyle({EditorRanges::lineRange(range->location, document)},
                                         cursor, false));
        }
    }
};

} // namespace

class EditorEngineTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void lineRanges_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("location");
        QTest::addColumn<TextRange>("line");
        // clang-format off
        QTest::newRow("the middle line of three, terminator included") << u"ab\ncd\nef"_s << 4 << TextRange{3, 3};
        QTest::newRow("the empty last line after a break") << u"ab\n"_s << 3 << TextRange{3, 0};
        QTest::newRow("CR LF counts as one terminator") << u"ab\r\ncd"_s << 1 << TextRange{0, 4};
        QTest::newRow("between CR and LF is still the first line") << u"ab\r\ncd"_s << 3 << TextRange{0, 4};
        QTest::newRow("a lone CR ends a line") << u"ab\rcd"_s << 4 << TextRange{3, 2};
        QTest::newRow("U+2028 ends a line inside a paragraph") << u"ab\u2028cd\nef"_s << 0 << TextRange{0, 3};
        QTest::newRow("U+2029 ends a line") << u"ab\u2029cd"_s << 4 << TextRange{3, 2};
        QTest::newRow("a location past the end is clamped") << u"ab\ncd"_s << 99 << TextRange{3, 2};
        QTest::newRow("a negative location is clamped to the start") << u"ab\ncd"_s << -4 << TextRange{0, 3};
        QTest::newRow("an empty text has one empty line") << QString() << 0 << TextRange{0, 0};
        // clang-format on
    }

    void lineRanges()
    {
        QFETCH(QString, text);
        QFETCH(int, location);
        QFETCH(TextRange, line);
        QCOMPARE(EditorRanges::lineRange(location, text), line);
        // A document (where CR and U+2029 are block breaks) counts the same lines.
        if (text.contains(u'\r') || text.contains(QChar::ParagraphSeparator))
            return;
        QTextDocument document;
        document.setPlainText(text);
        for (qsizetype i = 0; i <= text.size(); ++i) {
            for (qsizetype n = 0; i + n <= text.size(); ++n)
                QCOMPARE(EditorRanges::lineRangeForRange({i, n}, document),
                         EditorRanges::lineRangeForRange({i, n}, text));
        }
    }

    void affectedLines_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<Ranges>("edits");
        QTest::addColumn<Ranges>("expected");
        const QString three = u"one\ntwo\nthree"_s;
        // clang-format off
        QTest::newRow("an empty text gives one empty range") << QString() << Ranges{{0, 0}} << Ranges{{0, 0}};
        QTest::newRow("an edit mid-line restyles its line") << three << Ranges{{5, 1}} << Ranges{{4, 4}};
        QTest::newRow("an edit at a line's first column restyles the line above too") << three << Ranges{{4, 1}} << Ranges{{0, 8}};
        QTest::newRow("a line break typed at a line's end restyles the line below too") << three << Ranges{{7, 1}} << Ranges{{4, 9}};
        QTest::newRow("edits far apart stay apart") << three << Ranges{{1, 0}, {10, 1}} << Ranges{{0, 4}, {8, 5}};
        QTest::newRow("invalid edits are dropped") << three << Ranges{{TextRange::NotFound, 1}, {-2, 1}, {1, -1}} << Ranges{};
        QTest::newRow("an edit past the end is clamped to the last line") << three << Ranges{{50, 3}} << Ranges{{8, 5}};
        // clang-format on
    }

    void affectedLines()
    {
        QFETCH(QString, text);
        QFETCH(Ranges, edits);
        QFETCH(Ranges, expected);
        QCOMPARE(EditorRanges::affectedLineRanges(edits, text), expected);
        QTextDocument document;
        document.setPlainText(text);
        EditorEditAccumulator gathered;
        for (const TextRange& edit : edits)
            gathered.record(edit);
        QCOMPARE(gathered.hasPendingEdits(), !expected.isEmpty());
        QCOMPARE(gathered.consume(document, false), expected);
    }

    void mergedRanges_data()
    {
        QTest::addColumn<Ranges>("ranges");
        QTest::addColumn<Ranges>("expected");
        // clang-format off
        QTest::newRow("overlapping ranges join at the larger end") << Ranges{{0, 5}, {2, 1}} << Ranges{{0, 5}};
        QTest::newRow("apart ranges are sorted") << Ranges{{7, 1}, {1, 1}} << Ranges{{1, 1}, {7, 1}};
        QTest::newRow("empty and invalid ranges go") << Ranges{{3, 0}, {TextRange::NotFound, 2}, {-1, 2}} << Ranges{};
        QTest::newRow("ranges are clamped into the text") << Ranges{{8, 10}, {20, 1}} << Ranges{{8, 2}};
        // clang-format on
    }

    void mergedRanges()
    {
        QFETCH(Ranges, ranges);
        QFETCH(Ranges, expected);
        QCOMPARE(EditorRanges::merged(ranges, 10), expected);
    }

    void markdownRuns_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("caret"); // -1: no revealing line
        QTest::addColumn<bool>("markdown");
        // "needle=look|...": every character of the needle's first occurrence (or of "@n+len")
        // looks so; "!look" for its opposite.
        QTest::addColumn<QString>("expects");
        const QString token = u"![image](pondrift-img://ABC-1)"_s;
        // clang-format off
        QTest::newRow("markers on the caret's line show dimmed, elsewhere they are hidden")
            << u"**one**\nand **two**"_s << 2 << true
            << u"@0+2=dim|@0+2=!hidden|@5+2=dim|one=bold|@12+2=hidden|@17+2=hidden|two=bold|and=full"_s;
        QTest::newRow("a heading hides its hashes and keeps the blank; seven hashes are no heading")
            << u"# Title\n####### seven"_s << 10 << true
            << u"#=hidden| Title=!hidden| Title=heading1|#######=!hidden|seven=body"_s;
        QTest::newRow("single stars and underscores are italic, doubled ones bold")
            << u"*a* **b** _c_ __d__"_s << -1 << true
            << u"a=italic|b=!italic|b=bold|c=italic|d=bold|@0+1=hidden|@14+2=hidden"_s;
        QTest::newRow("a link inside an image token is skipped; the token hides whole, holding its room")
            << u"see "_s + token + u" and [a](http://b.org)"_s << -1 << true
            << token + u"=hidden|image=!underlined|image=!linked|!=reserves|@40+1=linked|(http://b.org)=hidden"_s;
        QTest::newRow("web and mail links are followed whatever their case; no other link is; a blank breaks one")
            << u"[web](HTTPS://x.org) [mail](mailto:a@b.org) [ftp](ftp://b) [file](file:///etc) [script](javascript:x) [bare](x.org) [blank](http://b c)"_s
            << -1 << true << u"web=linked|mail=linked|ftp=underlined|ftp=!linked|file=!linked|script=!linked|bare=!linked|](ftp://b)=hidden|blank=!underlined|[blank=!hidden"_s;
        QTest::newRow("a completed task holding bold is struck whole, markers still hidden")
            << u"\u2611 **x**\n\u2610 open"_s << 9 << true
            << u"\u2611=struck|x=struck|x=done|x=bold|@2+2=hidden|open=full"_s;
        QTest::newRow("with Markdown off nothing hides, tasks are still struck")
            << u"**b** "_s + token + u"\n\u2611 done"_s << -1 << false
            << u"**=full|b=body|"_s + token + u"=!hidden|done=struck|done=done"_s;
        QTest::newRow("the caret on the empty last line reveals nothing above, nor does a caret on a token")
            << token + u"\n**a**\n"_s << 38 << true << u"**=hidden|@33+1=bold|"_s + token + u"=hidden"_s;
        QTest::newRow("a bullet stays visible and softened; blanks keep stars from pairing")
            << u"- item\n* a *"_s << -1 << true << u"-=bullet|-=!hidden|a=!italic|@7+1=bullet"_s;
        QTest::newRow("code spans take the monospaced face, struck text its strike")
            << u"run `make` ~~now~~"_s << -1 << true << u"make=mono|make=shaded|`=hidden|now=struck|~~=hidden"_s;
        // clang-format on
    }

    void markdownRuns()
    {
        QFETCH(QString, text);
        QFETCH(int, caret);
        QFETCH(bool, markdown);
        QFETCH(QString, expects);

        MarkdownRuns::Input input{text, 100, std::nullopt, std::nullopt, markdown, {}, {}};
        if (const TextRange line = EditorRanges::lineRange(caret, text); caret >= 0)
            input.revealing = TextRange{line.location + 100, line.length};
        const MarkdownRuns::Result result = MarkdownRuns::compute(input);
        QList<Attributes> at;
        for (const MarkdownRuns::Run& run : result.runs)
            at.append(QList<Attributes>(run.length, run.attributes));
        for (const QString& expect : expects.split(u'|')) {
            const qsizetype split = expect.lastIndexOf(u'=');
            const QString look = expect.mid(split + 1).remove(u'!');
            const TextRange range = locate(text, expect.left(split));
            QVERIFY2(range.location >= 0 && looks.contains(look), qPrintable(expect));
            for (qsizetype i = range.location; i < range.end(); ++i)
                QVERIFY2(looks[look](at[i]) != expect.contains(u"=!"_s),
                         qPrintable(u"%1 at %2"_s.arg(expect).arg(i)));
        }
    }

    // Each run takes its format in the note's ink; the cache never crosses links or inks.
    void aPassPaintsItsRunsAndKeepsWhatItMade()
    {
        const QString text = u"# H\n**b** *i* `c` ~~s~~ [l](http://x.org)\n> q\n- i\n\u2611 d\n"
                             "![image](pondrift-img://A)\n[l](http://y.org)"_s;
        QTextDocument document;
        document.setPlainText(text);
        EditorStyleCache cache;
        EditorStyleEngine::Options o{
            {}, bodySize, true, {}, body, {}, [](const ImageToken&) { return 40.0; }};
        const auto style = [&](const QColor& ink, const Ranges& ranges) {
            o.ink = ink;
            return EditorStyleEngine::apply(document, ranges, EditorRanges::lineRange(4, document),
                                            {}, o, cache);
        };
        style(Qt::red, {{0, text.size()}});
        const EditorStyleEngine::Report report = style(QColor(20, 30, 40), {{0, text.size()}});
        QCOMPARE(report.styled, (Ranges{{0, text.size()}}));
        const ImageToken token{u"A"_s, std::nullopt, {text.indexOf(u"!["_s), 26}};
        QCOMPARE(report.images, (QList<EditorStyleEngine::ReservedImage>{{token, 40.0}}));

        const auto at = [&](const QString& needle) {
            return EditorStyleEngine::styledFormat(document, text.indexOf(needle));
        };
        const auto inkAt = [&](const QString& needle, double alpha) {
            const QColor colour = at(needle).foreground().color();
            return colour.rgb() == o.ink.rgb() && qAbs(colour.alphaF() - alpha) < 0.01;
        };
        QVERIFY(at(u"H"_s).fontWeight() >= QFont::DemiBold
                && at(u"H"_s).fontPointSize() == bodySize + 5.9);
        QVERIFY(at(u"b*"_s).fontWeight() >= QFont::DemiBold
                && at(u"b*"_s).fontPointSize() == bodySize);
        QVERIFY(at(u"l]"_s).fontUnderline());
        // Italic and quotes lean the body's own face, not the family's italic face.
        const QString upright = QFontInfo(body(bodySize)).styleName();
        for (const QString& leaning : {u"i*"_s, u"q"_s}) {
            const QFontInfo face(at(leaning).font().resolve(body(bodySize)));
            QVERIFY2(face.italic() && face.styleName() == upright, qPrintable(face.styleName()));
        }
        QVERIFY(QFontInfo(at(u"c`"_s).font()).fixedPitch()
                && at(u"c`"_s).background().style() == Qt::SolidPattern);
        // Code takes a faint wash of the ink, the backticks around it none, shown or not.
        const auto bare = [&](qsizetype position) {
            const QBrush brush = EditorStyleEngine::styledFormat(document, position).background();
            return brush.style() == Qt::NoBrush || brush.color().alpha() == 0;
        };
        const QColor wash = at(u"c`"_s).background().color();
        QVERIFY(wash.rgb() == o.ink.rgb() && qAbs(wash.alphaF() - 0.07) < 0.005);
        QVERIFY(bare(text.indexOf(u"`c"_s)) && bare(text.indexOf(u"c`"_s) + 1));
        QVERIFY(at(u"s~"_s).fontStrikeOut() && at(u"d\n"_s).fontStrikeOut());
        QVERIFY(inkAt(u"**"_s, EditorStyleEngine::dimAlpha) && inkAt(u"q"_s, 0.62)
                && inkAt(u"- "_s, 0.5) && inkAt(u"d\n"_s, 0.45));
        QVERIFY(EditorStyleEngine::isHidden(document, text.indexOf(u"> "_s))
                && !EditorStyleEngine::isHidden(document, 4));
        QCOMPARE(at(u"!["_s).doubleProperty(EditorStyleEngine::reservedHeightProperty), 40.0);
        QCOMPARE(at(u" *"_s).propertyCount(), 0);

        document.documentLayout()->documentSize();
        const QTextLine heading = document.begin().layout()->lineAt(0);
        const QTextLine shown = document.findBlockByNumber(1).layout()->lineAt(0);
        QVERIFY(heading.cursorToX(1) - heading.cursorToX(0) < 0.5
                && heading.cursorToX(2) > heading.cursorToX(1));
        QVERIFY(shown.cursorToX(2) > shown.cursorToX(0) + 4);

        QTextCursor cursor(&document);
        cursor.setPosition(static_cast<int>(text.indexOf(u"x.org"_s)));
        cursor.insertText(u"z"_s);
        style(o.ink, EditorRanges::affectedLineRanges({{cursor.position() - 1, 1}}, document));
        QCOMPARE(EditorStyleEngine::linkAt(document, text.indexOf(u"l]"_s)), u"http://zx.org"_s);
        QCOMPARE(EditorStyleEngine::linkAt(document, document.lastBlock().position() + 1),
                 u"http://y.org"_s);
        // A code span that loses a backtick is plain again, with no wash left behind.
        cursor.setPosition(static_cast<int>(text.indexOf(u"`c"_s)));
        cursor.deleteChar();
        style(o.ink, EditorRanges::affectedLineRanges({{cursor.position(), 0}}, document));
        QVERIFY(bare(cursor.position()) && bare(cursor.position() + 1));

        for (int red = 0; red < 10; ++red)
            style(QColor(red, 0, 0), {{0, 4}});
        QCOMPARE(cache.configurationCount(), EditorStyleCache::configurationsKept);

        QTextDocument empty;
        QVERIFY(EditorStyleEngine::apply(empty, {{0, 0}}, {}, {}, o, cache).styled.isEmpty());
        QCOMPARE(empty.defaultFont(), body(bodySize));
    }

    void restylesAndCaretRules_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("passes");
        const QString three = u"one\ntwo\nthree"_s;
        const QString picture = u"ab\n"_s + token + u"\nef"_s;
        const QString tokens = u"ab"_s + token + u"cd\n"_s + token + u"\nef"_s; // at 2 and 31
        const QString spaced = u"ab "_s + token + u" cd"_s;                     // at 3
        // clang-format off
        QTest::newRow("a caret move to another line restyles the two lines") << three << u"at 9"_s << u"0+4,8+5"_s;
        QTest::newRow("a caret move within a line restyles nothing") << three << u"at 1|at 3"_s << QString();
        QTest::newRow("a keystroke restyles the lines around it once, a caret move after it the two lines") << three << u"at 5|type x|at 0"_s << u"0+8|4+5|0+9"_s;
        QTest::newRow("with Markdown off a caret move restyles nothing") << three << u"plain off|at 9"_s << u"full"_s;
        QTest::newRow("while composing nothing is styled; the commit styles its lines and the caret's")
            << u"line\n"_s << u"at 5|compose|at 2|commit **b**\n*i*"_s << u"0+5|0+14"_s;
        QTest::newRow("a new configuration asks for one full pass, the same one again for none")
            << three << u"configure red|configure red"_s << u"full"_s;
        QTest::newRow("a new configuration during a composition waits for its end")
            << three << u"compose|configure red|commit x"_s << u"full"_s;
        QTest::newRow("Backspace behind a hidden token shows it; a caret move away hides it again")
            << picture << u"at 30|backspace|at 0"_s << u"0+3,30+2|select 3+26|3+29 shows|3+27 shows|0+30"_s;
        QTest::newRow("an arrow leaves no caret inside a hidden token: left, right, or the nearer end")
            << tokens << u"at 10|left|right|near|at 16|near"_s << u"@2|@28|@2|@28"_s;
        QTest::newRow("a caret at a token's edge, or in a shown token, stays")
            << tokens << u"at 28|near|plain off|at 10|left"_s << u"full"_s;
        QTest::newRow("Backspace at a token's end takes it") << tokens << u"at 28|backspace"_s << u"select 2+26|0+31 shows"_s;
        QTest::newRow("Delete at a token's start takes it") << tokens << u"at 31|delete"_s << u"0+58|select 31+26|31+27 shows"_s;
        QTest::newRow("Backspace at a token's start, Delete at its end, take nothing")
            << tokens << u"at 2|backspace|at 57|delete"_s << u"0+58"_s;
        QTest::newRow("no key takes a shown token") << tokens << u"plain off|at 28|backspace"_s << u"full"_s;
        QTest::newRow("a caret that went forward into a token leaves by its end, backward by its start")
            << tokens << u"at 10|went 2|went 28|went 10"_s << u"@28|@2|@2"_s;
        QTest::newRow("a word delete shows a token its word reaches into, by either side")
            << spaced << u"at 30|wordbackspace|at 0|worddelete"_s << u"select 3+26|0+32 shows|0+32"_s;
        QTest::newRow("a word delete that reaches no token takes its word")
            << spaced << u"at 2|wordbackspace|at 31|worddelete"_s << QString();
        QTest::newRow("the markers show on the line a selection starts on, made either way")
            << three << u"select 1 9|select 9 1|select 5 12"_s << u"markers 0|markers 0|0+8|markers 4"_s;
        QTest::newRow("each update of a composition restyles the caret's block, the commit its lines")
            << three << u"at 5|preedit|preedit|commit x"_s << u"0+8|4+4|4+4|4+5"_s;
        // clang-format on
    }

    void restylesAndCaretRules()
    {
        QFETCH(QString, text);
        QFETCH(QString, steps);
        QFETCH(QString, passes);
        Driven driven(text);
        for (const QString& step : steps.split(u'|'))
            driven.run(step);
        QCOMPARE(driven.passes.join(u'|'), passes);
    }
};

QTEST_MAIN(EditorEngineTest)
#include "tst_editor_engine.moc"
