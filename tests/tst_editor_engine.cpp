// The styling engine over a real QTextDocument: what each pass hides, dims, bolds, strikes
// and links, the range arithmetic that keeps a keystroke to the lines it touched, and the
// decisions of which lines to restyle and where the caret may rest around hidden tokens.
#include "editor/EditorCoordinator.h"
#include "editor/EditorEditAccumulator.h"
#include "editor/EditorRanges.h"
#include "editor/EditorStyleCache.h"
#include "editor/EditorStyleEngine.h"
#include "editor/ImageCaret.h"
#include "editor/MarkdownRuns.h"

#include <QAbstractTextDocumentLayout>
#include <QGuiApplication>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextLayout>

using namespace Qt::Literals::StringLiterals;
using MarkdownRuns::Attributes;

namespace {

constexpr double bodySize = 14;

QFont body(double size)
{
    QFont font(u"DejaVu Sans"_s);
    font.setPointSizeF(size);
    return font;
}

EditorStyleEngine::Options options(bool markdown = true)
{
    EditorStyleEngine::Options o;
    o.ink = QColor(20, 30, 40);
    o.size = bodySize;
    o.markdownEnabled = markdown;
    o.bodyFont = body;
    return o;
}

enum class Look { Hidden, Shown, Dim, FullInk, Bold, NotBold, Italic, NotItalic, Struck, Underlined,
                  NotUnderlined, Linked, NotLinked, Heading1, BodySize, Mono, DoneInk, BulletInk };

struct Expect {
    QString needle; // first occurrence in the text, or "@n+len" for a position
    Look look;
};

TextRange locate(const QString& text, const QString& needle)
{
    if (needle.startsWith(u'@')) {
        const QStringList parts = needle.mid(1).split(u'+');
        return {parts[0].toLongLong(), parts[1].toLongLong()};
    }
    const qsizetype at = text.indexOf(needle);
    return {at, needle.size()};
}

bool looks(const QTextCharFormat& f, Look look, const QColor& ink)
{
    const double alpha = f.foreground().color().alphaF();
    const bool hidden = f.boolProperty(EditorStyleEngine::hiddenProperty);
    switch (look) {
    case Look::Hidden: return hidden;
    case Look::Shown: return !hidden;
    case Look::Dim: return !hidden && qAbs(alpha - EditorStyleEngine::dimAlpha) < 0.01;
    // Full ink in the body face is the document's own look: no format of its own.
    case Look::FullInk:
        return !hidden && (!f.hasProperty(QTextFormat::ForegroundBrush) || f.foreground().color() == ink);
    case Look::Bold: return f.fontWeight() >= QFont::DemiBold;
    case Look::NotBold: return f.fontWeight() < QFont::DemiBold;
    case Look::Italic: return f.fontItalic();
    case Look::NotItalic: return !f.fontItalic();
    case Look::Struck: return f.fontStrikeOut();
    case Look::Underlined: return f.fontUnderline();
    case Look::NotUnderlined: return !f.fontUnderline();
    case Look::Linked: return f.isAnchor() && !f.anchorHref().isEmpty();
    case Look::NotLinked: return !f.isAnchor();
    case Look::Heading1: return qAbs(f.fontPointSize() - (bodySize + 5.9)) < 0.01;
    case Look::BodySize:
        return !f.hasProperty(QTextFormat::FontPointSize) || qAbs(f.fontPointSize() - bodySize) < 0.01;
    case Look::Mono: return QFontInfo(f.font()).fixedPitch();
    case Look::DoneInk: return qAbs(alpha - 0.45) < 0.01;
    case Look::BulletInk: return qAbs(alpha - 0.5) < 0.01;
    }
    return false;
}

// What a character's attributes look like, by name.
const QHash<QString, std::function<bool(const Attributes&)>> runLooks{
    {u"hidden"_s, [](const Attributes& a) { return a.flags & MarkdownRuns::Hidden; }},
    {u"dim"_s, [](const Attributes& a) { return a.tone == MarkdownRuns::Tone::Dim; }},
    {u"full"_s, [](const Attributes& a) { return a.tone == MarkdownRuns::Tone::Full; }},
    {u"done"_s, [](const Attributes& a) { return a.tone == MarkdownRuns::Tone::Done; }},
    {u"bullet"_s, [](const Attributes& a) { return a.tone == MarkdownRuns::Tone::Bullet; }},
    {u"quote"_s, [](const Attributes& a) { return a.tone == MarkdownRuns::Tone::Quote; }},
    {u"body"_s, [](const Attributes& a) { return a.font == MarkdownRuns::BodyFont; }},
    {u"bold"_s, [](const Attributes& a) { return a.font == MarkdownRuns::BoldFont; }},
    {u"heading1"_s, [](const Attributes& a) { return a.font == MarkdownRuns::HeadingFont; }},
    {u"mono"_s, [](const Attributes& a) { return a.font == MarkdownRuns::MonoFont; }},
    {u"shaded"_s, [](const Attributes& a) { return a.flags & MarkdownRuns::Background; }},
    {u"italic"_s, [](const Attributes& a) { return a.flags & MarkdownRuns::Oblique; }},
    {u"struck"_s, [](const Attributes& a) { return a.flags & MarkdownRuns::Struck; }},
    {u"underlined"_s, [](const Attributes& a) { return a.flags & MarkdownRuns::Underline; }},
    {u"linked"_s, [](const Attributes& a) { return a.link >= 0; }},
    {u"reserves"_s, [](const Attributes& a) { return a.image >= 0; }},
};

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
        } else if (verb == u"configure" || verb == u"plain") {
            options.markdownEnabled = verb == u"configure";
            carryOut(coordinator.configure(rest, options.markdownEnabled, cursor, composing));
        } else if (edges.contains(verb)) { // where an arrow left the caret
            if (const auto to = ImageCaret::snapped(cursor, edges[verb]))
                passes.append(u"@%1"_s.arg(*to));
        } else if (const auto range =
                       coordinator.revealBeforeDelete(cursor, verb == u"backspace")) {
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

char* toString(const TextRange& range)
{
    return QTest::toString(u"(%1, %2)"_s.arg(range.location).arg(range.length));
}

class EditorEngineTest : public QObject {
    Q_OBJECT
    EditorStyleCache cache;

private Q_SLOTS:
    void lineRanges_data();
    void lineRanges();
    void affectedLines_data();
    void affectedLines();
    void mergedRanges_data();
    void mergedRanges();
    void accumulatorHoldsEditsWhileComposing();
    void restylesAndCaretRules_data();
    void restylesAndCaretRules();
    void markdownRuns_data();
    void markdownRuns();
    void openableURL_data();
    void openableURL();
    void styling_data();
    void styling();
    void stylingNeverTouchesTextUndoOrModifiedFlag();
    void linksKeepTheirOwnAddressesAcrossKeystrokes();
    void hiddenCharactersTakeNoWidth();
    void documentLinesMatchStringLines_data();
    void documentLinesMatchStringLines();
};

void EditorEngineTest::lineRanges_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qsizetype>("location");
    QTest::addColumn<qsizetype>("lineLocation");
    QTest::addColumn<qsizetype>("lineLength");
    QTest::newRow("the middle line of three, terminator included") << u"ab\ncd\nef"_s << qsizetype{4} << qsizetype{3} << qsizetype{3};
    QTest::newRow("the last line without terminator") << u"ab\ncd"_s << qsizetype{5} << qsizetype{3} << qsizetype{2};
    QTest::newRow("the empty last line after a break") << u"ab\n"_s << qsizetype{3} << qsizetype{3} << qsizetype{0};
    QTest::newRow("CR LF counts as one terminator") << u"ab\r\ncd"_s << qsizetype{1} << qsizetype{0} << qsizetype{4};
    QTest::newRow("between CR and LF is still the first line") << u"ab\r\ncd"_s << qsizetype{3} << qsizetype{0} << qsizetype{4};
    QTest::newRow("a lone CR ends a line") << u"ab\rcd"_s << qsizetype{4} << qsizetype{3} << qsizetype{2};
    QTest::newRow("U+2028 ends a line") << u"ab\u2028cd"_s << qsizetype{0} << qsizetype{0} << qsizetype{3};
    QTest::newRow("U+2029 ends a line") << u"ab\u2029cd"_s << qsizetype{4} << qsizetype{3} << qsizetype{2};
    QTest::newRow("a location past the end is clamped") << u"ab\ncd"_s << qsizetype{99} << qsizetype{3} << qsizetype{2};
    QTest::newRow("a negative location is clamped to the start") << u"ab\ncd"_s << qsizetype{-4} << qsizetype{0} << qsizetype{3};
    QTest::newRow("an empty text has one empty line") << QString() << qsizetype{0} << qsizetype{0} << qsizetype{0};
}

