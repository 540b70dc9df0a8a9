#pragma once

#include "deck/DeckState.h"
#include "deck/DeckWindow.h"
#include "deck/FanColumnState.h"
#include "deck/Motion.h"
#include "deck/ui/DeckPaint.h"
#include "notes/Note.h"

#include <QElapsedTimer>
#include <QHash>
#include <QPointer>
#include <QRegion>
#include <QTimer>
#include <QWidget>

#include <optional>
#include <utility>

class DeckActions;
class DeckController;
class NoteEditorView;
class Desktop;
class ImageStore;
class SpellChecker;
class NoteStore;
class Scheduler;
class QMenu;
class QPainter;
class QPainterPath;

// What one deck shows, painted by hand in one widget that fills the panel: the resting pill,
// the fan column (tabs or chips, the More tab, the plus and cog buttons, the edge line), and
// the preview card beside a hovered tab. The column's view state (its staged reveal, hover
// work, drags) lives in FanColumnState; this widget turns it into positions and motion and
// turns the pointer into its calls.
//
// Every item keeps its motion by key (a note's id, or the name of a button) across repaints,
// so a reordered tab glides and a re-fanned column replays its reveal. A frame timer at the
// display's refresh rate runs only while something moves; at rest nothing ticks.
//
// A press that grabs the pill (with Alt or Control), and a right click outside every tab, are left
// to the panel (the pill's drag and the deck's menu). Main thread only.
class DeckView final : public QWidget {
    Q_OBJECT

public:
    struct Parts {
        DeckController& controller;
        NoteStore& notes;
        Scheduler& scheduler;
        DeckActions& actions;
        // What an open note's sheet needs; without them no sheet shows.
        Desktop* desktop = nullptr;
        ImageStore* images = nullptr;
        SpellChecker* spellChecker = nullptr;
    };
    // REQUIRES: every part outlives the view.
    DeckView(Parts parts, QWidget* parent);
    ~DeckView() override;

    // Without a compositor nothing may be drawn translucent outside the drawn shapes: the
    // shadows are left out and shapeChanged tells the panel what to keep.
    void setComposited(bool on);
    // While the pill is dragged the edge follows the pointer before the settings do.
    void setEdgeOverride(std::optional<bool> onLeft);
    // How the content should follow the next state (see DeckWindow::willChangeState).
    void willChangeState(const DeckState& next, std::optional<DeckSpring> spring);

    // In this widget's coordinates.
    QRectF pillRect() const;
    // The union of what is drawn now; what the window keeps without a compositor.
    QRegion drawnRegion() const { return drawn; }
    // Where the deck takes the pointer: the band at the screen edge where the pill or the
    // column stands, and the items drawn; elsewhere a click goes to the window below. Absent
    // (the whole panel) while a note is open.
    const std::optional<QRegion>& inputRegion() const { return input; }
    // Anything still moving; the frame timer runs exactly while this holds.
    bool isAnimating() const { return frames.isActive(); }

    // An item a screen reader or a test can find: its kind, key, accessible name and where
    // it stands (in this widget's coordinates).
    struct ItemInfo {
        QString kind;
        QString key;
        QString name;
        QRectF rect;
    };
    QList<ItemInfo> items() const;
    // Performs the item's click, as a screen reader's press does.
    void press(const QString& key);

Q_SIGNALS:
    // Emitted after a repaint that changed drawnRegion or inputRegion.
    void shapeChanged();
    // Emitted after a repaint that changed what items() lists: which items, their order or
    // their names (not their places).
    void itemsChanged();
    // A right click on bare panel or the pill; the cog does it too while the program has no
    // settings window. At the global point.
    void deckMenuRequested(QPoint global);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    bool event(QEvent* event) override;

private:
    enum class Kind { Pill, Empty, Tab, Chip, More, Plus, Cog, Card };
    // One thing drawn, as laid out for the frame being painted.
    struct Item {
        Kind kind = Kind::Tab;
        QString key;
        std::optional<Note> note;
        // Index among the column's notes, for tabs and chips; -1 otherwise.
        int index = -1;
        // Where it stands now, motion included, before its own lean and scale.
        QRectF rect;
        double opacity = 1;
        double scale = 1;
        bool isOpen = false;
        bool lifted = false;
        bool hovering = false;
        bool pressed = false;
        QString name;
    };
    // What moves of one item, kept by key across frames.
    struct Motion {
        Animated stage{1}; // 0 in place, 1 hidden past the screen edge
        Animated top;      // the slot's top, gliding when the list changes
        Animated shift;    // making room for a dragged tab
        Animated lift;     // 0 to 1 while dragged
        Animated hover;    // 0 to 1 under the pointer
        Animated press;    // 0 to 1 while pressed
        bool placed = false;
        bool seen = false;
    };

    void layoutItems(double now);
    void paintItem(QPainter& painter, const Item& item);
    QPainterPath outline(const Item& item) const;
    DeckPaint::TabLook tabLook(const Item& item) const;
    DeckPaint::ChipLook chipLook(const Item& item) const;
    DeckPaint::MaterialTabLook materialLook(const Item& item) const;
    DeckPaint::ButtonLook buttonLook(const Item& item) const;
    const Item* itemAt(QPointF point) const;
    const Item* find(const QString& key) const;
    void setHovered(const QString& key);
    void activate(const Item& item, QPoint global);
    void showNoteMenu(const Note& note, QPoint global);
    void runMenu(QMenu& menu, QPoint global);
    bool onLeft() const;
    double now() const;
    bool settled(double now) const;
    void logItems() const;
    // Opens, keeps or closes the open note's sheet to match the deck's state.
    void syncSheet();
    // Where the sheet hangs now, its pull-out motion included.
    void placeSheet();
    std::optional<QRegion> takesPointer() const;

    DeckController& controller;
    NoteStore& notes;
    DeckActions& actions;
    Scheduler& scheduler;
    Desktop* desktop;
    ImageStore* images;
    SpellChecker* spellChecker;
    FanColumnState fan;
    // The open note's sheet, a child over the column; absent while no note is open.
    QPointer<NoteEditorView> sheet;
    // 0 pulled in past the edge, 1 in place.
    Animated sheetShown{0};
    QHash<QString, Motion> motions;
    QList<Item> laidOut;
    std::optional<Item> pill;
    Animated pillOpacity{1};
    Animated lineOpacity{0};
    Animated cardOpacity{0};
    Animated cardOffset{0};
    std::optional<Note> cardNote;
    Curve cardCurve = Curve::easeOut(0.1);
    QRectF edgeLine;
    QElapsedTimer clock;
    QTimer frames;
    QRegion drawn;
    std::optional<QRegion> input;
    // The column's extent from its top, for the edge band of the input region; empty while
    // the column is not there.
    QRectF columnSpan;
    bool composited = true;
    std::optional<bool> edgeOverride;
    QString hoveredKey;
    QString pressedKey;
    TabPress tabPress;
    double scroll = 0;
    double scrollRange = 0;
    std::optional<QRectF> clip;
    // The column's notes and pitch as last laid out, for the drags.
    QList<Note> shownNotes;
    double pitch = 0;
    int hiddenCount = 0;
    // Each listed item's key and name as last announced by itemsChanged.
    QList<std::pair<QString, QString>> listed;
};
