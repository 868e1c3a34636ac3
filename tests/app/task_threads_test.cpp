#include "app/TaskThreads.h"
#include "support/TestEnvironment.h"

#include <QSignalSpy>
#include <QTest>

#include <atomic>

using namespace std::chrono_literals;

/// What a step of the tables below does to the object.
enum class Step { Start, Increment, End, Cancel, CancelAll, CountIn, CountOut, Indeterminate, Install };
Q_DECLARE_METATYPE(Step)

class TaskThreadsTest : public QObject {
    Q_OBJECT

    std::atomic<int> m_selected{0};
    int m_refreshes = 0;
    int m_stops = 0;
    std::unique_ptr<TaskThreads> m_threads;

    void apply(Step step) {
        switch (step) {
            case Step::Start:
                return m_threads->startStatusProgress();
            case Step::Increment:
                return m_threads->incrementStatusProgress();
            case Step::End:
                return m_threads->endStatusProgress();
            case Step::Cancel:
                return m_threads->cancelStatusProgress();
            case Step::CancelAll:
                return m_threads->cancelAllProgress();
            case Step::CountIn:
                return m_threads->incrementTaskThreadCount();
            case Step::CountOut:
                return m_threads->decrementTaskThreadCount();
            case Step::Indeterminate:
                return m_threads->showIndeterminateStatusProgress();
            case Step::Install:
                return m_threads->setIsInstallingUpdate(true);
        }
    }

    /// Starts `body` on a worker; true once it has ended.
    static bool runOnWorker(const std::function<void()>& body, std::chrono::milliseconds limit = 10s) {
        const auto done = std::make_shared<std::atomic<bool>>(false);
        VLThread::detach(QStringLiteral("test"), [body, done] {
            body();
            *done = true;
        });
        return MainThread::waitUntil([done] { return done->load(); }, limit);
    }

private Q_SLOTS:
    void init() {
        m_selected = 0;
        m_refreshes = m_stops = 0;
        m_threads = std::make_unique<TaskThreads>(TaskThreads::Environment{
            [this] { return m_selected.load(); }, [this] { ++m_refreshes; }, [this] { ++m_stops; }});
        VLLog::createNewLog();
    }
    void cleanup() { m_threads.reset(); }

