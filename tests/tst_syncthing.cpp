#include "platform/Log.h"
#include "support/SyncMachine.h"
#include "support/SyncPair.h"
#include "support/SyncthingPair.h"

#include <QDateTime>
#include <QDirIterator>
#include <QHashFunctions>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

QStringList conflictCopiesUnder(const QString& root)
{
    QStringList found;
    QDirIterator it(root, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        if (it.next().contains(u".sync-conflict-"_s))
            found << it.fileName();
    }
    return found;
}

} // namespace

// Two machines joined by a real Syncthing over loopback, the client many people carry their
// notes with: what the simulated client stands for has to hold with the real one too.
class TestSyncthing : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QHashSeed::setDeterministicGlobalSeed();
    }

    // Changes made on both machines while they cannot reach each other meet as Syncthing's
    // own conflict copy. A copy whose text is the note's is the same note and must not become
    // a second one; a copy with other text is kept as a note of its own, under one id on both
    // machines, and neither side's line is lost.
    void changesMadeApartMeetAsSyncthingsConflict_data()
    {
        QTest::addColumn<bool>("textOnBothSides");
        QTest::addRow("a pin here, a colour there") << false;
        QTest::addRow("a line here, another there") << true;
    }
    void changesMadeApartMeetAsSyncthingsConflict()
    {
        QFETCH(bool, textOnBothSides);
        ManualScheduler world(Date{static_cast<double>(QDateTime::currentSecsSinceEpoch())});
        QTemporaryDir rootA;
        QTemporaryDir rootB;
        // Two machines' clocks never agree to the nanosecond, and the files' dates show it.
        SkewedClock clockA(world, 0.25, 0);
        SkewedClock clockB(world, -0.5, 0);
        SyncMachine a(rootA.path(), clockA);
        SyncMachine b(rootB.path(), clockB);
        QStringList log;
        SyncthingPair client(rootA.path(), rootB.path(), log);
        QVERIFY2(client.error().isEmpty(), qPrintable(client.error()));
        const auto untilQuiet = [&] {
            for (int round = 0; round < 10; ++round) {
                world.advance(CloudSync::renameWait + 1);
                a.engine->syncNow();
                int carried = client.settle();
                b.engine->syncNow();
                carried = carried < 0 ? -1 : carried + client.settle();
                if (carried == 0 && a.engine->lastPlan().isEmpty()
                    && b.engine->lastPlan().isEmpty())
                    return true;
            }
            return false;
        };

        const Note made = a.notes->create(u"Plans\n[first]"_s, u"Plans"_s);
        QVERIFY(untilQuiet());
        QVERIFY(b.notes->note(made.id));

        QVERIFY(client.partition(true));
        if (textOnBothSides) {
            a.notes->updateBody(made.id, made.body + u"\n[from A]"_s);
            b.notes->updateBody(made.id, made.body + u"\n[from B]"_s);
        } else {
            a.notes->togglePin(made.id);
            b.notes->setColor(made.id, 3);
        }
        world.advance(2);
        a.engine->syncNow();
        b.engine->syncNow();
        client.look();
        QVERIFY(client.partition(false));
        QVERIFY(client.settle() >= 0);
        const QStringList copies = conflictCopiesUnder(rootA.path());
        QVERIFY2(!copies.isEmpty(), "Syncthing made no conflict copy of the changes apart");

        QVERIFY2(untilQuiet(), qPrintable(log.join(u'\n')));
        QCOMPARE(contents(*b.notes), contents(*a.notes));
        QVERIFY(a.notes->note(made.id));
        QString everything;
        for (const Note& note : a.notes->notes())
            everything += note.body + u'\n';
        if (textOnBothSides) {
            QCOMPARE(a.notes->notes().size(), 2);
            QVERIFY2(everything.contains(u"[from A]"_s) && everything.contains(u"[from B]"_s),
                     qPrintable(everything));
        } else {
            QCOMPARE(a.notes->notes().size(), 1);
            QCOMPARE(a.notes->note(made.id)->body, made.body);
        }
    }

    // Seeded lives of the two machines, as with the simulated client: every edit either
    // machine saved is somewhere at the end, both stores agree, no note changed its id or
    // exists twice, and a further pass changes nothing. Syncthing works in its own time, so a
    // seed does not replay exactly.
    void livesThroughSyncthing_data()
    {
        QTest::addColumn<quint32>("seed");
        for (quint32 seed : {1u, 2u})
            QTest::addRow("seed %u", seed) << seed;
    }
    void livesThroughSyncthing()
    {
        QFETCH(quint32, seed);
        PairLife::verify(seed, 60,
                         [](const QString& rootA, const QString& rootB, ManualScheduler&,
                            QRandomGenerator&, QStringList& log) -> std::unique_ptr<FolderCarrier> {
                             auto client = std::make_unique<SyncthingPair>(rootA, rootB, log);
                             if (!client->error().isEmpty()) {
                                 log << client->error();
                                 return nullptr;
                             }
                             return client;
                         });
    }
};

QTEST_GUILESS_MAIN(TestSyncthing)
#include "tst_syncthing.moc"
