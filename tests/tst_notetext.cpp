#include "l10n/L10n.h"
#include "notes/Fmt.h"
#include "notes/NoteText.h"

#include <QStandardPaths>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

Note noteWith(const QString& title, const QString& body)
{
    Note note;
    note.title = title;
    note.body = body;
    return note;
}

} // namespace

class TestNoteText : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void displayTitle_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("expected");
        const QString untitled = L10n::text(u"note.untitled"_s);
        QTest::newRow("a custom title wins, trimmed") << u"  Plan \n"_s << u"body"_s << u"Plan"_s;
        QTest::newRow("a blank title falls back to the body") << u" \t"_s << u"Milk"_s << u"Milk"_s;
        QTest::newRow("a body of only image tokens is untitled")
            << QString() << u"![image](pondrift-img://A)\n![image|20](pondrift-img://B) "_s
            << untitled;
        QTest::newRow("an empty note is untitled") << QString() << QString() << untitled;
        QTest::newRow("a bare heading mark is skipped")
            << QString() << u"# \nSecond"_s << u"Second"_s;
        QTest::newRow("heading marks and the blank after them go")
            << QString() << u"### Trip"_s << u"Trip"_s;
        QTest::newRow("seven hashes are no heading") << QString() << u"####### x"_s << u"# x"_s;
        QTest::newRow("a done box and a blank go") << QString() << u"☑ bread"_s << u"bread"_s;
        QTest::newRow("a line of only a box is skipped") << QString() << u"☐\nnext"_s << u"next"_s;
        QTest::newRow("a token before the text goes")
            << QString() << u"![image](pondrift-img://A) Holiday"_s << u"Holiday"_s;
        QTest::newRow("blank lines and carriage returns are skipped")
            << QString() << u"\r\n \t\r\nText"_s << u"Text"_s;
        QTest::newRow("60 characters stay whole")
            << QString() << u"a"_s.repeated(60) << u"a"_s.repeated(60);
        QTest::newRow("61 characters are cut to 60 and an ellipsis")
            << QString() << u"a"_s.repeated(61) << u"a"_s.repeated(60) + u"…"_s;
        // Each flag is two code points and four UTF-16 units, but one character.
        QTest::newRow("60 flags are 60 characters")
            << QString() << u"🇩🇪"_s.repeated(60) << u"🇩🇪"_s.repeated(60);
        QTest::newRow("61 flags are cut between flags")
            << QString() << u"🇩🇪"_s.repeated(61) << u"🇩🇪"_s.repeated(60) + u"…"_s;
    }
    void displayTitle()
    {
        QFETCH(QString, title);
        QFETCH(QString, body);
        QFETCH(QString, expected);
        QCOMPARE(NoteText::displayTitle(noteWith(title, body)), expected);
    }

    void preview_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("expected");
        QTest::newRow("with a custom title every line shows")
            << u"T"_s << u"one\ntwo"_s << u"one two"_s;
        QTest::newRow("without one the first line is the title")
            << QString() << u"one\n\n  \ntwo\nthree"_s << u"two three"_s;
        QTest::newRow("tokens go, lines keep their inner blanks")
            << u"T"_s << u"a ![image](pondrift-img://X)\n  b"_s << u"a    b"_s;
        QTest::newRow("120 characters stay whole")
            << u"T"_s << u"é"_s.repeated(120) << u"é"_s.repeated(120);
        QTest::newRow("121 characters are cut")
            << u"T"_s << u"e\u0301"_s.repeated(121) << u"e\u0301"_s.repeated(120) + u"…"_s;
    }
    void preview()
    {
        QFETCH(QString, title);
        QFETCH(QString, body);
        QFETCH(QString, expected);
        QCOMPARE(NoteText::preview(noteWith(title, body)), expected);
    }

    void taskProgress_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<int>("done");
        QTest::addColumn<int>("total");
        QTest::newRow("open and done lines") << u"☐ a\n☑ b\n☑ c\nplain"_s << 2 << 3;
        QTest::newRow("indented boxes do not count") << u" ☐ a\n\t☑ b\n☐ c"_s << 0 << 1;
        QTest::newRow("no task line is absent") << u"plain ☐"_s << -1 << -1;
    }
    void taskProgress()
    {
        QFETCH(QString, body);
        QFETCH(int, done);
        QFETCH(int, total);
        const auto progress = NoteText::taskProgress(noteWith({}, body));
        if (total < 0) {
            QVERIFY(!progress);
        } else {
            QVERIFY(progress);
            QCOMPARE(progress->first, done);
            QCOMPARE(progress->second, total);
        }
    }

    void imageTokenLines_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<bool>("isTokenLine");
        QTest::newRow("a token with blanks round it")
            << u" \t![image|240](pondrift-img://A-1)  "_s << true;
        QTest::newRow("two tokens")
            << u"![image](pondrift-img://A)![image](pondrift-img://B)"_s << false;
        QTest::newRow("text after the token") << u"![image](pondrift-img://A) x"_s << false;
        QTest::newRow("blank line") << u"   "_s << false;
    }
    void imageTokenLines()
    {
        QFETCH(QString, line);
        QFETCH(bool, isTokenLine);
        QCOMPARE(NoteText::isImageTokenLine(line), isTokenLine);
    }

    void strippingKeepsSurroundingText()
    {
        QCOMPARE(NoteText::strippingImageTokens(
                     u"a ![image](pondrift-img://A) b ![image|3.5](pondrift-img://B)c"_s),
                 u"a  b c"_s);
    }

    void direction_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("expected"); // Qt::LayoutDirection, or -1 for none
        QTest::newRow("digits then Hebrew is right to left")
            << u"123 שלום abc"_s << int(Qt::RightToLeft);
        QTest::newRow("punctuation then Latin") << u"«¿ hello"_s << int(Qt::LeftToRight);
        QTest::newRow("a right-to-left mark decides before letters")
            << u"\u200Fabc"_s << int(Qt::RightToLeft);
        QTest::newRow("a left-to-right mark decides before Hebrew")
            << u"\u200Eשלום"_s << int(Qt::LeftToRight);
        QTest::newRow("an astral right-to-left letter (Phoenician)")
            << u"1 \U00010900"_s << int(Qt::RightToLeft);
        QTest::newRow("an astral left-to-right letter (Gothic)")
            << u"\U00010330 שלום"_s << int(Qt::LeftToRight);
        QTest::newRow("digits alone decide nothing") << u"12 34!"_s << -1;
        QTest::newRow("empty text") << QString() << -1;
    }
    void direction()
    {
        QFETCH(QString, text);
        QFETCH(int, expected);
        const auto strong = NoteText::firstStrong(text);
        QCOMPARE(strong ? int(*strong) : -1, expected);

        // An automatic note follows the text, and neutral text aligns left.
        const NoteText::ParagraphStyle style =
            NoteText::paragraphStyle(NoteTextDirection::Automatic, text);
        const bool rightToLeft = expected == int(Qt::RightToLeft);
        QCOMPARE(style.direction, rightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
        QCOMPARE(style.alignment, rightToLeft ? Qt::AlignRight | Qt::AlignAbsolute
                                              : Qt::AlignLeft | Qt::AlignAbsolute);
        // An explicit direction ignores the text.
        QCOMPARE(NoteText::paragraphStyle(NoteTextDirection::LeftToRight, text).direction,
                 Qt::LeftToRight);
    }

    void ago_data()
    {
        QTest::addColumn<QDateTime>("then");
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<QString>("key"); // empty: "date.just_now"
        QTest::addColumn<int>("count");
        const QDateTime noon(QDate(2026, 3, 15), QTime(12, 0), Qt::LocalTime);
        QTest::newRow("59 seconds is just now") << noon.addSecs(-59) << noon << QString() << 0;
        QTest::newRow("a date in the future is just now")
            << noon.addDays(3) << noon << QString() << 0;
        QTest::newRow("60 seconds is a minute")
            << noon.addSecs(-60) << noon << u"date.minutes_ago"_s << 1;
        QTest::newRow("59 minutes 59 is 59 minutes")
            << noon.addSecs(-3599) << noon << u"date.minutes_ago"_s << 59;
        QTest::newRow("23 hours") << noon.addSecs(-23 * 3600 - 59) << noon << u"date.hours_ago"_s
                                  << 23;
        QTest::newRow("six days") << noon.addDays(-6) << noon << u"date.days_ago"_s << 6;
        QTest::newRow("thirteen days are a week")
            << noon.addDays(-13) << noon << u"date.weeks_ago"_s << 1;
        QTest::newRow("a calendar month")
            << noon.addMonths(-1) << noon << u"date.months_ago"_s << 1;
        QTest::newRow("a day short of a month is weeks")
            << noon.addMonths(-1).addDays(1) << noon << u"date.weeks_ago"_s << 3;
        QTest::newRow("eleven months") << noon.addMonths(-11) << noon << u"date.months_ago"_s << 11;
        QTest::newRow("two years and a bit")
            << noon.addMonths(-27) << noon << u"date.years_ago"_s << 2;
    }
    void ago()
    {
        QFETCH(QDateTime, then);
        QFETCH(QDateTime, now);
        QFETCH(QString, key);
        QFETCH(int, count);
        const QString expected =
            key.isEmpty() ? L10n::text(u"date.just_now"_s) : L10n::plural(key, count);
        QCOMPARE(Fmt::ago(Date::fromDateTime(then), Date::fromDateTime(now)), expected);
    }

    void stampFollowsTheLocale_data()
    {
        QTest::addColumn<QLocale>("locale");
        QTest::addColumn<QString>("date");
        QTest::addColumn<QString>("time");
        QTest::newRow("English: abbreviated month, no weekday")
            << QLocale(QLocale::English, QLocale::UnitedStates) << u"Jan 2, 2026"_s << u"3:04"_s;
        QTest::newRow("Chinese: year, month and day marks, no weekday")
            << QLocale(QLocale::Chinese, QLocale::China) << u"2026年1月2日"_s << u"03:04"_s;
    }
    void stampFollowsTheLocale()
    {
        QFETCH(QLocale, locale);
        QFETCH(QString, date);
        QFETCH(QString, time);
        const QLocale previous;
        QLocale::setDefault(locale);
        const QDateTime local(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::LocalTime);
        const QString stamp = Fmt::stamp(Date::fromDateTime(local));
        QLocale::setDefault(previous);
        QVERIFY2(stamp.startsWith(date), qPrintable(stamp));
        QVERIFY2(stamp.contains(time), qPrintable(stamp));
        QVERIFY2(!stamp.contains(u":05"_s), "the short time has no seconds");
    }
};

QTEST_GUILESS_MAIN(TestNoteText)
#include "tst_notetext.moc"
