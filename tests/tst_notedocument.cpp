#include "exchange/IsoStamp.h"
#include "exchange/NoteDocument.h"

#include <QRandomGenerator>
#include <QTest>

#include <cmath>
#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace {

QString doc(const QString& header, const QString& body = u"text"_s)
{
    return u"---\n"_s + header + u"\n---\n\n"_s + body;
}

} // namespace

class TestNoteDocument : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Dates are cut towards the past, the far past and a date that is no number included. A
    // title on several lines is folded onto one, and a blank one is left out.
    void renderIsExact()
    {
        Note note(u"6F1C2A8E-1D2B-4C3D-9E8F-0A1B2C3D4E5F"_s,
                  u" \tPlans\r\nfor\u2028a\u0085b\n\nc: \"d\" # ---  e\u3000"_s,
                  u"☐ milk\n☑ bread\n\nend"_s, 3, Date{-0.5}, Date::distantPast(), true, false,
                  NoteTextDirection::RightToLeft, -2.5);
        const QString text = NoteDocument::render(note);
        QCOMPARE(text,
                 u"---\npondrift-id: 6F1C2A8E-1D2B-4C3D-9E8F-0A1B2C3D4E5F\ncolor: 3\n"
                 "created: 1969-12-31T23:59:59Z\nmodified: 0001-01-01T00:00:00Z\n"
                 "archived: true\npinned: false\norder: -2.5\ndirection: rightToLeft\n"
                 "title: Plans for a b c: \"d\" # ---  e\n---\n\n- [ ] milk\n- [x] bread\n\nend"_s);
        QCOMPARE(NoteDocument::parse(text, {}).note.title, u"Plans for a b c: \"d\" # ---  e"_s);
        note.title = u"  \n "_s;
        note.body.clear();
        note.created = Date{std::nan("")};
        const QString plain = NoteDocument::render(note);
        QVERIFY(plain.contains(u"\ncreated: 1970-01-01T00:00:00Z\n"_s));
        QVERIFY(plain.endsWith(u"direction: rightToLeft\n---\n\n"_s));
    }

    void orderForms_data()
    {
        QTest::addColumn<double>("order");
        QTest::addColumn<QString>("text");
        QTest::newRow("negative zero keeps its sign") << -0.0 << u"-0.0"_s;
        QTest::newRow("a whole number gets a point") << 1.0 << u"1.0"_s;
        QTest::newRow("an exponent needs no point") << 1e16 << u"1e+16"_s;
        QTest::newRow("a third needs every digit") << 1.0 / 3 << u"0.3333333333333333"_s;
    }
    void orderForms()
    {
        QFETCH(double, order);
        QFETCH(QString, text);
        QCOMPARE(NoteDocument::formatOrder(order), text);
        const auto back = NoteDocument::parseOrder(text);
        QVERIFY(back);
        QCOMPARE(std::signbit(*back), std::signbit(order));
        QCOMPARE(*back, order);
    }

    // What a hand-edited or foreign text turns into.
    void degradation_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("hasIdentity");
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("title");
        const auto row = [](const char* name, const QString& text, bool hasIdentity,
                            const QString& body, const QString& title = {}) {
            QTest::newRow(name) << text << hasIdentity << body << title;
        };
        const QString known = u"pondrift-id: X1"_s;
        row("an empty text is an empty body named by the fallback", {}, false, {}, u"Fallback"_s);
        row("fences with blanks round them still count",
            u"  ---  \npondrift-id: X1\n--- \n\nbody"_s, true, u"body"_s);
        row("an empty id gives no identity, and a title after it may hold colons",
            doc(u"pondrift-id:\ntitle: a: b"_s), false, u"text"_s, u"a: b"_s);
        row("an empty title with an empty body takes the fallback", u"---\ntitle:\n---\n"_s, false,
            {}, u"Fallback"_s);
        row("a body that starts with a fence line is safe", doc(known, u"---\nmore"_s), true,
            u"---\nmore"_s);
        row("a blank first body line is kept", u"---\npondrift-id: X1\n---\n \nbody"_s, true,
            u" \nbody"_s);
        row("only the first empty line is taken away", doc(known, u"\nbody"_s), true, u"\nbody"_s);
        row("a key in another script is a valid key", doc(known + u"\nfärg: blå\n标题2: x"_s), true,
            u"text"_s);
        row("another tool's front matter without a key of ours is a header too",
            u"---\nlayout: post\ntags:\n  - x\n---\n\nbody"_s, false, u"body"_s);
        // None of these is a front matter of ours, so each text is the body as it stands.
        for (const auto& [name, text] : std::initializer_list<std::pair<const char*, QString>>{
                 {"a text without front matter", u"hello\nworld"_s},
                 {"four dashes are no fence", u"----\npondrift-id: X1\n----\n\nbody"_s},
                 {"an opening fence without a closing one", u"---\npondrift-id: X1\nbody"_s},
                 {"a header cut short after its keys", u"---\npondrift-id: X1"_s},
                 {"two fences with nothing between them", u"---\n---\nbody"_s},
                 {"a list line under a key with a value", doc(known + u"\n- item"_s)},
                 {"a header line without a colon", doc(known + u"\njust a sentence"_s)},
                 {"a key with a blank in it", doc(known + u"\nmy key: 1"_s)},
                 {"a key that starts with a digit", doc(known + u"\n1st: 1"_s)},
                 {"an empty key", doc(known + u"\n: value"_s)},
             })
            row(name, text, false, text);
    }
    void degradation()
    {
        QFETCH(QString, text);
        QFETCH(bool, hasIdentity);
        QFETCH(QString, body);
        QFETCH(QString, title);
        const auto parsed = NoteDocument::parse(text, u"Fallback"_s);
        QCOMPARE(parsed.hasIdentity, hasIdentity);
        QCOMPARE(parsed.note.id == u"X1"_s, hasIdentity);
        QCOMPARE(parsed.note.body, body);
        QCOMPARE(parsed.note.title, title);
    }

    // Headers as other tools and editors leave them: still a header, our keys still read,
    // every line of a key we do not know kept as it stands.
    void frontMatterOtherToolsWrote_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("body");
        QTest::addColumn<QStringList>("foreign");
        const QString ours = u"pondrift-id: X1\ncolor: 4\narchived: true\npinned: true\n"
                             u"title: Plans"_s;
        const auto crlf = [](QString s) { return s.replace(u"\n"_s, u"\r\n"_s); };
        QTest::newRow("a document rewritten with CR LF keeps its identity, pin, colour, title "
                      "and archive state")
            << crlf(doc(ours, u"one\ntwo\n"_s)) << u"one\ntwo\n"_s << QStringList();
        QTest::newRow("blanks an editor left round a carriage return")
            << doc(u"pondrift-id: X1\r \ncolor: 4 \r\narchived: true\npinned: true\ntitle: Plans\r"
                   u"\ntags: \r\n  - a \r"_s)
            << u"text"_s << QStringList{u"tags:"_s, u"  - a"_s};
        QTest::newRow("a byte order mark before the front matter")
            << QChar(0xFEFF) + doc(ours) << u"text"_s << QStringList();
        QTest::newRow("a tags block list another tool added stays in the header")
            << doc(ours + u"\ntags:\n  - a\n  - b"_s) << u"text"_s
            << QStringList{u"tags:"_s, u"  - a"_s, u"  - b"_s};
        QTest::newRow("a block list level with its key, in CR LF")
            << crlf(doc(u"tags:\n- a\n- b\n"_s + ours)) << u"text"_s
            << QStringList{u"tags:"_s, u"- a"_s, u"- b"_s};
        QTest::newRow("unknown keys are kept verbatim and in their order, ours between them")
            << doc(u"aliases: [Plan, \"Pläne\"]\n"_s + ours
                   + u"\ndate: 2024-01-02\nauthor:\n  name: A\n\n  mail: a@b\ndraft: true"_s)
            << u"text"_s
            << u"aliases: [Plan, \"Pläne\"]\ndate: 2024-01-02\nauthor:\n  name: A\n\n  mail: a@b\n"
               u"draft: true"_s.split(u'\n');
        QTest::newRow("a block of text under another tool's key")
            << doc(ours + u"\nsummary: >-\n  two\n  lines\nlayout: post"_s) << u"text"_s
            << QStringList{u"summary: >-"_s, u"  two"_s, u"  lines"_s, u"layout: post"_s};
    }
    void frontMatterOtherToolsWrote()
    {
        QFETCH(QString, text);
        QFETCH(QString, body);
        QFETCH(QStringList, foreign);
        const auto parsed = NoteDocument::parse(text, u"Fallback"_s);
        QVERIFY(parsed.hasIdentity);
        QCOMPARE(parsed.note.id, u"X1"_s);
        QCOMPARE(parsed.note.color, 4);
        QVERIFY(parsed.note.archived);
        QVERIFY(parsed.note.pinned);
        QCOMPARE(parsed.note.title, u"Plans"_s);
        QCOMPARE(parsed.note.body, body);
        QCOMPARE(parsed.foreignHeader, foreign);
        // Written back after our own keys, the same lines come back again.
        const QString again = NoteDocument::render(parsed.note, parsed.foreignHeader);
        QVERIFY2(again.contains(u"title: Plans\n"_s + foreign.join(u'\n')), qPrintable(again));
        const auto back = NoteDocument::parse(again, u"Other"_s);
        QCOMPARE(back.foreignHeader, foreign);
        QCOMPARE(back.note.body, body);
    }

    // What a header still says and what it no longer says.
    void declaredKeys()
    {
        const auto parsed = NoteDocument::parse(doc(u"color: 3\npinned: x\norder: ?"_s), {});
        QCOMPARE(parsed.declared, (QSet<QString>{u"color"_s, u"pinned"_s}));
        QVERIFY(NoteDocument::parse(u"plain"_s, {}).declared.isEmpty());
    }

    // Values no one wrote this way: the note keeps a defined value for each.
    void values_data()
    {
        QTest::addColumn<QString>("header");
        QTest::addColumn<qint64>("color");
        QTest::addColumn<double>("order");
        const auto row = [](const char* name, const QString& header, qint64 color, double order) {
            QTest::newRow(name) << header << color << order;
        };
        row("a malformed order and colour keep the defaults", u"order: 1,5\ncolor: 12a"_s, 0, 0);
        row("a plus sign and an exponent are read", u"color: +3\norder: 1e3"_s, 3, 1000);
        row("an unknown direction or flag word resets to the default",
            u"direction: rightToLeft\ndirection: RightToLeft\narchived: True"_s, 0, 0);
        row("the last usable value stands, and keys are case sensitive",
            u"color: 2\ncolor: x\nColor: 5\norder: 4\norder: ?"_s, 2, 4);
        row("a colour past 64 bits is ignored", u"color: 9223372036854775808"_s, 0, 0);
        row("the lowest 64-bit colour is read", u"color: -9223372036854775808"_s,
            std::numeric_limits<qint64>::min(), 0);
    }
    void values()
    {
        QFETCH(QString, header);
        QFETCH(qint64, color);
        QFETCH(double, order);
        const Note n = NoteDocument::parse(doc(u"pondrift-id: X\n"_s + header), {}).note;
        QCOMPARE(n.color, color);
        QCOMPARE(n.order, order);
        QCOMPARE(n.textDirection, NoteTextDirection::Automatic);
        QVERIFY(!n.archived);
    }

    void stamps_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<bool>("read");
        for (const char* value : {"2026-03-14T09:26:53Z", "2024-02-29T00:00:00Z"})
            QTest::newRow(value) << QString::fromUtf8(value) << true;
        // Fractions, a lower-case zone, no zone, the thirtieth of February, hour 24.
        for (const char* value :
             {"2026-03-14T09:26:53.5Z", "2026-03-14T09:26:53z", "2026-03-14T09:26:53",
              "2026-02-30T09:26:53Z", "2026-03-14T24:00:00Z"})
            QTest::newRow(value) << QString::fromUtf8(value) << false;
    }
    void stamps()
    {
        QFETCH(QString, value);
        QFETCH(bool, read);
        const auto parsed = IsoStamp::parse(value);
        QCOMPARE(parsed.has_value(), read);
        if (read)
            QCOMPARE(IsoStamp::format(*parsed), value);
        const Note n = NoteDocument::parse(doc(u"modified: "_s + value), {}).note;
        QCOMPARE(n.modified == parsed.value_or(Date{-1}), read);
    }

    // parse(render(note)) keeps every field that the format carries exactly.
    void roundTripOfGeneratedNotes()
    {
        QRandomGenerator random(20260314);
        // A body line in Markdown box form would come back as a task line by design, so the
        // box piece has a letter before it.
        const QStringList pieces =
            u"plain|x- [ ] box|☐ open|☑ done||---|title: x|  indented|"
            u"# Head|日本語|\U0001F600|a\rb|![image](pondrift-img://ABC)|\t"_s.split(u'|');
        // The extremes are the smallest denormal and the largest finite double.
        const double orders[] = {0.0, -1.0, 1e16, 1e-5, -0.5, 5e-324, 1.7976931348623157e308};
        for (int i = 0; i < 500; ++i) {
            Note n;
            n.color = static_cast<qint64>(random.bounded(20)) - 5;
            n.created = Date{random.bounded(4e9) - 1e9};
            n.modified = Date{random.bounded(4e9)};
            n.archived = random.bounded(2);
            n.pinned = random.bounded(2);
            n.textDirection = TextDirection::all[random.bounded(3)];
            n.order =
                random.bounded(2) ? orders[random.bounded(7)] : random.generateDouble() * 1e6 - 5e5;
            QStringList lines;
            for (int l = random.bounded(6); l > 0; --l)
                lines << pieces[random.bounded(pieces.size())];
            n.body = lines.join(u'\n');
            n.title = random.bounded(2) ? pieces[random.bounded(pieces.size())] : QString();
            const auto back = NoteDocument::parse(NoteDocument::render(n), u"F"_s);
            QVERIFY(back.hasIdentity);
            // The title is folded or derived on the way back; the dates lose their fractions.
            Note expected = n;
            expected.title = back.note.title;
            expected.created = IsoStamp::wholeSecond(n.created);
            expected.modified = IsoStamp::wholeSecond(n.modified);
            QVERIFY2(back.note == expected, qPrintable(NoteDocument::render(n)));
        }
    }
};

QTEST_GUILESS_MAIN(TestNoteDocument)
#include "tst_notedocument.moc"
