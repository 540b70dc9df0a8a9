#include "surfaces/QuickCapture.h"

#include "notes/NoteStore.h"
#include "platform/Displays.h"
#include "platform/Pointer.h"
#include "platform/Scheduler.h"

#include <utility>

QuickCapture::QuickCapture(NoteStore& notes, Scheduler& scheduler, Pointer& pointer,
                           Displays& displays, WindowFactory makeWindow)
    : notes(notes)
    , scheduler(scheduler)
    , pointer(pointer)
    , displays(displays)
    , makeWindow(std::move(makeWindow))
{
}

QuickCapture::~QuickCapture()
{
    if (window)
        std::exchange(window, nullptr)->close();
}

bool QuickCapture::withinDebounce() const
{
    return shownAt && scheduler.now().seconds - shownAt->seconds <= debounce;
}

void QuickCapture::toggle(quint32 time)
{
    if (withinDebounce())
        return;
    if (window)
        dismiss();
    else
        show(time);
}

void QuickCapture::show(quint32 time)
{
    lastTime = time;
    if (!window) {
        window = makeWindow(*this);
        shownFrame = frameUnderPointer();
        shownAt = scheduler.now();
    }
    window->present(shownFrame, time);
}

void QuickCapture::dismiss()
{
    if (window)
        std::exchange(window, nullptr)->close();
}

void QuickCapture::keyboardLost()
{
    if (!window)
        return;
    if (withinDebounce())
        window->present(shownFrame, lastTime);
    else
        dismiss();
}

void QuickCapture::save(const QString& text, const std::optional<QString>& into)
{
    const QString words = text.trimmed();
    if (!words.isEmpty()) {
        const std::optional<Note> target = into ? notes.note(*into) : std::nullopt;
        if (target) {
            const QString& old = target->body;
            notes.updateBody(target->id, old.isEmpty() ? words : old + u'\n' + words);
        } else {
            notes.create(words);
        }
    }
    dismiss();
}

QList<Note> QuickCapture::targets() const
{
    QList<Note> active = notes.active();
    if (active.size() > targetLimit)
        active.resize(targetLimit);
    return active;
}

std::optional<int> QuickCapture::targetForDigit(int digit, int targetCount)
{
    if (digit == 1)
        return newNoteTarget;
    if (digit >= 2 && digit <= 9 && digit - 2 < targetCount)
        return digit - 2;
    return std::nullopt;
}

// In the middle of the display under the pointer (the main one when it is on none), a little
// above the middle, where the eye goes first.
QRectF QuickCapture::frameUnderPointer() const
{
    const std::optional<DisplayInfo> screen = displayUnder(displays.list(), pointer.location());
    const QRectF v = screen ? screen->visibleFrame : QRectF(0, 0, 1280, 800);
    return {v.center().x() - size.width() / 2, v.y() + v.height() * 0.58, size.width(),
            size.height()};
}