void EditorEngineTest::lineRanges()
{
    QFETCH(QString, text);
    QFETCH(qsizetype, location);
    QFETCH(qsizetype, lineLocation);
    QFETCH(qsizetype, lineLength);
    QCOMPARE(EditorRanges::lineRange(location, text), (TextRange{lineLocation, lineLength}));
}

void EditorEngineTest::affectedLines_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QList<TextRange>>("edits");
    QTest::addColumn<QList<TextRange>>("expected");
    const QString three = u"one\ntwo\nthree"_s;
    QTest::newRow("no edits, no lines") << three << QList<TextRange>{} << QList<TextRange>{};
    QTest::newRow("an empty text gives one empty range") << QString() << QList<TextRange>{{0, 0}} << QList<TextRange>{{0, 0}};
    QTest::newRow("an edit mid-line restyles its line") << three << QList<TextRange>{{5, 1}} << QList<TextRange>{{4, 4}};
    QTest::newRow("an edit at a line's first column restyles the line above too") << three << QList<TextRange>{{4, 1}} << QList<TextRange>{{0, 8}};
    QTest::newRow("a line break typed at a line's end restyles the line below too") << three << QList<TextRange>{{7, 1}} << QList<TextRange>{{4, 9}};
    QTest::newRow("edits far apart stay apart") << three << QList<TextRange>{{1, 0}, {10, 1}} << QList<TextRange>{{0, 4}, {8, 5}};
    QTest::newRow("invalid edits are dropped") << three << QList<TextRange>{{TextRange::NotFound, 1}, {-2, 1}, {1, -1}} << QList<TextRange>{};
    QTest::newRow("an edit past the end is clamped to the last line") << three << QList<TextRange>{{50, 3}} << QList<TextRange>{{8, 5}};
}

