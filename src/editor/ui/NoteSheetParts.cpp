#include "editor/ui/NoteSheetParts.h"

#include "l10n/L10n.h"
#include "notes/Ink.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QFontMetricsF>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>

using namespace Qt::Literals::StringLiterals;

namespace SheetGlyph {

QPainterPath path(Kind kind)
{
    QPainterPath p;
    switch (kind) {
    case Kind::Pin: {
        // A push pin standing upright: a round head, a collar, a needle.
        p.addRoundedRect(QRectF(0.30, 0.02, 0.40, 0.40), 0.12, 0.12);
        p.addRoundedRect(QRectF(0.18, 0.40, 0.64, 0.12), 0.05, 0.05);
        p.addRect(QRectF(0.465, 0.50, 0.07, 0.48));
        p.setFillRule(Qt::WindingFill);
        break;
    }
    case Kind::Checklist:
        for (int row = 0; row < 3; ++row) {
            const double y = 0.18 + row * 0.32;
            p.addRoundedRect(QRectF(0.04, y - 0.1, 0.2, 0.2), 0.04, 0.04);
            p.moveTo(0.40, y);
            p.lineTo(0.96, y);
        }
        break;
    case Kind::Magnifier:
        p.addEllipse(QPointF(0.42, 0.42), 0.32, 0.32);
        p.moveTo(0.66, 0.66);
        p.lineTo(0.94, 0.94);
        break;
    case Kind::ChevronUp:
        p.moveTo(0.14, 0.70);
        p.lineTo(0.5, 0.32);
        p.lineTo(0.86, 0.70);
        break;
    case Kind::ChevronDown:
        p.moveTo(0.14, 0.32);
        p.lineTo(0.5, 0.70);
        p.lineTo(0.86, 0.32);
        break;
    case Kind::Cross:
        p.moveTo(0.18, 0.18);
        p.lineTo(0.82, 0.82);
        p.moveTo(0.82, 0.18);
        p.lineTo(0.18, 0.82);
        break;
    case Kind::AlignLeft:
    case Kind::AlignRight:
        for (int row = 0; row < 4; ++row) {
            const double y = 0.16 + row * 0.23;
            const double length = row % 2 ? 0.58 : 0.92;
            const double x = kind == Kind::AlignLeft ? 0.04 : 0.96 - length;
            p.moveTo(x, y);
            p.lineTo(x + length, y);
        }
        break;
    }
    return p;
}

bool filled(Kind kind) { return kind == Kind::Pin; }

void paint(QPainter& p, Kind kind, const QRectF& rect, double size, const QColor& color,
           double degrees)
{
    p.save();
    p.setRenderHint(QPainter::Antialiasing);
    p.translate(rect.center());
    p.rotate(degrees);
    p.scale(size, size);
    p.translate(-0.5, -0.5);
    if (filled(kind)) {
        p.setPen(Qt::NoPen);
        p.setBrush(color);
    } else {
        // About a pixel and a half at the sizes used: the weight of a semibold symbol.
        QPen pen(color, std::max(1.3, size * 0.12) / size);
        pen.setCapStyle(Qt::RoundCap);
        pen.setJoinStyle(Qt::RoundJoin);
        p.setPen(pen);
        p.setBrush(Qt::NoBrush);
    }
    p.drawPath(path(kind));
    p.restore();
}

QFont font(double size, QFont::Weight weight)
{
    QFont f = QApplication::font();
    f.setPointSizeF(size * 0.75);
    f.setWeight(weight);
    return f;
}

} // namespace SheetGlyph

SheetButton::SheetButton(Style style, QWidget* parent)
    : QAbstractButton(parent)
    , style(style)
{
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::TabFocus);
    if (style == Style::Footer)
        setFont(SheetGlyph::font(10.5, QFont::Medium));
}

void SheetButton::setGlyph(SheetGlyph::Kind kind, double size, double turn)
{
    glyph = kind;
    glyphSize = size;
    degrees = turn;
    label.clear();
    update();
}

void SheetButton::setInk(const QColor& color, double alpha)
{
    ink = color;
    opacity = alpha;
    update();
}

