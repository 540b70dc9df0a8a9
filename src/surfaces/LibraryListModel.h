#pragma once

#include "notes/Note.h"
#include "platform/Scheduler.h"
#include "surfaces/Library.h"

#include <QAbstractListModel>
#include <QList>

class NoteStore;

// The library's list, one row per note the library lists (or per trash document in the
// recently deleted mode), for a list view that paints rows itself: thousands of notes cost one
// screenful of painting. It follows the store and the library: a change of one note's text
// changes its row only, a note that comes or goes inserts or removes its row, and only a
// change of mode or query, or a wholesale change, resets the list, so that scrolling and the
// current row survive typing in the detail.
//
// REQUIRES: library, notes and scheduler outlive the model. Main thread only.
class LibraryListModel final : public QAbstractListModel {
    Q_OBJECT

public:
    enum Role {
        IdRole = Qt::UserRole + 1,
        TitleRole, // the display title, or the trash document's title
        PreviewRole,
        // "edited 3 minutes ago", or for a trash document when it went
        AgoRole,
        PaperRole, // QColor: the chip
        DashRole,  // QColor
        // QVariant of (done, total) as QPoint; invalid without task lines
        TaskProgressRole,
        TrashPathRole, // the document's path; invalid for notes
    };

    // How often the rows' ages are told again, in seconds.
    static constexpr double ageRefresh = 60;

    LibraryListModel(Library& library, NoteStore& notes, Scheduler& scheduler,
                     QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // The row of a note id, or -1.
    int rowOf(const QString& id) const;
    const QList<Note>& notes() const { return rows; }
    const QList<Library::TrashEntry>& trash() const { return trashRows; }

    // Lists everything afresh, as a change of mode or query does.
    void reload();

private:
    void follow();

    Library& library;
    NoteStore& store;
    Scheduler& scheduler;
    QList<Note> rows;
    QList<Library::TrashEntry> trashRows;
    Scheduler::HandlePtr ageTick;
};
