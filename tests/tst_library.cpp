#include "exchange/NoteDocument.h"
#include "support/FaultInjectingVfs.h"
#include "support/InstalledSettings.h"
#include "support/NoteBuilder.h"
#include "support/TestLibrary.h"
#include "surfaces/Library.h"
#include "surfaces/LibraryListModel.h"

#include <QFile>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

struct SilentView final : LibraryView {
    void present() override {}
};

// A library over a real store, with a window that shows nothing.
struct Rig {
    TestLibrary lib;
    NoteStore& notes = lib.open();
    Library library{notes, lib.files, lib.paths.trash(), [](Library&) { return new SilentView; }};
    LibraryListModel model{library, notes, lib.clock};

    QString add(const QString& body, const QString& title = {})
    {
        return notes.create(body, title).id;
    }
    QStringList listed() const
    {
        QStringList ids;
        for (int row = 0; row < model.rowCount(); ++row)
            ids.append(model.index(row).data(LibraryListModel::IdRole).toString());
        return ids;
    }
    QString trashFile(const QString& name, const QByteArray& bytes)
    {
        QDir().mkpath(lib.paths.trash());
        QFile file(lib.paths.trash() + u'/' + name);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            return {};
        return file.fileName();
    }
};

} // namespace

class TestLibrary_ : public QObject {
    Q_OBJECT

    InstalledSettings settings;

private Q_SLOTS:
    void initTestCase()
    {
        settings.install();
        FaultInjectingVfs::install();
    }
    void cleanup() { FaultInjectingVfs::setWriteFault(FaultInjectingVfs::Fault::None); }

