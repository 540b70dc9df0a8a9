#include "deck/ui/DeckPaint.h"

#include "deck/DeckGeom.h"
#include "l10n/L10n.h"
#include "notes/Note.h"
#include "notes/NoteText.h"
#include "notes/Tasks.h"

#include <QBitmap>
#include <QFontMetricsF>
#include <QImage>
#include <QPaintDevice>
#include <QPainter>
#include <QTransform>

#include <algorithm>
#include <cmath>
#include <vector>

namespace DeckPaint {

namespace {

// The shadows by state; colours are black at 0.22, 0.32, 0.42, 0.34, 0.18 and 0.26.
const Shadow tabRest{QColor(0, 0, 0, 56), 6, 3, 2};
const Shadow tabHover{QColor(0, 0, 0, 82), 9, 3, 2};
const Shadow tabLifted{QColor(0, 0, 0, 107), 16, 3, 6};
const Shadow chipRest{QColor(0, 0, 0, 56), 5, 3, 1};
const Shadow chipOpen{QColor(0, 0, 0, 87), 8, 3, 2};
const Shadow plusShadow{QColor(0, 0, 0, 56), 5, 0, 1};
const Shadow cogShadow{QColor(0, 0, 0, 46), 4, 0, 1};
const Shadow cardShadow{QColor(0, 0, 0, 66), 10, 3, 3};

constexpr double tabRadius = 11;
constexpr double chipRadius = 7;
constexpr double moreRadius = 9;
constexpr double pillRadius = 6;
constexpr double dashRadius = 2.5;
constexpr double cardRadius = 8;
constexpr double minLabelSlot = 20;
// The More tab sits this far toward the screen edge, as the tabs do by their bleed.
constexpr double moreShift = 2;
constexpr double pinDot = 5;
constexpr double pinTop = 7;
constexpr double pinInset = 9;
constexpr double cardPadX = 10;
constexpr double cardPadY = 9;
constexpr double edgeDashOn = 3;
constexpr double edgeDashOff = 4;

QColor withAlpha(QColor c, double a)
{
    c.setAlphaF(float(c.alphaF() * a));
    return c;
}

// The colour `above` gives when laid over `below`.
QColor over(const QColor& below, const QColor& above)
{
    const double a = above.alphaF();
    const double b = below.alphaF() * (1 - a);
    const double out = a + b;
    if (out <= 0)
        return QColor(0, 0, 0, 0);
    auto mix = [&](double x, double y) { return (x * a + y * b) / out; };
    QColor c;
    c.setRgbF(float(mix(above.redF(), below.redF())), float(mix(above.greenF(), below.greenF())),
              float(mix(above.blueF(), below.blueF())), float(out));
    return c;
}

enum class Material { UltraThin, Regular };

// A plain compositor gives no backdrop blur, so a material is a tinted translucent fill; on a
// shaped window it is the same tint laid over a neutral grey, opaque.
QColor materialTint(Material m, bool dark)
{
    if (dark)
        return m == Material::UltraThin ? QColor(40, 40, 42, 140) : QColor(46, 46, 48, 218);
    return m == Material::UltraThin ? QColor(250, 250, 250, 140) : QColor(246, 246, 246, 224);
}
QColor shapedBase(bool dark) { return dark ? QColor(44, 44, 46) : QColor(210, 210, 212); }
QColor hairlineColor(bool dark) { return dark ? QColor(255, 255, 255, 40) : QColor(0, 0, 0, 30); }

double devicePixelRatio(const QPainter& p)
{
    return p.device() ? p.device()->devicePixelRatioF() : 1.0;
}

// One of the shapes the deck is made of, which can also be drawn inset (for hairlines that
// sit on the inside of the edge) and named to the shadow cache.
struct Shape {
    ShadowCache::Shape kind = ShadowCache::Shape::RoundedRect;
    QRectF rect;
    double radius = 0;

