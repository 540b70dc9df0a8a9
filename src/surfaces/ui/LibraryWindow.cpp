#include "surfaces/ui/LibraryWindow.h"

#include "editor/ui/NoteSheetParts.h"
#include "editor/ui/NoteTextView.h"
#include "l10n/L10n.h"
#include "notes/NoteStore.h"
#include "surfaces/LibraryListModel.h"
#include "surfaces/Transfers.h"
#include "surfaces/ui/LibraryDetail.h"

#include <QAction>
#include <QApplication>
#include <QBoxLayout>
#include <QButtonGroup>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QMessageBox>
#include <QPainter>
#include <QPainterPath>
#include <QPlainTextEdit>
#include <QScreen>
#include <QShortcut>
#include <QStackedWidget>
#include <QStyledItemDelegate>
#include <QToolButton>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int sidebarWidth = 300;
const QColor sidebarGround = QColor(0xf3, 0xf2, 0xef);
const QColor primary = QColor(0x22, 0x22, 0x22);
const QColor secondary = QColor(0x22, 0x22, 0x22, 150);
const QColor selectedGround = QColor(0x22, 0x22, 0x22, 24);

// One row: the note's colour as a chip, its title, when it was edited with its task
// progress, and the start of its text. Painted, not a widget per row, so that thousands of
// rows cost one screenful.
class RowDelegate final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const override
    {
        return {sidebarWidth, 62};
    }

    void paint(QPainter* p, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override
    {
        p->save();
        p->setRenderHint(QPainter::Antialiasing);
        const QRectF r = QRectF(option.rect).adjusted(8, 2, -8, -2);
        if (option.state & QStyle::State_Selected) {
            QPainterPath ground;
            ground.addRoundedRect(r, 7, 7);
            p->fillPath(ground, selectedGround);
        }
        const QRectF chip(r.left() + 8, r.top() + 10, 10, r.height() - 20);
        QPainterPath chipPath;
        chipPath.addRoundedRect(chip, 3, 3);
        p->fillPath(chipPath, index.data(LibraryListModel::PaperRole).value<QColor>());
        p->setPen(QPen(index.data(LibraryListModel::DashRole).value<QColor>(), 1));
        p->drawPath(chipPath);

        const double left = chip.right() + 10;
        const double width = r.right() - 8 - left;
        const QFont titleFont = SheetGlyph::font(12.5, QFont::DemiBold);
        const QFont smallFont = SheetGlyph::font(10, QFont::Normal);
        const QFont previewFont = SheetGlyph::font(9.5, QFont::Normal);
        p->setFont(titleFont);
        p->setPen(primary);
        const QString title = QFontMetricsF(titleFont).elidedText(
            index.data(LibraryListModel::TitleRole).toString(), Qt::ElideRight, width);
        p->drawText(QRectF(left, r.top() + 6, width, 18), Qt::AlignLeft | Qt::AlignVCenter, title);

        p->setFont(smallFont);
        p->setPen(secondary);
        QString line = index.data(LibraryListModel::AgoRole).toString();
        double x = left;
        const QRectF lineRect(left, r.top() + 24, width, 15);
        p->drawText(lineRect, Qt::AlignLeft | Qt::AlignVCenter, line);
        x += QFontMetricsF(smallFont).horizontalAdvance(line) + 10;
        if (const QVariant progress = index.data(LibraryListModel::TaskProgressRole);
            progress.isValid()) {
            const QPoint counts = progress.toPoint();
            const bool done = counts.x() == counts.y();
            const QRectF mark(x, lineRect.center().y() - 4.5, 9, 9);
            p->setPen(QPen(secondary, 1.1));
            if (done) {
                p->setBrush(secondary);
                p->drawEllipse(mark);
                p->setPen(QPen(sidebarGround, 1.3, Qt::SolidLine, Qt::RoundCap));
                p->drawPolyline(QPolygonF{{mark.left() + 2.2, mark.center().y()},
                                          {mark.left() + 3.9, mark.bottom() - 2.4},
                                          {mark.right() - 2, mark.top() + 2.5}});
                p->setBrush(Qt::NoBrush);
            } else {
                p->drawEllipse(mark);
            }
            p->setPen(secondary);
            p->drawText(QRectF(mark.right() + 4, lineRect.top(), width, lineRect.height()),
                        Qt::AlignLeft | Qt::AlignVCenter,
                        u"%1/%2"_s.arg(counts.x()).arg(counts.y()));
        }
        p->setFont(previewFont);
        const QString preview =
            QFontMetricsF(previewFont)
                .elidedText(index.data(LibraryListModel::PreviewRole).toString(), Qt::ElideRight,
                            width);
        p->drawText(QRectF(left, r.top() + 39, width, 15), Qt::AlignLeft | Qt::AlignVCenter,
                    preview);
        p->restore();
    }
};

