#include "deck/ui/DeckView.h"

#include "deck/DeckActions.h"
#include "deck/DeckController.h"
#include "deck/DeckGeom.h"
#include "deck/DeckLog.h"
#include "deck/DeckModel.h"
#include "deck/ui/DeckAccessible.h"
#include "deck/ui/DeckMenus.h"
#include "deck/ui/DeckPaint.h"
#include "deck/ui/NoteEditorView.h"
#include "editor/ui/NoteTextView.h"
#include "l10n/L10n.h"
#include "notes/Ink.h"
#include "notes/NoteColor.h"
#include "notes/NoteStore.h"
#include "notes/NoteText.h"
#include "settings/Settings.h"

#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QMenu>
#include <QPainter>
#include <QPalette>
#include <QScreen>
#include <QToolTip>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

// One cache of label widths for every deck of the process.
LabelWidths& labelWidths()
{
    static LabelWidths widths;
    return widths;
}

// Starts a motion only when its goal changes, so that a repaint mid-flight never restarts it.
void aim(Animated& value, double target, const Curve& curve, double now)
{
    if (value.target() != target)
        value.animateTo(target, curve, now);
}

const QString emptyKey = u"#empty"_s;
const QString moreKey = u"#more"_s;
const QString plusKey = u"#plus"_s;
const QString cogKey = u"#cog"_s;
const QString cardKey = u"#card"_s;

DeckPaint::Surface surfaceOf(bool composited)
{
    return composited ? DeckPaint::Surface::Composited : DeckPaint::Surface::Shaped;
}

} // namespace

DeckView::DeckView(Parts parts, QWidget* parent)
    : QWidget(parent)
    , controller(parts.controller)
    , notes(parts.notes)
    , actions(parts.actions)
    , scheduler(parts.scheduler)
    , desktop(parts.desktop)
    , images(parts.images)
    , spellChecker(parts.spellChecker)
    , fan(parts.controller, parts.notes, parts.scheduler)
{
    DeckAccessible::install();
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent, false);
    clock.start();
    frames.setTimerType(Qt::PreciseTimer);
    connect(&frames, &QTimer::timeout, this, [this] {
        placeSheet();
        update();
    });
    connect(&controller.model(), &DeckModel::changed, this, qOverload<>(&QWidget::update));
    connect(&fan, &FanColumnState::changed, this, qOverload<>(&QWidget::update));
    connect(&fan, &FanColumnState::previewMoving, this, [this](FanColumnState::PreviewMotion how) {
        switch (how) {
        case FanColumnState::PreviewMotion::Slide:
            cardCurve = Curve::easeOut(0.1);
            break;
        case FanColumnState::PreviewMotion::SpringIn:
            cardCurve = Curve::spring(0.22, 0.85);
            break;
        case FanColumnState::PreviewMotion::FadeOut:
            cardCurve = Curve::easeOut(0.12);
            break;
        }
    });
    notes.observeNotes(this, [this] {
        syncSheet();
        update();
    });
    connect(&controller.model(), &DeckModel::changed, this, &DeckView::syncSheet);
}

DeckView::~DeckView() = default;

double DeckView::now() const { return static_cast<double>(clock.nsecsElapsed()) * 1e-9; }

bool DeckView::onLeft() const { return edgeOverride.value_or(controller.model().onLeftEdge()); }

void DeckView::setComposited(bool on)
{
    if (composited == on)
        return;
    composited = on;
    if (sheet)
        sheet->setSurface(surfaceOf(on));
    update();
}

