#pragma once

#include <QColor>
#include <QFont>
#include <QHash>
#include <QList>
#include <QPainterPath>
#include <QPixmap>
#include <QRectF>
#include <QRegion>
#include <QString>
#include <QTransform>

#include <optional>
#include <utility>

class QPainter;
struct Note;

// The painting of the deck's small pieces: the tabs, the chip, the More and Empty tabs, the
// plus and cog buttons, the pill, the edge line and the preview card.
//
// Every painter is pure: it takes a painter, the rectangle of the item's slot in the painter's
// logical coordinates, and a look made of plain values, and reads no settings, store or clock.
// It applies the item's own transform (lean, bleed past the screen edge, lift, press and hover
// scale) about the item's anchor, so a caller animating an item only changes numbers in its
// look. Each item also has an outline in the same coordinates, after its transform and without
// its shadow, which a panel uses for hit testing and, without a compositor, as its window
// shape.
//
// Lengths that follow the deck's scale come in Metrics; the few fixed ones (pin dot, card
// width) are logical pixels. Shadows come from ShadowCache::shared(), which blurs each shape
// once per size and device pixel ratio. Main thread only.
namespace DeckPaint {

// Composited: translucent materials with a hairline, and shadows. Shaped: no compositor, so
// the window is cut to the union of the outlines; shadows would be cut away and translucent
// pixels would show black, so none are drawn and materials are opaque. Shaped fills also run
// 0.75 logical pixel past their outline, so that the edge pixels windowShape keeps are fully
// covered rather than blended with the window's black.
enum class Surface { Composited, Shaped };

// The window shape for a union of outlines, in logical pixels: each logical pixel whose centre
// lies inside. Shaped painting covers every such pixel whole and opaque, at any ratio.
QRegion windowShape(const QPainterPath& outlines);

// The deck's scaled lengths, as DeckGeom gives them.
struct Metrics {
    double scale = 0;
    double tabWidth = 0;
    double bleed = 0;
    double labelInset = 0;
    double pillPad = 0;
    double dashHeight = 0;
    double dashGap = 0;

    // From DeckGeom at Settings::deckScale. REQUIRES: Settings installed.
    static Metrics current();
};

// The scales the painters apply from the flags, unless a look gives its own scale.
inline constexpr double liftScale = 1.04;
inline constexpr double pressScale = 0.97;
inline constexpr double hoverScale = 1.08;
inline constexpr double chipLeanShare = 0.6;
inline constexpr double cardWidth = 210;

// Appearance-dependent colours of the text and glyphs that sit on materials.
QColor primaryColor(bool dark);
QColor secondaryColor(bool dark);

// A shadow as an offset blurred silhouette: blur is the shadow's radius, whose Gaussian has
// a sigma of half of it.
struct Shadow {
    QColor color{};
    double blur = 0;
    double dx = 0;
    double dy = 0;
};

// A rounded rectangle whose two corners on the side away from the screen edge are rounded and
// the two at the edge square.
QPainterPath edgeTabShape(const QRectF& rect, bool onRight, double radius);

// The labelled tab of a note. slot is the tab's frame: tabWidth wide, `height` tall; the
// body runs bleed further past the screen edge. strip is the part not covered by the next tab.
struct TabLook {
    Metrics metrics{};
    QColor paper{};
    QColor ink{};
    // Upper-cased already.
    QString label{};
    // Its letter spacing is replaced by tracking.
    QFont font{};
    double tracking = 0;
    double strip = 0;
    bool onRight = true;
    bool pinned = false;
    bool isOpen = false;
    bool hovering = false;
    bool lifted = false;
    // Mid-animation; absent: liftScale when lifted, else 1.
    std::optional<double> scale{};
    Surface surface = Surface::Composited;
};
void paintVerticalTab(QPainter& p, const QRectF& slot, const TabLook& look);
QPainterPath verticalTabOutline(const QRectF& slot, const TabLook& look);
Shadow verticalTabShadow(const TabLook& look);
// The label's slot in the tab's own coordinates, before lean and scale.
QRectF labelSlot(const QRectF& slot, const TabLook& look);
// From the tab's own coordinates to the painter's: lean and scale about the middle of the
// slot's edge side.
QTransform verticalTabTransform(const QRectF& slot, const TabLook& look);

// The colour chip of the compact style; slot is tabWidth × chipHeight.
struct ChipLook {
    Metrics metrics{};
    QColor paper{};
    bool onRight = true;
    bool isOpen = false;
    bool pressed = false;
    // Absent: pressScale when pressed, else 1.
    std::optional<double> scale{};
    Surface surface = Surface::Composited;
};
void paintChipTab(QPainter& p, const QRectF& slot, const ChipLook& look);
QPainterPath chipTabOutline(const QRectF& slot, const ChipLook& look);

// The More tab ("+N") and the Empty tab (the label of a new note), both on ultra-thin
// material in the secondary style. The Empty tab leans and bleeds like a labelled tab.
struct MaterialTabLook {
    Metrics metrics{};
    // "+N" for the More tab; the upper-cased label for the Empty tab.
    QString label{};
    // The Empty tab's tab font; the More tab sets its own.
    QFont font{};
    double tracking = 0;
    // The Empty tab's label strip.
    double strip = 0;
    bool onRight = true;
    bool dark = true;
    bool pressed = false;
    std::optional<double> scale{};
    Surface surface = Surface::Composited;
};
void paintMoreTab(QPainter& p, const QRectF& slot, const MaterialTabLook& look);
QPainterPath moreTabOutline(const QRectF& slot, const MaterialTabLook& look);
void paintEmptyTab(QPainter& p, const QRectF& slot, const MaterialTabLook& look);
QPainterPath emptyTabOutline(const QRectF& slot, const MaterialTabLook& look);

// The round plus and cog buttons: a circle as wide as the slot's shorter side, centred in it.
struct ButtonLook {
    bool dark = true;
    bool hovering = false;
    bool pressed = false;
    // Absent: hoverScale when hovering, pressScale when pressed, else 1.
    std::optional<double> scale{};
    Surface surface = Surface::Composited;
};
void paintPlusButton(QPainter& p, const QRectF& slot, const ButtonLook& look);
void paintCogButton(QPainter& p, const QRectF& slot, const ButtonLook& look);
QPainterPath buttonOutline(const QRectF& slot, const ButtonLook& look);

// The resting pill. slot is plusGap wide and DeckGeom::pillHeight tall.
struct PillLook {
    Metrics metrics{};
    // One dash colour a note, at most DeckGeom::maxDashes; none draws the empty dash.
    QList<QColor> dashes{};
    // More notes than dashes: one more dash in the secondary colour.
    bool overflow = false;
    bool dark = true;
    Surface surface = Surface::Composited;
};
void paintPill(QPainter& p, const QRectF& slot, const PillLook& look);
QPainterPath pillOutline(const QRectF& slot);

// The dashed line along the column's edge side, down the middle of slot (1 wide). Its outline
// is the dashes alone, so that a shaped window shows nothing between them.
void paintEdgeLine(QPainter& p, const QRectF& slot, Surface surface);
QPainterPath edgeLineOutline(const QRectF& slot);

// The preview card beside a hovered tab; slot's top left is the card's, its size is
// cardWidth × cardHeight(look).
struct CardLine {
    QString text{};
    bool task = false;
    bool done = false;
};
struct CardLook {
    QColor paper{};
    QColor ink{};
    QString title{};
    // Trimmed, without image tokens, a handful at most; empty: emptyText shows instead.
    QList<CardLine> lines{};
    QString emptyText{};
    std::optional<std::pair<int, int>> progress{};
    bool pinned = false;
    bool onRight = true;
    // The system font; sizes are set from it.
    QFont font{};
    Surface surface = Surface::Composited;

