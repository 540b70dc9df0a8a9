#include "exchange/NoteDocument.h"
#include "images/ImageStore.h"
#include "notes/NoteStore.h"
#include "notes/NoteText.h"
#include "notes/Store.h"
#include "platform/Log.h"
#include "support/ClockedFolder.h"
#include "support/ManualScheduler.h"
#include "support/ScriptedPrompt.h"
#include "sync/CloudSync.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

// One machine of the pair: its own data folder with a real database, store and engine;
// the sync folder is shared.
struct Machine {
    Machine(const QString& root, ManualScheduler& clock)
        : folder(root, clock)
        , clock(clock)
    {
        prompt.immediate = MassDeletePrompt::Answer::DeleteHere;
        restart();
    }
    ~Machine()
    {
        engine.reset();
        if (notes)
            notes->flushAll();
    }
    // A relaunch: everything saved, then store, index and engine read back from disk.
    void restart()
    {
        engine.reset();
        if (notes)
            QVERIFY(notes->flushAll());
        notes.reset();
        database.reset();
        database = std::make_unique<Store>(data.filePath(u"notes.db"_s),
                                           data.filePath(u"note.key"_s), folder.files);
        images = std::make_unique<ImageStore>(data.filePath(u"Images"_s), folder.files);
        notes = std::make_unique<NoteStore>(
            *database, clock, *images, false,
            [](const LocalizedError& e) { QFAIL(qPrintable(e.description())); });
        engine = std::make_unique<CloudSync>(folder, *notes, clock, folder.files,
                                             data.filePath(u"cloud-index.json"_s),
                                             [] { return true; }, prompt);
    }
    QString create(const QString& title, const QString& body)
    {
        return notes->create(body, title).id;
    }

    QTemporaryDir data;
    ClockedFolder folder;
    ManualScheduler& clock;
    ScriptedPrompt prompt;
    std::unique_ptr<Store> database;
    std::unique_ptr<ImageStore> images;
    std::unique_ptr<NoteStore> notes;
    std::unique_ptr<CloudSync> engine;
};

// What two machines must agree on; dates differ by design (a pull moves modified to the
// file's date, and documents carry whole seconds).
struct Content {
    QString title;
    QString body;
    qint64 color;
    bool archived;
    bool pinned;
    double order;
    NoteTextDirection direction;
    friend bool operator==(const Content&, const Content&) = default;
};

QMap<QString, Content> contents(const NoteStoring& store)
{
    QMap<QString, Content> map;
    for (const Note& n : store.notes()) {
        const QString title = NoteText::hasCustomTitle(n) ? NoteDocument::foldedTitle(n.title)
                                                          : QString();
        map.insert(n.id, {title, n.body, n.color, n.archived, n.pinned, n.order,
                          n.textDirection});
    }
    return map;
}

} // namespace

