#include "remote/VLConnection.h"
#include "remote/VLServer.h"
#include "remote/support/SpawnedProcess.h"
#include "remote/support/TransportFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTextStream>

#include <csignal>

using namespace std::chrono_literals;

namespace {

constexpr auto promptly = 1'500ms;  // far below every time limit of the transport

QVariant echo(const QVariantList& arguments, quint64) {
    return arguments.value(0);
}

/// An agent in a process of its own (this program again), to be stopped or killed.
class AgentProcess {
public:
    explicit AgentProcess(const TransportFixture& fixture) {
        const QString folder = fixture.folder.filePath(QStringLiteral("agent"));
        QDir().mkpath(folder);
        QFile console(QDir(folder).filePath(QStringLiteral("console.pem")));
        if (!console.open(QIODevice::WriteOnly)) return;
        console.write(fixture.console.certificate);
        console.close();
        m_process.emplace(QList<QByteArray>{QFile::encodeName(QCoreApplication::applicationFilePath()),
                                            "--agent", QFile::encodeName(folder)});
        m_port = m_process->readLine().toUShort();
    }
    AgentProcess(const AgentProcess&) = delete;
    AgentProcess& operator=(const AgentProcess&) = delete;

    [[nodiscard]] quint16 port() const { return m_port; }
    void signal(int number) const { m_process->signal(number); }

    /// In the process.
    static int run(const QString& folder) {
        QFile console(QDir(folder).filePath(QStringLiteral("console.pem")));
        if (!console.open(QIODevice::ReadOnly)) return 1;
        auto root = std::make_shared<ScriptedRoot>();
        root->on(QStringLiteral("wait"), [](const QVariantList&, quint64) {
            std::this_thread::sleep_for(1h);
            return QVariant();
        });
        VLServerOptions options;
        options.identity =
            TlsIdentity::loadOrCreate(folder, QStringLiteral("agent"), QStringLiteral("agent"));
        options.authorizedCertificates = [certificate = console.readAll()] { return QList{certificate}; };
        options.address = QStringLiteral("127.0.0.1");
        const VLServer server(root, options);
        QTextStream(stdout) << server.port() << Qt::endl;
        return QCoreApplication::exec();
    }

private:
    std::optional<SpawnedProcess> m_process;
    quint16 m_port = 0;
};

}  // namespace

class TransportTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void calls_answer_with_values_and_exceptions() {
        const TransportFixture fixture;
        auto root = std::make_shared<ScriptedRoot>();
        root->on(QStringLiteral("echo:"), echo);
        root->on(QStringLiteral("fail"), [](const QVariantList&, quint64) -> QVariant {
            throw VLException(QStringLiteral("VLTaskException"), QStringLiteral("busy"),
                              {{QStringLiteral("domain"), QStringLiteral("corvalinDomain")},
                               {QStringLiteral("code"), 1005LL}});
        });
        root->on(QStringLiteral("unsendable"),
                 [](const QVariantList&, quint64) { return QVariant(QSize(1, 1)); });
        const auto server = fixture.serve(root);
        const auto client = fixture.connect(server->port());

        const QVariantMap value{{QStringLiteral("list"), QVariantList{1LL, 2.5, QStringLiteral("x")}}};
        QCOMPARE(client->proxy().perform(QStringLiteral("echo:"), {value}).toMap(), value);
        QVERIFY(client->proxy().respondsToSelector(QStringLiteral("echo:")));
        QVERIFY(!client->proxy().respondsToSelector(QStringLiteral("nonsense")));