    QPainterPath path(double inset = 0) const
    {
        const QRectF r = rect.adjusted(inset, inset, -inset, -inset);
        const double rad = std::max(radius - inset, 0.0);
        QPainterPath path;
        switch (kind) {
        case ShadowCache::Shape::EdgeTabRight:
            return edgeTabShape(r, true, rad);
        case ShadowCache::Shape::EdgeTabLeft:
            return edgeTabShape(r, false, rad);
        case ShadowCache::Shape::RoundedRect:
            path.addRoundedRect(r, rad, rad);
            return path;
        case ShadowCache::Shape::Circle:
            path.addEllipse(r);
            return path;
        }
        return path;
    }
};

Shape edgeShape(const QRectF& rect, bool onRight, double radius)
{
    return {onRight ? ShadowCache::Shape::EdgeTabRight : ShadowCache::Shape::EdgeTabLeft, rect,
            radius};
}

// Fills the shape. On a shaped window the fill also covers a band of 0.75 logical pixel
// outside it: the window shape keeps every logical pixel whose centre is inside, whose corners
// lie at most 0.71 outside, and the band covers those whole, so none shows the window's black
// through an antialiased edge.
void fillSolid(QPainter& p, const Shape& shape, const QColor& color, Surface surface)
{
    const QPainterPath path = shape.path();
    p.fillPath(path, color);
    if (surface == Surface::Shaped) {
        QPen pen(color, 1.5);
        pen.setJoinStyle(Qt::RoundJoin);
        p.strokePath(path, pen);
    }
}

// A line of one device pixel just inside the shape's edge, so that it lands on whole pixels
// along straight sides.
void strokeInside(QPainter& p, const Shape& shape, const QColor& color, double logicalWidth = 0)
{
    const double width = logicalWidth > 0 ? logicalWidth : 1 / devicePixelRatio(p);
    p.strokePath(shape.path(width / 2), QPen(color, width));
}

// Fills a material in its layers, lowest first; one opaque colour on a shaped window.
void fillMaterial(QPainter& p, const Shape& shape, const QList<QColor>& layers, Surface surface,
                  bool dark, bool hairline)
{
    if (surface == Surface::Shaped) {
        QColor c = shapedBase(dark);
        for (const QColor& layer : layers)
            c = over(c, layer);
        fillSolid(p, shape, c, surface);
    } else {
        const QPainterPath path = shape.path();
        for (const QColor& layer : layers)
            p.fillPath(path, layer);
        if (hairline)
            strokeInside(p, shape, hairlineColor(dark));
    }
}

void paintShadow(QPainter& p, const Shape& shape, const Shadow& s, Surface surface)
{
    if (surface == Surface::Composited)
        ShadowCache::shared().paint(p, shape.kind, shape.rect, shape.radius, s);
}

// Rotation by lean and scale about the anchor.
QTransform aroundAnchor(QPointF anchor, double degrees, double scale)
{
    QTransform t;
    t.translate(anchor.x(), anchor.y());
    t.rotate(degrees);
    t.scale(scale, scale);
    t.translate(-anchor.x(), -anchor.y());
    return t;
}

// The middle of the slot's side at the screen edge: what tabs lean and grow about.
QPointF edgeAnchor(const QRectF& slot, bool onRight)
{
    return {onRight ? slot.right() : slot.left(), slot.center().y()};
}

QRectF bled(const QRectF& slot, bool onRight, double bleed)
{
    return onRight ? slot.adjusted(0, 0, bleed, 0) : slot.adjusted(-bleed, 0, 0, 0);
}

QFont sized(QFont font, double pixels, QFont::Weight weight, bool italic = false)
{
    // Sizes are logical pixels; a QFont point is 1/72 inch at 96 logical dpi.
    font.setPointSizeF(pixels * 0.75);
    font.setWeight(weight);
    font.setItalic(italic);
    return font;
}

// Draws a label turned a quarter turn in its slot (given unrotated, along the tab), with the
// tracking as letter spacing, centred across the slot. It reads downward on the right edge and
// upward on the left. A label that fits is centred along the slot; a longer one starts where
// reading starts and is clipped at the slot's end, never wrapped.
void drawTurnedLabel(QPainter& p, const QRectF& slot, const QString& text, QFont font,
                     double tracking, const QColor& color, bool onRight)
{
    if (text.isEmpty())
        return;
    font.setLetterSpacing(QFont::AbsoluteSpacing, tracking);
    // Glyphs on a turned baseline gain nothing from hinting and lose their even spacing.
    font.setHintingPreference(QFont::PreferNoHinting);
    const QFontMetricsF fm(font, p.device());
    const double length = slot.height();
    const double thickness = slot.width();
    const double advance = fm.horizontalAdvance(text);

    p.save();
    p.translate(slot.center());
    p.rotate(onRight ? 90 : -90);
    const QRectF box(-length / 2, -thickness / 2, length, thickness);
    p.setClipRect(box, Qt::IntersectClip);
    const double x = advance <= length ? -advance / 2 : box.left();
    const double baseline = (fm.ascent() - fm.descent()) / 2;
    p.setFont(font);
    p.setPen(color);
    p.drawText(QPointF(x, baseline), text);
    p.restore();
}

} // namespace

QColor primaryColor(bool dark) { return dark ? QColor(255, 255, 255, 235) : QColor(0, 0, 0, 217); }
QColor secondaryColor(bool dark)
{
    return dark ? QColor(255, 255, 255, 150) : QColor(0, 0, 0, 128);
}

QRegion windowShape(const QPainterPath& outlines)
{
    const QRect bounds = outlines.boundingRect().toAlignedRect();
    if (bounds.isEmpty())
        return {};
    // An aliased fill takes exactly the pixels whose centres are inside.
    QImage image(bounds.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter p(&image);
        p.translate(-bounds.topLeft());
        p.fillPath(outlines, Qt::black);
    }
    return QRegion(QBitmap::fromImage(image.createAlphaMask(Qt::ThresholdAlphaDither)))
        .translated(bounds.topLeft());
}

Metrics Metrics::current()
{
    Metrics m;
    m.scale = DeckGeom::scale();
    m.tabWidth = DeckGeom::tabWidth();
    m.bleed = DeckGeom::bleed();
    m.labelInset = DeckGeom::labelInset();
    m.pillPad = DeckGeom::pillPad();
    m.dashHeight = DeckGeom::dashHeight();
    m.dashGap = DeckGeom::dashGap();
    return m;
}

QPainterPath edgeTabShape(const QRectF& rect, bool onRight, double radius)
{
    const double r = std::clamp(radius, 0.0, std::min(rect.width(), rect.height()) / 2);
    const double d = 2 * r;
    QPainterPath path;
    if (onRight) {
        // Square on the right, rounded on the left.
        path.moveTo(rect.topRight());
        path.lineTo(rect.left() + r, rect.top());
        path.arcTo(QRectF(rect.left(), rect.top(), d, d), 90, 90);
        path.lineTo(rect.left(), rect.bottom() - r);
        path.arcTo(QRectF(rect.left(), rect.bottom() - d, d, d), 180, 90);
        path.lineTo(rect.bottomRight());
    } else {
        path.moveTo(rect.topLeft());
        path.lineTo(rect.right() - r, rect.top());
        path.arcTo(QRectF(rect.right() - d, rect.top(), d, d), 90, -90);
        path.lineTo(rect.right(), rect.bottom() - r);
        path.arcTo(QRectF(rect.right() - d, rect.bottom() - d, d, d), 0, -90);
        path.lineTo(rect.bottomLeft());
    }
    path.closeSubpath();
    return path;
}

// ---- Labelled tab ----

namespace {

double tabScale(const TabLook& look) { return look.scale.value_or(look.lifted ? liftScale : 1.0); }

} // namespace

QTransform verticalTabTransform(const QRectF& slot, const TabLook& look)
{
    return aroundAnchor(edgeAnchor(slot, look.onRight), DeckGeom::lean(look.onRight),
                        tabScale(look));
}

Shadow verticalTabShadow(const TabLook& look)
{
    Shadow s = look.lifted ? tabLifted : look.isOpen || look.hovering ? tabHover : tabRest;
    if (look.onRight)
        s.dx = -s.dx;
    return s;
}

QRectF labelSlot(const QRectF& slot, const TabLook& look)
{
    const double length = std::max(look.strip - look.metrics.labelInset, minLabelSlot);
    return {slot.left(), slot.top() + look.metrics.labelInset, slot.width(), length};
}

void paintVerticalTab(QPainter& p, const QRectF& slot, const TabLook& look)
{
    p.save();
    p.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing
                     | QPainter::SmoothPixmapTransform);
    p.setTransform(verticalTabTransform(slot, look), true);
    const Shape body =
        edgeShape(bled(slot, look.onRight, look.metrics.bleed), look.onRight, tabRadius);
    paintShadow(p, body, verticalTabShadow(look), look.surface);
    fillSolid(p, body, look.paper, look.surface);
    drawTurnedLabel(p, labelSlot(slot, look), look.label, look.font, look.tracking,
                    withAlpha(look.ink, 0.85), look.onRight);
    if (look.pinned) {
        const double x = look.onRight ? slot.right() - pinInset - pinDot : slot.left() + pinInset;
        p.setPen(Qt::NoPen);
        p.setBrush(look.ink);
        p.drawEllipse(QRectF(x, slot.top() + pinTop, pinDot, pinDot));
    }
    p.restore();
}