void SheetButton::setDotColor(const QColor& fill, bool isChosen)
{
    dot = fill;
    chosen = isChosen;
    // A screen reader tells the chosen colour as a checked button.
    setCheckable(true);
    setChecked(isChosen);
    update();
}

// The chosen colour is the note's; a click asks for it, and the note's answer checks the dot.
void SheetButton::nextCheckState() {}

void SheetButton::setLabel(const QString& text, const QFont& font)
{
    label = text;
    labelFont = font;
    updateGeometry();
    update();
}

void SheetButton::setHelp(const QString& help)
{
    setToolTip(help);
    setAccessibleName(help);
}

QSize SheetButton::sizeHint() const
{
    switch (style) {
    case Style::Footer: {
        const double w = QFontMetricsF(font()).horizontalAdvance(text());
        return {int(std::ceil(w + 16)), 20};
    }
    case Style::Dot:
        return {14, 14};
    case Style::Glyph:
        break;
    }
    if (!label.isEmpty()) {
        const double w = QFontMetricsF(labelFont).horizontalAdvance(label);
        return {int(std::ceil(w + 8)), 20};
    }
    return {int(std::ceil(glyphSize + 9)), 20};
}

void SheetButton::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF r = QRectF(rect());
    QColor c = ink;
    switch (style) {
    case Style::Footer: {
        c.setAlphaF(isDown() ? 0.16 : hovering ? 0.12 : 0.08);
        p.setPen(Qt::NoPen);
        p.setBrush(c);
        p.drawRoundedRect(r, 6, 6);
        c.setAlphaF(0.72);
        p.setPen(c);
        p.setFont(font());
        p.drawText(r, Qt::AlignCenter, text());
        return;
    }
    case Style::Dot: {
        const QPointF centre = r.center();
        const double radius = chosen || hovering ? 5.5 : 4.5;
        p.setPen(Qt::NoPen);
        p.setBrush(dot);
        p.drawEllipse(centre, radius, radius);
        QColor edge = ink;
        edge.setAlphaF(chosen ? 0.55 : 0.18);
        p.setPen(QPen(edge, chosen ? 1.3 : 0.6));
        p.setBrush(Qt::NoBrush);
        p.drawEllipse(centre, radius, radius);
        return;
    }
    case Style::Glyph:
        break;
    }
    if (hovering || isDown()) {
        QColor ground = ink;
        ground.setAlphaF(isDown() ? 0.12 : 0.07);
        p.setPen(Qt::NoPen);
        p.setBrush(ground);
        p.drawRoundedRect(r.adjusted(0.5, 0.5, -0.5, -0.5), 5, 5);
    }
    c.setAlphaF(std::min(1.0, opacity + (hovering ? 0.2 : 0.0)));
    if (!label.isEmpty()) {
        p.setPen(c);
        p.setFont(labelFont);
        p.drawText(r, Qt::AlignCenter, label);
        return;
    }
    SheetGlyph::paint(p, glyph, r, glyphSize, c, degrees);
}

void SheetButton::enterEvent(QEnterEvent* event)
{
    hovering = true;
    update();
    QAbstractButton::enterEvent(event);
}

void SheetButton::leaveEvent(QEvent* event)
{
    hovering = false;
    update();
    QAbstractButton::leaveEvent(event);
}

NoteTextDirectionMenu::NoteTextDirectionMenu(QWidget* parent)
    : SheetButton(Style::Glyph, parent)
{
    setHelp(L10n::text(u"help.text_direction"_s));
    connect(this, &QAbstractButton::clicked, this, &NoteTextDirectionMenu::openMenu);
    setDirection(NoteTextDirection::Automatic);
}

void NoteTextDirectionMenu::setDirection(NoteTextDirection direction)
{
    chosen = direction;
    switch (direction) {
    case NoteTextDirection::Automatic:
        setLabel(L10n::text(u"direction.auto_short"_s), SheetGlyph::font(9.5, QFont::DemiBold));
        break;
    case NoteTextDirection::LeftToRight:
        setGlyph(SheetGlyph::Kind::AlignLeft, 11);
        break;
    case NoteTextDirection::RightToLeft:
        setGlyph(SheetGlyph::Kind::AlignRight, 11);
        break;
    }
    updateGeometry();
}

