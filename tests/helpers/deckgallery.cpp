// Paints every piece of the deck, on both edges and in every state, into one PNG for a person
// to look at: a column per edge, on a mid-grey desktop in the dark appearance and on a light
// desktop in the light one, with a compositor and
// without one (there the pieces are cut to their outlines by a 1-bit shape, over a black
// window, as X shapes a window).
//
// Arguments: output PNG, device pixel ratio (default 1), optional crop "x,y,w,h" in logical
// pixels, optional whole-number zoom (nearest pixel, to inspect edges). Run with
// QT_QPA_PLATFORM=offscreen.

#include "deck/DeckGeom.h"
#include "deck/ui/DeckPaint.h"
#include "notes/Ink.h"
#include "notes/Note.h"
#include "notes/NoteColor.h"
#include "settings/Settings.h"
#include "support/MemoryDefaults.h"
#include "support/MemoryLoginItem.h"
#include "support/TableFonts.h"

#include <QGuiApplication>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>

#include <algorithm>
#include <cstdio>
#include <functional>

using namespace DeckPaint;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr double sceneWidth = 300;
constexpr double sceneHeight = 820;

// One piece: paints itself and gives its outline, both in scene coordinates.
struct Piece {
    std::function<void(QPainter&)> paint;
    QPainterPath outline;
};

QRectF mirrored(const QRectF& r, bool onRight)
{
    return onRight ? r : QRectF(sceneWidth - r.right(), r.top(), r.width(), r.height());
}

