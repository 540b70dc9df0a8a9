#include "images/ImageStore.h"
#include "l10n/L10n.h"
#include "notes/NoteStore.h"
#include "notes/Store.h"
#include "notes/ui/StorageErrorDialog.h"
#include "support/FaultInjectingVfs.h"
#include "support/TestFiles.h"
#include "support/TestLibrary.h"

#include <QFile>
#include <QMessageBox>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

using Fault = FaultInjectingVfs::Fault;
using Library = TestLibrary;
using ImageTokens::token;

class TestNoteStore : public QObject {
    Q_OBJECT

    // Each test's library, opened empty.
    std::optional<Library> lib;
    NoteStore* notes = nullptr;

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        FaultInjectingVfs::install();
    }
    void init() { notes = &lib.emplace().open(); }
    void cleanup()
    {
        FaultInjectingVfs::setWriteFault(Fault::None);
        lib.reset();
    }

    void newNotesStandFirstWithRotatingColours()
    {
        const Note first = notes->create(u"one"_s);
        QCOMPARE(first.order, -1.0);
        QCOMPARE(first.color, 0);
        for (int i = 0; i < 8; ++i)
            notes->create();
        QCOMPARE(notes->create().color, 1); // nine notes in the library before it
        QCOMPARE(notes->create({}, {}, 5).color, 5);
        QCOMPARE(notes->active().first().order, -11.0);
        QCOMPARE(lib->stored().size(), 11);
    }

    void welcomeNoteAndOrphanedImagesAtLaunch()
    {
        const QString kept = lib->image();
        const QString orphan = lib->image();
        NoteStore& first = lib->open(true);
        QCOMPARE(first.notes().size(), 1);
        QCOMPARE(first.notes().first().body, L10n::text(u"welcome.note_body"_s));
        QVERIFY2(!lib->imageExists(kept) && !lib->imageExists(orphan),
                 "an empty library refers to no image");

        const QString used = lib->image();
        const QString unused = lib->image();
        first.create(u"see "_s + token(used));
        lib->open(true);
        QCOMPARE(lib->notes->notes().size(), 2);
        QVERIFY(lib->imageExists(used));
        QVERIFY(!lib->imageExists(unused));
    }

    void textEditsWaitForThePause()
    {
        const Note note = notes->create(u"draft"_s);
        const Date created = lib->clock.now();
        lib->clock.advance(5);

        notes->updateBody(note.id, u"draft"_s);
        QCOMPARE(notes->note(note.id)->modified, created);
        QVERIFY2(notes->unsavedIDs().isEmpty(), "the same text again is no edit");

        FaultInjectingVfs::resetWriteCount();
        notes->updateBody(note.id, u"draft 2"_s);
        QCOMPARE(notes->note(note.id)->modified, lib->clock.now());
        lib->clock.advance(0.2);
        notes->updateTitle(note.id, u"Title"_s); // restarts this note's pause
        lib->clock.advance(0.2);
        QCOMPARE(FaultInjectingVfs::writeCount(), 0);
        QVERIFY(notes->unsavedIDs().contains(note.id));
        lib->clock.advance(0.06);
        QVERIFY(notes->unsavedIDs().isEmpty());
        QCOMPARE(lib->storedNote(note.id)->body, u"draft 2"_s);
        QCOMPARE(lib->storedNote(note.id)->title, u"Title"_s);

        // Each note has its own pause: typing elsewhere does not hold back this one's save.
        const Note other = notes->create(u"b"_s);
        notes->updateBody(note.id, u"a1"_s);
        lib->clock.advance(0.2);
        notes->updateBody(other.id, u"b1"_s);
        lib->clock.advance(0.1);
        QCOMPARE(notes->unsavedIDs(), QSet<QString>{other.id});
        QCOMPARE(lib->storedNote(note.id)->body, u"a1"_s);
    }

    // A pin saves pending text at once but is no change to the note: modified stays.
    void aPinCarriesPendingTextOnceAndLeavesModifiedAlone()
    {
        const Note note = notes->create(u"body"_s);
        notes->updateTitle(note.id, u"New title"_s);
        FaultInjectingVfs::resetWriteCount();
        notes->togglePin(note.id);
        QVERIFY(FaultInjectingVfs::writeCount() > 0);
        QVERIFY(notes->unsavedIDs().isEmpty());
        QCOMPARE(lib->storedNote(note.id)->title, u"New title"_s);
        QVERIFY(lib->storedNote(note.id)->pinned);
        FaultInjectingVfs::resetWriteCount();
        lib->clock.advance(1);
        QCOMPARE(FaultInjectingVfs::writeCount(), 0); // the cancelled pause writes nothing
        QCOMPARE(notes->note(note.id)->modified, note.modified);
        QCOMPARE(lib->storedNote(note.id)->modified, note.modified);
    }

    void immediateChanges()
    {
        const Note a = notes->create(u"a"_s, {}, 7);
        const Note b = notes->create(u"b"_s);
        lib->clock.advance(3);

        notes->cycleColor(a.id);
        QCOMPARE(lib->storedNote(a.id)->color, 0);
        QCOMPARE(lib->storedNote(a.id)->modified, lib->clock.now());
        notes->setColor(a.id, 8);
        QCOMPARE(notes->note(a.id)->color, 0);
        notes->setTextDirection(a.id, NoteTextDirection::RightToLeft);
        QCOMPARE(lib->storedNote(a.id)->textDirection, NoteTextDirection::RightToLeft);

        notes->setArchived(b.id, true);
        lib->clock.advance(1);
        notes->setArchived(a.id, true);
        QCOMPARE(notes->archived().first().id, a.id); // latest change first
        QVERIFY(notes->active().isEmpty());
        notes->setArchived(b.id, false);
        QCOMPARE(lib->storedNote(b.id)->order, b.order - 1.0);
        QVERIFY(!lib->storedNote(b.id)->archived);
    }

    void deleteThenUndoGivesEverythingBack()
    {
        const QString picture = lib->image();
        const Note note = notes->create(u"with "_s + token(picture), u"T"_s, 3);
        notes->updateBody(note.id, note.body + u" and more"_s);
        const Note before = *notes->note(note.id);
        lib->clock.advance(4);

        notes->deleteNote(note.id);
        QVERIFY(!lib->storedNote(note.id));
        QVERIFY(notes->unsavedIDs().isEmpty());
        QCOMPARE(notes->pendingUndo()->deadline, lib->clock.now().addingSeconds(10));
        lib->clock.advance(9.9);
        QVERIFY(lib->imageExists(picture));

        notes->undoDelete();
        QCOMPARE(*notes->note(note.id), before);
        QCOMPARE(*lib->storedNote(note.id), before);
        lib->clock.advance(20);
        QVERIFY2(lib->imageExists(picture), "the cancelled timer removes nothing");
    }

    void oneUndoSlot()
    {
        const QString onlyA = lib->image();
        const QString shared = lib->image();
        const QString onlyB = lib->image();
        const Note a = notes->create(token(onlyA) + token(shared));
        const Note b = notes->create(token(onlyB));
        const Note c = notes->create(u"also "_s + token(shared));

        notes->deleteNote(a.id);
        notes->deleteNote(b.id);
        QVERIFY2(!lib->imageExists(onlyA), "A is final once B takes the slot");
        QVERIFY2(lib->imageExists(shared), "C still shows the shared picture");
        QVERIFY(lib->imageExists(onlyB));
        QCOMPARE(notes->pendingUndo()->note.id, b.id);

        notes->undoDelete();
        notes->undoDelete(); // nothing left to undo
        QCOMPARE(notes->notes().size(), 2);
        QVERIFY(notes->note(b.id));

        notes->deleteNote(c.id);
        lib->clock.advance(10);
        QVERIFY(!notes->pendingUndo());
        QVERIFY(!lib->imageExists(shared));
        QVERIFY(lib->imageExists(onlyB));
    }

    void reorder_data()
    {
        QTest::addColumn<int>("moved");
        QTest::addColumn<int>("offset");
        QTest::addColumn<QString>("expected");
        QTest::newRow("down by one") << 0 << 1 << u"bacd"_s;
        QTest::newRow("past the end clamps") << 1 << 10 << u"acdb"_s;
        QTest::newRow("past the start clamps") << 2 << -7 << u"cabd"_s;
        QTest::newRow("the last note by one more does nothing") << 3 << 1 << u"abcd"_s;
    }
    void reorder()
    {
        QFETCH(int, moved);
        QFETCH(int, offset);
        QFETCH(QString, expected);
        QList<Note> made;
        for (const QString& body : {u"d"_s, u"c"_s, u"b"_s, u"a"_s})
            made.prepend(notes->create(body));
        const Note archivedNote = notes->create(u"z"_s);
        notes->setArchived(archivedNote.id, true);

        FaultInjectingVfs::resetWriteCount();
        notes->reorder(made.at(moved).id, offset);
        notes->reorder(archivedNote.id, 1);
        QString order;
        for (const Note& note : notes->active())
            order += note.body;
        QCOMPARE(order, expected);
        if (expected == u"abcd"_s) {
            QCOMPARE(FaultInjectingVfs::writeCount(), 0);
            return;
        }
        QList<Note> stored = lib->stored();
        stored.removeIf([](const Note& note) { return note.archived; });
        for (qsizetype i = 0; i < stored.size(); ++i) {
            QCOMPARE(stored.at(i).body, expected.at(i));
            QCOMPARE(stored.at(i).order, static_cast<double>(i));
        }
    }

    void ingestPutsImportsFirst()
    {
        Note one(u"SAME"_s, u"One"_s, u"1"_s, 2, Date{10}, Date{20}, false, true,
                 NoteTextDirection::LeftToRight, 5);
        Note two = one;
        two.body = u"2"_s;
        two.order = 1;
        Note badColour = one;
        badColour.id = u"BAD"_s;
        badColour.color = 9;
        badColour.order = 3;

        QCOMPARE(notes->ingest({one, two, badColour}), 2);
        QCOMPARE(lib->reports.size(), 1);
        const QList<Note> stored = lib->stored();
        QCOMPARE(stored.size(), 2);
        // Starts at minus the number of incoming notes; the refused one keeps its slot.
        QCOMPARE(stored.at(0).body, u"2"_s);
        QCOMPARE(stored.at(0).order, -3.0);
        QCOMPARE(stored.at(0).id, u"SAME"_s);
        // A second note with a taken id gets a new one and keeps the rest.
        Note renamed = one;
        renamed.id = stored.at(1).id;
        renamed.order = -1.0;
        QVERIFY(renamed.id != u"SAME"_s);
        QCOMPARE(stored.at(1), renamed);

        QCOMPARE(notes->ingest({one}), 1);
        QCOMPARE(notes->active().first().order, -4.0);
    }

    void absorbTakesRecordsAsTheyCome()
    {
        const Note note = notes->create(u"mine"_s);
        QSignalSpy changes(notes, &NoteStore::notesChanged);

        FaultInjectingVfs::resetWriteCount();
        notes->absorb(*notes->note(note.id));
        QCOMPARE(FaultInjectingVfs::writeCount(), 0);
        QCOMPARE(changes.size(), 0);

        Note theirs = note;
        theirs.body = u"theirs"_s;
        theirs.modified = Date{42};
        notes->absorb(theirs);
        QCOMPARE(lib->stored(), QList<Note>{theirs});
        QCOMPARE(changes.size(), 1);
    }

    void arrivalDuringTheUndoWindowSupersedesTheDeletedCopy()
    {
        const QString kept = lib->image();
        const QString dropped = lib->image();
        const Note note = notes->create(token(kept) + token(dropped));
        notes->deleteNote(note.id);

        Note arrived = note;
        arrived.body = u"edited elsewhere "_s + token(kept);
        arrived.modified = note.modified.addingSeconds(30);
        notes->absorb(arrived);
        QVERIFY(!notes->pendingUndo());

        notes->undoDelete();
        QCOMPARE(notes->notes(), QList<Note>{arrived});
        QCOMPARE(lib->stored(), QList<Note>{arrived});
        QVERIFY(lib->imageExists(kept));
        QVERIFY2(!lib->imageExists(dropped), "the deleted copy's own pictures go with it");
    }

    void failedWritesStayUnsavedUntilTheDiskRecovers()
    {
        const Note note = notes->create(u"safe"_s);
        QSignalSpy errors(notes, &NoteStore::lastErrorChanged);

        FaultInjectingVfs::setWriteFault(Fault::IoError);
        notes->updateBody(note.id, u"typed while failing"_s);
        lib->clock.advance(0.3);
        QVERIFY(notes->unsavedIDs().contains(note.id));
        QCOMPARE(lib->reports.size(), 1);
        QVERIFY(notes->lastError());
        notes->updateBody(note.id, u"typed while failing, more"_s);
        lib->clock.advance(0.3);
        notes->togglePin(note.id);
        QVERIFY(!notes->flushAll());
        QVERIFY(!notes->flush(note.id));
        QCOMPARE(lib->reports.size(), 1); // one alert for one failure, however often
        QCOMPARE(notes->note(note.id)->body, u"typed while failing, more"_s);

        FaultInjectingVfs::setWriteFault(Fault::None);
        QCOMPARE(lib->storedNote(note.id)->body, u"safe"_s);
        QVERIFY(notes->flushAll());
        QVERIFY(notes->unsavedIDs().isEmpty());
        QVERIFY(!notes->lastError());
        QCOMPARE(errors.size(), 2); // set once, cleared once
        QCOMPARE(lib->storedNote(note.id)->body, u"typed while failing, more"_s);
        QVERIFY(lib->storedNote(note.id)->pinned);

        // A failed delete keeps the note; a full disk is another message, another alert.
        FaultInjectingVfs::setWriteFault(Fault::IoError);
        notes->deleteNote(note.id);
        QVERIFY(notes->note(note.id));
        QVERIFY(!notes->pendingUndo());
        QCOMPARE(lib->reports.size(), 2);
        FaultInjectingVfs::setWriteFault(Fault::DiskFull);
        notes->cycleColor(note.id);
        QCOMPARE(lib->reports.size(), 3);
    }

    // A save of another note, debounced or at once, does not clear the failed one's error.
    void oneGoodSaveKeepsTheErrorOfAnotherUnsavedNote_data()
    {
        QTest::addColumn<bool>("immediate");
        QTest::newRow("the other note's text saved after its pause") << false;
        QTest::newRow("the other note pinned, saved at once") << true;
    }
    void oneGoodSaveKeepsTheErrorOfAnotherUnsavedNote()
    {
        QFETCH(bool, immediate);
        const Note failing = notes->create(u"failing"_s);
        const Note other = notes->create(u"other"_s);

        FaultInjectingVfs::setWriteFault(Fault::IoError);
        notes->updateBody(failing.id, u"typed while failing"_s);
        lib->clock.advance(0.3);
        QVERIFY(notes->lastError());
        FaultInjectingVfs::setWriteFault(Fault::None);

        if (immediate) {
            notes->togglePin(other.id);
        } else {
            notes->updateBody(other.id, u"other, edited"_s);
            lib->clock.advance(0.3);
        }
        QCOMPARE(notes->unsavedIDs(), QSet<QString>{failing.id});
        QVERIFY2(notes->lastError(), "the failed note is still unsaved");
        QVERIFY(notes->flush(failing.id));
        QVERIFY(!notes->lastError());
        QCOMPARE(lib->storedNote(failing.id)->body, u"typed while failing"_s);
    }

    void unreadableLibraryIsReadOnly_data()
    {
        QTest::addColumn<QString>("damage");
        QTest::newRow("a file that is no database") << u"garbage"_s;
        QTest::newRow("rows but no key file") << u"noKey"_s;
    }
    void unreadableLibraryIsReadOnly()
    {
        QFETCH(QString, damage);
        notes->create(u"precious"_s);
        lib->notes.reset();
        lib->store.reset();
        const QString orphan = lib->image();
        if (damage == u"garbage"_s) {
            QFile::remove(lib->paths.db() + u"-wal"_s);
            QFile::remove(lib->paths.db() + u"-shm"_s);
            QVERIFY(TestFiles::write(lib->paths.db(), QByteArray(8192, 'x')));
        } else {
            QFile::remove(lib->paths.key());
        }
        const QByteArray before = TestFiles::read(lib->paths.db());

        notes = &lib->open(true);
        QCOMPARE(lib->reports.size(), 1);
        QVERIFY(!notes->isWritable());
        QVERIFY(notes->notes().isEmpty());
        QVERIFY2(lib->imageExists(orphan), "no image goes on the word of an unread library");

        const Note made = notes->create(u"new"_s);
        QVERIFY(notes->notes().isEmpty());
        QCOMPARE(lib->reports.size(), 2);
        QCOMPARE(lib->reports.last(),
                 PersistenceError(PersistenceError::Kind::ReadOnly).description());
        notes->create(u"another"_s);
        QCOMPARE(lib->reports.size(), 2);
        QCOMPARE(notes->ingest({made}), 0);
        notes->absorb(made);
        notes->updateBody(made.id, u"x"_s);
        notes->undoDelete();
        QVERIFY(notes->notes().isEmpty());
        QVERIFY(notes->flushAll());
        lib->clock.advance(30);
        QCOMPARE(lib->reports.size(), 2);
        lib->notes.reset();
        lib->store.reset();
        QCOMPARE(TestFiles::read(lib->paths.db()), before);
    }

    void alertSaysWhatToDo()
    {
        for (const auto& [error, adviceKey] :
             {std::pair{PersistenceError::database(u"disk I/O error"_s), u"storage.error_help"_s},
              std::pair{PersistenceError(PersistenceError::Kind::ReadOnly),
                        u"storage.read_only_help"_s}}) {
            const auto box = StorageErrorDialog::build(error.description(), error.advice());
            QCOMPARE(box->icon(), QMessageBox::Warning);
            QCOMPARE(box->text(), L10n::text(u"storage.error_title"_s));
            QCOMPARE(box->informativeText(),
                     error.description() + u"\n\n"_s + L10n::text(adviceKey));
        }
    }
};

QTEST_MAIN(TestNoteStore)
#include "tst_notestore.moc"
