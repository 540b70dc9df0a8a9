#include "surfaces/ui/FloatingPanel.h"

#include "deck/ui/DeckPaint.h"
#include "editor/NoteTextBinding.h"
#include "editor/ui/NoteSheetParts.h"
#include "editor/ui/NoteTextView.h"
#include "l10n/L10n.h"
#include "notes/Ink.h"
#include "notes/NoteColor.h"
#include "notes/NoteStore.h"
#include "notes/NoteText.h"
#include "platform/Compositor.h"
#include "platform/ScreenCoordinates.h"
#include "platform/WindowHints.h"
#include "settings/Settings.h"
#include "surfaces/FloatingNote.h"

#include <QApplication>
#include <QBoxLayout>
#include <QEasingCurve>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QVariantAnimation>
#include <QWindow>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr double padding = 12;
constexpr double headerHeight = 34;

QColor withAlpha(QColor c, double alpha)
{
    c.setAlphaF(alpha);
    return c;
}

QRectF lerp(const QRectF& a, const QRectF& b, double t)
{
    const auto mix = [t](double x, double y) { return x + (y - x) * t; };
    return {mix(a.x(), b.x()), mix(a.y(), b.y()), mix(a.width(), b.width()),
            mix(a.height(), b.height())};
}

} // namespace

FloatingPanel::FloatingPanel(FloatingNote& owner, const QString& noteID, Parts parts)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint
                           | Qt::WindowDoesNotAcceptFocus)
    , owner(owner)
    , id(noteID)
    , with(parts)
{
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setMouseTracking(true);
    setWindowTitle(u"Pondrift"_s);
    winId();
    composited = with.compositor.isActive();
    compositorWatch = with.compositor.onChanged([this](bool on) { followComposition(on); });

    content = new QWidget(this);
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);

    headerRow = new QWidget(content);
    headerRow->setObjectName(u"header"_s);
    headerRow->setFixedHeight(int(headerHeight));
    headerRow->setCursor(Qt::OpenHandCursor);
    headerRow->installEventFilter(this);
    auto* row = new QHBoxLayout(headerRow);
    row->setContentsMargins(int(padding), 0, int(padding) - 4, 0);
    row->setSpacing(2);
    title = new QLabel(headerRow);
    title->setObjectName(u"title"_s);
    title->setFont(SheetGlyph::font(12.5, QFont::DemiBold));
    title->setAttribute(Qt::WA_TransparentForMouseEvents);
    title->setTextFormat(Qt::PlainText);
    pin = new SheetButton(SheetButton::Style::Glyph, headerRow);
    pin->setObjectName(u"pin"_s);
    pin->setGlyph(SheetGlyph::Kind::Pin, 11, 32);
    pin->setCursor(Qt::ArrowCursor);
    connect(pin, &QAbstractButton::clicked, this, [this] { this->owner.togglePin(); });
    close = new SheetButton(SheetButton::Style::Glyph, headerRow);
    close->setObjectName(u"close"_s);
    close->setGlyph(SheetGlyph::Kind::Cross, 10);
    close->setHelp(L10n::text(u"action.close"_s));
    close->setCursor(Qt::ArrowCursor);
    connect(close, &QAbstractButton::clicked, this, [this] { this->owner.closeRequested(); });
    row->addWidget(title, 1);
    row->addWidget(pin);
    row->addWidget(close);
    column->addWidget(headerRow);

    const std::optional<Note> note = with.notes.note(id);
    NoteTextView::Configuration config;
    config.bodyFont = [](double size) { return Ink::body(size); };
    text = new NoteTextView(note ? note->body : QString(), config, &bridge, with.desktop,
                            with.images, content);
    text->setObjectName(u"text"_s);
    text->document()->setDocumentMargin(padding - 4);
    column->addWidget(text, 1);
    binding = new NoteTextBinding(with.notes, *text, id, this);
    if (with.spellChecker)
        text->checkSpelling(*with.spellChecker, with.scheduler);
    connect(text, &NoteTextView::edited, this, [this] { this->owner.noteActivity(); });
    connect(&with.notes, &NoteStore::notesChanged, this, &FloatingPanel::noteChanged);
    noteChanged();

    const QMargins m = margins();
    setMinimumSize(int(FloatingNote::minimumSize.width()) + m.left() + m.right(),
                   int(FloatingNote::minimumSize.height()) + m.top() + m.bottom());
    const QSizeF size = Settings::floatingNoteSize();
    resize(int(std::ceil(size.width())) + m.left() + m.right(),
           int(std::ceil(size.height())) + m.top() + m.bottom());
    qApp->installEventFilter(this);
}

