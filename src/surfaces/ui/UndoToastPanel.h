#pragma once

#include "platform/Subscription.h"
#include "surfaces/UndoToast.h"

#include <QWidget>

class Compositor;
class QLabel;
class SheetButton;
class WindowHints;

// The undo toast's window: a ring running down to the deadline in the deleted note's colour,
// "Note deleted" over the note's title, and Undo. It floats above everything on every
// workspace and never takes the keyboard, so deleting a note from the keyboard leaves the
// person typing where they were; a click on Undo does not take it either.
class UndoToastPanel final : public QWidget, public UndoToastWindow {
    Q_OBJECT

public:
    struct Parts {
        WindowHints& hints;
        Compositor& compositor;
    };
    static constexpr double cornerRadius = 10;
    static constexpr double shadowBlur = 14;
    static constexpr double shadowDrop = 4;

    // REQUIRES: owner and every part outlive the window.
    UndoToastPanel(UndoToast& owner, Parts parts);
    ~UndoToastPanel() override;

    void present(const Note& note, const QRectF& frame) override;
    void setRemaining(double fraction) override;
    void dismiss() override;

    double remaining() const { return fraction; }
    SheetButton* undoButton() const { return button; }
    QLabel* titleLabel() const { return title; }
    // The toast itself, in the window's own coordinates.
    QRectF toastRect() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int margin() const;

    UndoToast& owner;
    Parts with;
    bool composited = false;
    Subscription compositorWatch;
    QColor ring;
    double fraction = 1;
    QLabel* heading = nullptr;
    QLabel* title = nullptr;
    SheetButton* button = nullptr;
};
