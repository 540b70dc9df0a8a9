#include "surfaces/FloatingNote.h"

#include "notes/NoteStore.h"
#include "platform/Displays.h"
#include "platform/Log.h"
#include "platform/Pointer.h"
#include "settings/Settings.h"
#include "surfaces/FloatingWindow.h"

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

// How long a note brought forward stays above every window before it takes its own level.
constexpr double focusLift = 0.4;
// How much of a restored note must stand on some display for it to stay where it was.
constexpr double reachable = 40;

double overlap(const QRectF& a, const QRectF& b)
{
    const QRectF both = a.intersected(b);
    return both.isEmpty() ? 0 : both.width() * both.height();
}

} // namespace

FloatingNote::FloatingNote(NoteStore& notes, Scheduler& scheduler, Pointer& pointer,
                           Displays& displays, WindowFactory makeWindow)
    : notes(notes)
    , scheduler(scheduler)
    , pointer(pointer)
    , displays(displays)
    , makeWindow(std::move(makeWindow))
{
}

// The program is ending: the window goes, saving its note, and the place stays for the next
// start.
FloatingNote::~FloatingNote()
{
    stopIdleWatch();
    levelReset.reset();
    delete std::exchange(panel, nullptr);
}

void FloatingNote::present(const QString& noteID, QPointF under, QPointF offset)
{
    if (panel)
        tuck(false);
    id = noteID;
    grabOffset = offset;
    lastActivity = scheduler.now();
    panel = makeWindow(*this, noteID);
    panel->setFrame(frameUnder(under));
    panel->orderFront();
    startIdleWatch();
}

void FloatingNote::dragTo(QPointF point)
{
    if (panel)
        panel->setFrame(frameUnder(point));
}

QRectF FloatingNote::frameUnder(QPointF point) const
{
    return {point - grabOffset, panel->frame().size()};
}

void FloatingNote::endDrag(bool cancelled)
{
    if (!panel)
        return;
    if (cancelled) {
        stopIdleWatch();
        levelReset.reset();
        std::exchange(panel, nullptr)->dismiss(std::nullopt);
        id.reset();
        return;
    }
    applyLevel();
    panel->makeKeyAndOrderFront();
    rememberPlace();
}

void FloatingNote::focus()
{
    if (!panel || !panel->isShown())
        return;
    lastActivity = scheduler.now();
    // Lifted above everything for a moment, so that the person sees where the note is even
    // when it lies among other windows.
    if (!panel->isAbove())
        panel->setAbove(true);
    panel->makeKeyAndOrderFront();
    levelReset = scheduler.after(focusLift, [this] { applyLevel(); });
}

void FloatingNote::tuck(bool animated)
{
    if (!panel)
        return;
    stopIdleWatch();
    levelReset.reset();
    // Cleared first, so that a note presented from here on finds the place free.
    FloatingWindow* going = std::exchange(panel, nullptr);
    const QString tucked = *std::exchange(id, std::nullopt);
    Settings::setFloatingNotePlace(std::nullopt);
    notes.flush(tucked);
    going->dismiss(animated ? tuckTarget(going->frame()) : std::nullopt);
}

void FloatingNote::restore()
{
    const std::optional<Settings::FloatingPlace> place = Settings::floatingNotePlace();
    if (!place || panel)
        return;
    const std::optional<Note> note = notes.note(place->noteID);
    if (!note || note->archived) {
        Settings::setFloatingNotePlace(std::nullopt);
        return;
    }
    const QList<DisplayInfo> screens = displays.list();
    QRectF frame(place->origin, Settings::floatingNoteSize());
    bool seen = false;
    for (const DisplayInfo& d : screens) {
        const QRectF both = frame.intersected(d.visibleFrame);
        seen = seen || (both.width() >= reachable && both.height() >= reachable);
    }
    if (!seen) {
        // Its display is gone: the main one takes it, in the middle.
        for (const DisplayInfo& d : screens) {
            if (d.isMain)
                frame.moveCenter(d.visibleFrame.center());
        }
        Log::line(u"floating note brought back onto the main display"_s);
    }
    id = note->id;
    lastActivity = scheduler.now();
    panel = makeWindow(*this, note->id);
    panel->setFrame(frame);
    applyLevel();
    panel->orderFront();
    startIdleWatch();
}

bool FloatingNote::keyPressed(int key)
{
    if (!panel)
        return false;
    lastActivity = scheduler.now();
    if (key != Qt::Key_Escape)
        return false;
    tuck(true);
    return true;
}

void FloatingNote::noteActivity() { lastActivity = scheduler.now(); }

void FloatingNote::movedByUser()
{
    lastActivity = scheduler.now();
    rememberPlace();
}

void FloatingNote::resizedByUser(QSizeF size)
{
    lastActivity = scheduler.now();
    Settings::setFloatingNoteSize(size);
    rememberPlace();
}

void FloatingNote::closeRequested()
{
    if (id)
        notes.flush(*id);
    tuck(true);
}

void FloatingNote::togglePin()
{
    if (!id)
        return;
    notes.togglePin(*id);
    applyLevel();
}

void FloatingNote::startIdleWatch()
{
    stopIdleWatch();
    idleTimer = scheduler.every(idleTick, [this] { lookAtIdle(); });
}

void FloatingNote::stopIdleWatch() { idleTimer.reset(); }

void FloatingNote::lookAtIdle()
{
    if (!id || !panel)
        return;
    const std::optional<Note> note = notes.note(*id);
    if (!note || note->archived) {
        tuck(true);
        return;
    }
    applyLevel();
    const double m = pointerMargin;
    if (note->pinned || panel->isKey()
        || panel->frame().adjusted(-m, -m, m, m).contains(pointer.location())) {
        lastActivity = scheduler.now();
        return;
    }
    if (scheduler.now().seconds - lastActivity.seconds > Settings::noteIdleTimeout)
        tuck(true);
}

void FloatingNote::applyLevel()
{
    if (!panel || !id)
        return;
    const std::optional<Note> note = notes.note(*id);
    const bool above = note && note->pinned;
    if (panel->isAbove() != above)
        panel->setAbove(above);
}

void FloatingNote::rememberPlace()
{
    if (!panel || !id)
        return;
    const QRectF f = panel->frame();
    Settings::setFloatingNotePlace(Settings::FloatingPlace{*id, QPointF(f.x(), f.y())});
}

// Towards the deck's edge of the note's own display (the main one when it stands on none),
// keeping a sliver on the screen.
std::optional<QRectF> FloatingNote::tuckTarget(const QRectF& frame) const
{
    std::optional<QRectF> screen;
    double best = 0;
    for (const DisplayInfo& d : displays.list()) {
        const double shared = overlap(frame, d.frame);
        if (shared > best) {
            best = shared;
            screen = d.frame;
        }
    }
    if (!screen) {
        for (const DisplayInfo& d : displays.list()) {
            if (d.isMain)
                screen = d.frame;
        }
    }
    if (!screen)
        return std::nullopt;
    const double x = Settings::deckOnLeftEdge() ? screen->left() - frame.width() + tuckedVisible
                                                : screen->right() - tuckedVisible;
    return QRectF(x, frame.y(), frame.width(), frame.height());
}