QPainterPath verticalTabOutline(const QRectF& slot, const TabLook& look)
{
    return verticalTabTransform(slot, look)
        .map(edgeTabShape(bled(slot, look.onRight, look.metrics.bleed), look.onRight, tabRadius));
}

// ---- Chip ----

namespace {

QTransform chipTransform(const QRectF& slot, const ChipLook& look)
{
    const double scale = look.scale.value_or(look.pressed ? pressScale : 1.0);
    return aroundAnchor(edgeAnchor(slot, look.onRight),
                        chipLeanShare * DeckGeom::lean(look.onRight), scale);
}

} // namespace

void paintChipTab(QPainter& p, const QRectF& slot, const ChipLook& look)
{
    p.save();
    p.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    p.setTransform(chipTransform(slot, look), true);
    const Shape body =
        edgeShape(bled(slot, look.onRight, look.metrics.bleed), look.onRight, chipRadius);
    Shadow s = look.isOpen ? chipOpen : chipRest;
    if (look.onRight)
        s.dx = -s.dx;
    paintShadow(p, body, s, look.surface);
    fillSolid(p, body, look.paper, look.surface);
    p.restore();
}

QPainterPath chipTabOutline(const QRectF& slot, const ChipLook& look)
{
    return chipTransform(slot, look)
        .map(edgeTabShape(bled(slot, look.onRight, look.metrics.bleed), look.onRight, chipRadius));
}

