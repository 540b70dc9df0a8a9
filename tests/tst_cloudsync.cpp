#include "exchange/NoteDocument.h"
#include "platform/Log.h"
#include "support/ClockedFolder.h"
#include "support/ManualScheduler.h"
#include "support/MemoryNoteStore.h"
#include "support/ScriptedPrompt.h"
#include "sync/CloudSync.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Qt::Literals::StringLiterals;
using SyncPlan::Action;

namespace {

// One machine: its own data folder and store, the shared sync root, shared virtual time.
struct Machine {
    Machine(const QString& root, ManualScheduler& clock)
        : folder(root, clock)
        , clock(clock)
    {
        restart();
    }
    // A new engine that loads its index from disk, as after a relaunch.
    void restart()
    {
        engine.reset();
        engine = std::make_unique<CloudSync>(folder, store, clock, folder.files,
                                             data.filePath(u"index.json"_s),
                                             [this] { return enabled; }, prompt);
    }
    Note create(const QString& title, const QString& body = u"text"_s)
    {
        Note n;
        n.title = title;
        n.body = body;
        n.created = n.modified = clock.now();
        store.put(n);
        return n;
    }
    void edit(const QString& id, const QString& body)
    {
        Note n = *store.note(id);
        n.body = body;
        n.modified = clock.now();
        store.put(n);
    }
    QString file(const QString& name) const { return folder.path() + u'/' + name; }
    QStringList names() const
    {
        return QDir(folder.path()).entryList({u"*.md"_s}, QDir::Files, QDir::Name);
    }
    QStringList conflicts() const
    {
        return QDir(folder.path() + u"/Conflicts"_s).entryList(QDir::Files, QDir::Name);
    }

    QTemporaryDir data;
    ClockedFolder folder;
    ManualScheduler& clock;
    MemoryNoteStore store;
    ScriptedPrompt prompt;
    bool enabled = true;
    std::unique_ptr<CloudSync> engine;
};

QString readAll(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? QString::fromUtf8(f.readAll()) : QString();
}

void writeAll(const QString& path, const QByteArray& data)
{
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(data);
}

} // namespace

class TestCloudSync : public QObject {
    Q_OBJECT