QString modeKey(LibraryMode mode)
{
    switch (mode) {
    case LibraryMode::all:
        return u"library.all_notes"_s;
    case LibraryMode::archive:
        return u"library.archive"_s;
    case LibraryMode::recentlyDeleted:
        return u"library.recently_deleted"_s;
    }
    return {};
}

} // namespace

LibraryWindow::LibraryWindow(Library& library, Parts parts)
    : QWidget(nullptr, Qt::Window)
    , library(library)
    , with(parts)
{
    setWindowTitle(u"Pondrift"_s);
    setObjectName(u"library"_s);
    setMinimumSize(minimum);
    resize(940, 600);
    setAttribute(Qt::WA_DeleteOnClose, false);

    auto* columns = new QHBoxLayout(this);
    columns->setContentsMargins(0, 0, 0, 0);
    columns->setSpacing(0);
    columns->addWidget(makeSidebar());

    detailStack = new QStackedWidget(this);
    noteDetail = new LibraryDetail(
        {with.notes, with.scheduler, with.desktop, with.images, with.spellChecker}, detailStack);
    detailEmpty = new QLabel(L10n::text(u"library.select_note"_s), detailStack);
    detailEmpty->setObjectName(u"selectNote"_s);
    detailEmpty->setAlignment(Qt::AlignCenter);
    detailEmpty->setFont(SheetGlyph::font(13, QFont::Normal));
    QPalette quiet = detailEmpty->palette();
    quiet.setColor(QPalette::WindowText, secondary);
    detailEmpty->setPalette(quiet);
    detailStack->addWidget(noteDetail);
    detailStack->addWidget(detailEmpty);
    detailStack->addWidget(makeTrashDetail());
    columns->addWidget(detailStack, 1);

    auto* find = new QShortcut(QKeySequence::Find, this);
    connect(find, &QShortcut::activated, this, [this] {
        search->setFocus(Qt::ShortcutFocusReason);
        search->selectAll();
    });

    // Control and a digit chooses the mode, in the picker's order.
    for (int mode = 0; mode < 3; ++mode) {
        auto* choose = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key(Qt::Key_1 + mode)), this);
        connect(choose, &QShortcut::activated, this,
                [this, mode] { this->library.setMode(LibraryMode(mode)); });
    }

    connect(&library, &Library::modeChanged, this, &LibraryWindow::followMode);
    connect(&library, &Library::selectionChanged, this, &LibraryWindow::followSelection);
    connect(rows, &QAbstractItemModel::modelReset, this, &LibraryWindow::followList);
    connect(rows, &QAbstractItemModel::rowsInserted, this, &LibraryWindow::followList);
    connect(rows, &QAbstractItemModel::rowsRemoved, this, &LibraryWindow::followList);
    connect(&with.notes, &NoteStore::notesChanged, this, &LibraryWindow::followSelection);
    followMode();
}

LibraryWindow::~LibraryWindow() = default;