// ---- More and Empty tabs ----

namespace {

double materialScale(const MaterialTabLook& look)
{
    return look.scale.value_or(look.pressed ? pressScale : 1.0);
}

QTransform moreTransform(const QRectF& slot, const MaterialTabLook& look)
{
    QTransform t = aroundAnchor(slot.center(), 0, materialScale(look));
    return t * QTransform::fromTranslate(look.onRight ? moreShift : -moreShift, 0);
}

QTransform emptyTransform(const QRectF& slot, const MaterialTabLook& look)
{
    return aroundAnchor(edgeAnchor(slot, look.onRight), DeckGeom::lean(look.onRight),
                        materialScale(look));
}

} // namespace

void paintMoreTab(QPainter& p, const QRectF& slot, const MaterialTabLook& look)
{
    p.save();
    p.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    p.setTransform(moreTransform(slot, look), true);
    const Shape body = edgeShape(slot, look.onRight, moreRadius);
    fillMaterial(p, body, {QColor(0, 0, 0, 46), materialTint(Material::UltraThin, look.dark)},
                 look.surface, look.dark, true);
    const double scale = look.metrics.scale > 0 ? look.metrics.scale : 1.0;
    QFont font = sized(look.font, 10 * scale, QFont::DemiBold);
    p.setFont(font);
    p.setPen(secondaryColor(look.dark));
    p.drawText(slot, Qt::AlignCenter | Qt::TextSingleLine, look.label);
    p.restore();
}

QPainterPath moreTabOutline(const QRectF& slot, const MaterialTabLook& look)
{
    return moreTransform(slot, look).map(edgeTabShape(slot, look.onRight, moreRadius));
}

void paintEmptyTab(QPainter& p, const QRectF& slot, const MaterialTabLook& look)
{
    p.save();
    p.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    p.setTransform(emptyTransform(slot, look), true);
    const Shape body =
        edgeShape(bled(slot, look.onRight, look.metrics.bleed), look.onRight, tabRadius);
    fillMaterial(p, body, {materialTint(Material::UltraThin, look.dark)}, look.surface, look.dark,
                 true);
    const double length = std::max(look.strip - look.metrics.labelInset, minLabelSlot);
    drawTurnedLabel(p, {slot.left(), slot.top() + look.metrics.labelInset, slot.width(), length},
                    look.label, look.font, look.tracking, secondaryColor(look.dark), look.onRight);
    p.restore();
}

QPainterPath emptyTabOutline(const QRectF& slot, const MaterialTabLook& look)
{
    return emptyTransform(slot, look)
        .map(edgeTabShape(bled(slot, look.onRight, look.metrics.bleed), look.onRight, tabRadius));
}

// ---- Round buttons ----

