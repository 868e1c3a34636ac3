#include "remote/CallScope.h"
#include "remote/support/TransportFixture.h"
#include "support/TestEnvironment.h"

#include <QElapsedTimer>

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {

constexpr auto promptly = 1'500ms;  // far below every time limit of the transport

VLException raisedByWait(VLProxyObject& proxy, std::chrono::milliseconds limit = noTimeLimit) {
    return raisedBy([&] { proxy.perform(u"wait"_s, {}, limit); });
}

}  // namespace

class TransportTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void calls_answer_with_values_and_exceptions() {
        const TransportFixture fixture;
        const QVariantMap userInfo{{u"domain"_s, u"corvalinDomain"_s}, {u"code"_s, 1005LL}};
        fixture.root->on(u"fail"_s, [&](const QVariantList&, quint64) -> QVariant {
            throw VLException(u"VLTaskException"_s, u"busy"_s, userInfo);
        });
        fixture.root->on(u"chatter"_s, [](const QVariantList&, quint64) -> QVariant {
            throw VLException(QString(100'000, u'n'), QString(100'000, u'r'));
        });
        fixture.root->on(u"unsendable"_s, [](const QVariantList&, quint64) { return QVariant(QSize(1, 1)); });
        const auto server = fixture.serve();
        const auto client = fixture.connect(server->port());
        VLProxyObject& proxy = client->proxy();

        for (const QVariant& value : {QVariant(QVariantMap{{u"list"_s, QVariantList{1LL, 2.5, u"x"_s}}}),
                                      QVariant(QString(1 << 20, u'x'))})
            QCOMPARE(proxy.perform(u"echo:"_s, {value}), value);
        QVERIFY(proxy.respondsToSelector(u"echo:"_s));
        QVERIFY(!proxy.respondsToSelector(u"nonsense"_s));

        const VLException raised = raisedBy([&] { proxy.perform(u"fail"_s); });
        QCOMPARE(raised.name(), u"VLTaskException"_s);
        QCOMPARE(raised.reason(), u"busy"_s);
        QCOMPARE(raised.userInfo(), userInfo);
        const VLException cut = raisedBy([&] { proxy.perform(u"chatter"_s); });
        QCOMPARE(cut.name().size() + cut.reason().size(), 200 + 4'000);
        for (const QString& selector : {u"nonsense"_s, u"unsendable"_s})
            QCOMPARE(raisedBy([&] { proxy.perform(selector); }).name(), VLException::invalidArgument);
        QVERIFY_THROWS_EXCEPTION(VLUnsentCallException, proxy.perform(u"echo:"_s, {QSize(1, 1)}));
        QVERIFY(works(*client));
    }

