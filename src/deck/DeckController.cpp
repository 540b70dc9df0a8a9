#include "deck/DeckController.h"

#include "deck/DeckActions.h"
#include "deck/DeckGeom.h"
#include "deck/DeckKeys.h"
#include "deck/DeckLog.h"
#include "deck/DeckWindow.h"
#include "deck/DetachTarget.h"
#include "notes/NoteStore.h"
#include "platform/Log.h"
#include "platform/Pointer.h"
#include "settings/Settings.h"

#include <cmath>

using namespace Qt::Literals::StringLiterals;

DeckController::DeckController(quint32 displayID, Displays& displays, Pointer& pointer,
                               Scheduler& scheduler, NoteStore& notes, DeckWindow& window,
                               DeckActions& actions, DetachTarget* detachTarget,
                               DeckCoordinator* coordinator)
    : display(displayID)
    , displays(displays)
    , pointer(pointer)
    , scheduler(scheduler)
    , notes(notes)
    , window(window)
    , actions(actions)
    , detachTarget(detachTarget)
    , coordinator(coordinator)
    , current(resting())
    , lastActivity(scheduler.now())
    , lastPointer(pointer.location())
{
    window.attach(this);
    // The first state is taken as it is: a deck kept shown starts as a fan with no idle
    // watch and no reveal, and one at rest needs no timer at all.
    deckModel.setState(current);
    layout();
    window.orderFront();
    // The pill's length follows the number of notes; the wide frame does not.
    notes.observeNotes(&deckModel, [this] {
        if (current.isRest())
            layout();
    });
}

DeckController::~DeckController()
{
    setMonitors(false);
    work = {};
    window.orderOut();
    window.attach(nullptr);
}

std::optional<DisplayInfo> DeckController::screen() const
{
    for (const DisplayInfo& d : displays.list()) {
        if (d.id == display)
            return d;
    }
    return std::nullopt;
}

void DeckController::layout() { layout(current); }

void DeckController::layout(const DeckState& state)
{
    const std::optional<DisplayInfo> d = screen();
    if (!d)
        return;
    window.setFrame(DeckGeom::panelFrame(state, *d, static_cast<int>(notes.active().size())));
}

void DeckController::refreshLevel()
{
    window.applyLevel();
    window.orderFront();
}

void DeckController::noteActivity() { lastActivity = scheduler.now(); }

DeckState DeckController::resting() const
{
    return DeckState::resting(Settings::deckAlwaysShown());
}

void DeckController::logState(const QString& what) const
{
    DeckLog::line([&] {
        const QRectF f = window.frame();
        return what + u"  panel="_s + QString::number(std::lround(f.width())) + u'x'
               + QString::number(std::lround(f.height()));
    });
}

void DeckController::setState(const DeckState& next)
{
    const DeckState old = current;
    if (next == old)
        return;
    work.shrink.reset();
    // A frame that grew for a state no longer wanted must not bring that state's content.
    work.growth.reset();
    logState(u"setState "_s + old.description() + u" -> "_s + next.description());
    current = next;
    enterState(old, next);
    lastActivity = scheduler.now();

    setMonitors(next.isExpanded());

    const bool alwaysShown = Settings::deckAlwaysShown();
    if ((alwaysShown && next.isExpanded()) || (!alwaysShown && !next.isRest()))
        startIdleWatch();
    else
        work.idle.reset();

    if (next == DeckState::resting(alwaysShown)) {
        deckModel.setShowAll(false);
        deckModel.setFindQuery(std::nullopt);
    }
}

// The frame and the content change in an order that keeps the content inside the frame:
// shrinking content settles in the old, larger frame, which follows later; a growing frame
// comes first and the content follows it.
void DeckController::enterState(const DeckState& old, const DeckState& next)
{
    const bool shrinking = !old.isRest() && (next.isRest() || (next.isFan() && old.isExpanded()));
    if (shrinking) {
        window.willChangeState(next, DeckSprings::shrinking);
        deckModel.setState(next);
        work.shrink = scheduler.after(shrinkDelay, [this] {
            DeckLog::line([&] { return u"shrink fires; state="_s + current.description(); });
            layout();
        });
        return;
    }
    if (next.isFan()) {
        // The column stages its own reveal on the tick.
        layout(next);
        window.willChangeState(next, std::nullopt);
        deckModel.setState(next);
        deckModel.raiseRevealTick();
        return;
    }
    layout(next);
    if (old.isRest() && !DeckGeom::hotZoneContains(window.frame(), pointer.location())) {
        // A note opened from afar (a hot key, a link) shows at once.
        window.willChangeState(next, std::nullopt);
        deckModel.setState(next);
        return;
    }
    work.growth = scheduler.after(growthDelay, [this, next] {
        window.willChangeState(next, DeckSprings::growing);
        deckModel.setState(next);
    });
}

