#include "platform/qt/QtSingleInstance.h"

#include "platform/Log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QStandardPaths>
#include <QStringDecoder>
#include <QTimer>
#include <QtEndian>

#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

// Whoever holds the lock only connects or listens, which takes milliseconds; a lock held this
// long belongs to a start that hangs.
constexpr int lockPatienceMs = 10'000;
constexpr int connectPatienceMs = 2'000;
// The instance may be busy launching (loading a large library) when a request comes.
constexpr int answerPatienceMs = 20'000;
// A start sends its whole request at once; one that has not after this is gone or stuck.
constexpr int requestPatienceMs = 10'000;
constexpr qsizetype headerBytes = 4;

QByteArray framed(const QByteArray& payload)
{
    QByteArray frame(headerBytes, Qt::Uninitialized);
    qToBigEndian(static_cast<quint32>(payload.size()), frame.data());
    return frame + payload;
}

// The payload's length once its header has arrived.
std::optional<qint64> declaredLength(const QByteArray& buffer)
{
    if (buffer.size() < headerBytes)
        return std::nullopt;
    return qFromBigEndian<quint32>(buffer.constData());
}

std::optional<QString> strictUtf8(const QByteArray& bytes)
{
    QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless
                                                       | QStringConverter::Flag::ConvertInitialBom);
    QString text = decoder(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

QByteArray encoded(const QStringList& items)
{
    QByteArray payload;
    for (const QString& item : items)
        payload += item.toUtf8() + '\0';
    return payload;
}

QStringList decoded(const QString& text)
{
    QStringList items = text.split(QChar(0));
    // Every item ends in NUL, so the split leaves one empty piece after the last; a sender that
    // left the last NUL out still has its last item taken.
    if (items.last().isEmpty())
        items.removeLast();
    return items;
}

QString tooLarge(qint64 bytes)
{
    return u"the request is %1 bytes, over the limit of %2"_s.arg(bytes).arg(
        SingleInstance::maxRequestBytes);
}

} // namespace

struct QtSingleInstance::Incoming {
    QByteArray buffer;
    bool complete = false;
};

QtSingleInstance::QtSingleInstance(QString folder, QString name)
    : folder(std::move(folder))
    , name(std::move(name))
{
}

// The socket file goes with the server; the next start then finds no one without a refusal.
QtSingleInstance::~QtSingleInstance() = default;

QString QtSingleInstance::defaultFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
}

QString QtSingleInstance::socketPath() const { return folder + u'/' + name + u".socket"_s; }

QString QtSingleInstance::lockPath() const { return folder + u'/' + name + u".lock"_s; }

SingleInstance::Outcome QtSingleInstance::claim(const QStringList& request)
{
    if (!QFileInfo::exists(folder)) {
        QDir().mkpath(folder);
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    QLockFile lock(lockPath());
    // Held for milliseconds, so its age says nothing; a lock whose process is gone is stale.
    lock.setStaleLockTime(0);
    if (!lock.tryLock(lockPatienceMs) && lock.error() == QLockFile::LockFailedError)
        return {Outcome::Kind::Unreachable,
                {u"another start holds "_s + lockPath() + u" and does not let go"_s}};
    // Without a lock (a folder we may not write) the start goes on unguarded rather than not
    // at all.

    QLocalSocket socket;
    socket.connectToServer(socketPath());
    if (socket.waitForConnected(connectPatienceMs)) {
        lock.unlock();
        return handOver(socket, request);
    }
    const QLocalSocket::LocalSocketError error = socket.error();
    if (error != QLocalSocket::ServerNotFoundError && error != QLocalSocket::ConnectionRefusedError)
        return {Outcome::Kind::Unreachable, {socketPath() + u": "_s + socket.errorString()}};
    return listen();
}

// REQUIRES: the lock, and no one listening on the socket. Trap: with access options Qt makes
// the socket elsewhere and renames it over the path, so listening replaces any socket there,
// a live instance's too; only a refused connection under the lock makes it safe.
SingleInstance::Outcome QtSingleInstance::listen()
{
    QLocalServer::removeServer(socketPath());
    server = std::make_unique<QLocalServer>();
    server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!server->listen(socketPath())) {
        const QString why = server->errorString();
        server.reset();
        return {Outcome::Kind::Running,
                {u"later starts cannot reach this one: "_s + socketPath() + u": "_s + why}};
    }
    QObject::connect(server.get(), &QLocalServer::newConnection, server.get(), [this] {
        while (QLocalSocket* socket = server->nextPendingConnection())
            watch(socket);
    });
    return {Outcome::Kind::Running, {}};
}

