#include "surfaces/ui/CapturePanel.h"

#include "deck/ui/DeckPaint.h"
#include "editor/ui/NoteSheetParts.h"
#include "l10n/L10n.h"
#include "notes/Ink.h"
#include "notes/NoteColor.h"
#include "notes/NoteStore.h"
#include "notes/NoteText.h"
#include "platform/Compositor.h"
#include "platform/ScreenCoordinates.h"
#include "platform/WindowHints.h"

#include <QAbstractButton>
#include <QBoxLayout>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QPlainTextEdit>
#include <QScreen>
#include <QTimer>
#include <QWindow>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int padding = 14;

QColor withAlpha(QColor c, double alpha)
{
    c.setAlphaF(alpha);
    return c;
}

// One choice of note: a dot in the note's colour, larger and ringed when chosen; the new
// note's dot carries a plus.
class CaptureDot final : public QAbstractButton {
public:
    CaptureDot(QColor fill, QColor ink, bool isNew, QWidget* parent)
        : QAbstractButton(parent)
        , fill(fill)
        , ink(ink)
        , isNew(isNew)
    {
        // The click area reaches 3 past the dot on every side.
        setFixedSize(18, 18);
        setCursor(Qt::PointingHandCursor);
        setFocusPolicy(Qt::NoFocus);
    }
    bool chosen = false;

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter p(this);
        p.setRenderHint(QPainter::Antialiasing);
        const double d = 10 * (chosen ? 1.15 : 1.0);
        const QRectF dot(QPointF(width() / 2.0 - d / 2, height() / 2.0 - d / 2), QSizeF(d, d));
        p.setOpacity(chosen ? 1.0 : 0.75);
        p.setPen(Qt::NoPen);
        p.setBrush(fill);
        p.drawEllipse(dot);
        if (isNew) {
            p.setBrush(Qt::NoBrush);
            p.setPen(QPen(withAlpha(ink, 0.45), 1.2));
            p.drawEllipse(dot.adjusted(0.6, 0.6, -0.6, -0.6));
            p.setPen(QPen(withAlpha(ink, 0.6), 1.3, Qt::SolidLine, Qt::RoundCap));
            const QPointF c = dot.center();
            p.drawLine(c - QPointF(2.2, 0), c + QPointF(2.2, 0));
            p.drawLine(c - QPointF(0, 2.2), c + QPointF(0, 2.2));
        }
        if (chosen) {
            p.setBrush(Qt::NoBrush);
            p.setPen(QPen(withAlpha(ink, 0.7), 1.3));
            p.drawEllipse(dot.adjusted(-2, -2, 2, 2));
        }
    }

private:
    QColor fill;
    QColor ink;
    bool isNew;
};

} // namespace

CapturePanel::CapturePanel(QuickCapture& owner, Parts parts)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint
                           | Qt::NoDropShadowWindowHint)
    , owner(owner)
    , with(parts)
{
    setAttribute(Qt::WA_TranslucentBackground);
    setWindowTitle(L10n::text(u"capture.title"_s));
    winId();
    composited = with.compositor.isActive();
    compositorWatch = with.compositor.onChanged([this](bool on) {
        composited = on;
        resize(int(QuickCapture::size.width()) + 2 * margin(),
               int(QuickCapture::size.height()) + 2 * margin());
        update();
    });

    content = new QWidget(this);
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(padding, padding - 2, padding, padding - 4);
    column->setSpacing(4);
    auto* top = new QHBoxLayout;
    top->setSpacing(6);
    heading = new QLabel(content);
    heading->setObjectName(u"heading"_s);
    heading->setFont(SheetGlyph::font(11, QFont::DemiBold));
    heading->setTextFormat(Qt::PlainText);
    top->addWidget(heading, 1);
    dotRow = new QHBoxLayout;
    dotRow->setSpacing(0);
    top->addLayout(dotRow);
    column->addLayout(top);
    text = new QPlainTextEdit(content);
    text->setObjectName(u"text"_s);
    text->setFont(Ink::body(13.5));
    text->setFrameShape(QFrame::NoFrame);
    text->setFixedHeight(72);
    // The words line up with the heading above them.
    text->document()->setDocumentMargin(1);
    text->viewport()->setAutoFillBackground(false);
    text->setAutoFillBackground(false);
    text->setAccessibleName(L10n::text(u"capture.title"_s));
    text->installEventFilter(this);
    column->addWidget(text);
    hint = new QLabel(L10n::text(u"capture.hint"_s), content);
    hint->setObjectName(u"hint"_s);
    hint->setFont(SheetGlyph::font(10, QFont::Normal));
    column->addWidget(hint);

    connect(&with.notes, &NoteStore::notesChanged, this, &CapturePanel::refresh);
    resize(int(QuickCapture::size.width()) + 2 * margin(),
           int(QuickCapture::size.height()) + 2 * margin());
    refresh();
}

CapturePanel::~CapturePanel() = default;

int CapturePanel::margin() const
{
    return composited ? int(std::ceil(ShadowCache::margin(shadowBlur))) : 0;
}

