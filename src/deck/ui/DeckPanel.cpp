#include "deck/ui/DeckPanel.h"

#include "deck/DeckActions.h"
#include "deck/DeckController.h"
#include "deck/DeckGeom.h"
#include "deck/DeckLog.h"
#include "deck/ui/DeckMenus.h"
#include "deck/ui/DeckView.h"
#include "notes/NoteStore.h"
#include "platform/Compositor.h"
#include "platform/Pointer.h"
#include "platform/ScreenCoordinates.h"
#include "platform/WindowHints.h"
#include "settings/Settings.h"
#include "settings/Shortcut.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QMenu>
#include <QScreen>
#include <QTimer>
#include <QWindow>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

DeckPanel::DeckPanel(Parts parts)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint
                           | Qt::NoDropShadowWindowHint | Qt::WindowDoesNotAcceptFocus)
    , with(parts)
{
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setWindowTitle(u"Pondrift"_s);
    setMouseTracking(true);
    // The native window exists from the start, so the hints can go on before the first show.
    winId();
    composited = with.compositor.isActive();
    compositorWatch = with.compositor.onChanged([this](bool on) { followComposition(on); });
}

DeckPanel::~DeckPanel()
{
    if (monitoring)
        qApp->removeEventFilter(this);
}

void DeckPanel::attach(DeckController* c)
{
    controller = c;
    delete std::exchange(content, nullptr);
    if (!controller)
        return;
    content = new DeckView(DeckView::Parts{*controller, with.notes, with.scheduler, with.actions,
                                           &with.desktop, &with.images, with.spellChecker},
                           this);
    content->setGeometry(rect());
    content->setComposited(composited);
    content->show();
    connect(content, &DeckView::shapeChanged, this, &DeckPanel::applyShape);
    connect(content, &DeckView::deckMenuRequested, this, &DeckPanel::showDeckMenu);
}

QRectF DeckPanel::mainQt() const
{
    const QScreen* main = QGuiApplication::primaryScreen();
    return main ? QRectF(main->geometry()) : QRectF();
}

void DeckPanel::setFrame(const QRectF& frame)
{
    currentFrame = frame;
    const QRect target = ScreenCoordinates::toQt(frame, mainQt()).toAlignedRect();
    if (geometry() != target)
        setGeometry(target);
    if (content)
        content->repaint();
}

void DeckPanel::orderFront()
{
    if (!isVisible()) {
        // Window managers forget the panel's hints while it is hidden.
        with.hints.makePanel(windowHandle());
        with.hints.setBlurBehind(windowHandle(), composited);
        show();
    }
    raise();
}

void DeckPanel::makeKeyAndOrderFront()
{
    orderFront();
    with.hints.takeKeyboard(windowHandle(), 0);
}

void DeckPanel::resignKey() { with.hints.releaseKeyboard(windowHandle()); }

bool DeckPanel::isKey() const { return isActiveWindow(); }

// X11 has one level above ordinary windows; a full-screen window covers it either way, so the
// setting has nothing more to change here.
void DeckPanel::applyLevel()
{
    if (isVisible())
        with.hints.makePanel(windowHandle());
}

void DeckPanel::orderOut() { hide(); }

void DeckPanel::installNoteMonitors()
{
    if (monitoring)
        return;
    monitoring = true;
    qApp->installEventFilter(this);
}

void DeckPanel::removeNoteMonitors()
{
    if (!monitoring)
        return;
    monitoring = false;
    qApp->removeEventFilter(this);
}

bool DeckPanel::eventFilter(QObject* watched, QEvent* event)
{
    if (monitoring && controller && event->type() == QEvent::KeyPress && watched->isWindowType()) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (const std::optional<KeyPress> press = Shortcut::pressOf(*key, with.keyboard))
            return controller->handleKeyPress(*press);
    }
    return QWidget::eventFilter(watched, event);
}

void DeckPanel::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::ActivationChange && monitoring && controller && !isActiveWindow())
        controller->activationLost();
    QWidget::changeEvent(event);
}

void DeckPanel::willChangeState(const DeckState& next, std::optional<DeckSpring> spring)
{
    if (content)
        content->willChangeState(next, spring);
}

void DeckPanel::enterEvent(QEnterEvent*)
{
    if (controller && !pillDrag)
        controller->pointerEntered();
}

void DeckPanel::leaveEvent(QEvent*)
{
    if (controller && !pillDrag)
        controller->pointerExited();
}

void DeckPanel::resizeEvent(QResizeEvent*)
{
    if (content)
        content->setGeometry(rect());
}