std::vector<Piece> scene(bool onRight, Surface surface, bool dark)
{
    const Metrics m = Metrics::current();
    const QFont tabFont = Ink::tabFont();
    const double tracking = Ink::tabTracking();
    // The pitch a deck would take for these labels: the longest, padded, within the bounds.
    double longest = 0;
    for (const QString& label : {u"SHOPPING LIST"_s, u"会议记录 周三"_s})
        longest = std::max(longest, DeckGeom::measureLabel(label, tabFont, tracking));
    const double pitch =
        std::clamp(longest + DeckGeom::labelPad(), DeckGeom::pitchMin(), DeckGeom::pitchMax());
    const double itemHeight = pitch + DeckGeom::tabLap();
    const double column = sceneWidth - m.tabWidth;
    std::vector<Piece> pieces;
    auto at = [&](double x, double y, double w, double h) {
        return mirrored(QRectF(x, y, w, h), onRight);
    };

    struct TabRow {
        QString label;
        int color;
        bool pinned, hovering, isOpen, lifted;
    };
    const TabRow rows[] = {
        {u"SHOPPING LIST"_s, 0, true, false, false, false},
        {u"会议记录 周三"_s, 2, false, true, false, false},
        {u"A VERY LONG TITLE THAT WILL NOT FIT"_s, 4, false, false, true, false},
        {u"LIFTED"_s, 5, true, false, false, true},
    };
    double y = 20;
    for (const TabRow& row : rows) {
        TabLook look;
        look.metrics = m;
        const NoteColor& c = NoteColor::at(row.color);
        look.paper = c.paper;
        look.ink = c.ink;
        look.label = row.label;
        look.font = tabFont;
        look.tracking = tracking;
        look.strip = pitch;
        look.onRight = onRight;
        look.pinned = row.pinned;
        look.hovering = row.hovering;
        look.isOpen = row.isOpen;
        look.lifted = row.lifted;
        look.surface = surface;
        const QRectF slot = at(column, y, m.tabWidth, itemHeight);
        pieces.push_back({[=](QPainter& p) { paintVerticalTab(p, slot, look); },
                          verticalTabOutline(slot, look)});
        y += pitch;
    }

    MaterialTabLook more;
    more.metrics = m;
    more.label = u"+3"_s;
    more.onRight = onRight;
    more.surface = surface;
    more.dark = dark;
    const QRectF moreSlot = at(column, y - pitch + itemHeight + 7, m.tabWidth, 34);
    pieces.push_back(
        {[=](QPainter& p) { paintMoreTab(p, moreSlot, more); }, moreTabOutline(moreSlot, more)});

    ButtonLook button;
    button.surface = surface;
    button.dark = dark;
    const QRectF plusSlot = at(column, moreSlot.bottom() + 12, m.tabWidth, 28);
    const QRectF cogSlot = at(column, plusSlot.bottom() + 8, m.tabWidth, 24);
    pieces.push_back({[=](QPainter& p) { paintPlusButton(p, plusSlot, button); },
                      buttonOutline(plusSlot, button)});
    pieces.push_back(
        {[=](QPainter& p) { paintCogButton(p, cogSlot, button); }, buttonOutline(cogSlot, button)});
    ButtonLook hovered = button;
    hovered.hovering = true;
    const QRectF plusHover = at(column - 50, plusSlot.top(), m.tabWidth, 28);
    const QRectF cogHover = at(column - 50, cogSlot.top(), m.tabWidth, 24);
    pieces.push_back({[=](QPainter& p) { paintPlusButton(p, plusHover, hovered); },
                      buttonOutline(plusHover, hovered)});
    pieces.push_back({[=](QPainter& p) { paintCogButton(p, cogHover, hovered); },
                      buttonOutline(cogHover, hovered)});

    const QRectF line = at(sceneWidth - 4, 20, 1, cogSlot.bottom() - 20);
    pieces.push_back(
        {[=](QPainter& p) { paintEdgeLine(p, line, surface); }, edgeLineOutline(line)});

    // Chips: rest, open, pressed.
    double cy = cogSlot.bottom() + 24;
    for (int i = 0; i < 3; ++i) {
        ChipLook chip;
        chip.metrics = m;
        chip.paper = NoteColor::at(i + 1).paper;
        chip.onRight = onRight;
        chip.isOpen = i == 1;
        chip.pressed = i == 2;
        chip.surface = surface;
        const QRectF slot = at(column, cy, m.tabWidth, DeckGeom::chipHeight());
        pieces.push_back(
            {[=](QPainter& p) { paintChipTab(p, slot, chip); }, chipTabOutline(slot, chip)});
        cy += DeckGeom::chipHeight() + DeckGeom::chipGap();
    }

    MaterialTabLook empty;
    empty.metrics = m;
    empty.label = u"NEW NOTE"_s;
    empty.font = tabFont;
    empty.tracking = tracking;
    empty.strip = pitch;
    empty.onRight = onRight;
    empty.surface = surface;
    empty.dark = dark;
    const QRectF emptySlot = at(column, cy + 12, m.tabWidth, pitch);
    pieces.push_back({[=](QPainter& p) { paintEmptyTab(p, emptySlot, empty); },
                      emptyTabOutline(emptySlot, empty)});

    // Pills: five notes, none, and more than fit.
    const double pillWidth = DeckGeom::plusGap();
    const std::pair<int, bool> pills[] = {{5, false}, {0, false}, {DeckGeom::maxDashes, true}};
    double px = 150;
    for (const auto& [count, overflow] : pills) {
        PillLook pill;
        pill.metrics = m;
        for (int i = 0; i < count; ++i)
            pill.dashes.append(NoteColor::at(i).dash);
        pill.overflow = overflow;
        pill.surface = surface;
        pill.dark = dark;
        const int notes = overflow ? count + 1 : count;
        const QRectF slot = at(px, 300, pillWidth, DeckGeom::pillHeight(notes));
        pieces.push_back({[=](QPainter& p) { paintPill(p, slot, pill); }, pillOutline(slot)});
        px += 30;
    }

    // Preview cards beside the second tab, and two more below: empty and pinned with tasks.
    auto card = [&](const Note& note, double top) {
        CardLook look = CardLook::forNote(note, onRight);
        look.surface = surface;
        const QRectF slot = at(column - 10 - cardWidth, top, cardWidth, cardHeight(look));
        pieces.push_back(
            {[=](QPainter& p) { paintNotePreviewCard(p, slot, look); }, cardOutline(slot)});
        return slot.bottom();
    };
    Note shopping;
    shopping.title = u"会议记录 周三"_s;
    shopping.body =
        u"  Budget review with Anna  \n\n![image](pondrift-img://0F3A)\nShip the beta by Friday\n"
        u"☑ Book the room\n☐ Send the agenda to everyone on the list"_s;
    shopping.color = 2;
    double bottom = card(shopping, 20 + pitch);
    Note blank;
    blank.color = 6;
    blank.pinned = true;
    bottom = card(blank, bottom + 16);
    Note tasks;
    tasks.body = u"Groceries\n☐ Milk\n☑ Bread\n☐ Apples, the green ones"_s;
    tasks.color = 7;
    tasks.pinned = true;
    card(tasks, std::max(bottom + 16, 300.0 + DeckGeom::pillHeight(15) + 16));
    return pieces;
}

