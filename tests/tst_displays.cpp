#include "platform/DisplayIds.h"
#include "platform/ScreenCoordinates.h"
#include "platform/qt/QtDisplays.h"
#include "platform/qt/QtPointer.h"

#include <QCursor>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

// Where displays are and what they are called, from Qt's screens to the deck's coordinates.
// The program runs on two offscreen screens that main() arranges: the main one, 1920 x 1080,
// and a second, 1280 x 1024, to its right with their tops aligned.
class TestDisplays : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void rectanglesFlipAboutTheMainDisplaysBottom_data()
    {
        QTest::addColumn<QRectF>("mainQt");
        QTest::addColumn<QRectF>("qt");
        QTest::addColumn<QRectF>("screen");

        const QRectF main(0, 0, 1920, 1080);
        QTest::newRow("a panel at the main display's top left is at its top")
            << main << QRectF(0, 0, 30, 200) << QRectF(0, 880, 30, 200);
        QTest::newRow("a taller display to the right, tops aligned, hangs below the main bottom")
            << main << QRectF(1920, 0, 1280, 1440) << QRectF(1920, -360, 1280, 1440);
        QTest::newRow("a shorter display to the right, tops aligned, stands above the bottom")
            << main << QRectF(1920, 0, 1280, 1024) << QRectF(1920, 56, 1280, 1024);
        QTest::newRow("a display above the main one starts at its top")
            << main << QRectF(0, -900, 1600, 900) << QRectF(0, 1080, 1600, 900);
        QTest::newRow("a main display right of another puts the other at negative x")
            << QRectF(1280, 0, 1920, 1080) << QRectF(0, 0, 1280, 1024)
            << QRectF(-1280, 56, 1280, 1024);
        QTest::newRow("a main display below another keeps its own origin")
            << QRectF(0, 900, 1920, 1080) << QRectF(0, 900, 1920, 1080) << QRectF(0, 0, 1920, 1080);
        QTest::newRow("fractional logical pixels keep their fractions")
            << QRectF(0, 0, 1280, 720) << QRectF(10.5, 20.25, 100, 50.5)
            << QRectF(10.5, 649.25, 100, 50.5);
    }

    void rectanglesFlipAboutTheMainDisplaysBottom()
    {
        QFETCH(QRectF, mainQt);
        QFETCH(QRectF, qt);
        QFETCH(QRectF, screen);
        QCOMPARE(ScreenCoordinates::fromQt(qt, mainQt), screen);
        QCOMPARE(ScreenCoordinates::toQt(screen, mainQt), qt);
        // A point on the top edge stays on the top edge, both ways.
        QCOMPARE(ScreenCoordinates::fromQt(qt.topLeft(), mainQt),
                 QPointF(screen.left(), screen.bottom()));
        QCOMPARE(ScreenCoordinates::toQt(QPointF(screen.left(), screen.bottom()), mainQt),
                 qt.topLeft());
    }

    void displayIdsAreFixedHashesOfTheOutput_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<quint32>("id");
        // Stored settings hold these numbers: they may never change between versions.
        QTest::newRow("nothing") << QString() << 0x811c9dc5u;
        QTest::newRow("one letter") << u"a"_s << 0xe40c292cu;
        QTest::newRow("a connector") << u"HDMI-1"_s << 0x1d804bc5u;
        QTest::newRow("a name that hashes to 0 still has an id") << u"DP-3976681716"_s << 1u;
    }

    void displayIdsAreFixedHashesOfTheOutput()
    {
        QFETCH(QString, text);
        QFETCH(quint32, id);
        QCOMPARE(DisplayIds::hash(text), id);
    }

    void outputsGetDistinctIdsWhateverTheirOrder_data()
    {
        QTest::addColumn<QList<DisplayIdentity>>("outputs");
        // 0 where the id is only required to be distinct and non-zero.
        QTest::addColumn<QList<quint32>>("ids");

        const DisplayIdentity laptop{u"eDP-1"_s, {}, {}, {}};
        const DisplayIdentity dell{u"DP-1"_s, u"DEL"_s, u"DELL U2720Q"_s, u"ABC123"_s};
        QTest::newRow("an output without a serial goes by its connector")
            << QList{laptop} << QList{DisplayIds::hash(u"eDP-1")};
        QTest::newRow("a monitor with a serial goes by maker, model and serial")
            << QList{dell} << QList{DisplayIds::hash(u"DEL|DELL U2720Q|ABC123")};
        QTest::newRow("a monitor moved to another port keeps its id")
            << QList{laptop,
                     DisplayIdentity{u"HDMI-2"_s, dell.manufacturer, dell.model, dell.serialNumber}}
            << QList{DisplayIds::hash(u"eDP-1"), DisplayIds::hash(u"DEL|DELL U2720Q|ABC123")};
        // Cheap monitors of one model often report the same serial.
        QTest::newRow("two monitors with one serial get two ids")
            << QList{DisplayIdentity{u"DP-1"_s, u"AOC"_s, u"24G2"_s, u"1"_s},
                     DisplayIdentity{u"DP-2"_s, u"AOC"_s, u"24G2"_s, u"1"_s}}
            << QList<quint32>{DisplayIds::hash(u"AOC|24G2|1"), 0};
        // These two connectors' names collide under the hash.
        QTest::newRow("two names with one hash get two ids")
            << QList{DisplayIdentity{u"HDMI-62569"_s, {}, {}, {}},
                     DisplayIdentity{u"HDMI-263810"_s, {}, {}, {}}}
            << QList<quint32>{0, DisplayIds::hash(u"HDMI-263810")};
    }

    void outputsGetDistinctIdsWhateverTheirOrder()
    {
        QFETCH(QList<DisplayIdentity>, outputs);
        QFETCH(QList<quint32>, ids);

        const QList<quint32> given = DisplayIds::assign(outputs);
        QCOMPARE(given.size(), outputs.size());
        for (qsizetype i = 0; i < given.size(); ++i) {
            QVERIFY(given[i] != 0);
            if (ids[i] != 0)
                QCOMPARE(given[i], ids[i]);
            for (qsizetype j = 0; j < i; ++j)
                QVERIFY2(given[i] != given[j], "two outputs share an id");
        }

        QList<DisplayIdentity> reversed = outputs;
        std::reverse(reversed.begin(), reversed.end());
        QList<quint32> back = DisplayIds::assign(reversed);
        std::reverse(back.begin(), back.end());
        QCOMPARE(back, given);
    }

    void theScreensAreListedInScreenCoordinates()
    {
        const QList<DisplayInfo> displays = QtDisplays().list();
        QCOMPARE(displays.size(), 2);
        QCOMPARE(displays[0].name, u"Main"_s);
        QVERIFY(displays[0].isMain);
        QCOMPARE(displays[0].frame, QRectF(0, 0, 1920, 1080));
        QCOMPARE(displays[0].visibleFrame, QRectF(0, 0, 1920, 1080));
        QCOMPARE(displays[1].name, u"Side"_s);
        QVERIFY(!displays[1].isMain);
        QCOMPARE(displays[1].frame, QRectF(1920, 56, 1280, 1024));
        QCOMPARE(displays[0].id, DisplayIds::hash(u"Main"));
        QCOMPARE(displays[1].id, DisplayIds::hash(u"Side"));
        QCOMPARE(QtDisplays().list(), displays);
    }

    void thePointerIsInScreenCoordinates_data()
    {
        QTest::addColumn<QPoint>("qt");
        QTest::addColumn<QPointF>("screen");
        QTest::newRow("the main display's bottom left") << QPoint(0, 1080) << QPointF(0, 0);
        QTest::newRow("on the side display") << QPoint(2000, 1000) << QPointF(2000, 80);
    }

    void thePointerIsInScreenCoordinates()
    {
        QFETCH(QPoint, qt);
        QFETCH(QPointF, screen);
        QCursor::setPos(qt);
        QCOMPARE(QtPointer().location(), screen);
    }
};

// The offscreen platform takes its screens from a file named on the command line, which wins
// over the platform the environment names.
int main(int argc, char** argv)
{
    QTemporaryDir dir;
    const QString config = dir.filePath(u"screens.json"_s);
    QFile file(config);
    if (!file.open(QIODevice::WriteOnly)
        || file.write(R"({"screens": [
            {"name": "Main", "x": 0, "y": 0, "width": 1920, "height": 1080},
            {"name": "Side", "x": 1920, "y": 0, "width": 1280, "height": 1024}]})")
               < 0)
        return 2;
    file.close();

    QByteArray platform = "offscreen:configfile=" + config.toLocal8Bit();
    QList<char*> args(argv, argv + argc);
    char platformFlag[] = "-platform";
    args << platformFlag << platform.data();
    int count = int(args.size());
    QGuiApplication app(count, args.data());
    TestDisplays test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_displays.moc"
