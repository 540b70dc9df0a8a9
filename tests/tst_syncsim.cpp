#include "support/SyncMachine.h"

#include <QStandardPaths>
#include <QTest>

// A few of the random lives of two machines on one folder that tst_syncsim_stress lives by
// the hundred: quick, and the same on every run.
class TestSyncSim : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void twoMachinesOneFolder_data()
    {
        QTest::addColumn<quint32>("seed");
        for (quint32 seed = 1; seed <= 5; ++seed)
            QTest::addRow("seed %u", seed) << seed;
    }
    void twoMachinesOneFolder()
    {
        QFETCH(quint32, seed);
        SyncLife::live(seed);
    }
};

QTEST_GUILESS_MAIN(TestSyncSim)
#include "tst_syncsim.moc"
