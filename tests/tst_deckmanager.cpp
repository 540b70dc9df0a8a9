#include "deck/DeckTargets.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

DisplayInfo display(quint32 id, QRectF frame, bool isMain = false)
{
    return DisplayInfo{.id = id,
                       .name = u"out-%1"_s.arg(id),
                       .frame = frame,
                       .visibleFrame = frame,
                       .isMain = isMain};
}

// A laptop at the origin, marked main, and a monitor to its right.
const QList<DisplayInfo> twoScreens{display(7, {0, 0, 1440, 900}, true),
                                    display(42, {1440, 0, 2560, 1440})};

} // namespace

// Which displays get a deck, which deck acts, and how the decks follow the screens.
class TestDeckManager : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theSettingChoosesTheDisplays_data()
    {
        QTest::addColumn<QList<DisplayInfo>>("displays");
        QTest::addColumn<QString>("target");
        QTest::addColumn<QList<quint32>>("expected");
        QTest::newRow("all") << twoScreens << u"all"_s << QList<quint32>{7, 42};
        QTest::newRow("main") << twoScreens << u"main"_s << QList<quint32>{7};
        QTest::newRow("a connected display") << twoScreens << u"id:42"_s << QList<quint32>{42};
        QTest::newRow("an unplugged display falls to the main one")
            << twoScreens << u"id:99"_s << QList<quint32>{7};
        QTest::newRow("id: with nothing is all") << twoScreens << u"id:"_s << QList<quint32>{7, 42};
        QTest::newRow("id: with letters is all")
            << twoScreens << u"id:4x2"_s << QList<quint32>{7, 42};
        QTest::newRow("id: with a sign is all")
            << twoScreens << u"id:+42"_s << QList<quint32>{7, 42};
        QTest::newRow("id: past 32 bits is all")
            << twoScreens << u"id:4294967338"_s << QList<quint32>{7, 42};
        QTest::newRow("the largest 32-bit id is a number")
            << twoScreens << u"id:4294967295"_s << QList<quint32>{7};
        QTest::newRow("unknown text is all") << twoScreens << u"left"_s << QList<quint32>{7, 42};
        QTest::newRow("empty text is all") << twoScreens << QString() << QList<quint32>{7, 42};
        QTest::newRow("no mark: the first is main")
            << QList<DisplayInfo>{display(5, {0, 0, 800, 600}), display(6, {800, 0, 800, 600})}
            << u"main"_s << QList<quint32>{5};
        QTest::newRow("no screens: all is nothing")
            << QList<DisplayInfo>{} << u"all"_s << QList<quint32>{};
        QTest::newRow("no screens: main waits on the last main")
            << QList<DisplayInfo>{} << u"main"_s << QList<quint32>{3};
    }
    void theSettingChoosesTheDisplays()
    {
        QFETCH(QList<DisplayInfo>, displays);
        QFETCH(QString, target);
        QFETCH(QList<quint32>, expected);
        QCOMPARE(DeckTargets::displayIDs(displays, target, 3), expected);
    }

    void theDisplayUnderThePointer_data()
    {
        QTest::addColumn<QPointF>("point");
        QTest::addColumn<std::optional<quint32>>("expected");
        QTest::newRow("on the laptop") << QPointF(100, 100) << std::optional<quint32>(7);
        QTest::newRow("on the monitor, above the laptop's top")
            << QPointF(2000, 1200) << std::optional<quint32>(42);
        QTest::newRow("in the gap above the laptop")
            << QPointF(100, 1200) << std::optional<quint32>();
    }
    void theDisplayUnderThePointer()
    {
        QFETCH(QPointF, point);
        QFETCH(std::optional<quint32>, expected);
        QCOMPARE(DeckTargets::displayAt(twoScreens, point), expected);
    }
};

QTEST_GUILESS_MAIN(TestDeckManager)
#include "tst_deckmanager.moc"
