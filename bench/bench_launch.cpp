// A launch reads every note of the library into a fresh process. Each run here starts a new
// process (launch_child), so that no run reuses memory that an earlier one freed, and the
// ways of reading are run in turn, round after round, so that each sees the same machine:
//
//   baseline   the floor: SQLite's C interface selects every row, OpenSSL opens each body
//              with AES-256-GCM, and id, title and body are kept as QStrings in a list
//   Store      Store::load() over the same file and key
//   NoteStore  the launch step: Store, then NoteStore's load and its scan for pictures
//
// For each size it prints, per way, the median and the range over the runs of:
//   in main          from entering main to every note in memory
//   start to loaded  from just before the process is started to every note in memory
//   whole process    from start until the process has ended, freeing included
//   CPU              user and system time of the whole process
// and the ratio of each way's median to the baseline's.
//
// The libraries (10,000 and 100,000 notes of about 1 KiB of Markdown) are made once and kept
// under the build folder for later runs; making them is not measured.
//
//   bench_launch [--runs=N] [--notes=10000,100000] [--data=FOLDER]
#include "images/ImageStore.h"
#include "notes/Crypto.h"
#include "notes/ImageTokens.h"
#include "notes/Store.h"
#include "platform/qt/QtFiles.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QString>
#include <QStringList>

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <random>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

using namespace Qt::Literals::StringLiterals;

namespace {

// Raised whenever the made libraries change, so that an older one is made anew.
constexpr const char* libraryVersion = "launch library 1";

qint64 monotonicNs()
{
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return qint64{t.tv_sec} * 1'000'000'000 + t.tv_nsec;
}

[[noreturn]] void fail(const QString& what)
{
    std::fprintf(stderr, "bench_launch: %s\n", qPrintable(what));
    std::exit(1);
}

// Notes as people write them: a heading or none, paragraphs with inline styling, lists,
// tasks, quotes, now and then a picture; one note in four in Chinese.
class NoteWriter final {
public:
    explicit NoteWriter(int index)
        : random(static_cast<std::mt19937::result_type>(index))
        , chinese(index % 4 == 3)
    {
    }

    QString title()
    {
        static const std::array<QString, 6> english{u"Groceries"_s,     u"Weekend plans"_s,
                                                    u"Meeting notes"_s, u"Reading list"_s,
                                                    u"Ideas"_s,         u"Trip to Lisbon"_s};
        static const std::array<QString, 4> chineseTitles{u"购物清单"_s, u"周末计划"_s,
                                                          u"会议纪要"_s, u"读书笔记"_s};
        return chinese ? pick(chineseTitles) : pick(english);
    }

    QString body(const QString& pictureToken)
    {
        static const std::array<QString, 4> headings{u"# Plans for the week"_s, u"## Notes"_s,
                                                     u"# Call with the design team"_s,
                                                     u"### Open questions"_s};
        static const std::array<QString, 3> chineseHeadings{u"# 本周计划"_s, u"## 会议记录"_s,
                                                            u"### 待定事项"_s};
        QString text;
        if (roll(3) != 0)
            text += (chinese ? pick(chineseHeadings) : pick(headings)) + u'\n';
        if (!pictureToken.isEmpty())
            text += pictureToken + u'\n';
        while (text.toUtf8().size() < 1000) {
            switch (roll(5)) {
            case 0:
                for (int n = 1 + roll(3); n > 0; --n)
                    text += (roll(2) ? u"☐ "_s : u"☑ "_s) + item() + u'\n';
                break;
            case 1:
                for (int n = 1 + roll(3); n > 0; --n)
                    text += u"- "_s + item() + u'\n';
                break;
            case 2:
                text += u"> "_s + sentence() + u'\n';
                break;
            default:
                text += sentence() + u' ' + sentence() + u'\n';
                break;
            }
            if (roll(4) == 0)
                text += u'\n';
        }
        return text;
    }

private:
    int roll(int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); }

    template <typename List>
    QString pick(const List& list)
    {
        return list[static_cast<size_t>(roll(static_cast<int>(list.size())))];
    }

