#include "support/SyncthingPair.h"

#include "support/TestFiles.h"

#include <QDir>
#include <QDirIterator>
#include <QEventLoop>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTest>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString folderId = u"pondrift"_s;
const QByteArray apiKey = "pondrift-test-key";

quint16 freePort()
{
    QTcpServer probe;
    return probe.listen(QHostAddress::LocalHost) ? probe.serverPort() : 0;
}

// Syncthing's own files: the folder marker, its partial downloads and its versions.
bool isSyncthings(const QString& relativePath)
{
    const QString name = relativePath.section(u'/', -1);
    return relativePath.startsWith(u".stfolder"_s) || relativePath.startsWith(u".stversions"_s)
           || name.startsWith(u".syncthing."_s) || name.startsWith(u"~syncthing~"_s);
}

} // namespace

SyncthingPair::SyncthingPair(const QString& rootA, const QString& rootB, QStringList& log)
    : network(std::make_unique<QNetworkAccessManager>())
    , log(log)
{
    sides[0].root = rootA;
    sides[1].root = rootB;
    if (QStandardPaths::findExecutable(u"syncthing"_s).isEmpty()) {
        failure = u"syncthing is not installed (scripts/install-deps.sh installs it)"_s;
        return;
    }
    if (!prepare(sides[0]) || !prepare(sides[1]) || !start(sides[0], sides[1])
        || !start(sides[1], sides[0]))
        return;
    if (!QTest::qWaitFor([&] { return connected(sides[0]) && connected(sides[1]); }, 60'000))
        failure = u"the two Syncthing instances did not connect within a minute"_s;
}

SyncthingPair::~SyncthingPair()
{
    for (Side& side : sides) {
        if (!side.process)
            continue;
        side.process->terminate();
        if (!side.process->waitForFinished(15'000))
            side.process->kill();
        side.process->waitForFinished(5'000);
    }
}

bool SyncthingPair::prepare(Side& side)
{
    const QString home = side.home.path();
    QProcess generate;
    generate.start(u"syncthing"_s, {u"generate"_s, u"--home="_s + home, u"--no-default-folder"_s});
    if (!generate.waitForFinished(60'000) || generate.exitCode() != 0) {
        failure = u"syncthing generate failed: "_s + QString::fromUtf8(generate.readAll());
        return false;
    }
    QProcess id;
    id.start(u"syncthing"_s, {u"serve"_s, u"--home="_s + home, u"--device-id"_s});
    if (!id.waitForFinished(60'000) || id.exitCode() != 0) {
        failure = u"syncthing could not tell its device id"_s;
        return false;
    }
    side.deviceId = QString::fromUtf8(id.readAllStandardOutput()).trimmed();
    side.guiPort = freePort();
    side.listenPort = freePort();
    if (side.guiPort == 0 || side.listenPort == 0) {
        failure = u"no free port on the loopback interface"_s;
        return false;
    }
    return true;
}

bool SyncthingPair::start(Side& side, const Side& other)
{
    // Everything a folder needs is spelt out: a folder element gets none of the defaults
    // the interface would give it (no conflict copies at all, for one).
    const QString config = uR"(<configuration version="36">
  <folder id="%1" label="Pondrift" path="%2" type="sendreceive" rescanIntervalS="3600"
          fsWatcherEnabled="false" ignorePerms="true" autoNormalize="true">
    <device id="%3"></device>
    <device id="%4"></device>
    <minDiskFree unit="%">0</minDiskFree>
    <maxConflicts>10</maxConflicts>
    <pullerPauseS>1</pullerPauseS>
    <order>alphabetic</order>
    <markerName>.stfolder</markerName>
  </folder>
  <device id="%3" name="this"><address>dynamic</address></device>
  <device id="%4" name="other"><address>tcp://127.0.0.1:%5</address></device>
  <gui enabled="true" tls="false"><address>127.0.0.1:%6</address><apikey>%7</apikey></gui>
  <options>
    <listenAddress>tcp://127.0.0.1:%8</listenAddress>
    <globalAnnounceEnabled>false</globalAnnounceEnabled>
    <localAnnounceEnabled>false</localAnnounceEnabled>
    <relaysEnabled>false</relaysEnabled>
    <natEnabled>false</natEnabled>
    <urAccepted>-1</urAccepted>
    <autoUpgradeIntervalH>0</autoUpgradeIntervalH>
    <crashReportingEnabled>false</crashReportingEnabled>
    <startBrowser>false</startBrowser>
    <reconnectionIntervalS>1</reconnectionIntervalS>
    <minHomeDiskFree unit="%">0</minHomeDiskFree>
  </options>
</configuration>
)"_s.arg(folderId, side.root.toHtmlEscaped(), side.deviceId, other.deviceId)
                               .arg(other.listenPort)
                               .arg(side.guiPort)
                               .arg(QString::fromLatin1(apiKey))
                               .arg(side.listenPort);
    if (!TestFiles::write(side.home.filePath(u"config.xml"_s), config.toUtf8())) {
        failure = u"could not write Syncthing's configuration"_s;
        return false;
    }
    side.process = std::make_unique<QProcess>();
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(u"HOME"_s, side.home.path());
    env.insert(u"STNODEFAULTFOLDER"_s, u"1"_s);
    env.insert(u"STNOUPGRADE"_s, u"1"_s);
    side.process->setProcessEnvironment(env);
    side.process->setProcessChannelMode(QProcess::MergedChannels);
    side.process->setStandardOutputFile(side.home.filePath(u"log"_s));
    side.process->start(u"syncthing"_s, {u"serve"_s, u"--home="_s + side.home.path(),
                                         u"--no-browser"_s, u"--no-restart"_s, u"--no-upgrade"_s});
    if (!side.process->waitForStarted(30'000)) {
        failure = u"syncthing did not start: "_s + side.process->errorString();
        return false;
    }
    if (!QTest::qWaitFor([&] { return call(side, "GET", u"/rest/system/ping"_s).has_value(); },
                         60'000)) {
        failure = u"syncthing did not answer within a minute; its log:\n"_s
                  + QString::fromUtf8(TestFiles::read(side.home.filePath(u"log"_s)));
        return false;
    }
    return true;
}

std::optional<QByteArray> SyncthingPair::call(const Side& side, const QByteArray& method,
                                              const QString& path) const
{
    QNetworkRequest request(QUrl(u"http://127.0.0.1:%1%2"_s.arg(side.guiPort).arg(path)));
    request.setRawHeader("X-API-Key", apiKey);
    request.setTransferTimeout(120'000);
    QNetworkReply* reply = network->sendCustomRequest(request, method);
    QEventLoop loop;
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    loop.exec();
    reply->deleteLater();
    if (reply->error() != QNetworkReply::NoError)
        return std::nullopt;
    return reply->readAll();
}

bool SyncthingPair::connected(const Side& side) const
{
    const auto reply = call(side, "GET", u"/rest/system/connections"_s);
    if (!reply)
        return false;
    const QJsonObject all = QJsonDocument::fromJson(*reply)[u"connections"_s].toObject();
    for (const Side& other : sides) {
        if (&other != &side && !all[other.deviceId][u"connected"_s].toBool())
            return false;
    }
    return true;
}

bool SyncthingPair::idle(const Side& side) const
{
    const auto reply = call(side, "GET", u"/rest/db/status?folder="_s + folderId);
    if (!reply)
        return false;
    const QJsonDocument status = QJsonDocument::fromJson(*reply);
    return status[u"state"_s].toString() == u"idle"_s
           && status[u"needTotalItems"_s].toInteger(-1) == 0;
}

void SyncthingPair::look(int side)
{
    if (!call(sides[side], "POST", u"/rest/db/scan?folder="_s + folderId))
        log << u"client: the scan on %1 failed"_s.arg(side ? u"B"_s : u"A"_s);
}

void SyncthingPair::look()
{
    look(0);
    look(1);
}

QMap<QString, QByteArray> SyncthingPair::snapshot(const Side& side) const
{
    QMap<QString, QByteArray> files;
    const QDir root(side.root);
    QDirIterator it(side.root, QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString relative = root.relativeFilePath(it.next());
        if (!isSyncthings(relative))
            files.insert(relative, TestFiles::read(it.filePath()));
    }
    return files;
}

int SyncthingPair::settle()
{
    const QMap<QString, QByteArray> before[2]{snapshot(sides[0]), snapshot(sides[1])};
    const bool agreed = QTest::qWaitFor(
        [&] {
            look();
            return snapshot(sides[0]) == snapshot(sides[1]) && idle(sides[0]) && idle(sides[1]);
        },
        120'000);
    if (!agreed)
        return -1;
    int carried = 0;
    for (int side = 0; side < 2; ++side) {
        const QMap<QString, QByteArray> after = snapshot(sides[side]);
        QSet<QString> paths(before[side].keyBegin(), before[side].keyEnd());
        for (auto it = after.cbegin(); it != after.cend(); ++it)
            paths.insert(it.key());
        for (const QString& path : paths) {
            if (before[side].value(path) != after.value(path)
                || before[side].contains(path) != after.contains(path)) {
                log << u"client: %1 %2"_s.arg(side ? u"B"_s : u"A"_s, path);
                ++carried;
            }
        }
    }
    return carried;
}

qsizetype SyncthingPair::waiting() const
{
    const QMap<QString, QByteArray> a = snapshot(sides[0]);
    const QMap<QString, QByteArray> b = snapshot(sides[1]);
    qsizetype differing = 0;
    for (auto it = a.cbegin(); it != a.cend(); ++it)
        differing += b.value(it.key()) != it.value() || !b.contains(it.key());
    for (auto it = b.cbegin(); it != b.cend(); ++it)
        differing += !a.contains(it.key());
    return differing;
}

bool SyncthingPair::partition(bool apart)
{
    const QString action = apart ? u"pause"_s : u"resume"_s;
    for (int side = 0; side < 2; ++side)
        call(sides[side], "POST",
             u"/rest/system/%1?device=%2"_s.arg(action, sides[1 - side].deviceId));
    return QTest::qWaitFor(
        [&] { return connected(sides[0]) != apart && connected(sides[1]) != apart; }, 60'000);
}
