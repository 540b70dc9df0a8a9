// The deck as a person meets it: the program started on the desktop until its pill is on
// screen, what it then holds in memory, and what it costs while it sits at rest. Every run
// starts the real program (pondrift) as a new process in a home of its own, and beside it
// bare_window, a Qt program that shows one window of the pill's size and kind and nothing
// else: the floor that any Qt program pays to put a window on screen. The ways are run in
// turn, round after round, so that each sees the same machine:
//
//   bare window    bare_window
//   welcome note   pondrift in a new home, where it makes its library and the welcome note
//   1,000 notes    pondrift on a library of 1,000 notes left by an earlier launch
//
// It prints, per way, the median and the range over the runs of:
//   first frame    from just before the process is started until its first frame is painted
//                  ("[deck] first frame" on the program's standard error, PONDRIFT_DEBUG_DECK=1)
//   RSS            VmRSS one second after the first frame
// and the ratio of each median to the bare window's. Then, with --rest=SECONDS, it starts
// each way once more, lets it settle for two seconds after its first frame with the pointer in
// the middle of the screen, away from the deck, and prints the CPU time and the wakeups
// (voluntary context switches, every thread counted) that it used over SECONDS of rest:
//   CPU s          user and system time of the whole process (clock ticks, 10 ms as a rule)
//   run ms         the time its threads ran, to the nanosecond (schedstat)
//
// The library of 1,000 notes is written once per bench run by the test helper seednotes, as
// the program would have written it, and copied into each run's home; writing it is not
// measured. Each run's home (HOME, XDG_DATA_HOME, XDG_CONFIG_HOME, XDG_RUNTIME_DIR) is new;
// the cache folder is shared by the runs of one bench run, as a person's is between launches.
//
// It needs an X server: scripts/bench.sh runs it under xvfb-run when DISPLAY is unset.
//
//   bench_deck [--runs=N] [--rest=SECONDS]
#include <QCursor>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QScreen>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <map>
#include <poll.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int libraryNotes = 1000;
// A program that has not painted after this long is not going to.
constexpr qint64 firstFrameLimitNs = 30'000'000'000;

qint64 monotonicNs()
{
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return qint64{t.tv_sec} * 1'000'000'000 + t.tv_nsec;
}

[[noreturn]] void fail(const QString& what)
{
    std::fprintf(stderr, "bench_deck: %s\n", qPrintable(what));
    std::exit(1);
}

enum Way : size_t { Bare, Welcome, Library, wayCount };
constexpr std::array<const char*, wayCount> wayNames{"bare window", "welcome note", "1,000 notes"};

// A home of its own for one run. The runtime folder must be private, or Qt refuses it.
class Home {
public:
    Home(const QString& root, const QString& cache)
        : root(root)
        , cache(cache)
    {
        for (const QString& sub : {u"home"_s, u"data"_s, u"config"_s, u"runtime"_s}) {
            if (!QDir().mkpath(root + u'/' + sub))
                fail(u"cannot make "_s + root + u'/' + sub);
        }
        QFile::setPermissions(root + u"/runtime"_s, QFileDevice::ReadOwner | QFileDevice::WriteOwner
                                                        | QFileDevice::ExeOwner);
    }
    ~Home() { QDir(root).removeRecursively(); }
    Home(const Home&) = delete;
    Home& operator=(const Home&) = delete;

    QString dataFolder() const { return root + u"/data/Pondrift"_s; }

    std::vector<std::string> environment() const
    {
        static const std::array<std::string, 8> replaced{
            "HOME=",           "XDG_DATA_HOME=",  "XDG_CONFIG_HOME=",     "XDG_RUNTIME_DIR=",
            "XDG_CACHE_HOME=", "XDG_STATE_HOME=", "PONDRIFT_DEBUG_DECK=", "QT_QPA_PLATFORM="};
        std::vector<std::string> env;
        for (char** e = environ; *e; ++e) {
            const std::string entry = *e;
            if (std::none_of(replaced.begin(), replaced.end(),
                             [&](const std::string& name) { return entry.starts_with(name); }))
                env.push_back(entry);
        }
        const auto set = [&](const char* name, const QString& value) {
            env.push_back(std::string(name) + '=' + value.toStdString());
        };
        set("HOME", root + u"/home"_s);
        set("XDG_DATA_HOME", root + u"/data"_s);
        set("XDG_CONFIG_HOME", root + u"/config"_s);
        set("XDG_RUNTIME_DIR", root + u"/runtime"_s);
        set("XDG_CACHE_HOME", cache);
        env.push_back("PONDRIFT_DEBUG_DECK=1");
        return env;
    }

private:
    QString root;
    QString cache;
};