    // The look of a note: its display title, up to maxLines body lines (without the line that
    // serves as title when the note has none of its own), its task progress and the localised
    // "note.empty". REQUIRES: L10n usable.
    static constexpr int maxLines = 5;
    static CardLook forNote(const Note& note, bool onRight);
};
double cardHeight(const CardLook& look);
void paintNotePreviewCard(QPainter& p, const QRectF& slot, const CardLook& look);
QPainterPath cardOutline(const QRectF& slot);

} // namespace DeckPaint

// Blurred shadow silhouettes, made once and drawn as pixmaps. A shadow's pixmap depends on its
// shape, size, corner radius, blur, colour and device pixel ratio; a panel draws a handful of
// them every frame, so each is blurred once and reused. Bounded by emptying it whole once it
// holds more than limit. One cache serves the process. Main thread only.
class ShadowCache {
public:
    enum class Shape { EdgeTabRight, EdgeTabLeft, RoundedRect, Circle };
    struct Key {
        Shape shape = Shape::RoundedRect;
        QSizeF size;
        double radius = 0;
        double blur = 0;
        QColor color;
        double dpr = 1;
        friend bool operator==(const Key&, const Key&) = default;
    };
    static constexpr qsizetype limit = 256;

    static ShadowCache& shared();

    // The shadow of a shape of key.size whose top left is at the origin; the pixmap (of the
    // key's device pixel ratio) is to be drawn at (-margin, -margin) from the shape's top
    // left, with the shadow's offset added.
    QPixmap shadow(const Key& key);
    // Room on every side for the blur to fade out.
    static double margin(double blur);
    // Draws the shadow of that shape at rect, offset as the shadow says, at the painter's
    // device pixel ratio.
    void paint(QPainter& p, Shape shape, const QRectF& rect, double radius,
               const DeckPaint::Shadow& s);

    qsizetype size() const { return pixmaps.size(); }
    // How many blurs were made since start; a steady number while frames repeat.
    qsizetype blurs() const { return made; }
    void clear() { pixmaps.clear(); }

private:
    QHash<Key, QPixmap> pixmaps;
    qsizetype made = 0;
};

size_t qHash(const ShadowCache::Key& key, size_t seed = 0) noexcept;