QImage renderScene(bool onRight, Surface surface, bool dark, const QImage& background, double dpr)
{
    const QSize device = (QSizeF(sceneWidth, sceneHeight) * dpr).toSize();
    const std::vector<Piece> pieces = scene(onRight, surface, dark);
    QImage out = background.scaled(device);
    out.setDevicePixelRatio(dpr);
    if (surface == Surface::Composited) {
        QPainter p(&out);
        for (const Piece& piece : pieces)
            piece.paint(p);
        return out;
    }
    // Without a compositor the window is opaque, black where nothing is painted, and shows
    // only the pixels of its shape.
    QImage window(device, QImage::Format_ARGB32_Premultiplied);
    window.setDevicePixelRatio(dpr);
    window.fill(Qt::black);
    QRegion shape;
    {
        QPainter p(&window);
        for (const Piece& piece : pieces) {
            piece.paint(p);
            shape +=
                QRegion(piece.outline.toFillPolygon(QTransform::fromScale(dpr, dpr)).toPolygon());
        }
    }
    QPainter p(&out);
    p.setClipRegion(QTransform::fromScale(1 / dpr, 1 / dpr).map(shape));
    p.drawImage(QPointF(0, 0), window);
    return out;
}

QImage backdrop(bool light, QSize size)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    QPainter p(&image);
    if (!light) {
        image.fill(QColor(128, 128, 128));
        return image;
    }
    QLinearGradient g(0, 0, size.width(), size.height());
    g.setColorAt(0, QColor(224, 236, 248));
    g.setColorAt(1, QColor(246, 240, 228));
    p.fillRect(image.rect(), g);
    return image;
}

} // namespace

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: deckgallery OUT.png [DPR] [x,y,w,h]\n");
        return 2;
    }
    const double dpr = argc > 2 ? QString::fromLocal8Bit(argv[2]).toDouble() : 1.0;
    MemoryDefaults defaults;
    MemoryLoginItem loginItem;
    TableFonts fonts;
    Settings::install(defaults, loginItem);
    Ink::install(fonts);

    const QSize sceneDevice = (QSizeF(sceneWidth, sceneHeight) * dpr).toSize();
    QImage sheet(sceneDevice.width() * 8, sceneDevice.height(),
                 QImage::Format_ARGB32_Premultiplied);
    sheet.fill(Qt::white);
    {
        QPainter p(&sheet);
        int column = 0;
        for (bool light : {false, true}) {
            const QImage back = backdrop(light, sceneDevice);
            for (Surface surface : {Surface::Composited, Surface::Shaped}) {
                for (bool onRight : {false, true}) {
                    QImage scene = renderScene(onRight, surface, !light, back, dpr);
                    scene.setDevicePixelRatio(1);
                    p.drawImage(column * sceneDevice.width(), 0, scene);
                    ++column;
                }
            }
        }
    }
    if (argc > 3) {
        const QStringList c = QString::fromLocal8Bit(argv[3]).split(u',');
        if (c.size() == 4) {
            const QRectF r(c[0].toDouble() * dpr, c[1].toDouble() * dpr, c[2].toDouble() * dpr,
                           c[3].toDouble() * dpr);
            sheet = sheet.copy(r.toRect());
        }
    }
    if (argc > 4) {
        const int zoom = QString::fromLocal8Bit(argv[4]).toInt();
        sheet = sheet.scaled(sheet.size() * zoom);
    }
    return sheet.save(QString::fromLocal8Bit(argv[1])) ? 0 : 1;
}
