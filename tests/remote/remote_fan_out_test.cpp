#include "remote/DelayedRefresh.h"
#include "remote/FakeRemote.h"
#include "support/TestEnvironment.h"
#include "system/VLException.h"

#include <QElapsedTimer>

#include <numeric>

using namespace Qt::StringLiterals;

namespace {

const QString list = u"addonryPluginList"_s, other = u"varispotSystemInfo"_s;
const QString bundle = u"com.velmora.settlekeep"_s;

}  // namespace

class RemoteFanOutTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void groups() {
        const struct {
            int clients, processors;
            QList<int> sizes;
            int leftOut;
        } rows[] = {{0, 4, {}, 0},           {2, 8, {1, 1}, 0},        {4, 4, {1, 1, 1, 1}, 0},
                    {5, 4, {1, 1, 1, 1}, 1}, {10, 4, {2, 2, 2, 2}, 2}, {7, 1, {7}, 0},
                    {3, 0, {3}, 0}};
        for (const auto& row : rows) {
            Bench bench;
            bench.addClients(row.clients);
            bench.processors = row.processors;
            bench.followsUp = false;
            QList<int> sizes;
            int next = 0;
            for (const auto& group : bench.runner.selectedServicesForCores()) {
                sizes.append(static_cast<int>(group.size()));
                for (const RemoteClientPtr& service : group)
                    QCOMPARE(service, bench.clients.at(next++));  // in the order of the selection
            }
            QCOMPARE(sizes, row.sizes);

            startNewLog();
            QCOMPARE(bench.readAll().isValid(), row.clients > 0);
            QCOMPARE(logLines().filter(u"left out"_s).size(), row.leftOut > 0 ? 1 : 0);
            QList<int> expected(next, 1);
            expected.resize(row.clients);
            QCOMPARE(bench.sentCounts(), expected);
            QCOMPARE(bench.progress.starts.load(), row.clients > 0 ? 1 : 0);

            // One more round takes the others.
            const auto again = bench.runFor({}, [&] { bench.runner.executeRemoteMethods(list); });
            QCOMPARE(again.count(Outcome::LeftOut), row.leftOut);
            bench.followsUp = true;
            const auto all = bench.runFor({}, [&] { bench.runner.executeRemoteMethods(list); });
            QCOMPARE(all.count(Outcome::Done), row.clients);
            QVERIFY(!bench.progress.isProcessing());
        }
    }

    void collectsAnswers() {
        Bench bench;
        for (const QVariant& answer :
             {QVariant(QVariantList{1}), QVariant(), QVariant(QVariantMap()), QVariant(QVariantList{4})})
            bench.addClients(1, [answer](const QString&, const QVariantList&) { return answer; });
        bench.processors = 2;
        const QVariantMap expected{{u"c0.local."_s, QVariantList{1}}, {u"c3.local."_s, QVariantList{4}}};
        QCOMPARE(bench.readAll().toMap(), expected);
        QCOMPARE(bench.runner.threadedObjectDict(), expected);
        QCOMPARE(bench.progress.counted.load(), 2);
        QCOMPARE(bench.progress.taskThreadCount(), 0);
        QCOMPARE(bench.progress.statusSteps.load(), 4);
        // The next read begins with none of these.
        QCOMPARE(bench.readAll(other).toMap(), (QVariantMap{{u"c2.local."_s, QVariantMap()}}));
    }

    /// The answer that a cancelled read still waited for is not mixed into the next read; nor does its worker
    /// go on to the next client, or count itself out of the next run.
    void lateAnswersOfACancelledRead() {
        Bench bench;
        const OperationsInFlight one(1);
        std::atomic<bool> release{false}, underWay{false};
        bench.processors = 1;
        bench.addClients(2, [&](const QString& selector, const QVariantList&) -> QVariant {
            if (selector != list) return QVariantMap();
            underWay = true;
            MainThread::waitUntil([&release] { return release.load(); }, patience);
            return QVariantList{1};
        });
        VLThread::detach(u"cancelled read"_s, [&bench] { (void)bench.runner.objectsFromRemoteMethod(list); });
        QVERIFY(MainThread::waitUntil([&underWay] { return underWay.load(); }, patience));
        bench.progress.cancel();
        const QVariantMap expected{{u"c0.local."_s, QVariantMap()}, {u"c1.local."_s, QVariantMap()}};
        QCOMPARE(bench.readAll(other).toMap(), expected);
        bench.progress.startStatusProgress();  // a third run, under way
        bench.progress.incrementTaskThreadCount();
        release = true;
        QVERIFY(VLThread::joinAll(patience));
        QCOMPARE(bench.runner.threadedObjectDict(), expected);
        QCOMPARE(bench.sentCounts(), (QList<int>{2, 1}));
        QVERIFY(bench.progress.isProcessing());
    }

    void executesOnAll() {
        Bench bench;
        std::atomic<int> early{0};
        bench.addClients(6, [&](const QString&, const QVariantList&) {
            if (bench.progress.counted < 3) ++early;
            return QVariant();
        });
        bench.processors = 3;
        bench.progress.setProcessingCancelled(true);  // of an earlier run
        QVERIFY(onWorker(
            [&] { bench.runner.executeRemoteMethods(u"setNetworkClientSettings:"_s, QVariantMap()); }));
        QCOMPARE(bench.sentCounts(), QList<int>(6, 1));
        QCOMPARE(bench.progress.counted.load(), 3);
        QCOMPARE(early.load(), 0);  // none worked, and so could end the run, before all were counted in
        QCOMPARE(bench.progress.statusSteps.load(), 6);
    }

    /// While the program quits no worker starts; the wait must end all the same.
    void refusedThreadsCountOut() {
        Bench bench;
        bench.addClients(3);
        VLThread::cancelAll();
        bench.runner.executeRemoteMethods(u"relaunch"_s);
        VLThread::reset();
        QCOMPARE(bench.progress.counted.load(), 3);
        QCOMPARE(bench.progress.taskThreadCount(), 0);
        QCOMPARE(bench.sentCounts(), QList<int>(3, 0));
    }

    void delayedRefresh() {
        std::atomic<bool> onMain{false}, onOwnThread{false};
        QElapsedTimer timer;
        timer.start();
        QVERIFY(onWorker([&onMain] {
            DelayedRefresh::delayedRefresh([&onMain] { onMain = MainThread::isCurrent(); }, 0.05);
            DelayedRefresh::delayedRefresh({}, 0);
        }));
        QVERIFY(onMain && timer.elapsed() >= 50);
        DelayedRefresh::delayedRefreshOnNewThread([&] { onOwnThread = !MainThread::isCurrent(); }, 0);
        QVERIFY(VLThread::joinAll(patience));
        QVERIFY(onOwnThread);
    }
};

ORLENDO_TEST_MAIN(RemoteFanOutTest)
#include "remote_fan_out_test.moc"
