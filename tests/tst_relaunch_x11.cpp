#include "support/ProgramOnScreen.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// A window manager on a busy machine may take seconds to answer.
constexpr int patience = 30000;

} // namespace

class TestRelaunchX11 : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Chinese chosen in the settings window while a note is open in the deck: the program
    // replaces itself, and the new process shows the same note and the settings window again,
    // in Chinese.
    void aNewLanguageRelaunchesWithTheSameNoteOpen()
    {
        ProgramOnScreen desk;
        QVERIFY2(desk.startDesktop(), "Xvfb, openbox and xdotool are needed for this test");
        QVERIFY(desk.seed({u"Groceries"_s}));
        QVERIFY(desk.launch());

        // The settings window, with the keyboard on its language list: the second tab's first
        // control.
        QVERIFY(desk.request(u"pondrift://settings"_s));
        QString settings;
        QVERIFY(QTest::qWaitFor(
            [&] { return !(settings = desk.windowNamed(u"Pondrift Settings"_s)).isEmpty(); },
            patience));
        QVERIFY(QTest::qWaitFor([&] { return desk.activeWindow() == settings; }, patience));
        QVERIFY(desk.xdotool({u"key"_s, u"--delay"_s, u"100"_s, u"ctrl+Tab"_s, u"Tab"_s}));

        // A note opened from the deck's pill and pinned, so that it stays open when the
        // settings window takes the keyboard back.
        QVERIFY(desk.xdotool({u"mousemove"_s, u"--sync"_s, u"1275"_s, u"400"_s}));
        QString tab;
        QVERIFY2(desk.waitForMatch(u"\\[deck\\] items tab:\\S*@(\\d+,\\d+,\\d+x\\d+)"_s, &tab),
                 qPrintable(desk.traceSoFar()));
        const QStringList box = tab.split(QRegularExpression(u"[,x]"_s));
        const QPoint centre(box[0].toInt() + box[2].toInt() / 2,
                            box[1].toInt() + box[3].toInt() / 2);
        QVERIFY(desk.xdotool({u"mousemove"_s, u"--sync"_s, QString::number(centre.x()),
                              QString::number(centre.y()), u"click"_s, u"1"_s}));
        QString id;
        QVERIFY2(desk.waitForMatch(u"fan -> expanded\\(([0-9A-F-]+)\\)"_s, &id),
                 qPrintable(desk.traceSoFar()));
        QVERIFY(QTest::qWaitFor([&] { return desk.activeWindow() != settings; }, patience));
        QVERIFY(desk.xdotool({u"key"_s, u"ctrl+p"_s}));
        QVERIFY(desk.xdotool({u"windowactivate"_s, u"--sync"_s, settings}));
        QVERIFY(QTest::qWaitFor([&] { return desk.activeWindow() == settings; }, patience));

        QVERIFY(desk.xdotool({u"key"_s, u"End"_s}));

        QVERIFY2(desk.program().waitForFinished(patience), "the old process ends");
        QCOMPARE(desk.program().exitCode(), 0);
        QVERIFY2(desk.waitForMatch(u"(making a deck)"_s), qPrintable(desk.traceSoFar()));
        QString reopened;
        QVERIFY2(desk.waitForMatch(u"rest -> expanded\\(([0-9A-F-]+)\\)"_s, &reopened),
                 qPrintable(desk.traceSoFar()));
        QCOMPARE(reopened, id);
        QString chinese;
        QVERIFY(QTest::qWaitFor(
            [&] { return !(chinese = desk.windowNamed(u"Pondrift 设置"_s)).isEmpty(); }, patience));
        const qint64 pid = desk.pidOf(chinese);
        QVERIFY(pid > 0);
        QCOMPARE(desk.programsInHome(), QList<qint64>{pid});
    }
};

QTEST_MAIN(TestRelaunchX11)
#include "tst_relaunch_x11.moc"