// The sheet follows the deck's state: a note opened here gets its sheet, pulled in from the
// edge; a closed or deleted note loses it. A note being pulled out keeps its sheet, unseen,
// until the pull ends, since the sheet's gutter holds the pointer. A sheet is taken down
// later, never in the middle of an event it may be handling itself (an Escape typed in its
// text, say).
void DeckView::syncSheet()
{
    const DeckModel& model = controller.model();
    const std::optional<QString> id = model.state().expandedID();
    const std::optional<Note> note = id ? notes.note(*id) : std::nullopt;
    const bool right = !onLeft();
    const bool wanted = note && desktop && images;
    if (sheet && (!wanted || sheet->noteID() != *id || sheet->onRightEdge() != right)) {
        NoteEditorView* old = sheet;
        sheet = nullptr;
        old->closeNote();
        old->hide();
        old->deleteLater();
    }
    if (wanted && !sheet) {
        sheet = new NoteEditorView(*note, controller.model(), controller, notes, right, *desktop,
                                   *images, scheduler, spellChecker, this);
        sheet->setSurface(surfaceOf(composited));
        sheetShown.jumpTo(0);
        sheetShown.animateTo(1, Curve::spring(0.3, 0.9), now());
        placeSheet();
        sheet->show();
        sheet->raise();
        sheet->textView()->focusSoon();
        if (!frames.isActive())
            update();
    }
    placeSheet();
}

void DeckView::placeSheet()
{
    if (!sheet)
        return;
    const DeckModel& model = controller.model();
    const double h = height();
    const QList<Note> active = notes.active();
    const QList<Note> visible = FanColumnState::visibleNotes(active, model.showAll());
    double longest = 0;
    for (const Note& note : visible)
        longest = std::max(longest, labelWidths().labelWidth(NoteText::displayTitle(note)));
    const bool showsActions = !(model.alwaysShown() && model.hideActions());
    const int hidden = FanColumnState::hiddenCount(active.size(), model.showAll());
    const DeckLayout layout =
        DeckGeom::layout(std::max(h, 1.0), std::max(1, static_cast<int>(visible.size())),
                         hidden > 0, model.style(), longest, showsActions);
    int index = -1;
    for (int i = 0; i < visible.size(); ++i) {
        if (visible[i].id == sheet->noteID())
            index = i;
    }
    const double top = DeckGeom::editorTop(layout, h, static_cast<int>(active.size()), index,
                                           model.openedHeight(), model.openedTop());
    // The sheet stays put while the list under it changes.
    if (!model.openedTop())
        controller.model().setOpenedTop(top);
    const bool right = sheet->onRightEdge();
    const QRectF body = sheet->bodyRect();
    const double pull = (1 - sheetShown.value(now())) * 40 * (right ? 1 : -1);
    const double x = (right ? width() - body.width() : 0) + pull;
    sheet->move(QPointF(x - body.left(), top - body.top()).toPoint());
}

void DeckView::setEdgeOverride(std::optional<bool> left)
{
    edgeOverride = left;
    update();
}

void DeckView::willChangeState(const DeckState&, std::optional<DeckSpring>) { update(); }

QRectF DeckView::pillRect() const { return pill ? pill->rect : QRectF(); }