void DeckPanel::contextMenuEvent(QContextMenuEvent* event) { showDeckMenu(event->globalPos()); }

void DeckPanel::showDeckMenu(QPoint global)
{
    if (!controller)
        return;
    QMenu menu(this);
    DeckMenus::fillDeckMenu(menu, with.actions, with.displays.list());
    // The pointer goes over the menu: the deck must not fold under it.
    DeckModel& model = controller->model();
    const bool wasDragging = model.isDragging();
    model.setDragging(true);
    menu.exec(global);
    if (controller)
        controller->model().setDragging(wasDragging);
}

void DeckPanel::followComposition(bool on)
{
    if (composited == on)
        return;
    composited = on;
    DeckLog::line([on] { return on ? u"compositor on"_s : u"compositor off"_s; });
    if (content)
        content->setComposited(on);
    if (isVisible())
        with.hints.setBlurBehind(windowHandle(), on);
    applyShape();
}

// Without a compositor the window is cut to what is drawn; with one, it keeps its rectangle
// and the clear parts show the desktop. Either way the pointer passes through where the deck
// draws nothing, to the window below.
void DeckPanel::applyShape()
{
    if (composited || !content)
        clearMask();
    else
        setMask(content->drawnRegion());
    if (content)
        with.hints.setInputRegion(windowHandle(), content->inputRegion());
}

// The pill moves with its modifier held (see DeckController::grabsPill), from the resting
// state only; the drag runs through the window's own mouse events, with the pointer grabbed
// so that none goes astray.
void DeckPanel::mousePressEvent(QMouseEvent* event)
{
    if (!controller || event->button() != Qt::LeftButton
        || !DeckController::grabsPill(event->modifiers()) || !controller->canBeginPillDrag()) {
        event->ignore();
        return;
    }
    DeckLog::line([] { return u"pill drag begins"_s; });
    controller->beginPillDrag();
    pillDrag = PillDrag{controller->screen(), Settings::deckOnLeftEdge(), Settings::deckYRatio()};
    grabMouse(Qt::ClosedHandCursor);
    dragPillTo(with.pointer.location());
}

void DeckPanel::mouseMoveEvent(QMouseEvent* event)
{
    if (!pillDrag) {
        event->ignore();
        return;
    }
    dragPillTo(with.pointer.location());
}

void DeckPanel::mouseReleaseEvent(QMouseEvent* event)
{
    if (!pillDrag) {
        event->ignore();
        return;
    }
    dragPillTo(with.pointer.location());
    endPillDrag();
}

void DeckPanel::dragPillTo(QPointF p)
{
    const QList<DisplayInfo> displays = with.displays.list();
    for (const DisplayInfo& d : displays) {
        if (DeckGeom::contains(d.frame, p)) {
            pillDrag->screen = d;
            break;
        }
    }
    if (!pillDrag->screen) {
        if (displays.isEmpty())
            return;
        pillDrag->screen = displays.first();
    }
    const QRectF f = pillDrag->screen->frame;
    const double h =
        DeckGeom::pillHeight(std::max(1, static_cast<int>(with.notes.active().size())));
    const double w = std::max(DeckGeom::plusGap() + 2, Settings::edgeWidth());
    pillDrag->onLeft = p.x() < f.center().x();
    const DeckGeom::PillDrop drop = DeckGeom::pillDrag(pillDrag->screen->visibleFrame, h, p.y());
    pillDrag->ratio = drop.deckYRatio;
    if (content)
        content->setEdgeOverride(pillDrag->onLeft);
    setFrame(QRectF(pillDrag->onLeft ? f.left() : f.right() - w, drop.frameY, w, h));
}

void DeckPanel::endPillDrag()
{
    const PillDrag done = *std::exchange(pillDrag, std::nullopt);
    releaseMouse();
    DeckLog::line([&] {
        return u"pill dropped on the %1 edge at %2"_s.arg(done.onLeft ? u"left"_s : u"right"_s)
            .arg(done.ratio, 0, 'f', 3);
    });
    Settings::setDeckOnLeftEdge(done.onLeft);
    Settings::setDeckYRatio(done.ratio);
    if (Settings::displayTarget() != u"all"_s && done.screen)
        Settings::setDisplayTarget(u"id:"_s + QString::number(done.screen->id));
    if (content)
        content->setEdgeOverride(std::nullopt);
    controller->endPillDrag();
    // The refresh may take this deck down (the pill went to another display), so it runs
    // after this event has returned.
    QTimer::singleShot(0, qApp, [&actions = with.actions] { actions.refreshDecks(); });
}
