#include "deck/ui/NoteEditorView.h"

#include "deck/DeckController.h"
#include "deck/DeckGeom.h"
#include "deck/DeckModel.h"
#include "editor/NoteTextBinding.h"
#include "editor/ui/NoteSheetParts.h"
#include "editor/ui/NoteTextView.h"
#include "l10n/L10n.h"
#include "notes/Fmt.h"
#include "notes/Ink.h"
#include "notes/NoteColor.h"
#include "notes/NoteStore.h"
#include "notes/NoteText.h"
#include "platform/ScreenCoordinates.h"
#include "settings/Settings.h"

#include <QBoxLayout>
#include <QGraphicsOpacityEffect>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPainter>
#include <QScreen>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr double shadowBlur = 28;
constexpr double shadowOffset = 12;
constexpr double gutterGap = 4;
constexpr double padding = 14;
// The saved state names minutes at its finest.
constexpr double savedRefresh = 30;

QColor withAlpha(QColor c, double alpha)
{
    c.setAlphaF(alpha);
    return c;
}

// A text field without a frame or a ground of its own, in the sheet's ink.
void styleField(QLineEdit* field, const QColor& ink, double alpha, double promptAlpha)
{
    QPalette p = field->palette();
    p.setColor(QPalette::Base, Qt::transparent);
    p.setColor(QPalette::Text, withAlpha(ink, alpha));
    p.setColor(QPalette::PlaceholderText, withAlpha(ink, promptAlpha));
    p.setColor(QPalette::Highlight, withAlpha(ink, 0.2));
    p.setColor(QPalette::HighlightedText, ink);
    field->setPalette(p);
}

void styleLabel(QLabel* label, const QColor& ink, double alpha)
{
    QPalette p = label->palette();
    p.setColor(QPalette::WindowText, withAlpha(ink, alpha));
    label->setPalette(p);
}

QLineEdit* plainField(QWidget* parent, const QFont& font)
{
    auto* field = new QLineEdit(parent);
    field->setFrame(false);
    field->setFont(font);
    field->setAttribute(Qt::WA_MacShowFocusRect, false);
    field->setTextMargins(0, 0, 0, 0);
    return field;
}

} // namespace