void EditorEngineTest::affectedLines()
{
    QFETCH(QString, text);
    QFETCH(QList<TextRange>, edits);
    QFETCH(QList<TextRange>, expected);
    QCOMPARE(EditorRanges::affectedLineRanges(edits, text), expected);
    QTextDocument document;
    document.setPlainText(text);
    QCOMPARE(EditorRanges::affectedLineRanges(edits, document), expected);
}

void EditorEngineTest::mergedRanges_data()
{
    QTest::addColumn<QList<TextRange>>("ranges");
    QTest::addColumn<QList<TextRange>>("expected");
    QTest::newRow("touching ranges join") << QList<TextRange>{{4, 2}, {0, 4}} << QList<TextRange>{{0, 6}};
    QTest::newRow("overlapping ranges join at the larger end") << QList<TextRange>{{0, 5}, {2, 1}} << QList<TextRange>{{0, 5}};
    QTest::newRow("apart ranges are sorted") << QList<TextRange>{{7, 1}, {1, 1}} << QList<TextRange>{{1, 1}, {7, 1}};
    QTest::newRow("empty and invalid ranges go") << QList<TextRange>{{3, 0}, {TextRange::NotFound, 2}, {-1, 2}} << QList<TextRange>{};
    QTest::newRow("ranges are clamped into the text") << QList<TextRange>{{8, 10}, {20, 1}} << QList<TextRange>{{8, 2}};
}

void EditorEngineTest::mergedRanges()
{
    QFETCH(QList<TextRange>, ranges);
    QFETCH(QList<TextRange>, expected);
    QCOMPARE(EditorRanges::merged(ranges, 10), expected);
}

void EditorEngineTest::accumulatorHoldsEditsWhileComposing()
{
    EditorEditAccumulator edits;
    edits.record({TextRange::NotFound, 1});
    edits.record({-1, 0});
    QVERIFY(!edits.hasPendingEdits());
    const QString text = u"one\ntwo\nthree"_s;
    edits.record({5, 1});
    QTextDocument document;
    document.setPlainText(text);
    QVERIFY(edits.consume(document, true).isEmpty());
    QVERIFY(edits.hasPendingEdits());
    QCOMPARE(edits.consume(document, false), (QList<TextRange>{{4, 4}}));
    QVERIFY(!edits.hasPendingEdits());
    QVERIFY(edits.consume(document, false).isEmpty());
}

void EditorEngineTest::openableURL_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("openable");
    QTest::newRow("http") << u"http://example.org/a"_s << true;
    QTest::newRow("upper-case HTTPS") << u"HTTPS://example.org"_s << true;
    QTest::newRow("mailto") << u"mailto:a@b.org"_s << true;
    QTest::newRow("ftp is refused") << u"ftp://b"_s << false;
    QTest::newRow("file is refused") << u"file:///etc/passwd"_s << false;
    QTest::newRow("no scheme is refused") << u"example.org"_s << false;
    QTest::newRow("javascript is refused") << u"javascript:alert(1)"_s << false;
}