    void calls_of_many_threads_run_one_after_the_other_and_get_their_own_answers() {
        const TransportFixture fixture;
        std::atomic_int running = 0, most = 0, wrong = 0;
        fixture.root->on(u"work:"_s, [&](const QVariantList& arguments, quint64) {
            most = std::max(most.load(), ++running);
            std::this_thread::sleep_for(1ms);
            --running;
            return arguments.value(0);
        });
        fixture.root->on(u"peer"_s, [](const QVariantList&, quint64 peer) { return QVariant(peer); });
        const auto server = fixture.serve();
        const auto client = fixture.connect(server->port());
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 8; ++thread)
            threads.emplace_back([&, thread] {
                for (int call = thread * 100; call < thread * 100 + 25; ++call)
                    if (client->proxy().perform(u"work:"_s, {call}).toInt() != call) ++wrong;
            });
        for (auto& thread : threads)
            thread.join();
        QCOMPARE(wrong.load(), 0);
        QCOMPARE(most.load(), 1);
        const auto other = fixture.connect(server->port());
        QVERIFY(client->proxy().perform(u"peer"_s) != other->proxy().perform(u"peer"_s));
        QCOMPARE(server->connectionCount(), 2);
    }

    void the_connection_thread_calls_while_workers_are_served() {
        const TransportFixture fixture;
        const auto server = fixture.serve();
        std::thread worker;
        bool responds = false, answered = false;
        // The worker's call is served by the very wait of the connection thread's own call.
        const auto client = fixture.connect(server->port(), [&](VLConnection& connection) {
            worker = std::thread([&, proxy = connection.rootProxy()] {
                responds = proxy->respondsToSelector(u"wait"_s);
                fixture.root->release.open();
            });
            answered = connection.rootProxy()->perform(u"wait"_s).toBool();
        });
        worker.join();
        QVERIFY(responds);
        QVERIFY(answered);
    }

    void oneway_operations_are_not_waited_for_and_outlive_the_connection() {
        const TransportFixture fixture;
        Gate done, arrived;
        fixture.root->on(u"relaunch"_s, [&](const QVariantList&, quint64) -> QVariant {
            fixture.root->release.wait();
            done.open();
            throw VLException(VLException::generic, u"nobody hears this"_s);
        });
        fixture.root->on(u"disconnect"_s, [&](const QVariantList&, quint64) {
            arrived.open();
            return QVariant();
        });
        const auto server = fixture.serve();
        const auto client = fixture.connect(server->port());
        QVERIFY(!client->proxy().perform(u"relaunch"_s).isValid());
        fixture.root->release.open();
        QVERIFY(done.wait());
        QVERIFY(works(*client));

        client->proxy().perform(u"disconnect"_s);
        client->control().invalidate();
        QVERIFY(arrived.wait());
        QTRY_COMPARE(fixture.root->closedPeers.load(), 1);
        QTRY_COMPARE(server->connectionCount(), 0);
    }

    void callbacks_arrive_with_their_sender_from_any_thread() {
        const TransportFixture fixture;
        VLRemoteCallbackPtr callback;  // the answer orders the accesses
        fixture.root->on(u"setErrorCallback:"_s, [&](const QVariantList& arguments, quint64) {
            callback = arguments.value(0).value<VLRemoteCallbackPtr>();
            callback->post(u"incrementProgress"_s);
            fixture.root->arrived.open();
            return QVariant();
        });
        const auto server = fixture.serve();
        auto target = std::make_shared<CollectingTarget>();
        auto client = fixture.connect(server->port(), [&](VLConnection& connection) {
            connection.rootProxy()->perform(u"setErrorCallback:"_s,
                                            {QVariant::fromValue<VLCallbackTargetPtr>(target)});
        });
        QVERIFY(fixture.root->arrived.wait());
        QTRY_COMPARE(target->count(), 1u);
        QCOMPARE(target->received()[0].selector, u"incrementProgress"_s);
        QCOMPARE(target->received()[0].sender, u"edit-bay-1"_s);

        // More than a console lets wait: the agent's end sends them in portions, and none is lost.
        std::thread poster([&] {
            for (int index = 0; index < 1'000; ++index)
                callback->post(u"addStringToQueue:hostname:"_s, {index, u"bay"_s});
        });
        poster.join();
        callback->perform(u"cancelProcessing"_s, {}, 20s);  // comes after them
        QCOMPARE(target->count(), 1'002u);
        const auto received = target->received();
        for (int index = 0; index < 1'000; ++index)
            QCOMPARE(received[std::size_t(index) + 1].arguments.value(0).toInt(), index);

        QVERIFY(callback->isConnected());
        client.reset();
        QTRY_VERIFY(!callback->isConnected());
        callback->post(u"incrementProgress"_s);
        QCOMPARE(raisedBy([&] { callback->perform(u"cancelProcessing"_s, {}, 20s); }).name(),
                 VLException::inaccessible);
        QCOMPARE(target->count(), 1'002u);
    }

    void a_callback_may_not_wait_for_its_own_connection() {
        struct Target final : VLCallbackTarget {
            VLProxyObjectPtr proxy;
            std::promise<VLException> raised;
            QVariant receive(const QString&, const QVariantList&, const QString&) override {
                raised.set_value(raisedBy([&] { proxy->perform(u"echo:"_s, {1}); }));
                return {};
            }
        };
        const TransportFixture fixture;
        fixture.root->on(u"setErrorCallback:"_s, [&](const QVariantList& arguments, quint64) {
            arguments.value(0).value<VLRemoteCallbackPtr>()->post(u"ping"_s);
            return QVariant();
        });
        const auto server = fixture.serve();
        const auto client = fixture.connect(server->port());
        auto target = std::make_shared<Target>();
        target->proxy = client->sharedProxy();
        client->proxy().perform(u"setErrorCallback:"_s, {QVariant::fromValue<VLCallbackTargetPtr>(target)});
        auto raised = target->raised.get_future();
        QCOMPARE(raised.wait_for(10s), std::future_status::ready);
        QCOMPARE(raised.get().name(), VLException::generic);
        QVERIFY(works(*client));
        target->proxy.reset();
    }

    void the_end_of_the_server_fails_calls_promptly() {
        const TransportFixture fixture;
        auto server = fixture.serve();
        const auto client = fixture.connect(server->port());
        VLException raised(u"none"_s, {});
        std::thread caller([&] { raised = raisedByWait(client->proxy()); });
        QVERIFY(fixture.root->arrived.wait());
        std::thread destroyer([&] { server.reset(); });  // waits for the operation under way
        QElapsedTimer timer;
        timer.start();
        caller.join();
        QVERIFY(timer.elapsed() < promptly.count());
        fixture.root->release.open();
        destroyer.join();
        QCOMPARE(raised.name(), VLException::inaccessible);
        QVERIFY(client->ends(10s));
        QVERIFY(!client->lossReason().isEmpty());
        QCOMPARE(raisedByWait(client->proxy()).name(), VLException::inaccessible);
        QCOMPARE(raisedBy([&] { (void)client->proxy().respondsToSelector(u"wait"_s); }).name(),
                 VLException::inaccessible);
    }

    void invalidate_fails_calls_and_ends_the_slice() {
        for (const bool onTheConnectionThread : {false, true}) {
            const TransportFixture fixture;
            const auto server = fixture.serve();
            VLException raised(u"none"_s, {});
            std::thread other;
            const auto client = fixture.connect(server->port(), [&](VLConnection& connection) {
                if (!onTheConnectionThread) return;
                other = std::thread([&, control = connection.control()] {
                    fixture.root->arrived.wait();
                    control->invalidate();
                });
                raised = raisedByWait(*connection.rootProxy());
            });
            if (!onTheConnectionThread) {
                other = std::thread([&] { raised = raisedByWait(client->proxy()); });
                QVERIFY(fixture.root->arrived.wait());
                client->control().invalidate();
            }
            other.join();
            QCOMPARE(raised.name(), VLException::inaccessible);
            QVERIFY(client->ends(promptly));
            QVERIFY(client->lossReason().isEmpty());
            fixture.root->release.open();
        }
    }

    void giving_up_ends_the_calls_of_a_scope_and_nothing_else() {
        for (const bool onTheConnectionThread : {false, true}) {
            const TransportFixture fixture;
            const auto server = fixture.serve();
            const auto scope = std::make_shared<CallScope>();
            QStringList raised;
            QElapsedTimer timer;
            timer.start();
            const auto call = [&](VLProxyObject& proxy) {
                const CallScope::Current outer(scope);
                const CallScope::Current inner(std::make_shared<CallScope>());
                raised.append(raisedByWait(proxy).name());
                raised.append(raisedBy([&] { proxy.perform(u"echo:"_s, {1}); }).name());
            };
            std::thread other([&] {
                fixture.root->arrived.wait();
                scope->giveUp();
            });
            const auto client = fixture.connect(server->port(), [&](VLConnection& connection) {
                if (onTheConnectionThread) call(*connection.rootProxy());
            });
            if (!onTheConnectionThread) call(client->proxy());
            other.join();
            QCOMPARE(raised, QStringList(2, VLException::givenUp));
            QVERIFY(timer.elapsed() < 10'000);
            QCOMPARE(fixture.root->calls(u"echo:"_s), 0);
            fixture.root->release.open();  // the late answer
            QVERIFY(works(*client));
            QVERIFY(client->control().isValid());
        }
    }

    void wake_ends_a_slice_and_nothing_else() {
        const TransportFixture fixture;
        const auto server = fixture.serve();
        qint64 waited = -1;
        const auto client = fixture.connect(server->port(), [&](VLConnection& connection) {
            connection.wake();  // counts for the next slice when none is under way
            (void)connection.rootProxy()->perform(u"echo:"_s, {3});
            QElapsedTimer timer;
            timer.start();
            connection.serve(20s);
            std::thread waker([control = connection.control()] { control->wake(); });
            connection.serve(20s);
            waker.join();
            waited = timer.elapsed();
        });
        QVERIFY(waited >= 0 && waited < 10'000);
        QVERIFY(works(*client));
    }

    void a_thread_that_was_away_does_not_blame_the_agent() {
        TransportFixture fixture;
        const auto server = fixture.serve();  // only the console is impatient
        fixture.limits.heartbeatInterval = 100ms;
        fixture.limits.heartbeatTimeout = 400ms;
        const auto client =
            fixture.connect(server->port(), [](VLConnection&) { std::this_thread::sleep_for(1'200ms); });
        QVERIFY(works(*client));
        std::this_thread::sleep_for(600ms);
        QVERIFY(works(*client));
    }

    void a_silent_console_is_dropped() {
        TransportFixture fixture;
        auto options = fixture.serverOptions();
        options.limits.heartbeatTimeout = 200ms;
        const auto server = fixture.serve(options);
        VLException raised(u"none"_s, {});
        const auto client = fixture.connect(server->port(), [&](VLConnection& connection) {
            for (int wait = 0; wait < 500 && server->connectionCount() > 0; ++wait)
                std::this_thread::sleep_for(20ms);
            raised = raisedByWait(*connection.rootProxy());
        });
        QCOMPARE(raised.name(), VLException::inaccessible);
        QCOMPARE(server->connectionCount(), 0);
    }
};

ORLENDO_TEST_MAIN(TransportTest)
#include "transport_test.moc"
