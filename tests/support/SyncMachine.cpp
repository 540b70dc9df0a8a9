#include "support/SyncMachine.h"

#include "exchange/NoteDocument.h"
#include "platform/Log.h"
#include "support/ManualScheduler.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QTest>

#include <cmath>
#include <fcntl.h>
#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;

QMap<QString, QString> contents(const NoteStoring& store)
{
    QMap<QString, QString> map;
    for (Note note : store.notes()) {
        note.created = note.modified = Date{};
        map.insert(note.id, NoteDocument::render(note));
    }
    return map;
}

ClockedFolder::ClockedFolder(const QString& root, Scheduler& clock)
    : rootPath(root)
    , clock(clock)
{
}

void ClockedFolder::stamp(const QString& filePath)
{
    // Distinct even when virtual time has not moved, and never behind an earlier stamp.
    double when = std::max(clock.now().seconds, lastStamp + 0.001);
    lastStamp = when;
    const timespec at{static_cast<time_t>(std::floor(when)),
                      static_cast<long>((when - std::floor(when)) * 1e9)};
    const timespec times[2]{at, at};
    ::utimensat(AT_FDCWD, QFile::encodeName(filePath).constData(), times, 0);
}

std::optional<QString> ClockedFolder::read(const QString& name)
{
    if (const auto hook = std::exchange(onNextRead, nullptr))
        hook(name);
    if (beforeTouch)
        beforeTouch(name);
    ++reads;
    return folder.read(name);
}

bool ClockedFolder::write(const QString& text, const QString& name)
{
    if (!folder.write(text, name))
        return false;
    stamp(folder.path() + u'/' + name);
    return true;
}

SyncMachine::SyncMachine(const QString& root, Scheduler& clock)
    : folder(root, clock)
    , clock(clock)
{
    restart();
}

void SyncMachine::restart(bool flushFirst)
{
    engine.reset();
    if (notes && flushFirst)
        QVERIFY(notes->flushAll());
    notes.reset();
    database.reset();
    database = std::make_unique<Store>(data.filePath(u"notes.db"_s), data.filePath(u"note.key"_s),
                                       folder.files);
    images = std::make_unique<ImageStore>(data.filePath(u"Images"_s), folder.files);
    notes = std::make_unique<NoteStore>(*database, clock, *images, false,
                                        [this](const LocalizedError& e) {
                                            if (!storageFailuresExpected)
                                                QFAIL(qPrintable(e.description()));
                                            storageFailures.append(e.description());
                                        });
    engine = std::make_unique<CloudSync>(
        folder, *notes, clock, folder.files, data.filePath(u"cloud-index.json"_s),
        [this] { return enabled; }, prompt);
    engine->keepDeletedIn(&trash);
}

QStringList SyncMachine::names(const QString& under) const
{
    return QDir(folder.path() + u'/' + under).entryList({u"*.md"_s}, QDir::Files, QDir::Name);
}

void SyncLife::live(quint32 seed)
{
    QRandomGenerator random(seed);
    QTemporaryDir root;
    ManualScheduler clock(Date{1'773'480'413.0});
    QStringList log;
    Log::Capture capture([&](const QString& line) { log << line; });
    SyncMachine a(root.path(), clock);
    SyncMachine b(root.path(), clock);
    SyncMachine* sides[] = {&a, &b};
    a.prompt.immediate = b.prompt.immediate = MassDeletePrompt::Answer::DeleteHere;
    QSet<QString> created;
    // Deliberate deletions per id; an undo takes back one of them (the one it undoes).
    QHash<QString, int> deletedOnPurpose;
    const QStringList titles{u"Plans"_s, u"plans"_s, u"Shopping"_s,
                             QString(),  u"a/b"_s,   u"Ideas"_s};
    for (int step = 0; step < 80; ++step) {
        SyncMachine& m = *sides[random.bounded(2)];
        const QList<Note> notes = m.notes->notes();
        const QStringList names = a.names();
        const std::optional<Note> note =
            notes.isEmpty() ? std::nullopt : std::optional(notes[random.bounded(notes.size())]);
        const QString path =
            names.isEmpty() ? QString() : a.file(names[random.bounded(names.size())]);
        const QString title = titles[random.bounded(titles.size())];
        const int op = random.bounded(12);
        if (op < 2) {
            created.insert(m.notes->create(u"body %1"_s.arg(step), title).id);
        } else if (op == 2 && note) {
            m.notes->updateBody(note->id, note->body + u"\nedit %1"_s.arg(step));
        } else if (op == 3 && note) {
            m.notes->updateTitle(note->id, title);
        } else if (op == 4 && note) {
            m.notes->setArchived(note->id, !note->archived);
        } else if (op == 5 && note) {
            ++deletedOnPurpose[note->id];
            m.notes->deleteNote(note->id);
        } else if (op == 6 && !path.isEmpty()) {
            // A person edits a document in a text editor.
            QVERIFY(TestFiles::write(path, TestFiles::read(path) + "\nby hand"));
            m.folder.stamp(path);
        } else if (op == 7 && !path.isEmpty()) {
            QFile::rename(path, a.file(u"renamed %1.md"_s.arg(step)));
        } else if (op == 8 && step % 4 == 0 && !path.isEmpty()) {
            // A document deleted by hand: its note goes on both machines.
            const auto parsed = NoteDocument::parse(QString::fromUtf8(TestFiles::read(path)), {});
            if (parsed.hasIdentity)
                ++deletedOnPurpose[parsed.note.id];
            QFile::remove(path);
        } else if (op == 9 && step % 2 == 0 && m.notes->pendingUndo()) {
            --deletedOnPurpose[m.notes->pendingUndo()->note.id];
            m.notes->undoDelete();
        } else if (op > 7) {
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
    QVERIFY(quiet);

    QCOMPARE(contents(*a.notes), contents(*b.notes));
    // No id twice in a store, whatever undo and sync did between them.
    QCOMPARE(contents(*a.notes).size(), a.notes->notes().size());
    QCOMPARE(contents(*b.notes).size(), b.notes->notes().size());
    for (const QString& id : created) {
        if (deletedOnPurpose.value(id) <= 0)
            QVERIFY2(a.notes->note(id) && b.notes->note(id), qPrintable(id));
    }
    QCOMPARE(a.names(u"Conflicts"_s).size(), log.filter(u"Pondrift cloud: conflict on "_s).size());
    // Every note has exactly one document, and every document names a note.
    QCOMPARE(a.names().size(), a.notes->notes().size());

    // A relaunch alone is no change.
    for (SyncMachine* side : sides) {
        clock.advance(0.7);
        side->restart();
        QVERIFY(side->engine->syncNow());
        QCOMPARE(side->engine->lastPlan(), QList<SyncPlan::Action>{});
    }
}
