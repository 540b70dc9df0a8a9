#pragma once

// Two real Syncthing instances on loopback, each sharing one folder with the other: the sync
// client people run between their machines, in place of the simulated one. Each has a home
// of its own (keys, configuration, database), listens on 127.0.0.1 only, and announces and
// relays nothing. Scans are asked for over its REST interface rather than left to its file
// watcher, so that a test decides when a change is noticed; delivery is Syncthing's own,
// in its own time, also while a pass is running.

#include "support/SyncPair.h"

#include <QByteArray>
#include <QMap>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <array>
#include <memory>

class QNetworkAccessManager;

class SyncthingPair final : public FolderCarrier {
public:
    // Starts both instances and waits until they are connected; on failure `error()` says
    // why and nothing runs.
    SyncthingPair(const QString& rootA, const QString& rootB, QStringList& log);
    ~SyncthingPair() override;

    QString error() const { return failure; }

    // Asks both sides to scan, and waits for the scans to end.
    void look() override;
    // Syncthing delivers by itself once it has noticed a change.
    void deliver(double) override {}
    bool deliverNow(int, const QString&) override { return false; }
    // Scans until both folders hold the same files with the same bytes and neither side
    // needs anything: how many files changed on either side meanwhile, or -1 after two
    // minutes without agreement.
    int settle() override;
    qsizetype waiting() const override;

    // Cuts the connection between the two (true) or restores it (false), and waits until it
    // is so (false if it did not come to be within a minute): changes made meanwhile on both
    // sides meet as conflicts.
    bool partition(bool apart);
    // Scans one side only, and waits for the scan to end.
    void look(int side);

private:
    struct Side {
        QString root;
        QTemporaryDir home;
        QString deviceId;
        quint16 guiPort = 0;
        quint16 listenPort = 0;
        std::unique_ptr<QProcess> process;
    };

    bool prepare(Side& side);
    bool start(Side& side, const Side& other);
    // A REST call; the reply's body, or nothing when it failed.
    std::optional<QByteArray> call(const Side& side, const QByteArray& method,
                                   const QString& path) const;
    bool connected(const Side& side) const;
    bool idle(const Side& side) const;
    // Every file under a root but Syncthing's own, with its bytes.
    QMap<QString, QByteArray> snapshot(const Side& side) const;

    std::array<Side, 2> sides;
    std::unique_ptr<QNetworkAccessManager> network;
    QStringList& log;
    QString failure;
};