void EditorEngineTest::openableURL()
{
    QFETCH(QString, text);
    QFETCH(bool, openable);
    QCOMPARE(MarkdownRuns::openableURL(text).has_value(), openable);
}

void EditorEngineTest::styling_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qsizetype>("caret"); // -1: no revealing line
    QTest::addColumn<bool>("markdown");
    QTest::addColumn<QList<Expect>>("expects");

    const QString token = u"![image](pondrift-img://ABC-1)"_s;
    const QString linked = u"see "_s + token + u" and [a](http://b.org)"_s;
    const QString linkTitle = u"@%1+1"_s.arg(linked.indexOf(u"[a"_s) + 1);
    QTest::newRow("markers on the caret's line show dimmed, elsewhere they are hidden")
        << u"**one**\nand **two**"_s << qsizetype{2} << true
        << QList<Expect>{{u"@0+2"_s, Look::Dim}, {u"@5+2"_s, Look::Dim}, {u"one"_s, Look::Bold},
                         {u"@12+2"_s, Look::Hidden}, {u"@17+2"_s, Look::Hidden},
                         {u"two"_s, Look::Bold}, {u"and"_s, Look::FullInk}};
    QTest::newRow("seven hashes are no heading")
        << u"x\n####### seven"_s << qsizetype{0} << true
        << QList<Expect>{{u"#######"_s, Look::Shown}, {u"seven"_s, Look::BodySize},
                         {u"seven"_s, Look::NotBold}};
    QTest::newRow("a heading hides its hashes and keeps the blank")
        << u"# Title\nx"_s << qsizetype{9} << true
        << QList<Expect>{{u"#"_s, Look::Hidden}, {u" Title"_s, Look::Shown},
                         {u" Title"_s, Look::Heading1}, {u"Title"_s, Look::Bold}};
    QTest::newRow("single stars are italic, double stars are not")
        << u"*a* **b** _c_"_s << qsizetype{-1} << true
        << QList<Expect>{{u"a"_s, Look::Italic}, {u"b"_s, Look::NotItalic}, {u"b"_s, Look::Bold},
                         {u"c"_s, Look::Italic}, {u"@0+1"_s, Look::Hidden}};
    QTest::newRow("double underscores are bold")
        << u"__a__"_s << qsizetype{-1} << true
        << QList<Expect>{{u"a"_s, Look::Bold}, {u"@0+2"_s, Look::Hidden}, {u"@3+2"_s, Look::Hidden}};
    QTest::newRow("a link inside an image token is skipped")
        << linked << qsizetype{-1} << true
        << QList<Expect>{{token, Look::Hidden}, {u"image"_s, Look::NotUnderlined},
                         {u"image"_s, Look::NotLinked}, {linkTitle, Look::Linked},
                         {u"(http://b.org)"_s, Look::Hidden}};
    QTest::newRow("an ftp link keeps its underline and hidden markers but cannot be followed")
        << u"[a](ftp://b)"_s << qsizetype{-1} << true
        << QList<Expect>{{u"a"_s, Look::Underlined}, {u"a"_s, Look::NotLinked},
                         {u"["_s, Look::Hidden}, {u"](ftp://b)"_s, Look::Hidden}};
    QTest::newRow("an address with a blank is no link")
        << u"[a](http://b c)"_s << qsizetype{-1} << true
        << QList<Expect>{{u"a"_s, Look::NotUnderlined}, {u"["_s, Look::Shown}};
    QTest::newRow("a completed task holding bold is struck whole, markers still hidden")
        << u"\u2611 **x**\n\u2610 open"_s << qsizetype{9} << true
        << QList<Expect>{{u"\u2611"_s, Look::Struck}, {u"x"_s, Look::Struck},
                         {u"x"_s, Look::DoneInk}, {u"x"_s, Look::Bold}, {u"@2+2"_s, Look::Hidden},
                         {u"open"_s, Look::FullInk}};
    QTest::newRow("with Markdown off nothing hides, tasks are still struck")
        << (u"**b** "_s + token + u"\n\u2611 done"_s) << qsizetype{-1} << false
        << QList<Expect>{{u"**"_s, Look::FullInk}, {u"b"_s, Look::NotBold}, {token, Look::Shown},
                         {u"done"_s, Look::Struck}, {u"done"_s, Look::DoneInk}};
    QTest::newRow("the caret on the empty last line reveals nothing above")
        << u"**a**\n"_s << qsizetype{6} << true
        << QList<Expect>{{u"@0+2"_s, Look::Hidden}, {u"@3+2"_s, Look::Hidden}, {u"a"_s, Look::Bold}};
    QTest::newRow("a bullet stays visible and softened; blanks keep stars from pairing")
        << u"- item\n* a *"_s << qsizetype{-1} << true
        << QList<Expect>{{u"-"_s, Look::BulletInk}, {u"-"_s, Look::Shown}, {u"a"_s, Look::NotItalic},
                         {u"@7+1"_s, Look::BulletInk}};
    QTest::newRow("code spans take the monospaced face")
        << u"run `make` now"_s << qsizetype{-1} << true
        << QList<Expect>{{u"make"_s, Look::Mono}, {u"`"_s, Look::Hidden}, {u"now"_s, Look::FullInk}};
    QTest::newRow("struck text")
        << u"~~gone~~"_s << qsizetype{-1} << true
        << QList<Expect>{{u"gone"_s, Look::Struck}, {u"~~"_s, Look::Hidden}};
}

