#pragma once

#include "platform/SingleInstance.h"

#include <QList>
#include <QPointer>
#include <QString>

#include <memory>

class QLocalServer;
class QLocalSocket;

// One instance over a local socket. The instance listens on FOLDER/NAME.socket; a later start
// connects and hands its request over. Who listens is decided under FOLDER/NAME.lock, so that
// two starts at the same moment cannot both find no one and both listen: the second waits for
// the first to listen and then connects. A socket file that no one listens on (the instance
// crashed) refuses the connection and is replaced.
//
// On the way a request is a 32-bit big-endian length and that many bytes: its items in UTF-8,
// each ended by a NUL byte. The answer is framed the same way: the reasons for refused items,
// one a line, empty when everything was taken. A request over maxRequestBytes, or not UTF-8,
// is refused whole with a log line; a connection that sends nothing whole for a while is
// dropped. Either way the instance keeps serving the next.
class QtSingleInstance final : public SingleInstance {
public:
    inline static const QString defaultName = QStringLiteral("app.pondrift.Pondrift");

    // folder is made (mode 0700) if missing. REQUIRES: a QCoreApplication, for the instance's
    // event loop.
    explicit QtSingleInstance(QString folder, QString name = defaultName);
    ~QtSingleInstance() override;

    // The user's runtime folder ($XDG_RUNTIME_DIR), which no other account can enter.
    static QString defaultFolder();

    Outcome claim(const QStringList& request) override;
    void setReceiver(Receiver receiver) override;

    QString socketPath() const;
    QString lockPath() const;
    // Requests that have arrived whole and wait for the receiver.
    qsizetype waitingRequests() const { return waiting.size(); }

private:
    struct Incoming;
    Outcome listen();
    Outcome handOver(QLocalSocket& socket, const QStringList& request);
    void watch(QLocalSocket* socket);
    void read(QLocalSocket& socket, Incoming& incoming);
    void answer(QLocalSocket& socket, const QStringList& reasons);
    void refuse(QLocalSocket& socket, const QString& why);

    QString folder;
    QString name;
    std::unique_ptr<QLocalServer> server;
    Receiver receiver;
    // Requests that came before the receiver, with the connection that waits for the answer.
    struct Waiting {
        QPointer<QLocalSocket> socket;
        QStringList request;
    };
    QList<Waiting> waiting;
};
