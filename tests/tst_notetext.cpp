#include "l10n/L10n.h"
#include "notes/Fmt.h"
#include "notes/NoteText.h"
#include "support/NoteBuilder.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

class TestNoteText : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // The title a note shows, and the preview of the rest.
    void shown_data()
    {
        QTest::addColumn<bool>("preview");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("expected");
        const auto title = [](const char* name, const QString& title, const QString& body,
                              const QString& expected) {
            QTest::newRow(name) << false << title << body << expected;
        };
        title("a custom title wins, trimmed", u"  Plan \n"_s, u"body"_s, u"Plan"_s);
        title("a blank title falls back to the body", u" \t"_s, u"Milk"_s, u"Milk"_s);
        title("an empty note is untitled", {}, {}, L10n::text(u"note.untitled"_s));
        title("image tokens go, and a line of only tokens is skipped", {},
              u"![image](pondrift-img://A)\n![image|20](pondrift-img://B) Trip"_s, u"Trip"_s);
        title("a bare heading mark is skipped, and the next heading loses its marks", {},
              u"# \n### Trip"_s, u"Trip"_s);
        title("seven hashes are no heading", {}, u"####### x"_s, u"# x"_s);
        title("a line of only a box is skipped, and a box and its blank go", {}, u"☐\n☑ bread"_s,
              u"bread"_s);
        title("blank lines and carriage returns are skipped", {}, u"\r\n \t\r\nText"_s, u"Text"_s);
        // Each flag is two code points and four UTF-16 units, but one character.
        title("60 flags are 60 characters", {}, u"🇩🇪"_s.repeated(60), u"🇩🇪"_s.repeated(60));
        title("61 flags are cut between flags", {}, u"🇩🇪"_s.repeated(61),
              u"🇩🇪"_s.repeated(60) + u"…"_s);
        const auto preview = [](const char* name, const QString& title, const QString& body,
                                const QString& expected) {
            QTest::newRow(name) << true << title << body << expected;
        };
        preview("without a custom title the first line is the title", {},
                u"one\n\n  \ntwo\nthree"_s, u"two three"_s);
        preview("with one every line shows; tokens go, lines keep their inner blanks", u"T"_s,
                u"a ![image](pondrift-img://X)\n  b"_s, u"a    b"_s);
        preview("a preview of 121 characters is cut", u"T"_s, u"e\u0301"_s.repeated(121),
                u"e\u0301"_s.repeated(120) + u"…"_s);
    }
    void shown()
    {
        QFETCH(bool, preview);
        QFETCH(QString, title);
        QFETCH(QString, body);
        QFETCH(QString, expected);
        const Note note = aNote().title(title).body(body);
        QCOMPARE(preview ? NoteText::preview(note) : NoteText::displayTitle(note), expected);
    }

    void taskProgressCountsBoxesAtLineStarts()
    {
        const Note note = aNote().body(u"☐ a\n☑ b\n☑ c\nplain\n ☐ indented\n\t☑ tabbed"_s);
        QCOMPARE(NoteText::taskProgress(note), std::make_optional(std::pair{2, 3}));
        QCOMPARE(NoteText::taskProgress(aNote().body(u"plain ☐"_s)), std::nullopt);
    }

    void imageTokens()
    {
        QVERIFY(NoteText::isImageTokenLine(u" \t![image|240](pondrift-img://A-1)  "_s));
        QVERIFY(
            !NoteText::isImageTokenLine(u"![image](pondrift-img://A)![image](pondrift-img://B)"_s));
        QVERIFY(!NoteText::isImageTokenLine(u"![image](pondrift-img://A) x"_s));
        QVERIFY(!NoteText::isImageTokenLine(u"   "_s));
        QCOMPARE(NoteText::strippingImageTokens(
                     u"a ![image](pondrift-img://A) b ![image|3.5](pondrift-img://B)c"_s),
                 u"a  b c"_s);
    }

    void direction_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<Qt::LayoutDirection>("strong"); // LayoutDirectionAuto: none decides
        const auto row = [](const char* name, const QString& text, Qt::LayoutDirection strong) {
            QTest::newRow(name) << text << strong;
        };
        row("digits then Hebrew is right to left", u"123 שלום abc"_s, Qt::RightToLeft);
        row("a right-to-left mark decides before letters", u"\u200Fabc"_s, Qt::RightToLeft);
        row("a left-to-right mark decides before Hebrew", u"\u200Eשלום"_s, Qt::LeftToRight);
        row("an astral right-to-left letter (Phoenician)", u"1 \U00010900"_s, Qt::RightToLeft);
        row("an astral left-to-right letter (Gothic)", u"\U00010330 שלום"_s, Qt::LeftToRight);
        row("digits and punctuation decide nothing", u"12 «34»!"_s, Qt::LayoutDirectionAuto);
        // Between Arabic and Devanagari lie more right-to-left scripts (Syriac, Thaana, N'Ko,
        // ...); the letters just outside that stretch decide left to right.
        row("N'Ko's last letter is a modifier", u"1 \u07FAa"_s, Qt::RightToLeft);
        row("the last letter before Devanagari (Arabic Extended-A)", u"1 \u08C9a"_s,
            Qt::RightToLeft);
        row("Armenian, just before Hebrew, is left to right", u"1 \u0587\u05D0"_s, Qt::LeftToRight);
        row("Devanagari's first spacing mark is left to right", u"1 \u0903\u05D0"_s,
            Qt::LeftToRight);
    }
    void direction()
    {
        QFETCH(QString, text);
        QFETCH(Qt::LayoutDirection, strong);
        QCOMPARE(NoteText::firstStrong(text).value_or(Qt::LayoutDirectionAuto), strong);
        // An automatic note follows the text, and neutral text aligns left.
        const NoteText::ParagraphStyle style =
            strong == Qt::RightToLeft
                ? NoteText::ParagraphStyle{Qt::RightToLeft, Qt::AlignRight | Qt::AlignAbsolute}
                : NoteText::ParagraphStyle{Qt::LeftToRight, Qt::AlignLeft | Qt::AlignAbsolute};
        QCOMPARE(NoteText::paragraphStyle(NoteTextDirection::Automatic, text), style);
        // An explicit direction ignores the text.
        QCOMPARE(NoteText::paragraphStyle(NoteTextDirection::LeftToRight, text).direction,
                 Qt::LeftToRight);
    }

    void ago_data()
    {
        QTest::addColumn<QDateTime>("then");
        QTest::addColumn<QString>("key"); // empty: "date.just_now"
        QTest::addColumn<int>("count");
        // Every row is read at noon.
        const QDateTime noon(QDate(2026, 3, 15), QTime(12, 0), Qt::LocalTime);
        QTest::newRow("59 seconds is just now") << noon.addSecs(-59) << QString() << 0;
        QTest::newRow("a date in the future is just now") << noon.addDays(3) << QString() << 0;
        QTest::newRow("60 seconds is a minute") << noon.addSecs(-60) << u"date.minutes_ago"_s << 1;
        QTest::newRow("59 minutes 59 is 59 minutes")
            << noon.addSecs(-3599) << u"date.minutes_ago"_s << 59;
        QTest::newRow("23 hours") << noon.addSecs(-23 * 3600 - 59) << u"date.hours_ago"_s << 23;
        QTest::newRow("six days") << noon.addDays(-6) << u"date.days_ago"_s << 6;
        QTest::newRow("thirteen days are a week") << noon.addDays(-13) << u"date.weeks_ago"_s << 1;
        QTest::newRow("a calendar month") << noon.addMonths(-1) << u"date.months_ago"_s << 1;
        QTest::newRow("a day short of a month is weeks")
            << noon.addMonths(-1).addDays(1) << u"date.weeks_ago"_s << 3;
        QTest::newRow("eleven months") << noon.addMonths(-11) << u"date.months_ago"_s << 11;
        QTest::newRow("two years and a bit") << noon.addMonths(-27) << u"date.years_ago"_s << 2;
    }
    void ago()
    {
        QFETCH(QDateTime, then);
        QFETCH(QString, key);
        QFETCH(int, count);
        const QDateTime noon(QDate(2026, 3, 15), QTime(12, 0), Qt::LocalTime);
        const QString expected =
            key.isEmpty() ? L10n::text(u"date.just_now"_s) : L10n::plural(key, count);
        QCOMPARE(Fmt::ago(Date::fromDateTime(then), Date::fromDateTime(noon)), expected);
    }

    // The medium date without its weekday, then the short time without seconds.
    void stampFollowsTheLocale_data()
    {
        QTest::addColumn<QLocale>("locale");
        QTest::addColumn<QString>("start");
        QTest::newRow("English: abbreviated month")
            << QLocale(QLocale::English, QLocale::UnitedStates) << u"Jan 2, 2026, 3:04"_s;
        QTest::newRow("Chinese: year, month and day marks")
            << QLocale(QLocale::Chinese, QLocale::China) << u"2026年1月2日, 03:04"_s;
    }
    void stampFollowsTheLocale()
    {
        QFETCH(QLocale, locale);
        QFETCH(QString, start);
        const QLocale previous;
        QLocale::setDefault(locale);
        const QDateTime local(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::LocalTime);
        const QString stamp = Fmt::stamp(Date::fromDateTime(local));
        QLocale::setDefault(previous);
        QVERIFY2(stamp.startsWith(start) && !stamp.contains(u":05"_s), qPrintable(stamp));
    }
};

QTEST_GUILESS_MAIN(TestNoteText)
#include "tst_notetext.moc"
