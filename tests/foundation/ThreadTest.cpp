#include "foundation/Snapshot.h"
#include "foundation/VLTimer.h"
#include "support/TestEnvironment.h"

#include <QElapsedTimer>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace std::chrono_literals;

class ThreadTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() {
        VLThread::cancelAll();
        QVERIFY(VLThread::joinAll(20s));
        VLThread::reset();
    }
    void workersAreCountedAndJoined();
    void workersMayStartWorkers();
    void escapedExceptionsAreLogged();
    void joiningServesTheHandOffQueue();
    void joiningGivesUp();
    void cancellingWakesSleepersAndRefusesNewWorkers();
    void timerFiresOnceOnTheMainThread_data();
    void timerFiresOnceOnTheMainThread();
    void invalidatedTimerStaysSilent();
    void timersOfManyThreads();
    void exceptionsOfTimersAreLogged();
    void snapshotsAreWhole();
};

void ThreadTest::workersAreCountedAndJoined() {
    std::atomic<bool> go = false;
    std::atomic<int> finished = 0;
    for (int i = 0; i < 20; ++i)
        VLThread::detach(QStringLiteral("a name that is longer than a kernel accepts"), [&] {
            while (!go)
                std::this_thread::sleep_for(1ms);
            ++finished;
        });
    QCOMPARE(VLThread::activeCount(), 20);
    go = true;
    QVERIFY(VLThread::joinAll(20s));
    QCOMPARE(VLThread::activeCount(), 0);
    QCOMPARE(finished.load(), 20);
}

void ThreadTest::workersMayStartWorkers() {
    std::atomic<int> count = 0;
    std::function<void(int)> spawn = [&](int depth) {
        ++count;
        if (depth == 0) return;
        for (int i = 0; i < 2; ++i)
            VLThread::detach(QStringLiteral("child"), [&, depth] { spawn(depth - 1); });
    };
    VLThread::detach(QStringLiteral("root"), [&] { spawn(5); });
    QVERIFY(VLThread::joinAll(20s));
    QCOMPARE(count.load(), 63);
}

void ThreadTest::escapedExceptionsAreLogged() {
    VLThread::detach(QStringLiteral("refreshThing"), [] { throw std::runtime_error("out of luck"); });
    VLThread::detach(QStringLiteral("oddThing"), [] { throw 5; });
    QVERIFY(VLThread::joinAll(20s));
    const QStringList lines = logLines();
    QVERIFY(lines.contains(QStringLiteral("Exception in refreshThing. std::runtime_error - out of luck.")));
    QVERIFY(!lines.filter(QStringLiteral("Exception in oddThing.")).isEmpty());
}

void ThreadTest::joiningServesTheHandOffQueue() {
    std::atomic<int> handed = 0;
    for (int i = 0; i < 8; ++i)
        VLThread::detach(QStringLiteral("waits for the main thread"),
                         [&] { onMainThreadAndWait([&handed] { ++handed; }); });
    QVERIFY(VLThread::joinAll(20s));
    QCOMPARE(handed.load(), 8);
}

void ThreadTest::joiningGivesUp() {
    std::atomic<bool> go = false;
    VLThread::detach(QStringLiteral("slow"), [&] {
        while (!go)
            std::this_thread::sleep_for(1ms);
    });
    QVERIFY(!VLThread::joinAll(20ms));
    go = true;
    QVERIFY(VLThread::joinAll(20s));
}

void ThreadTest::cancellingWakesSleepersAndRefusesNewWorkers() {
    std::atomic<int> cutShort = 0;
    for (int i = 0; i < 3; ++i)
        VLThread::detach(QStringLiteral("sleeper"), [&] {
            if (!VLThread::sleepFor(10min) && VLThread::isCancelled()) ++cutShort;
        });
    VLThread::cancelAll();
    QVERIFY(VLThread::joinAll(20s));
    QCOMPARE(cutShort.load(), 3);

    std::atomic<bool> ran = false;
    VLThread::detach(QStringLiteral("late"), [&] { ran = true; });
    QCOMPARE(VLThread::activeCount(), 0);
    QVERIFY(logLines().contains(QStringLiteral("Thread late was not started: the program is quitting")));

    VLThread::reset();
    VLThread::detach(QStringLiteral("early"), [&] { ran = VLThread::sleepFor(1ms); });
    QVERIFY(VLThread::joinAll(20s));
    QVERIFY(ran);
}

void ThreadTest::timerFiresOnceOnTheMainThread_data() {
    QTest::addColumn<bool>("fromWorker");
    QTest::newRow("main thread") << false;
    QTest::newRow("worker") << true;
}

void ThreadTest::timerFiresOnceOnTheMainThread() {
    QFETCH(bool, fromWorker);
    QElapsedTimer clock;
    clock.start();
    int fired = 0;
    bool onMain = false;
    std::shared_ptr<VLTimer> timer;
    const auto arm = [&] {
        timer = VLTimer::scheduledTimer(30ms, [&] {
            onMain = MainThread::isCurrent();
            ++fired;
        });
    };
    if (fromWorker)
        std::thread(arm).join();
    else
        arm();
    QVERIFY(timer->isValid());
    QVERIFY(QTest::qWaitFor([&] { return fired > 0; }, 20'000));
    QVERIFY(clock.elapsed() >= 29);
    QVERIFY(onMain);
    QVERIFY(!timer->isValid());
    timer->invalidate();
    QTest::qWait(50);
    QCOMPARE(fired, 1);
}

void ThreadTest::invalidatedTimerStaysSilent() {
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

void ThreadTest::timersOfManyThreads() {
    std::atomic<int> fired = 0;
    std::atomic<int> cancelled = 0;
    for (int worker = 0; worker < 4; ++worker)
        VLThread::detach(QStringLiteral("timers"), [&] {
            for (int i = 0; i < 100; ++i) {
                const auto timer =
                    VLTimer::scheduledTimer(std::chrono::milliseconds(i % 3), [&] { ++fired; });
                if (i % 2 == 0) std::this_thread::sleep_for(1ms);
                if (timer->isValid()) ++cancelled;
                timer->invalidate();
            }
        });
    QVERIFY(QTest::qWaitFor([] { return VLThread::activeCount() == 0; }, 20'000));
    QTest::qWait(10);
    QVERIFY(fired + cancelled >= 400);
    QVERIFY(fired <= 400);
}

void ThreadTest::exceptionsOfTimersAreLogged() {
    const auto timer = VLTimer::scheduledTimer(0ms, [] { throw std::runtime_error("late"); });
    QVERIFY(QTest::qWaitFor([&] { return !timer->isValid(); }, 20'000));
    QVERIFY(logLines().contains(QStringLiteral("Exception in VLTimer. std::runtime_error - late.")));
}

void ThreadTest::snapshotsAreWhole() {
    Snapshot<std::vector<int>> snapshot(std::vector<int>(10, 0));
    std::atomic<bool> allWhole = true;
    for (int worker = 0; worker < 4; ++worker)
        VLThread::detach(QStringLiteral("snapshot"), [&, worker] {
            for (int i = 0; i < 500; ++i) {
                if (worker < 2) snapshot.set(std::vector<int>(10, i));
                const auto values = snapshot.shared();
                if (std::any_of(values->begin(), values->end(), [&](int v) { return v != values->front(); }))
                    allWhole = false;
            }
        });
    QVERIFY(VLThread::joinAll(20s));
    QVERIFY(allWhole);
}

ORLENDO_TEST_MAIN(ThreadTest)
#include "ThreadTest.moc"