        const VLException raised = raisedBy([&] { client->proxy().perform(QStringLiteral("fail")); });
        QCOMPARE(raised.name(), QStringLiteral("VLTaskException"));
        QCOMPARE(raised.reason(), QStringLiteral("busy"));
        QCOMPARE(raised.userInfo().value(QStringLiteral("code")).toInt(), 1005);
        for (const QString& selector : {QStringLiteral("nonsense"), QStringLiteral("unsendable")})
            QCOMPARE(raisedBy([&] { client->proxy().perform(selector); }).name(),
                     VLException::invalidArgument);
        QVERIFY_THROWS_EXCEPTION(VLUnsentCallException,
                                 client->proxy().perform(QStringLiteral("echo:"), {QSize(1, 1)}));
        QCOMPARE(raisedBy([&] { client->proxy().perform(QStringLiteral("echo:"), {QSize(1, 1)}); }).name(),
                 VLException::invalidArgument);
        QCOMPARE(client->proxy().perform(QStringLiteral("echo:"), {QString(1 << 20, u'x')}).toString().size(),
                 1 << 20);
    }

    void threads_call_at_once_and_get_their_own_answers() {
        const TransportFixture fixture;
        auto root = std::make_shared<ScriptedRoot>();
        root->on(QStringLiteral("echo:"), echo);
        const auto server = fixture.serve(root);
        const auto client = fixture.connect(server->port());
        std::atomic_int wrong = 0;
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 8; ++thread)
            threads.emplace_back([&, thread] {
                for (int call = 0; call < 50; ++call) {
                    const QString sent = QStringLiteral("%1/%2").arg(thread).arg(call);
                    if (client->proxy().perform(QStringLiteral("echo:"), {sent}).toString() != sent) ++wrong;
                }
            });
        for (auto& thread : threads)
            thread.join();
        QCOMPARE(wrong.load(), 0);
    }

    void one_consoles_operations_run_one_after_the_other() {
        const TransportFixture fixture;
        auto root = std::make_shared<ScriptedRoot>();
        std::atomic_int running = 0;
        std::atomic_int most = 0;
        root->on(QStringLiteral("work"), [&](const QVariantList&, quint64 peer) {
            most = std::max(most.load(), ++running);
            std::this_thread::sleep_for(2ms);
            --running;
            return QVariant(peer);
        });
        const auto server = fixture.serve(root);
        const auto client = fixture.connect(server->port());
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 4; ++thread)
            threads.emplace_back([&] {
                for (int call = 0; call < 5; ++call)
                    client->proxy().perform(QStringLiteral("work"));
            });
        for (auto& thread : threads)
            thread.join();
        QCOMPARE(most.load(), 1);
        const auto other = fixture.connect(server->port());
        QVERIFY(client->proxy().perform(QStringLiteral("work")) !=
                other->proxy().perform(QStringLiteral("work")));
        QCOMPARE(server->connectionCount(), 2);
    }

    void the_connection_thread_calls_while_workers_are_served() {
        const TransportFixture fixture;
        auto root = std::make_shared<ScriptedRoot>();
        Gate waiting;
        root->on(QStringLiteral("wait"),
                 [&](const QVariantList&, quint64) { return QVariant(waiting.wait()); });
        const auto server = fixture.serve(root);
        std::thread worker;
        bool responds = false;
        bool answered = false;
        // The worker's call is served by the very wait of the connection thread's own call.
        const auto client = fixture.connect(server->port(), [&](VLConnection& connection) {
            worker = std::thread([&, proxy = connection.rootProxy()] {
                responds = proxy->respondsToSelector(QStringLiteral("wait"));
                waiting.open();
            });
            answered = connection.rootProxy()->perform(QStringLiteral("wait")).toBool();
        });
        worker.join();
        QVERIFY(responds);
        QVERIFY(answered);
    }

    void oneway_operations_return_before_they_are_done() {
        const TransportFixture fixture;
        auto root = std::make_shared<ScriptedRoot>();
        Gate release;
        Gate done;
        root->on(QStringLiteral("relaunch"), [&](const QVariantList&, quint64) {
            release.wait();
            done.open();
            throw VLException(VLException::generic, QStringLiteral("nobody hears this"));
            return QVariant();
        });
        const auto server = fixture.serve(root);
        const auto client = fixture.connect(server->port());
        QVERIFY(!client->proxy().perform(QStringLiteral("relaunch")).isValid());
        release.open();
        QVERIFY(done.wait());
        QVERIFY(client->proxy().respondsToSelector(QStringLiteral("relaunch")));
    }

    void a_oneway_operation_outlives_the_end_of_the_connection() {
        const TransportFixture fixture;
        auto root = std::make_shared<ScriptedRoot>();
        Gate arrived;
        root->on(QStringLiteral("disconnect"), [&](const QVariantList&, quint64) {
            arrived.open();
            return QVariant();
        });
        const auto server = fixture.serve(root);
        const auto client = fixture.connect(server->port());
        client->proxy().perform(QStringLiteral("disconnect"));
        client->control().invalidate();
        QVERIFY(arrived.wait());
        QTRY_COMPARE(root->closedPeers(), 1);
        QTRY_COMPARE(server->connectionCount(), 0);
    }

    void callbacks_arrive_with_their_sender_from_any_thread() {
        const TransportFixture fixture;
        auto root = std::make_shared<ScriptedRoot>();
        std::mutex mutex;
        VLRemoteCallbackPtr held;
        root->on(QStringLiteral("setErrorCallback:"), [&](const QVariantList& arguments, quint64) {
            const auto callback = arguments.value(0).value<VLRemoteCallbackPtr>();
            callback->post(QStringLiteral("incrementProgress"));
            const std::lock_guard lock(mutex);
            held = callback;
            return QVariant();
        });
        const auto server = fixture.serve(root);
        auto target = std::make_shared<CollectingTarget>();
        auto client = fixture.connect(server->port(), [&](VLConnection& connection) {
            connection.rootProxy()->perform(QStringLiteral("setErrorCallback:"),
                                            {QVariant::fromValue<VLCallbackTargetPtr>(target)});
        });
        QTRY_COMPARE(target->count(), 1u);
        QCOMPARE(target->received()[0].selector, QStringLiteral("incrementProgress"));
        QCOMPARE(target->received()[0].sender, QStringLiteral("edit-bay-1"));

        // More than a console lets wait: the agent's end sends them in portions, and none is lost.
        const auto callback = [&] {
            const std::lock_guard lock(mutex);
            return held;
        }();
        std::thread poster([&] {
            for (int index = 0; index < 1'000; ++index)
                callback->post(QStringLiteral("addStringToQueue:hostname:"), {index, QStringLiteral("bay")});
        });
        poster.join();
        QTRY_COMPARE_WITH_TIMEOUT(target->count(), 1'001u, 20'000);
        for (int index = 0; index < 1'000; ++index)
            QCOMPARE(target->received()[std::size_t(index) + 1].arguments.value(0).toInt(), index);

        QVERIFY(callback->isConnected());
        client.reset();
        QTRY_VERIFY(!callback->isConnected());
        callback->post(QStringLiteral("incrementProgress"));
        QCOMPARE(target->count(), 1'001u);
    }

    void a_callback_may_not_wait_for_its_own_connection() {
        struct Target final : VLCallbackTarget {
            VLProxyObjectPtr proxy;
            std::promise<VLException> raised;
            QVariant receive(const QString&, const QVariantList&, const QString&) override {
                raised.set_value(raisedBy([&] { proxy->perform(QStringLiteral("echo:"), {1}); }));
                return {};
            }
        };
        const TransportFixture fixture;
        auto root = std::make_shared<ScriptedRoot>();
        root->on(QStringLiteral("echo:"), echo);
        root->on(QStringLiteral("setErrorCallback:"), [&](const QVariantList& arguments, quint64) {
            arguments.value(0).value<VLRemoteCallbackPtr>()->post(QStringLiteral("ping"));
            return QVariant();
        });
        const auto server = fixture.serve(root);
        const auto client = fixture.connect(server->port());
        auto target = std::make_shared<Target>();
        target->proxy = client->sharedProxy();
        client->proxy().perform(QStringLiteral("setErrorCallback:"),
                                {QVariant::fromValue<VLCallbackTargetPtr>(target)});
        auto raised = target->raised.get_future();
        QCOMPARE(raised.wait_for(10s), std::future_status::ready);
        QCOMPARE(raised.get().name(), VLException::generic);
        QCOMPARE(client->proxy().perform(QStringLiteral("echo:"), {1}).toInt(), 1);
        target->proxy.reset();
    }

    void a_missed_time_limit_raises_and_leaves_the_connection_alone() {
        const TransportFixture fixture;
        auto root = std::make_shared<ScriptedRoot>();
        Gate release;
        root->on(QStringLiteral("wait"),
                 [&](const QVariantList&, quint64) { return QVariant(release.wait()); });
        root->on(QStringLiteral("echo:"), echo);
        const auto server = fixture.serve(root);
        VLException onItsThread(QStringLiteral("none"), {});
        const auto client = fixture.connect(server->port(), [&](VLConnection& connection) {
            onItsThread =
                raisedBy([&] { connection.rootProxy()->perform(QStringLiteral("wait"), {}, 50ms); });
        });
        const VLException onAWorker =
            raisedBy([&] { client->proxy().perform(QStringLiteral("wait"), {}, 50ms); });
        QVERIFY(VLException::didTimeout(onItsThread));
        QVERIFY(VLException::didTimeout(onAWorker));
        release.open();
        QCOMPARE(client->proxy().perform(QStringLiteral("echo:"), {7}, 10s).toInt(), 7);
    }

    void the_end_of_the_server_fails_calls_promptly() {
        const TransportFixture fixture;
        auto root = std::make_shared<ScriptedRoot>();
        Gate arrived;
        Gate release;
        root->on(QStringLiteral("wait"), [&](const QVariantList&, quint64) {
            arrived.open();
            release.wait();
            return QVariant();
        });
        auto server = fixture.serve(root);
        const auto client = fixture.connect(server->port());
        VLException raised(QStringLiteral("none"), {});
        std::thread caller(
            [&] { raised = raisedBy([&] { client->proxy().perform(QStringLiteral("wait")); }); });
        QVERIFY(arrived.wait());
        std::thread destroyer([&] { server.reset(); });  // waits for the operation under way
        QElapsedTimer timer;
        timer.start();
        caller.join();
        QVERIFY(timer.elapsed() < promptly.count());
        release.open();
        destroyer.join();
        QCOMPARE(raised.name(), VLException::inaccessible);
        QVERIFY(client->ends(10s));
        QVERIFY(!client->lossReason().isEmpty());
        QCOMPARE(raisedBy([&] { client->proxy().perform(QStringLiteral("wait")); }).name(),
                 VLException::inaccessible);
        QCOMPARE(raisedBy([&] { (void)client->proxy().respondsToSelector(QStringLiteral("wait")); }).name(),
                 VLException::inaccessible);
    }

    void invalidate_fails_calls_and_ends_the_slice_data() {
        QTest::addColumn<bool>("onTheConnectionThread");
        QTest::newRow("call of a worker") << false;
        QTest::newRow("call of the connection thread") << true;
    }
    void invalidate_fails_calls_and_ends_the_slice() {
        QFETCH(bool, onTheConnectionThread);
        const TransportFixture fixture;
        auto root = std::make_shared<ScriptedRoot>();
        Gate arrived;
        Gate release;
        root->on(QStringLiteral("wait"), [&](const QVariantList&, quint64) {
            arrived.open();
            release.wait();
            return QVariant();
        });
        const auto server = fixture.serve(root);
        VLException raised(QStringLiteral("none"), {});
        const auto call = [&](VLProxyObject& proxy) {
            raised = raisedBy([&] { proxy.perform(QStringLiteral("wait")); });
        };
        std::thread other;
        std::unique_ptr<ServingThread> client;
        if (onTheConnectionThread) {
            client = fixture.connect(server->port(), [&](VLConnection& connection) {
                other = std::thread([&, control = connection.control()] {
                    arrived.wait();
                    control->invalidate();
                });
                call(*connection.rootProxy());
            });
        } else {
            client = fixture.connect(server->port());
            other = std::thread([&] { call(client->proxy()); });
            QVERIFY(arrived.wait());
            client->control().invalidate();
        }
        other.join();
        QCOMPARE(raised.name(), VLException::inaccessible);
        QVERIFY(client->ends(promptly));
        QVERIFY(client->lossReason().isEmpty());
        QVERIFY(!client->control().isValid());
        release.open();
    }

    void wake_ends_a_slice_and_nothing_else() {
        const TransportFixture fixture;
        auto root = std::make_shared<ScriptedRoot>();
        root->on(QStringLiteral("echo:"), echo);
        const auto server = fixture.serve(root);
        qint64 waited = -1;
        bool valid = false;
        int answer = 0;
        const auto client = fixture.connect(server->port(), [&](VLConnection& connection) {
            connection.wake();  // counts for the next slice when none is under way
            answer = connection.rootProxy()->perform(QStringLiteral("echo:"), {3}).toInt();
            QElapsedTimer timer;
            timer.start();
            connection.serve(20s);
            std::thread waker([control = connection.control()] { control->wake(); });
            connection.serve(20s);
            waker.join();
            waited = timer.elapsed();
            valid = connection.isValid();
        });
        QCOMPARE(answer, 3);
        QVERIFY(waited >= 0 && waited < 10'000);
        QVERIFY(valid);
    }

    void a_thread_that_was_away_does_not_blame_the_agent() {
        TransportFixture fixture;
        fixture.limits.heartbeatInterval = 100ms;
        fixture.limits.heartbeatTimeout = 400ms;
        auto root = std::make_shared<ScriptedRoot>();
        root->on(QStringLiteral("echo:"), echo);
        auto options = fixture.serverOptions();
        options.limits = RemoteLimits();  // only the console is impatient
        const VLServer server(root, options);
        const auto client =
            fixture.connect(server.port(), [&](VLConnection&) { std::this_thread::sleep_for(1'200ms); });
        QCOMPARE(client->proxy().perform(QStringLiteral("echo:"), {1}).toInt(), 1);
        std::this_thread::sleep_for(600ms);
        QCOMPARE(client->proxy().perform(QStringLiteral("echo:"), {1}).toInt(), 1);
    }

    void a_stopped_or_killed_agent_fails_calls_data() {
        QTest::addColumn<int>("signal");
        QTest::addColumn<QString>("reason");
        QTest::newRow("machine asleep") << SIGSTOP << QStringLiteral("no sign of life");
        QTest::newRow("process killed") << SIGKILL << QString();
    }
    void a_stopped_or_killed_agent_fails_calls() {
        QFETCH(int, signal);
        QFETCH(QString, reason);
        TransportFixture fixture;
        fixture.limits.heartbeatInterval = 100ms;
        fixture.limits.heartbeatTimeout = 600ms;
        const AgentProcess agent(fixture);
        QVERIFY(agent.port() != 0);
        const auto client = fixture.connect(agent.port());
        VLException raised(QStringLiteral("none"), {});
        std::thread caller(
            [&] { raised = raisedBy([&] { client->proxy().perform(QStringLiteral("wait")); }); });
        QVERIFY(client->proxy().respondsToSelector(QStringLiteral("wait")));
        QElapsedTimer timer;
        timer.start();
        agent.signal(signal);
        caller.join();
        QVERIFY(timer.elapsed() < 5'000);
        QCOMPARE(raised.name(), VLException::inaccessible);
        QVERIFY2(raised.reason().contains(reason), qPrintable(raised.reason()));
    }

    void a_silent_console_is_dropped() {
        TransportFixture fixture;
        auto options = fixture.serverOptions();
        options.limits.heartbeatTimeout = 200ms;
        auto root = std::make_shared<ScriptedRoot>();
        const VLServer server(root, options);
        VLException raised(QStringLiteral("none"), {});
        const auto client = fixture.connect(server.port(), [&](VLConnection& connection) {
            for (int wait = 0; wait < 500 && server.connectionCount() > 0; ++wait)
                std::this_thread::sleep_for(20ms);
            raised = raisedBy([&] { (void)connection.rootProxy()->respondsToSelector(QStringLiteral("x")); });
        });
        QCOMPARE(raised.name(), VLException::inaccessible);
        QCOMPARE(server.connectionCount(), 0);
    }
};

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    if (argc == 3 && QByteArray(argv[1]) == "--agent")
        return AgentProcess::run(QString::fromLocal8Bit(argv[2]));
    const TestEnvironment environment;
    TransportTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "transport_test.moc"