namespace {

QRectF circleIn(const QRectF& slot)
{
    const double d = std::min(slot.width(), slot.height());
    return {slot.center().x() - d / 2, slot.center().y() - d / 2, d, d};
}

QTransform buttonTransform(const QRectF& slot, const ButtonLook& look)
{
    const double scale = look.scale.value_or(look.hovering  ? hoverScale
                                             : look.pressed ? pressScale
                                                            : 1.0);
    return aroundAnchor(slot.center(), 0, scale);
}

void paintButtonBase(QPainter& p, const QRectF& circle, const ButtonLook& look,
                     const Shadow& shadow)
{
    const Shape body{ShadowCache::Shape::Circle, circle, circle.width() / 2};
    paintShadow(p, body, shadow, look.surface);
    fillMaterial(p, body, {materialTint(Material::Regular, look.dark)}, look.surface, look.dark,
                 true);
}

// A gear of eight teeth with a hole, filling a circle of that radius about the origin.
QPainterPath gearPath(double r)
{
    QPainterPath teeth;
    teeth.setFillRule(Qt::WindingFill);
    const int count = 8;
    const double root = r * 0.70;
    for (int i = 0; i < count; ++i) {
        QPainterPath tooth;
        // A tooth narrows toward its tip, as machined teeth do.
        QPolygonF poly;
        poly << QPointF(-r * 0.23, -root * 0.9) << QPointF(r * 0.23, -root * 0.9)
             << QPointF(r * 0.16, -r) << QPointF(-r * 0.16, -r);
        tooth.addPolygon(poly);
        tooth.closeSubpath();
        teeth.addPath(QTransform().rotate(360.0 / count * i).map(tooth));
    }
    QPainterPath body;
    body.addEllipse(QPointF(0, 0), root, root);
    QPainterPath hole;
    hole.addEllipse(QPointF(0, 0), r * 0.32, r * 0.32);
    return body.united(teeth.simplified()).subtracted(hole);
}

} // namespace

void paintPlusButton(QPainter& p, const QRectF& slot, const ButtonLook& look)
{
    p.save();
    p.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    p.setTransform(buttonTransform(slot, look), true);
    const QRectF circle = circleIn(slot);
    paintButtonBase(p, circle, look, plusShadow);
    // Arms of an even pixel width about a centre on the pixel grid stay sharp at 1x.
    const double d = circle.width();
    const double width = std::max(1.5, std::round(d / 14));
    const double arm = std::round(d * 0.36) / 2;
    QPen pen(primaryColor(look.dark), width, Qt::SolidLine, Qt::RoundCap);
    p.setPen(pen);
    const QPointF c = circle.center();
    p.drawLine(QPointF(c.x() - arm, c.y()), QPointF(c.x() + arm, c.y()));
    p.drawLine(QPointF(c.x(), c.y() - arm), QPointF(c.x(), c.y() + arm));
    p.restore();
}

void paintCogButton(QPainter& p, const QRectF& slot, const ButtonLook& look)
{
    p.save();
    p.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    p.setTransform(buttonTransform(slot, look), true);
    const QRectF circle = circleIn(slot);
    paintButtonBase(p, circle, look, cogShadow);
    p.translate(circle.center());
    // A quarter-tooth turn puts no tooth on the axes, where it would look like a plus.
    p.rotate(22.5 / 2);
    p.fillPath(gearPath(circle.width() * 0.27), primaryColor(look.dark));
    p.restore();
}

QPainterPath buttonOutline(const QRectF& slot, const ButtonLook& look)
{
    QPainterPath path;
    path.addEllipse(circleIn(slot));
    return buttonTransform(slot, look).map(path);
}

// ---- Pill ----

void paintPill(QPainter& p, const QRectF& slot, const PillLook& look)
{
    p.save();
    p.setRenderHint(QPainter::Antialiasing);
    const Shape body{ShadowCache::Shape::RoundedRect, slot, pillRadius};
    fillMaterial(p, body, {QColor(0, 0, 0, 140), materialTint(Material::UltraThin, look.dark)},
                 look.surface, look.dark, false);
    strokeInside(p, body, QColor(0, 0, 0, 56), 1);

    QList<QColor> dashes = look.dashes;
    if (dashes.size() > DeckGeom::maxDashes)
        dashes.resize(DeckGeom::maxDashes);
    if (dashes.isEmpty())
        dashes.append(withAlpha(secondaryColor(look.dark), 0.4));
    if (look.overflow)
        dashes.append(withAlpha(secondaryColor(look.dark), 0.5));
    const Metrics& m = look.metrics;
    double y = slot.top() + m.pillPad;
    const double x = slot.center().x() - m.pillPad / 2;
    p.setPen(Qt::NoPen);
    for (const QColor& c : dashes) {
        p.setBrush(c);
        p.drawRoundedRect(QRectF(x, y, m.pillPad, m.dashHeight), dashRadius, dashRadius);
        y += m.dashHeight + m.dashGap;
    }
    p.restore();
}