    QString sentence()
    {
        static const std::array<QString, 8> english{
            u"The new layout reads **much better** on small screens."_s,
            u"Ask Sam whether the *second draft* is ready before Friday."_s,
            u"Remember to run `make check` before sending the patch."_s,
            u"The venue moved, see [the map](https://example.org/map) for the new address."_s,
            u"~~Tuesday~~ Wednesday works for everyone except Priya."_s,
            u"Buy fresh basil, the one from the market keeps longer."_s,
            u"We agreed to keep the old numbers until the end of the quarter."_s,
            u"Chapter four is slow but the ending makes up for it."_s};
        static const std::array<QString, 5> chineseSentences{
            u"明天上午十点和设计组开会，讨论新版本的界面。"_s,
            u"记得把**报销单**交给财务，截止日期是周五。"_s,
            u"这本书的第三章写得很好，值得再读一遍。"_s,
            u"周末去公园跑步，然后和朋友一起吃午饭。"_s, u"新的方案需要先在测试环境里跑一周。"_s};
        return chinese ? pick(chineseSentences) : pick(english);
    }

    QString item()
    {
        static const std::array<QString, 6> english{u"milk and eggs"_s,      u"call the plumber"_s,
                                                    u"book the flights"_s,   u"reply to Anna"_s,
                                                    u"renew the passport"_s, u"water the plants"_s};
        static const std::array<QString, 5> chineseItems{u"买牛奶"_s, u"给妈妈打电话"_s,
                                                         u"预订机票"_s, u"交房租"_s, u"整理照片"_s};
        return chinese ? pick(chineseItems) : pick(english);
    }

    std::mt19937 random;
    bool chinese;
};

struct Library {
    QString folder;
    QString db() const { return folder + u"/notes.db"_s; }
    QString key() const { return folder + u"/note.key"_s; }
    QString images() const { return folder + u"/Images"_s; }
    QString ready() const { return folder + u"/ready"_s; }
};

void check(int rc, sqlite3* db, const char* what)
{
    if (rc != SQLITE_OK && rc != SQLITE_DONE)
        fail(QString::fromUtf8(what) + u": "_s + QString::fromUtf8(sqlite3_errmsg(db)));
}

