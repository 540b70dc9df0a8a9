#pragma once

#include "deck/DeckWindow.h"
#include "platform/Displays.h"
#include "platform/Subscription.h"

#include <QWidget>

#include <memory>
#include <optional>

class Compositor;
class DeckActions;
class DeckView;
class Desktop;
class ImageStore;
class SpellChecker;
class KeyboardLayout;
class NoteStore;
class Pointer;
class Scheduler;
class WindowHints;

// The window of one deck: a borderless, transparent, shadowless panel on a screen edge that
// stays above ordinary windows on every workspace, out of the taskbar and the pager. A click
// never takes the keyboard from the window the person works in; opening a note does.
//
// It reports the pointer's entering and leaving to its controller, runs the pill's drag (with
// Alt, or Control on X11) along and across the edges and displays, shows the deck's menu, and while
// a note is open routes the program's key presses and its own loss of activation to the controller.
// Without a compositor it shapes itself to what it draws, so nothing square or black shows
// around the pill and the tabs. Main thread only.
class DeckPanel final : public QWidget, public DeckWindow {
    Q_OBJECT

public:
    struct Parts {
        NoteStore& notes;
        Scheduler& scheduler;
        DeckActions& actions;
        Displays& displays;
        Pointer& pointer;
        WindowHints& hints;
        Compositor& compositor;
        KeyboardLayout& keyboard;
        // For the open note's text view.
        Desktop& desktop;
        ImageStore& images;
        SpellChecker* spellChecker = nullptr;
    };
    // REQUIRES: every part outlives the panel.
    explicit DeckPanel(Parts parts);
    ~DeckPanel() override;

    void attach(DeckController* controller) override;
    QRectF frame() const override { return currentFrame; }
    void setFrame(const QRectF& frame) override;
    void orderFront() override;
    void makeKeyAndOrderFront() override;
    void resignKey() override;
    bool isKey() const override;
    void applyLevel() override;
    void orderOut() override;
    void installNoteMonitors() override;
    void removeNoteMonitors() override;
    void willChangeState(const DeckState& next, std::optional<DeckSpring> spring) override;

    // The deck's content, once a controller is attached.
    DeckView* view() const { return content; }

protected:
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showDeckMenu(QPoint global);
    void followComposition(bool composited);
    void applyShape();
    void dragPillTo(QPointF pointer);
    void endPillDrag();
    QRectF mainQt() const;

    struct PillDrag {
        std::optional<DisplayInfo> screen;
        bool onLeft = false;
        double ratio = 0;
    };

    Parts with;
    DeckController* controller = nullptr;
    DeckView* content = nullptr;
    QRectF currentFrame;
    bool monitoring = false;
    bool composited = true;
    std::optional<PillDrag> pillDrag;
    Subscription compositorWatch;
};
