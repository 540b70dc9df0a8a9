#include "support/SyncPair.h"

#include <QHashFunctions>
#include <QStandardPaths>
#include <QTest>

// Many lives of two machines joined by a sync client, one per seed; tst_syncpair lives the
// first four. PONDRIFT_SEEDS=N lives seeds 5 to N+4 instead of the usual sixty.
class TestSyncPairStress : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        // The same seed lives the same life, as far as the notes' random ids allow.
        QHashSeed::setDeterministicGlobalSeed();
    }

    void twoMachinesTwoFolders_data()
    {
        QTest::addColumn<quint32>("seed");
        bool given = false;
        const int count = qEnvironmentVariableIntValue("PONDRIFT_SEEDS", &given);
        const quint32 last = 4 + (given && count > 0 ? count : 60);
        // Lives that still end badly, run with PONDRIFT_OPEN_SEEDS=1, and why: none now.
        const QSet<quint32> open{};
        const bool withOpen = qEnvironmentVariableIntValue("PONDRIFT_OPEN_SEEDS") == 1;
        for (quint32 seed = 5; seed <= last; ++seed) {
            if (withOpen || !open.contains(seed))
                QTest::addRow("seed %u", seed) << seed;
        }
        // Lives past the usual range that once ended badly, and must not again.
        for (quint32 seed : {82u, 83u, 86u, 98u, 106u, 119u, 126u, 127u}) {
            if (seed > last)
                QTest::addRow("seed %u", seed) << seed;
        }
    }
    void twoMachinesTwoFolders()
    {
        QFETCH(quint32, seed);
        PairLife::verify(seed);
    }
};

QTEST_GUILESS_MAIN(TestSyncPairStress)
#include "tst_syncpair_stress.moc"