    QTemporaryDir root;
    std::unique_ptr<ManualScheduler> clock;
    std::unique_ptr<Machine> m;
    std::unique_ptr<Log::Capture> quiet;
    QStringList log;

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init()
    {
        clock = std::make_unique<ManualScheduler>(Date{1'773'480'413.0});
        QDir(root.path()).removeRecursively();
        QDir().mkpath(root.path());
        m = std::make_unique<Machine>(root.path(), *clock);
        log.clear();
        quiet = std::make_unique<Log::Capture>([this](const QString& l) { log << l; });
    }
    void cleanup()
    {
        quiet.reset();
        m.reset();
    }

    void passWithTheSettingOffTouchesNothing()
    {
        m->enabled = false;
        m->create(u"A"_s);
        QVERIFY(!m->engine->syncNow());
        QVERIFY(!QFileInfo::exists(m->folder.path()));
        QCOMPARE(m->folder.scans, 0);
    }

    void unavailableRootSkipsThePass()
    {
        Machine away(root.filePath(u"missing"_s), *clock);
        QVERIFY(!away.engine->syncNow());
        QVERIFY(log.last().startsWith(u"Pondrift cloud: iCloud Drive is unavailable \u2014 "_s));
        QCOMPARE(away.engine->lastSync(), std::nullopt);
    }

    void notesGoOutAndQuietPassesPlanNothing()
    {
        const Note a = m->create(u"Plans"_s, u"☐ milk"_s);
        QSignalSpy spy(m->engine.get(), &CloudSync::lastSyncChanged);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(spy.count(), 1);
        QCOMPARE(m->names(), QStringList{u"Plans.md"_s});
        QCOMPARE(readAll(m->file(u"Plans.md"_s)), NoteDocument::render(a));
        QVERIFY(QFileInfo::exists(m->data.filePath(u"index.json"_s)));
        const int reads = m->folder.reads;
        clock->advance(5);
        QVERIFY(m->engine->syncNow());
        QVERIFY(m->engine->lastPlan().isEmpty());
        QCOMPARE(m->folder.reads, reads); // an unchanged file is not read
    }

    void restartOfEitherSidePlansNothing()
    {
        m->create(u"One"_s);
        QVERIFY(m->engine->syncNow());
        // A second machine that pulled the note, then both restart.
        Machine other(root.path(), *clock);
        clock->advance(1);
        QVERIFY(other.engine->syncNow());
        QCOMPARE(other.store.notes().size(), 1);
        for (Machine* side : {m.get(), &other}) {
            clock->advance(0.37);
            side->restart();
            const int reads = side->folder.reads;
            QVERIFY(side->engine->syncNow());
            QCOMPARE(side->engine->lastPlan(), QList<Action>{});
            QCOMPARE(side->folder.reads, reads);
            QVERIFY(side->conflicts().isEmpty());
        }
    }

    void burstOfEditsGivesOnePass()
    {
        m->engine->start();
        const Note a = m->create(u"A"_s);
        const int scans = m->folder.scans;
        for (int i = 0; i < 5; ++i) {
            clock->advance(0.3);
            m->edit(a.id, u"edit %1"_s.arg(i));
        }
        clock->advance(0.99);
        QCOMPARE(m->folder.scans, scans);
        clock->advance(0.02);
        QCOMPARE(m->folder.scans, scans + 1);
        QVERIFY(readAll(m->file(u"A.md"_s)).endsWith(u"edit 4"_s));
        m->engine->stop();
        clock->advance(20);
        QCOMPARE(m->folder.scans, scans + 1);
    }

    void changesMadeByAPassScheduleNoOtherPass()
    {
        m->engine->start();
        clock->advance(0.1);
        writeAll(m->file(u"dropped.md"_s), "hello from outside");
        m->folder.stamp(m->file(u"dropped.md"_s));
        clock->advance(4.95); // the repeating pass adopts the file into the store
        QCOMPARE(m->store.notes().size(), 1);
        const int scans = m->folder.scans;
        clock->advance(1.5);
        QCOMPARE(m->folder.scans, scans);
    }

    void syncNowDuringAPassIsTurnedAway()
    {
        Machine other(root.path(), *clock);
        other.create(u"From elsewhere"_s);
        QVERIFY(other.engine->syncNow());
        QList<bool> nested;
        QObject context;
        m->store.observeNotes(&context, [&] { nested << m->engine->syncNow(); });
        clock->advance(1);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(nested, QList<bool>{false});
    }

    void plainMarkdownBecomesANoteAtTheHead()
    {
        m->create(u"Old"_s);
        QVERIFY(m->engine->syncNow());
        clock->advance(1);
        writeAll(m->file(u"Shopping list.md"_s), "- [ ] eggs");
        m->folder.stamp(m->file(u"Shopping list.md"_s));
        QVERIFY(m->engine->syncNow());
        const QList<Note> active = m->store.active();
        QCOMPARE(active.size(), 2);
        QCOMPARE(active.front().body, u"☐ eggs"_s);
        QCOMPARE(active.front().order, -1.0);
        QCOMPARE(active.front().title, QString());
        const auto parsed =
            NoteDocument::parse(readAll(m->file(u"Shopping list.md"_s)), QString());
        QVERIFY(parsed.hasIdentity);
        QCOMPARE(parsed.note.id, active.front().id);
    }

    void adoptionWhoseRewriteFailsMakesNoSecondNote()
    {
        QVERIFY(m->engine->syncNow());
        writeAll(m->file(u"loose.md"_s), "a plain file");
        m->folder.stamp(m->file(u"loose.md"_s));
        m->folder.failingWrites.insert(u"loose.md"_s);
        clock->advance(1);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->store.notes().size(), 1);
        m->folder.failingWrites.clear();
        clock->advance(5);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->store.notes().size(), 1);
        // The note's own push may rename the file after its title; there is one either way.
        QCOMPARE(m->names().size(), 1);
        const auto parsed = NoteDocument::parse(readAll(m->file(m->names().front())), QString());
        QVERIFY(parsed.hasIdentity);
        QCOMPARE(parsed.note.id, m->store.notes().front().id);
    }

