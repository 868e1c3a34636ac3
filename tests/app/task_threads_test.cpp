#include "app/TaskThreads.h"
#include "support/TestEnvironment.h"
#include "support/TestTable.h"

#include <QTest>

#include <atomic>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// What a step of the tables below does to the object.
using Step = void (TaskThreads::*)();

struct SteppedThreads : TaskThreads {
    using TaskThreads::TaskThreads;
    void countIn() { incrementTaskThreadCount(); }
};

class TaskThreadsTest : public QObject {
    Q_OBJECT

    static constexpr Step start = &TaskThreads::startStatusProgress,
                          increment = &TaskThreads::incrementStatusProgress,
                          end = &TaskThreads::endStatusProgress, cancel = &TaskThreads::cancelStatusProgress,
                          countIn = static_cast<Step>(&SteppedThreads::countIn),
                          countOut = &TaskThreads::decrementTaskThreadCount;

    std::atomic<int> m_selected{0};
    int m_refreshes = 0;
    int m_stops = 0;
    std::unique_ptr<TaskThreads> m_threads;

    void apply(Step step) { (m_threads.get()->*step)(); }

    /// Starts `body` on a worker; true once it has ended.
    static bool runOnWorker(const std::function<void()>& body, std::chrono::milliseconds limit = 10s) {
        const auto done = std::make_shared<std::atomic<bool>>(false);
        VLThread::detach(u"test"_s, [body, done] {
            body();
            *done = true;
        });
        return MainThread::waitUntil([done] { return done->load(); }, limit);
    }

private Q_SLOTS:
    void init() {
        m_selected = 0;
        m_refreshes = m_stops = 0;
        m_threads = std::make_unique<SteppedThreads>(TaskThreads::Environment{
            [this] { return m_selected.load(); }, [this] { ++m_refreshes; }, [this] { ++m_stops; }});
        startNewLog();
    }
    void cleanup() { m_threads.reset(); }

    void statusBar_data() {
        const TestTable<int, QList<Step>, QString, bool, bool, double> row(
            "selected", "steps", "text", "processing", "indeterminate", "value");
        const char *two = "2 computers selected", *processing = "Processing tasks on 2 computers";
        row("one is indeterminate", 1, {start}, "Processing tasks on 1 computer", true, true, 0);
        row("two count", 2, {start, increment}, processing, true, false, 1);
        row("never past the end", 2, {start, increment, increment, increment}, processing, true, false, 2);
        row("start anew", 2, {start, increment, end, start}, processing, true, false, 0);
        row("cancelled", 2, {start, cancel}, two, false, false, 0);
        row("last one counted out", 2, {start, countIn, countIn, countOut, countOut}, two, false, false, 0);
        row("one still counted", 2, {start, countIn, countIn, countOut}, processing, true, false, 0);
        row("extra report of an end", 2, {start, countOut}, two, false, false, 0);
        row("made indeterminate", 2, {start, &TaskThreads::showIndeterminateStatusProgress}, processing, true,
            true, 0);
    }
    void statusBar() {
        QFETCH(int, selected);
        QFETCH(QList<Step>, steps);
        m_selected = selected;
        for (const Step step : steps)
            apply(step);
        MainThread::waitUntil([] { return false; }, 1ms);  // what was posted without waiting
        const StatusProgress& status = m_threads->status();
        QTEST(status.text, "text");
        QTEST(m_threads->isProcessing(), "processing");
        QTEST(status.running, "processing");
        QTEST(status.cancelVisible, "processing");
        QTEST(status.indeterminate, "indeterminate");
        QTEST(status.value, "value");
        QCOMPARE(status.maximum, double(selected));
    }

