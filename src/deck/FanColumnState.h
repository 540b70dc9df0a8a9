#pragma once

#include "notes/Note.h"
#include "platform/Scheduler.h"

#include <QList>
#include <QObject>
#include <QPointF>
#include <QString>

#include <optional>

class DeckController;
class NoteStore;

// One press on a labelled tab: a single gesture that is either a click or a vertical drag,
// so that a tab both opens and reorders without a mode. Only vertical travel counts: the
// column is one tab wide, and a hand drifting sideways while clicking still means a click.
class TabPress {
public:
    // Vertical travel strictly beyond this starts a drag.
    static constexpr double threshold = 5.0;

    void press(QPointF at);
    // The pointer moved while pressed: the drag's dy once dragging (after this move), else
    // absent.
    std::optional<double> move(QPointF at);

    enum class Outcome { None, Click, DragEnded };
    struct Release {
        Outcome outcome = Outcome::None;
        // The vertical travel from the press.
        double dy = 0;
    };
    // Ends the gesture. Once a drag has begun it ends as a drag, even back at its start; a
    // release beyond the threshold with no move reported before it ends a drag too. None
    // without a press.
    Release release(QPointF at);

    bool isPressed() const { return pressed; }
    bool isDragging() const { return dragging; }
    double dy() const { return travel; }

private:
    QPointF origin;
    double travel = 0;
    bool pressed = false;
    bool dragging = false;
};

// The view state of a deck's column of tabs, kept apart from its widgets: the staged reveal,
// opening a note on hover, the preview card that follows the pointer over the tabs, and drag
// reordering. The widgets draw from it and report clicks, hovers and drags to it.
//
// Every delay runs through the scheduler, and each piece of pending work checks the deck
// again when it fires rather than trusting what held when it was set. The deck going to rest
// drops all pending work. A note is open when the controller's state is expanded (ahead of
// the model's, which may lag by a frame while the panel grows).
//
// REQUIRES: controller, notes and scheduler outlive this object. Main thread only.
class FanColumnState final : public QObject {
    Q_OBJECT

public:
    // How the preview card moves when it changes.
    enum class PreviewMotion {
        // Ease-out 0.1 s: straight from one tab to the next.
        Slide,
        // Spring 0.22 / 0.85: the card comes out after the pointer rested on a tab.
        SpringIn,
        // Ease-out 0.12 s: the card goes.
        FadeOut,
    };
    Q_ENUM(PreviewMotion)

    // Wait before a card is taken away, long enough to cross from a tab to its card.
    static constexpr double previewGrace = 0.15;
    // Per item of the staged reveal (first item first) and hide (last item first).
    static constexpr double revealStagger = 0.042;
    static constexpr double hideStagger = 0.03;
    // A dragged tab must travel 1 − reorderBias of a pitch before its target moves.
    static constexpr double reorderBias = 0.4;

    // Observes controller.model() for the reveal cycle: the column plays its reveal again
    // each time the fan opens, and hides when the deck goes to rest.
    FanColumnState(DeckController& controller, NoteStore& notes, Scheduler& scheduler,
                   QObject* parent = nullptr);

    // The notes the column lists, from the active notes in deck order: all of them with
    // showAll, else the first Settings::fanLimit. hiddenCount is what the More tab counts.
    static QList<Note> visibleNotes(const QList<Note>& active, bool showAll);
    static int hiddenCount(qsizetype activeCount, bool showAll);

    // False from each opening of the fan until the next turn of the event loop, so that the
    // items first stand off the edge and then stage in; false at rest.
    bool appeared() const { return shown; }
    // The items stand in place: the deck is not at rest, and the column has appeared.
    bool isRevealed() const;
    const std::optional<QString>& previewNoteID() const { return preview; }
    const std::optional<QString>& dragID() const { return dragging; }
    // Where the dragged tab would land; meaningful while dragID is present.
    int dragTarget() const { return dropIndex; }

    // The note whose preview card shows, among the column's notes: absent while a tab is
    // dragged, while a note is open, or when the note is not in the list (removed, say).
    // previewIndex: its index, 0 when absent. Both read the deck's state, whose changes the
    // model signals rather than changed().
    std::optional<Note> activePreviewNote(const QList<Note>& notes) const;
    int previewIndex(const QList<Note>& notes) const;

    // A click on a tab: opens its note, or closes it when it is the open one.
    void open(const QString& id);
    // The pointer entered (inside) or left a tab, or the preview card of that note. The card
    // reports with its note's id, so crossing from a tab to its card keeps the card.
    void handleHover(const QString& id, bool inside);

    // The tab at index of notes reports a vertical drag of dy points past the press
    // threshold; pitch is the layout's. dragEnded moves the note in the store when its
    // target differs from where it started, and ends the drag.
    void dragChanged(const QList<Note>& notes, int index, double dy, double pitch);
    void dragEnded(const QList<Note>& notes, int index, double dy, double pitch);
    // The index a tab dragged from `from` by dy lands on, within 0 … count − 1. dy counts in
    // pitches, or in points when pitch is below 1.
    static int target(int from, double dy, double pitch, qsizetype count);
    // How far the tab at index stands off its place while another is dragged: the tabs
    // between the dragged tab and its target make room by one pitch. 0 for the dragged tab
    // itself (it follows the pointer) and when nothing is dragged.
    double neighbourOffset(const QList<Note>& notes, int index, double pitch) const;

    // The delay of item index of totalCount in the staged reveal or hide.
    static double stagger(int index, int totalCount, bool revealed);

Q_SIGNALS:
    // Some view state above changed (appeared, the preview, the drag).
    void changed();
    // The preview card is about to change and how it should move; changed() follows. A card
    // cleared by the fan opening again or folding away goes with no motion and no signal.
    void previewMoving(FanColumnState::PreviewMotion how);

private:
    void modelChanged();
    // The fan opened again: the items go off the edge now and stage in on the next turn.
    void replayReveal();
    // The deck went to rest.
    void fold();
    bool noteIsOpen() const;
    void scheduleHoverOpen(const QString& id);
    void cancelHoverOpen();
    void scheduleHoverPreview(const QString& id);
    void cancelHoverPreview(const std::optional<QString>& id);
    void setPreview(const std::optional<QString>& id, std::optional<PreviewMotion> how);

    DeckController& controller;
    NoteStore& store;
    Scheduler& scheduler;

    bool shown = false;
    std::optional<QString> preview;
    std::optional<QString> dragging;
    int dropIndex = 0;

    Scheduler::HandlePtr appearWork;
    Scheduler::HandlePtr hoverWork;
    Scheduler::HandlePtr previewWork;

    // What the model showed last, to tell a rising reveal tick and a fresh rest.
    int lastRevealTick = 0;
    bool wasRest = true;
};