// Lays out every item for this moment: the pill, and while the column stands, its items in
// their stacking order, each at its slot moved by its motions.
void DeckView::layoutItems(double t)
{
    const DeckModel& model = controller.model();
    const double w = width();
    const double h = height();
    const bool right = !onLeft();
    const double side = right ? 1 : -1;
    const QList<Note> active = notes.active();
    const int activeCount = static_cast<int>(active.size());
    laidOut.clear();

    // The pill, always there; it fades out while the column shows.
    const double pillHeight = DeckGeom::pillHeight(std::max(1, activeCount));
    const double pillWidth = DeckGeom::plusGap();
    Item p;
    p.kind = Kind::Pill;
    p.key = u"#pill"_s;
    p.name = L10n::plural(u"notes.count"_s, activeCount);
    p.rect =
        QRectF(right ? w - 1 - pillWidth : 1,
               (1 - Settings::deckYRatio()) * std::max(h - pillHeight, 0.0), pillWidth, pillHeight);
    const bool pillShows = model.state().isRest() && !model.pillHidden();
    aim(pillOpacity, pillShows ? 1 : 0, Curve::easeInOut(0.2, pillShows ? 0.12 : 0), t);
    p.opacity = std::clamp(pillOpacity.value(t), 0.0, 1.0);
    pill = p;

    const QList<Note> visible = FanColumnState::visibleNotes(active, model.showAll());
    const int hidden = FanColumnState::hiddenCount(active.size(), model.showAll());
    double longest = 0;
    for (const Note& note : visible)
        longest = std::max(longest, labelWidths().labelWidth(NoteText::displayTitle(note)));
    const bool showsActions = !(model.alwaysShown() && model.hideActions());
    const DeckLayout layout =
        DeckGeom::layout(std::max(h, 1.0), std::max(1, static_cast<int>(visible.size())),
                         hidden > 0, model.style(), longest, showsActions);
    shownNotes = visible;
    hiddenCount = hidden;
    pitch = layout.pitch;
    if (!model.fanVisible() && h <= layout.stackHeight()) {
        edgeLine = {};
        columnSpan = {};
        clip.reset();
        return;
    }

    const double tabWidth = DeckGeom::tabWidth();
    const double columnLeft = right ? w - tabWidth : 0;
    const double top = DeckGeom::fanTop(layout, h, activeCount);
    columnSpan = QRectF(0, top, w, std::min(layout.stackHeight(), layout.cap()));
    const bool overflows = model.showAll() && layout.overflows();
    scrollRange = overflows ? layout.stackHeight() - layout.cap() : 0;
    scroll = std::clamp(scroll, 0.0, scrollRange);
    if (overflows)
        clip = QRectF(0, top, w, layout.cap());
    else
        clip.reset();

    // The column's items top to bottom: what it stacks, its slot's top and height.
    struct Entry {
        Kind kind;
        QString key;
        std::optional<Note> note;
        int index = -1;
        double top = 0;
        double height = 0;
        double width = 0;
    };
    QList<Entry> entries;
    const bool chips = model.style() == DeckStyle::Compact;
    double y = top;
    if (visible.isEmpty()) {
        entries.append({Kind::Empty, emptyKey, std::nullopt, -1, y, layout.itemHeight, tabWidth});
        y += layout.itemHeight;
    }
    for (int i = 0; i < visible.size(); ++i) {
        entries.append({chips ? Kind::Chip : Kind::Tab, visible[i].id, visible[i], i,
                        top + i * layout.pitch, layout.itemHeight, tabWidth});
        y = top + i * layout.pitch + layout.itemHeight;
    }
    if (hidden > 0) {
        y += layout.moreGap;
        entries.append({Kind::More, moreKey, std::nullopt, -1, y, layout.moreHeight, tabWidth});
        y += layout.moreHeight;
    }
    if (showsActions) {
        y += DeckGeom::plusGap();
        entries.append(
            {Kind::Plus, plusKey, std::nullopt, -1, y, DeckGeom::plusSize(), DeckGeom::plusSize()});
        y += DeckGeom::plusSize() + DeckGeom::cogGap();
        entries.append(
            {Kind::Cog, cogKey, std::nullopt, -1, y, DeckGeom::cogSize(), DeckGeom::cogSize()});
    }

    const bool revealed = fan.isRevealed();
    const std::optional<QString> dragID = fan.dragID();
    const std::optional<QString> openID = model.state().expandedID();
    const int total = static_cast<int>(entries.size());
    for (Motion& m : motions)
        m.seen = false;
    Item dragged;
    for (int k = 0; k < total; ++k) {
        const Entry& e = entries[k];
        Motion& m = motions[e.key];
        m.seen = true;
        if (!m.placed) {
            m.top.jumpTo(e.top);
            m.placed = true;
        } else {
            aim(m.top, e.top, Curve::easeInOut(0.18), t);
        }
        aim(m.stage, revealed ? 0 : 1,
            Curve::spring(0.34, 0.84, FanColumnState::stagger(k, total, revealed)), t);
        const bool isDragged = dragID && e.note && e.note->id == *dragID;
        aim(m.shift, isDragged ? 0 : fan.neighbourOffset(visible, e.index, layout.pitch),
            Curve::spring(0.26, 0.86), t);
        aim(m.lift, isDragged ? 1 : 0, Curve::spring(0.26, 0.75), t);
        aim(m.hover, e.key == hoveredKey ? 1 : 0, Curve::easeOut(0.14), t);
        aim(m.press, e.key == pressedKey && !tabPress.isDragging() ? 1 : 0, Curve::easeOut(0.12),
            t);

        const double stage = m.stage.value(t);
        Item item;
        item.kind = e.kind;
        item.key = e.key;
        item.note = e.note;
        item.index = e.index;
        const double slotTop = isDragged ? m.top.value(t) + tabPress.dy() : m.top.value(t);
        item.rect = QRectF(columnLeft + (tabWidth - e.width) * 0.5 + stage * (tabWidth + 24) * side,
                           slotTop + m.shift.value(t) - scroll, e.width, e.height);
        item.opacity = std::clamp(1 - stage, 0.0, 1.0);
        const double lift = m.lift.value(t);
        const double hover = m.hover.value(t);
        const double press = m.press.value(t);
        item.lifted = isDragged;
        item.isOpen = openID && e.note && e.note->id == *openID;
        item.hovering = e.key == hoveredKey;
        item.pressed = e.key == pressedKey && !tabPress.isDragging();
        switch (e.kind) {
        case Kind::Tab:
            item.scale = 1 + 0.04 * lift;
            break;
        case Kind::Plus:
        case Kind::Cog:
            item.scale = 1 + 0.08 * hover;
            break;
        default:
            item.scale = 1 - 0.03 * press;
            break;
        }
        if (e.note)
            item.name = NoteText::displayTitle(*e.note);
        else if (e.kind == Kind::More)
            item.name = L10n::plural(u"notes.more"_s, hidden);
        else if (e.kind == Kind::Plus || e.kind == Kind::Empty)
            item.name = L10n::text(u"help.new_note"_s);
        else if (e.kind == Kind::Cog)
            item.name = L10n::text(u"help.settings"_s);
        if (isDragged)
            dragged = item;
        else
            laidOut.append(item);
    }
    // The dragged tab rides above its neighbours.
    if (!dragged.key.isEmpty())
        laidOut.append(dragged);
    for (auto it = motions.begin(); it != motions.end();) {
        if (!it->seen && it.key() != cardKey)
            it = motions.erase(it);
        else
            ++it;
    }

    // Beside the column, or beside the part of it that shows when it scrolls.
    const double lineHeight = std::min(layout.stackHeight() + 26, layout.cap());
    const double lineTop = overflows ? top : top + layout.stackHeight() * 0.5 - lineHeight * 0.5;
    aim(lineOpacity, revealed ? 1 : 0, Curve::easeInOut(0.2), t);
    edgeLine = QRectF(right ? w - 4 : 3, std::max(0.0, lineTop), 1, lineHeight);

    // The preview card beside its tab.
    const std::optional<Note> preview = fan.activePreviewNote(visible);
    Motion& cm = motions[cardKey];
    if (preview) {
        const bool arriving = !cardNote || cardOpacity.target() == 0;
        cardNote = preview;
        const double cardTop = top + fan.previewIndex(visible) * layout.pitch;
        if (arriving) {
            cm.top.jumpTo(cardTop);
            cardOffset.jumpTo(10 * -side);
        }
        aim(cm.top, cardTop, cardCurve, t);
        aim(cardOpacity, 1, cardCurve, t);
        aim(cardOffset, 0, cardCurve, t);
    } else {
        aim(cardOpacity, 0, Curve::easeOut(0.12), t);
        if (cardNote && cardOpacity.settled(t))
            cardNote.reset();
    }
    if (cardNote) {
        const DeckPaint::CardLook look = DeckPaint::CardLook::forNote(*cardNote, right);
        const double cardWidth = DeckPaint::cardWidth;
        const double x = right ? w - tabWidth - 10 - cardWidth : tabWidth + 10;
        Item card;
        card.kind = Kind::Card;
        card.key = cardKey;
        card.note = cardNote;
        card.rect = QRectF(x + cardOffset.value(t), cm.top.value(t) - scroll, cardWidth,
                           DeckPaint::cardHeight(look));
        card.opacity = std::clamp(cardOpacity.value(t), 0.0, 1.0);
        card.name = NoteText::displayTitle(*cardNote);
        laidOut.append(card);
    }
}