QWidget* LibraryWindow::makeSidebar()
{
    auto* side = new QWidget(this);
    side->setObjectName(u"sidebar"_s);
    side->setFixedWidth(sidebarWidth);
    auto* column = new QVBoxLayout(side);
    column->setContentsMargins(0, 12, 0, 8);
    column->setSpacing(8);

    auto* picker = new QHBoxLayout;
    picker->setContentsMargins(12, 0, 12, 0);
    picker->setSpacing(0);
    modes = new QButtonGroup(side);
    modes->setExclusive(true);
    const std::array<LibraryMode, 3> all{LibraryMode::all, LibraryMode::archive,
                                         LibraryMode::recentlyDeleted};
    for (const LibraryMode mode : all) {
        auto* button = new QToolButton(side);
        button->setObjectName(u"mode"_s);
        button->setText(L10n::text(modeKey(mode)));
        button->setCheckable(true);
        button->setFocusPolicy(Qt::NoFocus);
        button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        button->setFont(SheetGlyph::font(11.5, QFont::Medium));
        modes->addButton(button, int(mode));
        picker->addWidget(button);
    }
    connect(modes, &QButtonGroup::idClicked, this,
            [this](int mode) { library.setMode(LibraryMode(mode)); });
    column->addLayout(picker);

    search = new QLineEdit(side);
    search->setObjectName(u"search"_s);
    search->setPlaceholderText(L10n::text(u"library.search_placeholder"_s));
    search->setAccessibleName(L10n::text(u"library.search_placeholder"_s));
    search->setClearButtonEnabled(true);
    search->setFont(SheetGlyph::font(12.5, QFont::Normal));
    {
        QPixmap glass(QSize(16, 16) * devicePixelRatio());
        glass.setDevicePixelRatio(devicePixelRatio());
        glass.fill(Qt::transparent);
        QPainter p(&glass);
        p.setRenderHint(QPainter::Antialiasing);
        SheetGlyph::paint(p, SheetGlyph::Kind::Magnifier, QRectF(0, 0, 16, 16), 12, secondary);
        search->addAction(QIcon(glass), QLineEdit::LeadingPosition);
    }
    search->installEventFilter(this);
    connect(search, &QLineEdit::textChanged, this,
            [this](const QString& text) { library.setQuery(text); });
    auto* searchRow = new QHBoxLayout;
    searchRow->setContentsMargins(12, 0, 12, 0);
    searchRow->addWidget(search);
    column->addLayout(searchRow);

    rows = new LibraryListModel(library, with.notes, with.scheduler, this);
    listStack = new QStackedWidget(side);
    listView = new QListView(listStack);
    listView->setObjectName(u"list"_s);
    listView->setModel(rows);
    listView->setItemDelegate(new RowDelegate(listView));
    listView->setUniformItemSizes(true);
    listView->setFrameShape(QFrame::NoFrame);
    listView->setSelectionMode(QAbstractItemView::SingleSelection);
    listView->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    listView->setContextMenuPolicy(Qt::CustomContextMenu);
    listView->setAccessibleName(L10n::text(modeKey(LibraryMode::all)));
    listView->installEventFilter(this);
    connect(listView, &QWidget::customContextMenuRequested, this, [this](const QPoint& at) {
        const QModelIndex index = listView->indexAt(at);
        if (!index.isValid())
            return;
        QMenu menu(this);
        fillRowMenu(menu, index);
        menu.exec(listView->viewport()->mapToGlobal(at));
    });
    connect(listView->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) {
                if (library.mode() == LibraryMode::recentlyDeleted)
                    followSelection();
                else if (current.isValid())
                    library.select(current.data(LibraryListModel::IdRole).toString());
            });
    connect(listView, &QAbstractItemView::doubleClicked, this, [this](const QModelIndex& index) {
        if (library.mode() == LibraryMode::recentlyDeleted)
            restoreFromTrash(index);
    });
    listEmpty = new QLabel(listStack);
    listEmpty->setObjectName(u"empty"_s);
    listEmpty->setAlignment(Qt::AlignCenter);
    listEmpty->setWordWrap(true);
    listEmpty->setFont(SheetGlyph::font(12, QFont::Normal));
    QPalette quiet = listEmpty->palette();
    quiet.setColor(QPalette::WindowText, secondary);
    listEmpty->setPalette(quiet);
    listStack->addWidget(listView);
    listStack->addWidget(listEmpty);
    column->addWidget(listStack, 1);

    exporting = new QToolButton(side);
    exporting->setObjectName(u"export"_s);
    // The triangle says that a menu opens; a screen reader hears the word alone.
    exporting->setText(L10n::text(u"menu.export"_s) + u" \u25BE"_s);
    exporting->setAccessibleName(L10n::text(u"menu.export"_s));
    exporting->setPopupMode(QToolButton::InstantPopup);
    exporting->setToolButtonStyle(Qt::ToolButtonTextOnly);
    exporting->setFont(SheetGlyph::font(11.5, QFont::Normal));
    auto* menu = new QMenu(exporting);
    const std::array<std::pair<QString, TransferFormat>, 4> formats{{
        {u"export.markdown_per_note"_s, TransferFormat::markdown},
        {u"export.plain_per_note"_s, TransferFormat::plainText},
        {u"export.single_document"_s, TransferFormat::singleFile},
        {u"export.sticky_archive"_s, TransferFormat::stickies},
    }};
    for (const auto& [key, format] : formats) {
        QAction* action = menu->addAction(L10n::text(key), this, [this, format = format] {
            with.transfers.exportNotes(format, listedIDs());
        });
        action->setObjectName(u"export"_s);
    }
    menu->addSeparator();
    menu->addAction(L10n::text(u"menu.import"_s), this, [this] { with.transfers.importFiles(); });
    connect(menu, &QMenu::aboutToShow, this, [this, menu] {
        const bool any = !listedIDs().isEmpty();
        for (QAction* action : menu->actions()) {
            if (action->objectName() == u"export"_s)
                action->setEnabled(any);
        }
    });
    exporting->setMenu(menu);
    auto* bottom = new QHBoxLayout;
    bottom->setContentsMargins(12, 0, 12, 0);
    bottom->addWidget(exporting);
    bottom->addStretch(1);
    column->addLayout(bottom);

    side->setStyleSheet(uR"(
        #sidebar { background: transparent; }
        QToolButton#mode { border: 1px solid rgba(0,0,0,40); padding: 3px 2px;
                           background: rgba(255,255,255,150); color: #333; }
        QToolButton#mode:checked { background: #ffffff; color: #111;
                                   border-color: rgba(0,0,0,70); }
        QLineEdit#search { border: 1px solid rgba(0,0,0,30); border-radius: 7px;
                           padding: 4px 4px; background: rgba(255,255,255,200); }
        QListView#list { background: transparent; }
        QToolButton#export { border: none; border-radius: 5px; padding: 3px 6px; color: #333; }
        QToolButton#export:hover, QToolButton#export:pressed { background: rgba(0,0,0,20); }
        QToolButton#export::menu-indicator { image: none; }
    )"_s);
    return side;
}

