#include "app/RunStatus.h"
#include "remote/CallScope.h"
#include "remote/FakeRemote.h"
#include "remote/support/ScriptedRoot.h"
#include "runs/InFlight.h"
#include "support/TestEnvironment.h"
#include "system/VLException.h"

#include <QSignalSpy>

#include <future>
#include <numeric>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString list = u"addonryPluginList"_s, change = u"setNetworkClientSettings:"_s;

/// An agent that keeps its connection and never answers.
QVariant neverAnswer() {
    const auto givenUp = std::make_shared<std::promise<void>>();
    const CallScope::Entry entry([givenUp] { givenUp->set_value(); });
    givenUp->get_future().wait();
    throw CallScope::exception();
}

FakeProxy::Answer answerAfter(std::chrono::milliseconds delay, const QVariant& answer) {
    return [=](const QString&, const QVariantList&) {
        std::this_thread::sleep_for(delay);
        return answer;
    };
}

FakeProxy::Answer raise(const QString& name) {
    return [name](const QString&, const QVariantList&) -> QVariant { throw VLException(name, u"oops"_s); };
}

QStringList words(const RunRecord& record) {
    QStringList words;
    for (const HostOutcome& host : record.outcomes)
        words.append(Outcome::word(host.outcome.kind));
    return words;
}

/// One agent of each kind, in the order of the selection: well, slow, mute, dying, refusing, disabled, not
/// connected, well.
struct MixedBench : Bench {
    MixedBench() {
        addClients(1);
        clients.last()->proxy = std::make_shared<FakeProxy>(answerAfter(0ms, QVariantList{0}));
        addClients(1, answerAfter(300ms, QVariantList{1}));
        addClients(1, [](const QString&, const QVariantList&) { return neverAnswer(); });
        addClients(1, raise(VLException::inaccessible));
        addClients(1, raise(VLException::refused));
        addClients(2, answerAfter(0ms, QVariantList{5}));
        addClients(1, answerAfter(0ms, QVariantList{7}));
        clients[5]->isEnabled = false;
        clients[6]->hasProxy = false;
        processors = 3;  // two of eight are left out
    }
};

}  // namespace

class RunTest : public QObject {
    Q_OBJECT

    /// Stops waiting as soon as nobody but the mute one is awaited.
    static void stopWaitingForTheMute(RunList& runs) {
        VLThread::detach(u"impatient"_s, [&runs] {
            MainThread::waitUntil(
                [&runs] {
                    const QList<RunPtr> active = runs.active();
                    return !active.isEmpty() && active.first()->awaited(350ms) == QStringList{u"c2"_s};
                },
                patience);
            runs.active().first()->stopWaiting(350ms);
        });
    }

private Q_SLOTS:
    void init() { startNewLog(); }

    void oneOutcomePerComputer_data() {
        QTest::addColumn<bool>("isChange");
        QTest::addColumn<QStringList>("outcomes");
        QTest::newRow("read") << false
                              << QStringList{u"answered"_s, u"answered"_s, u"no answer"_s,     u"failed"_s,
                                             u"refused"_s,  u"skipped"_s,  u"not connected"_s, u"answered"_s};
        QTest::newRow("change") << true
                                << QStringList{u"done"_s,    u"done"_s,    u"no answer"_s,     u"failed"_s,
                                               u"refused"_s, u"skipped"_s, u"not connected"_s, u"done"_s};
    }
    void oneOutcomePerComputer() {
        QFETCH(bool, isChange);
        MixedBench bench;
        stopWaitingForTheMute(bench.progress.runs());
        QVariant answers;
        QSignalSpy ended(&bench.progress.runs(), &RunList::ended);
        const RunRecord record = bench.runFor({.isChange = isChange}, [&] {
            if (isChange)
                bench.runner.executeRemoteMethods(change, QVariantMap());
            else
                answers = bench.runner.objectsFromRemoteMethod(list);
        });
        QTEST(words(record), "outcomes");
        QVERIFY(record.started.isValid() && record.ended >= record.started);
        QVERIFY(bench.clients[2]->connected);  // giving up on it says nothing about its connection
        QVERIFY(!bench.clients[3]->connected);
        if (!isChange)
            QCOMPARE(answers.toMap().keys(), (QStringList{u"c0.local."_s, u"c1.local."_s, u"c7.local."_s}));
        QCOMPARE(record.summary(), isChange
                                       ? u"Try on 3 of 8 computers, 1 failed, 1 refused, 1 no answer, 1 not "
                                         "connected, 1 skipped"_s
                                       : record.summary());
        QTRY_COMPARE(ended.size(), 1);
        QVERIFY(!bench.progress.isProcessing());
    }

