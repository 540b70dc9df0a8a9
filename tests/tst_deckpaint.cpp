#include "deck/ui/DeckPaint.h"

#include <QImage>
#include <QPainter>
#include <QPainterPathStroker>
#include <QTest>

#include <functional>

using namespace DeckPaint;
using namespace Qt::Literals::StringLiterals;

namespace {

const Metrics metrics{.scale = 1, .tabWidth = 30, .bleed = 14, .labelInset = 12};
const QRectF slot(100, 60, 30, 110);
constexpr double dpr = 2;

TabLook tab(bool onRight, Surface surface)
{
    TabLook l{.metrics = metrics, .paper = Qt::white, .ink = Qt::black};
    l.label = u"SHOPPING LIST"_s;
    l.font.setPointSizeF(9 * 0.75);
    l.strip = 70;
    l.onRight = onRight;
    l.pinned = l.lifted = true;
    l.surface = surface;
    return l;
}

// An item's painting and its outline in slot.
struct Item {
    std::function<void(QPainter&)> paint;
    QPainterPath outline;
};

Item item(const QString& name, bool onRight, Surface surface)
{
    if (name == u"tab") {
        const TabLook l = tab(onRight, surface);
        return {[=](QPainter& p) { paintVerticalTab(p, slot, l); }, verticalTabOutline(slot, l)};
    }
    if (name == u"more") {
        const MaterialTabLook l{
            .metrics = metrics, .label = u"+3"_s, .onRight = onRight, .surface = surface};
        return {[=](QPainter& p) { paintMoreTab(p, slot, l); }, moreTabOutline(slot, l)};
    }
    const ButtonLook l{.hovering = true, .surface = surface};
    return {[=](QPainter& p) { paintCogButton(p, slot, l); }, buttonOutline(slot, l)};
}

// What the painting (or, without one, the antialiased fill of the area) puts on a clear image.
QImage draw(const std::function<void(QPainter&)>& paint, const QPainterPath& area = {})
{
    QImage image((QSizeF(240, 240) * dpr).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(dpr);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    if (paint)
        paint(p);
    else
        p.fillPath(area, Qt::black);
    return image;
}
QImage cover(const QPainterPath& area) { return draw({}, area); }

QPainterPath grown(const QPainterPath& path, double by)
{
    QPainterPathStroker stroker;
    stroker.setWidth(2 * by);
    stroker.setJoinStyle(Qt::RoundJoin);
    return (stroker.createStroke(path) + path).simplified();
}

// The first pixel where `bad` holds of the two images' alphas, as "x,y"; empty if none.
QString firstPixel(const QImage& a, const QImage& b, const std::function<bool(int, int)>& bad)
{
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            if (bad(qAlpha(a.pixel(x, y)), qAlpha(b.pixel(x, y))))
                return u"%1,%2"_s.arg(x).arg(y);
        }
    }
    return {};
}

} // namespace