bool DeckView::settled(double t) const
{
    if (!pillOpacity.settled(t) || !lineOpacity.settled(t) || !cardOpacity.settled(t)
        || !cardOffset.settled(t) || (sheet && !sheetShown.settled(t)))
        return false;
    for (const Motion& m : motions) {
        if (!m.stage.settled(t) || !m.top.settled(t) || !m.shift.settled(t) || !m.lift.settled(t)
            || !m.hover.settled(t) || !m.press.settled(t))
            return false;
    }
    return true;
}

void DeckView::paintEvent(QPaintEvent*)
{
    const double t = now();
    layoutItems(t);

    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    // Without a compositor the window keeps only what is drawn. Outlines overlap (the tabs
    // lie on one another), so they are united as regions, never added as paths, whose
    // overlaps would cancel out into holes.
    QRegion shape;
    const auto keep = [&](const QPainterPath& outline) {
        if (!composited)
            shape |= DeckPaint::windowShape(outline);
    };
    if (pill && pill->opacity > 0.001) {
        paintItem(painter, *pill);
        keep(outline(*pill));
    }
    if (!edgeLine.isEmpty() && lineOpacity.value(t) > 0.001) {
        painter.setOpacity(std::clamp(lineOpacity.value(t), 0.0, 1.0));
        DeckPaint::paintEdgeLine(painter, edgeLine, surfaceOf(composited));
        keep(DeckPaint::edgeLineOutline(edgeLine));
        painter.setOpacity(1);
    }
    for (const Item& item : std::as_const(laidOut)) {
        if (item.opacity <= 0.001)
            continue;
        const bool clipped = clip && item.kind != Kind::Card;
        if (clipped) {
            painter.save();
            painter.setClipRect(clip->adjusted(-40, 0, 40, 0));
        }
        paintItem(painter, item);
        if (clipped)
            painter.restore();
        if (!composited) {
            QPainterPath o = outline(item);
            if (clipped) {
                QPainterPath c;
                c.addRect(*clip);
                o = o.intersected(c);
            }
            keep(o);
        }
    }
    painter.end();
    if (sheet && sheet->isVisible() && !composited)
        keep(sheet->outline().translated(sheet->pos()));
    static bool firstFrame = true;
    if (std::exchange(firstFrame, false))
        DeckLog::line([] { return u"first frame"_s; });

    const QRegion region = composited ? QRegion(rect()) : shape;
    std::optional<QRegion> pointerRegion = takesPointer();
    if (region != drawn || pointerRegion != input) {
        drawn = region;
        input = std::move(pointerRegion);
        Q_EMIT shapeChanged();
    }
    if (settled(t)) {
        if (frames.isActive())
            logItems();
        frames.stop();
    } else if (!frames.isActive()) {
        const double hz = screen() ? screen()->refreshRate() : 60;
        frames.start(std::max(1, static_cast<int>(std::lround(1000.0 / std::max(hz, 24.0)))));
    }
    QList<std::pair<QString, QString>> listing;
    for (const ItemInfo& item : items())
        listing.append({item.key, item.name});
    if (listing != listed) {
        listed = listing;
        Q_EMIT itemsChanged();
    }
}