    /// A run does not come back to a computer that it gave up on, and waits for the others as before.
    void givenUpForTheRestOfTheRun() {
        Bench bench;
        std::atomic<int> asked{0};
        bench.addClients(1, [&](const QString&, const QVariantList&) { return ++asked, neverAnswer(); });
        bench.addClients(1, answerAfter(600ms, QVariantList{1}));
        const RunRecord record = bench.runFor({}, [&] {
            const RunPtr run = Run::current();
            VLThread::detach(u"impatient"_s, [run] {
                std::this_thread::sleep_for(100ms);
                run->stopWaiting(1h);  // nobody has waited that long
                MainThread::waitUntil([run] { return run->awaited(0ms).size() == 1; }, patience);
                run->stopWaiting();
            });
            (void)bench.runner.objectsFromRemoteMethod(list);
            (void)bench.runner.objectsFromRemoteMethod(list);
        });
        QCOMPARE(words(record), (QStringList{u"no answer"_s, u"answered"_s}));
        QCOMPARE(asked.load(), 2);  // in memory it is asked, though nobody waits
    }

    /// Whichever answers first, what is taken comes in the order of the selection, and while the slow one is
    /// awaited the others have been asked.
    void readAheadKeepsTheOrder() {
        Bench bench;
        for (int i = 0; i < 20; ++i)
            bench.addClients(1, answerAfter(i == 0 ? 100ms : 0ms, QVariantList{i}));
        QList<int> taken;
        int askedBeforeTheFirst = 0;
        bench.runFor({}, [&] {
            InFlight::readAhead<QVariant, RemoteClient>(
                Run::current(), u"test"_s, Run::current()->clients(),
                [&](const RemoteClientPtr& client) {
                    return bench.runner.objectFromRemoteMethod(list, {}, {}, client);
                },
                [&](const RemoteClientPtr&, QVariant& answer) {
                    if (taken.isEmpty())
                        for (const int count : bench.sentCounts())
                            askedBeforeTheFirst += count;
                    taken.append(answer.toList().value(0, -1).toInt());
                });
        });
        QList<int> expected(20);
        std::iota(expected.begin(), expected.end(), 0);
        QCOMPARE(taken, expected);
        QCOMPARE(askedBeforeTheFirst, 20);
    }

    void noMoreUnderWayThanAllowedAndNoneAfterCancel() {
        Bench bench;
        const OperationsInFlight three(3);
        std::atomic<int> underWay{0}, most{0}, started{0};
        bench.addClients(12, [&](const QString&, const QVariantList&) {
            most = std::max(most.load(), ++underWay);
            std::this_thread::sleep_for(10ms);
            if (++started == 6) bench.progress.cancelStatusProgress();
            --underWay;
            return QVariant();
        });
        const RunRecord record =
            bench.runFor({.isChange = true}, [&] { bench.runner.executeRemoteMethods(change); });
        QVERIFY(VLThread::joinAll(patience));
        QVERIFY(most <= 3);
        QVERIFY(started < 12);  // those under way go on to their end
        QCOMPARE(record.count(Outcome::Cancelled) + record.count(Outcome::Done), 12);
        QVERIFY(record.count(Outcome::Cancelled) >= 12 - 8);
    }

