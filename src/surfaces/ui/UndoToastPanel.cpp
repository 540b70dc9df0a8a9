#include "surfaces/ui/UndoToastPanel.h"

#include "deck/ui/DeckPaint.h"
#include "editor/ui/NoteSheetParts.h"
#include "l10n/L10n.h"
#include "notes/NoteColor.h"
#include "notes/NoteText.h"
#include "platform/Compositor.h"
#include "platform/ScreenCoordinates.h"
#include "platform/WindowHints.h"

#include <QBoxLayout>
#include <QGuiApplication>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr double ringSize = 16;
constexpr int padding = 14;

QColor withAlpha(QColor c, double alpha)
{
    c.setAlphaF(float(alpha));
    return c;
}

// The toast's own ground: light and nearly opaque, so that its texts read over any window.
const QColor ground = QColor::fromRgbF(0.97f, 0.97f, 0.96f, 0.96f);
const QColor primary = QColor::fromRgbF(0.1f, 0.1f, 0.1f);
const QColor secondary = QColor::fromRgbF(0.1f, 0.1f, 0.1f, 0.55f);

} // namespace

UndoToastPanel::UndoToastPanel(UndoToast& owner, Parts parts)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint
                           | Qt::NoDropShadowWindowHint | Qt::WindowDoesNotAcceptFocus)
    , owner(owner)
    , with(parts)
{
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setFocusPolicy(Qt::NoFocus);
    setWindowTitle(L10n::text(u"undo.note_deleted"_s));
    winId();
    composited = with.compositor.isActive();
    compositorWatch = with.compositor.onChanged([this](bool on) {
        composited = on;
        update();
    });

    auto* row = new QHBoxLayout(this);
    row->setSpacing(10);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(0);
    heading = new QLabel(L10n::text(u"undo.note_deleted"_s), this);
    heading->setFont(SheetGlyph::font(12, QFont::Medium));
    title = new QLabel(this);
    title->setObjectName(u"title"_s);
    title->setFont(SheetGlyph::font(10, QFont::Normal));
    title->setTextFormat(Qt::PlainText);
    QPalette p = heading->palette();
    p.setColor(QPalette::WindowText, primary);
    heading->setPalette(p);
    p.setColor(QPalette::WindowText, secondary);
    title->setPalette(p);
    texts->addStretch();
    texts->addWidget(heading);
    texts->addWidget(title);
    texts->addStretch();
    button = new SheetButton(SheetButton::Style::Glyph, this);
    button->setObjectName(u"undo"_s);
    button->setText(L10n::text(u"action.undo"_s));
    button->setLabel(L10n::text(u"action.undo"_s), SheetGlyph::font(12, QFont::DemiBold));
    button->setInk(primary, 0.9);
    button->setHelp(L10n::text(u"action.undo"_s));
    button->setFocusPolicy(Qt::NoFocus);
    connect(button, &QAbstractButton::clicked, this, [this] { this->owner.undo(); });
    // A box layout leaves out its spacing next to a spacer: the ring's room takes it along.
    row->addSpacing(int(ringSize) + row->spacing());
    row->addLayout(texts, 1);
    row->addWidget(button);
}

UndoToastPanel::~UndoToastPanel() = default;

int UndoToastPanel::margin() const
{
    return composited ? int(std::ceil(ShadowCache::margin(shadowBlur) + shadowDrop)) : 0;
}

QRectF UndoToastPanel::toastRect() const
{
    const int m = margin();
    return QRectF(rect().adjusted(m, m, -m, -m));
}

void UndoToastPanel::present(const Note& note, const QRectF& frame)
{
    ring = NoteText::palette(note).dash;
    title->setText(NoteText::displayTitle(note));
    const QScreen* main = QGuiApplication::primaryScreen();
    const QRectF mainQt = main ? QRectF(main->geometry()) : QRectF();
    const int m = margin();
    setGeometry(ScreenCoordinates::toQt(frame, mainQt).toAlignedRect().adjusted(-m, -m, m, m));
    layout()->setContentsMargins(m + padding, m, m + padding, m);
    if (!composited) {
        QPainterPath shape;
        shape.addRoundedRect(toastRect(), cornerRadius, cornerRadius);
        setMask(QRegion(shape.toFillPolygon().toPolygon()));
    } else {
        clearMask();
    }
    if (!isVisible()) {
        with.hints.makePanel(windowHandle());
        show();
    }
    raise();
    update();
}

void UndoToastPanel::setRemaining(double value)
{
    if (value == fraction)
        return;
    fraction = value;
    update(QRect(toastRect().topLeft().toPoint(), QSize(padding + int(ringSize) + 4, height())));
}

void UndoToastPanel::dismiss() { hide(); }

void UndoToastPanel::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF toast = toastRect();
    QPainterPath shape;
    shape.addRoundedRect(toast, cornerRadius, cornerRadius);
    if (composited)
        ShadowCache::shared().paint(p, ShadowCache::Shape::RoundedRect, toast, cornerRadius,
                                    {QColor::fromRgbF(0, 0, 0, 0.25), shadowBlur, 0, shadowDrop});
    p.fillPath(shape, ground);
    p.strokePath(shape, QPen(withAlpha(primary, 0.08), 0.5));

    const QRectF circle(toast.left() + padding + 1, toast.center().y() - ringSize / 2 + 1,
                        ringSize - 2, ringSize - 2);
    p.setPen(QPen(withAlpha(secondary, 0.25), 2));
    p.drawEllipse(circle);
    // From the top, running down clockwise as time passes: what is left stays.
    const double left = std::clamp(fraction, 0.0, 1.0);
    p.setPen(QPen(ring, 2, Qt::SolidLine, Qt::RoundCap));
    p.drawArc(circle, 90 * 16, int(std::round(-left * 360 * 16)));
}
