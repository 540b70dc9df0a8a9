#include "deck/FanColumnState.h"

#include "deck/DeckController.h"
#include "deck/DeckModel.h"
#include "notes/NoteStore.h"
#include "settings/Settings.h"

#include <algorithm>
#include <cmath>
#include <utility>

void TabPress::press(QPointF at)
{
    origin = at;
    travel = 0;
    pressed = true;
    dragging = false;
}

std::optional<double> TabPress::move(QPointF at)
{
    if (!pressed)
        return std::nullopt;
    const double dy = at.y() - origin.y();
    if (!dragging && std::abs(dy) > threshold)
        dragging = true;
    if (!dragging)
        return std::nullopt;
    travel = dy;
    return travel;
}

TabPress::Release TabPress::release(QPointF at)
{
    if (!pressed)
        return {};
    move(at);
    const Release result{dragging ? Outcome::DragEnded : Outcome::Click, at.y() - origin.y()};
    *this = TabPress();
    return result;
}

FanColumnState::FanColumnState(DeckController& controller, NoteStore& notes, Scheduler& scheduler,
                               QObject* parent)
    : QObject(parent)
    , controller(controller)
    , store(notes)
    , scheduler(scheduler)
{
    const DeckModel& model = controller.model();
    lastRevealTick = model.revealTick();
    wasRest = model.state().isRest();
    // A deck kept shown starts as a fan, with no tick to stage its first reveal.
    if (!wasRest)
        replayReveal();
    connect(&controller.model(), &DeckModel::changed, this, &FanColumnState::modelChanged);
}

QList<Note> FanColumnState::visibleNotes(const QList<Note>& active, bool showAll)
{
    return showAll ? active : active.mid(0, Settings::fanLimit);
}

int FanColumnState::hiddenCount(qsizetype activeCount, bool showAll)
{
    if (showAll)
        return 0;
    return static_cast<int>(std::max<qsizetype>(activeCount - Settings::fanLimit, 0));
}

bool FanColumnState::isRevealed() const { return shown && !controller.model().state().isRest(); }

bool FanColumnState::noteIsOpen() const { return controller.state().isExpanded(); }

void FanColumnState::modelChanged()
{
    const DeckModel& model = controller.model();
    const int tick = model.revealTick();
    const bool rest = model.state().isRest();
    const bool ticked = tick != lastRevealTick;
    const bool leftRest = wasRest && !rest;
    const bool cameToRest = rest && !wasRest;
    lastRevealTick = tick;
    wasRest = rest;
    // A note opened straight from the pill (a hot key, a link) brings the column with no
    // tick: it stages in all the same.
    if (cameToRest)
        fold();
    else if (!rest && (ticked || leftRest))
        replayReveal();
}

void FanColumnState::replayReveal()
{
    const bool wasShown = std::exchange(shown, false);
    const bool hadPreview = preview.has_value();
    preview.reset();
    appearWork = scheduler.after(0, [this] {
        if (controller.model().state().isRest() || shown)
            return;
        shown = true;
        Q_EMIT changed();
    });
    if (wasShown || hadPreview)
        Q_EMIT changed();
}

void FanColumnState::fold()
{
    appearWork.reset();
    // A folded deck opens nothing and shows no card on a hover left over from the fan.
    hoverWork.reset();
    previewWork.reset();
    const bool wasShown = std::exchange(shown, false);
    const bool hadPreview = preview.has_value();
    preview.reset();
    if (wasShown || hadPreview)
        Q_EMIT changed();
}

std::optional<Note> FanColumnState::activePreviewNote(const QList<Note>& notes) const
{
    if (!preview || dragging || noteIsOpen())
        return std::nullopt;
    for (const Note& note : notes) {
        if (note.id == *preview)
            return note;
    }
    return std::nullopt;
}

int FanColumnState::previewIndex(const QList<Note>& notes) const
{
    const std::optional<Note> note = activePreviewNote(notes);
    if (!note)
        return 0;
    for (qsizetype i = 0; i < notes.size(); ++i) {
        if (notes.at(i).id == note->id)
            return static_cast<int>(i);
    }
    return 0;
}

void FanColumnState::open(const QString& id)
{
    if (controller.state().expandedID() == id)
        controller.collapse();
    else
        controller.expand(id);
}