QPainterPath pillOutline(const QRectF& slot)
{
    QPainterPath path;
    path.addRoundedRect(slot, pillRadius, pillRadius);
    return path;
}

// ---- Edge line ----

void paintEdgeLine(QPainter& p, const QRectF& slot, Surface surface)
{
    // White at 0.35; laid over the shaped grey where nothing shows through.
    const QColor white(255, 255, 255, 89);
    p.fillPath(edgeLineOutline(slot),
               surface == Surface::Shaped ? over(shapedBase(true), white) : white);
}

QPainterPath edgeLineOutline(const QRectF& slot)
{
    // Dashes of 3 on and 4 off from the top, as whole rectangles so that they stay sharp.
    QPainterPath path;
    const double x = slot.center().x() - 0.5;
    for (double y = slot.top(); y < slot.bottom(); y += edgeDashOn + edgeDashOff)
        path.addRect(QRectF(x, y, 1, std::min(edgeDashOn, slot.bottom() - y)));
    return path;
}

// ---- Preview card ----

namespace {

struct CardFonts {
    QFont title;
    QFont body;
    QFont empty;
    QFont progress;
};

CardFonts cardFonts(const CardLook& look)
{
    return {sized(look.font, 11.5, QFont::Bold), sized(look.font, 11, QFont::Normal),
            sized(look.font, 10, QFont::Normal, true), sized(look.font, 9, QFont::DemiBold)};
}

constexpr double titleGap = 4;
constexpr double progressGap = 5;
constexpr double lineGap = 1;
constexpr double pinGlyph = 8.5;
constexpr double boxSize = 8;
constexpr double boxGap = 5;

// A push pin, its point down, in a square of side s from the origin.
QPainterPath pinPath(double s)
{
    QPainterPath head;
    head.addRoundedRect(QRectF(s * 0.22, 0, s * 0.56, s * 0.16), s * 0.06, s * 0.06);
    QPainterPath body;
    body.moveTo(s * 0.32, s * 0.14);
    body.lineTo(s * 0.68, s * 0.14);
    body.lineTo(s * 0.74, s * 0.5);
    body.quadTo(s * 0.88, s * 0.56, s * 0.9, s * 0.66);
    body.lineTo(s * 0.1, s * 0.66);
    body.quadTo(s * 0.12, s * 0.56, s * 0.26, s * 0.5);
    body.closeSubpath();
    QPainterPath needle;
    needle.addRect(QRectF(s * 0.46, s * 0.64, s * 0.08, s * 0.36));
    return head.united(body).united(needle);
}

} // namespace

CardLook CardLook::forNote(const Note& note, bool onRight)
{
    CardLook look;
    const NoteColor& c = NoteText::palette(note);
    look.paper = c.paper;
    look.ink = c.ink;
    look.title = NoteText::displayTitle(note);
    look.emptyText = L10n::text(QStringLiteral("note.empty"));
    look.progress = NoteText::taskProgress(note);
    look.pinned = note.pinned;
    look.onRight = onRight;
    bool skipTitleLine = !NoteText::hasCustomTitle(note);
    const QString body = NoteText::strippingImageTokens(note.body);
    for (const QString& raw : body.split(QLatin1Char('\n'))) {
        const auto marker = Tasks::marker(raw);
        const QString text = Tasks::stripped(raw).trimmed();
        if (text.isEmpty())
            continue;
        if (skipTitleLine) {
            skipTitleLine = false;
            continue;
        }
        look.lines.append({text, marker.has_value(), marker == Tasks::done});
        if (look.lines.size() == maxLines)
            break;
    }
    return look;
}

double cardHeight(const CardLook& look)
{
    const CardFonts f = cardFonts(look);
    double h = cardPadY + QFontMetricsF(f.title).height() + titleGap;
    if (look.lines.isEmpty())
        h += QFontMetricsF(f.empty).height();
    else
        h += look.lines.size() * (QFontMetricsF(f.body).height() + lineGap) - lineGap;
    if (look.progress)
        h += progressGap + QFontMetricsF(f.progress).height();
    return std::ceil(h + cardPadY);
}

