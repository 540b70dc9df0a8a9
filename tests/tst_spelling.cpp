#include "editor/EditorBridge.h"
#include "editor/SpellRanges.h"
#include "editor/ui/NoteSpellCheck.h"
#include "editor/ui/NoteTextView.h"
#include "images/ImageStore.h"
#include "platform/Log.h"
#include "platform/qt/QtFiles.h"
#include "platform/xdg/HunspellSpellChecker.h"
#include "support/ManualScheduler.h"
#include "support/RecordingDesktop.h"
#include "support/TestFiles.h"
#include "support/WordListSpellChecker.h"

#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>

using namespace Qt::Literals::StringLiterals;

namespace {

QFont body(double size)
{
    QFont font(u"DejaVu Sans"_s);
    font.setPointSizeF(size * 0.75);
    return font;
}

QStringList textsOf(const QString& text, const QList<SpellChecker::Range>& ranges)
{
    QStringList words;
    for (const SpellChecker::Range& r : ranges)
        words.append(text.sliced(r.start, r.length));
    return words;
}

} // namespace

class SpellingTest : public QObject {
    Q_OBJECT

    QTemporaryDir dir;
    QtFiles files;
    ImageStore images{dir.filePath(u"Images"_s), files};
    RecordingDesktop desktop;
    EditorBridge bridge;

    struct Note {
        ManualScheduler clock;
        std::unique_ptr<NoteTextView> view;
        std::unique_ptr<NoteSpellCheck> spelling;
        QList<QTextEdit::ExtraSelection> shown;
        int shows = 0;

        QString underlined() const
        {
            QStringList words;
            for (const QTextEdit::ExtraSelection& s :
                 spelling ? shown : view->selectionLayer(u"spelling"_s))
                words.append(s.cursor.selectedText());
            return words.join(u" | ");
        }
        void edit(qsizetype from, qsizetype to, const QString& replacement)
        {
            QTextCursor cursor = view->textCursor();
            cursor.setPosition(static_cast<int>(from));
            cursor.setPosition(static_cast<int>(to), QTextCursor::KeepAnchor);
            view->setTextCursor(cursor);
            view->textCursor().insertText(replacement);
        }
    };

    std::unique_ptr<Note> open(const QString& text, SpellChecker& checker, QSize size = {420, 500},
                               bool throughView = false)
    {
        auto note = std::make_unique<Note>();
        NoteTextView::Configuration configuration{QColor(30, 30, 30), 14,  true, {},
                                                  u"yellow"_s,        body};
        note->view = std::make_unique<NoteTextView>(text, configuration, &bridge, desktop, images);
        note->view->resize(size);
        note->view->show();
        QTest::qVerify(QTest::qWaitForWindowExposed(note->view.get()), "the note is shown", "",
                       __FILE__, __LINE__);
        if (throughView) {
            note->view->checkSpelling(checker, note->clock);
            return note;
        }
        Note* raw = note.get();
        note->spelling = std::make_unique<NoteSpellCheck>(
            *note->view, checker, note->clock,
            [raw](const QList<QTextEdit::ExtraSelection>& selections) {
                raw->shown = selections;
                ++raw->shows;
            });
        return note;
    }

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void onlyProseIsChecked_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<bool>("inFence");
        QTest::addColumn<QStringList>("checked");