void CapturePanel::resizeEvent(QResizeEvent*)
{
    const int m = margin();
    content->setGeometry(rect().adjusted(m, m, -m, -m));
    if (!composited) {
        QPainterPath shape;
        shape.addRoundedRect(QRectF(content->geometry()), cornerRadius, cornerRadius);
        setMask(QRegion(shape.toFillPolygon().toPolygon()));
    } else {
        clearMask();
    }
}

void CapturePanel::present(const QRectF& frame, quint32 time)
{
    const QScreen* main = QGuiApplication::primaryScreen();
    const QRectF mainQt = main ? QRectF(main->geometry()) : QRectF();
    const int m = margin();
    setGeometry(ScreenCoordinates::toQt(frame, mainQt).toAlignedRect().adjusted(-m, -m, m, m));
    if (!isVisible()) {
        with.hints.makePanel(windowHandle());
        show();
    }
    raise();
    with.hints.takeKeyboard(windowHandle(), time);
    text->setFocus(Qt::ActiveWindowFocusReason);
}

void CapturePanel::close()
{
    closing = true;
    if (isActiveWindow())
        with.hints.releaseKeyboard(windowHandle());
    hide();
    deleteLater();
}

void CapturePanel::choose(const std::optional<QString>& id)
{
    targetID = id;
    refresh();
}

// The heading, the dots and the colours follow the chosen note, which may change or go
// while the panel is open.
void CapturePanel::refresh()
{
    const QList<Note> targets = owner.targets();
    const std::optional<Note> chosen = targetID ? with.notes.note(*targetID) : std::nullopt;
    const NoteColor& c =
        chosen ? NoteText::palette(*chosen) : NoteColor::at(qint64(with.notes.notes().size()));
    heading->setText(chosen ? NoteText::displayTitle(*chosen) : L10n::text(u"capture.title"_s));
    QPalette p = heading->palette();
    p.setColor(QPalette::WindowText, withAlpha(c.ink, 0.55));
    heading->setPalette(p);
    p = hint->palette();
    p.setColor(QPalette::WindowText, withAlpha(c.ink, 0.4));
    hint->setPalette(p);
    p = text->palette();
    p.setColor(QPalette::Text, c.ink);
    p.setColor(QPalette::Base, Qt::transparent);
    text->setPalette(p);

    while (QLayoutItem* item = dotRow->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    const auto addDot = [&](const std::optional<Note>& note) {
        const NoteColor& colour =
            note ? NoteText::palette(*note) : NoteColor::at(qint64(with.notes.notes().size()));
        auto* dot =
            new CaptureDot(note ? colour.dash : colour.paper.darker(115), c.ink, !note, content);
        dot->chosen = note ? (chosen && chosen->id == note->id) : !chosen;
        const QString name = note ? NoteText::displayTitle(*note) : L10n::text(u"note.untitled"_s);
        dot->setToolTip(name);
        dot->setAccessibleName(name);
        const std::optional<QString> id = note ? std::optional(note->id) : std::nullopt;
        connect(dot, &QAbstractButton::clicked, this, [this, id] { choose(id); });
        dotRow->addWidget(dot);
    };
    addDot(std::nullopt);
    for (const Note& note : targets)
        addDot(note);
    update();
}

bool CapturePanel::eventFilter(QObject* watched, QEvent* event)
{
    if (watched != text || event->type() != QEvent::KeyPress || closing)
        return false;
    auto* key = static_cast<QKeyEvent*>(event);
    if ((key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter)
        && !(key->modifiers() & Qt::ShiftModifier)) {
        owner.save(text->toPlainText(), targetID);
        return true;
    }
    if (key->key() == Qt::Key_Escape) {
        owner.dismiss();
        return true;
    }
    if ((key->modifiers() & Qt::ControlModifier) && key->key() >= Qt::Key_0
        && key->key() <= Qt::Key_9) {
        const QList<Note> targets = owner.targets();
        const auto picked =
            QuickCapture::targetForDigit(key->key() - Qt::Key_0, int(targets.size()));
        if (picked)
            choose(*picked == QuickCapture::newNoteTarget ? std::nullopt
                                                          : std::optional(targets[*picked].id));
        return true;
    }
    return false;
}

void CapturePanel::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() != QEvent::ActivationChange || closing || isActiveWindow())
        return;
    // From the event loop: the logic may close and delete this window.
    QTimer::singleShot(0, this, [this] {
        if (!closing && !isActiveWindow())
            owner.keyboardLost();
    });
}

void CapturePanel::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const std::optional<Note> chosen = targetID ? with.notes.note(*targetID) : std::nullopt;
    const NoteColor& c =
        chosen ? NoteText::palette(*chosen) : NoteColor::at(qint64(with.notes.notes().size()));
    const QRectF paper = QRectF(content->geometry());
    QPainterPath shape;
    shape.addRoundedRect(paper, cornerRadius, cornerRadius);
    if (composited)
        ShadowCache::shared().paint(p, ShadowCache::Shape::RoundedRect, paper, cornerRadius,
                                    {QColor::fromRgbF(0, 0, 0, 0.28), shadowBlur, 0, 0});
    p.fillPath(shape, c.paper);
    p.strokePath(shape, QPen(withAlpha(c.ink, 0.14), 0.5));
}
