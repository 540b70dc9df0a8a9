#include "support/SyncPair.h"

#include <QHashFunctions>
#include <QStandardPaths>
#include <QTest>

// A few lives of two machines, each with its own folder and clock, joined by a sync client;
// tst_syncpair_stress lives many more.
class TestSyncPair : public QObject {
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
        for (quint32 seed = 1; seed <= 4; ++seed)
            QTest::addRow("seed %u", seed) << seed;
    }
    void twoMachinesTwoFolders()
    {
        QFETCH(quint32, seed);
        PairLife::verify(seed);
    }
};

QTEST_GUILESS_MAIN(TestSyncPair)
#include "tst_syncpair.moc"