void LibraryWindow::present()
{
    if (!isVisible()) {
        if (const QScreen* screen = QGuiApplication::screenAt(QCursor::pos())
                                        ? QGuiApplication::screenAt(QCursor::pos())
                                        : QGuiApplication::primaryScreen()) {
            QRect frame(QPoint(), size());
            frame.moveCenter(screen->availableGeometry().center());
            move(frame.topLeft());
        }
        show();
    }
    if (isMinimized())
        setWindowState(windowState() & ~Qt::WindowMinimized);
    raise();
    activateWindow();
    if (library.selection() && rows->rowOf(*library.selection()) >= 0)
        listView->setFocus(Qt::ActiveWindowFocusReason);
    else
        search->setFocus(Qt::ActiveWindowFocusReason);
}

void LibraryWindow::followMode()
{
    if (QAbstractButton* button = modes->button(int(library.mode())))
        button->setChecked(true);
    listView->setAccessibleName(L10n::text(modeKey(library.mode())));
    followList();
}

// The empty state instead of an empty list, and the current row on the selected note.
void LibraryWindow::followList()
{
    const bool empty = rows->rowCount() == 0;
    QString key;
    if (!library.query().trimmed().isEmpty())
        key = u"library.no_matches"_s;
    else if (library.mode() == LibraryMode::archive)
        key = u"library.no_archive"_s;
    else if (library.mode() == LibraryMode::recentlyDeleted)
        key = u"library.no_trash"_s;
    else
        key = u"library.no_notes"_s;
    listEmpty->setText(L10n::text(key));
    listStack->setCurrentWidget(empty ? static_cast<QWidget*>(listEmpty) : listView);
    if (library.mode() == LibraryMode::recentlyDeleted && !empty
        && !listView->currentIndex().isValid())
        listView->setCurrentIndex(rows->index(0));
    followSelection();
}