NoteEditorView::NoteEditorView(const Note& note, DeckModel& deck, DeckController& controller,
                               NoteStore& store, bool onRight, Desktop& desktop, ImageStore& images,
                               Scheduler& scheduler, SpellChecker* spelling, QWidget* parent)
    : QWidget(parent)
    , id(note.id)
    , snapshot(note)
    , deck(deck)
    , controller(controller)
    , store(store)
    , right(onRight)
    , scheduler(scheduler)
{
    setAttribute(Qt::WA_TranslucentBackground);
    setAccessibleName(NoteText::displayTitle(note));

    gutter = new NoteGutter(onRight, this);
    gutter->pressed = [this](QPointF global) { gutterPressed(global); };
    gutter->moved = [this](QPointF global) { gutterMoved(global); };
    gutter->released = [this] { gutterReleased(); };
    gutter->setTitleRoom(DeckGeom::editorHeight() - 44);
    sheet = new QWidget(this);
    auto* column = new QVBoxLayout(sheet);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);

    // Header: title, saved state, and the note's buttons.
    auto* header = new QHBoxLayout;
    header->setContentsMargins(int(padding), 10, int(padding) - 4, 6);
    header->setSpacing(2);
    title = plainField(sheet, SheetGlyph::font(12.5, QFont::DemiBold));
    title->setObjectName(QStringLiteral("title"));
    title->setPlaceholderText(L10n::text(u"note.untitled"_s));
    title->setAccessibleName(L10n::text(u"note.untitled"_s));
    title->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(title, &QLineEdit::textEdited, this,
            [this](const QString& text) { this->store.updateTitle(id, text); });
    connect(title, &QLineEdit::returnPressed, this, [this] { this->deck.bridge().focusText(); });
    connect(title, &QWidget::customContextMenuRequested, this, &NoteEditorView::showTitleMenu);
    saved = new QLabel(sheet);
    saved->setObjectName(QStringLiteral("saved"));
    saved->setFont(SheetGlyph::font(10, QFont::Normal));
    pin = new SheetButton(SheetButton::Style::Glyph, sheet);
    pin->setObjectName(QStringLiteral("pin"));
    pin->setGlyph(SheetGlyph::Kind::Pin, 11, 32);
    connect(pin, &QAbstractButton::clicked, this, [this] { this->store.togglePin(id); });
    direction = new NoteTextDirectionMenu(sheet);
    direction->setObjectName(QStringLiteral("direction"));
    direction->select = [this](NoteTextDirection d) { this->store.setTextDirection(id, d); };
    task = new SheetButton(SheetButton::Style::Glyph, sheet);
    task->setObjectName(QStringLiteral("task"));
    task->setGlyph(SheetGlyph::Kind::Checklist, 11);
    task->setHelp(L10n::text(u"help.task"_s));
    connect(task, &QAbstractButton::clicked, this,
            [this] { this->deck.bridge().toggleTaskLine(); });
    find = new SheetButton(SheetButton::Style::Glyph, sheet);
    find->setObjectName(QStringLiteral("find"));
    find->setGlyph(SheetGlyph::Kind::Magnifier, 11);
    find->setHelp(L10n::text(u"help.find"_s));
    connect(find, &QAbstractButton::clicked, this, &NoteEditorView::toggleFind);
    header->addWidget(title, 1);
    header->addSpacing(6);
    header->addWidget(saved);
    header->addSpacing(4);
    for (QWidget* w : {static_cast<QWidget*>(pin), static_cast<QWidget*>(direction),
                       static_cast<QWidget*>(task), static_cast<QWidget*>(find)})
        header->addWidget(w);
    column->addLayout(header);

    // Find bar.
    findBar = new QWidget(sheet);
    findBar->setObjectName(QStringLiteral("findBar"));
    auto* bar = new QHBoxLayout(findBar);
    bar->setContentsMargins(int(padding), 0, int(padding) - 4, 8);
    bar->setSpacing(4);
    auto* lens = new SheetButton(SheetButton::Style::Glyph, findBar);
    lens->setGlyph(SheetGlyph::Kind::Magnifier, 10);
    lens->setObjectName(QStringLiteral("lens"));
    lens->setEnabled(false);
    lens->setFocusPolicy(Qt::NoFocus);
    lens->setAttribute(Qt::WA_TransparentForMouseEvents);
    findField = plainField(findBar, SheetGlyph::font(12, QFont::Normal));
    findField->setObjectName(QStringLiteral("findField"));
    findField->setPlaceholderText(L10n::text(u"note.find_placeholder"_s));
    findField->setAccessibleName(L10n::text(u"note.find_placeholder"_s));
    connect(findField, &QLineEdit::textEdited, this,
            [this](const QString& text) { this->deck.setFindQuery(text); });
    connect(findField, &QLineEdit::returnPressed, this,
            [this] { this->deck.bridge().findNext(findField->text(), true); });
    matchCount = new QLabel(findBar);
    matchCount->setObjectName(QStringLiteral("matchCount"));
    QFont digits = SheetGlyph::font(10.5, QFont::Normal);
    digits.setStyleHint(QFont::Monospace);
    digits.setFamilies({QStringLiteral("monospace")});
    matchCount->setFont(digits);
    auto* up = new SheetButton(SheetButton::Style::Glyph, findBar);
    up->setObjectName(QStringLiteral("findPrevious"));
    up->setGlyph(SheetGlyph::Kind::ChevronUp, 9);
    up->setHelp(L10n::text(u"find.previous"_s));
    connect(up, &QAbstractButton::clicked, this,
            [this] { this->deck.bridge().findNext(findField->text(), false); });
    auto* down = new SheetButton(SheetButton::Style::Glyph, findBar);
    down->setObjectName(QStringLiteral("findNext"));
    down->setGlyph(SheetGlyph::Kind::ChevronDown, 9);
    down->setHelp(L10n::text(u"find.next"_s));
    connect(down, &QAbstractButton::clicked, this,
            [this] { this->deck.bridge().findNext(findField->text(), true); });
    bar->addWidget(lens);
    bar->addWidget(findField, 1);
    bar->addWidget(matchCount);
    bar->addWidget(up);
    bar->addWidget(down);
    column->addWidget(findBar);

    hairline = new SheetRule(sheet);
    column->addWidget(hairline);

    // The text.
    const std::optional<Note> now = current();
    NoteTextView::Configuration config;
    config.bodyFont = [](double size) { return Ink::body(size); };
    text = new NoteTextView(now ? now->body : QString(), config, &deck.bridge(), desktop, images,
                            sheet);
    text->setObjectName(QStringLiteral("text"));
    text->setAccessibleName(NoteText::displayTitle(note));
    text->document()->setDocumentMargin(padding - 4);
    column->addWidget(text, 1);
    refreshConfiguration();
    binding = new NoteTextBinding(store, *text, id, this);
    if (spelling)
        text->checkSpelling(*spelling, scheduler);
    connect(text, &NoteTextView::edited, this, [this] {
        if (this->deck.findQuery())
            this->deck.bridge().recount(*this->deck.findQuery());
    });
    connect(&deck.bridge(), &EditorBridge::matchCountChanged, this,
            [this](int count) { matchCount->setText(QString::number(count)); });

    // Footer: the colours, then what can be done with the note.
    auto* footer = new QHBoxLayout;
    footer->setContentsMargins(int(padding), 8, int(padding), 12);
    footer->setSpacing(2);
    for (qsizetype i = 0; i < qsizetype(NoteColor::all().size()); ++i) {
        auto* dot = new SheetButton(SheetButton::Style::Dot, sheet);
        dot->setObjectName(QStringLiteral("colour%1").arg(i));
        dot->setHelp(NoteColor::all()[size_t(i)].localizedName());
        connect(dot, &QAbstractButton::clicked, this, [this, i] { this->store.setColor(id, i); });
        footer->addWidget(dot);
        dots.append(dot);
    }
    footer->addStretch(1);
    footer->setSpacing(6);
    const auto footerButton = [&](const QString& key, std::function<void()> action) {
        auto* b = new SheetButton(SheetButton::Style::Footer, sheet);
        b->setObjectName(key);
        b->setText(L10n::text(key));
        b->setAccessibleName(b->text());
        connect(b, &QAbstractButton::clicked, this, std::move(action));
        footer->addWidget(b);
        footerButtons.append(b);
    };
    footerButton(u"action.archive"_s, [this] {
        this->store.flush(id);
        this->store.setArchived(id, true);
        this->controller.collapse();
    });
    footerButton(u"action.delete"_s, [this] {
        this->store.deleteNote(id);
        this->controller.collapse();
    });
    footerButton(u"action.close"_s, [this] {
        this->store.flush(id);
        this->controller.collapse();
    });
    column->addLayout(footer);

    connect(&store, &NoteStore::notesChanged, this, &NoteEditorView::noteChanged);
    connect(&store, &NoteStore::unsavedIDsChanged, this, &NoteEditorView::refreshSaved);
    connect(&deck, &DeckModel::changed, this, &NoteEditorView::deckChanged);
    savedTicker = scheduler.every(savedRefresh, [this] { refreshSaved(); });

    shownQuery = deck.findQuery();
    findBar->setVisible(shownQuery.has_value());
    if (shownQuery) {
        findField->setText(*shownQuery);
        deck.bridge().recount(*shownQuery);
    }
    matchCount->setText(QString::number(deck.bridge().matchCount()));
    noteChanged();
    deckChanged();

    const QMarginsF m = shadowMargins();
    const double sheetHeight =
        deck.openedHeight() > 0 ? deck.openedHeight() : deck.noteSize().height();
    resize(int(std::ceil(m.left() + deck.noteSize().width() + gutterGap + DeckGeom::gutterWidth()
                         + m.right())),
           int(std::ceil(m.top() + sheetHeight + m.bottom())));
    text->focusSoon();
}

