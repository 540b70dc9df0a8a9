#pragma once

#include "surfaces/Library.h"

#include <QWidget>

class Desktop;
class ImageStore;
class LibraryDetail;
class LibraryListModel;
class NoteStore;
class Scheduler;
class SpellChecker;
class Transfers;
class QButtonGroup;
class QLabel;
class QLineEdit;
class QListView;
class QModelIndex;
class QStackedWidget;
class QToolButton;

// The library's window: the one ordinary window of the program, in the taskbar while it is
// open. On the left the mode, the search, the list and the export menu; on the right the
// selected note in full. It decides nothing: the mode, the query and the selection are the
// library's, the notes the store's, export and import the transfers'.
class LibraryWindow final : public QWidget, public LibraryView {
    Q_OBJECT

public:
    struct Parts {
        NoteStore& notes;
        Scheduler& scheduler;
        Desktop& desktop;
        ImageStore& images;
        Transfers& transfers;
        SpellChecker* spellChecker = nullptr;
    };
    static constexpr QSize minimum{720, 420};

    // REQUIRES: library and every part outlive the window.
    LibraryWindow(Library& library, Parts parts);
    ~LibraryWindow() override;

    void present() override;

    QLineEdit* searchField() const { return search; }
    QListView* list() const { return listView; }
    LibraryListModel* model() const { return rows; }
    LibraryDetail* detail() const { return noteDetail; }
    QLabel* emptyList() const { return listEmpty; }
    QToolButton* exportButton() const { return exporting; }
    // The row's context menu, as a right click opens it.
    void fillRowMenu(class QMenu& menu, const QModelIndex& index);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QWidget* makeSidebar();
    void followMode();
    void followList();
    void followSelection();
    void deleteSelected();
    void restoreFromTrash(const QModelIndex& index);
    QWidget* makeTrashDetail();
    QStringList listedIDs() const;

    Library& library;
    Parts with;
    LibraryListModel* rows = nullptr;
    QButtonGroup* modes = nullptr;
    QLineEdit* search = nullptr;
    QStackedWidget* listStack = nullptr;
    QListView* listView = nullptr;
    QLabel* listEmpty = nullptr;
    QToolButton* exporting = nullptr;
    QStackedWidget* detailStack = nullptr;
    LibraryDetail* noteDetail = nullptr;
    QLabel* detailEmpty = nullptr;
    // A document of the trash, read only, with Restore.
    QWidget* trashDetail = nullptr;
    QLabel* trashTitle = nullptr;
    QLabel* trashWhen = nullptr;
    class QPlainTextEdit* trashText = nullptr;
};