void LibraryWindow::followSelection()
{
    if (library.mode() == LibraryMode::recentlyDeleted) {
        noteDetail->showNote({});
        const QModelIndex current = listView->currentIndex();
        if (!current.isValid() || current.row() >= rows->trash().size()) {
            detailStack->setCurrentWidget(detailEmpty);
            return;
        }
        const Library::TrashEntry& entry = rows->trash().at(current.row());
        trashTitle->setText(entry.title);
        trashWhen->setText(current.data(LibraryListModel::AgoRole).toString());
        trashText->setPlainText(entry.body);
        trashText->setAccessibleName(entry.title);
        detailStack->setCurrentWidget(trashDetail);
        return;
    }
    const std::optional<QString>& selected = library.selection();
    const bool shown = selected && with.notes.note(*selected).has_value();
    noteDetail->showNote(shown ? *selected : QString());
    detailStack->setCurrentWidget(shown ? static_cast<QWidget*>(noteDetail) : detailEmpty);
    const int row = selected ? rows->rowOf(*selected) : -1;
    const QModelIndex index = rows->index(row);
    if (row < 0)
        listView->selectionModel()->clearSelection();
    else if (listView->currentIndex() != index)
        listView->setCurrentIndex(index);
}

QWidget* LibraryWindow::makeTrashDetail()
{
    trashDetail = new QWidget(detailStack);
    trashDetail->setObjectName(u"trashDetail"_s);
    auto* column = new QVBoxLayout(trashDetail);
    column->setContentsMargins(18, 12, 18, 12);
    column->setSpacing(8);
    auto* top = new QHBoxLayout;
    trashWhen = new QLabel(trashDetail);
    trashWhen->setFont(SheetGlyph::font(11, QFont::Normal));
    QPalette quiet = trashWhen->palette();
    quiet.setColor(QPalette::WindowText, secondary);
    trashWhen->setPalette(quiet);
    top->addWidget(trashWhen, 1);
    auto* restore = new SheetButton(SheetButton::Style::Footer, trashDetail);
    restore->setObjectName(u"restore"_s);
    restore->setFont(SheetGlyph::font(11.5, QFont::Medium));
    restore->setText(L10n::text(u"action.restore"_s));
    restore->setHelp(L10n::text(u"action.restore"_s));
    restore->setInk(primary, 0.8);
    connect(restore, &QAbstractButton::clicked, this,
            [this] { restoreFromTrash(listView->currentIndex()); });
    top->addWidget(restore);
    column->addLayout(top);
    trashTitle = new QLabel(trashDetail);
    trashTitle->setFont(SheetGlyph::font(19, QFont::DemiBold));
    trashTitle->setTextFormat(Qt::PlainText);
    column->addWidget(trashTitle);
    auto* rule = new SheetRule(trashDetail);
    rule->setColor(QColor(0, 0, 0, 30));
    column->addWidget(rule);
    trashText = new QPlainTextEdit(trashDetail);
    trashText->setReadOnly(true);
    // Named by the deleted note it shows; until then by where it is.
    trashText->setAccessibleName(L10n::text(modeKey(LibraryMode::recentlyDeleted)));
    trashText->setFrameShape(QFrame::NoFrame);
    trashText->setFont(SheetGlyph::font(13.5, QFont::Normal));
    QPalette page = trashText->palette();
    page.setColor(QPalette::Base, Qt::transparent);
    page.setColor(QPalette::Text, primary);
    trashText->setPalette(page);
    column->addWidget(trashText, 1);
    return trashDetail;
}