    void cancelIsHeardAtOnce() {
        Bench bench;
        bench.addClients(1, {});
        RunList runs;
        RunStatus status(runs);
        const RunPtr unnamed = runs.begin({}, {});
        RunPtr run = runs.begin({.action = u"Disable"_s,
                                 .actionDone = u"Disabled"_s,
                                 .subject = u"Film Grain"_s,
                                 .isChange = true},
                                {bench.clients[0]});
        auto hold = std::make_unique<Run::Hold>(run);
        runs.cancelAll();
        status.renew();
        QCOMPARE(status.underWay(), u"Canceling… Disable Film Grain (0 of 1)"_s);
        hold.reset();
        run.reset();
        QTRY_VERIFY(status.last());
        QCOMPARE(status.lastText(),
                 u"Canceled “Disable Film Grain”: Disabled on 0 of 1 computer, 1 cancelled"_s);
        status.renew();
        QCOMPARE(status.underWay(), u"Canceling…"_s);
    }

    /// A slow run of one tool and a quick one of another, whichever begins and ends first: each returns when
    /// its own clients have answered, and with all of their answers.
    void overlappingRunsDoNotEndEachOther_data() {
        QTest::addColumn<bool>("slowBegins");
        QTest::addColumn<bool>("slowChanges");
        QTest::addColumn<bool>("quickChanges");
        for (int bits = 0; bits < 8; ++bits)
            QTest::addRow("%d", bits) << bool(bits & 1) << bool(bits & 2) << bool(bits & 4);
    }
    void overlappingRunsDoNotEndEachOther() {
        QFETCH(bool, slowBegins);
        QFETCH(bool, slowChanges);
        QFETCH(bool, quickChanges);
        Bench bench;
        Gate gate;
        bench.addClients(4, [&](const QString& selector, const QVariantList&) -> QVariant {
            if (selector == u"settlekeepBackups"_s) (void)gate.wait();
            return selector == list ? QVariant(QVariantList{1}) : QVariant(QVariantMap());
        });
        const QList<RemoteClientPtr> all(bench.clients.cbegin(), bench.clients.cend());
        const QList<RemoteClientPtr> slowOnes = all.first(2), quickOnes = all.last(2);
        std::atomic<int> slowAnswers{-1}, quickAnswers{-1};
        const auto begin = [&](const QList<RemoteClientPtr>& clients, const QString& selector, bool isChange,
                               std::atomic<int>& answers) {
            const RunPtr run =
                bench.progress.runs().begin({.action = u"Try"_s, .isChange = isChange}, clients);
            VLThread::detach(u"test"_s, [&bench, run, selector, isChange, &answers] {
                const RunScope scope(run);
                if (isChange)
                    bench.runner.executeRemoteMethods(selector);
                else
                    (void)bench.runner.objectsFromRemoteMethod(selector);
                answers = run->record().successCount();
            });
        };
        const auto beginSlow = [&] { begin(slowOnes, u"settlekeepBackups"_s, slowChanges, slowAnswers); };
        if (slowBegins) beginSlow();
        begin(quickOnes, list, quickChanges, quickAnswers);
        if (!slowBegins) beginSlow();
        QVERIFY(MainThread::waitUntil([&] { return quickAnswers >= 0; }, patience));
        QCOMPARE(quickAnswers.load(), 2);
        for (int i = 0; i < 50; ++i)
            bench.progress.remoteTaskFinished();  // anybody may say so
        QVERIFY(!MainThread::waitUntil([&] { return slowAnswers >= 0; }, 50ms));
        QVERIFY(bench.progress.isProcessing());
        gate.open();
        QVERIFY(MainThread::waitUntil([&] { return slowAnswers >= 0; }, patience));
        QCOMPARE(slowAnswers.load(), 2);
        QVERIFY(VLThread::joinAll(patience));
        QVERIFY(!bench.progress.isProcessing());
        QVERIFY(!bench.progress.status().running);
    }

    void changesOfOneComputerWaitForEachOther() {
        Bench bench;
        std::atomic<int> underWay{0}, most{0};
        bench.addClients(1, [&](const QString&, const QVariantList&) {
            most = std::max(most.load(), ++underWay);
            std::this_thread::sleep_for(10ms);
            --underWay;
            return QVariant();
        });
        for (int i = 0; i < 4; ++i) {
            const RunPtr run = bench.progress.runs().begin(
                {.isChange = true}, QList<RemoteClientPtr>(bench.clients.cbegin(), bench.clients.cend()));
            VLThread::detach(u"test"_s, [&bench, run] {
                const RunScope scope(run);
                bench.runner.executeRemoteMethods(change);
            });
        }
        QVERIFY(VLThread::joinAll(patience));
        QCOMPARE(most.load(), 1);
        QCOMPARE(bench.sentCounts(), QList<int>{4});
    }