    void search_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<QStringList>("found");
        QTest::newRow("blanks and tabs show everything")
            << u"  \t "_s << QStringList{u"start"_s, u"Groceries"_s, u"Plan"_s};
        QTest::newRow("upper-case text matches a lower-case query")
            << u"groc"_s << QStringList{u"Groceries"_s};
        QTest::newRow("an upper-case query matches lower-case text")
            << u" START"_s << QStringList{u"start"_s};
        QTest::newRow("text deep in the body is found") << u"needle"_s << QStringList{u"Plan"_s};
        QTest::newRow("a substring, not a word: art finds start")
            << u"art"_s << QStringList{u"start"_s};
    }
    void search()
    {
        QFETCH(QString, query);
        QFETCH(QStringList, found);
        Rig r;
        r.add(u"Plan\n"_s + QString(4000, u'x') + u" a needle at the end"_s);
        r.add(u"GROCERIES\nmilk"_s, u"Groceries"_s);
        r.add(u"start here"_s, u"start"_s);
        r.library.setQuery(query);
        QStringList titles;
        for (int row = 0; row < r.model.rowCount(); ++row)
            titles.append(r.model.index(row).data(LibraryListModel::TitleRole).toString());
        QCOMPARE(titles, found);
    }

    // A search kept open while notes are edited finds them by their new text and title, not
    // by what they held when it started.
    void aSearchFollowsEditsMadeWhileItRuns()
    {
        Rig r;
        const QString plan = r.add(u"Plan\nthe needle"_s);
        const QString list = r.add(u"List\nmilk"_s);
        r.library.setQuery(u"needle"_s);
        QCOMPARE(r.listed(), QStringList{plan});
        r.notes.updateBody(plan, u"Plan\nthe thread"_s);
        r.notes.updateBody(list, u"List\nmilk and a needle"_s);
        QCOMPARE(r.listed(), QStringList{list});
        r.library.setQuery(u"errands"_s);
        QCOMPARE(r.listed(), QStringList{});
        r.notes.updateTitle(plan, u"Errands"_s);
        QCOMPARE(r.listed(), QStringList{plan});
    }

    // Archiving and restoring move a note between the modes at once, and the selection stays
    // whatever the mode and the query.
    void modes()
    {
        Rig r;
        const QString kept = r.add(u"kept"_s);
        const QString old = r.add(u"old"_s);
        r.notes.setArchived(old, true);
        QCOMPARE(r.listed(), QStringList{kept});
        r.library.select(old);
        r.library.setMode(LibraryMode::archive);
        QCOMPARE(r.listed(), QStringList{old});
        r.library.setQuery(u"nothing like it"_s);
        QCOMPARE(r.listed(), QStringList{});
        r.library.setQuery({});
        QSignalSpy removed(&r.model, &QAbstractItemModel::rowsRemoved);
        QSignalSpy reset(&r.model, &QAbstractItemModel::modelReset);
        r.notes.setArchived(old, false);
        QCOMPARE(r.listed(), QStringList{});
        QCOMPARE(removed.size(), 1);
        QCOMPARE(reset.size(), 0);
        QCOMPARE(r.library.selection(), std::optional<QString>(old));
    }

    // Typing in one note of thousands changes its row alone: the list keeps its place.
    void oneNotesEditChangesOneRow()
    {
        Rig r;
        const QString a = r.add(u"a"_s);
        r.add(u"b"_s);
        r.add(u"c"_s);
        QSignalSpy changed(&r.model, &QAbstractItemModel::dataChanged);
        QSignalSpy reset(&r.model, &QAbstractItemModel::modelReset);
        r.notes.updateBody(a, u"a, and more"_s);
        QCOMPARE(reset.size(), 0);
        QCOMPARE(changed.size(), 1);
        const QModelIndex row = changed[0][0].value<QModelIndex>();
        QCOMPARE(row.row(), 2);
        QCOMPARE(row.data(LibraryListModel::TitleRole).toString(), u"a, and more"_s);
    }

    // An open window's "ago" texts move on with the clock, without a note changing.
    void agesMoveOnWhileTheWindowStaysOpen()
    {
        Rig r;
        r.add(u"a"_s);
        const QString before = r.model.index(0).data(LibraryListModel::AgoRole).toString();
        QSignalSpy changed(&r.model, &QAbstractItemModel::dataChanged);
        r.lib.clock.advance(LibraryListModel::ageRefresh * 10);
        QVERIFY(!changed.isEmpty());
        QVERIFY(changed.last()[2].value<QList<int>>().contains(LibraryListModel::AgoRole));
        QVERIFY(r.model.index(0).data(LibraryListModel::AgoRole).toString() != before);
    }

    // A note the sync deleted is listed from the trash, and comes back into the deck with its
    // text; its document goes only once the note is stored.
    void restoringFromTheTrash()
    {
        Rig r;
        Note gone = aNote().title(u"Recipe"_s).body(u"flour\nwater"_s).archived();
        const QString path = r.trashFile(u"Recipe (deleted 2026-01-02-030405).md"_s,
                                         NoteDocument::render(gone).toUtf8());
        r.library.setMode(LibraryMode::recentlyDeleted);
        QCOMPARE(r.model.rowCount(), 1);
        QCOMPARE(r.model.index(0).data(LibraryListModel::TitleRole).toString(), u"Recipe"_s);
        QCOMPARE(r.library.restore(r.model.trash().at(0)), Library::RestoreResult::restored);
        QVERIFY(!QFile::exists(path));
        QCOMPARE(r.model.rowCount(), 0);
        QCOMPARE(r.notes.active().size(), 1);
        QCOMPARE(r.notes.active().at(0).body, u"flour\nwater"_s);
        QCOMPARE(r.lib.stored().size(), 1);
        QCOMPARE(r.library.selection(), std::optional<QString>(r.notes.active().at(0).id));
    }

    void aTrashDocumentThatCannotBeRestoredStays_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("vanishes");
        QTest::addColumn<bool>("diskFull");
        QTest::addColumn<int>("result");
        QTest::newRow("not UTF-8") << QByteArray("caf\xe9\xff") << false << false
                                   << int(Library::RestoreResult::unreadable);
        QTest::newRow("gone since it was listed")
            << QByteArray("text") << true << false << int(Library::RestoreResult::unreadable);
        QTest::newRow("a disk that refuses the note")
            << QByteArray("text") << false << true << int(Library::RestoreResult::notStored);
    }
    void aTrashDocumentThatCannotBeRestoredStays()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, vanishes);
        QFETCH(bool, diskFull);
        QFETCH(int, result);
        Rig r;
        const QString path = r.trashFile(u"Note (deleted 2026-01-02-030405).md"_s, bytes);
        r.library.setMode(LibraryMode::recentlyDeleted);
        const Library::TrashEntry entry = r.model.trash().at(0);
        if (vanishes)
            QFile::remove(path);
        if (diskFull)
            FaultInjectingVfs::setWriteFault(FaultInjectingVfs::Fault::DiskFull);
        QCOMPARE(int(r.library.restore(entry)), result);
        QCOMPARE(QFile::exists(path), !vanishes);
        FaultInjectingVfs::setWriteFault(FaultInjectingVfs::Fault::None);
        QCOMPARE(r.lib.stored().size(), 0);
        if (!diskFull)
            return;
        // Once the disk takes it, Restore again brings the note back once, not twice.
        QCOMPARE(r.library.restore(entry), Library::RestoreResult::restored);
        QCOMPARE(r.lib.stored().size(), 1);
        QCOMPARE(r.notes.notes().size(), 1);
        QVERIFY(!QFile::exists(path));
    }
};

QTEST_MAIN(TestLibrary_)
#include "tst_library.moc"