void LibraryWindow::fillRowMenu(QMenu& menu, const QModelIndex& index)
{
    if (library.mode() == LibraryMode::recentlyDeleted) {
        menu.addAction(L10n::text(u"action.restore"_s), this,
                       [this, index = QPersistentModelIndex(index)] {
                           if (index.isValid())
                               restoreFromTrash(index);
                       });
        return;
    }
    const QString id = index.data(LibraryListModel::IdRole).toString();
    const std::optional<Note> note = with.notes.note(id);
    if (!note)
        return;
    const bool archived = note->archived;
    menu.addAction(L10n::text(archived ? u"action.restore"_s : u"action.archive"_s), this,
                   [this, id, archived] { with.notes.setArchived(id, !archived); });
    menu.addSeparator();
    menu.addAction(L10n::text(u"action.delete"_s), this, [this, id] { with.notes.deleteNote(id); });
}

void LibraryWindow::restoreFromTrash(const QModelIndex& index)
{
    const int row = index.row();
    if (row < 0 || row >= rows->trash().size())
        return;
    const Library::TrashEntry entry = rows->trash().at(row);
    if (library.restore(entry) == Library::RestoreResult::restored)
        return;
    QMessageBox box(QMessageBox::Warning, u"Pondrift"_s,
                    L10n::format(u"library.restore_failed"_s, {Library::trashTitle(entry.name)}),
                    QMessageBox::Ok, this);
    box.setInformativeText(L10n::text(u"library.restore_failed_help"_s));
    box.exec();
}

void LibraryWindow::deleteSelected()
{
    if (library.mode() == LibraryMode::recentlyDeleted)
        return;
    const QModelIndex current = listView->currentIndex();
    if (!current.isValid())
        return;
    const int row = current.row();
    with.notes.deleteNote(current.data(LibraryListModel::IdRole).toString());
    // The next note takes the place of the deleted one, as in any list.
    if (rows->rowCount() > 0) {
        const QModelIndex next = rows->index(std::min(row, rows->rowCount() - 1));
        listView->setCurrentIndex(next);
        library.select(next.data(LibraryListModel::IdRole).toString());
    } else {
        library.select(std::nullopt);
    }
}

QStringList LibraryWindow::listedIDs() const
{
    QStringList ids;
    for (const Note& note : rows->notes())
        ids.append(note.id);
    return ids;
}

bool LibraryWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress)
        return QWidget::eventFilter(watched, event);
    const auto* key = static_cast<QKeyEvent*>(event);
    if (watched == search) {
        if (key->key() == Qt::Key_Down || key->key() == Qt::Key_Return
            || key->key() == Qt::Key_Enter) {
            if (rows->rowCount() == 0)
                return false;
            // Focusing the list makes its first row current without selecting it, so the
            // row is selected here, the one already current if there is one.
            const QModelIndex current = listView->currentIndex();
            listView->setFocus(Qt::TabFocusReason);
            listView->selectionModel()->setCurrentIndex(
                current.isValid() ? current : rows->index(0), QItemSelectionModel::ClearAndSelect);
            return true;
        }
        if (key->key() == Qt::Key_Escape && !search->text().isEmpty()) {
            search->clear();
            return true;
        }
        return false;
    }
    if (watched == listView) {
        switch (key->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
            if (library.mode() == LibraryMode::recentlyDeleted) {
                restoreFromTrash(listView->currentIndex());
            } else if (detailStack->currentWidget() == noteDetail) {
                noteDetail->textView()->setFocus(Qt::TabFocusReason);
            }
            return true;
        case Qt::Key_Delete:
        case Qt::Key_Backspace:
            deleteSelected();
            return true;
        default:
            return false;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void LibraryWindow::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.fillRect(QRect(0, 0, sidebarWidth, height()), sidebarGround);
    p.fillRect(QRect(sidebarWidth, 0, 1, height()), QColor(0, 0, 0, 28));
}