    /// An agent that goes on saying that tasks have ended cannot fill the log, or end anything.
    void reportsOfEndsCountOnlyWhileSomethingRuns() {
        for (int i = 0; i < 3; ++i)
            m_threads->remoteTaskFinished();
        QVERIFY(logLines().filter(u"Task threads"_s).isEmpty());
        apply(countIn);
        m_threads->remoteTaskFinished();
        apply(countOut);  // never stays negative
        QCOMPARE(m_threads->taskThreadCount(), 0);
        QCOMPARE(logLines().filter(u"Task threads: "_s),
                 QStringList({u"Task threads: 1"_s, u"Task threads: 0"_s, u"Task threads: -1"_s}));
        apply(start);
        m_threads->waitOnProcessing();  // hangs here when it is not refused on this thread
        QVERIFY(logLines().contains(u"Error: trying to wait on main thread. Aborting..."_s));
        m_threads->remoteTaskFinished();
        QVERIFY(!m_threads->isProcessing());
    }

    /// Whatever starts next, what was cancelled stays so, and its workers do not count in the new run.
    void cancelledRunsStayCancelled() {
        apply(start);
        const RunPtr run = m_threads->runs().begin({}, {});
        const int late = m_threads->incrementTaskThreadCount();
        apply(cancel);
        QVERIFY(run->isCancelled() && !m_threads->runs().begin({}, {})->isCancelled());

        apply(start);
        QVERIFY(!m_threads->processingCancelled());
        QVERIFY(run->isCancelled());
        const int counting = m_threads->incrementTaskThreadCount();
        m_threads->decrementTaskThreadCount(late);
        QCOMPARE(m_threads->taskThreadCount(), 1);
        QVERIFY(m_threads->isProcessing());
        m_threads->decrementTaskThreadCount(counting);
        QVERIFY(!m_threads->isProcessing());
    }

    void textOfTheStatusBar() {
        const QString relaunching = "Waiting for clients to relaunch...";
        m_threads->setStatusText(relaunching);
        m_threads->updateSelectedComputerStatus(false);
        QCOMPARE(m_threads->status().text, relaunching);  // stays only without a selection
        m_selected = 1;
        m_threads->updateSelectedComputerStatus(true);
        QCOMPARE(m_threads->status().text, u"1 computer selected"_s);
        QCOMPARE(m_refreshes, 0);
        QTRY_COMPARE(m_refreshes, 1);  // after a while

        apply(start);
        apply(cancel);
        QCOMPARE(m_stops, 1);
        m_threads->setIsInstallingUpdate(true);  // keeps the status bar
        for (const Step step : {start, countIn, countOut})
            apply(step);
        MainThread::waitUntil([] { return false; }, 1ms);
        QVERIFY(!m_threads->isProcessing() && m_threads->status().running);
    }

    void waitEnds_data() {
        QTest::addColumn<Step>("how");
        QTest::newRow("counted out") << countOut;
        QTest::newRow("cancelled with three at work") << cancel;
        QTest::newRow("status ended") << end;
    }
    void waitEnds() {
        QFETCH(Step, how);
        apply(start);
        const int workers = how == countOut ? 1 : 3;
        for (int i = 0; i < workers; ++i)
            apply(countIn);
        std::atomic<bool> isWaiting{false}, ended{false};
        VLThread::detach(u"waiter"_s, [&] {
            isWaiting = true;
            m_threads->waitOnProcessingWithTimeout(0.001);  // the seconds are not applied
            ended = true;
        });
        QVERIFY(MainThread::waitUntil([&] { return isWaiting.load(); }, 10s));
        QVERIFY(!MainThread::waitUntil([&] { return ended.load(); }, 50ms));
        apply(how);
        QVERIFY(MainThread::waitUntil([&] { return ended.load(); }, 10s));
        QCOMPARE(m_threads->taskThreadCount(), how == end ? 3 : 0);
    }

    void nothingPostedOutlivesTheObject() {
        QVERIFY(runOnWorker([this] { m_threads->endStatusProgress(); }, 1s));
        VLThread::detach(u"late"_s, [this] { m_threads->cancelTaskThreads(); });
        while (VLThread::activeCount() > 0)
            QThread::yieldCurrentThread();
        m_threads.reset();
        MainThread::waitUntil([] { return false; }, 5ms);
    }
};

ORLENDO_TEST_MAIN(TaskThreadsTest)
#include "task_threads_test.moc"
