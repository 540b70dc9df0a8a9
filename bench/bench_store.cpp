// Reading every note: Store::load() against the floor under it, a bare loop that steps the
// same select, decrypts each body with OpenSSL and keeps id, title and body as QStrings in a
// list, as the program must. Also one-note writes with their own commit, as an edit's save
// does, against a bare prepare, seal, bind and step.
//
// Loads repeated in one process reuse the memory the previous one freed, which a launch never
// can: bench_launch measures the launch itself, a fresh process per run.
//
//   bench_store --benchmark_filter=load     (the ratio to watch: Store over bare, same N)
#include "BareRead.h"
#include "notes/Crypto.h"
#include "notes/Store.h"
#include "platform/qt/QtFiles.h"

#include <QFile>
#include <QList>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <sqlite3.h>

#include <map>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

QtFiles files;

constexpr int bodySize = 1024;

// About 1 KiB of Markdown, different for every note.
QString bodyFor(int i)
{
    QString body =
        u"# Note %1\n☐ buy milk\n☑ call back\nSome text with ümlauts and 漢字.\n"_s.arg(i);
    while (body.size() < bodySize)
        body += u"Line %1 of a longer paragraph that fills the note. "_s.arg(body.size());
    body.truncate(bodySize);
    return body;
}

// One database of N notes per N, filled once in one transaction and shared by all runs.
struct Fixture {
    QTemporaryDir dir;
    QString db() const { return dir.filePath(u"notes.db"_s); }
    QString key() const { return dir.filePath(u"note.key"_s); }
    QByteArray keyBytes;
};