NoteEditorView::~NoteEditorView() { closeNote(); }

void NoteEditorView::closeNote()
{
    if (binding)
        binding->unbind();
}

void NoteEditorView::setSurface(DeckPaint::Surface surface)
{
    if (look == surface)
        return;
    look = surface;
    refreshColours();
    update();
}

QMarginsF NoteEditorView::shadowMargins() const
{
    // The blurred silhouette reaches margin past the sheet, moved by the offset; the gutter
    // already takes part of that room on the side away from the edge.
    const double m = ShadowCache::margin(shadowBlur);
    const double away = std::max(0.0, m + shadowOffset - gutterGap - DeckGeom::gutterWidth());
    const double top = std::max(0.0, m - shadowOffset);
    const double bottom = m + shadowOffset;
    return right ? QMarginsF(away, top, 0, bottom) : QMarginsF(0, top, away, bottom);
}

QRectF NoteEditorView::sheetRect() const
{
    const QMarginsF m = shadowMargins();
    const double w = deck.noteSize().width();
    const double h = height() - m.top() - m.bottom();
    const double x = right ? width() - w : 0;
    return {x, m.top(), w, h};
}

QRectF NoteEditorView::gutterRect() const
{
    const QRectF s = sheetRect();
    const double g = DeckGeom::gutterWidth();
    const double x = right ? s.left() - gutterGap - g : s.right() + gutterGap;
    return {x, s.top(), g, s.height()};
}

