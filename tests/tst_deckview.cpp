#include "deck/DeckController.h"
#include "deck/ui/DeckView.h"
#include "support/DeckRig.h"
#include "support/InstalledSettings.h"

#include <QApplication>
#include <QMouseEvent>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

// A fanned deck's view over three notes, driven by the pointer as a person drives it; the
// deck's timers run on the test's clock, its motion on the real one.
struct FannedView : DeckRig {
    QStringList ids{notes.create(u"one"_s, u"Alpha"_s).id, notes.create(u"two"_s, u"Beta"_s).id,
                    notes.create(u"three"_s, u"Gamma"_s).id};
    DeckView view{{deck, notes, lib.clock, actions}, nullptr};

    FannedView()
    {
        // New notes go first: the ids in the deck's own order.
        ids = order();
        fanOut();
        lib.clock.advance(0.05);
        view.resize(window.currentFrame.size().toSize());
        view.show();
    }
    bool settled()
    {
        return QTest::qWaitFor([&] {
            view.repaint();
            return !view.isAnimating() && rectOf(ids[0]).isValid();
        });
    }
    QRectF rectOf(const QString& key) const
    {
        for (const DeckView::ItemInfo& item : view.items()) {
            if (item.key == key)
                return item.rect;
        }
        return {};
    }
    // Fractions of a point matter to the gesture, so the events carry them.
    void send(QEvent::Type type, QPointF at, Qt::MouseButtons held)
    {
        QMouseEvent event(type, at, view.mapToGlobal(at), Qt::LeftButton, held, Qt::NoModifier);
        QApplication::sendEvent(&view, &event);
    }
    void drag(QPointF from, QList<QPointF> moves)
    {
        send(QEvent::MouseButtonPress, from, Qt::LeftButton);
        for (QPointF to : moves)
            send(QEvent::MouseMove, to, Qt::LeftButton);
        send(QEvent::MouseButtonRelease, moves.last(), Qt::NoButton);
    }
    QStringList order() const
    {
        QStringList list;
        for (const Note& n : notes.active())
            list.append(n.id);
        return list;
    }
};

} // namespace

class TestDeckView : public QObject {
    Q_OBJECT

    InstalledSettings settings;

private Q_SLOTS:
    void initTestCase() { settings.install(); }
    void init() { settings.defaults.values.clear(); }

    // One gesture both clicks and drags: only vertical travel beyond 5 points drags, and a
    // drag never clicks, even when it comes back where it began.
    void aPressOnATabIsAClickOrADrag_data()
    {
        QTest::addColumn<QList<QPointF>>("moves");
        QTest::addColumn<bool>("opens");
        QTest::addColumn<int>("shift");
        QTest::newRow("5.0 down is still a click") << QList<QPointF>{{0, 5.0}} << true << 0;
        QTest::newRow("5.01 down is a drag, too short to move the tab")
            << QList<QPointF>{{0, 5.01}} << false << 0;
        QTest::newRow("sideways travel alone is a click") << QList<QPointF>{{-60, 4}} << true << 0;
        QTest::newRow("a drag back to its start moves nothing")
            << QList<QPointF>{{0, 30}, {0, 80}, {0, 0}} << false << 0;
        QTest::newRow("a drag of one pitch moves the tab one place")
            << QList<QPointF>{{0, 20}, {0, 1}} << false << 1;
    }
    void aPressOnATabIsAClickOrADrag()
    {
        QFETCH(QList<QPointF>, moves);
        QFETCH(bool, opens);
        QFETCH(int, shift);
        FannedView f;
        QVERIFY(f.settled());
        const QRectF tab = f.rectOf(f.ids[0]);
        const double pitch = f.rectOf(f.ids[1]).top() - tab.top();
        const QPointF start(tab.center().x(), tab.top() + pitch * 0.5);
        // A row's last move of {0, 1} stands for one pitch.
        if (moves.last() == QPointF(0, 1))
            moves.last() = QPointF(0, pitch);
        for (QPointF& m : moves)
            m += start;
        f.drag(start, moves);
        QCOMPARE(f.deck.state().expandedID().has_value(), opens);
        QStringList expected = f.ids;
        expected.move(0, shift);
        QCOMPARE(f.order(), expected);
    }
};

QTEST_MAIN(TestDeckView)
#include "tst_deckview.moc"
