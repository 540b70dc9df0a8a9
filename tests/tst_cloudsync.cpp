#include "exchange/NoteDocument.h"
#include "platform/Log.h"
#include "support/ManualScheduler.h"
#include "support/NoteBuilder.h"
#include "support/SyncMachine.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

#include <cmath>
#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;
using Answer = MassDeletePrompt::Answer;
using SyncPlan::Action;

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
    // the file was written: a hand edit leaves the declared date behind, and a machine whose
    // clock runs ahead declares a date the file has not reached. Either way the note, the
    // database and the index agree on it, so that the next pass sees no change.
    void pulledNoteTakesTheLaterOfItsDeclaredAndFileDates_data()
    {
        QTest::addColumn<bool>("known");           // the note was synced here before
        QTest::addColumn<double>("declaredAhead"); // of the file's date, in whole seconds
        QTest::newRow("a hand edit: the file's date is later") << true << -100.0;
        QTest::newRow("a clock ahead elsewhere: the declared date is later") << true << 60.0;
        QTest::newRow("a note never seen here, dated behind its file") << false << -100.0;
        QTest::newRow("a note never seen here, dated ahead of its file") << false << 60.0;
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
        const Date expected = declaredAhead > 0 ? declared : written;
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

    // The index file keeps whole seconds, while a note's modified and a file's date carry
    // fractions. After a restart, an entry whose whole second still matches is taken for the
    // exact date it was cut from: the restart alone pushes, pulls and reads nothing, wherever
    // the fractions fall.
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
        QCOMPARE(m->engine->index().entry(a.id)->syncedModified, m->notes->note(a.id)->modified);
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

    // The same change, with the restart before any pass could carry it: the restored entry
    // is settled to the changed date, which shares its whole second, so the change is never
    // sent and the next change from the other side replaces it without a conflict copy.
    // The index keeps no fraction from which to tell the two apart.
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
        QEXPECT_FAIL("", "a restored entry is settled to any date of its own whole second", Abort);
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
};

QTEST_GUILESS_MAIN(TestCloudSync)
#include "tst_cloudsync.moc"