std::optional<QRegion> DeckView::takesPointer() const
{
    const DeckState& state = controller.model().state();
    if (state.isExpanded())
        return std::nullopt;
    // The band the pill rests in, so that a pointer pushed against the screen's edge finds
    // the deck whatever the pill's own width.
    const double band = std::max(DeckGeom::plusGap() + 2, Settings::edgeWidth());
    const double x = onLeft() ? 0 : width() - band;
    if (state.isRest() || columnSpan.isEmpty()) {
        const QRectF p = pill ? pill->rect : QRectF(0, 0, 0, height());
        return QRegion(QRectF(x, p.top(), band, p.height()).toAlignedRect());
    }
    QRegion region(QRectF(x, columnSpan.top(), band, columnSpan.height()).toAlignedRect());
    for (const Item& item : laidOut) {
        if (item.opacity > 0.5)
            region |= outline(item).boundingRect().toAlignedRect();
    }
    return region;
}

// Where everything came to rest, in the desktop's coordinates, for the deck's debug trace.
void DeckView::logItems() const
{
    DeckLog::line([this] {
        QString line = u"items"_s;
        const auto add = [&](const QString& kind, const QString& key, const QRectF& r) {
            const QRect g(mapToGlobal(r.topLeft().toPoint()), r.size().toSize());
            line += u" %1:%2@%3,%4,%5x%6"_s.arg(kind, key).arg(g.x()).arg(g.y()).arg(g.width()).arg(
                g.height());
        };
        for (const ItemInfo& item : items())
            add(item.kind, item.key, item.rect);
        if (sheet)
            add(u"gutter"_s, sheet->noteID(), sheet->gutterRect().translated(sheet->pos()));
        return line;
    });
}

