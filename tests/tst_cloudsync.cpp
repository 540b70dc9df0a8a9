#include "exchange/NoteDocument.h"
#include "platform/Log.h"
#include "support/FaultInjectingVfs.h"
#include "support/ManualScheduler.h"
#include "support/NoteBuilder.h"
#include "support/SyncMachine.h"
#include "support/TestFiles.h"
#include "sync/DocumentNames.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <fcntl.h>
#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;
using Answer = MassDeletePrompt::Answer;
using SyncPlan::Action;

// One machine's engine against a real folder and a real store in virtual time.
class TestCloudSync : public QObject {
    Q_OBJECT

    ManualScheduler clock{Date{1'773'480'413.0}};
    std::optional<QTemporaryDir> root;
    std::unique_ptr<SyncMachine> m;
    QStringList log;
    Log::Capture capture{[this](const QString& l) { log << l; }};

    // A document written by someone else, dated now.
    void drop(const QString& name, const QByteArray& bytes)
    {
        QVERIFY(TestFiles::write(m->file(name), bytes));
        m->folder.stamp(m->file(name));
    }
    void dropNote(const QString& name, const Note& note)
    {
        drop(name, NoteDocument::render(note).toUtf8());
    }
    QString doc(const QString& n) const { return QString::fromUtf8(TestFiles::read(m->file(n))); }
    QString idIn(const QString& name) const { return NoteDocument::parse(doc(name), {}).note.id; }
    // What the last pass carried out, joined by "; ".
    QString plan() const
    {
        QStringList actions;
        for (const Action& a : m->engine->lastPlan())
            actions << a.toString();
        return actions.join(u"; "_s);
    }
    // Every text of the conflict copies, each ending in a line break.
    QString conflictCopies() const
    {
        QString all;
        for (const QString& name : m->names(u"Conflicts"_s))
            all += doc(u"Conflicts/"_s + name) + u'\n';
        return all;
    }
    // The note's body and every conflict copy.
    QString textsOf(const QString& id) const
    {
        const auto note = m->notes->note(id);
        return (note ? note->body : u"(no note)"_s) + u'\n' + conflictCopies();
    }
    QStringList trashed() const
    {
        return QDir(m->trash.folder()).entryList({u"*.md"_s}, QDir::Files, QDir::Name);
    }
    QString trashText() const
    {
        return QString::fromUtf8(TestFiles::read(m->trash.folder() + u'/' + trashed().first()));
    }
    void advanceTo(double seconds) { clock.advance(seconds - clock.now().seconds); }
    Note synced(const QString& body, const QString& title)
    {
        const Note a = m->notes->create(body, title);
        [&] { QVERIFY(m->engine->syncNow()); }();
        return a;
    }
    QStringList syncedNotes(int count)
    {
        QStringList ids;
        for (int i = 0; i < count; ++i)
            ids << m->notes->create(u"text %1"_s.arg(i), u"Note %1"_s.arg(i)).id;
        [&] { QVERIFY(m->engine->syncNow()); }();
        return ids;
    }
    // The note as another machine edited it just now.
    Note editedThere(Note n, const QString& title, const QString& body)
    {
        n.title = title;
        n.body = body;
        n.modified = Date{std::floor(clock.now().seconds)};
        return n;
    }
    bool passAfter(double seconds)
    {
        clock.advance(seconds);
        return m->engine->syncNow();
    }
    // A pass now that carries out these actions, as plan() prints them.
    void passDoes(const QString& actions)
    {
        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), actions);
    }
    void quietPass()
    {
        clock.advance(5);
        passDoes({});
    }
    void quietAfterRestart()
    {
        m->restart();
        passDoes({});
    }
    // The wait for a rename's removal runs out, and passes after it settle the names.
    void settleNames()
    {
        QVERIFY(passAfter(CloudSync::renameWait + 1));
        for (int pass = 0; pass < 3; ++pass)
            QVERIFY(passAfter(5));
    }
    // A note created a tenth into a whole second and synced at two tenths; returns that second.
    double syncEarlyInASecond(Note& a)
    {
        const double second = std::floor(clock.now().seconds) + 1;
        advanceTo(second + 0.1);
        a = m->notes->create(u"first"_s, u"Quick"_s);
        advanceTo(second + 0.2);
        [&] { QVERIFY(m->engine->syncNow()); }();
        return second;
    }

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init()
    {
        root.emplace();
        m = std::make_unique<SyncMachine>(root->path(), clock);
        log.clear();
    }

    void passesThatMustNotRun()
    {
        m->enabled = false;
        m->notes->create(u"text"_s, u"A"_s);
        QVERIFY(!m->engine->syncNow());
        QVERIFY(!QFileInfo::exists(m->folder.path()));
        SyncMachine away(root->filePath(u"missing"_s), clock);
        QVERIFY(!away.engine->syncNow());
        QVERIFY(log.last().startsWith(u"Pondrift cloud: iCloud Drive is unavailable \u2014 "_s));
        QCOMPARE(away.engine->lastSync(), std::nullopt);
    }

    // A document gone deletes its note, whose text waits in the local trash; a trash that
    // cannot be written keeps the note until it can.
    void aNoteDeletedBySyncLeavesItsTextInTheTrash_data()
    {
        QTest::addColumn<bool>("trashWritable");
        QTest::newRow("kept in the trash, then deleted") << true;
        QTest::newRow("a trash that cannot be written keeps the note") << false;
    }
    void aNoteDeletedBySyncLeavesItsTextInTheTrash()
    {
        QFETCH(bool, trashWritable);
        const Note a = synced(u"call Ana at 5"_s, u"Plans"_s);
        QVERIFY(QFile::remove(m->file(u"Plans.md"_s)));
        if (!trashWritable)
            m->folder.files.failPathsContaining(u"(deleted "_s, ENOSPC);
        QVERIFY(passAfter(1));
        QCOMPARE(m->notes->note(a.id).has_value(), !trashWritable);
        QCOMPARE(trashed().size(), trashWritable ? 1 : 0);
        m->folder.files.heal();
        QVERIFY(passAfter(1));
        QVERIFY(!m->notes->note(a.id));
        QCOMPARE(trashed().size(), 1);
        QCOMPARE(NoteDocument::parse(trashText(), {}).note.body, u"call Ana at 5"_s);
    }

    // A note deleted here whose document another machine edited, in place or under a new
    // name: the documents go with the note, and the new text goes to the trash.
    void aDeletionHereKeepsTextEditedElsewhere_data()
    {
        QTest::addColumn<bool>("renamed");
        QTest::newRow("edited in place") << false;
        QTest::newRow("renamed and edited: the new name is not adopted") << true;
    }
    void aDeletionHereKeepsTextEditedElsewhere()
    {
        QFETCH(bool, renamed);
        const Note before = synced(u"call Ana at 5"_s, u"Plans"_s);
        clock.advance(2);
        if (renamed) {
            dropNote(u"Ideas.md"_s, editedThere(before, u"Ideas"_s, u"call Ana at 6"_s));
            m->notes->deleteNote(before.id);
            QVERIFY(m->engine->syncNow());
            QVERIFY2(!plan().contains(u"adopt"_s), qPrintable(plan()));
            QCOMPARE(m->notes->notes().size(), 0);
        } else {
            m->notes->deleteNote(before.id);
            drop(u"Plans.md"_s, doc(u"Plans.md"_s).replace(u"at 5"_s, u"at 6"_s).toUtf8());
            QVERIFY(passAfter(CloudSync::undoHold + 1));
        }
        QCOMPARE(m->names(), QStringList{});
        QCOMPARE(trashed().size(), 1);
        QVERIFY(trashText().contains(u"call Ana at 6"_s));
        quietPass();
    }