    /// What an agent reports belongs to the run that is under way on its computer, and to no other.
    void reportsBelongToTheirRun() {
        Bench bench;
        bench.addClients(1, [&bench](const QString&, const QVariantList&) {
            bench.progress.runs().noteReport(u"c0.local."_s, {Outcome::Refused, u"locked"_s});
            return QVariant();
        });
        bench.addClients(1);
        const RunPtr other = bench.progress.runs().begin({.isChange = true}, {bench.clients.first()});
        other->note(*bench.clients.first(), {Outcome::Done, {}});  // it goes on elsewhere
        const RunRecord record =
            bench.runFor({.isChange = true}, [&] { bench.runner.executeRemoteMethods(change); });
        QCOMPARE(words(record), (QStringList{u"refused"_s, u"done"_s}));
        QCOMPARE(record.outcomes.first().outcome.reason, u"locked"_s);
        QCOMPARE(other->outcome(u"c0.local."_s)->kind, Outcome::Done);
    }

    /// All that is changed on one computer is one turn, after which what takes it back is learnt once. The
    /// source of what the others get is asked on the way, and is none of those that the run is for.
    void changesThatBelongTogether() {
        Bench bench;
        bench.addClients(2, answerAfter(0ms, QVariantList{1}));
        const FakeClientPtr source = bench.clients.takeLast();
        int readings = 0;
        const Run::Keeping keeping{{}, [&](const RemoteClientPtr&, const QVariantMap&) {
                                       return std::optional(QVariantMap{{u"reading"_s, ++readings}});
                                   }};
        const RunRecord record = bench.runFor({.isChange = true, .keeping = keeping}, [&] {
            static_cast<void>(bench.runner.objectFromRemoteMethod(list, {}, {}, source));
            const Run::Changes changes(bench.clients.first());
            for (int time = 0; time < 3; ++time)
                bench.runner.executeRemoteMethod(change, {}, {}, bench.clients.first());
        });
        QCOMPARE(words(record), QStringList{u"done"_s});
        QCOMPARE(record.outcomes.first().undo, (QVariantMap{{u"reading"_s, 1}}));
    }

    /// What a client was like is asked once and before anything is sent; it is kept unless nothing can have
    /// changed, and what keeping it costs does not count.
    void keepsTheWayBack() {
        Bench bench;
        bench.addClients(1);
        bench.addClients(1, [](const QString& selector, const QVariantList&) -> QVariant {
            if (selector == change) throw VLException(VLException::generic, u"half-way"_s);
            return QVariantList{};
        });
        bench.addClients(1, [&bench](const QString& selector, const QVariantList&) {
            if (selector == change)
                bench.progress.runs().noteReport(u"c2.local."_s, {Outcome::Refused, u"locked"_s});
            return QVariant();
        });
        const Run::Keeping keeping{
            [&bench](const RemoteClientPtr& client) -> std::optional<QVariantMap> {
                static_cast<void>(bench.runner.objectFromRemoteMethod(list, {}, {}, client));
                return QVariantMap{{u"was"_s, client->name()}};
            },
            {}};
        const RunRecord record = bench.runFor({.isChange = true, .keeping = keeping}, [&] {
            for (int time = 0; time < 2; ++time)
                bench.runner.executeRemoteMethods(change);
        });
        QCOMPARE(words(record), (QStringList{u"done"_s, u"failed"_s, u"refused"_s}));
        QCOMPARE(record.outcomes.at(0).undo, (QVariantMap{{u"was"_s, u"c0"_s}}));
        QCOMPARE(record.outcomes.at(1).undo, (QVariantMap{{u"was"_s, u"c1"_s}}));
        QVERIFY(record.outcomes.at(2).undo.isEmpty());
        QCOMPARE(bench.sentCounts().first(), 3);  // asked, and told twice
    }
};

ORLENDO_TEST_MAIN(RunTest)
#include "run_test.moc"