const DeckView::Item* DeckView::itemAt(QPointF point) const
{
    for (auto it = laidOut.crbegin(); it != laidOut.crend(); ++it) {
        if (it->opacity > 0.5 && outline(*it).contains(point))
            return &*it;
    }
    return nullptr;
}

const DeckView::Item* DeckView::find(const QString& key) const
{
    for (const Item& item : laidOut) {
        if (item.key == key)
            return &item;
    }
    return nullptr;
}

void DeckView::setHovered(const QString& key)
{
    if (key == hoveredKey)
        return;
    const auto noteOf = [this](const QString& k) -> std::optional<QString> {
        const Item* item = find(k);
        if (item && item->note && item->kind != Kind::More)
            return item->note->id;
        return std::nullopt;
    };
    const std::optional<QString> left = noteOf(hoveredKey);
    hoveredKey = key;
    const std::optional<QString> entered = noteOf(key);
    if (left)
        fan.handleHover(*left, false);
    if (entered)
        fan.handleHover(*entered, true);
    update();
}

void DeckView::mousePressEvent(QMouseEvent* event)
{
    // A press that grabs the pill is the panel's.
    if (DeckController::grabsPill(event->modifiers()) || event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    const Item* item = itemAt(event->position());
    if (!item || item->kind == Kind::Pill) {
        event->ignore();
        return;
    }
    pressedKey = item->key;
    if (item->kind == Kind::Tab)
        tabPress.press(event->position());
    update();
}

void DeckView::mouseMoveEvent(QMouseEvent* event)
{
    if (tabPress.isPressed()) {
        const Item* item = find(pressedKey);
        if (const std::optional<double> dy = tabPress.move(event->position()); dy && item)
            fan.dragChanged(shownNotes, item->index, *dy, pitch);
        update();
        return;
    }
    const Item* item = itemAt(event->position());
    setHovered(item ? item->key : QString());
}

void DeckView::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || pressedKey.isEmpty()) {
        event->ignore();
        return;
    }
    const QString key = std::exchange(pressedKey, QString());
    const Item* item = find(key);
    if (tabPress.isPressed()) {
        const TabPress::Release release = tabPress.release(event->position());
        if (!item || !item->note)
            return;
        if (release.outcome == TabPress::Outcome::Click) {
            fan.open(item->note->id);
        } else if (release.outcome == TabPress::Outcome::DragEnded) {
            // Every tab goes to its new slot from where it shows now: the dragged one from
            // where the pointer left it, its neighbours from the room they made.
            const double t = now();
            for (auto it = motions.begin(); it != motions.end(); ++it) {
                const double extra = it.key() == key ? release.dy : it->shift.value(t);
                it->top.jumpTo(it->top.value(t) + extra);
                it->shift.jumpTo(0);
            }
            fan.dragEnded(shownNotes, item->index, release.dy, pitch);
        }
        update();
        return;
    }
    const Item* under = itemAt(event->position());
    if (item && under && under->key == key)
        activate(*item, event->globalPosition().toPoint());
    update();
}