// Two machines, one folder: a seeded random life of creates, edits, archives, deletes, title
// changes, hand edits and renames on both sides, with passes in between. After quiet passes
// both stores must agree, nothing that was not deleted on purpose may be missing, every
// conflict must have left its copy, and nothing more may be planned, also after restarts.
class TestSyncSim : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    // A note deleted by sync comes back from the folder while it still waits in the store's
    // undo slot; the undo then must not give the store two records with one id.
    void undoAfterASyncDeletionKeepsOneRecord()
    {
        QTemporaryDir root;
        ManualScheduler clock(Date{1'773'480'413.0});
        Log::Capture quiet([](const QString&) {});
        Machine a(root.path(), clock);
        const QString id = a.create(u"Twice"_s, u"text"_s);
        QVERIFY(a.engine->syncNow());
        const QString path = a.folder.path() + u"/Twice.md"_s;
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray document = file.readAll();
        file.close();
        QVERIFY(QFile::remove(path));
        clock.advance(1);
        QVERIFY(a.engine->syncNow());
        QVERIFY(a.notes->pendingUndo());
        clock.advance(1);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(document);
        file.close();
        a.folder.stamp(path);
        QVERIFY(a.engine->syncNow());
        a.notes->undoDelete();
        for (int i = 0; i < 4; ++i) {
            clock.advance(5);
            QVERIFY(a.engine->syncNow());
        }
        int records = 0;
        for (const Note& n : a.notes->notes())
            records += n.id == id;
        QCOMPARE(records, 1);
        QCOMPARE(a.engine->lastPlan(), QList<SyncPlan::Action>{});
    }

    void twoMachinesOneFolder_data()
    {
        QTest::addColumn<quint32>("seed");
        for (quint32 seed = 1; seed <= 60; ++seed)
            QTest::addRow("seed %u", seed) << seed;
    }
    void twoMachinesOneFolder()
    {
        QFETCH(quint32, seed);
        QRandomGenerator random(seed);
        QTemporaryDir root;
        ManualScheduler clock(Date{1'773'480'413.0});
        QStringList log;
        Log::Capture capture([&](const QString& line) { log << line; });
        Machine a(root.path(), clock);
        Machine b(root.path(), clock);
        Machine* sides[] = {&a, &b};
        QSet<QString> created;
        // Deliberate deletions per id; an undo takes back one of them (the one it undoes).
        QHash<QString, int> deletedOnPurpose;
        const QStringList titles{u"Plans"_s, u"plans"_s, u"Shopping"_s, QString(), u"a/b"_s,
                                 u"Ideas"_s};
        const QString folder = a.folder.path();

        const auto anyNote = [&](Machine& m) -> std::optional<QString> {
            const QList<Note> notes = m.notes->notes();
            if (notes.isEmpty())
                return std::nullopt;
            return notes[random.bounded(notes.size())].id;
        };
        const auto anyFile = [&]() -> std::optional<QString> {
            const QStringList names = QDir(folder).entryList({u"*.md"_s}, QDir::Files);
            if (names.isEmpty())
                return std::nullopt;
            return names[random.bounded(names.size())];
        };

        for (int step = 0; step < 80; ++step) {
            Machine& m = *sides[random.bounded(2)];
            const int op = random.bounded(12);
            if (op == 0 || op == 1) {
                created.insert(m.create(titles[random.bounded(titles.size())],
                                        u"body %1"_s.arg(step)));
            } else if (op == 2) {
                if (const auto id = anyNote(m))
                    m.notes->updateBody(*id, m.notes->note(*id)->body + u"\nedit %1"_s.arg(step));
            } else if (op == 3) {
                if (const auto id = anyNote(m))
                    m.notes->updateTitle(*id, titles[random.bounded(titles.size())]);
            } else if (op == 4) {
                if (const auto id = anyNote(m))
                    m.notes->setArchived(*id, !m.notes->note(*id)->archived);
            } else if (op == 5) {
                if (const auto id = anyNote(m)) {
                    ++deletedOnPurpose[*id];
                    m.notes->deleteNote(*id);
                }
            } else if (op == 6) {
                // A person edits a document in a text editor.
                if (const auto name = anyFile()) {
                    QFile f(folder + u'/' + *name);
                    QVERIFY(f.open(QIODevice::Append));
                    f.write("\nby hand");
                    f.close();
                    m.folder.stamp(folder + u'/' + *name);
                }
            } else if (op == 7) {
                if (const auto name = anyFile()) {
                    const QString to = u"renamed %1.md"_s.arg(step);
                    QFile::rename(folder + u'/' + *name, folder + u'/' + to);
                }
            } else if (op == 8 && step % 4 == 0) {
                // A document deleted by hand: its note goes on both machines.
                if (const auto name = anyFile()) {
                    QFile f(folder + u'/' + *name);
                    QVERIFY(f.open(QIODevice::ReadOnly));
                    const auto parsed = NoteDocument::parse(QString::fromUtf8(f.readAll()), {});
                    f.close();
                    if (parsed.hasIdentity)
                        ++deletedOnPurpose[parsed.note.id];
                    QFile::remove(folder + u'/' + *name);
                }
            } else if (op == 9 && step % 2 == 0) {
                if (const auto& undo = m.notes->pendingUndo()) {
                    --deletedOnPurpose[undo->note.id];
                    m.notes->undoDelete();
                }
            } else {
                m.engine->syncNow();
            }
            clock.advance(random.bounded(3000) / 1000.0);
        }

        // Quiet passes until neither side has anything to do.
        bool quiet = false;
        for (int round = 0; round < 12 && !quiet; ++round) {
            clock.advance(12); // past every undo window
            QVERIFY(a.engine->syncNow());
            QVERIFY(b.engine->syncNow());
            quiet = a.engine->lastPlan().isEmpty() && b.engine->lastPlan().isEmpty();
        }
        QVERIFY2(quiet, qPrintable(a.engine->lastPlan().value(0).toString() + u" / "_s
                                   + b.engine->lastPlan().value(0).toString()));

        QCOMPARE(contents(*a.notes), contents(*b.notes));
        // No id twice in a store, whatever undo and sync did between them.
        QCOMPARE(contents(*a.notes).size(), a.notes->notes().size());
        QCOMPARE(contents(*b.notes).size(), b.notes->notes().size());
        for (const QString& id : created) {
            if (deletedOnPurpose.value(id) <= 0) {
                QVERIFY2(a.notes->note(id), qPrintable(id));
                QVERIFY2(b.notes->note(id), qPrintable(id));
            }
        }
        const int copies =
            QDir(folder + u"/Conflicts"_s).entryList(QDir::Files).size();
        QCOMPARE(copies, log.filter(u"Pondrift cloud: conflict on "_s).size());

        // Every note has exactly one document, and every document names a note.
        QCOMPARE(QDir(folder).entryList({u"*.md"_s}, QDir::Files).size(), a.notes->notes().size());

        for (Machine* side : sides) {
            clock.advance(0.7);
            side->restart();
        }
        for (Machine* side : sides) {
            QVERIFY(side->engine->syncNow());
            QVERIFY2(side->engine->lastPlan().isEmpty(),
                     qPrintable(side->engine->lastPlan().value(0).toString()));
        }
        QCOMPARE(QDir(folder + u"/Conflicts"_s).entryList(QDir::Files).size(), copies);
    }
};

QTEST_GUILESS_MAIN(TestSyncSim)
#include "tst_syncsim.moc"
