#pragma once

#include "deck/DetachTarget.h"
#include "platform/Date.h"
#include "platform/Scheduler.h"

#include <QPointF>
#include <QRectF>
#include <QString>

#include <functional>
#include <optional>

class Displays;
class FloatingWindow;
class NoteStore;
class Pointer;

// The one note pulled off a deck to float on its own: it follows the pointer while pulled,
// then stays where it was dropped, above other windows while the note is pinned. Unpinned, it
// tucks itself away towards the deck's edge after the note idle time without the keyboard,
// the pointer near it or a key; Escape tucks it at once. Presenting another note tucks the
// one afloat first, without animation.
//
// Where it stands is kept in the settings while it floats, so that after a restart the note
// floats there again; its size is kept too, for the next note pulled out.
//
// The window is made by a factory for each note and goes when the note tucks; the logic
// holds no widget. REQUIRES: every collaborator outlives the floating note; Settings is
// installed. Main thread only.
class FloatingNote final : public DetachTarget {
public:
    // Seconds between the idle watch's looks.
    static constexpr double idleTick = 2.0;
    // How near the pointer counts as being at the note.
    static constexpr double pointerMargin = 8;
    static constexpr double tuckSeconds = 0.32;
    // How much of a tucked note's width stays on the screen as it slides away.
    static constexpr double tuckedVisible = 8;
    static constexpr QSizeF minimumSize{280, 220};

    // Makes the window for a note, sized but not shown.
    using WindowFactory = std::function<FloatingWindow*(FloatingNote& owner, const QString& id)>;

    FloatingNote(NoteStore& notes, Scheduler& scheduler, Pointer& pointer, Displays& displays,
                 WindowFactory makeWindow);
    ~FloatingNote() override;

    bool isShowing() const { return id.has_value(); }
    FloatingWindow* window() const { return panel; }

    // DetachTarget.
    std::optional<QString> noteID() const override { return id; }
    void present(const QString& noteID, QPointF under, QPointF grabOffset) override;
    void dragTo(QPointF point) override;
    void endDrag(bool cancelled) override;
    void focus() override;

    void tuck(bool animated);
    // Floats the note of the last session again where it stood, without taking the keyboard.
    // Nothing when none floated, or its note is gone or archived.
    void restore();

    // From the window. A key pressed while it holds the keyboard: true when the key is
    // answered here (Escape tucks the note) and goes no further.
    bool keyPressed(int key);
    // Typing, clicks, a move or a resize by the person.
    void noteActivity();
    // The person moved the window by its header, or ended a resize at size.
    void movedByUser();
    void resizedByUser(QSizeF size);
    // The close button: the note is saved and tucks away.
    void closeRequested();
    // The pin button: the note's pin flips and the window's level follows.
    void togglePin();

private:
    void startIdleWatch();
    void stopIdleWatch();
    void lookAtIdle();
    void applyLevel();
    void rememberPlace();
    std::optional<QRectF> tuckTarget(const QRectF& frame) const;
    // The frame of the note standing where the pointer holds it.
    QRectF frameUnder(QPointF point) const;

    NoteStore& notes;
    Scheduler& scheduler;
    Pointer& pointer;
    Displays& displays;
    WindowFactory makeWindow;

    std::optional<QString> id;
    FloatingWindow* panel = nullptr;
    Scheduler::HandlePtr idleTimer;
    Scheduler::HandlePtr levelReset;
    Date lastActivity{};
    QPointF grabOffset;
};
