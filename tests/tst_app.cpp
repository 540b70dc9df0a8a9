#include "app/AppLifecycle.h"
#include "platform/qt/QtScheduler.h"
#include "support/ManualScheduler.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

// The quit path and the timers every delay of the program goes through.
class TestApp : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void quitWaitsForTheFlush_data()
    {
        QTest::addColumn<bool>("flushSucceeds");
        QTest::addColumn<bool>("terminates");
        QTest::newRow("a failed save keeps the process running") << false << false;
        QTest::newRow("a successful save lets it end") << true << true;
    }
    void quitWaitsForTheFlush()
    {
        QFETCH(bool, flushSucceeds);
        QFETCH(bool, terminates);
        QStringList calls;
        AppLifecycle lifecycle({
            .flushAll = [&] { calls << u"flush"_s; return flushSucceeds; },
            .willTerminate = [&] { calls << u"unregister hot keys"_s; },
        });
        QCOMPARE(lifecycle.shouldTerminate(), terminates);
        QStringList expected{u"flush"_s};
        if (terminates)
            expected << u"unregister hot keys"_s;
        QCOMPARE(calls, expected);
    }

    void refusedQuitCanBeRetriedAfterTheCauseIsGone()
    {
        bool diskFull = true;
        int unregistered = 0;
        AppLifecycle lifecycle({
            .flushAll = [&] { return !diskFull; },
            .willTerminate = [&] { ++unregistered; },
        });
        QVERIFY(!lifecycle.shouldTerminate());
        diskFull = false;
        QVERIFY(lifecycle.shouldTerminate());
        lifecycle.willTerminate();
        QCOMPARE(unregistered, 1);
    }

    void signalQuitFlushesEvenWhenItCannotRefuse()
    {
        int flushes = 0;
        bool ended = false;
        AppLifecycle lifecycle({
            .flushAll = [&] { ++flushes; return false; },
            .willTerminate = [&] { ended = true; },
        });
        lifecycle.terminateUnconditionally();
        QCOMPARE(flushes, 1);
        QVERIFY(ended);
    }

    void manualSchedulerRunsDueWorkInDeadlineOrder()
    {
        ManualScheduler scheduler;
        QStringList fired;
        auto late = scheduler.after(1.0, [&] { fired << u"late"_s; });
        auto early = scheduler.after(0.25, [&] { fired << u"early"_s; });
        auto cancelled = scheduler.after(0.5, [&] { fired << u"cancelled"_s; });
        cancelled->cancel();
        auto tick = scheduler.every(0.4, [&] { fired << u"tick"_s; });
        scheduler.advance(0.9);
        QCOMPARE(fired, (QStringList{u"early"_s, u"tick"_s, u"tick"_s}));
        tick.reset();
        scheduler.advance(0.2);
        QCOMPARE(fired.last(), u"late"_s);
        QCOMPARE(scheduler.pendingCount(), 0);
    }

    void manualSchedulerClockMovesToEachDeadline()
    {
        ManualScheduler scheduler(Date{100});
        Date seen;
        auto h = scheduler.after(0.25, [&] { seen = scheduler.now(); });
        scheduler.advance(10);
        QCOMPARE(seen.seconds, 100.25);
        QCOMPARE(scheduler.now().seconds, 110.0);
    }

    void qtTimerFiresOnceAndCancelHolds()
    {
        QtScheduler scheduler;
        int once = 0;
        int never = 0;
        auto a = scheduler.after(0.01, [&] { ++once; });
        auto b = scheduler.after(0.01, [&] { ++never; });
        b->cancel();
        QTRY_COMPARE(once, 1);
        QTest::qWait(30);
        QCOMPARE(once, 1);
        QCOMPARE(never, 0);
    }

    void qtTimerWorkMayDropItsOwnHandle()
    {
        QtScheduler scheduler;
        Scheduler::HandlePtr handle;
        int runs = 0;
        handle = scheduler.every(0.005, [&] { ++runs; handle.reset(); });
        QTRY_COMPARE(runs, 1);
        QTest::qWait(30);
        QCOMPARE(runs, 1);
    }
};

QTEST_GUILESS_MAIN(TestApp)
#include "tst_app.moc"