void DeckController::setMonitors(bool on)
{
    if (on == monitoring)
        return;
    monitoring = on;
    if (on) {
        window.installNoteMonitors();
    } else {
        window.removeNoteMonitors();
        work.dismiss.reset();
    }
}

void DeckController::startIdleWatch()
{
    if (work.idle)
        return;
    lastActivity = scheduler.now();
    lastPointer = pointer.location();
    work.idle = scheduler.every(idlePeriod, [this] { watchTick(); });
}

void DeckController::watchTick()
{
    const QPointF p = pointer.location();
    if (current.isFan() && !deckModel.isDragging()
        && !DeckGeom::hotZoneContains(window.frame(), p)) {
        // Catches a fan whose leave event never came.
        collapse();
        return;
    }
    const Date now = scheduler.now();
    if (deckModel.isDragging()) {
        lastActivity = now;
        return;
    }
    if (std::abs(p.x() - lastPointer.x()) > pointerSlop
        || std::abs(p.y() - lastPointer.y()) > pointerSlop) {
        lastPointer = p;
        lastActivity = now;
    }
    const double idle = now.seconds - lastActivity.seconds;
    if (current.isFan() && idle > Settings::fanIdleTimeout)
        collapse();
    else if (current.isExpanded() && idle > Settings::noteIdleTimeout && !openNoteIsPinned())
        dismiss();
}

void DeckController::pointerEntered()
{
    lastActivity = scheduler.now();
    work.exit.reset();
    work.shrink.reset();
    DeckLog::line([&] {
        return u"pointerEntered state="_s + current.description() + u" panel="_s
               + QString::number(std::lround(window.frame().width()));
    });
    // The pill is being grabbed: it must not open under the hand.
    if (grabsPill(pointer.modifiers()))
        return;
    if (!current.isRest()) {
        // Puts back the frame that a cancelled shrink left too large.
        layout();
        return;
    }
    if (coordinator)
        coordinator->deckDidActivate(*this);
    setState(DeckState::fan());
}

void DeckController::pointerExited()
{
    // While a note is open, the pointer may go where it likes.
    if (!current.isFan() || Settings::deckAlwaysShown())
        return;
    work.exit = scheduler.after(exitGrace, [this] { confirmExit(); });
}

void DeckController::confirmExit()
{
    work.exit.reset();
    if (!current.isFan() || deckModel.isDragging()
        || DeckGeom::hotZoneContains(window.frame(), pointer.location()))
        return;
    DeckLog::line([] { return u"pointerExited confirmed"_s; });
    setState(resting());
}

void DeckController::expand(const QString& id)
{
    lastActivity = scheduler.now();
    if (detachTarget && detachTarget->noteID() == id) {
        // One note never shows in two places.
        Log::line(u"expand "_s + id.left(6) + u" routed to floating note"_s);
        detachTarget->focus();
        return;
    }
    deckModel.setOpenedHeight(Settings::noteSize().height());
    deckModel.setOpenedTop(std::nullopt);
    if (coordinator)
        coordinator->deckDidActivate(*this);
    setState(DeckState::expanded(id));
    window.makeKeyAndOrderFront();
}

void DeckController::collapse()
{
    deckModel.setOpenedTop(std::nullopt);
    if (!current.isExpanded()) {
        setState(resting());
        return;
    }
    // The tabs stay while the pointer decides, whatever the setting.
    setState(DeckState::fan());
    window.resignKey();
}

void DeckController::dismiss()
{
    const bool wasExpanded = current.isExpanded();
    setState(resting());
    if (wasExpanded)
        window.resignKey();
}

void DeckController::collapseToRest() { setState(resting()); }

