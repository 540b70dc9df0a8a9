#include "images/ImageStore.h"
#include "notes/Crypto.h"
#include "notes/Store.h"
#include "platform/qt/QtFiles.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <sqlite3.h>

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// Generous: a loaded machine is slow, never this slow. Nothing waits this long unless broken.
constexpr int patienceMs = 60'000;

// One helper process editing one library, and what it said the database holds.
struct CrashLane {
    QTemporaryDir dir;
    QProcess process;
    QByteArray pending;              // output not yet read as whole lines
    QHash<QString, qint64> required; // id -> lowest version the database may hold
    QSet<QString> deleting;          // ids whose row may be gone at any moment
    int savesThisRun = 0;
    bool ready = false;

    void start(int run, quint32 seed)
    {
        const QString helper = QStringLiteral(PONDRIFT_HELPER_DIR) + u"/crashloop"_s;
        // Versions only grow, from run to run too.
        process.start(helper,
                      {dir.path(), QString::number(static_cast<qint64>(run + 1) * 10'000'000),
                       QString::number(seed)});
        pending.clear();
        savesThisRun = 0;
        ready = false;
    }

    // Reads what has arrived; whole lines only, since a kill may cut the last one.
    void take()
    {
        static const QRegularExpression savedLine(u"^S (\\S+) (\\d+)$"_s);
        static const QRegularExpression deletedLine(u"^D (\\S+)$"_s);
        static const QRegularExpression deletingLine(u"^X (\\S+)$"_s);
        pending += process.readAllStandardOutput();
        qsizetype end = 0;
        while ((end = pending.indexOf('\n')) >= 0) {
            const QString line = QString::fromUtf8(pending.first(end));
            pending.remove(0, end + 1);
            if (line == u"R"_s) {
                ready = true;
            } else if (const auto m = savedLine.match(line); m.hasMatch()) {
                required[m.captured(1)] = m.captured(2).toLongLong();
                deleting.remove(m.captured(1));
                ++savesThisRun;
            } else if (const auto x = deletingLine.match(line); x.hasMatch()) {
                deleting.insert(x.captured(1));
            } else if (const auto d = deletedLine.match(line); d.hasMatch()) {
                required.remove(d.captured(1));
                deleting.remove(d.captured(1));
            } else if (line.startsWith(u"E "_s)) {
                QFAIL(qPrintable(u"the helper met a storage failure: "_s + line));
            }
        }
    }

    // Waits until the condition holds on what the helper said, or the helper ends.
    bool waitFor(const std::function<bool()>& condition)
    {
        take();
        while (!condition()) {
            if (process.state() == QProcess::NotRunning || !process.waitForReadyRead(patienceMs))
                return false;
            take();
        }
        return true;
    }
};

} // namespace

// Long torture runs: processes killed at random moments, and processes racing for the key.
// They wait for what the processes report, never for a fixed time, so a busy machine only
// makes them slower.
class TestCrashStress : public QObject {
    Q_OBJECT

    QtFiles files;

private Q_SLOTS:
    // Helpers edit, create and delete notes with real timers and are killed at random
    // moments of their work; after each kill the library must open whole and hold every text
    // that the helper saw saved, or a later one. Each kill waits until its helper has opened
    // the library and written a random number of saves, so that every run kills real work
    // however slow the machine is. Two libraries run side by side to halve the wait.
    void survivesKillsAtRandomMoments()
    {
        const int runs = qEnvironmentVariableIntValue("PONDRIFT_CRASH_RUNS") > 0
                             ? qEnvironmentVariableIntValue("PONDRIFT_CRASH_RUNS")
                             : 200;
        QRandomGenerator random(20261123);
        CrashLane lanes[2];
        int kills = 0;
        for (int run = 0; kills < runs; ++run) {
            for (CrashLane& lane : lanes)
                lane.start(run, random.generate());
            for (CrashLane& lane : lanes) {
                const int saves = random.bounded(0, 6);
                QVERIFY2(lane.waitFor([&] { return lane.ready && lane.savesThisRun >= saves; }),
                         qPrintable(u"the helper ended by itself: "_s
                                    + QString::fromUtf8(lane.process.readAllStandardError())));
                // Jitter, not a wait for anything: kills also land inside the writes that follow.
                QTest::qWait(random.bounded(0, 12));
                ::kill(static_cast<pid_t>(lane.process.processId()), SIGKILL);
                QVERIFY(lane.process.waitForFinished(patienceMs));
                lane.take();
                ++kills;
            }
            for (CrashLane& lane : lanes) {
                checkAfterKill(lane, run);
                if (QTest::currentTestFailed())
                    return;
            }
        }
    }

