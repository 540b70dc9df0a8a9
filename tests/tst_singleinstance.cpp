#include "platform/Log.h"
#include "platform/qt/QtSingleInstance.h"

#include <QDir>
#include <QFile>
#include <QLocalSocket>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <csignal>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int patienceMs = 30'000;
const QString helper = QStringLiteral(PONDRIFT_HELPER_DIR "/instance");

struct Start {
    QProcess process;

    Start(const QString& folder, const QStringList& arguments)
    {
        process.setProcessChannelMode(QProcess::SeparateChannels);
        process.start(helper, QStringList{folder} + arguments);
    }
    bool finished()
    {
        if (process.state() == QProcess::NotRunning)
            return true;
        QSignalSpy ended(&process, &QProcess::finished);
        return ended.wait(patienceMs);
    }
    QString output() { return QString::fromUtf8(process.readAllStandardOutput()).trimmed(); }
};

QByteArray framed(const QByteArray& payload, qint64 declared = -1)
{
    QByteArray frame(4, Qt::Uninitialized);
    qToBigEndian(static_cast<quint32>(declared < 0 ? payload.size() : declared), frame.data());
    return frame + payload;
}

} // namespace

class TestSingleInstance : public QObject {
    Q_OBJECT

    QTemporaryDir dir;
    QStringList logged;
    std::unique_ptr<Log::Capture> capture;

    QString folder() const { return dir.filePath(u"run"_s); }

    std::unique_ptr<QtSingleInstance> runningInstance(QList<QStringList>& received)
    {
        auto instance = std::make_unique<QtSingleInstance>(folder());
        const SingleInstance::Outcome outcome = instance->claim({});
        if (outcome.kind != SingleInstance::Outcome::Kind::Running || !outcome.details.isEmpty())
            return nullptr;
        instance->setReceiver([&received](const QStringList& request) {
            received << request;
            QStringList refused;
            for (const QString& item : request) {
                if (item.startsWith(u"refuse"_s))
                    refused << u"no to "_s + item;
            }
            return refused;
        });
        return instance;
    }

private Q_SLOTS:
    void init()
    {
        logged.clear();
        capture = std::make_unique<Log::Capture>([this](const QString& line) { logged << line; });
        QDir(folder()).removeRecursively();
    }
    void cleanup() { capture.reset(); }

    void aLaterStartHandsItsRequestOver_data()
    {
        QTest::addColumn<QStringList>("items");
        QTest::addColumn<QString>("says");
        QTest::addColumn<int>("status");
        QTest::newRow("one URL is taken and the start ends well")
            << QStringList{u"pondrift://new?text=a"_s} << u"handed"_s << 0;
        QTest::newRow("several items arrive in order, a line break inside one kept")
            << QStringList{u"first"_s, u"second\nline"_s, u"ünïcödé 你好"_s} << u"handed"_s << 0;
        QTest::newRow("no items at all still reaches the instance")
            << QStringList{} << u"handed"_s << 0;
        QTest::newRow("a refused item fails the start and names why")
            << QStringList{u"fine"_s, u"refuse-this"_s} << u"refused no to refuse-this"_s << 1;
    }
    void aLaterStartHandsItsRequestOver()
    {
        QFETCH(QStringList, items);
        QFETCH(QString, says);
        QFETCH(int, status);
        QList<QStringList> received;
        const auto instance = runningInstance(received);
        QVERIFY(instance);
        Start start(folder(), items);
        QVERIFY(start.finished());
        QCOMPARE(start.output(), says);
        QCOMPARE(start.process.exitCode(), status);
        QCOMPARE(received, QList<QStringList>{items});
    }

    void aRequestBeforeTheReceiverWaitsForIt()
    {
        QtSingleInstance instance(folder());
        QCOMPARE(instance.claim({}).kind, SingleInstance::Outcome::Kind::Running);
        Start start(folder(), {u"early"_s});
        QTRY_COMPARE_WITH_TIMEOUT(instance.waitingRequests(), 1, patienceMs);
        QCOMPARE(start.process.state(), QProcess::Running);
        QList<QStringList> received;
        instance.setReceiver([&](const QStringList& request) {
            received << request;
            return QStringList{};
        });
        QCOMPARE(instance.waitingRequests(), 0);
        QVERIFY(start.finished());
        QCOMPARE(start.output(), u"handed"_s);
        QCOMPARE(received, QList<QStringList>{{u"early"_s}});
    }

    void aSocketLeftByACrashIsTakenOver()
    {
        Start crashed(folder(), {});
        QTRY_VERIFY_WITH_TIMEOUT(crashed.process.canReadLine(), patienceMs);
        QCOMPARE(crashed.process.readLine(), QByteArray("running\n"));
        ::kill(static_cast<pid_t>(crashed.process.processId()), SIGKILL);
        QVERIFY(crashed.finished());
        QtSingleInstance probe(folder());
        QVERIFY2(QFileInfo(probe.socketPath()).exists(), "the crash left no socket to clear");

        QList<QStringList> received;
        const auto instance = runningInstance(received);
        QVERIFY2(instance, "a stale socket kept the next start from running");
        Start later(folder(), {u"after the crash"_s});
        QVERIFY(later.finished());
        QCOMPARE(later.output(), u"handed"_s);
        QCOMPARE(received, QList<QStringList>{{u"after the crash"_s}});
    }

