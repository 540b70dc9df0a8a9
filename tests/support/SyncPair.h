#pragma once

// Two machines, each with its own data, its own synced folder and its own clock, joined by a
// simulated sync client that behaves the way the real ones do: late, in any order, part of
// a change at a time, keeping the sender's dates, and with conflict copies of its own.

#include "platform/Scheduler.h"
#include "support/ManualScheduler.h"

#include <QByteArray>
#include <QHash>
#include <QMap>
#include <QRandomGenerator>
#include <QString>
#include <QStringList>

#include <ctime>
#include <functional>
#include <memory>
#include <optional>

// A machine's own clock over the shared virtual time: off by a fixed skew and drifting a
// little, as unsynchronised clocks do. Delays are the shared time's, so timers of every
// machine run in one order.
class SkewedClock final : public Scheduler {
public:
    SkewedClock(ManualScheduler& world, double skew, double drift)
        : world(world)
        , skew(skew)
        , drift(drift)
        , start(world.now().seconds)
    {
    }

    Date now() const override
    {
        const double t = world.now().seconds;
        return Date{t + skew + drift * (t - start)};
    }
    HandlePtr after(double seconds, std::function<void()> fn) override
    {
        return world.after(seconds, std::move(fn));
    }
    HandlePtr every(double seconds, std::function<void()> fn) override
    {
        return world.every(seconds, std::move(fn));
    }

private:
    ManualScheduler& world;
    double skew;
    double drift;
    double start;
};

// What carries files between two machines' sync roots: the simulated client below, or a
// real one (support/SyncthingPair.h).
class FolderCarrier {
public:
    virtual ~FolderCarrier() = default;
    // Notices what changed on either side since the last agreement.
    virtual void look() = 0;
    // Delivers each due change with the given chance, in random order.
    virtual void deliver(double chance) = 0;
    // Delivers a change made on the other side to `side` (0 or 1) now, if one is noticed
    // for that file and the file on `side` is as both last agreed: what a client does while
    // a pass is between its scan and its writes. False when nothing was delivered.
    virtual bool deliverNow(int side, const QString& relativePath) = 0;
    // Looks and delivers everything until both sides agree: how many files it carried, or -1
    // if the sides never came to agree.
    virtual int settle() = 0;
    // Files both sides have not agreed on yet.
    virtual qsizetype waiting() const = 0;
};

// A file sync client between two folders (Syncthing's way of working). It remembers the
// content both sides last agreed on per file; a side whose file differs from that has changed
// it. A change is noticed when the client looks, and delivered after a delay, in random order,
// only some of the due ones at a time. Delivery keeps the sender's modification date, deletes
// what the sender deleted, and when both sides changed a file it keeps the newer one in place
// and the older one as "name.sync-conflict-<stamp>-<device>.ext" on the side that had it; a
// deletion against a change loses. Names beginning with ".syncthing." are its own.
class SyncClient final : public FolderCarrier {
public:
    SyncClient(QString rootA, QString rootB, ManualScheduler& world, QRandomGenerator& random,
               QStringList& log);

    void look() override;
    void deliver(double chance) override;
    bool deliverNow(int side, const QString& relativePath) override;
    int settle() override;
    qsizetype waiting() const override { return due[0].size() + due[1].size(); }

private:
    struct State {
        std::optional<QByteArray> bytes;
        timespec modified{};
    };
    State state(int side, const QString& path) const;
    QStringList allPaths(int side) const;
    void agree(const QString& path);
    void copy(int from, int to, const QString& path, const State& source);
    QString conflictName(const QString& path, int loser) const;

    QString roots[2];
    ManualScheduler& world;
    QRandomGenerator& random;
    QStringList& log;
    // The content both sides last agreed on; absent: the file did not exist then.
    QHash<QString, std::optional<QByteArray>> agreed;
    // Per side, the changes noticed and when they fall due.
    QMap<QString, double> due[2];
};

// One seeded life of two machines joined by a client, ending in quiet rounds and the
// oracle. Returns what went wrong (empty when nothing did), with the seed and the tail of
// the life's log so that it can be replayed. Without a carrier the simulated client joins
// them.
namespace PairLife {
using MakeCarrier = std::function<std::unique_ptr<FolderCarrier>(
    const QString& rootA, const QString& rootB, ManualScheduler& world, QRandomGenerator& random,
    QStringList& log)>;
QString live(quint32 seed, int steps = 150, const MakeCarrier& carrier = {});
// Lives the seed's life and fails the running test with its first problem, the whole list in
// the test's log (a failure message is cut short).
void verify(quint32 seed, int steps = 150, const MakeCarrier& carrier = {});
} // namespace PairLife
