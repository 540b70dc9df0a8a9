#include "support/SyncMachine.h"

#include <QStandardPaths>
#include <QTest>

// Many lives of two machines on one folder, one per seed; tst_syncsim lives the first five.
class TestSyncSimStress : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void twoMachinesOneFolder_data()
    {
        QTest::addColumn<quint32>("seed");
        for (quint32 seed = 6; seed <= 200; ++seed)
            QTest::addRow("seed %u", seed) << seed;
    }
    void twoMachinesOneFolder()
    {
        QFETCH(quint32, seed);
        SyncLife::live(seed);
    }
};

QTEST_GUILESS_MAIN(TestSyncSimStress)
#include "tst_syncsim_stress.moc"
