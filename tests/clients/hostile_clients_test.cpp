// One client whose agent misbehaves among three whose agents don't: the error is on that client only.

#include "clients/support/ClientsFixture.h"
#include "remote/RemoteRunner.h"
#include "remote/support/HostileAgent.h"
#include "support/TestTable.h"

#include <QGuiApplication>

#include <array>

Q_DECLARE_METATYPE(Fault)

namespace {

const QString configurationSelector = u"fetchInitialConfiguration:"_s;
const QString pluginsSelector = u"addonryPluginList"_s;
const QString timedOut =
    u"Exception in -[AppController objectFromRemoteMethod:withObject:withObject:service:]. "
    "NSPortTimeoutException - There was no reply to addonryPluginList"_s;

QVariant honestAnswer(const QString& selector) {
    if (selector == configurationSelector) return ScriptedRoot::goodConfiguration();
    return selector == pluginsSelector ? QVariant(QVariantList{u"plug-in"_s}) : QVariant();
}

/// Three good agents and their clients, and the runner that reads from them.
struct GoodClients {
    GoodClients() {
        fixture.environment.timing.configuration = 700ms;
        fixture.environment.limits.messageBytes = 1024 * 1024;
        fixture.environment.limits.heartbeatInterval = 100ms;
        fixture.environment.limits.heartbeatTimeout = 2'000ms;  // far more than a busy machine needs
        fixture.environment.limits.connect = 2s;
        fixture.errorCallback = callback;
        fixture.apply();
        for (LoopbackAgent& agent : agents) {
            agent.root->setAnswer("addonryPluginList", honestAnswer(pluginsSelector));
            clients << fixture.manualClient(agent, u"Good %1"_s.arg(clients.size()));
        }
        setReplyLimit(60s);
    }
    ~GoodClients() { fixture.end(); }

    void setReplyLimit(std::chrono::milliseconds limit) {
        RemoteRunner::Environment environment;
        environment.errorCallback = callback;
        environment.clientFailed = [this](const QString& hostName, const QString&) {
            const std::lock_guard lock(mutex);
            failed << hostName;
        };
        environment.replyLimit = limit;
        runner = std::make_shared<RemoteRunner>(std::move(environment));
    }
    /// Reads the plug-ins on a worker, as a tool does.
    [[nodiscard]] std::shared_ptr<std::atomic<bool>> startReading(const VLServicePtr& client) {
        auto done = std::make_shared<std::atomic<bool>>(false);
        onWorker([this, runner = runner, client, done] {
            const QVariant answer = runner->objectFromRemoteMethod(pluginsSelector, {}, {}, client);
            {
                const std::lock_guard lock(mutex);
                answers.insert(client->hostName(), answer);
            }
            *done = true;
        });
        return done;
    }
    [[nodiscard]] QVariant plugins(const VLServicePtr& client) {
        const auto done = startReading(client);
        if (!QTest::qWaitFor([&] { return done->load(); }, 20'000)) return {};
        const std::lock_guard lock(mutex);
        return answers.take(client->hostName());
    }
    [[nodiscard]] VLServicePtr badClient(quint16 port) {
        return fixture.manualClient(u"127.0.0.1"_s, port, u"Bad"_s);
    }
    [[nodiscard]] bool allWork() {
        return std::all_of(clients.begin(), clients.end(), [this](const VLServicePtr& client) {
            return client->isConnected() && client->errorCode() == 0 && client->connectionError().isEmpty() &&
                   plugins(client) == honestAnswer(pluginsSelector);
        });
    }

    ClientsFixture fixture{1h};
    std::array<LoopbackAgent, 3> agents;
    std::shared_ptr<CollectingTarget> callback = std::make_shared<CollectingTarget>();
    QList<VLServicePtr> clients;
    std::shared_ptr<RemoteRunner> runner;
    std::mutex mutex;
    QStringList failed;
    QVariantMap answers;
};

}  // namespace

class HostileClientsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { startNewLog(); }