void DeckView::activate(const Item& item, QPoint global)
{
    switch (item.kind) {
    case Kind::Pill:
        break;
    case Kind::Empty:
    case Kind::Plus:
        actions.newNote();
        break;
    case Kind::More:
        controller.model().setShowAll(true);
        break;
    case Kind::Cog:
        // Until the program has a settings window, the cog offers the deck's own settings.
        if (actions.offers(u"openSettings"_s))
            actions.openSettings();
        else
            Q_EMIT deckMenuRequested(global);
        break;
    case Kind::Tab:
    case Kind::Chip:
    case Kind::Card:
        if (item.note)
            fan.open(item.note->id);
        break;
    }
}

void DeckView::press(const QString& key)
{
    if (const Item* item = find(key))
        activate(*item, mapToGlobal(item->rect.center().toPoint()));
}

void DeckView::contextMenuEvent(QContextMenuEvent* event)
{
    const Item* item = itemAt(event->pos());
    if (item && item->note) {
        showNoteMenu(*item->note, event->globalPos());
        return;
    }
    Q_EMIT deckMenuRequested(event->globalPos());
}

void DeckView::showNoteMenu(const Note& note, QPoint global)
{
    QMenu menu(this);
    DeckMenus::fillNoteMenu(menu, note, notes, actions);
    runMenu(menu, global);
}

// While a menu is open the pointer is over the menu, not the deck: the deck must not fold
// under it.
void DeckView::runMenu(QMenu& menu, QPoint global)
{
    setHovered(QString());
    DeckModel& model = controller.model();
    const bool wasDragging = model.isDragging();
    model.setDragging(true);
    menu.exec(global);
    model.setDragging(wasDragging);
}

void DeckView::leaveEvent(QEvent*)
{
    if (!tabPress.isPressed())
        setHovered(QString());
}

void DeckView::wheelEvent(QWheelEvent* event)
{
    if (scrollRange <= 0) {
        event->ignore();
        return;
    }
    // Scrolling is the person at work in the deck, as a move of the pointer is.
    controller.noteActivity();
    const QPoint pixels = event->pixelDelta();
    const double delta = !pixels.isNull() ? pixels.y() : event->angleDelta().y() / 120.0 * 48;
    scroll = std::clamp(scroll - delta, 0.0, scrollRange);
    update();
}

bool DeckView::event(QEvent* event)
{
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        const Item* item = itemAt(help->pos());
        if (item && !item->name.isEmpty() && item->kind != Kind::Card)
            QToolTip::showText(help->globalPos(), item->name, this);
        else
            QToolTip::hideText();
        return true;
    }
    return QWidget::event(event);
}

QList<DeckView::ItemInfo> DeckView::items() const
{
    static const QHash<Kind, QString> kinds{
        {Kind::Pill, u"pill"_s}, {Kind::Empty, u"empty"_s}, {Kind::Tab, u"tab"_s},
        {Kind::Chip, u"chip"_s}, {Kind::More, u"more"_s},   {Kind::Plus, u"plus"_s},
        {Kind::Cog, u"cog"_s},   {Kind::Card, u"card"_s},
    };
    QList<ItemInfo> list;
    if (pill && pill->opacity > 0.5)
        list.append({u"pill"_s, pill->key, pill->name, pill->rect});
    for (const Item& item : laidOut) {
        if (item.opacity > 0.5)
            list.append({kinds.value(item.kind), item.key, item.name, item.rect});
    }
    return list;
}