        QTest::newRow("plain prose is checked word by word")
            << u"Teh cat sat"_s << false << QStringList{u"Teh"_s, u"cat"_s, u"sat"_s};
        QTest::newRow("a code span is skipped")
            << u"run `grpe -n` now"_s << false << QStringList{u"run"_s, u"now"_s};
        QTest::newRow("a link's title is checked, its address is not")
            << u"see [the docz](https://exmaple.com/pagez) here"_s << false
            << QStringList{u"see"_s, u"the"_s, u"docz"_s, u"here"_s};
        QTest::newRow("mail addresses and mentions are skipped")
            << u"mail bobb@exmaple.com or bobb@localhost or @annz soon"_s << false
            << QStringList{u"mail"_s, u"or"_s, u"or"_s, u"soon"_s};
        QTest::newRow("an image token is skipped whole, a word against it is not")
            << u"photo:![image](pondrift-img://ABCD-12) caption"_s << false
            << QStringList{u"photo"_s, u"caption"_s};
        QTest::newRow("markers are not part of the words they wrap")
            << u"# Heding and **bolld** and *itallic* and ~~strukk~~"_s << false
            << QStringList{u"Heding"_s,  u"and"_s, u"bolld"_s, u"and"_s,
                           u"itallic"_s, u"and"_s, u"strukk"_s};
        QTest::newRow("Chinese, kana and hangul are never checked, the English around them is")
            << u"中文笔记 with 混合mixed カタカナ ひらがな 한국어"_s << false
            << QStringList{u"with"_s, u"mixed"_s};
        QTest::newRow("numbers, names from code, file names and acronyms are no words")
            << u"call foo_bar at 10am on main.cpp in /usr/lib/x C:\\Userz via std::vectr NASA "
               u"and/or e.g. bobb"_s
            << false << QStringList{u"call"_s, u"at"_s,  u"on"_s, u"in"_s,
                                    u"via"_s,  u"and"_s, u"or"_s, u"bobb"_s};
        QTest::newRow("a word with an apostrophe stays whole")
            << u"don't stop"_s << false << QStringList{u"don't"_s, u"stop"_s};
        QTest::newRow("a fence line and its language are skipped")
            << u"```pythn"_s << false << QStringList{};
        QTest::newRow("a line of fenced code is skipped")
            << u"prnt the helo"_s << true << QStringList{};
    }

    void onlyProseIsChecked()
    {
        QFETCH(QString, line);
        QFETCH(bool, inFence);
        QFETCH(QStringList, checked);
        const QString prose = SpellRanges::prose(line, inFence);
        QCOMPARE(prose.size(), line.size());
        WordListSpellChecker knowsNothing({});
        QCOMPARE(textsOf(line, knowsNothing.misspelled(prose)), checked);
    }

    void fencedCodeFollowsTheNote_data()
    {
        QTest::addColumn<QStringList>("lines");
        QTest::addColumn<QList<bool>>("fenced");

        QTest::newRow("a fence opens, the same fence closes, both are code")
            << QStringList{u"a"_s, u"```"_s, u"x"_s, u"```"_s, u"b"_s}
            << QList<bool>{false, true, true, true, false};
        QTest::newRow("a tilde fence is not closed by backticks")
            << QStringList{u"~~~"_s, u"```"_s, u"x"_s, u"~~~"_s, u"b"_s}
            << QList<bool>{true, true, true, true, false};
        QTest::newRow("a fence never closed runs to the end")
            << QStringList{u"a"_s, u"  ```js"_s, u"x"_s} << QList<bool>{false, true, true};
        QTest::newRow("four blanks before it make no fence")
            << QStringList{u"    ```"_s, u"x"_s} << QList<bool>{false, false};
    }

    void fencedCodeFollowsTheNote()
    {
        QFETCH(QStringList, lines);
        QFETCH(QList<bool>, fenced);
        QCOMPARE(SpellRanges::inFencedCode(lines), fenced);
    }

    void aMisspellingIsUnderlinedAfterAPauseAndAFixRemovesIt()
    {
        WordListSpellChecker checker({u"so"_s, u"the"_s, u"cat"_s, u"dog"_s});
        auto note = open(u"the cat\nteh dog"_s, checker, {420, 500}, true);
        QCOMPARE(note->underlined(), QString());
        note->clock.advance(0);
        QCOMPARE(note->underlined(), u"teh"_s);
        QCOMPARE(note->view->selectionLayer(u"spelling"_s).first().format.underlineStyle(),
                 QTextCharFormat::SpellCheckUnderline);

        // The fix is not checked while typing goes on, and the underline moves with the text.
        checker.asked.clear();
        note->edit(0, 0, u"so "_s);
        note->edit(11, 14, u"the"_s);
        note->clock.advance(NoteSpellCheck::settleSeconds / 2);
        QVERIFY(checker.asked.isEmpty());
        note->clock.advance(NoteSpellCheck::settleSeconds);
        QCOMPARE(note->underlined(), QString());

        // Undo brings the text back, and its underline with it.
        note->view->undo();
        note->clock.advance(NoteSpellCheck::settleSeconds);
        QCOMPARE(note->underlined(), u"teh"_s);
        QCOMPARE(note->view->spelling()->marked(), QList<TextRange>{TextRange(11, 3)});
    }

    void anEditRechecksItsLinesAndAFenceAboveTakesThemOut()
    {
        WordListSpellChecker checker({u"one"_s, u"two"_s, u"three"_s, u"four"_s});
        auto note = open(u"one one\ntwo two\nthree three\nfour four"_s, checker);
        note->clock.advance(0);
        QCOMPARE(checker.asked.size(), 8);

        checker.asked.clear();
        note->edit(10, 10, u"x"_s); // "twxo" in mid-line
        note->clock.advance(NoteSpellCheck::settleSeconds);
        QCOMPARE(checker.asked, (QStringList{u"twxo"_s, u"two"_s}));
        QCOMPARE(note->underlined(), u"twxo"_s);

        note->edit(7, 7, u"\nwrongg\nmoar"_s); // a paste of two lines
        note->clock.advance(NoteSpellCheck::settleSeconds);
        QCOMPARE(note->underlined(), u"wrongg | moar | twxo"_s);

        note->edit(8, 8, u"```\n"_s);
        note->clock.advance(NoteSpellCheck::settleSeconds);
        QCOMPARE(note->underlined(), QString());

        note->edit(8, 9, QString()); // "``": no fence any more
        note->clock.advance(NoteSpellCheck::settleSeconds);
        QCOMPARE(note->underlined(), u"wrongg | moar | twxo"_s);
    }

    void aLongNoteIsCheckedInTurnsFromWhatIsInView()
    {
        WordListSpellChecker checker({});
        const int lines = NoteSpellCheck::linesPerTurn * 2 + 10;
        QStringList text;
        for (int i = 0; i < lines; ++i)
            text.append(u"wrongg"_s);
        auto note = open(text.join(u'\n'), checker, {420, 200});
        // Scrolled to the middle: the lines in view come first.
        QTextCursor middle(note->view->document()->findBlockByNumber(lines - 5));
        note->view->setTextCursor(middle);
        note->view->ensureCursorVisible();
        // Each turn shows what is checked so far; the first turn holds the lines in view.
        QList<QList<TextRange>> turns;
        note->spelling = std::make_unique<NoteSpellCheck>(
            *note->view, checker, note->clock,
            [&](const QList<QTextEdit::ExtraSelection>& selections) {
                QList<TextRange> marked;
                for (const QTextEdit::ExtraSelection& s : selections)
                    marked.append(TextRange{s.cursor.selectionStart(),
                                            s.cursor.selectionEnd() - s.cursor.selectionStart()});
                turns.append(marked);
            });
        note->clock.advance(0);
        QCOMPARE(turns.size(), 3);
        QCOMPARE(turns[0].size(), NoteSpellCheck::linesPerTurn);
        QCOMPARE(turns[2].size(), lines);
        const qsizetype inView = note->view->cursorForPosition(QPoint(5, 5)).position();
        QVERIFY(inView > 0);
        QVERIFY(std::any_of(turns[0].begin(), turns[0].end(),
                            [&](TextRange r) { return r.contains(inView); }));
        QVERIFY(!note->spelling->isPending());
    }

    void withoutADictionarySpellingIsOff()
    {
        WordListSpellChecker off({}, false);
        auto note = open(u"teh cat"_s, off);
        QCOMPARE(note->clock.pendingCount(), 0);
        note->edit(0, 0, u"x"_s);
        note->clock.advance(10);
        QCOMPARE(note->shows, 0);
        QVERIFY(off.asked.isEmpty());
    }

    void hunspellReadsItsDictionaries_data()
    {
        QTest::addColumn<QByteArray>("aff");
        QTest::addColumn<QByteArray>("dic");
        QTest::addColumn<bool>("available");
        QTest::addColumn<QString>("logged");

        QTest::newRow("a sound dictionary opens")
            << "SET UTF-8\n"_ba
            << "3\nhello\nworld\ncafé\n"_ba << true << QString();
        QTest::newRow("a Latin-1 dictionary opens")
            << "SET ISO8859-1\n"_ba
            << "3\nhello\nworld\ncaf\xe9\n"_ba << true << QString();
        QTest::newRow("a word list without its count is broken, not empty")
            << "SET UTF-8\n"_ba
            << "hello\nworld\n"_ba << false << u"cannot be read"_s;
        QTest::newRow("an encoding Qt cannot write leaves the dictionary out")
            << "SET NO-SUCH-CODE\n"_ba
            << "2\nhello\nworld\n"_ba << false << u"encoding"_s;
    }

    void hunspellReadsItsDictionaries()
    {
        QFETCH(QByteArray, aff);
        QFETCH(QByteArray, dic);
        QFETCH(bool, available);
        QFETCH(QString, logged);
        QTemporaryDir folder;
        QVERIFY(TestFiles::write(folder.filePath(u"xx_XX.aff"_s), aff)
                && TestFiles::write(folder.filePath(u"xx_XX.dic"_s), dic));
        QStringList lines;
        const Log::Capture capture([&](const QString& line) { lines.append(line); });

        HunspellSpellChecker checker(
            [] {
                return QStringList{u"yy_YY"_s, u"xx_XX"_s};
            },
            folder.path());
        QCOMPARE(checker.available(), available);
        if (logged.isEmpty()) {
            // A language that is not installed is skipped without a word.
            QCOMPARE(lines, QStringList{});
            QCOMPARE(checker.openedLanguages(), QStringList{u"xx_XX"_s});
            const QString text = u"hello wrld café 中文 ça"_s;
            QCOMPARE(textsOf(text, checker.misspelled(text)), (QStringList{u"wrld"_s, u"ça"_s}));
        } else {
            QCOMPARE(lines.size(), 1);
            QVERIFY2(lines.first().contains(logged), qPrintable(lines.first()));
            QCOMPARE(checker.misspelled(u"hello wrld"_s), QList<SpellChecker::Range>{});
        }
    }

    void hunspellWithTheSystemsEnglish_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("marked");
        QTest::newRow("\"teh\" is marked, \"the\" is not")
            << u"teh cat and the dog"_s << QStringList{u"teh"_s};
        QTest::newRow("a typographic apostrophe is an apostrophe")
            << u"don’t dont"_s << QStringList{u"dont"_s};
    }

    void hunspellWithTheSystemsEnglish()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, marked);
        const QString folder = HunspellSpellChecker::systemFolder();
        if (!QFile::exists(folder + u"/en_US.dic"_s))
            QSKIP("No English Hunspell dictionary in /usr/share/hunspell (Debian: hunspell-en-us)");
        HunspellSpellChecker checker([] { return QStringList{u"en_US"_s}; });
        QVERIFY(checker.available());
        QCOMPARE(textsOf(text, checker.misspelled(text)), marked);
    }
};

QTEST_MAIN(SpellingTest)
#include "tst_spelling.moc"
