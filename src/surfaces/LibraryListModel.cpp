#include "surfaces/LibraryListModel.h"

#include "notes/Fmt.h"
#include "notes/NoteColor.h"
#include "notes/NoteStore.h"
#include "notes/NoteText.h"
#include "platform/Scheduler.h"

#include <QColor>
#include <QPoint>

LibraryListModel::LibraryListModel(Library& library, NoteStore& notes, Scheduler& scheduler,
                                   QObject* parent)
    : QAbstractListModel(parent)
    , library(library)
    , store(notes)
    , scheduler(scheduler)
{
    connect(&library, &Library::modeChanged, this, &LibraryListModel::reload);
    connect(&library, &Library::queryChanged, this, &LibraryListModel::reload);
    connect(&library, &Library::trashChanged, this, &LibraryListModel::reload);
    connect(&notes, &NoteStore::notesChanged, this, &LibraryListModel::follow);
    // "3 minutes ago" goes stale while the window stays open; the view repaints only the rows
    // it shows.
    ageTick = scheduler.every(ageRefresh, [this] {
        if (const int count = rowCount(); count > 0)
            Q_EMIT dataChanged(index(0), index(count - 1), {AgoRole});
    });
    reload();
}

void LibraryListModel::reload()
{
    beginResetModel();
    rows = library.filtered();
    trashRows = library.mode() == LibraryMode::recentlyDeleted ? library.trash()
                                                               : QList<Library::TrashEntry>{};
    endResetModel();
}

namespace {

bool sameIDs(const QList<Note>& a, const QList<Note>& b)
{
    if (a.size() != b.size())
        return false;
    for (qsizetype i = 0; i < a.size(); ++i) {
        if (a[i].id != b[i].id)
            return false;
    }
    return true;
}

// Where longer differs from shorter by one row more: that row's index, or -1 when the two
// differ otherwise.
qsizetype oneExtra(const QList<Note>& longer, const QList<Note>& shorter)
{
    if (longer.size() != shorter.size() + 1)
        return -1;
    qsizetype at = 0;
    while (at < shorter.size() && longer[at].id == shorter[at].id)
        ++at;
    for (qsizetype i = at; i < shorter.size(); ++i) {
        if (longer[i + 1].id != shorter[i].id)
            return -1;
    }
    return at;
}

} // namespace

// A store change touches one note at a time, almost always: the rows follow it one by one,
// and only a change the three cases below do not cover lists everything afresh.
void LibraryListModel::follow()
{
    if (library.mode() == LibraryMode::recentlyDeleted)
        return;
    QList<Note> next = library.filtered();
    if (sameIDs(rows, next)) {
        for (qsizetype i = 0; i < rows.size(); ++i) {
            if (rows[i] == next[i])
                continue;
            rows[i] = next[i];
            Q_EMIT dataChanged(index(int(i)), index(int(i)));
        }
        return;
    }
    if (const qsizetype gone = oneExtra(rows, next); gone >= 0) {
        beginRemoveRows({}, int(gone), int(gone));
        rows.removeAt(gone);
        endRemoveRows();
        return follow();
    }
    if (const qsizetype added = oneExtra(next, rows); added >= 0) {
        beginInsertRows({}, int(added), int(added));
        rows.insert(added, next[added]);
        endInsertRows();
        return follow();
    }
    beginResetModel();
    rows = std::move(next);
    endResetModel();
}

int LibraryListModel::rowCount(const QModelIndex& parent) const
{
    if (parent.isValid())
        return 0;
    return int(library.mode() == LibraryMode::recentlyDeleted ? trashRows.size() : rows.size());
}

int LibraryListModel::rowOf(const QString& id) const
{
    for (qsizetype i = 0; i < rows.size(); ++i) {
        if (rows[i].id == id)
            return int(i);
    }
    return -1;
}

QVariant LibraryListModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    if (library.mode() == LibraryMode::recentlyDeleted) {
        const Library::TrashEntry& entry = trashRows.at(index.row());
        switch (role) {
        case Qt::DisplayRole:
        case TitleRole:
            return entry.title;
        case IdRole:
        case TrashPathRole:
            return entry.path;
        case PreviewRole:
            return entry.preview;
        case AgoRole:
            return Fmt::ago(entry.deleted, scheduler.now());
        case PaperRole:
            return QColor(Qt::lightGray);
        case DashRole:
            return QColor(Qt::gray);
        default:
            return {};
        }
    }
    const Note& note = rows.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case TitleRole:
        return NoteText::displayTitle(note);
    case IdRole:
        return note.id;
    case PreviewRole:
        return NoteText::preview(note);
    case AgoRole:
        return Fmt::ago(note.modified, scheduler.now());
    case PaperRole:
        return NoteText::palette(note).paper;
    case DashRole:
        return NoteText::palette(note).dash;
    case TaskProgressRole:
        if (const auto progress = NoteText::taskProgress(note))
            return QPoint(progress->first, progress->second);
        return {};
    default:
        return {};
    }
}

QHash<int, QByteArray> LibraryListModel::roleNames() const
{
    QHash<int, QByteArray> names = QAbstractListModel::roleNames();
    names.insert(IdRole, "noteID");
    names.insert(TitleRole, "title");
    names.insert(PreviewRole, "preview");
    names.insert(AgoRole, "ago");
    names.insert(PaperRole, "paper");
    names.insert(DashRole, "dash");
    names.insert(TaskProgressRole, "taskProgress");
    names.insert(TrashPathRole, "trashPath");
    return names;
}