// Each item's look, for painting and for its outline alike.
void DeckView::paintItem(QPainter& painter, const Item& item)
{
    painter.save();
    painter.setOpacity(item.opacity);
    const DeckPaint::Surface surface = surfaceOf(composited);
    const bool right = !onLeft();
    const bool dark = palette().color(QPalette::Window).lightness() < 128;
    switch (item.kind) {
    case Kind::Pill: {
        DeckPaint::PillLook look{DeckPaint::Metrics::current(), {}, false, dark, surface};
        const QList<Note> active = notes.active();
        for (const Note& note : active) {
            if (look.dashes.size() == DeckGeom::maxDashes) {
                look.overflow = true;
                break;
            }
            look.dashes.append(NoteColor::at(note.color).dash);
        }
        DeckPaint::paintPill(painter, item.rect, look);
        break;
    }
    case Kind::Tab:
        DeckPaint::paintVerticalTab(painter, item.rect, tabLook(item));
        break;
    case Kind::Chip:
        DeckPaint::paintChipTab(painter, item.rect, chipLook(item));
        break;
    case Kind::More:
        DeckPaint::paintMoreTab(painter, item.rect, materialLook(item));
        break;
    case Kind::Empty:
        DeckPaint::paintEmptyTab(painter, item.rect, materialLook(item));
        break;
    case Kind::Plus:
        DeckPaint::paintPlusButton(painter, item.rect, buttonLook(item));
        break;
    case Kind::Cog:
        DeckPaint::paintCogButton(painter, item.rect, buttonLook(item));
        break;
    case Kind::Card: {
        DeckPaint::CardLook look = DeckPaint::CardLook::forNote(*item.note, right);
        look.surface = surface;
        DeckPaint::paintNotePreviewCard(painter, item.rect, look);
        break;
    }
    }
    painter.restore();
}

QPainterPath DeckView::outline(const Item& item) const
{
    switch (item.kind) {
    case Kind::Pill:
        return DeckPaint::pillOutline(item.rect);
    case Kind::Tab:
        return DeckPaint::verticalTabOutline(item.rect, tabLook(item));
    case Kind::Chip:
        return DeckPaint::chipTabOutline(item.rect, chipLook(item));
    case Kind::More:
        return DeckPaint::moreTabOutline(item.rect, materialLook(item));
    case Kind::Empty:
        return DeckPaint::emptyTabOutline(item.rect, materialLook(item));
    case Kind::Plus:
    case Kind::Cog:
        return DeckPaint::buttonOutline(item.rect, buttonLook(item));
    case Kind::Card:
        return DeckPaint::cardOutline(item.rect);
    }
    return {};
}

DeckPaint::TabLook DeckView::tabLook(const Item& item) const
{
    const NoteColor& colour = NoteColor::at(item.note->color);
    DeckPaint::TabLook look;
    look.metrics = DeckPaint::Metrics::current();
    look.paper = colour.paper;
    look.ink = colour.ink;
    look.label = NoteText::displayTitle(*item.note).toUpper();
    look.font = Ink::tabFont();
    look.tracking = Ink::tabTracking();
    look.strip = pitch;
    look.onRight = !onLeft();
    look.pinned = item.note->pinned;
    look.isOpen = item.isOpen;
    look.hovering = item.hovering;
    look.lifted = item.lifted;
    look.scale = item.scale;
    look.surface = surfaceOf(composited);
    return look;
}

DeckPaint::ChipLook DeckView::chipLook(const Item& item) const
{
    DeckPaint::ChipLook look;
    look.metrics = DeckPaint::Metrics::current();
    look.paper = NoteColor::at(item.note->color).paper;
    look.onRight = !onLeft();
    look.isOpen = item.isOpen;
    look.pressed = item.pressed;
    look.scale = item.scale;
    look.surface = surfaceOf(composited);
    return look;
}

DeckPaint::MaterialTabLook DeckView::materialLook(const Item& item) const
{
    DeckPaint::MaterialTabLook look;
    look.metrics = DeckPaint::Metrics::current();
    look.label = item.kind == Kind::More ? u"+"_s + QString::number(hiddenCount)
                                         : L10n::text(u"note.new_tab"_s).toUpper();
    look.font = Ink::tabFont();
    look.tracking = Ink::tabTracking();
    look.strip = pitch;
    look.onRight = !onLeft();
    look.dark = palette().color(QPalette::Window).lightness() < 128;
    look.pressed = item.pressed;
    look.scale = item.scale;
    look.surface = surfaceOf(composited);
    return look;
}

DeckPaint::ButtonLook DeckView::buttonLook(const Item& item) const
{
    DeckPaint::ButtonLook look;
    look.dark = palette().color(QPalette::Window).lightness() < 128;
    look.hovering = item.hovering;
    look.pressed = item.pressed;
    look.scale = item.scale;
    look.surface = surfaceOf(composited);
    return look;
}
