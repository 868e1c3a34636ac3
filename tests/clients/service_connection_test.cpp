// Connecting to real agents on the loopback interface, losing them and getting them back.

#include "clients/ServiceIconCache.h"
#include "clients/support/ClientsFixture.h"
#include "support/TestTable.h"

#include <QGuiApplication>

namespace {

constexpr char fetch[] = "fetchInitialConfiguration:";
constexpr char failure[] = "vlCorvalinServiceConnectFailed";

struct ConnectedClient {
    explicit ConnectedClient(std::chrono::milliseconds reconnect = 150ms) : fixture(reconnect) {
        if (!QTest::qWaitFor([this] { return client->isConnected(); })) qWarning("not connected");
    }
    ClientsFixture fixture;
    LoopbackAgent agent;
    const VLServicePtr client = fixture.manualClient(agent);
};

}  // namespace

class ServiceConnectionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { startNewLog(); }

    // Four agents stand for the four ways to one client: which of them answer, which one is used (none if
    // empty), and how many resolved addresses there are (h, then a, then b). The first advertises its name.
    void triesTheWaysInOrder_data() {
        const TestTable<QString, QString, int> row("alive", "connectsTo", "addressCount");
        row("registered name", "nhab", "n", 3);
        row("registered port dead", "hab", "h", 3);
        row("second address", "ab", "a", 3);
        row("third address", "b", "b", 3);
        row("one address is no choice", "", "", 1);
    }
    void triesTheWaysInOrder() {
        QFETCH(QString, alive);
        QFETCH(QString, connectsTo);
        QFETCH(int, addressCount);
        std::map<QChar, std::unique_ptr<LoopbackAgent>> agents;
        std::map<QChar, quint16> ports;
        QStringList lookUps;
        std::mutex lookUpsMutex;
        ClientsFixture fixture(1h);
        for (const QChar letter : u"nhab"_s) {
            ports[letter] = deadPort();
            if (!alive.contains(letter)) continue;
            agents[letter] = std::make_unique<LoopbackAgent>();
            ports[letter] = agents[letter]->port();
        }
        fixture.environment.lookUpPort = [&](const QString& name, const QString& host,
                                             std::chrono::milliseconds) {
            const std::lock_guard lock(lookUpsMutex);
            lookUps << name + u'|' + host;
            return RegisteredPort{u"127.0.0.1"_s, ports['n']};
        };
        fixture.apply();

        VLNetService service = netService("Edit Bay 1", "edit-bay-1.local", ports['h']);
        const bool isNamed = connectsTo == u"n"_s;
        if (isNamed) service.txtRecord.insert(u"name"_s, QByteArray(64, 'x'));
        for (const QChar letter : QStringLiteral("ab").left(addressCount - 1))
            service.addresses << VLNetAddress{QHostAddress::LocalHost, ports[letter], 0};
        const NotificationRecorder notifications{failure};
        const VLServicePtr client = fixture.discoveredClient(service);

        if (connectsTo.isEmpty()) {
            QTRY_COMPARE(notifications.count(failure), 1);
            QVERIFY(!client->isConnected() && !client->spinning());
            QVERIFY(!client->connectionError().isEmpty());
        } else {
            QTRY_VERIFY(client->isConnected());
            QTRY_COMPARE(agents.at(connectsTo.front())->root->calls(fetch), 1);
            QCOMPARE(client->connectionError(), QString());
        }
        const std::lock_guard lock(lookUpsMutex);
        QCOMPARE(lookUps,
                 QStringList{(isNamed ? QString(63, u'x') : u"CorvalinNetClient - edit-bay-1.local."_s) +
                             u"|edit-bay-1.local."_s});
    }

    void connectsAndHandsOverTheCallback() {
        ClientsFixture fixture;
        const auto callback = std::make_shared<CollectingTarget>();
        fixture.errorCallback = callback;
        LoopbackAgent agent;
        const VLServicePtr client = fixture.manualClient(agent);

        QTRY_VERIFY(client->isConnected());
        QTRY_COMPARE(fixture.delegate.connected.load(), 1);
        QVERIFY(client->runLoopRunning());
        QTRY_COMPARE(client->configDict(), ScriptedRoot::goodConfiguration());
        QTRY_VERIFY(!client->spinning());
        QTRY_VERIFY(agent.root->callback());
        agent.root->callback()->post(u"taskFinished"_s);
        // Whatever the agent calls itself, its calls come under the name that the console has for it.
        QTRY_COMPARE(callback->count(), 1u);
        QCOMPARE(callback->received()[0].selector, u"taskFinished"_s);
        QCOMPARE(callback->received()[0].sender, client->hostName());
        client->ping();  // unknown to this agent, which is no failure
        QVERIFY(client->isConnected());
    }

    /// Before that it is filed under its address, and nothing is looked up under that.
    void aClientEnteredByHandTakesItsAgentsName() {
        const QString name = u"bay.local."_s;
        ClientsFixture fixture(10ms);
        std::mutex mutex;
        QStringList lookUps;
        fixture.environment.lookUpPort = [&](const QString& registered, const QString& host,
                                             std::chrono::milliseconds) {
            const std::lock_guard lock(mutex);
            lookUps << registered + u'|' + host;
            return std::optional<RegisteredPort>();
        };
        fixture.apply();
        const auto callback = std::make_shared<CollectingTarget>();
        fixture.errorCallback = callback;
        LoopbackAgent agent;
        QVariantMap configuration = ScriptedRoot::goodConfiguration();
        configuration.insert(u"preferredHostName"_s, name);
        agent.root->setAnswer(fetch, configuration);
        agent.root->setAnswer("computerIcon", pngOf({32, 32}));
        const NotificationRecorder notifications{"vlCorvalinServiceRenamed"};
        const VLServicePtr client = fixture.manualClient(agent);
        const QString address = client->hostName();

        QTRY_VERIFY(!client->configDict().isEmpty() && agent.root->callback());
        QCOMPARE(client->hostName(), name);
        QCOMPARE(client->availableHostNames(), QStringList({name, address}));
        QCOMPARE(notifications.count("vlCorvalinServiceRenamed"), 1);
        agent.root->callback()->post(u"taskFinished"_s);
        QTRY_COMPARE(callback->count(), 1u);
        QCOMPARE(callback->received()[0].sender, name);
        const ServiceIconCache pictures(fixture.environment.cacheDirectory);
        QTRY_VERIFY(pictures.find(name));
        QVERIFY(!pictures.find(address));
        QVERIFY(lookUps.isEmpty());
        QVERIFY(!logLines().join(u'\n').contains(u"CorvalinNetClient"_s));

        client->setIsConnected(false);
        QTRY_COMPARE(fixture.delegate.connected.load(), 2);
        const std::lock_guard lock(mutex);
        QCOMPARE(lookUps, QStringList{u"CorvalinNetClient - bay.local.|bay.local."_s});
    }

    void reportsAnUnreachableClientAndTriesAgain() {
        ClientsFixture fixture(20ms);
        const NotificationRecorder notifications{failure};
        const VLServicePtr client = fixture.manualClient("127.0.0.1", deadPort());
        QTRY_VERIFY(notifications.count(failure) >= 3);  // it never gives up
        QCOMPARE(notifications.services(failure).constFirst(), client);
        QVERIFY(logLines().contains(u"Attempting to reconnect to Edit Bay in 0 seconds..."_s));
    }

    void connectsAgainAfterAFailedOperation() {
        ConnectedClient connected(10ms);
        auto& [fixture, agent, client] = connected;

        client->setIsConnected(false);  // as a runner does when an operation raised
        QTRY_COMPARE(fixture.delegate.connected.load(), 2);
        QTRY_VERIFY(client->isConnected());

        // The next operation may come before the loop has noticed.
        client->setIsConnected(false);
        client->connectOnThread(nullptr);
        QTRY_VERIFY(client->isConnected());
        QTRY_COMPARE(agent.connectionCount(), 1);
    }

    void disconnectStays() {
        ConnectedClient connected(10ms);
        auto& [fixture, agent, client] = connected;
        QTRY_COMPARE(agent.root->calls(fetch), 1);

        QElapsedTimer timer;
        timer.start();
        client->disconnect();
        QVERIFY2(timer.elapsed() < 1500, "the serve loop was not woken");
        QVERIFY(!client->isConnected() && !client->proxyObject() && !client->runLoopRunning());
        QTRY_COMPARE(VLThread::activeCount(), 0);
        QTRY_COMPARE(agent.connectionCount(), 0);
        QTest::qWait(50);
        QCOMPARE(agent.root->calls(fetch), 1);
        for (const QString line : {"Disconnecting Edit Bay...", "Disconnected", "Run loop finished"})
            QVERIFY2(logLines().contains(line), qPrintable(line));

        client->connectOnThread(nullptr);
        QTRY_VERIFY(client->isConnected());
    }

    void disconnectEndsAnAttempt() {
        ClientsFixture fixture(10ms);
        fixture.environment.limits.connect = 1s;
        fixture.apply();
        QTcpServer deaf;  // accepts, and never says a word
        QVERIFY(deaf.listen(QHostAddress::LocalHost));
        const NotificationRecorder notifications{failure};
        const VLServicePtr client = fixture.manualClient(u"127.0.0.1"_s, deaf.serverPort());
        QTRY_VERIFY(countLines(logLines(), u"Trying to connect to host"_s) == 1);

        client->invalidate(false);
        QTRY_COMPARE(VLThread::activeCount(), 0);
        QTest::qWait(50);
        QCOMPARE(notifications.count(failure), 0);
        QCOMPARE(countLines(logLines(), u"Attempting to reconnect"_s), 0);
        QVERIFY(!client->isConnected());
    }

    void changedKeyIsRefusedUntilAccepted() {
        ConnectedClient connected(30ms);
        auto& [fixture, agent, client] = connected;
        QTRY_COMPARE(agent.root->calls(fetch), 1);

        agent.stop();
        agent.restart(otherAgentIdentity());
        QTRY_COMPARE(client->changedCertificate(), otherAgentIdentity().certificate);
        QVERIFY(!client->connectionError().isEmpty());
        QVERIFY(!client->isConnected());
        QCOMPARE(agent.root->calls(fetch), 1);  // nothing was said to the stranger

        // Only the certificate that the user was shown may be accepted.
        QVERIFY(!client->acceptChangedCertificate(agentIdentity().certificate, nullptr));
        QVERIFY(!client->acceptChangedCertificate({}, nullptr));
        QCOMPARE(fixture.environment.pins->find(client->pinName()), agentIdentity().certificate);
        QVERIFY(client->acceptChangedCertificate(otherAgentIdentity().certificate, nullptr));
        QTRY_VERIFY(client->isConnected());
        QCOMPARE(client->changedCertificate(), QByteArray());
        QCOMPARE(client->connectionError(), QString());
    }

    void changedKeyIsNotHiddenByOtherFailures() {
        ClientsFixture fixture(1h);
        LoopbackAgent agent;
        VLNetService service = netService("Bay", "bay.local.", agent.port());
        service.addresses << VLNetAddress{{}, 1, 0} << VLNetAddress{QHostAddress::LocalHost, deadPort(), 0};
        const VLServicePtr first = fixture.discoveredClient(service);
        QTRY_VERIFY(first->isConnected());
        first->disconnect();
        agent.stop();
        agent.restart(otherAgentIdentity());

        const NotificationRecorder notifications{failure};
        const VLServicePtr again = fixture.discoveredClient(service);
        QTRY_COMPARE(notifications.count(failure), 1);
        QCOMPARE(again->changedCertificate(), otherAgentIdentity().certificate);
        QVERIFY2(again->connectionError().contains(u"key"_s), qPrintable(again->connectionError()));
        QVERIFY(logLines().contains("The address family is unknown"));

        // Another agent on that host is another client with a key of its own.
        service.name = u"Bay 2"_s;
        const VLServicePtr neighbour = fixture.discoveredClient(service);
        QTRY_VERIFY(neighbour->isConnected());
    }

    /// A worker may hold a record that was taken out of the list meanwhile.
    void retiredRecordNeverConnectsAgain() {
        ConnectedClient connected(10ms);
        auto& [fixture, agent, client] = connected;
        const NotificationRecorder notifications{"VLCorvalinServiceInvalidated"};
        client->retire();
        client->invalidate(false);
        onWorker([client] { client->invalidate(); });
        QTRY_COMPARE(notifications.services("VLCorvalinServiceInvalidated"), QList{client});
        client->connectOnThread(nullptr);
        client->setupReconnectTimer(nullptr);
        QTRY_COMPARE(VLThread::activeCount(), 0);
        QTest::qWait(50);
        QVERIFY(!client->isConnected());
        QCOMPARE(countLines(logLines(), u"Attempting to reconnect"_s), 0);
        QCOMPARE(countLines(logLines(), u"Proxy found."_s), 1);
    }

    /// Connecting, disconnecting and calling from many threads at once leaves a client that still works.
    void endsOnlyOnce() {
        std::atomic<int> running{0};
        ClientsFixture fixture(5ms);
        LoopbackAgent agent;
        const VLServicePtr client = fixture.manualClient(agent);
        for (int worker = 0; worker < 6; ++worker) {
            ++running;
            onWorker([client, worker, &running] {
                for (int i = 0; i < 15; ++i) {
                    const int action = (worker + i) % 3;
                    if (action == 0) client->connectOnThread(nullptr);
                    if (action == 1) client->disconnect();
                    if (action == 2) client->fetchInitialConfiguration(true);
                }
                --running;
            });
        }
        QTRY_VERIFY_WITH_TIMEOUT(running == 0, 60'000);
        client->disconnect();
        QTRY_COMPARE(VLThread::activeCount(), 0);
        QVERIFY(!client->isConnected());
        client->connectOnThread(nullptr);
        QTRY_VERIFY(client->isConnected());
        QTRY_COMPARE(agent.connectionCount(), 1);
    }
};

ORLENDO_GUI_TEST_MAIN(ServiceConnectionTest)
#include "service_connection_test.moc"