void FanColumnState::handleHover(const QString& id, bool inside)
{
    if (dragging || noteIsOpen()) {
        cancelHoverOpen();
        cancelHoverPreview(std::nullopt);
        return;
    }
    const DeckModel& model = controller.model();
    if (inside) {
        // Opening on hover makes a preview pointless: the note itself is coming.
        if (model.openOnHover())
            scheduleHoverOpen(id);
        else if (model.tabPreview())
            scheduleHoverPreview(id);
        return;
    }
    cancelHoverOpen();
    cancelHoverPreview(id);
}

void FanColumnState::scheduleHoverOpen(const QString& id)
{
    hoverWork = scheduler.after(Settings::openOnHoverDelay, [this, id] {
        const QString note = id; // the work dies with hoverWork below
        if (!controller.model().openOnHover() || dragging
            || controller.state().expandedID() == note)
            return;
        hoverWork.reset();
        controller.expand(note);
    });
}

void FanColumnState::cancelHoverOpen() { hoverWork.reset(); }

void FanColumnState::scheduleHoverPreview(const QString& id)
{
    previewWork.reset();
    // With a card already out, it follows the pointer to the next tab without waiting.
    if (preview && *preview != id)
        setPreview(id, PreviewMotion::Slide);
    previewWork = scheduler.after(Settings::tabPreviewDelay, [this, id] {
        const DeckModel& model = controller.model();
        if (dragging || noteIsOpen() || !model.tabPreview() || model.openOnHover())
            return;
        setPreview(id, PreviewMotion::SpringIn);
    });
}

void FanColumnState::cancelHoverPreview(const std::optional<QString>& id)
{
    // Not at once: the card's own hover, arriving within the grace, schedules its note again
    // and so keeps it.
    previewWork = scheduler.after(previewGrace, [this, id] {
        if (!id || preview == id)
            setPreview(std::nullopt, PreviewMotion::FadeOut);
    });
}

void FanColumnState::setPreview(const std::optional<QString>& id, std::optional<PreviewMotion> how)
{
    if (preview == id)
        return;
    if (how)
        Q_EMIT previewMoving(*how);
    preview = id;
    Q_EMIT changed();
}

void FanColumnState::dragChanged(const QList<Note>& notes, int index, double dy, double pitch)
{
    if (index < 0 || index >= notes.size())
        return;
    const QString& id = notes.at(index).id;
    bool moved = false;
    if (dragging != id) {
        dragging = id;
        dropIndex = index;
        moved = true;
        controller.model().setDragging(true);
        cancelHoverOpen();
        cancelHoverPreview(std::nullopt);
    }
    const int t = target(index, dy, pitch, notes.size());
    if (t != dropIndex) {
        dropIndex = t;
        moved = true;
    }
    if (moved)
        Q_EMIT changed();
}

void FanColumnState::dragEnded(const QList<Note>& notes, int index, double dy, double pitch)
{
    if (index < 0 || index >= notes.size())
        return;
    const QString id = notes.at(index).id;
    const int t = target(index, dy, pitch, notes.size());
    const bool wasDragging = dragging.has_value();
    dragging.reset();
    controller.model().setDragging(false);
    if (wasDragging)
        Q_EMIT changed();
    // The store takes a shift in places, not an index.
    if (t != index)
        store.reorder(id, t - index);
}

int FanColumnState::target(int from, double dy, double pitch, qsizetype count)
{
    const double steps = pitch >= 1 ? dy / pitch : dy;
    const double n = steps > 0 ? std::floor(steps + reorderBias) : std::ceil(steps - reorderBias);
    const double last = static_cast<double>(std::max<qsizetype>(count - 1, 0));
    return static_cast<int>(std::clamp(from + n, 0.0, last));
}

double FanColumnState::neighbourOffset(const QList<Note>& notes, int index, double pitch) const
{
    if (!dragging)
        return 0;
    int from = -1;
    for (qsizetype i = 0; i < notes.size(); ++i) {
        if (notes.at(i).id == *dragging)
            from = static_cast<int>(i);
    }
    if (from < 0)
        return 0;
    const int to = dropIndex;
    if (from < to && from < index && index <= to)
        return -pitch;
    if (to < from && to <= index && index < from)
        return pitch;
    return 0;
}

double FanColumnState::stagger(int index, int totalCount, bool revealed)
{
    if (revealed)
        return index * revealStagger;
    return std::max(totalCount - 1 - index, 0) * hideStagger;
}