QRectF NoteEditorView::bodyRect() const { return sheetRect().united(gutterRect()); }

QPainterPath NoteEditorView::outline() const
{
    QPainterPath path = DeckPaint::edgeTabShape(sheetRect(), right, cornerRadius);
    QPainterPath strip;
    strip.addRoundedRect(gutterRect(), 10, 10);
    return path.united(strip);
}

std::optional<Note> NoteEditorView::current() const { return store.note(id); }

const NoteColor& NoteEditorView::colour() const
{
    const std::optional<Note> now = current();
    return NoteText::palette(now ? *now : snapshot);
}

void NoteEditorView::resizeEvent(QResizeEvent*) { placeChildren(); }

void NoteEditorView::placeChildren()
{
    sheet->setGeometry(sheetRect().toAlignedRect());
    gutter->setGeometry(gutterRect().toAlignedRect());
}

void NoteEditorView::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF s = sheetRect();
    const NoteColor& c = colour();
    const QPainterPath shape = DeckPaint::edgeTabShape(s, right, cornerRadius);
    if (look == DeckPaint::Surface::Composited) {
        ShadowCache::shared().paint(
            p, right ? ShadowCache::Shape::EdgeTabRight : ShadowCache::Shape::EdgeTabLeft, s,
            cornerRadius,
            {QColor::fromRgbF(0, 0, 0, 0.34), shadowBlur, right ? -shadowOffset : shadowOffset,
             shadowOffset});
        QLinearGradient paper(s.topLeft(), s.bottomLeft());
        paper.setColorAt(0, c.paper);
        paper.setColorAt(1, withAlpha(c.paper, 0.88));
        p.fillPath(shape, paper);
        p.strokePath(shape, QPen(QColor::fromRgbF(0, 0, 0, 0.07), 0.5));
    } else {
        // No compositor: opaque, and a little past the outline so the shape's edge pixels are
        // covered whole.
        p.setPen(QPen(c.paper, 1.5));
        p.setBrush(c.paper);
        p.drawPath(shape);
    }
}

void NoteEditorView::deckChanged()
{
    const std::optional<QString>& pulling = deck.detachingID();
    const bool hidden = pulling && sameNoteID(*pulling, id);
    if (hidden && !graphicsEffect()) {
        auto* effect = new QGraphicsOpacityEffect(this);
        effect->setOpacity(0);
        setGraphicsEffect(effect);
    } else if (!hidden && graphicsEffect()) {
        setGraphicsEffect(nullptr);
    }

    const std::optional<QString>& query = deck.findQuery();
    if (query != shownQuery) {
        shownQuery = query;
        findBar->setVisible(query.has_value());
        if (query) {
            if (findField->text() != *query)
                findField->setText(*query);
            deck.bridge().recount(*query);
            findField->setFocus(Qt::OtherFocusReason);
        } else {
            deck.bridge().focusText();
        }
    }

    const std::optional<QString> open = deck.state().expandedID();
    if (open && sameNoteID(*open, id))
        seenOpen = true;
    else if (seenOpen && !detaching)
        closeNote();
    refreshConfiguration();
}

void NoteEditorView::noteChanged()
{
    const std::optional<Note> now = current();
    const QString shownTitle =
        now ? (NoteText::hasCustomTitle(*now) ? now->title : NoteText::derivedTitle(now->body))
            : QString();
    // Typing in the title writes through the store; rewriting the field under the caret with
    // what was just typed would only move the caret.
    const bool typedHere = title->hasFocus() && now && now->title == title->text();
    if (!typedHere && title->text() != shownTitle)
        title->setText(shownTitle);
    const bool pinned = now && now->pinned;
    pin->setHelp(L10n::text(pinned ? u"help.unpin"_s : u"help.pin"_s));
    pin->setProperty("pinned", pinned);
    direction->setDirection(now ? now->textDirection : snapshot.textDirection);
    gutter->setTitle(now ? NoteText::displayTitle(*now) : QString());
    setAccessibleName(now ? NoteText::displayTitle(*now) : QString());
    refreshSaved();
    refreshColours();
    refreshConfiguration();
}

