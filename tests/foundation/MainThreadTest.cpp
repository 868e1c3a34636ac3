#include "foundation/MainThread.h"
#include "support/TestEnvironment.h"
#include "system/VLException.h"

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

#include <atomic>
#include <thread>
#include <vector>

using namespace std::chrono_literals;

using namespace Qt::StringLiterals;

namespace {

/// Pumps events until `condition` holds, without the pauses of QTest::qWaitFor.
template <typename Condition>
bool pumpUntil(Condition condition) {
    const QDeadlineTimer deadline(20'000);
    while (!condition()) {
        if (deadline.hasExpired()) return false;
        QCoreApplication::processEvents();
        std::this_thread::yield();
    }
    return true;
}

/// Runs `body` on a worker while this thread serves it.
bool pumpWhile(const std::function<void()>& body) {
    std::atomic<bool> done = false;
    std::thread worker([&] {
        body();
        done = true;
    });
    const bool ended = pumpUntil([&] { return done.load(); });
    worker.join();
    return ended;
}

}  // namespace

class MainThreadTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { MainThread::resume(); }
    void postsKeepTheirOrder() {
        constexpr int workers = 4;
        constexpr int posts = 2000;
        std::vector<std::vector<int>> seen(workers);
        std::vector<std::thread> threads;
        for (int worker = 0; worker < workers; ++worker)
            threads.emplace_back([&seen, worker] {
                for (int i = 0; i < posts; ++i)
                    onMainThread([&seen, worker, i] { seen[static_cast<std::size_t>(worker)].push_back(i); });
            });
        const auto isComplete = [&] {
            return std::all_of(seen.begin(), seen.end(),
                               [](const auto& list) { return list.size() == posts; });
        };
        QVERIFY(pumpUntil(isComplete));
        for (auto& thread : threads)
            thread.join();
        for (const auto& list : seen)
            QVERIFY(std::is_sorted(list.begin(), list.end()));
    }

    void waitingReturnsWhatTheMainThreadDid() {
        constexpr int rounds = 500;
        int counter = 0;  // unguarded on purpose: only the hand-off orders the accesses
        bool allRan = true;
        QVERIFY(pumpWhile([&] {
            for (int i = 0; i < rounds; ++i) {
                const bool ran = onMainThreadAndWait([&counter] { counter += MainThread::isCurrent(); });
                allRan = allRan && ran && counter == i + 1;
            }
        }));
        QVERIFY(allRan);
        QCOMPARE(counter, rounds);
    }

    void exceptionsReachTheWaitingCaller() {
        QString name;
        QVERIFY(pumpWhile([&name] {
            try {
                onMainThreadAndWait([] { throw VLException(VLException::refused, u"no"_s); });
            } catch (const VLException& exception) {
                name = exception.name();
            }
        }));
        QCOMPARE(name, VLException::refused);
    }

    // A dialog's own event loop runs inside a posted function: later posts, queued before or after, still
    // run.
    void nestedEventLoopServesTheQueue() {
        QEventLoop dialog;
        bool outerEnded = false;
        onMainThread([&] {
            QTimer::singleShot(20'000, &dialog, [&dialog] { dialog.exit(1); });
            QCOMPARE(dialog.exec(), 0);
            outerEnded = true;
        });
        onMainThread([&dialog] { onMainThread([&dialog] { dialog.exit(0); }); });
        QVERIFY(pumpUntil([&] { return outerEnded; }));
    }

    void aBusyPosterDoesNotStarveEvents() {
        bool timerFired = false;
        bool stopped = false;
        std::function<void()> again = [&] {
            stopped = timerFired;
            if (!stopped) onMainThread([&again] { again(); });
        };
        again();
        QTimer::singleShot(0, this, [&timerFired] { timerFired = true; });
        QVERIFY(pumpUntil([&] { return stopped; }));
    }

    void waitUntilServesWaitingWorkers() {
        std::atomic<int> finished = 0;
        bool userEvent = false;
        QTimer::singleShot(0, this, [&userEvent] { userEvent = true; });
        std::vector<std::thread> workers;
        for (int i = 0; i < 4; ++i)
            workers.emplace_back([&finished] {
                onMainThreadAndWait([] {});
                ++finished;
            });
        QVERIFY(MainThread::waitUntil([&] { return finished == 4; }, 20s));
        for (auto& worker : workers)
            worker.join();
        QVERIFY2(!userEvent, "only the hand-off queue may be served");
        QVERIFY(!MainThread::waitUntil([] { return false; }, 10ms));
        QVERIFY(pumpUntil([&] { return userEvent; }));
    }

    void quittingReleasesWaitersAndDropsPosts() {
        constexpr int count = 4;
        std::atomic<int> started = 0;
        std::atomic<int> released = 0;
        std::atomic<bool> ran = false;
        std::vector<std::thread> workers;
        for (int i = 0; i < count; ++i)
            workers.emplace_back([&] {
                ++started;
                if (!onMainThreadAndWait([&ran] { ran = true; })) ++released;
            });
        while (started < count)
            std::this_thread::yield();
        onMainThread([&ran] { ran = true; });
        MainThread::beginQuitting();
        for (auto& worker : workers)
            worker.join();
        QCOMPARE(released.load(), count);

        onMainThread([&ran] { ran = true; });
        QVERIFY(!onMainThreadAndWait([&ran] { ran = true; }));
        MainThread::resume();
        QCoreApplication::processEvents();
        QVERIFY(!ran);

        bool again = false;
        onMainThread([&again] { again = true; });
        QVERIFY(pumpUntil([&] { return again; }));
    }

    // The function may use the waiting caller's variables, so the caller must not leave before its end.
    void quittingDuringACallWaitsForItsEnd() {
        bool result = false;
        int value = 0;
        QVERIFY(pumpWhile([&] {
            int local = 0;
            result = onMainThreadAndWait([&local] {
                MainThread::beginQuitting();
                std::this_thread::sleep_for(20ms);
                local = 42;
            });
            value = local;
        }));
        QVERIFY(result);
        QCOMPARE(value, 42);
    }
};

ORLENDO_TEST_MAIN(MainThreadTest)
#include "MainThreadTest.moc"