    void whileItConnects_data() {
        const TestTable<Fault, int> row("fault", "errorCode");  // 0: it does not get connected
        row("unknown value", Fault::UnknownValue, 2001);
        row("endless list", Fault::EndlessList, 2001);
        row("remote error", Fault::RemoteError, 2001);
        row("no answer", Fault::NoAnswer, 2008);
        row("garbage", Fault::Garbage, 0);
        row("sends too much", Fault::LargerThanLimit, 0);
        row("resets", Fault::Reset, 0);
    }
    void whileItConnects() {
        QFETCH(Fault, fault);
        QFETCH(int, errorCode);
        GoodClients good;
        const HostileAgent agent({fault, configurationSelector, honestAnswer});
        const NotificationRecorder notifications{"vlCorvalinServiceConnectFailed"};
        const VLServicePtr client = good.badClient(agent.port());
        if (errorCode != 0) {
            QTRY_COMPARE(client->errorCode(), errorCode);
            QTRY_VERIFY(client->isConnected());
        } else {
            QTRY_COMPARE(notifications.count("vlCorvalinServiceConnectFailed"), 1);
            QVERIFY(!client->connectionError().isEmpty());
            QVERIFY(!client->isConnected());
            QCOMPARE(client->errorCode(), 0);  // it is away, not outdated
            QCOMPARE(countLines(logLines(), u"Attempting to reconnect to Bad"_s), 1);
        }
        QTRY_VERIFY(!client->spinning());
        QTRY_VERIFY(countLines(logLines(), u"Exception in "_s) +
                        countLines(logLines(), u"Connection timed out for "_s) >
                    0);
        QTRY_VERIFY(good.allWork());
    }

    void whileItIsUsed_data() {
        const TestTable<Fault> row("fault");
        row("too deep", Fault::TooDeep);
        row("closes mid-answer", Fault::CloseMidAnswer);
        row("falls silent", Fault::Silence);
        row("lives and does not answer", Fault::NoAnswer);
        row("floods heeding answers", Fault::FloodCallbacks);
        row("floods blindly", Fault::FloodBlindly);
    }
    void whileItIsUsed() {
        QFETCH(Fault, fault);
        GoodClients good;
        const HostileAgent agent({fault, pluginsSelector, honestAnswer});
        const VLServicePtr client = good.badClient(agent.port());
        QTRY_VERIFY(client->isConnected());
        const bool neverAnswers = fault == Fault::NoAnswer;
        if (neverAnswers) good.setReplyLimit(300ms);
        const auto done = good.startReading(client);
        if (neverAnswers) good.setReplyLimit(60s);
        QTRY_VERIFY(agent.triggered() > 0);
        for (const VLServicePtr& other : std::as_const(good.clients))
            QTRY_VERIFY(other->isConnected());
        QVERIFY(good.allWork());
        if (fault == Fault::FloodCallbacks) {
            // Busy, but within the rules: it stays connected and hurts nobody.
            QTRY_VERIFY(good.callback->count() > 0);
            QCOMPARE(good.callback->received()[0].sender, client->hostName());
            client->disconnect();
        } else {
            QTRY_VERIFY(!client->isConnected());
            QTRY_COMPARE(countLines(logLines(), u"Attempting to reconnect to Bad"_s), 1);
        }
        QTRY_VERIFY(done->load());
        if (neverAnswers) QCOMPARE(countLines(logLines(), timedOut), 1);
        const std::lock_guard lock(good.mutex);
        for (const QString& hostName : std::as_const(good.failed))
            QCOMPARE(hostName, client->hostName());
        if (fault != Fault::FloodCallbacks) QCOMPARE(good.failed.size(), 1);
    }

    void presentsAChangedKey() {
        GoodClients good;
        const LoopbackAgent agent;
        good.fixture.environment.pins->pin(u"%1:%2"_s.arg(agent.address()).arg(agent.port()),
                                           otherAgentIdentity().certificate);
        const VLServicePtr client = good.fixture.manualClient(agent, u"Bad"_s);
        QTRY_COMPARE(client->changedCertificate(), agentIdentity().certificate);
        QCOMPARE(good.plugins(client), QVariant());
        QCOMPARE(agent.root->calls("fetchInitialConfiguration:"), 0);
        QTRY_VERIFY(good.allWork());
    }
};

ORLENDO_GUI_TEST_MAIN(HostileClientsTest)
#include "hostile_clients_test.moc"