const Fixture& fixture(int count)
{
    static std::map<int, std::unique_ptr<Fixture>> made;
    auto& slot = made[count];
    if (slot)
        return *slot;
    slot = std::make_unique<Fixture>();
    {
        Store creates(slot->db(), slot->key(), files);
    }
    Crypto crypto(slot->key(), true, files);
    sqlite3* db = nullptr;
    sqlite3_open_v2(slot->db().toUtf8().constData(), &db, SQLITE_OPEN_READWRITE, nullptr);
    sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(
        db,
        "INSERT INTO notes (id,title,body,color,created,modified,archived,sort_order)"
        " VALUES (?,'',?,1,1700000000.5,1700000001.5,0,?)",
        -1, &insert, nullptr);
    for (int i = 0; i < count; ++i) {
        const QByteArray id = Note::newID().toUtf8();
        const QByteArray sealed = crypto.seal(bodyFor(i));
        sqlite3_bind_text(insert, 1, id.constData(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_blob(insert, 2, sealed.constData(), static_cast<int>(sealed.size()),
                          SQLITE_TRANSIENT);
        sqlite3_bind_double(insert, 3, (i * 7919) % count);
        sqlite3_step(insert);
        sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
    sqlite3_close_v2(db);
    QFile key(slot->key());
    key.open(QIODevice::ReadOnly);
    slot->keyBytes = key.readAll();
    return *slot;
}

void loadThroughStore(benchmark::State& state)
{
    const Fixture& f = fixture(static_cast<int>(state.range(0)));
    Store store(f.db(), f.key(), files);
    for (auto _ : state) {
        QList<Note> notes = store.load();
        benchmark::DoNotOptimize(notes.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void loadBare(benchmark::State& state)
{
    const Fixture& f = fixture(static_cast<int>(state.range(0)));
    sqlite3* db = nullptr;
    sqlite3_open_v2(f.db().toUtf8().constData(), &db, SQLITE_OPEN_READWRITE, nullptr);
    EVP_CIPHER_CTX* ctx = EVP_CIPHER_CTX_new();
    EVP_DecryptInit_ex(ctx, EVP_aes_256_gcm(), nullptr,
                       reinterpret_cast<const unsigned char*>(f.keyBytes.constData()), nullptr);
    std::vector<unsigned char> plain(64 * 1024);
    struct Row {
        QString id;
        QString title;
        QString body;
    };
    for (auto _ : state) {
        QList<Row> rows;
        const bool opened = BareRead::eachNote(db, ctx, plain, [&](sqlite3_stmt* s, QString body) {
            rows.append(Row{BareRead::text(s, 0), BareRead::text(s, 1), std::move(body)});
        });
        if (!opened)
            state.SkipWithError("a body did not open");
        benchmark::DoNotOptimize(rows.data());
    }
    EVP_CIPHER_CTX_free(ctx);
    sqlite3_close_v2(db);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// Writes cycle through the notes of a small table, so every write after the first round is
// the update an edit's save makes.
constexpr int writeSet = 1000;

void upsertThroughStore(benchmark::State& state)
{
    const Fixture& f = fixture(writeSet);
    Store store(f.db(), f.key(), files);
    QList<Note> notes = store.load();
    qsizetype i = 0;
    for (auto _ : state) {
        Note& note = notes[i++ % notes.size()];
        note.modified = note.modified.addingSeconds(1);
        store.upsert(note);
    }
    state.SetItemsProcessed(state.iterations());
}

void upsertBare(benchmark::State& state)
{
    const Fixture& f = fixture(writeSet);
    QList<Note> notes;
    {
        Store store(f.db(), f.key(), files);
        notes = store.load();
    }
    sqlite3* db = nullptr;
    sqlite3_open_v2(f.db().toUtf8().constData(), &db, SQLITE_OPEN_READWRITE, nullptr);
    sqlite3_exec(db, "PRAGMA synchronous=NORMAL;", nullptr, nullptr, nullptr);
    EVP_CIPHER_CTX* ctx = EVP_CIPHER_CTX_new();
    EVP_EncryptInit_ex(ctx, EVP_aes_256_gcm(), nullptr,
                       reinterpret_cast<const unsigned char*>(f.keyBytes.constData()), nullptr);
    qsizetype i = 0;
    for (auto _ : state) {
        Note& note = notes[i++ % notes.size()];
        note.modified = note.modified.addingSeconds(1);
        const QByteArray text = note.body.toUtf8();
        QByteArray sealed(12 + text.size() + 16, Qt::Uninitialized);
        auto* out = reinterpret_cast<unsigned char*>(sealed.data());
        int n = 0;
        int m = 0;
        RAND_bytes(out, 12);
        EVP_EncryptInit_ex(ctx, nullptr, nullptr, nullptr, out);
        EVP_EncryptUpdate(ctx, out + 12, &n,
                          reinterpret_cast<const unsigned char*>(text.constData()),
                          static_cast<int>(text.size()));
        EVP_EncryptFinal_ex(ctx, out + 12 + n, &m);
        EVP_CIPHER_CTX_ctrl(ctx, EVP_CTRL_GCM_GET_TAG, 16, out + 12 + text.size());

        sqlite3_stmt* s = nullptr;
        sqlite3_prepare_v2(db,
                           "INSERT INTO notes (id,title,body,color,created,modified,archived,"
                           "sort_order,pinned,text_direction) VALUES (?,?,?,?,?,?,?,?,?,?) "
                           "ON CONFLICT(id) DO UPDATE SET title=excluded.title, body=excluded.body,"
                           " color=excluded.color, modified=excluded.modified,"
                           " archived=excluded.archived, sort_order=excluded.sort_order,"
                           " pinned=excluded.pinned, text_direction=excluded.text_direction;",
                           -1, &s, nullptr);
        const QByteArray id = note.id.toUtf8();
        const QByteArray title = note.title.toUtf8();
        sqlite3_bind_text(s, 1, id.constData(), static_cast<int>(id.size()), SQLITE_TRANSIENT);
        sqlite3_bind_text(s, 2, title.constData(), static_cast<int>(title.size()),
                          SQLITE_TRANSIENT);
        sqlite3_bind_blob(s, 3, sealed.constData(), static_cast<int>(sealed.size()),
                          SQLITE_TRANSIENT);
        sqlite3_bind_int64(s, 4, note.color);
        sqlite3_bind_double(s, 5, note.created.seconds);
        sqlite3_bind_double(s, 6, note.modified.seconds);
        sqlite3_bind_int(s, 7, note.archived ? 1 : 0);
        sqlite3_bind_double(s, 8, note.order);
        sqlite3_bind_int(s, 9, note.pinned ? 1 : 0);
        sqlite3_bind_text(s, 10, "automatic", -1, SQLITE_STATIC);
        if (sqlite3_step(s) != SQLITE_DONE)
            state.SkipWithError("a write failed");
        sqlite3_finalize(s);
    }
    EVP_CIPHER_CTX_free(ctx);
    sqlite3_close_v2(db);
    state.SetItemsProcessed(state.iterations());
}

} // namespace

// Side by side for each size, so that each pair sees the same machine.
BENCHMARK(loadThroughStore)->Name("load/Store")->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(loadBare)->Name("load/bare")->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(loadThroughStore)->Name("load/Store")->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(loadBare)->Name("load/bare")->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(upsertThroughStore)->Name("upsert/Store")->Unit(benchmark::kMicrosecond);
BENCHMARK(upsertBare)->Name("upsert/bare")->Unit(benchmark::kMicrosecond);

int main(int argc, char** argv)
{
    // The fixtures live in temporary folders; nothing here may touch the user's data.
    QStandardPaths::setTestModeEnabled(true);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