void EditorEngineTest::styling()
{
    QFETCH(QString, text);
    QFETCH(qsizetype, caret);
    QFETCH(bool, markdown);
    QFETCH(QList<Expect>, expects);

    QTextDocument document;
    document.setPlainText(text);
    const auto o = options(markdown);
    std::optional<TextRange> revealing;
    if (caret >= 0)
        revealing = EditorRanges::lineRange(caret, document);
    const QList<TextRange> styled = EditorStyleEngine::apply(
        document, {{0, text.size()}}, revealing, std::nullopt, o, cache).styled;
    QCOMPARE(styled, (QList<TextRange>{{0, text.size()}}));

    for (const Expect& expect : expects) {
        const TextRange range = locate(text, expect.needle);
        QVERIFY2(range.location >= 0, qPrintable(expect.needle));
        for (qsizetype i = range.location; i < range.end(); ++i) {
            const QTextCharFormat f = EditorStyleEngine::styledFormat(document, i);
            QVERIFY2(looks(f, expect.look, o.ink),
                     qPrintable(u"\"%1\" at %2, look %3"_s.arg(expect.needle).arg(i).arg(static_cast<int>(expect.look))));
        }
    }
}

void EditorEngineTest::stylingNeverTouchesTextUndoOrModifiedFlag()
{
    QTextDocument document;
    const QString text = u"# T\n**b** *i* [l](http://x.org)\n\u2611 done\n"_s;
    document.setPlainText(text);
    document.setModified(false);
    document.clearUndoRedoStacks();
    for (qsizetype caret : {qsizetype{0}, qsizetype{5}, qsizetype{30}, text.size()})
        EditorStyleEngine::apply(document, {{0, text.size()}},
                                 EditorRanges::lineRange(caret, document), std::nullopt, options(), cache).styled;
    QCOMPARE(document.toPlainText(), text);
    QVERIFY(!document.isModified());
    QVERIFY(!document.isUndoAvailable());

    // An empty text only refreshes the typing attributes.
    QTextDocument empty;
    QVERIFY(EditorStyleEngine::apply(empty, {{0, 0}}, TextRange{0, 0}, std::nullopt, options(), cache).styled.isEmpty());
    QCOMPARE(empty.defaultFont(), body(bodySize));
}

// Link formats are kept between passes: two links that look alike must still each follow
// their own address, and a retyped address must be the one followed.
void EditorEngineTest::linksKeepTheirOwnAddressesAcrossKeystrokes()
{
    QTextDocument document;
    document.setPlainText(u"[a](http://one.org)\n[a](http://two.org)"_s);
    const auto o = options();
    const auto styleAll = [&](qsizetype caret) {
        const qsizetype length = EditorRanges::length(document);
        EditorStyleEngine::apply(document, {{0, length}}, EditorRanges::lineRange(caret, document),
                                 std::nullopt, o, cache).styled;
    };
    const qsizetype second = document.findBlockByNumber(1).position();
    for (qsizetype caret : {qsizetype{0}, second}) {
        styleAll(caret);
        QCOMPARE(EditorStyleEngine::linkAt(document, 1), u"http://one.org"_s);
        QCOMPARE(EditorStyleEngine::linkAt(document, second + 1), u"http://two.org"_s);
    }

    // Retype the first address, one keystroke's lines restyled.
    QTextCursor cursor(&document);
    cursor.setPosition(11);
    cursor.setPosition(14, QTextCursor::KeepAnchor);
    cursor.insertText(u"three"_s);
    const QList<TextRange> lines = EditorRanges::affectedLineRanges({{11, 5}}, document);
    EditorStyleEngine::apply(document, lines, EditorRanges::lineRange(11, document), std::nullopt, o, cache).styled;
    QCOMPARE(document.findBlockByNumber(0).text(), u"[a](http://three.org)"_s);
    QCOMPARE(EditorStyleEngine::linkAt(document, 1), u"http://three.org"_s);
    QCOMPARE(EditorStyleEngine::linkAt(document, document.findBlockByNumber(1).position() + 1),
             u"http://two.org"_s);
}

