#include "surfaces/ui/LibraryDetail.h"

#include "editor/NoteTextBinding.h"
#include "editor/ui/NoteSheetParts.h"
#include "editor/ui/NoteTextView.h"
#include "l10n/L10n.h"
#include "notes/Fmt.h"
#include "notes/Ink.h"
#include "notes/NoteColor.h"
#include "notes/NoteStore.h"
#include "notes/NoteText.h"
#include "platform/Scheduler.h"
#include "settings/Settings.h"

#include <QBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int padding = 18;

QColor withAlpha(QColor c, double alpha)
{
    c.setAlphaF(float(alpha));
    return c;
}

} // namespace

LibraryDetail::LibraryDetail(Parts parts, QWidget* parent)
    : QWidget(parent)
    , with(parts)
{
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(padding, 12, padding, 0);
    column->setSpacing(8);

    auto* top = new QHBoxLayout;
    top->setSpacing(2);
    for (qsizetype i = 0; i < qsizetype(NoteColor::all().size()); ++i) {
        auto* dot = new SheetButton(SheetButton::Style::Dot, this);
        dot->setHelp(L10n::text(u"help.pick_colour"_s) + u": "_s
                     + NoteColor::all()[size_t(i)].localizedName());
        connect(dot, &QAbstractButton::clicked, this, [this, i] { with.notes.setColor(id, i); });
        dots.append(dot);
        top->addWidget(dot);
    }
    top->addStretch(1);
    status = new QLabel(this);
    status->setObjectName(u"status"_s);
    status->setFont(SheetGlyph::font(11, QFont::Normal));
    top->addWidget(status);
    top->addSpacing(8);
    archive = new SheetButton(SheetButton::Style::Footer, this);
    archive->setObjectName(u"archive"_s);
    archive->setFont(SheetGlyph::font(11.5, QFont::Medium));
    connect(archive, &QAbstractButton::clicked, this, [this] {
        if (const std::optional<Note> note = with.notes.note(id))
            with.notes.setArchived(id, !note->archived);
    });
    top->addWidget(archive);
    column->addLayout(top);

    auto* heading = new QHBoxLayout;
    heading->setSpacing(4);
    title = new QLineEdit(this);
    title->setObjectName(u"title"_s);
    title->setFrame(false);
    title->setFont(SheetGlyph::font(19, QFont::DemiBold));
    title->setPlaceholderText(L10n::text(u"note.title_prompt"_s));
    title->setAccessibleName(L10n::text(u"note.title_prompt"_s));
    title->setAttribute(Qt::WA_MacShowFocusRect, false);
    connect(title, &QLineEdit::textEdited, this,
            [this](const QString& typed) { with.notes.updateTitle(id, typed); });
    heading->addWidget(title, 1);
    reset = new SheetButton(SheetButton::Style::Footer, this);
    reset->setObjectName(u"reset"_s);
    reset->setFont(SheetGlyph::font(10.5, QFont::Normal));
    reset->setText(L10n::text(u"note.title_reset"_s));
    reset->setHelp(L10n::text(u"note.title_reset"_s));
    connect(reset, &QAbstractButton::clicked, this, [this] { with.notes.updateTitle(id, {}); });
    heading->addWidget(reset);
    direction = new NoteTextDirectionMenu(this);
    direction->select = [this](NoteTextDirection chosen) {
        with.notes.setTextDirection(id, chosen);
    };
    heading->addWidget(direction);
    column->addLayout(heading);

    rule = new SheetRule(this);
    column->addWidget(rule);

    NoteTextView::Configuration config;
    config.bodyFont = [](double size) { return Ink::body(size); };
    text = new NoteTextView(QString(), config, &bridge, with.desktop, with.images, this);
    text->setObjectName(u"text"_s);
    text->document()->setDocumentMargin(4);
    if (with.spellChecker)
        text->checkSpelling(*with.spellChecker, with.scheduler);
    column->addWidget(text, 1);

    connect(&with.notes, &NoteStore::notesChanged, this, &LibraryDetail::refresh);
    connect(&with.notes, &NoteStore::unsavedIDsChanged, this, &LibraryDetail::refresh);
    refresh();
}

LibraryDetail::~LibraryDetail()
{
    if (binding)
        binding->unbind();
}

void LibraryDetail::showNote(const QString& noteID)
{
    if (noteID == id && binding)
        return;
    if (binding) {
        binding->unbind();
        delete binding;
        binding = nullptr;
    }
    id = noteID;
    const std::optional<Note> note = with.notes.note(id);
    text->setText(note ? note->body : QString());
    text->document()->clearUndoRedoStacks();
    if (note)
        binding = new NoteTextBinding(with.notes, *text, id, this);
    title->setText(note ? note->title : QString());
    refresh();
}

void LibraryDetail::refresh()
{
    const std::optional<Note> note = with.notes.note(id);
    const Note shown = note.value_or(Note{});
    const NoteColor& c = NoteText::palette(shown);
    for (qsizetype i = 0; i < dots.size(); ++i) {
        dots[i]->setDotColor(NoteColor::all()[size_t(i)].dash, note && shown.color == i);
        dots[i]->setEnabled(note.has_value());
    }
    // While the person types in it, the field is the title; from outside it follows.
    if (!title->hasFocus() && title->text() != shown.title)
        title->setText(shown.title);
    const QString derived = NoteText::derivedTitle(shown.body);
    title->setPlaceholderText(derived.isEmpty() ? L10n::text(u"note.title_prompt"_s) : derived);
    // The text is named by its note, as in the sheet, so a screen reader says whose it is.
    text->setAccessibleName(note ? NoteText::displayTitle(shown) : QString());
    reset->setVisible(note && NoteText::hasCustomTitle(shown));
    QPalette p = title->palette();
    p.setColor(QPalette::Text, c.ink);
    p.setColor(QPalette::PlaceholderText, withAlpha(c.ink, 0.4));
    p.setColor(QPalette::Base, Qt::transparent);
    p.setColor(QPalette::WindowText, withAlpha(c.ink, 0.55));
    title->setPalette(p);
    status->setPalette(p);
    direction->setDirection(shown.textDirection);
    direction->setInk(c.ink, 0.55);
    reset->setInk(c.ink, 0.6);
    archive->setInk(c.ink, 0.75);
    const QString archiveText =
        L10n::text(shown.archived ? u"action.restore"_s : u"action.archive"_s);
    if (archive->text() != archiveText) {
        archive->setText(archiveText);
        archive->setHelp(archiveText);
        archive->updateGeometry();
    }
    status->setText(
        !note ? QString()
        : with.notes.unsavedIDs().contains(id)
            ? L10n::text(u"note.not_saved"_s)
            : L10n::format(u"note.edited"_s, {Fmt::ago(shown.modified, with.scheduler.now())}));
    rule->setColor(withAlpha(c.ink, 0.12));

    text->applyLook(c.ink, c.paper, Settings::noteFontName(), Settings::noteFontSize(),
                    Settings::markdownStyling(), shown.textDirection);
    QPalette paper = text->palette();
    paper.setColor(QPalette::Base, c.paper);
    text->setPalette(paper);
    text->setFrameShape(QFrame::NoFrame);
    update();
}

void LibraryDetail::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.fillRect(rect(), NoteText::palette(with.notes.note(id).value_or(Note{})).paper);
}