class TestDeckPaint : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // A shadow is blurred once for its shape and ratio; frames that repeat only look it up.
    void shadowsAreBlurredOnce()
    {
        ShadowCache& cache = ShadowCache::shared();
        ShadowCache::Key key{ShadowCache::Shape::EdgeTabRight, {44, 110}, 11, 9, Qt::black};
        const QPixmap first = cache.shadow(key);
        QCOMPARE(cache.shadow(key).cacheKey(), first.cacheKey());
        key.dpr = 2;
        QVERIFY(cache.shadow(key).cacheKey() != first.cacheKey());
        QCOMPARE(cache.shadow(key).devicePixelRatio(), 2.0);
        // The blur fades out inside the pixmap: its border is clear, so no shadow ends in a
        // hard edge.
        const QImage blurred = cache.shadow(key).toImage();
        QImage frame = blurred;
        frame.fill(Qt::transparent);
        QPainter(&frame).fillRect(frame.rect().adjusted(1, 1, -1, -1), Qt::black);
        QCOMPARE(firstPixel(blurred, frame, [](int a, int inner) { return a > 0 && !inner; }),
                 QString());

        const Item it = item(u"tab"_s, true, Surface::Composited);
        draw(it.paint);
        const qsizetype blurs = cache.blurs();
        for (int frame = 0; frame < 3; ++frame)
            draw(it.paint);
        QCOMPARE(cache.blurs(), blurs);
    }

    void outlinesMirrorBetweenEdges_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("tab") << u"tab"_s;
        QTest::newRow("more") << u"more"_s;
    }
    void outlinesMirrorBetweenEdges()
    {
        QFETCH(QString, name);
        // The left tab stands in the same slot; mirroring about the slot's middle maps one on
        // the other.
        const QTransform mirror(-1, 0, 0, 1, 2 * slot.center().x(), 0);
        const QImage left = cover(item(name, false, Surface::Composited).outline);
        const QImage right = cover(mirror.map(item(name, true, Surface::Composited).outline));
        QCOMPARE(firstPixel(left, right, [](int a, int b) { return std::abs(a - b) > 64; }),
                 QString());
    }

    // Composited, nothing lands beyond the shadow's reach. Shaped, nothing lands beyond the
    // outline (and the band that covers its edge pixels), and every pixel of the window shape
    // is opaque: a shaped window would cut the rest off or show its black through it.
    void paintingStaysInsideOutline_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("composited");
        for (const QString& name : {u"tab"_s, u"more"_s, u"cog"_s}) {
            QTest::addRow("%s composited", qPrintable(name)) << name << true;
            QTest::addRow("%s shaped", qPrintable(name)) << name << false;
        }
    }
    void paintingStaysInsideOutline()
    {
        QFETCH(QString, name);
        QFETCH(bool, composited);
        const Item it =
            item(name, name != u"tab", composited ? Surface::Composited : Surface::Shaped);
        // The lifted tab's shadow is the widest: blur 16, offset (3, 6).
        const double reach = composited ? ShadowCache::margin(16) + 6 : 1;
        const QImage painted = draw(it.paint);
        QCOMPARE(firstPixel(painted, cover(grown(it.outline, reach)),
                            [](int a, int allowed) { return a > 0 && allowed == 0; }),
                 QString());
        if (!composited) {
            QPainterPath shape;
            shape.addRegion(windowShape(it.outline));
            QCOMPARE(firstPixel(painted, cover(shape),
                                [](int a, int shown) { return shown == 255 && a < 255; }),
                     QString());
        }
    }

    // A label too long for its strip is cut at the end of its slot, never drawn over the part
    // of the tab that the next tab covers.
    void longLabelStaysInItsSlot()
    {
        for (bool onRight : {true, false}) {
            TabLook look = tab(onRight, Surface::Shaped);
            look.pinned = false;
            look.label = u"A TITLE FAR TOO LONG FOR ANY TAB OF THIS DECK AT ALL"_s;
            const QImage inked = draw([&](QPainter& p) { paintVerticalTab(p, slot, look); });
            look.label.clear();
            const QImage blank = draw([&](QPainter& p) { paintVerticalTab(p, slot, look); });
            QImage ink = inked;
            for (int y = 0; y < ink.height(); ++y) {
                for (int x = 0; x < ink.width(); ++x)
                    ink.setPixel(x, y, inked.pixel(x, y) == blank.pixel(x, y) ? 0 : 0xff000000);
            }
            QPainterPath label;
            label.addRect(labelSlot(slot, look));
            const QImage area = cover(grown(verticalTabTransform(slot, look).map(label), 0.5));
            QCOMPARE(firstPixel(ink, area, [](int a, int allowed) { return a > 0 && !allowed; }),
                     QString());
        }
    }
};

QTEST_MAIN(TestDeckPaint)
#include "tst_deckpaint.moc"
