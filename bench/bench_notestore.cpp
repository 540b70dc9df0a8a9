// Launch of the note store against the bare database read it sits on, and what a keystroke
// costs before its pause is over.
//
//   NoteStoreStart    Store + NoteStore over 10,000 notes and 2,000 image files: load, the
//                     orphan scan, no welcome note
//   StoreLoad         the baseline: Store::load() alone over the same file
//   Keystroke         updateBody on a 100 KiB note, the real scheduler's timer included
//   KeystrokeBaseline comparing and assigning the same 100 KiB text, nothing else
//   SaveOneNote       what every keystroke would cost if it were saved at once
//
// Keystroke reports database_commits: the commits another connection saw while it ran. It
// must be 0: the write and the encryption wait for the pause.

#include "images/ImageStore.h"
#include "notes/NoteStore.h"
#include "notes/Store.h"
#include "platform/Scheduler.h"
#include "platform/qt/QtFiles.h"
#include "platform/qt/QtScheduler.h"

#include <QCoreApplication>
#include <QDir>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdio>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int noteCount = 10'000;
constexpr int imageCount = 2'000;

// Both sides of every figure read and write through the program's own file layer.
QtFiles files;
QtScheduler scheduler;

struct Library {
    QTemporaryDir dir;
    QString db() const { return dir.filePath(u"notes.db"_s); }
    QString key() const { return dir.filePath(u"note.key"_s); }
    QString images() const { return dir.filePath(u"Images"_s); }
};

// Every fifth note shows one of the pictures, so all of them are in use and the scan removes
// nothing: each run measures the same work.
const Library& library()
{
    static const std::unique_ptr<Library> made = [] {
        auto lib = std::make_unique<Library>();
        ImageStore images(lib->images(), files);
        QStringList pictures;
        for (int i = 0; i < imageCount; ++i)
            pictures.append(*images.save(QByteArray(256, static_cast<char>(i)), u"png"_s));
        Store store(lib->db(), lib->key(), files);
        for (int i = 0; i < noteCount; ++i) {
            Note note;
            note.order = i;
            note.color = i % 8;
            note.body = u"Note %1\n☐ milk\n☑ bread\nSome words to make a body of typical size, "
                        u"about two hundred characters in all, with a line or two more.\n"_s.arg(i);
            if (i % 5 == 0)
                note.body += ImageTokens::token(pictures.at(i / 5), 240);
            store.upsert(note);
        }
        return lib;
    }();
    return *made;
}

void StoreLoad(benchmark::State& state)
{
    const Library& lib = library();
    for (auto _ : state) {
        Store store(lib.db(), lib.key(), files);
        benchmark::DoNotOptimize(store.load());
    }
}
BENCHMARK(StoreLoad)->Unit(benchmark::kMillisecond);

void NoteStoreStart(benchmark::State& state)
{
    const Library& lib = library();
    qsizetype loaded = 0;
    for (auto _ : state) {
        Store store(lib.db(), lib.key(), files);
        ImageStore images(lib.images(), files);
        NoteStore notes(store, scheduler, images, false, [](const LocalizedError&) {});
        loaded = notes.notes().size();
    }
    if (loaded != noteCount || ImageStore(lib.images(), files).allIDs().size() != imageCount)
        state.SkipWithError("the launch lost notes or pictures");
}
BENCHMARK(NoteStoreStart)->Unit(benchmark::kMillisecond);

// The two halves of the orphan scan, to see where the launch's extra time goes.
void ListImageFolder(benchmark::State& state)
{
    const Library& lib = library();
    ImageStore images(lib.images(), files);
    for (auto _ : state)
        benchmark::DoNotOptimize(images.allIDs());
}
BENCHMARK(ListImageFolder)->Unit(benchmark::kMillisecond);

void FindReferencedImages(benchmark::State& state)
{
    const Library& lib = library();
    const QList<Note> notes = Store(lib.db(), lib.key(), files).load();
    for (auto _ : state) {
        QSet<QString> ids;
        for (const Note& note : notes) {
            for (const QString& id : ImageTokens::referencedIDs(note.body))
                ids.insert(id);
        }
        benchmark::DoNotOptimize(ids);
    }
}
BENCHMARK(FindReferencedImages)->Unit(benchmark::kMillisecond);

QString bigBody(QChar last) { return u"typing "_s.repeated(100 * 1024 / 7) + last; }

// PRAGMA data_version of a second connection moves whenever another connection commits.
qint64 dataVersion(sqlite3* reader)
{
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(reader, "PRAGMA data_version;", -1, &statement, nullptr);
    sqlite3_step(statement);
    const qint64 version = sqlite3_column_int64(statement, 0);
    sqlite3_finalize(statement);
    return version;
}

void Keystroke(benchmark::State& state)
{
    QTemporaryDir dir;
    Store store(dir.filePath(u"notes.db"_s), dir.filePath(u"note.key"_s), files);
    ImageStore images(dir.filePath(u"Images"_s), files);
    NoteStore notes(store, scheduler, images, false, [](const LocalizedError&) {});
    const QString id = notes.create(bigBody(u'a')).id;
    const QString texts[2] = {bigBody(u'b'), bigBody(u'c')};
    sqlite3* reader = nullptr;
    sqlite3_open_v2(dir.filePath(u"notes.db"_s).toUtf8().constData(), &reader, SQLITE_OPEN_READONLY,
                    nullptr);
    const qint64 before = dataVersion(reader);
    int i = 0;
    // No event loop runs here, so the debounce cannot fire in the middle.
    for (auto _ : state)
        notes.updateBody(id, texts[i++ & 1]);
    const qint64 commits = dataVersion(reader) - before;
    sqlite3_close_v2(reader);
    state.counters["database_commits"] = static_cast<double>(commits);
    if (commits != 0 || !notes.unsavedIDs().contains(id))
        state.SkipWithError("a keystroke reached the database before its pause");
}
BENCHMARK(Keystroke)->Unit(benchmark::kMicrosecond);

void KeystrokeBaseline(benchmark::State& state)
{
    QString current = bigBody(u'a');
    const QString texts[2] = {bigBody(u'b'), bigBody(u'c')};
    int i = 0;
    for (auto _ : state) {
        const QString& next = texts[i++ & 1];
        if (current != next)
            current = next;
        benchmark::DoNotOptimize(current);
    }
}
BENCHMARK(KeystrokeBaseline)->Unit(benchmark::kMicrosecond);

void SaveOneNote(benchmark::State& state)
{
    QTemporaryDir dir;
    Store store(dir.filePath(u"notes.db"_s), dir.filePath(u"note.key"_s), files);
    Note note;
    note.body = bigBody(u'a');
    int i = 0;
    for (auto _ : state) {
        note.body[note.body.size() - 1] = (i++ & 1) ? u'b' : u'c';
        store.upsert(note);
    }
}
BENCHMARK(SaveOneNote)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QStandardPaths::setTestModeEnabled(true);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
