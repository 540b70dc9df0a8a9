#include "editor/ui/NoteSheetParts.h"
#include "editor/ui/NoteTextView.h"
#include "platform/fallback/FixedCompositor.h"
#include "support/FakeDisplays.h"
#include "support/FakePointer.h"
#include "support/InstalledSettings.h"
#include "support/RecordingDesktop.h"
#include "support/RecordingWindowHints.h"
#include "support/TestLibrary.h"
#include "surfaces/Library.h"
#include "surfaces/LibraryListModel.h"
#include "surfaces/Transfers.h"
#include "surfaces/UndoToast.h"
#include "surfaces/ui/LibraryDetail.h"
#include "surfaces/ui/LibraryWindow.h"
#include "surfaces/ui/UndoToastPanel.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QTest>
#include <QToolButton>

using namespace Qt::Literals::StringLiterals;

namespace {

struct RecordingTransfers final : Transfers {
    QList<std::pair<TransferFormat, QStringList>> exports;
    int imports = 0;
    void exportNotes(TransferFormat format, const QStringList& ids) override
    {
        exports.append({format, ids});
    }
    void importFiles() override { ++imports; }
};

// The library's window and the undo toast's panel, as the program builds them, over a real
// store.
struct Rig {
    TestLibrary lib;
    NoteStore& notes = lib.open();
    RecordingDesktop desktop;
    RecordingWindowHints hints;
    FixedCompositor compositor{true};
    RecordingTransfers transfers;
    FakePointer pointer;
    FakeDisplays displays{{FakeDisplays::make(1, QRectF(0, 0, 1280, 800), true)}};
    Library library{notes, lib.files, lib.paths.trash(), [this](Library& owner) {
                        return new LibraryWindow(
                            owner, {notes, lib.clock, desktop, lib.images, transfers, nullptr});
                    }};
    UndoToast toast{notes, lib.clock, pointer, displays, [this](UndoToast& owner) {
                        return new UndoToastPanel(owner, {hints, compositor});
                    }};

    Rig() { toast.start(); }
    LibraryWindow& window() { return *dynamic_cast<LibraryWindow*>(library.view()); }
    UndoToastPanel* panel()
    {
        for (QWidget* w : QApplication::topLevelWidgets()) {
            if (auto* p = qobject_cast<UndoToastPanel*>(w))
                return p;
        }
        return nullptr;
    }
    void key(QWidget* to, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(to, Qt::Key(key), modifiers);
    }
};

} // namespace

class TestLibraryWindow : public QObject {
    Q_OBJECT

    InstalledSettings settings;

private Q_SLOTS:
    void initTestCase() { settings.install(); }

    void twoShowsUseOneWindow()
    {
        Rig r;
        r.library.show(LibraryMode::all);
        r.library.show(LibraryMode::archive);
        QCOMPARE(std::ranges::count_if(QApplication::topLevelWidgets(),
                                       [](QWidget* w) { return qobject_cast<LibraryWindow*>(w); }),
                 1);
        QVERIFY(r.window().isVisible());
        QCOMPARE(r.window().windowTitle(), u"Pondrift"_s);
        QVERIFY(r.window().minimumSize() == QSize(720, 420));
        QCOMPARE(r.window().emptyList()->text(), u"No archived notes"_s);
    }