SingleInstance::Outcome QtSingleInstance::handOver(QLocalSocket& socket, const QStringList& request)
{
    const QByteArray payload = encoded(request);
    if (payload.size() > maxRequestBytes)
        return {Outcome::Kind::Refused, {tooLarge(payload.size())}};
    socket.write(framed(payload));
    while (socket.bytesToWrite() > 0) {
        if (!socket.waitForBytesWritten(answerPatienceMs))
            return {Outcome::Kind::Unreachable,
                    {u"the running instance took no request: "_s + socket.errorString()}};
    }
    QByteArray reply;
    for (;;) {
        reply += socket.readAll();
        const std::optional<qint64> length = declaredLength(reply);
        if (length && *length > maxRequestBytes)
            return {Outcome::Kind::Unreachable, {u"the running instance's answer is garbled"_s}};
        if (length && reply.size() >= headerBytes + *length) {
            const std::optional<QString> text = strictUtf8(reply.mid(headerBytes, *length));
            if (!text)
                return {Outcome::Kind::Unreachable,
                        {u"the running instance's answer is garbled"_s}};
            if (text->isEmpty())
                return {Outcome::Kind::HandedOver, {}};
            return {Outcome::Kind::Refused, text->split(u'\n')};
        }
        if (!socket.waitForReadyRead(answerPatienceMs) && socket.bytesAvailable() == 0)
            return {Outcome::Kind::Unreachable,
                    {u"the running instance did not answer: "_s + socket.errorString()}};
    }
}

void QtSingleInstance::setReceiver(Receiver given)
{
    receiver = std::move(given);
    const QList<Waiting> arrived = std::exchange(waiting, {});
    for (const Waiting& w : arrived) {
        const QStringList reasons = receiver(w.request);
        if (w.socket)
            answer(*w.socket, reasons);
    }
}

void QtSingleInstance::watch(QLocalSocket* socket)
{
    auto incoming = std::make_shared<Incoming>();
    QObject::connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    QObject::connect(socket, &QLocalSocket::readyRead, socket,
                     [this, socket, incoming] { read(*socket, *incoming); });
    QTimer::singleShot(requestPatienceMs, socket, [socket, incoming] {
        if (incoming->complete)
            return;
        Log::line(u"dropped a start that sent no whole request"_s,
                  u"%1 bytes came"_s.arg(incoming->buffer.size()));
        socket->abort();
    });
    // Bytes may have come with the connection itself.
    if (socket->bytesAvailable() > 0)
        read(*socket, *incoming);
}

void QtSingleInstance::read(QLocalSocket& socket, Incoming& incoming)
{
    if (incoming.complete) {
        socket.readAll();
        return;
    }
    incoming.buffer += socket.readAll();
    const std::optional<qint64> length = declaredLength(incoming.buffer);
    if (!length)
        return;
    if (*length > maxRequestBytes) {
        incoming.complete = true;
        incoming.buffer.clear();
        refuse(socket, tooLarge(*length));
        return;
    }
    if (incoming.buffer.size() < headerBytes + *length)
        return;
    incoming.complete = true;
    const std::optional<QString> text = strictUtf8(incoming.buffer.mid(headerBytes, *length));
    incoming.buffer.clear();
    if (!text) {
        refuse(socket, u"the request is not UTF-8"_s);
        return;
    }
    const QStringList request = decoded(*text);
    if (!receiver) {
        waiting.append({&socket, request});
        return;
    }
    answer(socket, receiver(request));
}

void QtSingleInstance::answer(QLocalSocket& socket, const QStringList& reasons)
{
    socket.write(framed(reasons.join(u'\n').toUtf8()));
    // Out now, in case a command of this very request ends the process; disconnecting then
    // waits for whatever did not fit before it closes.
    socket.flush();
    socket.disconnectFromServer();
}

void QtSingleInstance::refuse(QLocalSocket& socket, const QString& why)
{
    Log::line(u"refused a request from another start"_s, why);
    answer(socket, {why});
}