FloatingPanel::~FloatingPanel()
{
    qApp->removeEventFilter(this);
    if (binding)
        binding->unbind();
}

// Room around the paper for the shadow, and the rim's outside part within it. Without a
// compositor nothing around the paper could be clear: the window is the paper alone.
QMargins FloatingPanel::margins() const
{
    const int m = composited ? int(std::ceil(ShadowCache::margin(shadowBlur))) : 0;
    return {m, m, m, m};
}

QRectF FloatingPanel::paperRect() const { return QRectF(rect()).marginsRemoved(margins()); }

QRectF FloatingPanel::mainQt() const
{
    const QScreen* main = QGuiApplication::primaryScreen();
    return main ? QRectF(main->geometry()) : QRectF();
}

QRectF FloatingPanel::frame() const
{
    const QRectF paper = QRectF(geometry()).marginsRemoved(margins());
    return ScreenCoordinates::fromQt(paper, mainQt());
}

void FloatingPanel::setFrame(const QRectF& frame)
{
    const QRect target =
        ScreenCoordinates::toQt(frame, mainQt()).toAlignedRect().marginsAdded(margins());
    if (geometry() != target)
        setGeometry(target);
}

void FloatingPanel::orderFront()
{
    if (!isVisible()) {
        with.hints.makeFloating(windowHandle());
        with.hints.setBlurBehind(windowHandle(), composited);
        show();
    }
    raise();
}

void FloatingPanel::makeKeyAndOrderFront()
{
    orderFront();
    with.hints.takeKeyboard(windowHandle(), 0);
    text->focusSoon();
}

bool FloatingPanel::isKey() const { return isActiveWindow(); }

bool FloatingPanel::isAbove() const
{
    return windowHandle()->flags().testFlag(Qt::WindowStaysOnTopHint);
}

// Through the native window, which tells the window manager at once; the widget's own flags
// would take the window down and up again.
void FloatingPanel::setAbove(bool above)
{
    windowHandle()->setFlag(Qt::WindowStaysOnTopHint, above);
}

void FloatingPanel::dismiss(std::optional<QRectF> target)
{
    going = true;
    binding->unbind();
    // Above everything while it slides away: the window that gets the keyboard back rises,
    // and would otherwise cover the note on its way out.
    if (target && isVisible())
        setAbove(true);
    if (isActiveWindow())
        with.hints.releaseKeyboard(windowHandle());
    if (!target || !isVisible()) {
        hide();
        deleteLater();
        return;
    }
    setAttribute(Qt::WA_TransparentForMouseEvents);
    const QRectF from = frame();
    tucking = new QVariantAnimation(this);
    tucking->setStartValue(0.0);
    tucking->setEndValue(1.0);
    tucking->setDuration(int(FloatingNote::tuckSeconds * 1000));
    QEasingCurve easeIn(QEasingCurve::BezierSpline);
    easeIn.addCubicBezierSegment(QPointF(0.42, 0), QPointF(1, 1), QPointF(1, 1));
    tucking->setEasingCurve(easeIn);
    connect(tucking, &QVariantAnimation::valueChanged, this,
            [this, from, target](const QVariant& v) {
                const double t = v.toDouble();
                setFrame(lerp(from, *target, t));
                setWindowOpacity(1 - t);
            });
    connect(tucking, &QVariantAnimation::finished, this, [this] {
        hide();
        deleteLater();
    });
    tucking->start();
}

