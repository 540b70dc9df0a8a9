#pragma once

#include "notes/Note.h"

#include <QAbstractButton>
#include <QColor>
#include <QFont>
#include <QPainterPath>
#include <QWidget>

#include <functional>

// The small drawn pieces of the note sheet. Glyphs are paths in a unit square, so that they
// stay sharp at any device pixel ratio and need neither icon fonts nor image files.
namespace SheetGlyph {

enum class Kind { Pin, Checklist, Magnifier, ChevronUp, ChevronDown, AlignLeft, AlignRight, Cross };

// The glyph in the unit square; filled glyphs are closed shapes, the others are lines to stroke.
QPainterPath path(Kind kind);
bool filled(Kind kind);
// Draws the glyph centred in rect, size logical pixels across, turned by degrees.
void paint(QPainter& p, Kind kind, const QRectF& rect, double size, const QColor& color,
           double degrees = 0);
// The system font at a size in logical pixels (QFont points are 1/72 inch).
QFont font(double size, QFont::Weight weight);

} // namespace SheetGlyph

// The sheet's buttons: a glyph, a footer text on a rounded ground, or a colour dot. The ink and
// the opacity are the sheet's; hovering darkens the ground a little, as a plain button does.
class SheetButton : public QAbstractButton {
    Q_OBJECT

public:
    enum class Style { Glyph, Footer, Dot };

    SheetButton(Style style, QWidget* parent);

    void setGlyph(SheetGlyph::Kind kind, double size, double degrees = 0);
    void setInk(const QColor& ink, double opacity);
    void setDotColor(const QColor& fill, bool chosen);
    // Shown instead of a glyph, in the given font; the footer's text is the button's text.
    void setLabel(const QString& label, const QFont& font);
    // The help text, which is also the name a screen reader reads.
    void setHelp(const QString& help);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void nextCheckState() override;

private:
    Style style;
    SheetGlyph::Kind glyph = SheetGlyph::Kind::Magnifier;
    double glyphSize = 11;
    double degrees = 0;
    QColor ink = Qt::black;
    double opacity = 1;
    QColor dot;
    bool chosen = false;
    QString label;
    QFont labelFont;
    bool hovering = false;
};

// The header's text direction chooser: a borderless button that shows the note's direction
// and opens a menu of all directions.
class NoteTextDirectionMenu final : public SheetButton {
    Q_OBJECT

public:
    explicit NoteTextDirectionMenu(QWidget* parent);

    NoteTextDirection direction() const { return chosen; }
    void setDirection(NoteTextDirection direction);
    std::function<void(NoteTextDirection)> select;

private:
    void openMenu();
    NoteTextDirection chosen = NoteTextDirection::Automatic;
};

// A line across the sheet, one device pixel thick at any ratio.
class SheetRule final : public QWidget {
public:
    explicit SheetRule(QWidget* parent);
    void setColor(const QColor& color);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor color;
};

// The strip beside the sheet, away from the edge: the note's title turned along it, and a grip
// that a press drags to pull the note out of the deck.
class NoteGutter final : public QWidget {
    Q_OBJECT

public:
    NoteGutter(bool onRight, QWidget* parent);

    // The press, each move with the button held, and the release, in global coordinates.
    std::function<void(QPointF)> pressed;
    std::function<void(QPointF)> moved;
    std::function<void()> released;

    void setLook(const QColor& paper, const QColor& ink, bool opaque);
    void setTitle(const QString& title);
    const QString& title() const { return text; }
    // The length the title may take along the strip.
    void setTitleRoom(double room);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    const bool onRight;
    double titleRoom = 0;
    QColor paper;
    QColor ink;
    bool opaque = false;
    QString text;
};
