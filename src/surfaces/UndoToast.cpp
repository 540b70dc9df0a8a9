#include "surfaces/UndoToast.h"

#include "platform/Displays.h"
#include "platform/Pointer.h"

#include <algorithm>

UndoToast::UndoToast(NoteStore& notes, Scheduler& scheduler, Pointer& pointer, Displays& displays,
                     WindowFactory makeWindow)
    : notes(notes)
    , scheduler(scheduler)
    , pointer(pointer)
    , displays(displays)
    , makeWindow(std::move(makeWindow))
{
}

UndoToast::~UndoToast() { delete window; }

void UndoToast::start()
{
    QObject::disconnect(&notes, nullptr, &listening, nullptr);
    QObject::connect(&notes, &NoteStore::pendingUndoChanged, &listening, [this] { follow(); });
    follow();
}

void UndoToast::follow()
{
    const std::optional<NoteStore::PendingDelete>& pending = notes.pendingUndo();
    if (!pending) {
        ticking.reset();
        shown.reset();
        deadline.reset();
        if (window)
            window->dismiss();
        return;
    }
    shown = pending->note;
    deadline = pending->deadline;
    if (!window && makeWindow)
        window = makeWindow(*this);
    if (window) {
        window->present(pending->note, frameUnderPointer());
        window->setRemaining(remaining());
    }
    ticking = scheduler.every(tickInterval, [this] { tick(); });
}

double UndoToast::remaining() const
{
    if (!deadline)
        return 0;
    const double left = deadline->seconds - scheduler.now().seconds;
    return std::clamp(left / NoteStore::undoWindow, 0.0, 1.0);
}

void UndoToast::tick()
{
    if (window)
        window->setRemaining(remaining());
}

void UndoToast::undo() { notes.undoDelete(); }

// Bottom centre of the visible part of the display under the pointer, or of the main one.
QRectF UndoToast::frameUnderPointer() const
{
    const std::optional<DisplayInfo> screen = displayUnder(displays.list(), pointer.location());
    const QRectF v = screen ? screen->visibleFrame : QRectF(0, 0, 1280, 800);
    return {v.center().x() - size.width() / 2, v.y() + bottomInset, size.width(), size.height()};
}