void EditorEngineTest::hiddenCharactersTakeNoWidth()
{
    QTextDocument document;
    document.setPlainText(u"a**b**c\n"_s);
    EditorStyleEngine::apply(document, {{0, 8}}, TextRange{8, 0}, std::nullopt, options(), cache).styled;
    document.documentLayout()->documentSize();
    const QTextLine line = document.begin().layout()->lineAt(0);
    // The caret keeps a position at every character, but the markers add no room.
    QCOMPARE(line.cursorToX(1), line.cursorToX(3));
    QCOMPARE(line.cursorToX(4), line.cursorToX(6));
    QVERIFY(line.cursorToX(4) > line.cursorToX(3));

    // On the caret's line the same markers take their room again.
    EditorStyleEngine::apply(document, {{0, 8}}, TextRange{0, 8}, std::nullopt, options(), cache).styled;
    document.documentLayout()->documentSize();
    const QTextLine shown = document.begin().layout()->lineAt(0);
    QVERIFY(shown.cursorToX(3) > shown.cursorToX(1) + 4);
}

void EditorEngineTest::documentLinesMatchStringLines_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("plain lines") << u"one\ntwo\n\nfour"_s;
    QTest::newRow("a paragraph broken by U+2028") << u"ab\u2028cd\nef"_s;
    QTest::newRow("a trailing break") << u"x\n"_s;
}

void EditorEngineTest::documentLinesMatchStringLines()
{
    QFETCH(QString, text);
    QTextDocument document;
    document.setPlainText(text);
    // The document keeps U+2028 inside a paragraph (toPlainText would turn it into "\n").
    const QString plain = text;
    for (qsizetype i = 0; i <= plain.size(); ++i) {
        QCOMPARE(EditorRanges::lineRange(i, document), EditorRanges::lineRange(i, plain));
        for (qsizetype n = 0; i + n <= plain.size(); ++n)
            QCOMPARE(EditorRanges::lineRangeForRange({i, n}, document),
                     EditorRanges::lineRangeForRange({i, n}, plain));
    }
    QCOMPARE(EditorRanges::text(document, {0, plain.size()}), plain);
}

void EditorEngineTest::markdownRuns_data()
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

void EditorEngineTest::markdownRuns()
{
    QFETCH(QString, text);
    QFETCH(int, caret);
    QFETCH(bool, markdown);
    QFETCH(QString, expects);

    // The text sits in the middle of a note: revealing and tokens are in note positions.
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
        QVERIFY2(range.location >= 0 && runLooks.contains(look), qPrintable(expect));
        for (qsizetype i = range.location; i < range.end(); ++i)
            QVERIFY2(runLooks[look](at[i]) != expect.contains(u"=!"_s),
                     qPrintable(u"%1 at %2"_s.arg(expect).arg(i)));
    }
}

void EditorEngineTest::restylesAndCaretRules_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("steps");
    QTest::addColumn<QString>("passes");
    const QString three = u"one\ntwo\nthree"_s;
    const QString picture = u"ab\n"_s + token + u"\nef"_s;
    const QString tokens = u"ab"_s + token + u"cd\n"_s + token + u"\nef"_s; // at 2 and 31
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
    // clang-format on
}

void EditorEngineTest::restylesAndCaretRules()
{
    QFETCH(QString, text);
    QFETCH(QString, steps);
    QFETCH(QString, passes);
    Driven driven(text);
    for (const QString& step : steps.split(u'|'))
        driven.run(step);
    QCOMPARE(driven.passes.join(u'|'), passes);
}

QTEST_MAIN(EditorEngineTest)
#include "tst_editor_engine.moc"