    // Two notes named alike but for letter case on a case-sensitive folder: when one is
    // renamed away, its old name is still the other's and no later push may write over it.
    void nameFreedByARenameIsStillTakenInOtherCase()
    {
        const Note renamed = synced(u"call Ana at 5"_s, u"plans"_s);
        Note other = NoteBuilder().body(u"from the other machine"_s).title(u"Plans"_s).build();
        dropNote(u"Plans.md"_s, other);
        QVERIFY(passAfter(1));
        QCOMPARE(plan(), u"pull(Plans.md)"_s);
        clock.advance(2);
        m->notes->updateTitle(renamed.id, u"Ideas"_s);
        // Archived, the new note is pushed after the rename.
        const Note later = m->notes->create(u"a new plan"_s, u"Plans"_s);
        m->notes->setArchived(later.id, true);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->notes->note(other.id)->body, u"from the other machine"_s);
        QCOMPARE(m->names(), (QStringList{u"Ideas.md"_s, u"Plans-2.md"_s, u"Plans.md"_s}));
        quietPass();
        QCOMPARE(idIn(u"Plans.md"_s), other.id);
        QCOMPARE(m->notes->notes().size(), 3);
    }

    // A note renamed elsewhere while its old name was edited in place, or only touched, here,
    // both names coming back: after the wait, every machine keeps the name that sorts first
    // and the other goes, its differing text kept as a copy.
    void renameAgainstAnEditInPlaceEndsInOneName_data()
    {
        QTest::addColumn<QString>("renamed");
        QTest::addColumn<bool>("edited");
        QTest::newRow("the other name sorts first: the note moves to it") << u"Ideas.md"_s << true;
        QTest::newRow("the known name sorts first: the other name goes") << u"Renamed.md"_s << true;
        QTest::newRow("one text under two names, the other sorts first") << u"Ideas.md"_s << false;
    }
    void renameAgainstAnEditInPlaceEndsInOneName()
    {
        QFETCH(QString, renamed);
        QFETCH(bool, edited);
        const Note before = synced(u"call Ana at 5"_s, u"Plans"_s);
        clock.advance(2);
        if (edited) {
            drop(u"Plans.md"_s, (doc(u"Plans.md"_s) + u"\nbring cake"_s).toUtf8());
            passDoes(u"pull(Plans.md)"_s);
        }
        clock.advance(2);
        const QString title = QFileInfo(renamed).completeBaseName();
        dropNote(renamed, editedThere(before, title, edited ? u"call Ana at 6"_s : before.body));
        passDoes({});
        QCOMPARE(m->names().size(), 2);

        settleNames();
        const QString keeper = SyncPlan::textLess(renamed, u"Plans.md"_s) ? renamed : u"Plans.md"_s;
        QCOMPARE(m->names(), QStringList{keeper});
        QCOMPARE(m->notes->notes().size(), 1);
        QCOMPARE(idIn(keeper), before.id);
        QCOMPARE(m->notes->note(before.id)->title, QFileInfo(keeper).completeBaseName());
        const QString texts = textsOf(before.id);
        for (const QString& text : {u"bring cake"_s, u"call Ana at 6"_s})
            QVERIFY2(texts.contains(text) == edited, qPrintable(texts));
        if (!edited)
            QCOMPARE(m->names(u"Conflicts"_s), QStringList{});
        quietPass();
        quietAfterRestart();
    }

    // While two names wait to be settled, one gets a new colour, here on the name the note
    // leaves or elsewhere on the name that goes: the colour stays with the note.
    void colourMadeWhileTwoNamesWaitOutlivesTheSettling_data()
    {
        QTest::addColumn<QString>("renamed");
        QTest::addColumn<bool>("here");
        QTest::newRow("made here, and the note moves to the other name") << u"Ideas.md"_s << true;
        QTest::newRow("made on the other name, which goes") << u"Renamed.md"_s << false;
    }
    void colourMadeWhileTwoNamesWaitOutlivesTheSettling()
    {
        QFETCH(QString, renamed);
        QFETCH(bool, here);
        const Note before = synced(u"call Ana at 5"_s, u"Plans"_s);
        clock.advance(2);
        const Note there =
            editedThere(before, QFileInfo(renamed).completeBaseName(), u"call Ana at 6"_s);
        Note other = *m->notes->note(before.id);
        other.body = u"call Ana at 5\nbring cake"_s;
        dropNote(here ? renamed : u"Plans.md"_s, here ? there : other);
        QVERIFY(m->engine->syncNow());
        if (!here) {
            dropNote(renamed, there);
            QVERIFY(passAfter(1));
        }
        const qint64 colour = (before.color + 3) % 5;
        QVERIFY(passAfter(20));
        if (here) {
            m->notes->setColor(before.id, colour);
        } else {
            Note coloured = NoteDocument::parse(doc(renamed), {}).note;
            coloured.color = colour;
            dropNote(renamed, coloured);
        }
        QVERIFY(passAfter(5));
        settleNames();
        QCOMPARE(m->names().size(), 1);
        QCOMPARE(m->notes->notes().size(), 1);
        QCOMPARE(m->notes->note(before.id)->color, colour);
        QCOMPARE(NoteDocument::parse(doc(m->names().front()), {}).note.color, colour);
        quietPass();
    }

    // The note moved elsewhere from its known name to a new one, while an older copy under a
    // third name is still around: a second name of the note, settled, not a note of its own.
    void secondNameOfANoteRenamedElsewhereIsNoNoteOfItsOwn()
    {
        const Note before = synced(u"call Ana at 5"_s, u"Plans"_s);
        clock.advance(2);
        Note stale = before;
        stale.body = u"call Ana at 5, an old edit"_s;
        dropNote(u"By hand.md"_s, stale);
        QVERIFY(QFile::remove(m->file(u"Plans.md"_s)));
        dropNote(u"Ideas.md"_s, editedThere(before, u"Ideas"_s, u"call Ana at 6"_s));
        QVERIFY(m->engine->syncNow());
        QVERIFY2(!plan().contains(u"adopt"_s), qPrintable(plan()));
        QCOMPARE(m->notes->notes().size(), 1);
        settleNames();
        QCOMPARE(m->names().size(), 1);
        QCOMPARE(m->notes->notes().size(), 1);
        QCOMPARE(idIn(m->names().front()), before.id);
        const QString texts = textsOf(before.id);
        QVERIFY2(texts.contains(u"an old edit"_s), qPrintable(texts));
        QVERIFY2(texts.contains(u"call Ana at 6"_s), qPrintable(texts));
        quietPass();
        quietAfterRestart();
    }

    // The note's document renamed by hand, another note under its old name, and an older
    // version back under a third name: settling must not remove the other note's document.
    void settlingTwoNamesNeverRemovesAnotherNotesDocument()
    {
        const Note before = synced(u"call Ana at 5"_s, u"Plans"_s);
        QVERIFY(QFile::rename(m->file(u"Plans.md"_s), m->file(u"Ideas.md"_s)));
        clock.advance(2);
        const Note other =
            NoteBuilder().body(u"from the other machine"_s).title(u"Plans"_s).build();
        dropNote(u"Plans.md"_s, other);
        Note older = before;
        older.body = u"call Ana at 4"_s;
        dropNote(u"Another.md"_s, older);
        QFile another(m->file(u"Another.md"_s));
        QVERIFY(another.open(QIODevice::ReadWrite));
        QVERIFY(another.setFileTime(QFileInfo(m->file(u"Ideas.md"_s)).lastModified().addSecs(-60),
                                    QFileDevice::FileModificationTime));
        another.close();
        QVERIFY(m->engine->syncNow());
        settleNames();
        settleNames();
        QVERIFY(m->notes->note(other.id));
        QCOMPARE(idIn(u"Plans.md"_s), other.id);
        QCOMPARE(m->notes->notes().size(), 2);
        QCOMPARE(m->names().size(), 2);
        const QString texts = textsOf(before.id);
        QVERIFY2(texts.contains(u"call Ana at 5"_s), qPrintable(texts));
        QVERIFY2(texts.contains(u"call Ana at 4"_s), qPrintable(texts));
        quietPass();
    }

    // The client kept this machine's version as its own copy, which the other machine adopted
    // as a note: where the note here keeps that text the copy goes, else it stays a note.
    void adoptedClientCopyOfTheTextThisNoteKeepsIsNoSecondNote_data()
    {
        QTest::addColumn<bool>("hereNewer");
        QTest::newRow("a newer title here: the note keeps its text, the copy goes") << true;
        QTest::newRow("the other text is newer: the copy stays a note") << false;
    }
    void adoptedClientCopyOfTheTextThisNoteKeepsIsNoSecondNote()
    {
        QFETCH(bool, hereNewer);
        const Note a = synced(u"call Ana at 5"_s, u"Plans"_s);
        clock.advance(2);
        m->notes->updateBody(a.id, u"call Ana at 5\nbring cake"_s);
        QVERIFY(m->engine->syncNow());
        clock.advance(2);
        dropNote(u"Plans.md"_s,
                 editedThere(*m->notes->note(a.id), u"Plans"_s, u"call Ana at 5\nbring tea"_s));
        const QString copy = u"Plans.sync-conflict-20260314-092925-BRAVO02.md"_s;
        dropNote(copy, NoteBuilder().body(u"call Ana at 5\nbring cake"_s).build());
        clock.advance(2);
        if (hereNewer)
            m->notes->updateTitle(a.id, u"Ideas"_s);
        else
            m->notes->togglePin(a.id);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->notes->note(a.id)->body,
                 hereNewer ? u"call Ana at 5\nbring cake"_s : u"call Ana at 5\nbring tea"_s);
        QCOMPARE(m->notes->notes().size(), hereNewer ? 1 : 2);
        QCOMPARE(m->names().contains(copy), !hereNewer);
        QCOMPARE(m->names().size(), hereNewer ? 1 : 2);
        QCOMPARE(conflictCopies().contains(u"bring tea"_s), hereNewer);
        quietPass();
    }

    // A file renamed by hand on one of two machines before its pass is adopted under each
    // name: one note under one id, not two with one text.
    void fileAdoptedUnderTwoNamesIsOneNote()
    {
        QTemporaryDir otherRoot;
        SyncMachine other(otherRoot.path(), clock);
        const QByteArray text = "From elsewhere\nbring cake";
        QVERIFY(other.engine->syncNow());
        QVERIFY(TestFiles::write(other.file(u"Renamed.md"_s), text));
        other.folder.stamp(other.file(u"Renamed.md"_s));
        QVERIFY(other.engine->syncNow());
        QVERIFY(m->engine->syncNow());
        drop(u"Dropped.md"_s, text);
        QVERIFY(m->engine->syncNow());
        drop(u"Renamed.md"_s, TestFiles::read(other.file(u"Renamed.md"_s)));
        QVERIFY(passAfter(1));
        QCOMPARE(m->notes->notes().size(), 1);
        QCOMPARE(m->notes->notes().front().id, other.notes->notes().front().id);
        settleNames();
        QCOMPARE(m->names(), QStringList{u"Dropped.md"_s});
        QCOMPARE(m->notes->notes().size(), 1);
        quietPass();
    }

    // The client puts the other machine's version in place after the scan, before the write
    // or before a rename's removal: neither goes over it, and the next pass keeps both texts.
    void aWriteNeverGoesOverAFileReplacedSinceTheScan_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<bool>("beforeRemoval");
        QTest::newRow("an edit in place") << u"Plans"_s << false;
        QTest::newRow("a new title, replaced before the write") << u"Ideas"_s << false;
        QTest::newRow("a new title, replaced before the old name goes") << u"Ideas"_s << true;
    }
    void aWriteNeverGoesOverAFileReplacedSinceTheScan()
    {
        QFETCH(QString, title);
        QFETCH(bool, beforeRemoval);
        const Note a = synced(u"original"_s, u"Plans"_s);
        clock.advance(5);
        m->notes->updateBody(a.id, u"ours"_s);
        m->notes->updateTitle(a.id, title);
        const QString theirs = doc(u"Plans.md"_s).replace(u"original"_s, u"theirs"_s);
        bool replaced = false;
        const auto replace = [&](const QString& name) {
            if (!replaced && (replaced = name == u"Plans.md"_s))
                drop(name, theirs.toUtf8());
        };
        if (beforeRemoval)
            m->folder.beforeTouch = [&](const QString& name) {
                if (QFile::exists(m->file(u"Ideas.md"_s))) // not the read before the write
                    replace(name);
            };
        else
            m->folder.onNextRead = replace;
        m->engine->syncNow();
        m->folder.beforeTouch = nullptr;
        QVERIFY(replaced);
        QCOMPARE(doc(u"Plans.md"_s), theirs);
        QVERIFY(passAfter(5));
        QString all = conflictCopies();
        for (const Note& note : m->notes->notes())
            all += note.body + u'\n';
        for (const QString& name : m->names())
            all += doc(name) + u'\n';
        QVERIFY2(all.contains(u"ours"_s) && all.contains(u"theirs"_s), qPrintable(all));
    }

    // On a volume that ignores case, removing the old name after writing the new one would
    // remove the only document: a title changed only in case keeps its file.
    void titleChangedOnlyInCaseKeepsItsDocument()
    {
        const Note a = synced(u"text"_s, u"plans"_s);
        for (const QString& title : {u"Plans"_s, u"plans"_s}) {
            clock.advance(1);
            m->notes->updateTitle(a.id, title);
            passDoes(u"push(%1, plans.md)"_s.arg(a.id));
            QCOMPARE(m->names(), QStringList{u"plans.md"_s});
            QCOMPARE(NoteDocument::parse(doc(u"plans.md"_s), {}).note.title, title);
            QCOMPARE(m->engine->index().entry(a.id)->fileName, u"plans.md"_s);
        }
        quietPass();
    }

    // A pulled note is as new as the later of its declared date and its file's date, but
    // never newer than now; note, database and index agree on it.
    void pulledNoteTakesTheLaterOfItsDeclaredAndFileDates_data()
    {
        QTest::addColumn<double>("declaredAhead"); // of the file's date, in whole seconds
        QTest::newRow("a hand edit: the file's date is later") << -100.0;
        QTest::newRow("a clock ahead elsewhere: cut to now") << 60.0;
    }
    void pulledNoteTakesTheLaterOfItsDeclaredAndFileDates()
    {
        QFETCH(double, declaredAhead);
        const QString id = synced(u"original"_s, u"Plans"_s).id;
        const QString name = u"Plans.md"_s;
        clock.advance(2.25);
        const double declared = std::floor(clock.now().seconds) + declaredAhead;
        dropNote(name, aNote().id(id).title(u"Plans"_s).body(u"edited there"_s).modified(declared));
        const FileStamp written = *m->folder.fileStamp(name);
        passDoes(u"pull(%1)"_s.arg(name));
        const Date expected = declaredAhead > 0 ? clock.now() : written.modified;
        QCOMPARE(m->notes->note(id)->body, u"edited there"_s);
        QCOMPARE(m->notes->note(id)->modified, expected);
        QCOMPARE(m->engine->index().entry(id)->syncedModified, expected);
        QCOMPARE(m->engine->index().entry(id)->file, written);
        quietPass();
        m->restart();
        QCOMPARE(m->notes->note(id)->modified, expected);
    }

    // A change in the very second of the last sync is carried, whether a pass or a restart
    // comes first; a restart afterwards pushes, pulls and reads nothing.
    void changeInTheSecondOfTheLastSyncIsCarried_data()
    {
        QTest::addColumn<bool>("here"); // edited on this machine, else in the folder
        QTest::addColumn<bool>("restartFirst");
        QTest::newRow("an edit here is pushed") << true << false;
        QTest::newRow("an edit in the folder is pulled after a restart") << false << true;
    }
    void changeInTheSecondOfTheLastSyncIsCarried()
    {
        QFETCH(bool, here);
        QFETCH(bool, restartFirst);
        Note a;
        const double second = syncEarlyInASecond(a);
        advanceTo(second + 0.6);
        if (here)
            m->notes->updateBody(a.id, u"second"_s);
        else
            dropNote(u"Quick.md"_s,
                     aNote().id(a.id).title(u"Quick"_s).body(u"second"_s).modified(second));
        advanceTo(second + 0.8);
        if (restartFirst) {
            m->restart();
            clock.advance(1.5);
        }
        passDoes(here ? u"push(%1, Quick.md)"_s.arg(a.id) : u"pull(Quick.md)"_s);
        QCOMPARE(m->notes->note(a.id)->body, u"second"_s);
        QVERIFY(doc(u"Quick.md"_s).endsWith(u"second"_s));
        const auto written = TestFiles::snapshot(m->folder.path());
        clock.advance(1.5);
        m->restart();
        const int reads = m->folder.reads;
        passDoes({});
        QCOMPARE(m->folder.reads, reads);
        QCOMPARE(TestFiles::snapshot(m->folder.path()), written);
    }

    // A client may put another machine's version in place under the very date recorded here:
    // it gives a file the sender's date, and a folder that keeps dates in whole seconds or
    // steps of two makes two dates one. The time the file system itself last changed the file
    // still shows the replacement, even one of the same length.
    void replacementUnderTheRecordedDateIsPulled()
    {
        const QString body = u"EDITED"_s;
        const Note a = synced(u"edited"_s, u"Plans"_s);
        const QString path = m->file(u"Plans.md"_s);
        const FileStamp recorded = m->engine->index().entry(a.id)->file;
        const qsizetype length = TestFiles::read(path).size();
        clock.advance(3);
        dropNote(u"Plans.md"_s, editedThere(*m->notes->note(a.id), u"Plans"_s, body));
        const double s = recorded.modified.seconds;
        const timespec at{static_cast<time_t>(std::floor(s)),
                          static_cast<long>(std::round((s - std::floor(s)) * 1e9))};
        const timespec times[2]{at, at};
        QCOMPARE(::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0), 0);
        QCOMPARE(m->folder.fileStamp(u"Plans.md"_s)->modified, recorded.modified);
        QCOMPARE(TestFiles::read(path).size(), length);

        passDoes(u"pull(Plans.md)"_s);
        QCOMPARE(m->notes->note(a.id)->body, body);
        quietPass();
    }

    // Edits in a burst give one pass a second after the last; the pass's own changes give
    // none, a call from inside the pass is turned away, and nothing runs once stopped.
    void localChangesGiveOneLaterPass()
    {
        m->engine->start();
        const Note a = m->notes->create(u"text"_s, u"A"_s);
        drop(u"dropped.md"_s, "hello from outside");
        QSignalSpy passes(m->engine.get(), &CloudSync::lastSyncChanged);
        for (int i = 0; i < 5; ++i) {
            clock.advance(0.3);
            m->notes->updateBody(a.id, u"edit %1"_s.arg(i));
        }
        QList<bool> nested;
        QObject context;
        m->notes->observeNotes(&context, [&] { nested << m->engine->syncNow(); });
        clock.advance(0.99);
        QCOMPARE(passes.count(), 0);
        clock.advance(0.02);
        QCOMPARE(passes.count(), 1);
        QCOMPARE(m->notes->notes().size(), 2);
        QCOMPARE(nested, QList<bool>{false});
        clock.advance(1.5);
        QCOMPARE(passes.count(), 1);
        m->engine->stop();
        clock.advance(20);
        QCOMPARE(passes.count(), 1);
    }

    // A conflict leaves the loser's text in a copy, once.
    void conflictKeepsTheLosersCopy()
    {
        const Note a = synced(u"original"_s, u"Plans"_s);
        clock.advance(1);
        m->notes->updateBody(a.id, u"edited here"_s);
        clock.advance(1);
        dropNote(u"Plans.md"_s, editedThere(a, u"Plans"_s, u"edited there"_s));
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->notes->note(a.id)->body, u"edited there"_s);
        QCOMPARE(conflictCopies(), u"# Plans\n\nedited here\n"_s);
        QVERIFY(log.contains(
            u"Pondrift cloud: conflict on Plans.md \u2014 kept a copy in Conflicts"_s));
        quietPass();
    }

    // Both sides changed the header, the texts agree: each side's change survives on both.
    void conflictWithEqualTextsKeepsEachSidesHeaderChange_data()
    {
        QTest::addColumn<bool>("hereNewer");
        QTest::newRow("the other side newer: the pin and archive made here stay") << false;
        QTest::newRow("this side newer: the colour and title set there stay") << true;
    }
    void conflictWithEqualTextsKeepsEachSidesHeaderChange()
    {
        QFETCH(bool, hereNewer);
        const Note a = synced(u"call Ana at 5"_s, u"Plans"_s);
        Note there = *m->notes->note(a.id);
        there.color = (a.color + 2) % 5;
        const auto changeHere = [&] {
            clock.advance(2);
            m->notes->togglePin(a.id);
            m->notes->setArchived(a.id, true);
        };
        const auto changeThere = [&] {
            clock.advance(2);
            there = editedThere(there, u"Ideas"_s, there.body);
            dropNote(u"Plans.md"_s, there);
        };
        hereNewer ? changeThere() : changeHere();
        hereNewer ? changeHere() : changeThere();
        QVERIFY(m->engine->syncNow());
        const Note now = *m->notes->note(a.id);
        QVERIFY(now.pinned && now.archived);
        QCOMPARE(now.color, there.color);
        QCOMPARE(now.title, u"Ideas"_s);
        QCOMPARE(now.body, u"call Ana at 5"_s);
        QCOMPARE(m->names(), QStringList{u"Ideas.md"_s});
        const Note written = NoteDocument::parse(doc(u"Ideas.md"_s), {}).note;
        QVERIFY(written.pinned && written.archived);
        QCOMPARE(written.color, there.color);
        quietPass();
    }

    // A note deleted by sync whose document comes back while its undo lasts stays out until
    // the undo window has passed, so the undo still works and leaves one note.
    void noteDeletedBySyncStaysOutWhileItsUndoLasts()
    {
        const Note a = synced(u"text"_s, u"Twice"_s);
        const QByteArray written = TestFiles::read(m->file(u"Twice.md"_s));
        QVERIFY(QFile::remove(m->file(u"Twice.md"_s)));
        QVERIFY(passAfter(1));
        clock.advance(1);
        drop(u"Twice.md"_s, written);
        QVERIFY(m->engine->syncNow());
        QVERIFY(m->notes->pendingUndo());
        m->notes->undoDelete();
        for (int i = 0; i < 4; ++i)
            QVERIFY(passAfter(5));
        QCOMPARE(m->notes->notes().size(), 1);
        QCOMPARE(m->notes->notes().front().id, a.id);
        QCOMPARE(plan(), QString());
    }

    // A document that cannot be read leaves its note, its entry and every file as they were.
    void unreadableDocumentsKeepTheirNotes_data()
    {
        QTest::addColumn<bool>("placeholder");
        QTest::newRow("a document changed to bytes that are not UTF-8") << false;
        QTest::newRow("Nextcloud's virtual file") << true;
    }
    void unreadableDocumentsKeepTheirNotes()
    {
        QFETCH(bool, placeholder);
        const Note a = synced(u"text"_s, u"Keep"_s);
        clock.advance(1);
        if (placeholder)
            QVERIFY(QFile::rename(m->file(u"Keep.md"_s), m->file(u"Keep.md.nextcloud"_s)));
        else
            drop(u"Keep.md"_s, "caf\xe9 \xff\xfe");
        const auto before = TestFiles::snapshot(m->folder.path());
        for (int pass = 0; pass < 3; ++pass) {
            if (pass == 1)
                m->notes->updateBody(a.id, u"edited here"_s);
            QVERIFY(passAfter(5));
            QCOMPARE(m->notes->notes().size(), 1);
            QCOMPARE(m->engine->index().entry(a.id)->fileName, u"Keep.md"_s);
        }
        QCOMPARE(TestFiles::snapshot(m->folder.path()), before);
    }

    // A folder other tools filled before sync is on: every readable text in exactly one note,
    // nothing else touched, other tools' keys kept, and a second restart changes nothing.
    void aFolderOtherToolsFilledLosesAndTouchesNothing()
    {
        const QList<std::pair<QString, QByteArray>> readable = {
            {u"Shopping.md"_s, "---\ntitle: Shopping\ntags:\n  - home\n  - weekly\n"
                               "aliases: [groceries]\ndraft: true\n---\nMilk and bread\n"},
            {u"Windows.md"_s, "Line one from Windows\r\nLine two\r\n"},
            {u"Marked.md"_s, "\xEF\xBB\xBFText behind a byte order mark\n"},
            {u"Plan.md"_s, "Plan for the week\n"},
            {u"Plan.sync-conflict-20260101-120000-ABCDEFG.md"_s,
             "Plan for the week, changed on the phone\n"},
            {u"Plan (conflicted copy 2026-01-02 093000).md"_s,
             "Plan for the week, changed on the laptop\n"},
            {QString(240, u'l') + u".md"_s, "A note with a very long name\n"},
            {u"Big.md"_s, "Big start\n" + QByteArray(5 * 1024 * 1024, 'b') + "\n"},
            {u"Empty.md"_s, ""},
        };
        const QList<std::pair<QString, QByteArray>> untouchable = {
            {u"Cafe.md"_s, "caf\xe9 au lait\n"},
            {u"todo.txt"_s, "plain text of another program\n"},
        };
        for (const auto& [name, bytes] : readable + untouchable)
            drop(name, bytes);

        QVERIFY(passAfter(5));
        m->restart();
        QVERIFY(passAfter(5));
        const auto settled = TestFiles::snapshot(m->folder.path());
        m->restart();
        QVERIFY(passAfter(5));
        QCOMPARE(TestFiles::snapshot(m->folder.path()), settled);

        QStringList bodies;
        for (const Note& note : m->notes->notes())
            bodies << note.title + u'\n' + note.body;
        const QStringList texts{u"Milk and bread"_s,
                                u"Line one from Windows\nLine two"_s,
                                u"Text behind a byte order mark"_s,
                                u"Plan for the week, changed on the phone"_s,
                                u"Plan for the week, changed on the laptop"_s,
                                u"A note with a very long name"_s,
                                u"Big start"_s,
                                u"Empty\n"_s};
        for (const QString& text : texts)
            QVERIFY2(bodies.filter(text).size() == 1,
                     qPrintable(text + u" in:\n"_s + bodies.join(u"\n--\n"_s)));
        // The plan itself, once; the copies' texts begin with its own.
        QCOMPARE(
            std::count_if(bodies.cbegin(), bodies.cend(),
                          [](const QString& b) { return b.trimmed() == u"Plan for the week"_s; }),
            1);
        for (const auto& [name, bytes] : untouchable)
            QCOMPARE(TestFiles::read(m->file(name)), bytes);
        const QString shopping = doc(u"Shopping.md"_s);
        for (const QString& key :
             {u"tags:\n  - home\n  - weekly\n"_s, u"aliases: [groceries]\n"_s, u"draft: true\n"_s})
            QVERIFY2(shopping.contains(key), qPrintable(shopping));
    }

    // A full disk or an index that cannot be saved: once healed, nothing is missing.
    void diskFaultsLoseNothing_data()
    {
        QTest::addColumn<QString>("failing"); // a path fragment; empty for every write
        QTest::newRow("a full disk refuses the documents and the index") << QString();
        QTest::newRow("the index cannot be saved") << u"cloud-index.json"_s;
    }
    void diskFaultsLoseNothing()
    {
        QFETCH(QString, failing);
        const Note a = synced(u"first"_s, u"Target"_s);
        clock.advance(1);
        m->notes->updateBody(a.id, u"second"_s);
        drop(u"loose.md"_s, "- [ ] eggs");
        if (failing.isEmpty())
            m->folder.files.failAfter(0);
        else
            m->folder.files.failPathsContaining(failing);
        QVERIFY(m->engine->syncNow());

        m->folder.files.heal();
        QVERIFY(passAfter(5));
        QVERIFY(doc(u"Target.md"_s).endsWith(u"second"_s));
        m->notes->updateBody(a.id, u"third"_s);
        QVERIFY(m->engine->syncNow());
        m->restart();
        quietPass();
        QCOMPARE(m->notes->active().size(), 2);
        QCOMPARE(m->notes->active().front().body, u"☐ eggs"_s);
        // The adopted note's first push may name its document after it; one either way.
        QCOMPARE(m->names().size(), 2);
        for (const QString& name : m->names())
            QVERIFY(m->notes->note(idIn(name)));
    }

    // A store that cannot keep notes or a listing that fails would read as deletions: no pass
    // runs, nothing changes, and once the fault is gone every note and document is there.
    void blockedPassChangesNothing_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<bool>("indexed");
        QTest::newRow("a store without its key, over a folder the index knows") << u"key"_s << true;
        QTest::newRow("a store without its key, on a first sync") << u"key"_s << false;
        QTest::newRow("a listing that fails") << u"listing"_s << true;
    }
    void blockedPassChangesNothing()
    {
        QFETCH(QString, fault);
        QFETCH(bool, indexed);
        syncedNotes(2);
        const QString indexFile = m->data.filePath(u"cloud-index.json"_s);
        if (!indexed)
            QVERIFY(QFile::remove(indexFile));
        const QString keyFile = m->data.filePath(u"note.key"_s);
        const QByteArray key = TestFiles::read(keyFile);
        const bool keyless = fault == u"key"_s;
        if (keyless) {
            drop(u"loose.md"_s, "- [ ] eggs");
            QVERIFY(QFile::remove(keyFile));
            m->storageFailuresExpected = true;
            m->restart();
            QVERIFY(!m->notes->isWritable());
        } else {
            m->folder.files.failListings();
        }
        const auto folderBefore = TestFiles::snapshot(m->folder.path());
        const QByteArray indexBefore = TestFiles::read(indexFile);
        log.clear();
        for (int pass = 0; pass < 3; ++pass)
            passAfter(5);
        QCOMPARE(TestFiles::snapshot(m->folder.path()), folderBefore);
        QCOMPARE(TestFiles::read(indexFile), indexBefore);
        QCOMPARE(QFile::exists(indexFile), indexed);
        QCOMPARE(m->engine->blocked(),
                 keyless ? CloudSync::Blocked::StoreReadOnly : CloudSync::Blocked::FolderUnlisted);
        QCOMPARE(log, QStringList{keyless ? u"Pondrift cloud: the notes could not be read, so "
                                            "none can be kept \u2014 no sync until they can"_s
                                          : u"Pondrift cloud: cannot list Pondrift \u2014 "
                                            "skipping passes until the listing succeeds"_s});

        if (keyless) {
            QVERIFY(TestFiles::write(keyFile, key));
            m->restart();
        }
        m->folder.files.heal();
        QVERIFY(passAfter(5));
        QCOMPARE(m->engine->blocked(), CloudSync::Blocked::None);
        QCOMPARE(m->notes->notes().size(), keyless ? 3 : 2);
        QCOMPARE(m->names().size(), keyless ? 3 : 2);
        for (const QString& name : m->names())
            QVERIFY(m->notes->note(idIn(name)));
    }

    // A pull the database cannot save is not recorded: after a forced end it comes in again.
    void pulledNoteTheStoreCannotSaveIsNotRecorded()
    {
        FaultInjectingVfs::install();
        m->restart();
        const QString id = u"5E1F0A1C-0000-4000-8000-000000000001"_s;
        Note note = NoteBuilder().id(id).title(u"Arrived"_s).body(u"second"_s).build();
        note.created = note.modified = Date{std::floor(clock.now().seconds) - 60};
        dropNote(u"Arrived.md"_s, note);
        m->storageFailuresExpected = true;
        FaultInjectingVfs::setWriteFault(FaultInjectingVfs::Fault::IoError);
        m->engine->syncNow();
        FaultInjectingVfs::setWriteFault(FaultInjectingVfs::Fault::None);
        QVERIFY(!m->storageFailures.isEmpty());
        m->restart(false);
        QVERIFY(passAfter(5));
        QCOMPARE(m->names(), QStringList{u"Arrived.md"_s});
        QCOMPARE(m->notes->note(id)->body, u"second"_s);
        m->restart();
        QCOMPARE(m->notes->note(id)->body, u"second"_s);
    }

    // Values no note can hold come in as the nearest it can.
    void pulledValuesAreMadeSafe_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<bool>("known");
        QTest::addColumn<qint64>("color");
        QTest::addColumn<bool>("keepsOrder"); // else first on the deck
        QTest::newRow("color 12 wraps to 4") << u"color: 12"_s << false << qint64(4) << true;
        QTest::newRow("color -1 wraps to 7") << u"color: -1"_s << false << qint64(7) << true;
        QTest::newRow("order inf on a new note puts it first")
            << u"order: inf"_s << false << qint64(2) << false;
        QTest::newRow("order -nan on a known note keeps its place")
            << u"order: -nan"_s << true << qint64(2) << true;
    }
    void pulledValuesAreMadeSafe()
    {
        QFETCH(QString, line);
        QFETCH(bool, known);
        QFETCH(qint64, color);
        QFETCH(bool, keepsOrder);
        m->notes->create(u"text"_s, u"Other"_s);
        const QString id = u"5E1F0A1C-0000-4000-8000-000000000002"_s;
        Note note = NoteBuilder().id(id).title(u"Odd"_s).body(u"first"_s).build();
        note.color = 2;
        note.order = 5.0;
        note.created = note.modified = Date{std::floor(clock.now().seconds) - 60};
        if (known) {
            dropNote(u"Odd.md"_s, note);
            QVERIFY(m->engine->syncNow());
        }
        note.body = u"second"_s;
        QStringList lines = NoteDocument::render(note).split(u'\n');
        for (QString& l : lines) {
            if (l.startsWith(line.section(u':', 0, 0) + u':'))
                l = line;
        }
        clock.advance(1);
        drop(u"Odd.md"_s, lines.join(u'\n').toUtf8());
        QVERIFY(passAfter(1));
        const auto pulled = m->notes->note(id);
        QVERIFY(pulled);
        QCOMPARE(pulled->body, u"second"_s);
        QCOMPARE(pulled->color, color);
        QVERIFY(std::isfinite(pulled->order));
        if (keepsOrder)
            QCOMPARE(pulled->order, 5.0);
        else
            QCOMPARE(m->notes->active().front().id, id);
        m->restart();
        QCOMPARE(*m->notes->note(id), *pulled);
        quietPass();
    }

    // Many deletions at once wait for the user's answer while the rest of the pass goes on.
    void massDeletionWaitsForTheUsersAnswer_data()
    {
        QTest::addColumn<bool>("inFolder"); // documents gone from the folder, else notes here
        QTest::addColumn<Answer>("answer");
        QTest::newRow("documents gone; restore, answered later: the documents come back")
            << true << Answer::RestoreToFolder;
        QTest::newRow("documents gone; delete, answered during the pass: the notes go")
            << true << Answer::DeleteHere;
        QTest::newRow("notes gone here; delete: the documents go too")
            << false << Answer::DeleteHere;
        QTest::newRow("notes gone here; restore: the notes come back from their documents")
            << false << Answer::RestoreToFolder;
    }
    void massDeletionWaitsForTheUsersAnswer()
    {
        QFETCH(bool, inFolder);
        QFETCH(Answer, answer);
        const QStringList ids = syncedNotes(6);
        if (inFolder) {
            for (const QString& name : m->names())
                QVERIFY(QFile::remove(m->file(name)));
            m->notes->create(u"text"_s, u"Fresh"_s);
            if (answer == Answer::DeleteHere)
                m->prompt.immediate = answer;
        } else {
            for (int i = 0; i < 5; ++i)
                m->notes->deleteNote(ids[i]);
        }
        QVERIFY(passAfter(1));
        QCOMPARE(m->prompt.counts, QList<int>{inFolder ? 6 : 5});
        QVERIFY(
            log.contains((inFolder ? u"Pondrift cloud: 6 of 6 documents are gone from the folder"_s
                                   : u"Pondrift cloud: 5 of 6 notes are gone here"_s)
                         + u" \u2014 holding back their deletions until confirmed"_s));
        if (inFolder) {
            QCOMPARE(m->notes->notes().size(), 7);
            QCOMPARE(m->names(), QStringList{u"Fresh.md"_s}); // the rest of the pass went on
        } else {
            QCOMPARE(m->names().size(), 6);
            QCOMPARE(m->engine->heldDeletions().size(), 5);
        }
        m->prompt.reply(answer);
        clock.advance(0.1);
        if (!inFolder)
            QVERIFY(passAfter(CloudSync::undoHold + 1));
        const bool restored = answer == Answer::RestoreToFolder;
        const int left = inFolder ? (restored ? 7 : 1) : (restored ? 6 : 1);
        QCOMPARE(m->notes->notes().size(), left);
        QCOMPARE(m->names().size(), left);
        quietPass();
    }

    // A question about a folder since made again must not delete from the new one.
    void recreatedFolderAsksAnew()
    {
        syncedNotes(6);
        for (const QString& name : m->names())
            QVERIFY(QFile::remove(m->file(name)));
        QVERIFY(passAfter(1));
        auto first = std::exchange(m->prompt.waiting, nullptr);
        QVERIFY(first);

        QVERIFY(QDir(m->folder.path()).removeRecursively());
        QVERIFY(passAfter(1));
        QCOMPARE(m->names().size(), 6);
        QCOMPARE(m->engine->heldDeletions(), QSet<QString>{});
        for (const QString& name : m->names().mid(0, 4))
            QVERIFY(QFile::remove(m->file(name)));
        QVERIFY(passAfter(1));
        QCOMPARE(m->prompt.counts, (QList<int>{6, 4}));

        first(Answer::DeleteHere);
        QVERIFY(passAfter(0.1));
        QCOMPARE(m->notes->notes().size(), 6);
        m->prompt.reply(Answer::RestoreToFolder);
        clock.advance(0.1);
        QCOMPARE(m->notes->notes().size(), 6);
        QCOMPARE(m->names().size(), 6);
    }

    void brakeTrips_data()
    {
        QTest::addColumn<int>("deletions");
        QTest::addColumn<int>("indexed");
        QTest::addColumn<bool>("asks");
        QTest::newRow("three deletions of three notes go through") << 3 << 3 << false;
        QTest::newRow("four of seven wait") << 4 << 7 << true;
        QTest::newRow("four of eight, just half, go through") << 4 << 8 << false;
    }
    void brakeTrips()
    {
        QFETCH(int, deletions);
        QFETCH(int, indexed);
        QFETCH(bool, asks);
        QCOMPARE(DeletionBrake::trips(deletions, indexed), asks);
    }

    // One question while it is open; an answer after the brake is gone calls nothing.
    void heldDeletionsWaitForOneAnswer_data()
    {
        QTest::addColumn<Answer>("answer");
        QTest::newRow("delete: the held deletions go through once") << Answer::DeleteHere;
        QTest::newRow("restore: nothing goes through") << Answer::RestoreToFolder;
    }
    void heldDeletionsWaitForOneAnswer()
    {
        QFETCH(Answer, answer);
        QList<QSet<QString>> settled;
        auto brake = std::make_unique<DeletionBrake>(
            m->prompt, [] { return false; },
            [&](Answer, const QSet<QString>& ids) { settled.append(ids); });
        const QList<Action> four{Action::deleteLocal(u"A"_s), Action::deleteLocal(u"B"_s),
                                 Action::deleteLocal(u"C"_s), Action::deleteLocal(u"D"_s)};
        QCOMPARE(brake->hold(four, 6), QList<Action>{});
        QCOMPARE(brake->hold({Action::deleteLocal(u"F"_s)}, 6), QList<Action>{});
        m->prompt.reply(answer);
        QCOMPARE(settled, (QList<QSet<QString>>{{u"A"_s, u"B"_s, u"C"_s, u"D"_s, u"F"_s}}));
        QCOMPARE(brake->hold(four, 4), answer == Answer::DeleteHere ? four : QList<Action>{});
        QCOMPARE(brake->hold(four, 4), QList<Action>{});
        QCOMPARE(m->prompt.counts, (QList<int>{4, 4}));
        brake.reset();
        m->prompt.reply(answer);
        QCOMPARE(settled.size(), 1);
    }

    // An index over a folder it does not know is a first sync that deletes nothing, and
    // from then on belongs to that folder.
    void unknownFolderIsAFirstSyncNotADeletion_data()
    {
        QTest::addColumn<QString>("change");
        QTest::newRow("the index of folder A over folder B") << u"another root"_s;
        QTest::newRow("a folder made again without its marker") << u"recreated"_s;
        QTest::newRow("another folder, with a marker of its own, in its place") << u"replaced"_s;
        QTest::newRow("an index from before folders were recorded") << u"old index"_s;
    }
    void unknownFolderIsAFirstSyncNotADeletion()
    {
        QFETCH(QString, change);
        const Note kept = m->notes->create(u"kept"_s, u"Kept"_s);
        const Note other = synced(u"other"_s, u"Other"_s);
        const QByteArray keptDocument = TestFiles::read(m->file(u"Kept.md"_s));
        clock.advance(1);
        // Each leaves a folder that holds Kept.md only.
        if (change == u"another root"_s) {
            QVERIFY(QDir().mkpath(root->filePath(u"B/Pondrift"_s)));
            m->folder.setRoot(root->filePath(u"B"_s));
            QVERIFY(m->folder.isAvailable()); // the folder's path follows the new root
        } else if (change == u"old index"_s) {
            const QString path = m->data.filePath(u"cloud-index.json"_s);
            QJsonObject saved = QJsonDocument::fromJson(TestFiles::read(path)).object();
            saved.remove(u"folder"_s);
            QVERIFY(TestFiles::write(path, QJsonDocument(saved).toJson()));
            QVERIFY(QFile::remove(m->file(u"Other.md"_s)));
            m->restart();
        } else {
            QVERIFY(QDir(m->folder.path()).removeRecursively());
            QVERIFY(QDir().mkpath(m->folder.path()));
            if (change == u"replaced"_s)
                QVERIFY(TestFiles::write(m->file(u".pondrift-sync"_s), "another folder\n"));
        }
        if (change != u"old index"_s)
            QVERIFY(TestFiles::write(m->file(u"Kept.md"_s), keptDocument));
        QVERIFY(m->engine->syncNow());
        QVERIFY2(!plan().contains(u"delete"_s), qPrintable(plan()));
        QVERIFY(m->notes->note(kept.id));
        QCOMPARE(m->names(), (QStringList{u"Kept.md"_s, u"Other.md"_s}));
        QCOMPARE(idIn(u"Other.md"_s), other.id);
        QCOMPARE(log.filter(u"Pondrift cloud: the sync memory belongs to another folder"_s).size(),
                 1);
        const auto tied = m->engine->index().folder();
        QVERIFY(tied);
        QCOMPARE(tied->path, m->folder.path());
        QCOMPARE(tied->id,
                 QString::fromUtf8(TestFiles::read(m->file(u".pondrift-sync"_s))).trimmed());
        QVERIFY(QFile::remove(m->file(u"Other.md"_s)));
        QVERIFY(passAfter(1));
        QVERIFY(!m->notes->note(other.id));
    }

    // A root away runs no pass; back with its marker, it is the same folder.
    void rootThatComesBackIsTheSameFolder()
    {
        const Note gone = synced(u"gone"_s, u"Gone"_s);
        const QString away = root->path() + u".away"_s;
        QVERIFY(QDir().rename(root->path(), away));
        clock.advance(1);
        m->notes->deleteNote(gone.id);
        const Note written = m->notes->create(u"meanwhile"_s, u"Meanwhile"_s);
        QVERIFY(!m->engine->syncNow());
        QVERIFY(QDir().rename(away, root->path()));
        QVERIFY(passAfter(1));
        QCOMPARE(m->names(), QStringList{u"Meanwhile.md"_s});
        QVERIFY(m->notes->note(written.id));
        QVERIFY(!m->notes->note(gone.id));
    }

    // The marker that ties the index to its folder is this machine's own.
    void folderMarkerIsPrivate()
    {
        synced(u"text"_s, u"A"_s);
        const QFileInfo marker(m->file(u".pondrift-sync"_s));
        QVERIFY(marker.isFile());
        QCOMPARE(marker.permissions() & (QFile::ReadGroup | QFile::ReadOther), 0);
    }

    // A document whose header was damaged or rewritten, under its known name, is an edit of
    // its note: no second note, none deleted, what the header lost kept.
    void documentThatLostItsIdentityIsAnEditOfItsNote_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("a header that lost its id line") << u"no id"_s;
        QTest::newRow("a header taken away, the text left") << u"no header"_s;
    }
    void documentThatLostItsIdentityIsAnEditOfItsNote()
    {
        QFETCH(QString, kind);
        const Note a = m->notes->create(u"first text"_s, u"Plans"_s, 3);
        m->notes->togglePin(a.id);
        m->notes->setArchived(a.id, true);
        QVERIFY(m->engine->syncNow());
        const QString name = u"Plans.md"_s;
        QString text = doc(name).replace(u"first text"_s, u"edited elsewhere"_s);
        const QString body = u"edited elsewhere"_s;
        if (kind == u"no id"_s)
            text.remove(u"pondrift-id: "_s + a.id + u'\n');
        else
            text = body;
        clock.advance(5);
        drop(name, text.toUtf8());
        QVERIFY(m->engine->syncNow());
        QVERIFY2(!plan().contains(u"adopt"_s), qPrintable(plan()));
        QCOMPARE(m->notes->notes().size(), 1);
        const Note note = m->notes->notes().front();
        QCOMPARE(note.id, a.id);
        QCOMPARE(note.body, body);
        QCOMPARE(note.title, u"Plans"_s);
        QCOMPARE(note.color, 3);
        QVERIFY(note.pinned && note.archived);
        // The next edit here writes the note's own header back into the same document.
        clock.advance(5);
        m->notes->updateBody(a.id, body + u" and here"_s);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->names(), QStringList{name});
        QCOMPARE(idIn(name), a.id);
        QCOMPARE(m->notes->notes().size(), 1);
        quietPass();
    }

    // An adopted document's header keeps the keys of other tools verbatim, after ours.
    void adoptedHeaderKeepsUnknownKeysVerbatim()
    {
        const QString header =
            u"tags:\n- travel\naliases: [Voyage, \"Reise\"]\ndate: 2024-05-01\ndraft: true"_s;
        const QString name = u"Trip.md"_s;
        drop(name, (u"---\n"_s + header + u"\n---\n\nPack the tent"_s).toUtf8());
        passDoes(u"adopt(Trip.md)"_s);
        QCOMPARE(m->notes->notes().size(), 1);
        const Note note = m->notes->notes().front();
        QCOMPARE(note.body, u"Pack the tent"_s);
        QCOMPARE(idIn(name), note.id);
        const QString keys = u'\n' + header + u"\n---\n\nPack the tent"_s;
        QVERIFY2(doc(name).contains(keys), qPrintable(doc(name)));
        m->restart();
        clock.advance(5);
        m->notes->updateBody(note.id, u"Pack the tent and stove"_s);
        QVERIFY(m->engine->syncNow());
        // A title taken from the text moves the document to a new name; the keys go along.
        QCOMPARE(m->names().size(), 1);
        const QString moved = doc(m->names().front());
        QVERIFY2(moved.contains(keys + u" and"_s), qPrintable(moved));
    }

    // An id rewritten in another Unicode form is the same note, edited.
    void idInAnotherUnicodeFormIsTheSameNote()
    {
        const QString composed = u"CAF\u00C9-0001"_s;
        m->notes->absorb(aNote()
                             .id(composed)
                             .title(u"Caf\u00e9"_s)
                             .body(u"espresso"_s)
                             .modified(clock.now().seconds));
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->names().size(), 1);
        clock.advance(5);
        Note there = editedThere(*m->notes->note(composed), u"Caf\u00e9"_s, u"ristretto"_s);
        there.id = u"CAFE\u0301-0001"_s;
        dropNote(m->names().front(), there);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->names(u"Conflicts"_s), QStringList{});
        quietPass();
        m->restart();
        quietPass();
        QCOMPARE(m->notes->notes().size(), 1);
        QCOMPARE(m->notes->notes().front().id, composed);
        QCOMPARE(m->notes->notes().front().body, u"ristretto"_s);
    }

    // An index from before content hashes loads at the cost of one reading per document.
    void indexFromBeforeHashesLosesNothing()
    {
        Note a;
        syncEarlyInASecond(a);
        m->restart();
        const QString path = m->data.filePath(u"cloud-index.json"_s);
        QJsonObject top = QJsonDocument::fromJson(TestFiles::read(path)).object();
        QJsonObject entries = top.value(u"entries"_s).toObject();
        QJsonObject entry = entries.value(a.id).toObject();
        QVERIFY(entry.contains(u"contentHash"_s));
        entry.remove(u"contentHash"_s);
        entry.remove(u"fileStamp"_s);
        entries.insert(a.id, entry);
        top.insert(u"entries"_s, entries);
        QVERIFY(TestFiles::write(path, QJsonDocument(top).toJson()));
        m->restart();
        clock.advance(2);
        passDoes(u"reindex(%1, Quick.md)"_s.arg(a.id));
        const int reads = m->folder.reads;
        QVERIFY(passAfter(2));
        QCOMPARE(plan(), QString());
        QCOMPARE(m->folder.reads, reads);
    }
};

QTEST_GUILESS_MAIN(TestCloudSync)
#include "tst_cloudsync.moc"