void NoteEditorView::refreshSaved()
{
    const std::optional<Note> now = current();
    QString state;
    if (store.unsavedIDs().contains(id))
        state = L10n::text(u"note.not_saved"_s);
    else if (now)
        state = L10n::format(u"note.saved"_s, {Fmt::ago(now->modified, scheduler.now())});
    if (saved->text() != state)
        saved->setText(state);
}

void NoteEditorView::refreshColours()
{
    const NoteColor& c = colour();
    const std::optional<Note> now = current();
    styleField(title, c.ink, 0.92, 0.35);
    styleField(findField, c.ink, 0.9, 0.35);
    styleLabel(saved, c.ink, 0.42);
    styleLabel(matchCount, c.ink, 0.45);
    pin->setInk(c.ink, now && now->pinned ? 0.85 : 0.4);
    direction->setInk(c.ink, 0.5);
    task->setInk(c.ink, 0.5);
    find->setInk(c.ink, 0.5);
    for (auto* b : findBar->findChildren<SheetButton*>())
        b->setInk(c.ink, b->objectName() == QLatin1String("lens") ? 0.45 : 0.55);
    static_cast<SheetRule*>(hairline)->setColor(withAlpha(c.ink, 0.12));
    const qint64 chosen = now ? now->color : snapshot.color;
    for (qsizetype i = 0; i < dots.size(); ++i)
        dots[i]->setDotColor(NoteColor::all()[size_t(i)].dash, i == ((chosen % 8) + 8) % 8);
    for (SheetButton* d : dots)
        d->setInk(c.ink, 1);
    for (SheetButton* b : footerButtons)
        b->setInk(c.ink, 0.72);
    gutter->setLook(c.paper, c.ink, look == DeckPaint::Surface::Shaped);
    update();
}

void NoteEditorView::refreshConfiguration()
{
    if (!text)
        return;
    const NoteColor& c = colour();
    const std::optional<Note> now = current();
    text->applyLook(c.ink, c.paper, Settings::noteFontName(), deck.fontSize(), deck.markdown(),
                    now ? now->textDirection : snapshot.textDirection);
}

void NoteEditorView::toggleFind()
{
    if (deck.findQuery()) {
        deck.setFindQuery(std::nullopt);
    } else {
        deck.setFindQuery(QString());
        findField->setFocus(Qt::OtherFocusReason);
    }
}

void NoteEditorView::showTitleMenu(const QPoint& at)
{
    std::unique_ptr<QMenu> menu(title->createStandardContextMenu());
    menu->addSeparator();
    const std::optional<Note> now = current();
    if (now && NoteText::hasCustomTitle(*now)) {
        menu->addAction(L10n::text(u"note.title_reset"_s), this, [this] {
            const std::optional<Note> note = current();
            if (!note)
                return;
            store.updateTitle(id, QString());
            store.flush(id);
            title->setText(NoteText::derivedTitle(note->body));
        });
    }
    QMenu* colours = menu->addMenu(L10n::text(u"help.pick_colour"_s));
    for (qsizetype i = 0; i < qsizetype(NoteColor::all().size()); ++i) {
        colours->addAction(NoteColor::all()[size_t(i)].localizedName(), this,
                           [this, i] { store.setColor(id, i); });
    }
    menu->exec(title->mapToGlobal(at));
}

QPointF NoteEditorView::deckPoint(QPointF global) const
{
    const QScreen* main = QGuiApplication::primaryScreen();
    return ScreenCoordinates::fromQt(global, main ? QRectF(main->geometry()) : QRectF());
}

void NoteEditorView::gutterPressed(QPointF global)
{
    pressedAt = global;
    detaching = false;
}

void NoteEditorView::gutterMoved(QPointF global)
{
    if (!pressedAt)
        return;
    if (detaching) {
        controller.moveDetached(deckPoint(global));
        return;
    }
    // Away from the edge is leftward on the right edge, rightward on the left.
    const double travel = (global.x() - pressedAt->x()) * (right ? -1 : 1);
    // With nowhere to float to, the note stays in its sheet.
    if (travel <= detachThreshold || !controller.canDetach())
        return;
    detaching = true;
    deck.setDragging(true);
    // The floating note edits it from here on; the sheet stays, unseen, only to carry the
    // rest of the pull.
    closeNote();
    controller.detachExpandedNote(deckPoint(global));
}

void NoteEditorView::gutterReleased()
{
    pressedAt.reset();
    if (!detaching)
        return;
    detaching = false;
    deck.setDragging(false);
    controller.finishDetach();
}
