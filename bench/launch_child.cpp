// One launch's read of the note library, in a process of its own: bench_launch starts this
// program once per run, so that every load meets a fresh heap and a fresh page table, as the
// program's own start does.
//
//   launch_child baseline  DB KEY          the floor: the SQLite C interface and OpenSSL,
//                                          every row kept as QStrings in a list
//   launch_child store     DB KEY          Store::load()
//   launch_child notestore DB KEY IMAGES   the launch step: Store, then NoteStore over it
//
// When everything is in memory it writes one line to standard output, "MAIN LOADED NOTES
// CHARS": the monotonic clock (ns) on entering main and once loaded, the number of notes and
// the UTF-16 length of all their texts, so that the caller sees that each way read the same
// library. Then it ends as a program does, freeing what it holds. Errors go to standard
// error with a non-zero exit.
#include "BareRead.h"
#include "images/ImageStore.h"
#include "notes/NoteStore.h"
#include "notes/Store.h"
#include "platform/qt/QtFiles.h"
#include "platform/qt/QtScheduler.h"

#include <QFile>
#include <QList>
#include <QStandardPaths>
#include <QString>

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <sqlite3.h>

#include <cstdio>
#include <ctime>
#include <vector>

namespace {

qint64 monotonicNs()
{
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return qint64{t.tv_sec} * 1'000'000'000 + t.tv_nsec;
}

struct Loaded {
    qint64 notes = 0;
    qint64 chars = 0;
};

// What the program must hold of a row, read with nothing of ours in between.
struct Row {
    QString id;
    QString title;
    QString body;
    qint64 color = 0;
    double created = 0;
    double modified = 0;
    bool archived = false;
    double order = 0;
    bool pinned = false;
};

[[noreturn]] void fail(const char* what)
{
    std::fprintf(stderr, "launch_child: %s\n", what);
    std::exit(1);
}

QList<Row> loadBare(const QString& dbPath, const QString& keyPath)
{
    QFile keyFile(keyPath);
    if (!keyFile.open(QIODevice::ReadOnly))
        fail("the key file does not open");
    QByteArray key = keyFile.readAll();
    if (key.size() != 32)
        fail("the key file is not a key");

    sqlite3* db = nullptr;
    if (sqlite3_open_v2(dbPath.toUtf8().constData(), &db, SQLITE_OPEN_READWRITE, nullptr)
        != SQLITE_OK)
        fail("the database does not open");
    EVP_CIPHER_CTX* ctx = EVP_CIPHER_CTX_new();
    EVP_DecryptInit_ex(ctx, EVP_aes_256_gcm(), nullptr,
                       reinterpret_cast<const unsigned char*>(key.constData()), nullptr);
    OPENSSL_cleanse(key.data(), static_cast<size_t>(key.size()));

    QList<Row> rows;
    std::vector<unsigned char> plain(4096);
    const bool opened = BareRead::eachNote(db, ctx, plain, [&](sqlite3_stmt* s, QString body) {
        rows.append(Row{BareRead::text(s, 0), BareRead::text(s, 1), std::move(body),
                        sqlite3_column_int64(s, 3), sqlite3_column_double(s, 4),
                        sqlite3_column_double(s, 5), sqlite3_column_int64(s, 6) != 0,
                        sqlite3_column_double(s, 7), sqlite3_column_int64(s, 8) != 0});
    });
    if (!opened)
        fail("a body does not open");
    EVP_CIPHER_CTX_free(ctx);
    sqlite3_close_v2(db);
    return rows;
}

template <typename List>
Loaded measure(const List& list)
{
    Loaded loaded;
    loaded.notes = list.size();
    for (const auto& note : list)
        loaded.chars += note.id.size() + note.title.size() + note.body.size();
    return loaded;
}

// The clock is read before the lists are walked, which is no part of the load.
template <typename List>
void report(qint64 mainNs, const List& list)
{
    const qint64 loadedNs = monotonicNs();
    const Loaded loaded = measure(list);
    std::printf("%lld %lld %lld %lld\n", static_cast<long long>(mainNs),
                static_cast<long long>(loadedNs), static_cast<long long>(loaded.notes),
                static_cast<long long>(loaded.chars));
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    const qint64 mainNs = monotonicNs();
    // Every path is given; nothing here may reach the user's own data.
    QStandardPaths::setTestModeEnabled(true);
    if (argc < 4)
        fail("usage: launch_child baseline|store|notestore DB KEY [IMAGES]");
    const QByteArray mode = argv[1];
    const QString db = QString::fromLocal8Bit(argv[2]);
    const QString key = QString::fromLocal8Bit(argv[3]);

    if (mode == "baseline") {
        const QList<Row> rows = loadBare(db, key);
        report(mainNs, rows);
        return 0;
    }

    QtFiles files;
    Store store(db, key, files);
    if (mode == "store") {
        try {
            const QList<Note> notes = store.load();
            report(mainNs, notes);
        } catch (const LocalizedError& error) {
            fail(error.what());
        }
        return 0;
    }
    if (mode == "notestore" && argc == 5) {
        QtScheduler scheduler;
        ImageStore images(QString::fromLocal8Bit(argv[4]), files);
        bool failed = false;
        NoteStore notes(store, scheduler, images, true,
                        [&](const LocalizedError&) { failed = true; });
        if (failed)
            fail(notes.lastError().value_or(QString()).toUtf8().constData());
        report(mainNs, notes.notes());
        return 0;
    }
    fail("unknown mode");
}