    void statusBar_data() {
        QTest::addColumn<int>("selected");
        QTest::addColumn<QList<Step>>("steps");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("processing");
        QTest::addColumn<bool>("indeterminate");
        QTest::addColumn<double>("value");
        using Steps = QList<Step>;
        const auto row = [](const char* name, int selected, const Steps& steps, const char* text,
                            bool processing, bool indeterminate, double value) {
            QTest::newRow(name) << selected << steps << QString::fromLatin1(text) << processing
                                << indeterminate << value;
        };
        row("none selected", 0, {Step::Start}, "Processing tasks on 0 computers", true, true, 0);
        row("one is indeterminate", 1, {Step::Start}, "Processing tasks on 1 computer", true, true, 0);
        row("two count", 2, {Step::Start, Step::Increment}, "Processing tasks on 2 computers", true, false,
            1);
        row("never past the end", 2, {Step::Start, Step::Increment, Step::Increment, Step::Increment},
            "Processing tasks on 2 computers", true, false, 2);
        row("start anew", 2, {Step::Start, Step::Increment, Step::End, Step::Start},
            "Processing tasks on 2 computers", true, false, 0);
        row("ended", 1, {Step::Start, Step::End}, "1 computer selected", false, true, 0);
        row("ended with none", 0, {Step::Start, Step::End}, "0 computers selected", false, true, 0);
        row("cancelled", 2, {Step::Start, Step::Cancel}, "2 computers selected", false, false, 0);
        row("last one counted out", 2,
            {Step::Start, Step::CountIn, Step::CountIn, Step::CountOut, Step::CountOut},
            "2 computers selected", false, false, 0);
        row("one still counted", 2, {Step::Start, Step::CountIn, Step::CountIn, Step::CountOut},
            "Processing tasks on 2 computers", true, false, 0);
        row("extra report of an end", 2, {Step::Start, Step::CountOut}, "2 computers selected", false, false,
            0);
        row("made indeterminate", 2, {Step::Start, Step::Indeterminate}, "Processing tasks on 2 computers",
            true, true, 0);
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

    void countingIsLoggedAndNeverStaysNegative() {
        m_threads->incrementTaskThreadCount();
        m_threads->decrementTaskThreadCount();
        m_threads->decrementTaskThreadCount();
        QCOMPARE(m_threads->taskThreadCount(), 0);
        const QStringList lines = logLines().filter(QStringLiteral("Task threads: "));
        QCOMPARE(lines, QStringList({QStringLiteral("Task threads: 1"), QStringLiteral("Task threads: 0"),
                                     QStringLiteral("Task threads: -1")}));
    }

    void updatesBeingInstalledKeepTheStatusBar() {
        m_selected = 2;
        for (const Step step : {Step::Install, Step::Start, Step::CountIn, Step::CountOut})
            apply(step);
        MainThread::waitUntil([] { return false; }, 1ms);
        QVERIFY(!m_threads->isProcessing());
        QVERIFY(m_threads->status().running);
        QVERIFY(m_threads->status().cancelVisible);
    }

    void relaunchTextStaysOnlyWithoutSelection_data() {
        QTest::addColumn<int>("selected");
        QTest::addColumn<QString>("text");
        QTest::newRow("none") << 0 << QStringLiteral("Waiting for clients to relaunch...");
        QTest::newRow("one") << 1 << QStringLiteral("1 computer selected");
    }
    void relaunchTextStaysOnlyWithoutSelection() {
        QFETCH(int, selected);
        m_selected = selected;
        m_threads->setStatusText(QStringLiteral("Waiting for clients to relaunch..."));
        m_threads->updateSelectedComputerStatus(false);
        QTEST(m_threads->status().text, "text");
    }

    void refreshFollowsTheStatusAfterAWhile() {
        m_threads->updateSelectedComputerStatus(true);
        QCOMPARE(m_refreshes, 0);
        QTRY_COMPARE(m_refreshes, 1);
    }

    void remarkBelongsToTheRunThatStartsNext() {
        m_threads->setStatusRemark(QStringLiteral("1 left out"));
        apply(Step::Start);
        QCOMPARE(m_threads->statusRemark(), QStringLiteral("1 left out"));
        apply(Step::End);
        QCOMPARE(m_threads->statusRemark(), QStringLiteral("1 left out"));
        apply(Step::Start);
        QVERIFY(m_threads->statusRemark().isEmpty());
    }

    void cancellingEverythingStopsTheSpinnersOfTheTools() {
        apply(Step::Start);
        apply(Step::Cancel);
        QCOMPARE(m_stops, 1);
        QVERIFY(m_threads->processingCancelled());
        QVERIFY(logLines().contains(QStringLiteral("Status progress canceled")));
        apply(Step::Start);
        QVERIFY(!m_threads->processingCancelled());
    }

    void sheetFollowsItsBar() {
        QObject window;
        m_threads->startProgressForWindow(&window);
        QVERIFY(m_threads->isProcessing());
        QCOMPARE(m_threads->progressParentWindow(), &window);
        QCOMPARE(m_threads->sheet().text, QStringLiteral("Initializing..."));
        QVERIFY(m_threads->sheet().visible && m_threads->sheet().indeterminate);

        m_threads->progressBarSetMaxValue(2);
        m_threads->incrementProgress();
        QCOMPARE(m_threads->sheet().value, 1.0);
        QVERIFY(!m_threads->sheet().indeterminate);
        m_threads->incrementProgress();
        QVERIFY(m_threads->sheet().indeterminate);  // all is done but the end

        m_threads->setIsProcessing(false);
        m_threads->startProgress();  // shown already: keeps its window
        QVERIFY(m_threads->isProcessing());
        QCOMPARE(m_threads->progressParentWindow(), &window);

        m_threads->cancelProgress();
        QVERIFY(!m_threads->sheet().cancelEnabled);
        QCOMPARE(m_threads->sheet().text, QStringLiteral("Canceling..."));
        QVERIFY(m_threads->processingCancelled() && m_threads->sheet().visible);

        m_threads->endProgress();
        QVERIFY(!m_threads->sheet().visible && !m_threads->isProcessing());
        QCOMPARE(m_threads->progressParentWindow(), nullptr);
        m_selected = 7;
        m_threads->updateTaskProgress(3);
        QVERIFY(logLines().contains(QStringLiteral("Progress: Processing task 3 of 7")));
    }

    void waitingOnTheMainThreadIsRefused() {
        m_threads->setIsProcessing(true);
        m_threads->waitOnProcessing();  // hangs here when it is not
        QVERIFY(logLines().contains(QStringLiteral("Error: trying to wait on main thread. Aborting...")));
    }

    void waitEnds_data() {
        QTest::addColumn<Step>("how");
        QTest::newRow("counted out") << Step::CountOut;
        QTest::newRow("cancelled with three at work") << Step::Cancel;
        QTest::newRow("status ended") << Step::End;
    }
    void waitEnds() {
        QFETCH(Step, how);
        apply(Step::Start);
        const int workers = how == Step::CountOut ? 1 : 3;
        for (int i = 0; i < workers; ++i)
            apply(Step::CountIn);
        std::atomic<bool> isWaiting{false}, ended{false};
        VLThread::detach(QStringLiteral("waiter"), [&] {
            isWaiting = true;
            m_threads->waitOnProcessingWithTimeout(0.001);  // the seconds are not applied
            ended = true;
        });
        QVERIFY(MainThread::waitUntil([&] { return isWaiting.load(); }, 10s));
        QVERIFY(!MainThread::waitUntil([&] { return ended.load(); }, 50ms));
        apply(how);
        QVERIFY(MainThread::waitUntil([&] { return ended.load(); }, 10s));
        QCOMPARE(m_threads->taskThreadCount(), how == Step::End ? 3 : 0);
    }

    void everyWaiterComesBackThoughOnlyTheLastIsCalled() {
        apply(Step::Start);
        std::atomic<int> waiting{0}, ended{0};
        for (int i = 0; i < 3; ++i) {
            VLThread::detach(QStringLiteral("waiter"), [&] {
                ++waiting;
                m_threads->waitOnProcessing();
                ++ended;
            });
        }
        QVERIFY(MainThread::waitUntil([&] { return waiting == 3; }, 10s));
        apply(Step::End);
        QVERIFY(MainThread::waitUntil([&] { return ended == 3; }, 10s));
    }

    void runsThatFollowEachOtherDoNotEndEachOther() {
        m_selected = 4;
        QString fault;
        const auto manyRuns = [this, &fault] {
            for (int run = 0; run < 200; ++run) {
                m_threads->startStatusProgress();
                if (!m_threads->isProcessing()) fault = QStringLiteral("ended by the run before");
                std::atomic<int> counted{0};
                for (int i = 0; i < 4; ++i)
                    m_threads->incrementTaskThreadCount();
                for (int i = 0; i < 4; ++i) {
                    VLThread::detach(QStringLiteral("counted"), [this, &counted] {
                        m_threads->incrementStatusProgress();
                        ++counted;
                        m_threads->decrementTaskThreadCount();
                    });
                }
                m_threads->waitOnProcessing();
                if (counted != 4) fault = QStringLiteral("ended too early");
            }
        };
        QVERIFY(runOnWorker(manyRuns, 60s));
        VLThread::joinAll(10s);
        QCOMPARE(fault, QString());
        QVERIFY(!m_threads->isProcessing());
        QCOMPARE(m_threads->status().text, QStringLiteral("4 computers selected"));
    }

    void processingIsToldOnTheMainThread() {
        QSignalSpy told(m_threads.get(), &TaskThreads::isProcessingChanged);
        QVERIFY(runOnWorker([this] { m_threads->setIsProcessing(true); }));
        QTRY_COMPARE(told.size(), 1);
        QCOMPARE(told.first().first().toBool(), true);
        m_threads->setIsProcessing(true);
        QCOMPARE(told.size(), 1);
    }

    void nothingPostedOutlivesTheObject() {
        QVERIFY(runOnWorker([this] { m_threads->endStatusProgress(); }, 1s));
        VLThread::detach(QStringLiteral("late"), [this] { m_threads->cancelTaskThreads(); });
        while (VLThread::activeCount() > 0)
            QThread::yieldCurrentThread();
        m_threads.reset();
        MainThread::waitUntil([] { return false; }, 5ms);
    }
};

ORLENDO_TEST_MAIN(TaskThreadsTest)
#include "task_threads_test.moc"
