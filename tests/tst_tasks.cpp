#include "notes/Tasks.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

class TestTasks : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void conversions_data()
    {
        QTest::addColumn<QString>("markdown");
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("backAgain");
        QTest::newRow("open and done")
            << u"- [ ] milk\n- [x] bread"_s << u"☐ milk\n☑ bread"_s << u"- [ ] milk\n- [x] bread"_s;
        QTest::newRow("indentation kept both ways")
            << u"  - [ ] a\n\t- [x] b"_s << u"  ☐ a\n\t☑ b"_s << u"  - [ ] a\n\t- [x] b"_s;
        QTest::newRow("star bullet and capital X read as done, written as hyphen and x")
            << u"* [x] a\n- [X] b"_s << u"☑ a\n☑ b"_s << u"- [x] a\n- [x] b"_s;
        QTest::newRow("a box with nothing after it is no task")
            << u"- [ ]"_s << u"- [ ]"_s << u"- [ ]"_s;
        QTest::newRow("other letters and numbered items stay")
            << u"- [y] a\n1. [ ] b"_s << u"- [y] a\n1. [ ] b"_s << u"- [y] a\n1. [ ] b"_s;
        QTest::newRow("tabs between the parts")
            << u"-\t[ ]\tx"_s << u"☐ x"_s << u"- [ ] x"_s;
        QTest::newRow("only at line starts")
            << u"say - [ ] no"_s << u"say - [ ] no"_s << u"say - [ ] no"_s;
    }
    void conversions()
    {
        QFETCH(QString, markdown);
        QFETCH(QString, stored);
        QFETCH(QString, backAgain);
        QCOMPARE(Tasks::fromMarkdown(markdown), stored);
        QCOMPARE(Tasks::toMarkdown(stored), backAgain);
    }

    void boxWithoutBlankIsNotConverted()
    {
        QCOMPARE(Tasks::toMarkdown(u"☐x\n☑"_s), u"☐x\n☑"_s);
    }

    void markerAndStripped_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<bool>("isTask");
        QTest::addColumn<QString>("stripped");
        QTest::newRow("open") << u"☐  buy milk \t"_s << true << u"buy milk"_s;
        QTest::newRow("done without blank") << u"☑x"_s << true << u"x"_s;
        QTest::newRow("leading blank is no task") << u" ☐ a"_s << false << u" ☐ a"_s;
        QTest::newRow("empty") << QString() << false << QString();
        QTest::newRow("plain line stays untrimmed") << u"  plain "_s << false << u"  plain "_s;
    }
    void markerAndStripped()
    {
        QFETCH(QString, line);
        QFETCH(bool, isTask);
        QFETCH(QString, stripped);
        QCOMPARE(Tasks::isTask(line), isTask);
        QCOMPARE(Tasks::stripped(line), stripped);
    }
};

QTEST_GUILESS_MAIN(TestTasks)
#include "tst_tasks.moc"