    void titleChangesMoveTheFile()
    {
        const Note a = m->create(u"First"_s);
        QVERIFY(m->engine->syncNow());
        clock->advance(1);
        Note renamed = *m->store.note(a.id);
        renamed.title = u"Second"_s;
        renamed.modified = clock->now();
        m->store.put(renamed);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->names(), QStringList{u"Second.md"_s});
        QCOMPARE(m->engine->index().entry(a.id)->fileName, u"Second.md"_s);
    }

    void sameTitlesTakeNumbers()
    {
        m->create(u"Plans"_s);
        m->create(u"Plans"_s);
        m->create(u"PLANS"_s);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->names(),
                 (QStringList{u"PLANS-3.md"_s, u"Plans-2.md"_s, u"Plans.md"_s}));
    }

    void renamedDocumentKeepsItsNote()
    {
        const Note a = m->create(u"Name"_s);
        QVERIFY(m->engine->syncNow());
        clock->advance(1);
        QVERIFY(QFile::rename(m->file(u"Name.md"_s), m->file(u"Renamed by hand.md"_s)));
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->store.notes().size(), 1);
        QCOMPARE(m->store.notes().front().id, a.id);
        clock->advance(1);
        m->edit(a.id, u"new text"_s);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->names(), QStringList{u"Renamed by hand.md"_s});
    }

    void conflictKeepsTheLosersCopy()
    {
        const Note a = m->create(u"Plans"_s, u"original"_s);
        QVERIFY(m->engine->syncNow());
        clock->advance(1);
        m->edit(a.id, u"edited here"_s);
        clock->advance(1);
        Note there = *m->store.note(a.id);
        there.body = u"edited there"_s;
        there.modified = clock->now();
        writeAll(m->file(u"Plans.md"_s), NoteDocument::render(there).toUtf8());
        m->folder.stamp(m->file(u"Plans.md"_s));
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->store.note(a.id)->body, u"edited there"_s);
        QCOMPARE(m->conflicts().size(), 1);
        QVERIFY(m->conflicts().front().startsWith(u"Plans (conflict "_s));
        QCOMPARE(readAll(m->folder.path() + u"/Conflicts/"_s + m->conflicts().front()),
                 u"# Plans\n\nedited here"_s);
        QVERIFY(log.contains(
            u"Pondrift cloud: conflict on Plans.md \u2014 kept a copy in Conflicts"_s));
    }

    // Each of these leaves the note where it was.
    void faultsLoseNothing_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::newRow("an unreadable document protects its note") << u"unreadable"_s;
        QTest::newRow("a placeholder name protects its note") << u"placeholder"_s;
        QTest::newRow("a link to nowhere protects its note") << u"dangling link"_s;
        QTest::newRow("a directory wearing the document's name protects its note")
            << u"directory"_s;
        QTest::newRow("the folder deleted between two passes loses no note") << u"folder"_s;
    }
    void faultsLoseNothing()
    {
        QFETCH(QString, fault);
        const Note a = m->create(u"Keep"_s);
        QVERIFY(m->engine->syncNow());
        clock->advance(1);
        const QString path = m->file(u"Keep.md"_s);
        if (fault == u"unreadable"_s) {
            // Changed elsewhere, so the pass must read it, and the read fails.
            m->folder.stamp(path);
            m->folder.failingReads.insert(u"Keep.md"_s);
        } else if (fault == u"dangling link"_s) {
            QVERIFY(QFile::remove(path));
            QVERIFY(QFile::link(root.filePath(u"nowhere"_s), path));
        } else if (fault == u"placeholder"_s) {
            QVERIFY(QFile::rename(path, m->file(u".Keep.md.icloud"_s)));
        } else if (fault == u"directory"_s) {
            QVERIFY(QFile::remove(path));
            QVERIFY(QDir().mkpath(path));
        } else {
            QVERIFY(QDir(m->folder.path()).removeRecursively());
        }
        QVERIFY(m->engine->syncNow());
        QVERIFY(m->store.note(a.id));
        clock->advance(5);
        QVERIFY(m->engine->syncNow());
        QVERIFY(m->store.note(a.id));
        QVERIFY(!m->store.pendingUndo);
        if (fault == u"folder"_s)
            QCOMPARE(m->names(), QStringList{u"Keep.md"_s});
    }

    void fileThatIsNotUtf8IsSkipped()
    {
        m->create(u"Good"_s);
        QVERIFY(m->engine->syncNow());
        writeAll(m->file(u"latin1.md"_s), "caf\xe9 \xff\xfe");
        m->folder.stamp(m->file(u"latin1.md"_s));
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->store.notes().size(), 1);
        QVERIFY(m->engine->lastPlan().isEmpty());
        QFile f(m->file(u"latin1.md"_s));
        QVERIFY(f.open(QIODevice::ReadOnly));
        QCOMPARE(f.readAll(), "caf\xe9 \xff\xfe"_ba);
    }

    void failedWriteIsRetried()
    {
        const Note a = m->create(u"Target"_s);
        QVERIFY(m->engine->syncNow());
        const auto before = *m->engine->index().entry(a.id);
        clock->advance(1);
        m->edit(a.id, u"second version"_s);
        const QString path = m->file(u"Target.md"_s);
        m->folder.failingWrites.insert(u"Target.md"_s);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(*m->engine->index().entry(a.id), before);
        QVERIFY(m->store.note(a.id));
        m->folder.failingWrites.clear();
        clock->advance(5);
        QVERIFY(m->engine->syncNow());
        QVERIFY(readAll(path).endsWith(u"second version"_s));
        QCOMPARE(m->store.note(a.id)->body, u"second version"_s);
    }

    void emptiedFolderTripsTheBrake_data()
    {
        QTest::addColumn<bool>("restore");
        QTest::newRow("answered restore: the documents come back") << true;
        QTest::newRow("answered delete: the notes go") << false;
    }
    void emptiedFolderTripsTheBrake()
    {
        QFETCH(bool, restore);
        for (int i = 0; i < 6; ++i)
            m->create(u"Note %1"_s.arg(i));
        QVERIFY(m->engine->syncNow());
        for (const QString& name : m->names())
            QVERIFY(QFile::remove(m->file(name)));
        m->create(u"Fresh"_s);
        clock->advance(1);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->prompt.counts, QList<int>{6});
        QCOMPARE(m->store.notes().size(), 7);
        QCOMPARE(m->names(), QStringList{u"Fresh.md"_s}); // the rest of the pass went on
        QCOMPARE(log.filter(u"holding back"_s).size(), 1);
        clock->advance(5);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->prompt.counts.size(), 1); // asked once
        QCOMPARE(m->store.notes().size(), 7);
        m->prompt.reply(restore ? MassDeletePrompt::Answer::RestoreToFolder
                                : MassDeletePrompt::Answer::DeleteHere);
        clock->advance(0.1);
        QCOMPARE(m->store.notes().size(), restore ? 7 : 1);
        QCOMPARE(m->names().size(), restore ? 7 : 1);
        clock->advance(5);
        QVERIFY(m->engine->syncNow());
        QVERIFY(m->engine->lastPlan().isEmpty());
    }

    void fewDeletionsPassTheBrake()
    {
        for (int i = 0; i < 4; ++i)
            m->create(u"Note %1"_s.arg(i));
        QVERIFY(m->engine->syncNow());
        QVERIFY(QFile::remove(m->file(u"Note 0.md"_s)));
        QVERIFY(QFile::remove(m->file(u"Note 1.md"_s)));
        QVERIFY(m->engine->syncNow());
        QVERIFY(m->prompt.counts.isEmpty());
        QCOMPARE(m->store.notes().size(), 2);
    }

    // A note deleted by sync can come back from the folder while it still waits in the
    // store's undo slot; an undo then must not make two records with one id.
    void undoNeverDoublesANote()
    {
        const Note a = m->create(u"Twice"_s);
        QVERIFY(m->engine->syncNow());
        const QByteArray document = readAll(m->file(u"Twice.md"_s)).toUtf8();
        QVERIFY(QFile::remove(m->file(u"Twice.md"_s)));
        clock->advance(1);
        QVERIFY(m->engine->syncNow());
        QVERIFY(m->store.pendingUndo);
        clock->advance(1);
        writeAll(m->file(u"Twice.md"_s), document); // another machine writes it back
        m->folder.stamp(m->file(u"Twice.md"_s));
        QVERIFY(m->engine->syncNow());
        m->store.undoDelete();
        clock->advance(5);
        QVERIFY(m->engine->syncNow());
        clock->advance(10);
        QVERIFY(m->engine->syncNow());
        int copies = 0;
        for (const Note& n : m->store.notes())
            copies += n.id == a.id;
        QCOMPARE(copies, 1);
    }

    void recreatedFolderIsAFirstSync()
    {
        for (int i = 0; i < 5; ++i)
            m->create(u"N%1"_s.arg(i));
        QVERIFY(m->engine->syncNow());
        QVERIFY(QDir(m->folder.path()).removeRecursively());
        clock->advance(1);
        QVERIFY(m->engine->syncNow());
        QCOMPARE(m->store.notes().size(), 5);
        QCOMPARE(m->names().size(), 5);
        QVERIFY(m->prompt.counts.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestCloudSync)
#include "tst_cloudsync.moc"