// Schema and key through Store and Crypto, rows in one transaction, then the log folded
// into the file, so that every run opens the same file in the same state.
void makeLibrary(const Library& library, int count)
{
    QtFiles files;
    {
        Store creates(library.db(), library.key(), files);
    }
    Crypto crypto(library.key(), true, files);
    ImageStore images(library.images(), files);

    sqlite3* db = nullptr;
    check(sqlite3_open_v2(library.db().toUtf8().constData(), &db, SQLITE_OPEN_READWRITE, nullptr),
          db, "open");
    check(sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr), db, "begin");
    sqlite3_stmt* insert = nullptr;
    check(sqlite3_prepare_v2(db,
                             "INSERT INTO notes (id,title,body,color,created,modified,archived,"
                             "sort_order,pinned,text_direction) VALUES (?,?,?,?,?,?,?,?,?,?)",
                             -1, &insert, nullptr),
          db, "prepare");
    for (int i = 0; i < count; ++i) {
        NoteWriter writer(i);
        QString picture;
        if (i % 50 == 0) {
            const auto id = images.save(QByteArray(64, static_cast<char>(i)), u"png"_s);
            if (!id)
                fail(u"a picture could not be stored"_s);
            picture = ImageTokens::token(*id, 240);
        }
        const QByteArray title = (i % 3 == 0 ? writer.title() : QString()).toUtf8();
        const QByteArray sealed = crypto.seal(writer.body(picture));
        const QByteArray id = Note::newID().toUtf8();
        const double created = 1'700'000'000.25 + i * 37.5;
        sqlite3_bind_text(insert, 1, id.constData(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(insert, 2, title.constData(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_blob(insert, 3, sealed.constData(), static_cast<int>(sealed.size()),
                          SQLITE_TRANSIENT);
        sqlite3_bind_int(insert, 4, i % 8);
        sqlite3_bind_double(insert, 5, created);
        sqlite3_bind_double(insert, 6, created + (i % 1000) * 11.5);
        sqlite3_bind_int(insert, 7, i % 10 == 9 ? 1 : 0);
        // 7919 is prime, so the orders are a shuffle of 0 .. count - 1.
        sqlite3_bind_double(insert, 8, static_cast<double>((qint64{i} * 7919) % count));
        sqlite3_bind_int(insert, 9, i % 23 == 0 ? 1 : 0);
        sqlite3_bind_text(insert, 10, i % 97 == 0 ? "leftToRight" : "automatic", -1, SQLITE_STATIC);
        check(sqlite3_step(insert), db, "insert");
        sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    check(sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr), db, "commit");
    check(sqlite3_wal_checkpoint_v2(db, nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr), db,
          "checkpoint");
    sqlite3_close_v2(db);
}

Library library(const QString& root, int count)
{
    Library library{root + u"/notes-"_s + QString::number(count)};
    const QByteArray stamp = QByteArray(libraryVersion) + ' ' + QByteArray::number(count);
    QFile ready(library.ready());
    if (ready.open(QIODevice::ReadOnly) && ready.readAll() == stamp)
        return library;
    ready.close();

    std::printf("making a library of %d notes in %s (once; kept for later runs) ...\n", count,
                qPrintable(library.folder));
    std::fflush(stdout);
    const qint64 start = monotonicNs();
    QDir(library.folder).removeRecursively();
    if (!QDir().mkpath(library.folder))
        fail(u"cannot make "_s + library.folder);
    makeLibrary(library, count);
    // Written last: a library whose making was cut short is made again.
    if (!ready.open(QIODevice::WriteOnly) || ready.write(stamp) != stamp.size())
        fail(u"cannot write "_s + library.ready());
    std::printf("made in %.1f s\n", static_cast<double>(monotonicNs() - start) / 1e9);
    return library;
}

struct Run {
    double inMain = 0;   // ms
    double toLoaded = 0; // ms
    double whole = 0;    // ms
    double cpu = 0;      // ms
    double maxRss = 0;   // MiB
    long long notes = 0;
    long long chars = 0;
};

Run launch(const std::vector<std::string>& args)
{
    int out[2];
    if (pipe2(out, O_CLOEXEC) != 0)
        fail(u"pipe"_s);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    std::vector<char*> argv;
    for (const std::string& arg : args)
        argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);

    pid_t pid = 0;
    const qint64 start = monotonicNs();
    const int spawned = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    if (spawned != 0)
        fail(u"cannot start "_s + QString::fromStdString(args[0]));

    std::string line;
    char buffer[256];
    ssize_t n = 0;
    while ((n = read(out[0], buffer, sizeof buffer)) > 0 || (n < 0 && errno == EINTR))
        line.append(buffer, static_cast<size_t>(std::max<ssize_t>(n, 0)));
    close(out[0]);
    int status = 0;
    rusage usage{};
    while (wait4(pid, &status, 0, &usage) < 0 && errno == EINTR) {
    }
    const qint64 end = monotonicNs();
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        fail(QString::fromStdString(args[1]) + u" run failed"_s);

    long long mainNs = 0;
    long long loadedNs = 0;
    Run run;
    if (std::sscanf(line.c_str(), "%lld %lld %lld %lld", &mainNs, &loadedNs, &run.notes, &run.chars)
        != 4)
        fail(u"unreadable report: "_s + QString::fromStdString(line));
    const auto ms = [](qint64 ns) { return static_cast<double>(ns) / 1e6; };
    run.inMain = ms(loadedNs - mainNs);
    run.toLoaded = ms(loadedNs - start);
    run.whole = ms(end - start);
    const auto tvMs = [](timeval t) { return t.tv_sec * 1e3 + t.tv_usec / 1e3; };
    run.cpu = tvMs(usage.ru_utime) + tvMs(usage.ru_stime);
    run.maxRss = static_cast<double>(usage.ru_maxrss) / 1024.0;
    return run;
}

struct Spread {
    double median = 0;
    double min = 0;
    double max = 0;
};

Spread spread(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    const double median = n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
    return {median, values.front(), values.back()};
}

constexpr std::array<const char*, 3> ways{"baseline", "store", "notestore"};
constexpr std::array<const char*, 3> wayNames{"baseline", "Store", "NoteStore"};

struct Column {
    const char* name;
    double Run::*field;
};
constexpr std::array<Column, 5> columns{
    Column{"in main", &Run::inMain}, Column{"start to loaded", &Run::toLoaded},
    Column{"whole process", &Run::whole}, Column{"CPU", &Run::cpu},
    Column{"max RSS MiB", &Run::maxRss}};

void measure(const Library& library, int count, int runs)
{
    std::array<std::vector<Run>, ways.size()> results;
    long long chars = -1;
    // One round first to bring the files and the programs into the page cache; not counted.
    for (int round = -1; round < runs; ++round) {
        for (size_t k = 0; k < ways.size(); ++k) {
            // Each round starts with another way, so no way always follows the same one.
            const size_t w = (k + static_cast<size_t>(std::max(round, 0))) % ways.size();
            std::vector<std::string> args{PONDRIFT_LAUNCH_CHILD, ways[w],
                                          library.db().toStdString(), library.key().toStdString()};
            if (w == 2)
                args.push_back(library.images().toStdString());
            const Run run = launch(args);
            if (chars < 0)
                chars = run.chars;
            if (run.notes != count || run.chars != chars)
                fail(QString::fromUtf8(wayNames[w]) + u" read another library"_s);
            if (round >= 0)
                results[w].push_back(run);
        }
    }

    std::printf("\n%d notes of about 1 KiB, %d runs of each way, ms: median (min-max)\n", count,
                runs);
    std::printf("%-22s", "");
    for (const Column& c : columns)
        std::printf("%-24s", c.name);
    std::printf("\n");
    std::array<std::array<double, columns.size()>, ways.size()> medians{};
    for (size_t w = 0; w < ways.size(); ++w) {
        std::printf("%-22s", wayNames[w]);
        for (size_t c = 0; c < columns.size(); ++c) {
            std::vector<double> values;
            for (const Run& run : results[w])
                values.push_back(run.*(columns[c].field));
            const Spread s = spread(values);
            medians[w][c] = s.median;
            char cell[64];
            std::snprintf(cell, sizeof cell, "%.1f (%.1f-%.1f)", s.median, s.min, s.max);
            std::printf("%-24s", cell);
        }
        std::printf("\n");
    }
    for (size_t w = 1; w < ways.size(); ++w) {
        char label[64];
        std::snprintf(label, sizeof label, "%s / baseline", wayNames[w]);
        std::printf("%-22s", label);
        for (size_t c = 0; c < columns.size(); ++c) {
            char cell[32];
            std::snprintf(cell, sizeof cell, "%.2fx", medians[w][c] / medians[0][c]);
            std::printf("%-24s", cell);
        }
        std::printf("\n");
    }
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    QStandardPaths::setTestModeEnabled(true);
    int runs = 9;
    std::vector<int> counts{10'000, 100'000};
    QString data = QString::fromUtf8(PONDRIFT_LAUNCH_DATA);
    for (int i = 1; i < argc; ++i) {
        const QString arg = QString::fromLocal8Bit(argv[i]);
        if (arg.startsWith(u"--runs="_s)) {
            runs = arg.sliced(7).toInt();
        } else if (arg.startsWith(u"--notes="_s)) {
            counts.clear();
            for (const QString& n : arg.sliced(8).split(u','))
                counts.push_back(n.toInt());
        } else if (arg.startsWith(u"--data="_s)) {
            data = arg.sliced(7);
        } else if (arg.startsWith(u"--benchmark_"_s)) {
            // scripts/bench.sh hands Google Benchmark's flags to every program; this one
            // counts its runs itself.
            std::fprintf(stderr, "bench_launch: ignoring %s\n", argv[i]);
        } else {
            fail(u"usage: bench_launch [--runs=N] [--notes=10000,100000] [--data=FOLDER]"_s);
        }
    }
    if (runs < 1 || std::any_of(counts.begin(), counts.end(), [](int n) { return n < 1; }))
        fail(u"--runs and --notes take positive numbers"_s);

    std::vector<Library> libraries;
    for (int count : counts)
        libraries.push_back(library(data, count));
    for (size_t i = 0; i < counts.size(); ++i)
        measure(libraries[i], counts[i], runs);
    return 0;
}
