#include "app/CommandLine.h"
#include "app/UrlScheme.h"
#include "support/TestFiles.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;
using UrlScheme::Command;
using UrlScheme::Refusal;

Q_DECLARE_METATYPE(UrlScheme::Command)
Q_DECLARE_METATYPE(UrlScheme::Refusal)

// The pondrift: URLs other programs send, and the command line that makes them.
class TestUrlScheme : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void urlsAreReadIntoCommands_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<Command>("command");
        QTest::addColumn<QString>("text");
        const auto row = [](const char* name, const QString& url, Command command,
                            const QString& text = {}) {
            QTest::newRow(name) << url << command << text;
        };
        row("a new note takes its text", u"pondrift://new?text=Buy%20milk"_s, Command::NewNote,
            u"Buy milk"_s);
        row("a plus sign stays a plus sign", u"pondrift://new?text=1+1%2B1"_s, Command::NewNote,
            u"1+1+1"_s);
        row("escaped UTF-8 becomes its characters",
            u"pondrift://new?text=%E4%BD%A0%E5%A5%BD%F0%9F%90%9F"_s, Command::NewNote, u"你好🐟"_s);
        row("escapes in lower case count too", u"pondrift://new?text=%c3%a9"_s, Command::NewNote,
            u"é"_s);
        row("characters left unescaped are taken as typed",
            u"pondrift://new?text=two words, ünïcode\nand a line"_s, Command::NewNote,
            u"two words, ünïcode\nand a line"_s);
        row("escaped delimiters are text", u"pondrift://new?text=a%26b%3Dc%23d%3Fe%25"_s,
            Command::NewNote, u"a&b=c#d?e%"_s);
        row("the first text wins", u"pondrift://new?text=first&text=second"_s, Command::NewNote,
            u"first"_s);
        row("other items are ignored, in any place", u"pondrift://new?x=1&text=mine&y"_s,
            Command::NewNote, u"mine"_s);
        row("an item name may be escaped", u"pondrift://new?te%78t=named"_s, Command::NewNote,
            u"named"_s);
        row("an '=' in the value belongs to it", u"pondrift://new?text=a=b"_s, Command::NewNote,
            u"a=b"_s);
        row("a leading byte order mark is part of the text", u"pondrift://new?text=%EF%BB%BFx"_s,
            Command::NewNote, u"\uFEFFx"_s);
        row("the path and the fragment are never looked at",
            u"pondrift://new/some/path?text=kept#text=not"_s, Command::NewNote, u"kept"_s);
        row("a user and a port around the host do not hide it", u"pondrift://me@new:80?text=hi"_s,
            Command::NewNote, u"hi"_s);
        row("new with empty text opens quick capture", u"pondrift://new?text="_s, Command::Capture);
        row("new with a text item without value opens quick capture", u"pondrift://new?text"_s,
            Command::Capture);
        row("new without any query opens quick capture", u"pondrift://new"_s, Command::Capture);
        row("new whose text item is not first-named 'text' opens quick capture",
            u"pondrift://new?Text=no"_s, Command::Capture);
        row("all", u"pondrift://all"_s, Command::AllNotes);
        row("settings, even with a path", u"pondrift://settings/general"_s, Command::Settings);
        row("the text of a command that ignores it is not checked", u"pondrift://all?text=%FF"_s,
            Command::AllNotes);
    }
    void urlsAreReadIntoCommands()
    {
        QFETCH(QString, url);
        QFETCH(Command, command);
        QFETCH(QString, text);
        const UrlScheme::Parsed parsed = UrlScheme::parse(url);
        QCOMPARE(parsed.refusal, Refusal::None);
        QCOMPARE(parsed.command, command);
        QCOMPARE(parsed.text, text);
    }

    void urlsThatDoNotQualifyAreRefusedWithTheirReason_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<Refusal>("refusal");
        const auto row = [](const char* name, const QString& url, Refusal refusal) {
            QTest::newRow(name) << url << refusal;
        };
        row("another scheme", u"https://new?text=a"_s, Refusal::NotPondrift);
        row("a scheme that only starts the same", u"pondrifts://new?text=a"_s,
            Refusal::NotPondrift);
        row("the scheme in another case", u"Pondrift://new?text=a"_s, Refusal::NotPondrift);
        row("the empty string", QString(), Refusal::NotPondrift);
        row("no authority", u"pondrift:new?text=a"_s, Refusal::NoHost);
        row("an empty host", u"pondrift:///new?text=a"_s, Refusal::NoHost);
        row("only a port", u"pondrift://:80"_s, Refusal::NoHost);
        row("an unknown command", u"pondrift://delete?text=a"_s, Refusal::UnknownCommand);
        row("a command in another case", u"pondrift://NEW?text=a"_s, Refusal::UnknownCommand);
        row("a command with something after it", u"pondrift://news?text=a"_s,
            Refusal::UnknownCommand);
        row("a '%' at the end", u"pondrift://new?text=50%"_s, Refusal::BadEscape);
        row("a '%' with one digit", u"pondrift://new?text=%4"_s, Refusal::BadEscape);
        row("a '%' with no hex after it", u"pondrift://new?text=%zz"_s, Refusal::BadEscape);
        row("a broken escape in an item that is not the text", u"pondrift://new?x=%G1&text=a"_s,
            Refusal::BadEscape);
        row("a byte that is never UTF-8", u"pondrift://new?text=ok%FF"_s, Refusal::NotUtf8);
        row("a sequence cut short", u"pondrift://new?text=%E4%BD"_s, Refusal::NotUtf8);
        row("an overlong form", u"pondrift://new?text=%C0%AF"_s, Refusal::NotUtf8);
        row("a surrogate encoded in UTF-8", u"pondrift://new?text=%ED%A0%80"_s, Refusal::NotUtf8);
        row("text one byte over the limit",
            u"pondrift://new?text="_s + QString(UrlScheme::maxTextBytes + 1, u'a'),
            Refusal::TooLong);
        row("an address too long to hold any text under the limit",
            u"pondrift://all?x="_s + QString(4 * UrlScheme::maxTextBytes, u'a'), Refusal::TooLong);
    }
    void urlsThatDoNotQualifyAreRefusedWithTheirReason()
    {
        QFETCH(QString, url);
        QFETCH(Refusal, refusal);
        const UrlScheme::Parsed parsed = UrlScheme::parse(url);
        QCOMPARE(parsed.refusal, refusal);
        QVERIFY(parsed.text.isEmpty());
        QVERIFY(!UrlScheme::describe(refusal).isEmpty());
    }

    void theLongestTextIsTaken()
    {
        // Counted in UTF-8 bytes: a character of three bytes fills the limit three times as fast.
        const QString exact(UrlScheme::maxTextBytes / 2, u'é');
        const UrlScheme::Parsed taken = UrlScheme::parse(UrlScheme::newNoteUrl(exact));
        QCOMPARE(taken.refusal, Refusal::None);
        QCOMPARE(taken.text, exact);
        QCOMPARE(UrlScheme::parse(UrlScheme::newNoteUrl(exact + u'a')).refusal, Refusal::TooLong);
    }

    void anyTextSurvivesTheUrlMadeForIt_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("every delimiter") << u"a&b=c#d?e%f+g/h:i@j k"_s;
        QTest::newRow("text that looks escaped") << u"%41%zz%"_s;
        QTest::newRow("characters outside the basic plane") << u"🐟 𝄞"_s;
        QTest::newRow("a NUL character") << u"a\0b"_s;
    }
    void anyTextSurvivesTheUrlMadeForIt()
    {
        QFETCH(QString, text);
        const UrlScheme::Parsed parsed = UrlScheme::parse(UrlScheme::newNoteUrl(text));
        QCOMPARE(parsed.refusal, Refusal::None);
        QCOMPARE(parsed.command, Command::NewNote);
        QCOMPARE(parsed.text, text);
    }

    void theCommandLineBecomesUrls_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QStringList>("urls");
        QTest::addColumn<bool>("help");
        QTest::addColumn<QString>("error");
        QTest::newRow("URLs pass through in order, good or not")
            << QStringList{u"pondrift://all"_s, u"nonsense"_s}
            << QStringList{u"pondrift://all"_s, u"nonsense"_s} << false << QString();
        QTest::newRow("--capture is the capture URL")
            << QStringList{u"--capture"_s} << QStringList{u"pondrift://capture"_s} << false
            << QString();
        QTest::newRow("--new takes the next argument, whatever it holds")
            << QStringList{u"--new"_s, u"--capture & more"_s, u"pondrift://all"_s}
            << QStringList{u"pondrift://new?text=--capture%20%26%20more"_s, u"pondrift://all"_s}
            << false << QString();
        QTest::newRow("after -- everything is a URL")
            << QStringList{u"--"_s, u"--capture"_s} << QStringList{u"--capture"_s} << false
            << QString();
        QTest::newRow("--help asks for the usage")
            << QStringList{u"--help"_s} << QStringList{} << true << QString();
        QTest::newRow("--new at the end lacks its text")
            << QStringList{u"--new"_s} << QStringList{} << false
            << u"--new needs the note's text after it"_s;
        QTest::newRow("an unknown option is an error, not a URL")
            << QStringList{u"pondrift://all"_s, u"--nwe"_s} << QStringList{u"pondrift://all"_s}
            << false << u"unknown option --nwe"_s;
    }
    void theCommandLineBecomesUrls()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QStringList, urls);
        QFETCH(bool, help);
        QFETCH(QString, error);
        const CommandLine::Parsed parsed = CommandLine::parse(arguments);
        QCOMPARE(parsed.urls, urls);
        QCOMPARE(parsed.help, help);
        QCOMPARE(parsed.error, error);
    }

    // Without these two lines a link clicked in a browser never reaches the program.
    void theDesktopEntryHandsLinksToTheProgram()
    {
        const QStringList lines =
            QString::fromUtf8(TestFiles::read(QStringLiteral(PONDRIFT_SOURCE_DIR)
                                              + u"/resources/app.pondrift.Pondrift.desktop"_s))
                .split(u'\n');
        QVERIFY(lines.contains(u"Exec=pondrift %u"_s));
        QVERIFY(lines.contains(u"MimeType=x-scheme-handler/"_s + UrlScheme::scheme + u';'));
    }
};

QTEST_GUILESS_MAIN(TestUrlScheme)
#include "tst_urlscheme.moc"