void FloatingPanel::noteChanged()
{
    if (going)
        return;
    const std::optional<Note> note = with.notes.note(id);
    const Note shown = note.value_or(Note{});
    const NoteColor& c = NoteText::palette(shown);
    const QString name = note ? NoteText::displayTitle(*note) : QString();
    if (title->text() != name)
        title->setText(name);
    setAccessibleName(name);
    text->setAccessibleName(name);
    QPalette p = title->palette();
    p.setColor(QPalette::WindowText, withAlpha(c.ink, 0.92));
    title->setPalette(p);
    const bool pinned = note && note->pinned;
    pin->setInk(c.ink, pinned ? 0.85 : 0.4);
    pin->setHelp(L10n::text(pinned ? u"help.unpin"_s : u"help.pin"_s));
    pin->setProperty("pinned", pinned);
    close->setInk(c.ink, 0.45);

    text->applyLook(c.ink, c.paper, Settings::noteFontName(), Settings::noteFontSize(),
                    Settings::markdownStyling(), shown.textDirection);
    update();
}

void FloatingPanel::followComposition(bool on)
{
    if (composited == on)
        return;
    // The paper stays where it is on the screen; the window around it changes.
    const QRectF paper = frame();
    composited = on;
    const QMargins m = margins();
    setMinimumSize(int(FloatingNote::minimumSize.width()) + m.left() + m.right(),
                   int(FloatingNote::minimumSize.height()) + m.top() + m.bottom());
    setFrame(paper);
    applyShape();
    if (isVisible())
        with.hints.setBlurBehind(windowHandle(), on);
    update();
}

void FloatingPanel::resizeEvent(QResizeEvent*)
{
    content->setGeometry(paperRect().toAlignedRect());
    applyShape();
}

// The pointer reaches the window on its paper and the rim around it; the shadow lets clicks
// through. Without a compositor the window is cut to that shape, as nothing could show
// through it.
void FloatingPanel::applyShape()
{
    const QRectF paper = paperRect();
    if (composited) {
        QPainterPath rim;
        rim.addRoundedRect(paper.adjusted(-rimOutside, -rimOutside, rimOutside, rimOutside),
                           cornerRadius + rimOutside, cornerRadius + rimOutside);
        clearMask();
        if (windowHandle())
            with.hints.setInputRegion(windowHandle(), QRegion(rim.toFillPolygon().toPolygon()));
    } else {
        QPainterPath shape;
        shape.addRoundedRect(paper, cornerRadius, cornerRadius);
        setMask(QRegion(shape.toFillPolygon().toPolygon()));
        if (windowHandle())
            with.hints.setInputRegion(windowHandle(), std::nullopt);
    }
}

void FloatingPanel::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const std::optional<Note> note = with.notes.note(id);
    const NoteColor& c = NoteText::palette(note.value_or(Note{}));
    const QRectF paper = paperRect();
    QPainterPath shape;
    shape.addRoundedRect(paper, cornerRadius, cornerRadius);
    if (composited) {
        ShadowCache::shared().paint(p, ShadowCache::Shape::RoundedRect, paper, cornerRadius,
                                    {QColor::fromRgbF(0, 0, 0, 0.3), shadowBlur, 0, 0});
        QLinearGradient fill(paper.topLeft(), paper.bottomLeft());
        fill.setColorAt(0, c.paper);
        fill.setColorAt(1, withAlpha(c.paper, 0.88));
        p.fillPath(shape, fill);
    } else {
        p.fillRect(rect(), c.paper);
    }
    p.strokePath(shape, QPen(withAlpha(c.ink, 0.14), 0.5));
}

Qt::Edges FloatingPanel::rimAt(QPointF local) const
{
    const QRectF paper = paperRect();
    Qt::Edges edges;
    if (local.x() < paper.left() + rimInside)
        edges |= Qt::LeftEdge;
    if (local.x() > paper.right() - rimInside)
        edges |= Qt::RightEdge;
    if (local.y() < paper.top() + rimInside)
        edges |= Qt::TopEdge;
    if (local.y() > paper.bottom() - rimInside)
        edges |= Qt::BottomEdge;
    return edges;
}

