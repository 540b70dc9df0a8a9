// A sync pass over 10,000 unchanged documents against the bare cost of listing and stat-ing
// the same folder (readdir and fstatat), and the first pass that writes 10,000 notes out.
// Run: build/sync-rel/bench/bench_sync (a Release build; the first pass takes a while, since
// every document is written atomically and flushed to disk).
// The unchanged pass must read no file: the gateway below counts reads and the benchmark
// fails if there is one.
#include "BenchMain.h"
#include "notes/NoteStoring.h"
#include "platform/Scheduler.h"
#include "platform/qt/QtFiles.h"
#include "sync/CloudFolder.h"
#include "sync/CloudSync.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int noteCount = 10'000;

class ListStore final : public NoteStoring {
public:
    QList<Note> notes() const override { return list; }
    QList<Note> active() const override { return list; }
    std::optional<Note> note(const QString& id) const override
    {
        const auto it = byID.constFind(id);
        return it == byID.cend() ? std::nullopt : std::optional<Note>(list[*it]);
    }
    bool isWritable() const override { return true; }
    bool absorb(const Note& note) override
    {
        const auto it = byID.constFind(note.id);
        if (it != byID.cend()) {
            list[*it] = note;
            return true;
        }
        byID.insert(note.id, list.size());
        list.append(note);
        return true;
    }
    void deleteNote(const QString&) override {}
    void observeNotes(QObject*, std::function<void()>) override {}

    QList<Note> list;
    QHash<QString, qsizetype> byID;
};

// Time stands still; nothing is ever scheduled to run in a benchmark.
class StillScheduler final : public Scheduler {
public:
    class Nothing final : public Handle {
    public:
        void cancel() override {}
        bool isActive() const override { return false; }
    };
    Date now() const override { return Date::now(); }
    HandlePtr after(double, std::function<void()>) override { return std::make_unique<Nothing>(); }
    HandlePtr every(double, std::function<void()>) override { return std::make_unique<Nothing>(); }
};

class CountingFolder final : public SyncFolderGateway {
public:
    explicit CountingFolder(const QString& root)
        : folder(root, files)
    {
    }
    bool isAvailable() const override { return folder.isAvailable(); }
    Ensured ensure() override { return folder.ensure(); }
    FolderScan scan() override { return folder.scan(); }
    Identity identity() override { return folder.identity(); }
    std::optional<QString> mark() override { return folder.mark(); }
    std::optional<QString> read(const QString& name) override
    {
        ++reads;
        return folder.read(name);
    }
    std::optional<FileStamp> fileStamp(const QString& name) override
    {
        return folder.fileStamp(name);
    }
    bool write(const QString& text, const QString& name) override
    {
        return folder.write(text, name);
    }
    bool remove(const QString& name) override { return folder.remove(name); }
    bool writeConflict(const QString& text, const QString& name) override
    {
        return folder.writeConflict(text, name);
    }

    QtFiles files;
    CloudFolder folder;
    int reads = 0;
};

class NoPrompt final : public MassDeletePrompt {
public:
    void ask(int, std::function<void(Answer)>) override {}
};

void fill(ListStore& store)
{
    for (int i = 0; i < noteCount; ++i) {
        Note n;
        n.title = u"Note number %1"_s.arg(i);
        n.body = u"☐ first line of note %1\nsome more text that a note would hold\n"_s.arg(i);
        n.order = i;
        store.absorb(n);
    }
}

// One synced folder of 10,000 documents, made once for the unchanged-pass benchmarks.
struct Synced {
    Synced()
        : folder(root.path())
        , engine(
              folder, store, scheduler, folder.files, root.filePath(u"index.json"_s),
              [] { return true; }, prompt)
    {
        fill(store);
        engine.syncNow();
    }
    QTemporaryDir root;
    ListStore store;
    StillScheduler scheduler;
    NoPrompt prompt;
    CountingFolder folder;
    CloudSync engine;
};

Synced& synced()
{
    static Synced instance;
    return instance;
}

void BM_BaselineReaddirAndStat(benchmark::State& state)
{
    const QByteArray path = QFile::encodeName(synced().folder.folder.path());
    for (auto _ : state) {
        DIR* dir = ::opendir(path.constData());
        const int fd = ::dirfd(dir);
        qint64 sum = 0;
        int count = 0;
        while (const dirent* entry = ::readdir(dir)) {
            struct stat st {};
            if (::fstatat(fd, entry->d_name, &st, 0) == 0) {
                sum += st.st_mtim.tv_nsec;
                ++count;
            }
        }
        ::closedir(dir);
        benchmark::DoNotOptimize(sum);
        benchmark::DoNotOptimize(count);
    }
    state.counters["files"] = noteCount;
}
BENCHMARK(BM_BaselineReaddirAndStat)->Unit(benchmark::kMillisecond);

void BM_UnchangedPass(benchmark::State& state)
{
    Synced& s = synced();
    for (auto _ : state) {
        s.folder.reads = 0;
        s.engine.syncNow();
        if (s.folder.reads != 0 || !s.engine.lastPlan().isEmpty()) {
            state.SkipWithError("an unchanged pass read a file or planned an action");
            break;
        }
    }
    state.counters["files"] = noteCount;
}
BENCHMARK(BM_UnchangedPass)->Unit(benchmark::kMillisecond);

// The same folder after the store's list has changed hands (any edit elsewhere does that):
// the planner runs in full over all 10,000 notes and documents, and still reads nothing.
void BM_UnchangedPassPlannedInFull(benchmark::State& state)
{
    Synced& s = synced();
    for (auto _ : state) {
        state.PauseTiming();
        s.store.list.detach();
        s.folder.reads = 0;
        state.ResumeTiming();
        s.engine.syncNow();
        if (s.folder.reads != 0 || !s.engine.lastPlan().isEmpty()) {
            state.SkipWithError("an unchanged pass read a file or planned an action");
            break;
        }
    }
    state.counters["files"] = noteCount;
}
BENCHMARK(BM_UnchangedPassPlannedInFull)->Unit(benchmark::kMillisecond);

void BM_FirstPassWritesEveryNote(benchmark::State& state)
{
    for (auto _ : state) {
        state.PauseTiming();
        auto root = std::make_unique<QTemporaryDir>();
        ListStore store;
        fill(store);
        StillScheduler scheduler;
        NoPrompt prompt;
        CountingFolder folder(root->path());
        CloudSync engine(
            folder, store, scheduler, folder.files, root->filePath(u"index.json"_s),
            [] { return true; }, prompt);
        state.ResumeTiming();
        engine.syncNow();
        state.PauseTiming();
        if (engine.index().size() != noteCount)
            state.SkipWithError("not every note was written");
        root.reset();
        state.ResumeTiming();
    }
    state.counters["files"] = noteCount;
}
BENCHMARK(BM_FirstPassWritesEveryNote)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace

int main(int argc, char** argv) { return runBenchmarks<QCoreApplication>(argc, argv); }