void copyFolder(const QString& from, const QString& to)
{
    if (!QDir().mkpath(to))
        fail(u"cannot make "_s + to);
    QFile::setPermissions(to, QFileInfo(from).permissions());
    QDirIterator it(from, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    while (it.hasNext()) {
        const QFileInfo entry(it.next());
        const QString target = to + u'/' + entry.fileName();
        if (entry.isDir())
            copyFolder(entry.filePath(), target);
        else if (!QFile::copy(entry.filePath(), target))
            fail(u"cannot copy "_s + entry.filePath());
    }
}

int runToEnd(const std::vector<std::string>& args)
{
    std::vector<char*> argv;
    for (const std::string& arg : args)
        argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    pid_t pid = 0;
    if (posix_spawn(&pid, argv[0], nullptr, nullptr, argv.data(), environ) != 0)
        fail(u"cannot start "_s + QString::fromStdString(args[0]));
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// The library as an earlier launch left it, written by the program's own classes.
QString makeLibrary(const QString& root)
{
    const QString folder = root + u"/library/Pondrift"_s;
    const std::string helper = PONDRIFT_SEEDNOTES;
    if (helper.empty() || !QFileInfo(QString::fromStdString(helper)).isExecutable())
        fail(u"seednotes is missing: configure with -DPONDRIFT_TESTS=ON and build seednotes"_s);
    static const std::array<const char*, 6> titles{
        "Groceries", "Weekend plans", "Meeting notes", "Reading list", "Ideas", "Trip to Lisbon"};
    std::vector<std::string> args{helper, folder.toStdString()};
    for (int i = 0; i < libraryNotes; ++i) {
        args.push_back(std::string(titles[static_cast<size_t>(i) % titles.size()]) + ' '
                       + std::to_string(i + 1)
                       + "|Ask Sam whether the *second draft* is ready before Friday.\\n"
                         "- milk and eggs\\n- call the plumber");
    }
    std::printf("writing a library of %d notes (not measured) ...\n", libraryNotes);
    std::fflush(stdout);
    if (runToEnd(args) != 0)
        fail(u"seednotes failed"_s);
    return folder;
}

// One process of the bench: started with its standard error on a pipe, which is read as it
// comes so that the process never blocks on a full pipe.
class Child {
public:
    Child(const std::vector<std::string>& args, const std::vector<std::string>& env)
        : name(args[0])
    {
        int err[2];
        if (pipe2(err, O_CLOEXEC) != 0)
            fail(u"pipe"_s);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_adddup2(&actions, err[1], STDERR_FILENO);
        std::vector<char*> argv;
        for (const std::string& arg : args)
            argv.push_back(const_cast<char*>(arg.c_str()));
        argv.push_back(nullptr);
        std::vector<char*> envp;
        for (const std::string& entry : env)
            envp.push_back(const_cast<char*>(entry.c_str()));
        envp.push_back(nullptr);

        start = monotonicNs();
        const int spawned = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), envp.data());
        posix_spawn_file_actions_destroy(&actions);
        close(err[1]);
        if (spawned != 0)
            fail(u"cannot start "_s + QString::fromStdString(name));
        fd = err[0];
    }

    ~Child() { end(); }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    pid_t id() const { return pid; }

    // The time from just before the start until `line` arrived on standard error, in ms.
    double waitForLine(const std::string& line)
    {
        const qint64 limit = start + firstFrameLimitNs;
        while (!hasLine(line)) {
            if (fd < 0 || monotonicNs() > limit)
                fail(QString::fromStdString(name) + u" never wrote \""_s
                     + QString::fromStdString(line) + u"\"; it wrote:\n"_s
                     + QString::fromStdString(said));
            readFor(limit - monotonicNs());
        }
        return static_cast<double>(lineAt - start) / 1e6;
    }

    // Reads standard error until `ns` from now have passed.
    void drainFor(qint64 ns)
    {
        const qint64 until = monotonicNs() + ns;
        for (qint64 left = ns; left > 0; left = until - monotonicNs()) {
            if (fd < 0) {
                timespec t{static_cast<time_t>(left / 1'000'000'000), left % 1'000'000'000};
                nanosleep(&t, nullptr);
                return;
            }
            readFor(left);
        }
    }

    // What the process wrote after `from` bytes.
    std::string saidSince(size_t from) const { return said.substr(std::min(from, said.size())); }
    size_t saidSize() const { return said.size(); }

    // As the session ends a program: SIGTERM, then a wait; SIGKILL if it will not go.
    void end()
    {
        if (pid <= 0)
            return;
        kill(pid, SIGTERM);
        int status = 0;
        const qint64 limit = monotonicNs() + 10'000'000'000;
        pid_t done = 0;
        while ((done = waitpid(pid, &status, WNOHANG)) == 0 && monotonicNs() < limit)
            readFor(20'000'000);
        if (done == 0) {
            std::fprintf(stderr, "bench_deck: %s did not end on SIGTERM; killed\n", name.c_str());
            kill(pid, SIGKILL);
            while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
            }
        } else if (!(WIFEXITED(status) && WEXITSTATUS(status) == 0)
                   && !(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM)) {
            // The program saves and quits on SIGTERM; the bare window simply dies of it.
            std::fprintf(stderr, "bench_deck: %s ended with status %d on SIGTERM\n", name.c_str(),
                         status);
        }
        pid = 0;
        if (fd >= 0)
            close(fd);
        fd = -1;
    }

private:
    bool hasLine(const std::string& line)
    {
        if (lineAt != 0)
            return true;
        // Whole lines only; the clock of the read that completed the line is the one kept.
        for (size_t nl = said.find('\n', scanned); nl != std::string::npos;
             nl = said.find('\n', scanned)) {
            if (said.compare(scanned, nl - scanned, line) == 0) {
                lineAt = lastRead;
                return true;
            }
            scanned = nl + 1;
        }
        return false;
    }

    void readFor(qint64 ns)
    {
        if (fd < 0)
            return;
        pollfd p{fd, POLLIN, 0};
        const int ms = static_cast<int>(std::clamp<qint64>((ns + 999'999) / 1'000'000, 0, 1000));
        const int ready = poll(&p, 1, ms);
        if (ready <= 0)
            return;
        char buffer[4096];
        const ssize_t n = read(fd, buffer, sizeof buffer);
        lastRead = monotonicNs();
        if (n > 0) {
            said.append(buffer, static_cast<size_t>(n));
        } else if (n == 0 || errno != EINTR) {
            close(fd);
            fd = -1;
        }
    }

    std::string name;
    pid_t pid = 0;
    int fd = -1;
    qint64 start = 0;
    qint64 lastRead = 0;
    qint64 lineAt = 0;
    size_t scanned = 0;
    std::string said;
};

QString readProc(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll());
}

qint64 statusField(const QString& status, QStringView name)
{
    for (const QString& line : status.split(u'\n')) {
        if (line.startsWith(name) && line.size() > name.size() && line[name.size()] == u':')
            return line.sliced(name.size() + 1).trimmed().split(u' ').first().toLongLong();
    }
    return -1;
}

double rssMiB(pid_t pid)
{
    const qint64 kib = statusField(readProc(u"/proc/%1/status"_s.arg(pid)), u"VmRSS");
    if (kib < 0)
        fail(u"no VmRSS for process %1"_s.arg(pid));
    return static_cast<double>(kib) / 1024.0;
}

// What a process has used so far: user and system time of the whole process in clock ticks,
// and per thread, its run time (ns, from schedstat) and its voluntary context switches.
struct Usage {
    struct Thread {
        QString name;
        qint64 runNs = 0;
        qint64 wakeups = 0;
        qint64 involuntary = 0;
    };
    qint64 ticks = 0;
    std::map<qint64, Thread> threads;
};

Usage usage(pid_t pid)
{
    Usage u;
    const QString stat = readProc(u"/proc/%1/stat"_s.arg(pid));
    // The command name may hold spaces; the fields after it are counted from its ')'.
    const QStringList fields = stat.sliced(stat.lastIndexOf(u')') + 2).split(u' ');
    if (fields.size() < 13)
        fail(u"unreadable /proc/%1/stat"_s.arg(pid));
    u.ticks = fields[11].toLongLong() + fields[12].toLongLong(); // utime, stime
    QDirIterator tasks(u"/proc/%1/task"_s.arg(pid), QDir::Dirs | QDir::NoDotAndDotDot);
    while (tasks.hasNext()) {
        const QString task = tasks.next();
        Usage::Thread t;
        t.name = readProc(task + u"/comm"_s).trimmed();
        t.runNs = readProc(task + u"/schedstat"_s).split(u' ').first().toLongLong();
        const QString status = readProc(task + u"/status"_s);
        t.wakeups = statusField(status, u"voluntary_ctxt_switches");
        t.involuntary = statusField(status, u"nonvoluntary_ctxt_switches");
        u.threads[QFileInfo(task).fileName().toLongLong()] = t;
    }
    return u;
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

struct Launch {
    double firstFrame = 0; // ms
    double rss = 0;        // MiB
};

class Bench {
public:
    explicit Bench(const QString& root)
        : root(root)
        , cache(root + u"/cache"_s)
        , library(makeLibrary(root))
    {
        QDir().mkpath(cache);
    }

    // One process of a way in a new home, until its first frame; `then` runs while it lives.
    template <typename Then>
    void run(Way way, Then then)
    {
        Home home(root + u"/run-"_s + QString::number(++runs), cache);
        if (way == Library)
            copyFolder(library, home.dataFolder());
        const bool bare = way == Bare;
        Child child({bare ? PONDRIFT_BARE_WINDOW : PONDRIFT_PROGRAM}, home.environment());
        const double ms = child.waitForLine(bare ? "first frame" : "[deck] first frame");
        then(child, ms);
    }

    void launches(int count)
    {
        std::array<std::vector<Launch>, wayCount> results;
        // One round first to bring the programs and their libraries into the page cache, and
        // the shared caches into being; not counted.
        for (int round = -1; round < count; ++round) {
            for (size_t k = 0; k < wayCount; ++k) {
                // Each round starts with another way, so no way always follows the same one.
                const auto way =
                    static_cast<Way>((k + static_cast<size_t>(std::max(round, 0))) % wayCount);
                run(way, [&](Child& child, double ms) {
                    child.drainFor(1'000'000'000);
                    if (round >= 0)
                        results[way].push_back(Launch{ms, rssMiB(child.id())});
                });
            }
        }

        std::printf("\nlaunch, %d runs of each way: median (min-max)\n", count);
        std::printf("%-22s%-28s%-24s\n", "", "first frame, ms", "RSS after 1 s, MiB");
        std::array<Spread, wayCount> frames;
        std::array<Spread, wayCount> rss;
        for (size_t w = 0; w < wayCount; ++w) {
            std::vector<double> f;
            std::vector<double> r;
            for (const Launch& l : results[w]) {
                f.push_back(l.firstFrame);
                r.push_back(l.rss);
            }
            frames[w] = spread(f);
            rss[w] = spread(r);
            char a[64];
            char b[64];
            std::snprintf(a, sizeof a, "%.1f (%.1f-%.1f)", frames[w].median, frames[w].min,
                          frames[w].max);
            std::snprintf(b, sizeof b, "%.1f (%.1f-%.1f)", rss[w].median, rss[w].min, rss[w].max);
            std::printf("%-22s%-28s%-24s\n", wayNames[w], a, b);
        }
        for (size_t w = 1; w < wayCount; ++w) {
            char label[64];
            std::snprintf(label, sizeof label, "%s / bare", wayNames[w]);
            char a[32];
            char b[32];
            std::snprintf(a, sizeof a, "%.2fx", frames[w].median / frames[Bare].median);
            std::snprintf(b, sizeof b, "%.2fx (+%.1f MiB)", rss[w].median / rss[Bare].median,
                          rss[w].median - rss[Bare].median);
            std::printf("%-22s%-28s%-24s\n", label, a, b);
        }
        std::printf("goal: the first frame within 2x of the bare window's and under 100 ms\n");
        std::fflush(stdout);
    }

    void rest(int seconds)
    {
        std::printf("\nat rest for %d s, from 2 s after the first frame (goal: no CPU time)\n",
                    seconds);
        std::printf("%-22s%-14s%-14s%-16s%-10s\n", "", "CPU s", "run ms", "wakeups",
                    "threads before -> after");
        for (size_t w = 0; w < wayCount; ++w) {
            const auto way = static_cast<Way>(w);
            run(way, [&](Child& child, double) {
                child.drainFor(2'000'000'000);
                const size_t saidBefore = child.saidSize();
                const Usage before = usage(child.id());
                child.drainFor(qint64{seconds} * 1'000'000'000);
                const Usage after = usage(child.id());
                report(way, seconds, before, after);
                const std::string said = child.saidSince(saidBefore);
                if (!said.empty())
                    std::printf("    wrote at rest: %s", said.c_str());
            });
        }
        std::fflush(stdout);
    }

private:
    static void report(Way way, int seconds, const Usage& before, const Usage& after)
    {
        static const double tick = static_cast<double>(sysconf(_SC_CLK_TCK));
        qint64 runNs = 0;
        qint64 wakeups = 0;
        std::vector<QString> busy;
        for (const auto& [tid, a] : after.threads) {
            const auto b = before.threads.find(tid);
            const Usage::Thread zero;
            const Usage::Thread& was = b == before.threads.end() ? zero : b->second;
            const qint64 run = a.runNs - was.runNs;
            const qint64 woke = a.wakeups - was.wakeups;
            runNs += run;
            wakeups += woke;
            if (woke > 0 || run > 0)
                busy.push_back(
                    u"%1 (tid %2): %3 wakeups, %4 ms"_s.arg(a.name).arg(tid).arg(woke).arg(
                        static_cast<double>(run) / 1e6, 0, 'f', 2));
        }
        // A thread that ended at rest (a pool's idle thread expiring) woke to do so; its
        // counts went with it, so it is named here and its time is only in "CPU s".
        for (const auto& [tid, t] : before.threads) {
            if (!after.threads.contains(tid))
                busy.push_back(u"%1 (tid %2): ended at rest"_s.arg(t.name).arg(tid));
        }
        char cpu[32];
        char run[32];
        char woke[32];
        std::snprintf(cpu, sizeof cpu, "%.2f",
                      static_cast<double>(after.ticks - before.ticks) / tick);
        std::snprintf(run, sizeof run, "%.2f", static_cast<double>(runNs) / 1e6);
        std::snprintf(woke, sizeof woke, "%lld (%.1f/s)", static_cast<long long>(wakeups),
                      static_cast<double>(wakeups) / seconds);
        char threads[32];
        std::snprintf(threads, sizeof threads, "%zu -> %zu", before.threads.size(),
                      after.threads.size());
        std::printf("%-22s%-14s%-14s%-16s%-10s\n", wayNames[way], cpu, run, woke, threads);
        for (const QString& line : busy)
            std::printf("    %s\n", qPrintable(line));
    }

    QString root;
    QString cache;
    QString library;
    int runs = 0;
};

} // namespace

int main(int argc, char** argv)
{
    int runs = 15;
    int restSeconds = 60;
    for (int i = 1; i < argc; ++i) {
        const QString arg = QString::fromLocal8Bit(argv[i]);
        if (arg.startsWith(u"--runs="_s)) {
            runs = arg.sliced(7).toInt();
        } else if (arg.startsWith(u"--rest="_s)) {
            restSeconds = arg.sliced(7).toInt();
        } else if (arg.startsWith(u"--benchmark_"_s)) {
            // scripts/bench.sh hands Google Benchmark's flags to every program; this one
            // counts its runs itself.
            std::fprintf(stderr, "bench_deck: ignoring %s\n", argv[i]);
        } else {
            fail(u"usage: bench_deck [--runs=N] [--rest=SECONDS]"_s);
        }
    }
    if (runs < 1 || restSeconds < 0)
        fail(u"--runs takes a positive number and --rest one not below 0"_s);
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        fail(u"no X server (DISPLAY is unset): run it under xvfb-run -a"_s);

    QTemporaryDir root;
    if (!root.isValid())
        fail(u"cannot make a temporary folder"_s);
    const Home own(root.path() + u"/bench"_s, root.path() + u"/cache"_s);

    // The bench's own connection, to put the pointer out of the deck's way; its programs pick
    // their platform themselves.
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("XDG_RUNTIME_DIR", (root.path() + u"/bench/runtime"_s).toLocal8Bit());
    QGuiApplication app(argc, argv);
    qunsetenv("QT_QPA_PLATFORM");
    // The pointer where a person's would be while they work: on the main screen, away from
    // the deck at its edge, where a hover would fan it out.
    if (const QScreen* screen = QGuiApplication::primaryScreen())
        QCursor::setPos(screen->geometry().center());
    QCoreApplication::processEvents();

    Bench bench(root.path());
    bench.launches(runs);
    if (restSeconds > 0)
        bench.rest(restSeconds);
    return 0;
}
