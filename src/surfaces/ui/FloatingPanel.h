#pragma once

#include "editor/EditorBridge.h"
#include "platform/Subscription.h"
#include "surfaces/FloatingWindow.h"

#include <QPointer>
#include <QWidget>

#include <optional>

class Compositor;
class Desktop;
class FloatingNote;
class ImageStore;
class NoteStore;
class NoteTextBinding;
class NoteTextView;
class Scheduler;
class SheetButton;
class SpellChecker;
class WindowHints;
class QLabel;
class QVariantAnimation;

// The floating note's window: the note's paper with a header that carries its title, the pin
// and the close button, over the note's text. The header moves the window and the rim resizes
// it; both are done here rather than by the window manager, so that the note stays under the
// pointer on every window manager and the end of each is known.
//
// Everything the person does reaches the floating note's logic, which decides. The text is
// bound to the note for the window's life, and saved when the window goes.
class FloatingPanel final : public QWidget, public FloatingWindow {
    Q_OBJECT

public:
    struct Parts {
        NoteStore& notes;
        Scheduler& scheduler;
        Desktop& desktop;
        ImageStore& images;
        WindowHints& hints;
        Compositor& compositor;
        SpellChecker* spellChecker = nullptr;
    };
    static constexpr double cornerRadius = 10;
    static constexpr double shadowBlur = 16;
    // How far outside the paper the rim that resizes reaches, and how far inside.
    static constexpr double rimOutside = 6;
    static constexpr double rimInside = 4;

    // REQUIRES: owner and every part outlive the window.
    FloatingPanel(FloatingNote& owner, const QString& noteID, Parts parts);
    ~FloatingPanel() override;

    QRectF frame() const override;
    void setFrame(const QRectF& frame) override;
    void orderFront() override;
    void makeKeyAndOrderFront() override;
    bool isKey() const override;
    bool isShown() const override { return isVisible(); }
    bool isAbove() const override;
    void setAbove(bool above) override;
    void dismiss(std::optional<QRectF> target) override;

    NoteTextView* textView() const { return text; }
    QWidget* header() const { return headerRow; }
    // The paper, in the window's own coordinates.
    QRectF paperRect() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    QMargins margins() const;
    QRectF mainQt() const;
    Qt::Edges rimAt(QPointF local) const;
    void followComposition(bool on);
    void applyShape();
    void noteChanged();
    bool headerEvent(QEvent* event);

    FloatingNote& owner;
    const QString id;
    Parts with;
    EditorBridge bridge;
    bool composited = false;
    Subscription compositorWatch;

    QWidget* content = nullptr;
    QWidget* headerRow = nullptr;
    QLabel* title = nullptr;
    SheetButton* pin = nullptr;
    SheetButton* close = nullptr;
    NoteTextView* text = nullptr;
    NoteTextBinding* binding = nullptr;

    // A move by the header: where the pointer holds the window, from its top left.
    std::optional<QPoint> moveGrab;
    // A resize by the rim: the edges held, the pointer and the window's geometry at the press.
    Qt::Edges resizing;
    QPoint resizeFrom;
    QRect resizeStart;
    QPointer<QVariantAnimation> tucking;
    bool going = false;
};