    // The keyboard alone: Ctrl+F to the search, Down into the list, Return into the note's
    // text, Delete with the undo toast; a second deletion replaces the toast, whose Undo
    // brings the second note back at once.
    void theKeyboardFindsOpensAndDeletes()
    {
        Rig r;
        r.notes.create(u"first"_s);
        r.notes.create(u"second"_s);
        r.library.show(LibraryMode::all);
        LibraryWindow& w = r.window();
        QApplication::setActiveWindow(&w);
        r.key(w.searchField(), Qt::Key_Down);
        QVERIFY(w.list()->hasFocus());
        QCOMPARE(w.detail()->textView()->text(), u"second"_s);
        QVERIFY(w.list()->selectionModel()->isSelected(w.model()->index(0)));
        r.key(w.list(), Qt::Key_Return);
        QVERIFY(w.detail()->textView()->hasFocus());
        r.key(w.detail()->textView(), Qt::Key_F, Qt::ControlModifier);
        QVERIFY(w.searchField()->hasFocus());
        r.key(w.searchField(), Qt::Key_Down);

        r.key(w.list(), Qt::Key_Delete);
        QCOMPARE(w.detail()->textView()->text(), u"first"_s);
        r.lib.clock.advance(3);
        r.key(w.list(), Qt::Key_Delete);
        QCOMPARE(r.notes.notes().size(), 0);
        QCOMPARE(w.emptyList()->text(), u"No notes yet"_s);
        UndoToastPanel* toast = r.panel();
        QVERIFY(toast && toast->isVisible());
        QCOMPARE(toast->titleLabel()->text(), u"first"_s);
        QCOMPARE(toast->remaining(), 1.0);
        toast->undoButton()->click();
        QVERIFY(!toast->isVisible());
        QCOMPARE(r.notes.active().size(), 1);
        QCOMPARE(r.notes.active().at(0).body, u"first"_s);
    }

    // The export menu exports what the list shows, in its order; restoring in the archive
    // takes the note out of the list at once.
    void theListedNotesAreWhatIsExportedAndRestored()
    {
        Rig r;
        const QString a = r.notes.create(u"apple"_s).id;
        const QString b = r.notes.create(u"apricot"_s).id;
        r.notes.create(u"banana"_s);
        r.library.show(LibraryMode::all);
        LibraryWindow& w = r.window();
        QTest::keyClicks(w.searchField(), u"ap"_s);
        QMenu* menu = w.exportButton()->menu();
        Q_EMIT menu->aboutToShow();
        menu->actions().at(3)->trigger();
        menu->actions().at(5)->trigger();
        QCOMPARE(r.transfers.exports.size(), 1);
        QCOMPARE(r.transfers.exports[0].first, TransferFormat::stickies);
        QCOMPARE(r.transfers.exports[0].second, (QStringList{b, a}));
        QCOMPARE(r.transfers.imports, 1);

        r.notes.setArchived(a, true);
        r.library.show(LibraryMode::archive);
        r.library.select(a);
        QCOMPARE(w.model()->rowCount(), 1);
        w.detail()->archiveButton()->click();
        QCOMPARE(w.model()->rowCount(), 0);
        QCOMPARE(w.emptyList()->text(), u"No matching notes"_s);
    }

    // Tab walks the window as it reads: the sidebar from the search down, then the note from
    // its header down to its text, where Tab is the text's own.
    void theKeyboardWalksTheWindowInReadingOrder()
    {
        Rig r;
        r.notes.create(u"Groceries\nmilk"_s);
        r.library.show(LibraryMode::all);
        LibraryWindow& window = r.window();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        const int sidebar = window.findChild<QWidget*>(u"sidebar"_s)->width();
        QStringList walked;
        QPoint last(-1, -1);
        for (int step = 0; step < 40; ++step) {
            QWidget* now = QApplication::focusWidget();
            QVERIFY(now);
            const QPoint at = now->mapTo(&window, QPoint(0, now->height() / 2));
            walked << now->objectName() + u' ' + QString::number(at.x()) + u','
                          + QString::number(at.y());
            const bool sameColumn = (at.x() < sidebar) == (last.x() < sidebar);
            const bool sameRow = std::abs(at.y() - last.y()) <= now->height() / 2;
            if (step > 0 && sameColumn)
                QVERIFY2(sameRow ? at.x() > last.x() : at.y() > last.y(),
                         qPrintable(walked.join(u" → "_s)));
            if (step > 0 && !sameColumn)
                QVERIFY2(at.x() >= sidebar, qPrintable(walked.join(u" → "_s)));
            if (now->objectName() == u"text"_s)
                break;
            last = at;
            QTest::keyClick(now, Qt::Key_Tab);
        }
        QVERIFY2(walked.constFirst().startsWith(u"search "_s), qPrintable(walked.join(u" → "_s)));
        QVERIFY2(walked.constLast().startsWith(u"text "_s), qPrintable(walked.join(u" → "_s)));
    }
};

QTEST_MAIN(TestLibraryWindow)
#include "tst_librarywindow.moc"