    void twoStartsAtOnceEndWithOneInstance()
    {
        constexpr int rounds = 8;
        for (int round = 0; round < rounds; ++round) {
            QDir(folder()).removeRecursively();
            // Both block reading this FIFO; closing its only write end wakes them together.
            const QByteArray gate = QFile::encodeName(dir.filePath(u"gate"_s));
            ::unlink(gate.constData());
            QCOMPARE(::mkfifo(gate.constData(), 0600), 0);
            const int gateWriter = ::open(gate.constData(), O_RDWR | O_CLOEXEC);
            QVERIFY(gateWriter >= 0);
            std::vector<std::unique_ptr<Start>> starts;
            for (const QString& item : {u"one"_s, u"two"_s})
                starts.push_back(std::make_unique<Start>(
                    folder(), QStringList{u"--gate"_s, QFile::decodeName(gate), item}));
            for (auto& start : starts) {
                QTRY_VERIFY_WITH_TIMEOUT(start->process.canReadLine(), patienceMs);
                QCOMPARE(start->process.readLine(), QByteArray("ready\n"));
            }
            ::close(gateWriter);

            // The handing start ends by itself; its partner then reports the request.
            Start* handed = nullptr;
            Start* running = nullptr;
            QTRY_VERIFY_WITH_TIMEOUT(
                std::any_of(starts.cbegin(), starts.cend(),
                            [](const auto& s) { return s->process.state() != QProcess::Running; }),
                patienceMs);
            for (auto& start : starts)
                (start->process.state() == QProcess::Running ? running : handed) = start.get();
            QVERIFY2(running && handed, "both starts ended: neither became the instance");
            QCOMPARE(handed->process.exitCode(), 0);
            QCOMPARE(handed->output(), u"handed"_s);
            const QString handedItem = handed == starts[0].get() ? u"one"_s : u"two"_s;
            QTRY_VERIFY_WITH_TIMEOUT(running->process.bytesAvailable() > 0
                                         && running->process.peek(4096).count('\n') >= 2,
                                     patienceMs);
            QCOMPARE(running->output(), u"running\ngot "_s + handedItem);

            Start quit(folder(), {u"quit"_s});
            QVERIFY(quit.finished());
            QCOMPARE(quit.output(), u"handed"_s);
            QVERIFY(running->finished());
            QCOMPARE(running->process.exitCode(), 0);
        }
    }

    void aTooLargeRequestFailsTheStartAndReachesNothing()
    {
        QList<QStringList> received;
        const auto instance = runningInstance(received);
        QVERIFY(instance);
        Start start(folder(), {u"--big"_s, QString::number(SingleInstance::maxRequestBytes)});
        QVERIFY(start.finished());
        QCOMPARE(start.process.exitCode(), 1);
        QVERIFY2(start.output().startsWith(u"refused the request is 1052673 bytes, over the "
                                           u"limit of 1052672"_s),
                 qPrintable(start.output()));
        QVERIFY(received.isEmpty());
        QVERIFY2(logged.isEmpty(), "the instance had to refuse what the start should not send");

        Start fits(folder(), {u"--big"_s, QString::number(SingleInstance::maxRequestBytes - 1)});
        QVERIFY(fits.finished());
        QCOMPARE(fits.output(), u"handed"_s);
        QCOMPARE(received.size(), 1);
        QCOMPARE(received.first().first().size(), SingleInstance::maxRequestBytes - 1);
    }

    void aBadRequestIsRefusedAndTheInstanceKeepsServing_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("answer");
        QTest::newRow("a length over the limit")
            << framed("x", SingleInstance::maxRequestBytes + 1)
            << u"the request is 1052673 bytes, over the limit of 1052672"_s;
        QTest::newRow("the largest length a header holds")
            << framed("x", 0xFFFFFFFF)
            << u"the request is 4294967295 bytes, over the limit of "
               u"1052672"_s;
        QTest::newRow("bytes that are not UTF-8")
            << framed("pondrift://new?text=\xff\xfe\0"_ba) << u"the request is not UTF-8"_s;
        QTest::newRow("a surrogate encoded in UTF-8")
            << framed("\xed\xa0\x80\0"_ba) << u"the request is not UTF-8"_s;
        QTest::newRow("half a header, then the sender leaves")
            << QByteArray("\0\0", 2) << QString();
        QTest::newRow("a header promising more than comes, then the sender leaves")
            << framed("abc", 100) << QString();
    }
    void aBadRequestIsRefusedAndTheInstanceKeepsServing()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, answer);
        QList<QStringList> received;
        const auto instance = runningInstance(received);
        QVERIFY(instance);

        QLocalSocket rogue;
        rogue.connectToServer(instance->socketPath());
        QVERIFY(rogue.waitForConnected(patienceMs));
        rogue.write(bytes);
        QVERIFY(rogue.flush());
        if (answer.isEmpty()) {
            rogue.abort();
        } else {
            QTRY_VERIFY_WITH_TIMEOUT(rogue.state() == QLocalSocket::UnconnectedState, patienceMs);
            QCOMPARE(rogue.readAll(), framed(answer.toUtf8()));
            QCOMPARE(logged,
                     QStringList{u"Pondrift: refused a request from another start — "_s + answer});
        }
        QVERIFY(received.isEmpty());

        Start next(folder(), {u"still here?"_s});
        QVERIFY(next.finished());
        QCOMPARE(next.output(), u"handed"_s);
        QCOMPARE(received, QList<QStringList>{{u"still here?"_s}});
    }

    void theFolderAndSocketAreTheUsersAlone()
    {
        QList<QStringList> received;
        const auto instance = runningInstance(received);
        QVERIFY(instance);
        struct stat info = {};
        QCOMPARE(::stat(QFile::encodeName(folder()).constData(), &info), 0);
        QCOMPARE(info.st_mode & 077, 0u);
        QCOMPARE(::stat(QFile::encodeName(instance->socketPath()).constData(), &info), 0);
        QVERIFY(S_ISSOCK(info.st_mode));
        QCOMPARE(info.st_mode & 077, 0u);
    }
};

QTEST_GUILESS_MAIN(TestSingleInstance)
#include "tst_singleinstance.moc"