QPainterPath cardOutline(const QRectF& slot)
{
    QPainterPath path;
    path.addRoundedRect(slot, cardRadius, cardRadius);
    return path;
}

void paintNotePreviewCard(QPainter& p, const QRectF& slot, const CardLook& look)
{
    p.save();
    p.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing
                     | QPainter::SmoothPixmapTransform);
    const Shape body{ShadowCache::Shape::RoundedRect, slot, cardRadius};
    Shadow s = cardShadow;
    if (look.onRight)
        s.dx = -s.dx;
    paintShadow(p, body, s, look.surface);
    fillSolid(p, body, look.paper, look.surface);
    strokeInside(p, body, withAlpha(look.ink, 0.12));

    const CardFonts f = cardFonts(look);
    const double left = slot.left() + cardPadX;
    const double width = slot.width() - 2 * cardPadX;
    double y = slot.top() + cardPadY;

    const QFontMetricsF tm(f.title, p.device());
    const double titleWidth = look.pinned ? width - pinGlyph - 4 : width;
    p.setFont(f.title);
    p.setPen(look.ink);
    p.drawText(QPointF(left, y + tm.ascent()),
               tm.elidedText(look.title, Qt::ElideRight, titleWidth));
    if (look.pinned) {
        p.save();
        p.translate(slot.right() - cardPadX - pinGlyph, y + (tm.height() - pinGlyph) / 2);
        p.fillPath(pinPath(pinGlyph), withAlpha(look.ink, 0.7));
        p.restore();
    }
    y += tm.height() + titleGap;

    if (look.lines.isEmpty()) {
        const QFontMetricsF em(f.empty, p.device());
        p.setFont(f.empty);
        p.setPen(withAlpha(look.ink, 0.45));
        p.drawText(QPointF(left, y + em.ascent()),
                   em.elidedText(look.emptyText, Qt::ElideRight, width));
        y += em.height();
    } else {
        const QFontMetricsF bm(f.body, p.device());
        p.setFont(f.body);
        const QColor text = withAlpha(look.ink, 0.8);
        for (const CardLine& line : look.lines) {
            double x = left;
            if (line.task) {
                // Boxes on whole pixels: a one-pixel outline at half-pixel positions.
                const double top = std::round(y + (bm.height() - boxSize) / 2) + 0.5;
                const QRectF box(std::round(x) + 0.5, top, boxSize - 1, boxSize - 1);
                p.setPen(QPen(withAlpha(look.ink, 0.6), 1));
                p.setBrush(Qt::NoBrush);
                p.drawRoundedRect(box, 1.5, 1.5);
                if (line.done) {
                    QPainterPath tick;
                    tick.moveTo(box.left() + 1.5, box.center().y());
                    tick.lineTo(box.left() + 3, box.bottom() - 1.5);
                    tick.lineTo(box.right() - 1, box.top() + 1.5);
                    p.setPen(QPen(withAlpha(look.ink, 0.8), 1.2, Qt::SolidLine, Qt::RoundCap,
                                  Qt::RoundJoin));
                    p.drawPath(tick);
                }
                x += boxSize + boxGap;
            }
            p.setPen(line.done ? withAlpha(look.ink, 0.5) : text);
            p.drawText(QPointF(x, y + bm.ascent()),
                       bm.elidedText(line.text, Qt::ElideRight, left + width - x));
            y += bm.height() + lineGap;
        }
        y -= lineGap;
    }

    if (look.progress) {
        y += progressGap;
        const QFontMetricsF pm(f.progress, p.device());
        p.setFont(f.progress);
        p.setPen(withAlpha(look.ink, 0.65));
        p.drawText(QPointF(left, y + pm.ascent()),
                   QStringLiteral("%1/%2").arg(look.progress->first).arg(look.progress->second));
    }
    p.restore();
}

} // namespace DeckPaint

// ---- Shadow cache ----