    // Racers start at the same instant against an empty folder and all make the key at once:
    // every one of them must end up sealing under the one key that reached the disk.
    void racingProcessesAgreeOnOneKey()
    {
        const QString helper = QStringLiteral(PONDRIFT_HELPER_DIR "/keyrace");
        constexpr int rounds = 15;
        constexpr int racers = 3;
        for (int round = 0; round < rounds; ++round) {
            QTemporaryDir dir;
            const QString path = dir.filePath(u"note.key"_s);
            // The racers block reading this FIFO; closing its only write end wakes them all at
            // the same instant, so they look for the key file and make one together.
            const QByteArray gate = QFile::encodeName(dir.filePath(u"gate"_s));
            QCOMPARE(::mkfifo(gate.constData(), 0600), 0);
            const int gateWriter = ::open(gate.constData(), O_RDWR | O_CLOEXEC);
            QVERIFY(gateWriter >= 0);
            std::vector<std::unique_ptr<QProcess>> processes;
            for (int i = 0; i < racers; ++i) {
                auto p = std::make_unique<QProcess>();
                p->start(helper, {path, QFile::decodeName(gate)});
                QVERIFY2(p->waitForStarted(patienceMs), qPrintable(p->errorString()));
                processes.push_back(std::move(p));
            }
            for (auto& p : processes) {
                while (!p->canReadLine())
                    QVERIFY2(p->waitForReadyRead(patienceMs), "a racer never became ready");
                QCOMPARE(p->readLine(), QByteArray("ready\n"));
            }
            ::close(gateWriter);
            QList<QByteArray> sealed;
            for (auto& p : processes) {
                QVERIFY(p->waitForFinished(patienceMs));
                QCOMPARE(p->exitCode(), 0);
                sealed.append(QByteArray::fromHex(p->readAllStandardOutput().trimmed()));
            }
            QCOMPARE(TestFiles::read(path).size(), 32);
            QCOMPARE(QDir(dir.path())
                         .entryList(QDir::AllEntries | QDir::Hidden | QDir::System
                                    | QDir::NoDotAndDotDot),
                     (QStringList{u"gate"_s, u"note.key"_s}));
            Crypto winner(path, false, files);
            for (const QByteArray& body : sealed)
                QCOMPARE(winner.open(body), u"race"_s);
        }
    }

private:
    void checkAfterKill(CrashLane& lane, int run)
    {
        static const QRegularExpression version(u"\\bv(\\d+)\\b"_s);
        const QString db = lane.dir.filePath(u"notes.db"_s);
        sqlite3* raw = nullptr;
        QCOMPARE(sqlite3_open_v2(db.toUtf8().constData(), &raw, SQLITE_OPEN_READONLY, nullptr),
                 SQLITE_OK);
        sqlite3_stmt* check = nullptr;
        sqlite3_prepare_v2(raw, "PRAGMA integrity_check;", -1, &check, nullptr);
        const int stepped = sqlite3_step(check);
        const QByteArray verdict(reinterpret_cast<const char*>(sqlite3_column_text(check, 0)));
        sqlite3_finalize(check);
        sqlite3_close_v2(raw);
        QCOMPARE(stepped, SQLITE_ROW);
        QCOMPARE(verdict, QByteArray("ok"));

        QList<Note> stored;
        try {
            stored = Store(db, lane.dir.filePath(u"note.key"_s), files).load();
        } catch (const LocalizedError& error) {
            QFAIL(qPrintable(u"the library does not open: "_s + error.description()));
        }
        ImageStore images(lane.dir.filePath(u"Images"_s), files);
        QHash<QString, Note> byID;
        for (const Note& note : std::as_const(stored)) {
            byID.insert(note.id, note);
            for (const QString& id : ImageTokens::referencedIDs(note.body))
                QVERIFY2(images.filePath(id), "a stored note lost its picture");
        }
        for (const QString& id : std::as_const(lane.deleting)) {
            if (!byID.contains(id))
                lane.required.remove(id);
        }
        lane.deleting.clear(); // the next launch finishes no deletion of this one
        for (auto it = lane.required.cbegin(); it != lane.required.cend(); ++it) {
            QVERIFY2(byID.contains(it.key()),
                     qPrintable(u"saved note %1 is gone after run %2"_s.arg(it.key()).arg(run)));
            const qint64 held = version.match(byID.value(it.key()).body).captured(1).toLongLong();
            QVERIFY2(held >= it.value(),
                     qPrintable(u"note %1 holds v%2, older than the saved v%3"_s.arg(
                         it.key(), QString::number(held), QString::number(it.value()))));
        }
    }
};

QTEST_MAIN(TestCrashStress)
#include "tst_crash_stress.moc"
