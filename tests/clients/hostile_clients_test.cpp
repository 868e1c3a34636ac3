// One client whose agent misbehaves among three whose agents don't: the error is on that client only.

#include "clients/support/ClientsFixture.h"
#include "remote/support/HostileAgent.h"
#include "runs/RemoteRunner.h"
#include "support/TestTable.h"

#include <QGuiApplication>

#include <array>

Q_DECLARE_METATYPE(Fault)

namespace {

const QString pluginsSelector = u"addonryPluginList"_s;

QVariant honestAnswer(const QString& selector) {
    if (selector == u"fetchInitialConfiguration:"_s) return ScriptedRoot::goodConfiguration();
    return selector == pluginsSelector ? QVariant(QVariantList{u"plug-in"_s}) : QVariant();
}

/// Three good agents and their clients, and the runner that reads from them.
struct GoodClients {
    GoodClients() {
        fixture.environment.limits.messageBytes = 1024 * 1024;
        fixture.environment.limits.heartbeatInterval = 100ms;
        fixture.environment.limits.heartbeatTimeout = 2'000ms;  // far more than a busy machine needs
        fixture.errorCallback = std::make_shared<CollectingTarget>();
        fixture.apply();
        for (LoopbackAgent& agent : agents) {
            agent.root->setAnswer("addonryPluginList", honestAnswer(pluginsSelector));
            clients << fixture.manualClient(agent, u"Good %1"_s.arg(clients.size()));
        }
        RemoteRunner::Environment environment;
        environment.clientFailed = [this](const QString& hostName, const QString&) {
            const std::lock_guard lock(mutex);
            failed << hostName;
        };
        runner = std::make_unique<RemoteRunner>(std::move(environment));
    }
    ~GoodClients() { fixture.end(); }

    /// Reads the plug-ins on a worker, as a tool does.
    [[nodiscard]] std::shared_ptr<std::atomic<bool>> startReading(const VLServicePtr& client) {
        auto done = std::make_shared<std::atomic<bool>>(false);
        onWorker([this, client, done] {
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
    [[nodiscard]] bool allWork() {
        return std::all_of(clients.begin(), clients.end(), [this](const VLServicePtr& client) {
            return client->isConnected() && client->errorCode() == 0 && client->connectionError().isEmpty() &&
                   plugins(client) == honestAnswer(pluginsSelector);
        });
    }

    ClientsFixture fixture{1h};
    std::array<LoopbackAgent, 3> agents;
    QList<VLServicePtr> clients;
    std::unique_ptr<RemoteRunner> runner;
    std::mutex mutex;
    QStringList failed;
    QVariantMap answers;
};

}  // namespace

class HostileClientsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { startNewLog(); }

    void whileItIsUsed_data() {
        const TestTable<Fault> row("fault");
        row("too deep", Fault::TooDeep);
        row("closes mid-answer", Fault::CloseMidAnswer);
        row("falls silent", Fault::Silence);
        row("floods blindly", Fault::FloodBlindly);
    }
    void whileItIsUsed() {
        QFETCH(Fault, fault);
        GoodClients good;
        const HostileAgent agent({fault, pluginsSelector, honestAnswer});
        const VLServicePtr client = good.fixture.manualClient(u"127.0.0.1"_s, agent.port(), u"Bad"_s);
        QTRY_VERIFY(client->isConnected());
        const auto done = good.startReading(client);
        QTRY_VERIFY(agent.triggered() > 0);
        for (const VLServicePtr& other : std::as_const(good.clients))
            QTRY_VERIFY(other->isConnected());
        QVERIFY(good.allWork());
        QTRY_VERIFY(!client->isConnected());
        QTRY_COMPARE(countLines(logLines(), u"Attempting to reconnect to Bad"_s), 1);
        QTRY_VERIFY(done->load());
        const std::lock_guard lock(good.mutex);
        QCOMPARE(good.failed, QStringList{client->hostName()});
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