namespace {

// Box sizes whose three passes approximate a Gaussian of that sigma.
std::vector<int> boxesForGauss(double sigma, int n)
{
    const double ideal = std::sqrt(12 * sigma * sigma / n + 1);
    int wl = int(std::floor(ideal));
    if (wl % 2 == 0)
        --wl;
    const int wu = wl + 2;
    const double mIdeal = (12 * sigma * sigma - n * wl * wl - 4 * n * wl - 3 * n) / (-4.0 * wl - 4);
    const int m = int(std::round(mIdeal));
    std::vector<int> sizes;
    for (int i = 0; i < n; ++i)
        sizes.push_back(i < m ? wl : wu);
    return sizes;
}

// One box pass along rows (or columns) of a w × h plane of alpha values, out of src into dst.
void boxPass(const std::vector<float>& src, std::vector<float>& dst, int w, int h, int radius,
             bool horizontal)
{
    const int lines = horizontal ? h : w;
    const int length = horizontal ? w : h;
    const int step = horizontal ? 1 : w;
    const float scale = 1.0f / float(2 * radius + 1);
    for (int line = 0; line < lines; ++line) {
        const int base = horizontal ? line * w : line;
        auto at = [&](int i) { return i < 0 || i >= length ? 0.0f : src[base + i * step]; };
        float sum = 0;
        for (int i = -radius; i <= radius; ++i)
            sum += at(i);
        for (int i = 0; i < length; ++i) {
            dst[base + i * step] = sum * scale;
            sum += at(i + radius + 1) - at(i - radius);
        }
    }
}

} // namespace

ShadowCache& ShadowCache::shared()
{
    static ShadowCache cache;
    return cache;
}

double ShadowCache::margin(double blur) { return std::ceil(blur * 1.5) + 2; }

QPixmap ShadowCache::shadow(const Key& key)
{
    if (auto it = pixmaps.constFind(key); it != pixmaps.cend())
        return *it;
    if (pixmaps.size() >= limit)
        pixmaps.clear();

    const double m = margin(key.blur);
    const QSize device = (QSizeF(key.size.width() + 2 * m, key.size.height() + 2 * m) * key.dpr)
                             .toSize()
                             .expandedTo(QSize(1, 1));
    QImage image(device, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter p(&image);
        p.setRenderHint(QPainter::Antialiasing);
        p.scale(key.dpr, key.dpr);
        const QRectF rect(QPointF(m, m), key.size);
        QPainterPath path;
        switch (key.shape) {
        case Shape::EdgeTabRight:
        case Shape::EdgeTabLeft:
            path = DeckPaint::edgeTabShape(rect, key.shape == Shape::EdgeTabRight, key.radius);
            break;
        case Shape::RoundedRect:
            path.addRoundedRect(rect, key.radius, key.radius);
            break;
        case Shape::Circle:
            path.addEllipse(rect);
            break;
        }
        p.fillPath(path, Qt::black);
    }

    const int w = image.width();
    const int h = image.height();
    std::vector<float> a(size_t(w) * size_t(h));
    std::vector<float> b(a.size());
    for (int y = 0; y < h; ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = 0; x < w; ++x)
            a[size_t(y) * w + x] = float(qAlpha(line[x])) / 255.0f;
    }
    const double sigma = key.blur / 2 * key.dpr;
    if (sigma > 0) {
        for (int size : boxesForGauss(sigma, 3)) {
            const int radius = (size - 1) / 2;
            boxPass(a, b, w, h, radius, true);
            boxPass(b, a, w, h, radius, false);
        }
    }
    const float r = float(key.color.redF());
    const float g = float(key.color.greenF());
    const float bl = float(key.color.blueF());
    const float alpha = float(key.color.alphaF());
    for (int y = 0; y < h; ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < w; ++x) {
            const float v = std::clamp(a[size_t(y) * w + x], 0.0f, 1.0f) * alpha;
            line[x] = qRgba(int(std::lround(r * v * 255)), int(std::lround(g * v * 255)),
                            int(std::lround(bl * v * 255)), int(std::lround(v * 255)));
        }
    }
    QPixmap pixmap = QPixmap::fromImage(std::move(image));
    pixmap.setDevicePixelRatio(key.dpr);
    ++made;
    pixmaps.insert(key, pixmap);
    return pixmap;
}

void ShadowCache::paint(QPainter& p, Shape shape, const QRectF& rect, double radius,
                        const DeckPaint::Shadow& s)
{
    if (s.color.alpha() == 0 || rect.isEmpty())
        return;
    const double dpr = p.device() ? p.device()->devicePixelRatioF() : 1.0;
    const QPixmap pixmap = shadow({shape, rect.size(), radius, s.blur, s.color, dpr});
    const double m = margin(s.blur);
    p.drawPixmap(QPointF(rect.left() - m + s.dx, rect.top() - m + s.dy), pixmap);
}

size_t qHash(const ShadowCache::Key& key, size_t seed) noexcept
{
    return qHashMulti(seed, int(key.shape), key.size.width(), key.size.height(), key.radius,
                      key.blur, key.color.rgba(), key.dpr);
}
