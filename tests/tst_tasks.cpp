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
        QTest::newRow("indentation kept both ways")
            << u"  - [ ] a\n\t- [x] b"_s << u"  ☐ a\n\t☑ b"_s << u"  - [ ] a\n\t- [x] b"_s;
        QTest::newRow("star bullet and capital X read as done, written as hyphen and x")
            << u"* [x] a\n- [X] b"_s << u"☑ a\n☑ b"_s << u"- [x] a\n- [x] b"_s;
        QTest::newRow("tabs between the parts") << u"-\t[ ]\tx"_s << u"☐ x"_s << u"- [ ] x"_s;
        // A box with nothing after it, other letters, numbered items, a box in mid-line, and
        // a stored box without its blank.
        const QString noTasks = u"- [ ]\n- [y] a\n1. [ ] b\nsay - [ ] no\n☐x\n☑"_s;
        QTest::newRow("lines that are no task stay as they are") << noTasks << noTasks << noTasks;
    }
    void conversions()
    {
        QFETCH(QString, markdown);
        QFETCH(QString, stored);
        QFETCH(QString, backAgain);
        QCOMPARE(Tasks::fromMarkdown(markdown), stored);
        QCOMPARE(Tasks::toMarkdown(stored), backAgain);
    }

    void markerAndStripped_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<bool>("isTask");
        QTest::addColumn<QString>("stripped");
        QTest::newRow("an open box, blanks trimmed")
            << u"☐  buy milk \t"_s << true << u"buy milk"_s;
        QTest::newRow("after a blank: no task, kept untrimmed")
            << u" ☐ a "_s << false << u" ☐ a "_s;
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