void NoteTextDirectionMenu::openMenu()
{
    QMenu menu(this);
    auto* group = new QActionGroup(&menu);
    for (NoteTextDirection d : TextDirection::all) {
        QAction* action = menu.addAction(L10n::text(TextDirection::titleKey(d)));
        action->setCheckable(true);
        action->setChecked(d == chosen);
        group->addAction(action);
        connect(action, &QAction::triggered, this, [this, d] {
            if (select)
                select(d);
        });
    }
    menu.exec(mapToGlobal(QPoint(0, height())));
}

SheetRule::SheetRule(QWidget* parent)
    : QWidget(parent)
{
    setFixedHeight(1);
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void SheetRule::setColor(const QColor& c)
{
    color = c;
    update();
}

void SheetRule::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    const double dpr = devicePixelRatioF();
    p.fillRect(QRectF(0, 0, width(), 1.0 / dpr), color);
}

NoteGutter::NoteGutter(bool onRight, QWidget* parent)
    : QWidget(parent)
    , onRight(onRight)
{
    setCursor(Qt::OpenHandCursor);
}

void NoteGutter::setLook(const QColor& p, const QColor& i, bool isOpaque)
{
    paper = p;
    ink = i;
    opaque = isOpaque;
    update();
}

void NoteGutter::setTitleRoom(double room)
{
    titleRoom = room;
    update();
}

void NoteGutter::setTitle(const QString& title)
{
    if (text == title)
        return;
    text = title;
    setAccessibleName(title);
    update();
}

void NoteGutter::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF r = QRectF(rect());
    QColor fill = paper;
    if (opaque)
        fill = QColor::fromRgbF(paper.redF() * 0.2 + 0.8 * 0.92, paper.greenF() * 0.2 + 0.8 * 0.92,
                                paper.blueF() * 0.2 + 0.8 * 0.92);
    else
        fill.setAlphaF(0.2);
    p.setPen(Qt::NoPen);
    p.setBrush(fill);
    p.drawRoundedRect(r, 10, 10);

    QColor grip = ink;
    grip.setAlphaF(0.22);
    p.setBrush(grip);
    const double gripWidth = 4;
    const double gripHeight = 26;
    p.drawRoundedRect(QRectF(r.center().x() - gripWidth / 2, 12, gripWidth, gripHeight),
                      gripWidth / 2, gripWidth / 2);

    const QFont tab = Ink::tabFont();
    QFont f = tab;
    f.setLetterSpacing(QFont::AbsoluteSpacing, Ink::tabTracking());
    const double room = std::max(0.0, std::min(titleRoom, r.height() - 44));
    const QString shown =
        QFontMetricsF(f).elidedText(text.toUpper(), Qt::ElideRight, room - gripHeight - 12);
    QColor c = ink;
    c.setAlphaF(0.7);
    p.setPen(c);
    p.setFont(f);
    // The title reads along the strip with its letters' tops towards the sheet.
    const double top = 12 + gripHeight + 12;
    p.translate(r.center().x(), top);
    if (onRight) {
        p.rotate(90);
        p.drawText(QRectF(0, -r.width() / 2, room, r.width()), Qt::AlignLeft | Qt::AlignVCenter,
                   shown);
    } else {
        p.rotate(-90);
        p.drawText(QRectF(-room, -r.width() / 2, room, r.width()),
                   Qt::AlignRight | Qt::AlignVCenter, shown);
    }
}

void NoteGutter::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return QWidget::mousePressEvent(event);
    setCursor(Qt::ClosedHandCursor);
    if (pressed)
        pressed(event->globalPosition());
}

void NoteGutter::mouseMoveEvent(QMouseEvent* event)
{
    if ((event->buttons() & Qt::LeftButton) && moved)
        moved(event->globalPosition());
}

void NoteGutter::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return QWidget::mouseReleaseEvent(event);
    setCursor(Qt::OpenHandCursor);
    if (released)
        released();
}
