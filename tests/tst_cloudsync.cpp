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
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

#include <cmath>
#include <fcntl.h>
#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;
using Answer = MassDeletePrompt::Answer;
using SyncPlan::Action;

namespace {

// Sets a file's modification date, as a client that keeps the sender's date does.
bool dateFile(const QString& path, double seconds)
{
    const timespec at{static_cast<time_t>(std::floor(seconds)),
                      static_cast<long>((seconds - std::floor(seconds)) * 1e9)};
    const timespec times[2]{at, at};
    return ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0) == 0;
}

// Every text in the documents of a folder's conflict copies, each ending in a line break.
QString conflictCopies(const SyncMachine& m)
{
    QString all;
    for (const QString& name : m.names(u"Conflicts"_s))
        all += QString::fromUtf8(TestFiles::read(m.file(u"Conflicts/"_s + name))) + u'\n';
    return all;
}

} // namespace

// One machine's engine against a real folder and a real store in virtual time, and the two
// holds a pass puts on its plan: deletions that wait for the user, and documents of notes
// that left the store a moment ago.
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
    // The text of the named document.
    QString doc(const QString& n) const { return QString::fromUtf8(TestFiles::read(m->file(n))); }
    // The id the named document declares.
    QString idIn(const QString& name) const { return NoteDocument::parse(doc(name), {}).note.id; }
    // What the last pass carried out, as the actions print, joined by "; ".
    QString plan() const
    {
        QStringList actions;
        for (const Action& a : m->engine->lastPlan())
            actions << a.toString();
        return actions.join(u"; "_s);
    }
    // Moves the clock on to the next whole second, which it returns: the clock is shared by
    // every test, and the rows below need to know where a second begins.
    double nextWholeSecond()
    {
        const double whole = std::floor(clock.now().seconds) + 1;
        clock.advance(whole - clock.now().seconds);
        return whole;
    }
    // Moves the clock on to the given moment.
    void advanceTo(double seconds) { clock.advance(seconds - clock.now().seconds); }

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

    // A document gone from the folder deletes its note here; the note's last text waits in the
    // local trash. When the trash cannot be written, the note stays until it can.
    void aNoteDeletedBySyncLeavesItsTextInTheTrash_data()
    {
        QTest::addColumn<bool>("trashWritable");
        QTest::newRow("kept in the trash, then deleted") << true;
        QTest::newRow("a trash that cannot be written keeps the note") << false;
    }
    void aNoteDeletedBySyncLeavesItsTextInTheTrash()
    {
        QFETCH(bool, trashWritable);
        const Note a = m->notes->create(u"call Ana at 5"_s, u"Plans"_s);
        QVERIFY(m->engine->syncNow());
        QVERIFY(QFile::remove(m->file(u"Plans.md"_s)));
        if (!trashWritable)
            m->folder.files.failPathsContaining(u"(deleted "_s, ENOSPC);
        clock.advance(1);
        QVERIFY(m->engine->syncNow());
        const QStringList kept =
            QDir(m->trash.folder()).entryList({u"*.md"_s}, QDir::Files, QDir::Name);
        QCOMPARE(m->notes->note(a.id).has_value(), !trashWritable);
        QCOMPARE(kept.size(), trashWritable ? 1 : 0);
        if (trashWritable) {
            const QString text =
                QString::fromUtf8(TestFiles::read(m->trash.folder() + u'/' + kept.first()));
            QCOMPARE(NoteDocument::parse(text, {}).note.body, u"call Ana at 5"_s);
            return;
        }
        m->folder.files.heal();
        clock.advance(1);
        QVERIFY(m->engine->syncNow());
        QVERIFY(!m->notes->note(a.id));
        QCOMPARE(QDir(m->trash.folder()).entryList({u"*.md"_s}, QDir::Files).size(), 1);
    }

    // The sync client puts the other machine's version in place after this pass's scan and
    // before its write: the write must not go over it, and the next pass keeps both texts.
    void aWriteNeverGoesOverAFileReplacedSinceTheScan()
    {
        const Note a = m->notes->create(u"original"_s, u"Plans"_s);
        QVERIFY(m->engine->syncNow());
        clock.advance(5);
        m->notes->updateBody(a.id, u"ours"_s);
        const QString theirs = doc(u"Plans.md"_s).replace(u"original"_s, u"theirs"_s);
        bool replaced = false;
        m->folder.onNextRead = [&](const QString& name) {
            if (name != u"Plans.md"_s)
                return;
            QVERIFY(TestFiles::write(m->file(name), theirs.toUtf8()));
            m->folder.stamp(m->file(name));
            replaced = true;
        };
        m->engine->syncNow();
        QVERIFY(replaced);
        QCOMPARE(doc(u"Plans.md"_s), theirs);

        clock.advance(5);
        QVERIFY(m->engine->syncNow());
        QStringList texts;
        for (const Note& note : m->notes->notes())
            texts << note.body;
        for (const QString& name : m->names())
            texts << NoteDocument::parse(doc(name), {}).note.body;
        for (const QString& name : m->names(DocumentNames::conflictsFolder))
            texts << NoteDocument::parse(QString::fromUtf8(TestFiles::read(m->file(
                                             DocumentNames::conflictsFolder + u'/' + name))),
                                         {})
                         .note.body;
        // A conflict copy carries its note's title above the text.
        const auto kept = [&](const QString& text) {
            return std::any_of(texts.cbegin(), texts.cend(), [&](const QString& t) {
                return t == text || t.endsWith(u"\n"_s + text);
            });
        };
        QVERIFY2(kept(u"ours"_s), qPrintable(texts.join(u" | "_s)));
        QVERIFY2(kept(u"theirs"_s), qPrintable(texts.join(u" | "_s)));
    }

    // An unchanged document is not read again; one renamed by hand keeps its note, and its
    // new name through later pushes.
    void documentRenamedByHandKeepsItsName()
    {
        const Note a = m->notes->create(u"text"_s, u"Plans"_s);
        QVERIFY(m->engine->syncNow());
        const int reads = m->folder.reads;
        clock.advance(1);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->folder.reads, reads);
        QVERIFY(QFile::rename(m->file(u"Plans.md"_s), m->file(u"By hand.md"_s)));
        QVERIFY(m->engine->syncNow());
        clock.advance(1);
        m->notes->updateBody(a.id, u"new text"_s);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->names(), QStringList{u"By hand.md"_s});
        QVERIFY(doc(u"By hand.md"_s).endsWith(u"new text"_s));
    }

    // On a volume that ignores letter case, writing "Plans.md" overwrites "plans.md", and
    // removing the old name afterwards would remove the note's only document. A title that
    // changes only in case, either way and back, keeps its file, which takes the new text.
    void titleChangedOnlyInCaseKeepsItsDocument_data()
    {
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::newRow("plans, then Plans, then plans again") << u"plans"_s << u"Plans"_s;
        QTest::newRow("Plans, then plans, then Plans again") << u"Plans"_s << u"plans"_s;
    }
    void titleChangedOnlyInCaseKeepsItsDocument()
    {
        QFETCH(QString, first);
        QFETCH(QString, second);
        const QString file = first + u".md"_s;
        const Note a = m->notes->create(u"text"_s, first);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->names(), QStringList{file});
        for (const QString& title : {second, first}) {
            clock.advance(1);
            m->notes->updateTitle(a.id, title);
            QVERIFY(m->engine->syncNow());
            QCOMPARE(plan(), u"push(%1, %2)"_s.arg(a.id, file));
            QCOMPARE(m->names(), QStringList{file});
            const auto parsed = NoteDocument::parse(doc(file), {});
            QCOMPARE(parsed.note.id, a.id);
            QCOMPARE(parsed.note.title, title);
            QCOMPARE(m->engine->index().size(), 1);
            QCOMPARE(m->engine->index().entry(a.id)->fileName, file);
        }
        clock.advance(5);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), QString());
    }

    // A pulled note is as new as the later of the date its document declares and the date
    // the file was written, but never newer than now: a hand edit leaves the declared date
    // behind, and a machine whose clock runs ahead declares a date not reached here yet,
    // which would win every conflict against edits made meanwhile. Either way the note, the
    // database and the index agree on it, so that the next pass sees no change.
    void pulledNoteTakesTheLaterOfItsDeclaredAndFileDates_data()
    {
        QTest::addColumn<bool>("known");           // the note was synced here before
        QTest::addColumn<double>("declaredAhead"); // of the file's date, in whole seconds
        QTest::newRow("a hand edit: the file's date is later") << true << -100.0;
        QTest::newRow("a clock ahead elsewhere: the declared date is later, cut to now")
            << true << 60.0;
        QTest::newRow("a note never seen here, dated behind its file") << false << -100.0;
        QTest::newRow("a note never seen here, dated ahead of now") << false << 60.0;
    }
    void pulledNoteTakesTheLaterOfItsDeclaredAndFileDates()
    {
        QFETCH(bool, known);
        QFETCH(double, declaredAhead);
        QString id = u"FROM-ELSEWHERE"_s;
        QString name = u"Elsewhere.md"_s;
        if (known) {
            id = m->notes->create(u"original"_s, u"Plans"_s).id;
            name = u"Plans.md"_s;
            QVERIFY(m->engine->syncNow());
        }
        clock.advance(2.25);
        const Date declared{std::floor(clock.now().seconds) + declaredAhead};
        const Note there =
            aNote().id(id).title(u"Plans"_s).body(u"edited there"_s).modified(declared.seconds);
        drop(name, NoteDocument::render(there).toUtf8());
        const Date written = *m->folder.modificationDate(name);
        QVERIFY(written != declared);

        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), u"pull(%1)"_s.arg(name));
        const Date expected = declaredAhead > 0 ? clock.now() : written;
        QCOMPARE(m->notes->note(id)->body, u"edited there"_s);
        QCOMPARE(m->notes->note(id)->modified, expected);
        QCOMPARE(m->engine->index().entry(id)->syncedModified, expected);
        QCOMPARE(m->engine->index().entry(id)->fileModified, written);
        clock.advance(5);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), QString());
        m->restart();
        QCOMPARE(m->notes->note(id)->modified, expected);
    }

    // A note's modified and a file's date carry fractions. The index keeps the file's date
    // exactly and the content by its hash, so a restart alone pushes, pulls and reads nothing,
    // wherever the fractions fall.
    void restartWithFractionalDatesPlansNothing_data()
    {
        QTest::addColumn<double>("noteAt"); // into a second
        QTest::addColumn<double>("fileAt"); // the pass that writes the file
        QTest::newRow("note and file within one second") << 0.4 << 0.9;
        QTest::newRow("the file in the next second") << 0.4 << 1.2;
        QTest::newRow("a whole-second note, its file a fraction later") << 0.0 << 0.5;
        QTest::newRow("the file seconds later") << 0.7 << 3.1;
    }
    void restartWithFractionalDatesPlansNothing()
    {
        QFETCH(double, noteAt);
        QFETCH(double, fileAt);
        const double second = nextWholeSecond();
        advanceTo(second + noteAt);
        const Note a = m->notes->create(u"text"_s, u"Fractions"_s);
        advanceTo(second + fileAt);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), u"push(%1, -)"_s.arg(a.id));
        const auto written = TestFiles::snapshot(m->folder.path());

        clock.advance(1.3);
        m->restart();
        const int reads = m->folder.reads;
        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), QString());
        QCOMPARE(m->folder.reads, reads);
        QCOMPARE(TestFiles::snapshot(m->folder.path()), written);
        QCOMPARE(m->engine->index().entry(a.id)->fileModified,
                 m->folder.modificationDate(u"Fractions.md"_s));
    }

    // A change made in the very second of the last sync, with a pass before any restart: the
    // dates in memory still carry their fractions and compare exactly, so the change goes
    // out, or comes in, and a restart afterwards plans nothing more.
    void changeInTheSecondOfTheLastSyncIsCarriedBeforeARestart_data()
    {
        QTest::addColumn<bool>("here"); // edited on this machine, else in the folder
        QTest::newRow("an edit here is pushed") << true;
        QTest::newRow("an edit in the folder is pulled") << false;
    }
    void changeInTheSecondOfTheLastSyncIsCarriedBeforeARestart()
    {
        QFETCH(bool, here);
        const double second = nextWholeSecond();
        advanceTo(second + 0.1);
        const Note a = m->notes->create(u"first"_s, u"Quick"_s);
        advanceTo(second + 0.2);
        QVERIFY(m->engine->syncNow());
        advanceTo(second + 0.6);
        if (here) {
            m->notes->updateBody(a.id, u"second"_s);
        } else {
            const Note there =
                aNote().id(a.id).title(u"Quick"_s).body(u"second"_s).modified(second);
            drop(u"Quick.md"_s, NoteDocument::render(there).toUtf8());
        }
        advanceTo(second + 0.8);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), here ? u"push(%1, Quick.md)"_s.arg(a.id) : u"pull(Quick.md)"_s);
        QCOMPARE(m->notes->note(a.id)->body, u"second"_s);
        QVERIFY(doc(u"Quick.md"_s).endsWith(u"second"_s));

        clock.advance(1.5);
        m->restart();
        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), QString());
    }

    // The same change, with the restart before any pass could carry it: the content differs
    // from the hash the index kept, whatever second the dates share, so the change is carried.
    void changeInTheSecondOfTheLastSyncSurvivesARestart_data()
    {
        changeInTheSecondOfTheLastSyncIsCarriedBeforeARestart_data();
    }
    void changeInTheSecondOfTheLastSyncSurvivesARestart()
    {
        QFETCH(bool, here);
        const double second = nextWholeSecond();
        advanceTo(second + 0.1);
        const Note a = m->notes->create(u"first"_s, u"Quick"_s);
        advanceTo(second + 0.2);
        QVERIFY(m->engine->syncNow());
        advanceTo(second + 0.6);
        if (here) {
            m->notes->updateBody(a.id, u"second"_s);
        } else {
            const Note there =
                aNote().id(a.id).title(u"Quick"_s).body(u"second"_s).modified(second);
            drop(u"Quick.md"_s, NoteDocument::render(there).toUtf8());
        }
        advanceTo(second + 0.8);
        m->restart();
        clock.advance(1.5);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), here ? u"push(%1, Quick.md)"_s.arg(a.id) : u"pull(Quick.md)"_s);
    }

    // Edits in a burst give one pass a second after the last; the pass's own changes to the
    // store give none, and a call from inside the pass is turned away; nothing runs once
    // stopped.
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

    void conflictKeepsTheLosersCopy()
    {
        const Note a = m->notes->create(u"original"_s, u"Plans"_s);
        QVERIFY(m->engine->syncNow());
        clock.advance(1);
        m->notes->updateBody(a.id, u"edited here"_s);
        clock.advance(1);
        const Note there = aNote().id(a.id).body(u"edited there"_s).modified(clock.now().seconds);
        drop(u"Plans.md"_s, NoteDocument::render(there).toUtf8());
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->notes->note(a.id)->body, u"edited there"_s);
        const QStringList copies = m->names(u"Conflicts"_s);
        QCOMPARE(copies.size(), 1);
        QCOMPARE(TestFiles::read(m->file(u"Conflicts/"_s + copies.front())),
                 "# Plans\n\nedited here"_ba);
        QVERIFY(log.contains(
            u"Pondrift cloud: conflict on Plans.md \u2014 kept a copy in Conflicts"_s));
    }

    // Another machine writes back the document of a note this one deleted by sync, while the
    // deletion can still be undone: the note stays out until the undo window has passed, so
    // the undo still works and leaves one record.
    void noteDeletedBySyncStaysOutWhileItsUndoLasts()
    {
        const Note a = m->notes->create(u"text"_s, u"Twice"_s);
        QVERIFY(m->engine->syncNow());
        const QByteArray written = TestFiles::read(m->file(u"Twice.md"_s));
        QVERIFY(QFile::remove(m->file(u"Twice.md"_s)));
        clock.advance(1);
        QVERIFY(m->engine->syncNow());
        clock.advance(1);
        drop(u"Twice.md"_s, written);
        QVERIFY(m->engine->syncNow());
        QVERIFY(m->notes->pendingUndo());
        m->notes->undoDelete();
        for (int i = 0; i < 4; ++i) {
            clock.advance(5);
            QVERIFY(m->engine->syncNow());
        }
        QCOMPARE(m->notes->notes().size(), 1);
        QCOMPARE(m->notes->notes().front().id, a.id);
        QCOMPARE(m->engine->lastPlan(), QList<Action>{});
    }

    // Each leaves the note where it was, and the document as it was; a vanished folder is
    // written afresh.
    void documentsThatCannotBeReadProtectTheirNotes_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::newRow("a document changed to bytes that are not UTF-8") << u"not UTF-8"_s;
        QTest::newRow("a placeholder of a document not downloaded yet") << u"placeholder"_s;
        QTest::newRow("the folder deleted as a whole") << u"folder"_s;
    }
    void documentsThatCannotBeReadProtectTheirNotes()
    {
        QFETCH(QString, fault);
        const Note a = m->notes->create(u"text"_s, u"Keep"_s);
        QVERIFY(m->engine->syncNow());
        clock.advance(1);
        if (fault == u"not UTF-8"_s)
            drop(u"Keep.md"_s, "caf\xe9 \xff\xfe");
        else if (fault == u"placeholder"_s)
            QVERIFY(QFile::rename(m->file(u"Keep.md"_s), m->file(u".Keep.md.icloud"_s)));
        else
            QVERIFY(QDir(m->folder.path()).removeRecursively());
        const auto before = TestFiles::snapshot(m->folder.path());
        for (int pass = 0; pass < 2; ++pass) {
            QVERIFY(m->engine->syncNow());
            QVERIFY(m->notes->note(a.id));
            clock.advance(5);
        }
        if (fault == u"folder"_s)
            QCOMPARE(idIn(u"Keep.md"_s), a.id);
        else
            QCOMPARE(TestFiles::snapshot(m->folder.path()), before);
    }

    // One pass meets a full disk, or an index it cannot save, while a note changed and a
    // plain file arrived; once the disk heals, the next pass writes what is missing and the
    // next change saves the index, and the plain file is one note, first on the deck.
    void diskFaultsLoseNothing_data()
    {
        QTest::addColumn<QString>("failing"); // a path fragment; empty for every write
        QTest::newRow("a full disk refuses the documents and the index") << QString();
        QTest::newRow("the index cannot be saved") << u"cloud-index.json"_s;
    }
    void diskFaultsLoseNothing()
    {
        QFETCH(QString, failing);
        const Note a = m->notes->create(u"first"_s, u"Target"_s);
        QVERIFY(m->engine->syncNow());
        clock.advance(1);
        m->notes->updateBody(a.id, u"second"_s);
        drop(u"loose.md"_s, "- [ ] eggs");
        if (failing.isEmpty())
            m->folder.files.failAfter(0);
        else
            m->folder.files.failPathsContaining(failing);
        QVERIFY(m->engine->syncNow());

        m->folder.files.heal();
        clock.advance(5);
        QVERIFY(m->engine->syncNow());
        QVERIFY(doc(u"Target.md"_s).endsWith(u"second"_s));
        m->notes->updateBody(a.id, u"third"_s);
        QVERIFY(m->engine->syncNow());
        m->restart();
        clock.advance(5);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->engine->lastPlan(), QList<Action>{});
        QCOMPARE(m->notes->active().size(), 2);
        QCOMPARE(m->notes->active().front().body, u"☐ eggs"_s);
        // The adopted note's first push may name its document after it; one either way.
        QCOMPARE(m->names().size(), 2);
        for (const QString& name : m->names())
            QVERIFY(m->notes->note(idIn(name)));
    }

    // A store that cannot keep notes (its key file gone) shows none. Syncing it would read
    // every indexed document as a note deleted here, and on a first sync would record
    // documents it pulled but never kept, to delete them on the pass after. No pass runs:
    // the folder and the index stay as they were, and once the key is back every note is
    // there and every document with it.
    void storeThatCannotKeepNotesRunsNoPass_data()
    {
        QTest::addColumn<bool>("indexed");
        QTest::newRow("over a folder the index knows") << true;
        QTest::newRow("on a first sync") << false;
    }
    void storeThatCannotKeepNotesRunsNoPass()
    {
        QFETCH(bool, indexed);
        for (int i = 0; i < 2; ++i)
            m->notes->create(u"text %1"_s.arg(i), u"Note %1"_s.arg(i));
        QVERIFY(m->engine->syncNow());
        const QString indexFile = m->data.filePath(u"cloud-index.json"_s);
        if (!indexed)
            QVERIFY(QFile::remove(indexFile));
        drop(u"loose.md"_s, "- [ ] eggs");
        const QString keyFile = m->data.filePath(u"note.key"_s);
        const QByteArray key = TestFiles::read(keyFile);
        QVERIFY(QFile::remove(keyFile));
        m->storageFailuresExpected = true;
        m->restart();
        QVERIFY(!m->notes->isWritable());
        const auto folderBefore = TestFiles::snapshot(m->folder.path());
        const QByteArray indexBefore = TestFiles::read(indexFile);
        log.clear();
        for (int pass = 0; pass < 3; ++pass) {
            clock.advance(5);
            m->engine->syncNow();
        }
        QCOMPARE(TestFiles::snapshot(m->folder.path()), folderBefore);
        QCOMPARE(TestFiles::read(indexFile), indexBefore);
        QCOMPARE(QFile::exists(indexFile), indexed);
        QCOMPARE(m->engine->blocked(), CloudSync::Blocked::StoreReadOnly);
        QCOMPARE(log, QStringList{u"Pondrift cloud: the notes could not be read, so none can be "
                                  "kept \u2014 no sync until they can"_s});

        QVERIFY(TestFiles::write(keyFile, key));
        m->restart();
        clock.advance(5);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->notes->notes().size(), 3);
        QCOMPARE(m->names().size(), 3);
        for (const QString& name : m->names())
            QVERIFY(m->notes->note(idIn(name)));
    }

    // A document pulled while the database cannot take it is not recorded as synced: after a
    // forced end it is not read as "a note deleted here", and it comes in once the store can
    // save. An edit of a known note that could not be saved is pulled again the same way.
    void pulledNoteTheStoreCannotSaveIsNotRecorded_data()
    {
        QTest::addColumn<bool>("known");
        QTest::newRow("a note this machine has not seen") << false;
        QTest::newRow("an edit of a known note") << true;
    }
    void pulledNoteTheStoreCannotSaveIsNotRecorded()
    {
        QFETCH(bool, known);
        FaultInjectingVfs::install();
        m->restart();
        const QString id = u"5E1F0A1C-0000-4000-8000-000000000001"_s;
        Note note = NoteBuilder().id(id).title(u"Arrived"_s).body(u"first"_s).build();
        note.created = note.modified = Date{std::floor(clock.now().seconds) - 60};
        if (known) {
            drop(u"Arrived.md"_s, NoteDocument::render(note).toUtf8());
            QVERIFY(m->engine->syncNow());
            QVERIFY(m->notes->note(id));
            clock.advance(1);
        }
        note.body = u"second"_s;
        drop(u"Arrived.md"_s, NoteDocument::render(note).toUtf8());
        m->storageFailuresExpected = true;
        FaultInjectingVfs::setWriteFault(FaultInjectingVfs::Fault::IoError);
        m->engine->syncNow();
        FaultInjectingVfs::setWriteFault(FaultInjectingVfs::Fault::None);
        QVERIFY(!m->storageFailures.isEmpty());
        m->restart(false);
        clock.advance(5);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->names(), QStringList{u"Arrived.md"_s});
        QVERIFY(m->notes->note(id));
        QCOMPARE(m->notes->note(id)->body, u"second"_s);
        m->restart();
        QCOMPARE(m->notes->note(id)->body, u"second"_s);
    }

    // A listing that fails looks like an empty folder; read as such, every indexed note
    // would be taken for deleted. The pass is skipped, and the next good one finds nothing
    // to do.
    void failedListingDeletesNothing()
    {
        for (int i = 0; i < 2; ++i)
            m->notes->create(u"text %1"_s.arg(i), u"Note %1"_s.arg(i));
        QVERIFY(m->engine->syncNow());
        const auto before = TestFiles::snapshot(m->folder.path());
        log.clear();
        m->folder.files.failListings();
        for (int pass = 0; pass < 2; ++pass) {
            clock.advance(5);
            m->engine->syncNow();
        }
        QCOMPARE(m->notes->notes().size(), 2);
        QCOMPARE(TestFiles::snapshot(m->folder.path()), before);
        QCOMPARE(m->engine->blocked(), CloudSync::Blocked::FolderUnlisted);
        QCOMPARE(log, QStringList{u"Pondrift cloud: cannot list Pondrift \u2014 skipping passes "
                                  "until the listing succeeds"_s});
        m->folder.files.heal();
        clock.advance(5);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), QString());
        QCOMPARE(m->engine->blocked(), CloudSync::Blocked::None);
        QCOMPARE(m->notes->notes().size(), 2);
        QCOMPARE(TestFiles::snapshot(m->folder.path()), before);
    }

    // Values no note of this program can hold come in as the nearest it can: a colour by
    // the palette's wrap-around, an order that is not a number not at all (a new note goes
    // first on the deck, a known one keeps its place), a date ahead of now as now.
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
        QTest::newRow("order nan on a new note puts it first")
            << u"order: nan"_s << false << qint64(2) << false;
        QTest::newRow("order inf on a known note keeps its place")
            << u"order: inf"_s << true << qint64(2) << true;
        QTest::newRow("order -nan on a known note keeps its place")
            << u"order: -nan"_s << true << qint64(2) << true;
        QTest::newRow("modified a year ahead is now")
            << u"modified: 2027-03-14T09:26:53Z"_s << false << qint64(2) << true;
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
            drop(u"Odd.md"_s, NoteDocument::render(note).toUtf8());
            QVERIFY(m->engine->syncNow());
            clock.advance(1);
        }
        note.body = u"second"_s;
        const QString key = line.section(u':', 0, 0);
        QStringList lines = NoteDocument::render(note).split(u'\n');
        for (QString& l : lines) {
            if (l.startsWith(key + u':'))
                l = line;
        }
        drop(u"Odd.md"_s, lines.join(u'\n').toUtf8());
        clock.advance(1);
        QVERIFY(m->engine->syncNow());
        const auto pulled = m->notes->note(id);
        QVERIFY(pulled);
        QCOMPARE(pulled->body, u"second"_s);
        QCOMPARE(pulled->color, color);
        QVERIFY(std::isfinite(pulled->order));
        if (keepsOrder)
            QCOMPARE(pulled->order, 5.0);
        else
            QCOMPARE(m->notes->active().front().id, id);
        QVERIFY(pulled->modified <= clock.now());
        QCOMPARE(m->engine->index().entry(id)->syncedModified, pulled->modified);
        m->restart();
        QCOMPARE(*m->notes->note(id), *pulled);
        clock.advance(5);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), QString());
    }

    void emptiedFolderWaitsForTheUsersAnswer_data()
    {
        QTest::addColumn<Answer>("answer");
        QTest::newRow("restore, answered later: the documents come back")
            << Answer::RestoreToFolder;
        QTest::newRow("delete, answered during the pass: the notes go") << Answer::DeleteHere;
    }
    void emptiedFolderWaitsForTheUsersAnswer()
    {
        QFETCH(Answer, answer);
        const int left = answer == Answer::RestoreToFolder ? 7 : 1;
        for (int i = 0; i < 6; ++i)
            m->notes->create(u"text"_s, u"Note %1"_s.arg(i));
        QVERIFY(m->engine->syncNow());
        for (const QString& name : m->names())
            QVERIFY(QFile::remove(m->file(name)));
        m->notes->create(u"text"_s, u"Fresh"_s);
        if (answer == Answer::DeleteHere)
            m->prompt.immediate = answer;
        clock.advance(1);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->prompt.counts, QList<int>{6});
        QVERIFY(log.contains(u"Pondrift cloud: 6 of 6 documents are gone from the folder \u2014 "
                             "holding back their deletions until confirmed"_s));
        QCOMPARE(m->notes->notes().size(), 7);
        QCOMPARE(m->names(), QStringList{u"Fresh.md"_s}); // the rest of the pass went on
        m->prompt.reply(answer);
        clock.advance(0.1);
        QCOMPARE(m->notes->notes().size(), left);
        QCOMPARE(m->names().size(), left);
    }

    // Many notes gone here at once (a database replaced, a store gone wrong) would take
    // their documents from every other machine: those deletions wait for the same answer as
    // documents gone from the folder.
    void notesGoneHereWaitForTheUsersAnswer_data()
    {
        QTest::addColumn<Answer>("answer");
        QTest::newRow("delete: the documents go too") << Answer::DeleteHere;
        QTest::newRow("restore: the notes come back from their documents")
            << Answer::RestoreToFolder;
    }
    void notesGoneHereWaitForTheUsersAnswer()
    {
        QFETCH(Answer, answer);
        QStringList ids;
        for (int i = 0; i < 6; ++i)
            ids << m->notes->create(u"text %1"_s.arg(i), u"Note %1"_s.arg(i)).id;
        QVERIFY(m->engine->syncNow());
        for (int i = 0; i < 5; ++i)
            m->notes->deleteNote(ids[i]);
        clock.advance(1);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->prompt.counts, QList<int>{5});
        QVERIFY(log.contains(u"Pondrift cloud: 5 of 6 notes are gone here \u2014 "
                             "holding back their deletions until confirmed"_s));
        QCOMPARE(m->names().size(), 6);
        QCOMPARE(m->engine->heldDeletions().size(), 5);
        m->prompt.reply(answer);
        clock.advance(0.1);
        clock.advance(CloudSync::undoHold + 1);
        QVERIFY(m->engine->syncNow());
        const int left = answer == Answer::DeleteHere ? 1 : 6;
        QCOMPARE(m->names().size(), left);
        QCOMPARE(m->notes->notes().size(), left);
        clock.advance(5);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), QString());
    }

    // A question asked about a folder that is then made again belongs to that folder's past:
    // its answer must not delete what later vanished from the new one, which gets a question
    // of its own.
    void recreatedFolderAsksAnew()
    {
        for (int i = 0; i < 6; ++i)
            m->notes->create(u"text %1"_s.arg(i), u"Note %1"_s.arg(i));
        QVERIFY(m->engine->syncNow());
        for (const QString& name : m->names())
            QVERIFY(QFile::remove(m->file(name)));
        clock.advance(1);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->prompt.counts, QList<int>{6});
        auto first = std::exchange(m->prompt.waiting, nullptr);
        QVERIFY(first);

        QVERIFY(QDir(m->folder.path()).removeRecursively());
        clock.advance(1);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->names().size(), 6);
        QCOMPARE(m->engine->heldDeletions(), QSet<QString>{});
        const QStringList names = m->names();
        for (int i = 0; i < 4; ++i)
            QVERIFY(QFile::remove(m->file(names[i])));
        clock.advance(1);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->prompt.counts, (QList<int>{6, 4}));

        first(Answer::DeleteHere);
        clock.advance(0.1);
        QVERIFY(m->engine->syncNow());
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

    // One question while it is open, whatever later passes add; a deletion confirmed goes
    // through in the pass after the answer, and only then; an answer that comes after the
    // brake is gone finds nothing to call.
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

    // Four documents come back: of a note still in the store, of one that left the store
    // since the last pass, of one the sync deleted itself, and of one never here. The two
    // that left stay out through the store's undo window, and come in after it.
    void vanishedNotesStayOutForAWhile_data()
    {
        QTest::addColumn<double>("later");
        QTest::addColumn<QList<bool>>("out");
        QTest::newRow("at once") << 0.0 << QList<bool>{false, true, true, false};
        QTest::newRow("through the undo window") << 10.0 << QList<bool>{false, true, true, false};
        QTest::newRow("after the window") << 12.0 << QList<bool>{false, false, false, false};
    }
    void vanishedNotesStayOutForAWhile()
    {
        QFETCH(double, later);
        QFETCH(QList<bool>, out);
        const QStringList ids{m->notes->create().id, m->notes->create().id, u"gone"_s, u"new"_s};
        VanishedNotes vanished(CloudSync::undoHold);
        vanished.remember(m->notes->notes());
        m->notes->deleteNote(ids[1]);
        vanished.deleted(ids[2], clock.now());
        for (const QString& id : ids)
            vanished.keepsOut(id, *m->notes, clock.now());
        vanished.remember(m->notes->notes()); // the next pass, as the engine runs it
        clock.advance(later);
        vanished.expire(clock.now());
        QList<bool> seen;
        for (const QString& id : ids)
            seen << vanished.keepsOut(id, *m->notes, clock.now());
        QCOMPARE(seen, out);
    }
    // The index belongs to one folder. Over any other (another root, the folder made again
    // without its marker, another folder put in its place, an index written before folders
    // were recorded), a document it names and cannot find is no sign of a deletion: the pass
    // is a first sync that deletes nothing, and from then on the index belongs to the folder
    // it found, so that deletions count again.
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
        const Note other = m->notes->create(u"other"_s, u"Other"_s);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->names(), (QStringList{u"Kept.md"_s, u"Other.md"_s}));
        const QByteArray keptDocument = TestFiles::read(m->file(u"Kept.md"_s));
        clock.advance(1);
        // Each leaves a folder that holds Kept.md only.
        const auto freshFolder = [&] {
            QVERIFY(QDir(m->folder.path()).removeRecursively());
            QVERIFY(QDir().mkpath(m->folder.path()));
            QVERIFY(TestFiles::write(m->file(u"Kept.md"_s), keptDocument));
        };
        if (change == u"another root"_s) {
            const QString other = root->filePath(u"B"_s);
            QVERIFY(QDir().mkpath(other + u"/Pondrift"_s));
            QVERIFY(TestFiles::write(other + u"/Pondrift/Kept.md"_s, keptDocument));
            m->folder.setRoot(other);
        } else if (change == u"recreated"_s) {
            freshFolder();
        } else if (change == u"replaced"_s) {
            freshFolder();
            QVERIFY(TestFiles::write(m->file(u".pondrift-sync"_s), "another folder\n"));
        } else {
            const QString path = m->data.filePath(u"cloud-index.json"_s);
            QJsonObject saved = QJsonDocument::fromJson(TestFiles::read(path)).object();
            saved.remove(u"folder"_s);
            QVERIFY(TestFiles::write(path, QJsonDocument(saved).toJson()));
            QVERIFY(QFile::remove(m->file(u"Other.md"_s)));
            m->restart();
        }
        QVERIFY(m->engine->syncNow());
        QVERIFY2(!plan().contains(u"delete"_s), qPrintable(plan()));
        QVERIFY(m->notes->note(kept.id));
        QVERIFY(m->notes->note(other.id));
        QCOMPARE(m->names(), (QStringList{u"Kept.md"_s, u"Other.md"_s}));
        QCOMPARE(idIn(u"Other.md"_s), other.id);
        QCOMPARE(log.filter(u"Pondrift cloud: the sync memory belongs to another folder"_s).size(),
                 1);

        const auto tied = m->engine->index().folder();
        QVERIFY(tied);
        QCOMPARE(tied->path, m->folder.path());
        QCOMPARE(tied->id,
                 QString::fromUtf8(TestFiles::read(m->file(u".pondrift-sync"_s))).trimmed());
        clock.advance(1);
        QVERIFY(QFile::remove(m->file(u"Other.md"_s)));
        QVERIFY(m->engine->syncNow());
        QVERIFY(!m->notes->note(other.id));
    }

    // A root that is away (a disk unmounted) runs no pass and deletes nothing; back with its
    // marker, it is the same folder: a note deleted here meanwhile takes its document along
    // instead of coming back, and a note written meanwhile goes out.
    void rootThatComesBackIsTheSameFolder()
    {
        const Note gone = m->notes->create(u"gone"_s, u"Gone"_s);
        QVERIFY(m->engine->syncNow());
        const QString away = root->path() + u".away"_s;
        QVERIFY(QDir().rename(root->path(), away));
        clock.advance(1);
        m->notes->deleteNote(gone.id);
        const Note written = m->notes->create(u"meanwhile"_s, u"Meanwhile"_s);
        QVERIFY(!m->engine->syncNow());
        QVERIFY(QDir().rename(away, root->path()));
        clock.advance(1);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->names(), QStringList{u"Meanwhile.md"_s});
        QVERIFY(m->notes->note(written.id));
        QVERIFY(!m->notes->note(gone.id));
    }

    // The marker that ties the index to its folder is the sync's own, private, and never
    // taken for a document.
    void folderMarkerIsNeverADocument()
    {
        m->notes->create(u"text"_s, u"A"_s);
        QVERIFY(m->engine->syncNow());
        const QFileInfo marker(m->file(u".pondrift-sync"_s));
        QVERIFY(marker.isFile());
        QCOMPARE(marker.permissions() & (QFile::ReadGroup | QFile::ReadOther), 0);
        QVERIFY(!m->folder.scan().allNames().contains(marker.fileName()));
        clock.advance(1);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->engine->lastPlan(), QList<Action>{});
    }

    // A note whose document became a placeholder, or something of another program's under
    // its name, keeps its note and its entry through passes and a local edit; nothing in or
    // outside the folder changes.
    void otherProgramsFilesKeepTheirNotes_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("Nextcloud's virtual file") << u"nextcloud"_s;
        QTest::newRow("ownCloud's virtual file") << u"owncloud"_s;
        QTest::newRow("a link to a file outside the folder") << u"link"_s;
        QTest::newRow("a pipe") << u"pipe"_s;
        QTest::newRow("a folder") << u"folder"_s;
    }
    void otherProgramsFilesKeepTheirNotes()
    {
        QFETCH(QString, kind);
        QTemporaryDir outside;
        const Note a = m->notes->create(u"text"_s, u"Keep"_s);
        QVERIFY(m->engine->syncNow());
        const QString document = m->file(u"Keep.md"_s);
        const QByteArray theirs = "plain text of another program\n";
        const QString target = outside.filePath(u"theirs.md"_s);
        QVERIFY(TestFiles::write(target, theirs));
        if (kind == u"nextcloud"_s || kind == u"owncloud"_s) {
            QVERIFY(QFile::rename(document, document + u'.' + kind));
        } else {
            QVERIFY(QFile::remove(document));
            if (kind == u"link"_s)
                QVERIFY(QFile::link(target, document));
            else if (kind == u"pipe"_s)
                QCOMPARE(::mkfifo(QFile::encodeName(document).constData(), 0600), 0);
            else
                QVERIFY(QDir().mkpath(document));
        }
        const auto before = TestFiles::snapshot(m->folder.path());
        for (int pass = 0; pass < 3; ++pass) {
            clock.advance(5);
            if (pass == 1)
                m->notes->updateBody(a.id, u"edited here"_s);
            QVERIFY(m->engine->syncNow());
            QCOMPARE(m->notes->notes().size(), 1);
            QVERIFY(m->notes->note(a.id));
            const auto* entry = m->engine->index().entry(a.id);
            QVERIFY(entry);
            QCOMPARE(entry->fileName, u"Keep.md"_s);
        }
        QCOMPARE(TestFiles::snapshot(m->folder.path()), before);
        QCOMPARE(TestFiles::read(target), theirs);
        QCOMPARE(QFileInfo(document).isSymLink(), kind == u"link"_s);
    }

    // Editors and other tools rewrite a document in forms our header reader once missed, or
    // damage its header: under the name the index knows, it is still that note's document.
    // Its text is an edit of the note; what the header no longer says stays as the note has
    // it; no second note appears and the first is not deleted.
    void documentThatLostItsIdentityIsAnEditOfItsNote_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("a document rewritten with CR LF keeps its identity, pin, colour, title "
                      "and archive state")
            << u"crlf"_s;
        QTest::newRow("a header another tool extended with a tags block list") << u"tags"_s;
        QTest::newRow("a byte order mark before the header") << u"bom"_s;
        QTest::newRow("a header that lost its id line") << u"no id"_s;
        QTest::newRow("a header taken away, the text left") << u"no header"_s;
        QTest::newRow("a truncated header on a known file is an edit of that note")
            << u"truncated"_s;
    }
    void documentThatLostItsIdentityIsAnEditOfItsNote()
    {
        QFETCH(QString, kind);
        const Note a = m->notes->create(u"first text"_s, u"Plans"_s, 3);
        m->notes->togglePin(a.id);
        m->notes->setArchived(a.id, true);
        QVERIFY(m->engine->syncNow());
        const QString name = u"Plans.md"_s;
        QCOMPARE(m->names(), QStringList{name});
        QString text = doc(name);
        text.replace(u"first text"_s, u"edited elsewhere"_s);
        QString body = u"edited elsewhere"_s;
        if (kind == u"crlf"_s) {
            text.replace(u"\n"_s, u"\r\n"_s);
        } else if (kind == u"tags"_s) {
            text.replace(u"\n---\n"_s, u"\ntags:\n  - a\n  - b\n---\n"_s);
        } else if (kind == u"bom"_s) {
            text.prepend(QChar(0xFEFF));
        } else if (kind == u"no id"_s) {
            text.remove(u"pondrift-id: "_s + a.id + u'\n');
        } else if (kind == u"no header"_s) {
            text = body;
        } else {
            text = text.left(text.indexOf(u"pondrift-id: "_s) + 20);
            body = text;
        }
        clock.advance(5);
        drop(name, text.toUtf8());
        QVERIFY(m->engine->syncNow());
        QVERIFY2(!plan().contains(u"adopt"_s), qPrintable(plan()));
        QCOMPARE(m->notes->notes().size(), 1);
        const auto note = m->notes->note(a.id);
        QVERIFY(note);
        QCOMPARE(note->body, body);
        QCOMPARE(note->title, u"Plans"_s);
        QCOMPARE(note->color, 3);
        QVERIFY(note->pinned);
        QVERIFY(note->archived);
        QCOMPARE(m->engine->index().entry(a.id)->fileName, name);
        // The next edit here writes the note's own header back into the same document.
        clock.advance(5);
        m->notes->updateBody(a.id, body + u" and here"_s);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->names(), QStringList{name});
        QCOMPARE(idIn(name), a.id);
        QCOMPARE(m->notes->notes().size(), 1);
        clock.advance(5);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), QString());
    }

    // Another tool's keys in a note's header (here a tags block list) belong to that tool:
    // edits on either side, and a restart between them, never drop them.
    void tagsBlockListAddedByAnotherToolSurvivesEditsOnBothSides()
    {
        const QString tags = u"tags:\n  - shopping\n  - home"_s;
        const Note a = m->notes->create(u"milk"_s, u"List"_s);
        QVERIFY(m->engine->syncNow());
        const QString name = u"List.md"_s;
        for (int round = 0; round < 2; ++round) {
            const QString there = u"edited there %1"_s.arg(round);
            QString text = doc(name);
            if (round == 0)
                text.replace(u"\n---\n"_s, u'\n' + tags + u"\n---\n"_s);
            text = text.left(text.indexOf(u"\n---\n\n"_s) + 6) + there;
            clock.advance(5);
            drop(name, text.toUtf8());
            QVERIFY(m->engine->syncNow());
            QCOMPARE(m->notes->note(a.id)->body, there);
            m->restart();
            clock.advance(5);
            m->notes->updateBody(a.id, u"edited here %1"_s.arg(round));
            QVERIFY(m->engine->syncNow());
            QVERIFY2(plan().startsWith(u"push"_s), qPrintable(plan()));
            const QString written = doc(name);
            QVERIFY2(written.contains(u'\n' + tags + u"\n---\n\nedited here"_s),
                     qPrintable(written));
            QCOMPARE(idIn(name), a.id);
        }
        QCOMPARE(m->notes->notes().size(), 1);
    }

    // A document another tool wrote, with keys we do not know: adopted, its header keeps
    // every one of them as it stood, after ours, and the note takes its text, not the
    // header's lines.
    void adoptedHeaderKeepsUnknownKeysVerbatim_data()
    {
        QTest::addColumn<QString>("header");
        QTest::newRow("with a key of ours")
            << u"title: Trip\ntags:\n  - travel\naliases: [Voyage, \"Reise\"]\n"
               u"date: 2024-05-01\ndraft: true"_s;
        QTest::newRow("with none of ours")
            << u"tags:\n- travel\naliases: [Voyage, \"Reise\"]\ndate: 2024-05-01\n"
               u"draft: true"_s;
    }
    void adoptedHeaderKeepsUnknownKeysVerbatim()
    {
        QFETCH(QString, header);
        const QString name = u"Trip.md"_s;
        drop(name, (u"---\n"_s + header + u"\n---\n\nPack the tent"_s).toUtf8());
        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), u"adopt(Trip.md)"_s);
        QCOMPARE(m->notes->notes().size(), 1);
        const Note note = m->notes->notes().front();
        QCOMPARE(note.body, u"Pack the tent"_s);
        QVERIFY(note.title == u"Trip"_s || note.title.isEmpty());
        QStringList foreign = header.split(u'\n');
        foreign.removeIf([](const QString& l) { return l.startsWith(u"title:"_s); });
        const QString written = doc(name);
        QVERIFY2(written.contains(u'\n' + foreign.join(u'\n') + u"\n---\n\nPack the tent"_s),
                 qPrintable(written));
        QCOMPARE(idIn(name), note.id);
        m->restart();
        clock.advance(5);
        m->notes->updateBody(note.id, u"Pack the tent and stove"_s);
        QVERIFY(m->engine->syncNow());
        // A title taken from the text moves the document to a new name; the keys go along.
        QCOMPARE(m->names().size(), 1);
        const QString moved = doc(m->names().front());
        QVERIFY2(moved.contains(foreign.join(u'\n') + u"\n---\n\nPack the tent and"_s),
                 qPrintable(moved));
    }

    // Titles whose characters take several bytes each: the document is written, and a
    // conflict on it leaves its copy, so the same conflict does not come back every pass.
    void longTitlesInWideScriptsSyncAndKeepTheirConflictCopies_data()
    {
        QTest::addColumn<QString>("title");
        QTest::newRow("70 emoji") << u"\U0001F600"_s.repeated(70);
        QTest::newRow("80 Chinese characters") << u"\u4e2d"_s.repeated(80);
    }
    void longTitlesInWideScriptsSyncAndKeepTheirConflictCopies()
    {
        QFETCH(QString, title);
        const Note a = m->notes->create(u"original"_s, title);
        QVERIFY(m->engine->syncNow());
        const QStringList names = m->names();
        QCOMPARE(names.size(), 1);
        QCOMPARE(idIn(names.front()), a.id);
        clock.advance(1);
        m->notes->updateBody(a.id, u"edited here"_s);
        clock.advance(1);
        Note there = *m->notes->note(a.id);
        there.body = u"edited there"_s;
        there.modified = Date{clock.now().seconds};
        drop(names.front(), NoteDocument::render(there).toUtf8());
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->notes->note(a.id)->body, u"edited there"_s);
        QCOMPARE(m->names(u"Conflicts"_s).size(), 1);
        clock.advance(5);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->engine->lastPlan(), QList<Action>{});
        QCOMPARE(m->names(u"Conflicts"_s).size(), 1);
    }

    // Another program rewrites a document with its id in another Unicode form of the same
    // text (decomposed accents): it is still the same note, edited, not a second one.
    void idInAnotherUnicodeFormIsTheSameNote()
    {
        const QString composed = u"CAF\u00C9-0001"_s;
        const QString decomposed = u"CAFE\u0301-0001"_s;
        m->notes->absorb(aNote()
                             .id(composed)
                             .title(u"Caf\u00e9"_s)
                             .body(u"espresso"_s)
                             .modified(clock.now().seconds));
        QVERIFY(m->engine->syncNow());
        const QStringList names = m->names();
        QCOMPARE(names.size(), 1);
        clock.advance(5);
        Note there = *m->notes->note(composed);
        there.id = decomposed;
        there.body = u"ristretto"_s;
        there.modified = Date{clock.now().seconds};
        drop(names.front(), NoteDocument::render(there).toUtf8());
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->notes->notes().size(), 1);
        QCOMPARE(m->notes->notes().front().id, composed);
        QCOMPARE(m->notes->notes().front().body, u"ristretto"_s);
        QCOMPARE(m->names(u"Conflicts"_s), QStringList{});
        for (int pass = 0; pass < 2; ++pass) {
            clock.advance(5);
            QVERIFY(m->engine->syncNow());
            QCOMPARE(m->engine->lastPlan(), QList<Action>{});
        }
        m->restart();
        clock.advance(5);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->notes->notes().size(), 1);
        QCOMPARE(m->notes->notes().front().body, u"ristretto"_s);
    }
    // Two machines find the same dropped file before either sees the other's adoption: both
    // make the same note, under one id, and write the same document, so the file that wins at
    // the sync client is the other's too and nothing is deleted on either machine.
    void sameFileAdoptedOnTwoMachinesIsOneNote()
    {
        SyncMachine b(root->path(), clock);
        const QByteArray dropped = "buy milk\n- [ ] eggs";
        drop(u"Dropped.md"_s, dropped);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), u"adopt(Dropped.md)"_s);
        const QString id = idIn(u"Dropped.md"_s);
        const QByteArray here = TestFiles::read(m->file(u"Dropped.md"_s));

        // The other machine still has the file as it was dropped, with its date.
        QVERIFY(TestFiles::write(b.file(u"Dropped.md"_s), dropped));
        b.folder.stamp(b.file(u"Dropped.md"_s));
        QVERIFY(b.engine->syncNow());
        QCOMPARE(b.notes->notes().size(), 1);
        QCOMPARE(b.notes->notes().front().id, id);
        QCOMPARE(TestFiles::read(b.file(u"Dropped.md"_s)), here);

        for (int pass = 0; pass < 3; ++pass) {
            clock.advance(5);
            QVERIFY(m->engine->syncNow());
            QVERIFY(b.engine->syncNow());
        }
        for (SyncMachine* side : {m.get(), &b}) {
            QCOMPARE(side->notes->notes().size(), 1);
            QCOMPARE(side->notes->notes().front().id, id);
            QCOMPARE(side->engine->lastPlan(), QList<Action>{});
            QCOMPARE(QDir(side->trash.folder()).entryList({u"*.md"_s}, QDir::Files), QStringList{});
        }
        QCOMPARE(m->names(), QStringList{u"Dropped.md"_s});
    }

    // An adoption whose document cannot be written keeps its note; the program then ends
    // before a pass could write it. The next launch adopts the file under the same id, so
    // the note is there once, with its document.
    void adoptionRetriedAfterARestartMakesNoSecondNote()
    {
        drop(u"loose.md"_s, "- [ ] eggs");
        m->folder.files.failPathsContaining(u"loose"_s);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->notes->notes().size(), 1);
        m->restart();
        m->folder.files.heal();
        clock.advance(5);
        QVERIFY(m->engine->syncNow());
        clock.advance(5);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->notes->notes().size(), 1);
        // The note's first push may name its document after it; one either way.
        const QStringList names = m->names();
        QCOMPARE(names.size(), 1);
        QCOMPARE(idIn(names.front()), m->notes->notes().front().id);
    }

    // A rename elsewhere arrives in two steps: the new document first, the removal of the old
    // one a moment later. A pass in between adopts nothing and deletes nothing; once the old
    // name is gone, the note is the same, under its id, in one document.
    void renameArrivingInTwoStepsKeepsTheNote_data()
    {
        QTest::addColumn<QString>("title"); // of the note elsewhere, which names the new file
        QTest::addColumn<QString>("renamed");
        QTest::newRow("a title changed elsewhere") << u"Ideas"_s << u"Ideas.md"_s;
        QTest::newRow("a file renamed by hand elsewhere") << u"Plans"_s << u"By hand.md"_s;
    }
    void renameArrivingInTwoStepsKeepsTheNote()
    {
        QFETCH(QString, title);
        QFETCH(QString, renamed);
        const Note a = m->notes->create(u"call Ana at 5"_s, u"Plans"_s);
        QVERIFY(m->engine->syncNow());
        const auto before = *m->notes->note(a.id);
        clock.advance(2);
        Note there = before;
        there.title = title;
        if (title != before.title)
            there.modified = Date{std::floor(clock.now().seconds)};
        drop(renamed, NoteDocument::render(there).toUtf8());

        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), QString());
        QCOMPARE(m->notes->notes().size(), 1);
        QCOMPARE(m->names().size(), 2);

        clock.advance(1);
        QVERIFY(QFile::remove(m->file(u"Plans.md"_s)));
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->notes->notes().size(), 1);
        QCOMPARE(m->notes->notes().front().id, a.id);
        QCOMPARE(m->notes->notes().front().title, title);
        // A document keeps whole seconds.
        QCOMPARE(std::floor(m->notes->notes().front().created.seconds),
                 std::floor(before.created.seconds));
        QCOMPARE(m->names(), QStringList{renamed});
        QCOMPARE(idIn(renamed), a.id);
        QCOMPARE(QDir(m->trash.folder()).entryList({u"*.md"_s}, QDir::Files), QStringList{});
        clock.advance(5);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), QString());
        m->restart();
        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), QString());
    }

    // A sync client's own copy of a file that changed on two machines at once, named in its
    // way: with the text its original holds it adds nothing and goes; with other text it is
    // adopted, once.
    void clientsConflictCopies_data()
    {
        QTest::addColumn<QString>("copy");
        QTest::addColumn<bool>("sameText");
        const QStringList names{
            u"Plans.sync-conflict-20260314-092653-ABCDEFG.md"_s,
            u"Plans (conflicted copy 2026-03-14 092653).md"_s,
            u"Plans_conflict-20260314-092653.md"_s,
            u"Plans (Ana's conflicted copy 2026-03-14).md"_s,
        };
        const QStringList clients{u"Syncthing"_s, u"Nextcloud or ownCloud"_s,
                                  u"an older ownCloud"_s, u"Dropbox"_s};
        for (qsizetype i = 0; i < names.size(); ++i) {
            QTest::addRow("%s: a copy with its original's text goes", qPrintable(clients[i]))
                << names[i] << true;
            QTest::addRow("%s: a copy with other text is a note", qPrintable(clients[i]))
                << names[i] << false;
        }
    }
    void clientsConflictCopies()
    {
        QFETCH(QString, copy);
        QFETCH(bool, sameText);
        const Note a = m->notes->create(u"call Ana at 5"_s, u"Plans"_s);
        QVERIFY(m->engine->syncNow());
        clock.advance(2);
        Note there = *m->notes->note(a.id);
        there.pinned = true; // the copy's other fields do not make it new
        if (!sameText)
            there.body = u"call Ana at 6"_s;
        drop(copy, NoteDocument::render(there).toUtf8());

        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), sameText ? u"discard(%1)"_s.arg(copy) : u"adopt(%1)"_s.arg(copy));
        QCOMPARE(m->notes->notes().size(), sameText ? 1 : 2);
        QCOMPARE(m->notes->note(a.id)->body, u"call Ana at 5"_s);
        QCOMPARE(idIn(u"Plans.md"_s), a.id);
        if (sameText) {
            QCOMPARE(m->names(), QStringList{u"Plans.md"_s});
        } else {
            const QString adopted = idIn(copy);
            QVERIFY(adopted != a.id);
            QCOMPARE(m->notes->note(adopted)->body, u"call Ana at 6"_s);
        }
        for (int pass = 0; pass < 2; ++pass) {
            clock.advance(5);
            QVERIFY(m->engine->syncNow());
            QCOMPARE(plan(), QString());
        }
        m->restart();
        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), QString());
        QCOMPARE(m->notes->notes().size(), sameText ? 1 : 2);
    }

    // Two documents of a note this machine has not seen yet, one of them a copy someone made
    // with other text: the copy becomes a note of its own and is not also pulled under the
    // original's id, which would leave two entries naming one file and the newest text in
    // no note.
    void copyAdoptedInAPassIsNotPulledInIt()
    {
        const Note plans = aNote()
                               .id(u"FROM-ELSEWHERE"_s)
                               .title(u"Plans"_s)
                               .body(u"newest text"_s)
                               .modified(clock.now().seconds - 10);
        Note older = plans;
        older.body = u"older text"_s;
        drop(u"Plans_2.md"_s, NoteDocument::render(older).toUtf8());
        clock.advance(1);
        drop(u"Plans.md"_s, NoteDocument::render(plans).toUtf8());

        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), u"adopt(Plans_2.md); pull(Plans.md)"_s);
        QCOMPARE(m->notes->notes().size(), 2);
        QCOMPARE(m->notes->note(plans.id)->body, u"newest text"_s);
        QSet<QString> named;
        for (auto it = m->engine->index().entries().cbegin();
             it != m->engine->index().entries().cend(); ++it)
            named.insert(it->fileName);
        QCOMPARE(named, (QSet<QString>{u"Plans.md"_s, u"Plans_2.md"_s}));

        m->restart(false);
        clock.advance(5);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), QString());
        QCOMPARE(m->notes->note(plans.id)->body, u"newest text"_s);
        QCOMPARE(m->notes->note(idIn(u"Plans_2.md"_s))->body, u"older text"_s);
    }

    // Whether a side changed is told by content, never by clocks. A document that arrives
    // dated before the last sync (a sender's clock behind, an older version restored, a
    // client that keeps the sender's date) is still a change, and is pulled.
    void fileArrivingWithAnOlderDateIsPulled_data()
    {
        QTest::addColumn<double>("behind"); // seconds before the last sync
        QTest::newRow("a second behind") << 1.0;
        QTest::newRow("an hour behind") << 3600.0;
    }
    void fileArrivingWithAnOlderDateIsPulled()
    {
        QFETCH(double, behind);
        const Note a = m->notes->create(u"first"_s, u"Plans"_s);
        QVERIFY(m->engine->syncNow());
        clock.advance(2);
        const double past = clock.now().seconds - 2 - behind;
        const Note there =
            aNote().id(a.id).title(u"Plans"_s).body(u"from a clock behind"_s).modified(past);
        QVERIFY(TestFiles::write(m->file(u"Plans.md"_s), NoteDocument::render(there).toUtf8()));
        QVERIFY(dateFile(m->file(u"Plans.md"_s), past));
        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), u"pull(Plans.md)"_s);
        QCOMPARE(m->notes->note(a.id)->body, u"from a clock behind"_s);
        clock.advance(5);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), QString());
    }

    // Two machines on one folder, one clock a minute ahead of the other. An edit made on the
    // machine behind, after it pulled from the one ahead, is written with dates before the
    // last sync the machine ahead remembers; it must still reach that machine, and a later
    // edit there must not overwrite it.
    void localEditAfterPullingFromAClockAheadReachesIt()
    {
        ManualScheduler aheadClock(Date{clock.now().seconds + 60});
        SyncMachine ahead(root->path(), aheadClock);
        const auto advance = [&](double s) {
            clock.advance(s);
            aheadClock.advance(s);
        };
        const Note a = ahead.notes->create(u"first"_s, u"Plans"_s);
        QVERIFY(ahead.engine->syncNow());
        advance(1);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->notes->note(a.id)->body, u"first"_s);
        advance(1);
        m->notes->updateBody(a.id, u"first\nedited behind"_s);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), u"push(%1, Plans.md)"_s.arg(a.id));
        advance(1);
        QVERIFY(ahead.engine->syncNow());
        QCOMPARE(ahead.notes->note(a.id)->body, u"first\nedited behind"_s);
        advance(1);
        ahead.notes->updateBody(a.id, u"first\nedited behind\nedited ahead"_s);
        QVERIFY(ahead.engine->syncNow());
        advance(1);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->notes->note(a.id)->body, u"first\nedited behind\nedited ahead"_s);
        QCOMPARE(m->names(u"Conflicts"_s), QStringList{});
    }

    // Pinning leaves modified as it was, yet it changes the document, so it is a change: it
    // is written out, and arrives on the other side.
    void pinAloneReachesTheDocument()
    {
        const Note a = m->notes->create(u"text"_s, u"Plans"_s);
        QVERIFY(m->engine->syncNow());
        clock.advance(1);
        m->notes->togglePin(a.id);
        QCOMPARE(m->notes->note(a.id)->modified, a.modified);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), u"push(%1, Plans.md)"_s.arg(a.id));
        QVERIFY(NoteDocument::parse(doc(u"Plans.md"_s), {}).note.pinned);
        SyncMachine other(root->path(), clock);
        QVERIFY(other.engine->syncNow());
        QVERIFY(other.notes->note(a.id)->pinned);
        clock.advance(1);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), QString());
    }

    // Two machines on one folder with clocks a minute apart either way, a seeded series of
    // edits on both: every edit appends a line of its own, so each line must end in the note
    // on both machines or in a conflict copy; both machines end in agreement.
    void skewedClocksConvergeWithoutLosingAnEdit_data()
    {
        QTest::addColumn<double>("skew");
        QTest::addColumn<quint32>("seed");
        for (const double skew : {60.0, -60.0}) {
            for (const quint32 seed : {1u, 2u, 3u})
                QTest::addRow("skew %+.0f s, seed %u", skew, seed) << skew << seed;
        }
    }
    void skewedClocksConvergeWithoutLosingAnEdit()
    {
        QFETCH(double, skew);
        QFETCH(quint32, seed);
        QRandomGenerator random(seed);
        ManualScheduler otherClock(Date{clock.now().seconds + skew});
        SyncMachine other(root->path(), otherClock);
        SyncMachine* sides[] = {m.get(), &other};
        const auto advance = [&](double s) {
            clock.advance(s);
            otherClock.advance(s);
        };
        QStringList ids;
        for (int i = 0; i < 3; ++i)
            ids << m->notes->create(u"note %1"_s.arg(i), u"Note %1"_s.arg(i)).id;
        QVERIFY(m->engine->syncNow());
        QVERIFY(other.engine->syncNow());
        QStringList edits;
        for (int step = 0; step < 40; ++step) {
            SyncMachine& side = *sides[random.bounded(2)];
            const QString id = ids[random.bounded(ids.size())];
            const int op = random.bounded(4);
            if (op < 2) {
                const QString line = u"edit %1"_s.arg(step);
                side.notes->updateBody(id, side.notes->note(id)->body + u'\n' + line);
                edits << line;
            } else if (op == 2) {
                side.notes->togglePin(id);
            } else {
                QVERIFY(side.engine->syncNow());
            }
            advance(random.bounded(1500) / 1000.0);
        }
        bool quiet = false;
        for (int round = 0; round < 8 && !quiet; ++round) {
            advance(2);
            QVERIFY(m->engine->syncNow());
            QVERIFY(other.engine->syncNow());
            quiet = m->engine->lastPlan().isEmpty() && other.engine->lastPlan().isEmpty();
        }
        QVERIFY(quiet);
        const QString copies = conflictCopies(*m);
        for (const QString& id : ids) {
            const Note here = *m->notes->note(id);
            const Note there = *other.notes->note(id);
            QCOMPARE(there.body, here.body);
            QCOMPARE(there.pinned, here.pinned);
        }
        for (const QString& line : edits) {
            bool kept = copies.contains(line + u'\n');
            for (const QString& id : ids) {
                const QString body = m->notes->note(id)->body;
                kept = kept || body.contains(line + u'\n') || body.endsWith(line);
            }
            QVERIFY2(kept, qPrintable(line));
        }
    }

    // An index saved before content hashes were kept loads, and costs one reading of each
    // document: content that agrees is only recorded, a change made in the second of that
    // index's last sync is carried, and after that an unchanged pass reads nothing.
    void indexFromBeforeHashesLosesNothing_data()
    {
        QTest::addColumn<bool>("edited"); // here, in the second of the last sync
        QTest::newRow("nothing changed: recorded only") << false;
        QTest::newRow("an edit in the second of the last sync is kept") << true;
    }
    void indexFromBeforeHashesLosesNothing()
    {
        QFETCH(bool, edited);
        const double second = nextWholeSecond();
        advanceTo(second + 0.1);
        const Note a = m->notes->create(u"first"_s, u"Plans"_s);
        advanceTo(second + 0.2);
        QVERIFY(m->engine->syncNow());
        if (edited) {
            advanceTo(second + 0.6);
            m->notes->updateBody(a.id, u"second"_s);
        }
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
        QVERIFY(m->engine->syncNow());
        QStringList expected{u"reindex(%1, Plans.md)"_s.arg(a.id)};
        if (edited)
            expected = {u"conflict(%1, Plans.md, local)"_s.arg(a.id)};
        QCOMPARE(plan(), expected.join(u"; "_s));
        const QString body = edited ? u"second"_s : u"first"_s;
        QCOMPARE(m->notes->note(a.id)->body, body);
        QVERIFY(doc(u"Plans.md"_s).endsWith(body));
        if (edited)
            QVERIFY(conflictCopies(*m).contains(u"first"_s));
        clock.advance(2);
        const int reads = m->folder.reads;
        QVERIFY(m->engine->syncNow());
        QCOMPARE(plan(), QString());
        QCOMPARE(m->folder.reads, reads);
    }
};

QTEST_GUILESS_MAIN(TestCloudSync)
#include "tst_cloudsync.moc"