namespace {

Qt::CursorShape resizeCursor(Qt::Edges e)
{
    const bool h = e & (Qt::LeftEdge | Qt::RightEdge);
    const bool v = e & (Qt::TopEdge | Qt::BottomEdge);
    if (h && v) {
        const bool falling =
            (e & Qt::LeftEdge && e & Qt::TopEdge) || (e & Qt::RightEdge && e & Qt::BottomEdge);
        return falling ? Qt::SizeFDiagCursor : Qt::SizeBDiagCursor;
    }
    if (h)
        return Qt::SizeHorCursor;
    return v ? Qt::SizeVerCursor : Qt::ArrowCursor;
}

} // namespace

void FloatingPanel::mousePressEvent(QMouseEvent* event)
{
    const Qt::Edges edges = rimAt(event->position());
    if (event->button() != Qt::LeftButton || !edges || going)
        return;
    resizing = edges;
    resizeFrom = event->globalPosition().toPoint();
    resizeStart = geometry();
}

void FloatingPanel::mouseMoveEvent(QMouseEvent* event)
{
    if (!resizing) {
        setCursor(resizeCursor(rimAt(event->position())));
        return;
    }
    const QPoint d = event->globalPosition().toPoint() - resizeFrom;
    QRect g = resizeStart;
    const QSize least = minimumSize();
    // The edge held follows the pointer; the opposite one stays, also at the least size.
    if (resizing & Qt::LeftEdge)
        g.setLeft(std::min(g.left() + d.x(), g.right() + 1 - least.width()));
    if (resizing & Qt::RightEdge)
        g.setRight(std::max(g.right() + d.x(), g.left() - 1 + least.width()));
    if (resizing & Qt::TopEdge)
        g.setTop(std::min(g.top() + d.y(), g.bottom() + 1 - least.height()));
    if (resizing & Qt::BottomEdge)
        g.setBottom(std::max(g.bottom() + d.y(), g.top() - 1 + least.height()));
    if (g != geometry())
        setGeometry(g);
    owner.noteActivity();
}

void FloatingPanel::mouseReleaseEvent(QMouseEvent* event)
{
    if (!resizing || event->button() != Qt::LeftButton)
        return;
    resizing = {};
    owner.resizedByUser(frame().size());
}

bool FloatingPanel::headerEvent(QEvent* event)
{
    const QEvent::Type type = event->type();
    if (type != QEvent::MouseButtonPress && type != QEvent::MouseMove
        && type != QEvent::MouseButtonRelease)
        return false;
    auto* mouse = static_cast<QMouseEvent*>(event);
    const QPoint global = mouse->globalPosition().toPoint();
    switch (type) {
    case QEvent::MouseButtonPress:
        if (mouse->button() != Qt::LeftButton || going)
            return false;
        moveGrab = global - pos();
        headerRow->setCursor(Qt::ClosedHandCursor);
        return true;
    case QEvent::MouseMove:
        if (!moveGrab)
            return false;
        move(global - *moveGrab);
        owner.noteActivity();
        return true;
    case QEvent::MouseButtonRelease:
        if (!moveGrab || mouse->button() != Qt::LeftButton)
            return false;
        moveGrab.reset();
        headerRow->setCursor(Qt::OpenHandCursor);
        owner.movedByUser();
        return true;
    default:
        return false;
    }
}

bool FloatingPanel::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == headerRow)
        return headerEvent(event);
    // Keys pressed anywhere in this window while it holds the keyboard go to the logic
    // first: Escape tucks the note and goes no further.
    if (event->type() != QEvent::KeyPress || going || !isActiveWindow())
        return false;
    auto* w = qobject_cast<QWidget*>(watched);
    if (!w || w->window() != this)
        return false;
    return owner.keyPressed(static_cast<QKeyEvent*>(event)->key());
}
