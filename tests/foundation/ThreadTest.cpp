#include "foundation/VLTimer.h"
#include "support/TestEnvironment.h"

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace std::chrono_literals;

using namespace Qt::StringLiterals;

class ThreadTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() {
        VLThread::cancelAll();
        QVERIFY(VLThread::joinAll(20s));
        VLThread::reset();
    }
    void workersAreCountedAndJoined() {
        std::atomic<bool> go = false;
        std::atomic<int> finished = 0;
        for (int i = 0; i < 20; ++i)
            VLThread::detach(u"a name that is longer than a kernel accepts"_s, [&] {
                while (!go)
                    std::this_thread::sleep_for(1ms);
                ++finished;
            });
        QCOMPARE(VLThread::activeCount(), 20);
        QVERIFY(!VLThread::joinAll(20ms));
        go = true;
        QVERIFY(VLThread::joinAll(20s));
        QCOMPARE(VLThread::activeCount(), 0);
        QCOMPARE(finished.load(), 20);
    }

    void escapedExceptionsAreLogged() {
        VLThread::detach(u"refreshThing"_s, [] { throw std::runtime_error("out of luck"); });
        VLThread::detach(u"oddThing"_s, [] { throw 5; });
        QVERIFY(VLThread::joinAll(20s));
        onMainThread([] { throw std::runtime_error("posted"); });
        const auto timer = VLTimer::scheduledTimer(0ms, [] { throw std::runtime_error("late"); });
        QVERIFY(QTest::qWaitFor([&] { return !timer->isValid(); }, 20'000));
        const QStringList lines = logLines();
        QVERIFY(lines.contains(u"Exception in VLTimer. std::runtime_error - late."_s));
        QVERIFY(lines.contains(u"Exception in refreshThing. std::runtime_error - out of luck."_s));
        QVERIFY(!lines.filter(u"Exception in oddThing."_s).isEmpty());
        QVERIFY(lines.contains(u"Exception in onMainThread. std::runtime_error - posted."_s));
    }

    void joiningServesTheHandOffQueue() {
        std::atomic<int> handed = 0;
        for (int i = 0; i < 8; ++i)
            VLThread::detach(u"waits for the main thread"_s,
                             [&] { onMainThreadAndWait([&handed] { ++handed; }); });
        QVERIFY(VLThread::joinAll(20s));
        QCOMPARE(handed.load(), 8);
    }

    void cancellingWakesSleepersAndRefusesNewWorkers() {
        std::atomic<int> cutShort = 0;
        for (int i = 0; i < 3; ++i)
            VLThread::detach(u"sleeper"_s, [&] {
                if (!VLThread::sleepFor(10min) && VLThread::isCancelled()) ++cutShort;
            });
        VLThread::cancelAll();
        QVERIFY(VLThread::joinAll(20s));
        QCOMPARE(cutShort.load(), 3);

        std::atomic<bool> ran = false;
        VLThread::detach(u"late"_s, [&] { ran = true; });
        QCOMPARE(VLThread::activeCount(), 0);
        QVERIFY(logLines().contains(u"Thread late was not started: the program is quitting"_s));

        VLThread::reset();
        VLThread::detach(u"early"_s, [&] { ran = VLThread::sleepFor(1ms); });
        QVERIFY(VLThread::joinAll(20s));
        QVERIFY(ran);
    }

    void timerFiresOnceOnTheMainThread() {
        for (const bool fromWorker : {false, true}) {
            int fired = 0;
            bool onMain = false;
            std::shared_ptr<VLTimer> timer;
            const auto arm = [&] {
                timer = VLTimer::scheduledTimer(30ms, [&] {
                    onMain = MainThread::isCurrent();
                    ++fired;
                });
            };
            fromWorker ? std::thread(arm).join() : arm();
            QVERIFY(timer->isValid());
            QVERIFY(QTest::qWaitFor([&] { return fired > 0; }, 20'000));
            QVERIFY(onMain);
            QVERIFY(!timer->isValid());
            QTest::qWait(50);
            QCOMPARE(fired, 1);
        }
    }

    void invalidatedTimerStaysSilent() {
        int fired = 0;
        const auto action = [&fired] { ++fired; };
        const auto invalidated = VLTimer::scheduledTimer(1ms, action);
        auto dropped = VLTimer::scheduledTimer(1ms, action);
        const auto byWorker = VLTimer::scheduledTimer(1ms, action);
        std::shared_ptr<VLTimer> byItself;
        byItself = VLTimer::scheduledTimer(1ms, [&] { byItself.reset(); });

        std::this_thread::sleep_for(5ms);  // all are due, none has fired: no event was served
        invalidated->invalidate();
        dropped.reset();
        std::thread([&] { byWorker->invalidate(); }).join();
        QVERIFY(!invalidated->isValid());
        QVERIFY(QTest::qWaitFor([&] { return !byItself; }, 20'000));
        QTest::qWait(20);
        QCOMPARE(fired, 0);
    }
};

ORLENDO_TEST_MAIN(ThreadTest)
#include "ThreadTest.moc"