void DeckController::detachExpandedNote(QPointF p)
{
    const std::optional<QString> id = current.expandedID();
    if (!id)
        return;
    const QSizeF s = Settings::floatingNoteSize();
    const QRectF panel = window.frame();
    const double top = deckModel.openedTop().value_or((panel.height() - s.height()) * 0.5);
    const double x = Settings::deckOnLeftEdge() ? panel.left() : panel.right() - s.width();
    // Screen coordinates run upward; the top inside the panel runs down from its upper edge.
    const double y = panel.bottom() - top - s.height();
    deckModel.setDetachingID(id);
    if (detachTarget)
        detachTarget->present(*id, p, QPointF(p.x() - x, p.y() - y));
}

void DeckController::moveDetached(QPointF p)
{
    if (detachTarget && deckModel.detachingID())
        detachTarget->dragTo(p);
}

void DeckController::finishDetach()
{
    if (detachTarget)
        detachTarget->endDrag(false);
    deckModel.setDetachingID(std::nullopt);
    setState(DeckState::fan());
}

void DeckController::applyRestingState()
{
    const bool alwaysShown = Settings::deckAlwaysShown();
    if (current.isRest()) {
        if (alwaysShown)
            setState(DeckState::fan());
    } else if (current.isFan() && !alwaysShown) {
        if (DeckGeom::hotZoneContains(window.frame(), pointer.location()))
            startIdleWatch();
        else
            setState(DeckState::rest());
    }
}

bool DeckController::grabsPill(Qt::KeyboardModifiers held)
{
#ifdef Q_OS_MACOS
    return held.testFlag(Qt::AltModifier);
#else
    return held.testFlag(Qt::AltModifier) || held.testFlag(Qt::ControlModifier);
#endif
}

bool DeckController::canBeginPillDrag() const
{
    const bool alwaysShown = Settings::deckAlwaysShown();
    return (current.isRest() && !alwaysShown) || (current.isFan() && alwaysShown);
}

void DeckController::beginPillDrag()
{
    work.exit.reset();
    work.shrink.reset();
    setState(DeckState::rest());
    deckModel.setDragging(true);
    lastActivity = scheduler.now();
}

void DeckController::endPillDrag()
{
    deckModel.setDragging(false);
    refreshLevel();
}

bool DeckController::handleKeyPress(const KeyPress& press)
{
    const std::optional<QString> id = current.expandedID();
    if (!id || !window.isKey())
        return false;
    lastActivity = scheduler.now();
    const std::optional<DeckKeys::Command> command =
        DeckKeys::commandFor(press, DeckKeys::current());
    if (!command)
        return false;
    switch (*command) {
    case DeckKeys::Command::Close:
        if (deckModel.findQuery())
            deckModel.setFindQuery(std::nullopt);
        else
            collapse();
        break;
    case DeckKeys::Command::Archive:
        notes.setArchived(*id, true);
        collapse();
        break;
    case DeckKeys::Command::Delete:
        notes.deleteNote(*id);
        collapse();
        break;
    case DeckKeys::Command::Find:
        deckModel.setFindQuery(deckModel.findQuery().value_or(QString()));
        break;
    case DeckKeys::Command::Task:
        deckModel.bridge().toggleTaskLine();
        break;
    case DeckKeys::Command::Pin:
        notes.togglePin(*id);
        break;
    case DeckKeys::Command::Colour:
        notes.cycleColor(*id);
        break;
    case DeckKeys::Command::Bigger:
        actions.stepFontSize(1.5);
        break;
    case DeckKeys::Command::Smaller:
        actions.stepFontSize(-1.5);
        break;
    }
    return true;
}

void DeckController::activationLost()
{
    if (!current.isExpanded() || openNoteIsPinned())
        return;
    // Posted, and checked again when it runs: the click may have been the start of a pull
    // out of the panel, or a note may have opened in the meantime.
    work.dismiss = scheduler.after(0, [this, open = current] {
        work.dismiss.reset();
        if (current == open && !deckModel.isDragging() && !openNoteIsPinned())
            dismiss();
    });
}

bool DeckController::openNoteIsPinned() const
{
    const std::optional<QString> id = current.expandedID();
    if (!id)
        return false;
    const std::optional<Note> note = notes.note(*id);
    return note && note->pinned;
}
