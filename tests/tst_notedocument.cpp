#include "exchange/NoteDocument.h"
#include "exchange/IsoStamp.h"

#include <QRandomGenerator>
#include <QTest>

#include <cmath>
#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace {

Note sample()
{
    return Note(u"6F1C2A8E-1D2B-4C3D-9E8F-0A1B2C3D4E5F"_s, u"Plans"_s, u"☐ milk\n☑ bread\n\nend"_s,
                3, Date{1773480413.25}, Date{1773480414.9}, true, false,
                NoteTextDirection::RightToLeft, -2.5);
}

QString doc(const QString& header, const QString& body = u"text"_s)
{
    return u"---\n"_s + header + u"\n---\n\n"_s + body;
}

} // namespace

class TestNoteDocument : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void renderIsExact()
    {
        QCOMPARE(NoteDocument::render(sample()),
                 u"---\npondrift-id: 6F1C2A8E-1D2B-4C3D-9E8F-0A1B2C3D4E5F\ncolor: 3\n"
                 "created: 2026-03-14T09:26:53Z\nmodified: 2026-03-14T09:26:54Z\n"
                 "archived: true\npinned: false\norder: -2.5\ndirection: rightToLeft\n"
                 "title: Plans\n---\n\n- [ ] milk\n- [x] bread\n\nend"_s);
        Note plain = sample();
        plain.title = u"  \n "_s;
        plain.body.clear();
        const QString text = NoteDocument::render(plain);
        QVERIFY(!text.contains(u"title:"_s));
        QVERIFY(text.endsWith(u"direction: rightToLeft\n---\n\n"_s));
    }

    void orderForms_data()
    {
        QTest::addColumn<double>("order");
        QTest::addColumn<QString>("text");
        QTest::newRow("zero") << 0.0 << u"0.0"_s;
        QTest::newRow("negative zero keeps its sign") << -0.0 << u"-0.0"_s;
        QTest::newRow("whole") << 1.0 << u"1.0"_s;
        QTest::newRow("fraction") << 2.5 << u"2.5"_s;
        QTest::newRow("large magnitude") << 1e16 << u"1e+16"_s;
        QTest::newRow("small magnitude") << 1e-5 << u"1e-05"_s;
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

        const QString known = u"pondrift-id: X1"_s;
        QTest::newRow("an empty text is an empty body named by the fallback")
            << QString() << false << QString() << u"Fallback"_s;
        QTest::newRow("no front matter: the whole text is the body")
            << u"hello\nworld"_s << false << u"hello\nworld"_s << QString();
        QTest::newRow("fences with blanks round them still count")
            << u"  ---  \npondrift-id: X1\n--- \n\nbody"_s << true << u"body"_s << QString();
        QTest::newRow("four dashes are no fence")
            << u"----\npondrift-id: X1\n----\n\nbody"_s << false
            << u"----\npondrift-id: X1\n----\n\nbody"_s << QString();
        QTest::newRow("an opening fence with no closing one leaves everything in the body")
            << u"---\npondrift-id: X1\nbody"_s << false << u"---\npondrift-id: X1\nbody"_s
            << QString();
        QTest::newRow("two fences with nothing between are body")
            << u"---\n---\nbody"_s << false << u"---\n---\nbody"_s << QString();
        QTest::newRow("foreign front matter stays in the body, whole")
            << u"---\nlayout: post\ntags: x\n---\n\nbody"_s << false
            << u"---\nlayout: post\ntags: x\n---\n\nbody"_s << QString();
        for (const QString& bad : {u"just a sentence"_s, u"my key: 1"_s, u"1st: 1"_s,
                                   u": value"_s, u"- item"_s}) {
            const QString text = doc(known + u'\n' + bad);
            QTest::addRow("a line \"%s\" beside a known key spoils the block",
                          qPrintable(bad))
                << text << false << text << QString();
        }
        QTest::newRow("a title alone makes a front matter without identity")
            << u"---\ntitle: Shopping\n---\n\nmilk"_s << false << u"milk"_s << u"Shopping"_s;
        QTest::newRow("CR LF line ends leave the whole text, carriage returns included")
            << u"---\r\npondrift-id: X1\r\n---\r\n\r\nbody"_s << false
            << u"---\r\npondrift-id: X1\r\n---\r\n\r\nbody"_s << QString();
        QTest::newRow("an empty id gives no identity") << doc(u"pondrift-id:"_s) << false
                                                       << u"text"_s << QString();
        QTest::newRow("an empty id and a filled one give identity")
            << doc(u"pondrift-id:\npondrift-id: X1"_s) << true << u"text"_s << QString();
        QTest::newRow("a title may hold colons") << doc(u"title: a: b"_s) << false << u"text"_s
                                                 << u"a: b"_s;
        QTest::newRow("an empty title with a body falls back to the derived one")
            << doc(u"title:"_s) << false << u"text"_s << QString();
        QTest::newRow("an empty title with an empty body takes the fallback")
            << u"---\ntitle:\n---\n"_s << false << QString() << u"Fallback"_s;
        QTest::newRow("a body that starts with a fence line is safe")
            << doc(known, u"---\nmore"_s) << true << u"---\nmore"_s << QString();
        QTest::newRow("a blank first body line is kept")
            << u"---\npondrift-id: X1\n---\n \nbody"_s << true << u" \nbody"_s << QString();
        QTest::newRow("only the first empty line is taken away")
            << u"---\npondrift-id: X1\n---\n\n\nbody"_s << true << u"\nbody"_s << QString();
        QTest::newRow("check boxes come back as task lines")
            << doc(known, u"- [x] done\n* [ ] open"_s) << true << u"☑ done\n☐ open"_s
            << QString();
        QTest::newRow("a key in another script is a valid key")
            << doc(known + u"\nfärg: blå\n标题2: x"_s) << true << u"text"_s << QString();
    }
    void degradation()
    {
        QFETCH(QString, text);
        QFETCH(bool, hasIdentity);
        QFETCH(QString, body);
        QFETCH(QString, title);
        const auto parsed = NoteDocument::parse(text, u"Fallback"_s);
        QCOMPARE(parsed.hasIdentity, hasIdentity);
        QCOMPARE(parsed.note.body, body);
        QCOMPARE(parsed.note.title, title);
        if (hasIdentity)
            QCOMPARE(parsed.note.id, u"X1"_s);
        else
            QVERIFY(parsed.note.id != u"X1"_s);
    }

    void values_data()
    {
        QTest::addColumn<QString>("header");
        QTest::addColumn<qint64>("color");
        QTest::addColumn<double>("order");
        QTest::addColumn<QString>("direction");
        QTest::addColumn<bool>("archived");
        QTest::newRow("a malformed order and colour keep the defaults")
            << u"order: 1.5.2\ncolor: 12a"_s << qint64(0) << 0.0 << u"automatic"_s << false;
        QTest::newRow("a plus sign and an exponent are read")
            << u"color: +3\norder: 1e3"_s << qint64(3) << 1000.0 << u"automatic"_s << false;
        QTest::newRow("an unknown direction resets an earlier valid one")
            << u"direction: rightToLeft\ndirection: sideways"_s << qint64(0) << 0.0
            << u"automatic"_s << false;
        QTest::newRow("the last usable value stands")
            << u"color: 2\ncolor: x\norder: 4\norder: ?"_s << qint64(2) << 4.0 << u"automatic"_s
            << false;
        QTest::newRow("only exactly true is true")
            << u"archived: True"_s << qint64(0) << 0.0 << u"automatic"_s << false;
        QTest::newRow("keys are case sensitive")
            << u"Color: 5\ncolor: -7"_s << qint64(-7) << 0.0 << u"automatic"_s << false;
        QTest::newRow("a colour past 64 bits is ignored")
            << u"color: 9223372036854775808"_s << qint64(0) << 0.0 << u"automatic"_s << false;
        QTest::newRow("the lowest 64-bit colour is read")
            << u"color: -9223372036854775808"_s << std::numeric_limits<qint64>::min() << 0.0
            << u"automatic"_s << false;
        QTest::newRow("a comma is no decimal point")
            << u"order: 1,5"_s << qint64(0) << 0.0 << u"automatic"_s << false;
    }
    void values()
    {
        QFETCH(QString, header);
        QFETCH(qint64, color);
        QFETCH(double, order);
        QFETCH(QString, direction);
        QFETCH(bool, archived);
        const Note n = NoteDocument::parse(doc(u"pondrift-id: X\n"_s + header), {}).note;
        QCOMPARE(n.color, color);
        QCOMPARE(n.order, order);
        QCOMPARE(TextDirection::rawValue(n.textDirection), direction);
        QCOMPARE(n.archived, archived);
    }

    void stamps_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<bool>("read");
        QTest::newRow("whole seconds in UTC") << u"2026-03-14T09:26:53Z"_s << true;
        QTest::newRow("fractions") << u"2026-03-14T09:26:53.5Z"_s << false;
        QTest::newRow("an offset") << u"2026-03-14T09:26:53+00:00"_s << false;
        QTest::newRow("no zone") << u"2026-03-14T09:26:53"_s << false;
        QTest::newRow("the thirtieth of February") << u"2026-02-30T09:26:53Z"_s << false;
        QTest::newRow("a leap day") << u"2024-02-29T00:00:00Z"_s << true;
        QTest::newRow("hour 24") << u"2026-03-14T24:00:00Z"_s << false;
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

    void stampsCutTowardsThePast()
    {
        QCOMPARE(IsoStamp::format(Date{-0.5}), u"1969-12-31T23:59:59Z"_s);
        QCOMPARE(IsoStamp::format(Date::distantPast()), u"0001-01-01T00:00:00Z"_s);
        QCOMPARE(IsoStamp::format(Date{std::nan("")}), u"1970-01-01T00:00:00Z"_s);
    }

    void foldedTitles_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("folded");
        QTest::newRow("line breaks of every kind become one blank")
            << u"a\r\nb\u2028c\u0085d\n\ne"_s << u"a b c d e"_s;
        QTest::newRow("outer blanks and tabs go, inner stay")
            << u" \tx  y\u3000"_s << u"x  y"_s;
        QTest::newRow("colon, quote, hash and fence stand as they are")
            << u"a: \"b\" # ---"_s << u"a: \"b\" # ---"_s;
    }
    void foldedTitles()
    {
        QFETCH(QString, title);
        QFETCH(QString, folded);
        QCOMPARE(NoteDocument::foldedTitle(title), folded);
        Note n = sample();
        n.title = title;
        QCOMPARE(NoteDocument::parse(NoteDocument::render(n), {}).note.title, folded);
    }

    // parse(render(note)) keeps every field that the format carries exactly.
    void roundTripOfGeneratedNotes()
    {
        QRandomGenerator random(20260314);
        const QStringList pieces{u"plain"_s,   u"- [ ] box"_s, u"☐ open"_s,  u"☑ done"_s,
                                 u""_s,        u"---"_s,       u"title: x"_s, u"  indented"_s,
                                 u"# Head"_s,  u"日本語"_s,    u"\U0001F600"_s, u"a\rb"_s,
                                 u"![image](pondrift-img://ABC)"_s, u"\t"_s};
        for (int i = 0; i < 500; ++i) {
            Note n;
            n.color = static_cast<qint64>(random.bounded(20)) - 5;
            n.created = Date{random.bounded(4e9) - 1e9};
            n.modified = Date{random.bounded(4e9)};
            n.archived = random.bounded(2);
            n.pinned = random.bounded(2);
            n.textDirection = TextDirection::all[random.bounded(3)];
            const double orders[] = {0.0, -1.0, 1e16, 1e-5, random.generateDouble() * 1e6 - 5e5,
                                     -random.generateDouble(), std::ldexp(1.0, -1074),
                                     std::numeric_limits<double>::max()};
            n.order = orders[random.bounded(8)];
            QStringList lines;
            const int count = random.bounded(6);
            for (int l = 0; l < count; ++l) {
                QString line = pieces[random.bounded(pieces.size())];
                // A body line in Markdown box form would come back as a task line by design.
                if (line.startsWith(u"- ["_s))
                    line.prepend(u"x"_s);
                lines << line;
            }
            n.body = lines.join(u'\n');
            n.title = random.bounded(2) ? pieces[random.bounded(pieces.size())] : QString();
            const auto back = NoteDocument::parse(NoteDocument::render(n), u"F"_s);
            QVERIFY(back.hasIdentity);
            QCOMPARE(back.note.id, n.id);
            QCOMPARE(back.note.color, n.color);
            QCOMPARE(back.note.archived, n.archived);
            QCOMPARE(back.note.pinned, n.pinned);
            QCOMPARE(back.note.order, n.order);
            QCOMPARE(back.note.textDirection, n.textDirection);
            QCOMPARE(back.note.body, n.body);
            QCOMPARE(back.note.modified, IsoStamp::wholeSecond(n.modified));
            QCOMPARE(back.note.created, IsoStamp::wholeSecond(n.created));
        }
    }
};

QTEST_GUILESS_MAIN(TestNoteDocument)
#include "tst_notedocument.moc"
