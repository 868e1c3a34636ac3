// Connecting to real agents on the loopback interface, losing them and getting them back.

#include "clients/ConnectionAttempts.h"
#include "clients/support/ClientsFixture.h"
#include "support/NoMoreThreads.h"

#include <QGuiApplication>
#include <QSignalSpy>

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

    // Four agents stand for the four ways to one client.
    void triesTheWaysInOrder_data() {
        QTest::addColumn<QString>("alive");       // letters of the agents that answer
        QTest::addColumn<QString>("connectsTo");  // letter, empty: to none
        QTest::addColumn<int>("addressCount");    // resolved addresses: h, then a, then b
        QTest::addColumn<QStringList>("logged");
        QTest::addColumn<QStringList>("notLogged");
        const auto row = [](const char* name, const char* alive, const char* connectsTo, int addressCount,
                            const QStringList& logged, const QStringList& notLogged = {}) {
            QTest::newRow(name) << alive << connectsTo << addressCount << logged << notLogged;
        };
        const QString byPort = "Trying to connect to host", failed = "Connection exception: ";
        const QString byAddress = "Unable to connect; trying alternate addresses...";
        const QString unable = "Unable to connect\n";
        row("registered name", "nhab", "n", 3, {}, {byPort, byAddress});
        row("registered port dead", "hab", "h", 3, {failed, byPort}, {byAddress});
        row("second address", "ab", "a", 3, {byPort, byAddress}, {unable});
        row("third address", "b", "b", 3, {byAddress});
        row("one address is no choice", "", "", 1, {byPort, byAddress, unable}, {"Proxy found."});
        row("none answers", "", "", 3, {byAddress, unable});
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
        QCOMPARE(lookUps, QStringList{u"CorvalinNetClient - edit-bay-1.local.|edit-bay-1.local."_s});
        const QString text = logLines().join(u'\n') + u'\n';
        QVERIFY(text.contains(vlFormat(u"Address count: %i\n"_s, addressCount)));
        QFETCH(QStringList, logged);
        QFETCH(QStringList, notLogged);
        for (const QString& line : logged)
            QVERIFY2(text.contains(line), qPrintable(line));
        for (const QString& line : notLogged)
            QVERIFY2(!text.contains(line), qPrintable(line));
    }

    void registeredName_data() {
        QTest::addColumn<QByteArray>("advertised");
        QTest::addColumn<QString>("hostName");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* name, const QByteArray& advertised, const QString& hostName,
                            const QString& expected) {
            QTest::newRow(name) << advertised << hostName << expected;
        };
        row("from the host name", {}, "bay.local.", "CorvalinNetClient - bay.local.");
        row("empty text counts as none", "", "bay.local.", "CorvalinNetClient - bay.local.");
        row("advertised", "Bay \xc3\xa9", "bay.local.", "Bay é");
        row("63 characters stay", QByteArray(63, 'x'), "bay.", QString(63, u'x'));
        row("64 characters are cut", QByteArray(64, 'x'), "bay.", QString(63, u'x'));
        row("a long host name is cut too", {}, QString(60, u'h') + u'.',
            "CorvalinNetClient - " + QString(43, u'h'));
    }
    void registeredName() {
        QFETCH(QByteArray, advertised);
        QFETCH(QString, hostName);
        VLNetService service;
        if (!advertised.isNull()) service.txtRecord.insert(u"name"_s, advertised);
        QTEST(ConnectionAttempts::registeredName(ConnectionAttempts::absoluteHostName(hostName), service),
              "expected");
    }

    void connectsAndHandsOverTheCallback() {
        ClientsFixture fixture;
        const auto callback = std::make_shared<NotingCallback>();
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
        QTRY_COMPARE(callback->received(), QSet{u"taskFinished "_s + client->hostName()});
        client->ping();  // unknown to this agent, which is no failure
        QVERIFY(client->isConnected());
    }

    void recordWithoutAnAddressIsAbandoned() {
        ClientsFixture fixture(10ms);
        const auto client = fixture.keep(std::make_shared<VLService>());
        client->connectOnThread(nullptr);
        QTRY_VERIFY(logLines().contains(u"Net service not found."_s));
        QTRY_COMPARE(VLThread::activeCount(), 0);
        QTest::qWait(50);
        QCOMPARE(countLines(logLines(), u"Net service not found."_s), 1);
        QTRY_VERIFY(!client->spinning());
    }

    void reportsAnUnreachableClientAndTriesAgain() {
        ClientsFixture fixture(20ms);
        std::atomic<int> lookUps{0};
        fixture.environment.lookUpPort = [&](const QString&, const QString&, std::chrono::milliseconds) {
            ++lookUps;
            return std::optional<RegisteredPort>();
        };
        fixture.apply();
        const NotificationRecorder notifications{failure};
        const VLServicePtr client = fixture.manualClient("127.0.0.1", deadPort());
        QTRY_VERIFY(notifications.count(failure) >= 3);  // it never gives up
        QCOMPARE(notifications.services(failure).constFirst(), client);
        QCOMPARE(lookUps.load(), 0);  // an address with a port is no registered name
        for (const QString line : {"Connection is manual.", "Address count: 0",
                                   "Attempting to reconnect to Edit Bay in 0 seconds..."})
            QVERIFY2(logLines().contains(line), qPrintable(line));
    }

    void comesBackAfterALoss() {
        ConnectedClient connected;
        auto& [fixture, agent, client] = connected;
        const VLProxyObjectPtr oldProxy = client->proxyObject();
        const NotificationRecorder notifications{"vlCorvalinServiceRefresh"};

        agent.stop();
        QTRY_VERIFY(!client->isConnected());
        QTRY_VERIFY(notifications.count("vlCorvalinServiceRefresh") >= 1);
        QTRY_VERIFY(countLines(logLines(), u"Connection to Edit Bay was lost: "_s) == 1);
        QVERIFY(!client->connectionError().isEmpty());

        agent.restart();
        QTRY_VERIFY(client->isConnected());
        QTRY_COMPARE(fixture.delegate.connected.load(), 2);
        QVERIFY(client->proxyObject() != oldProxy);
        QCOMPARE(client->connectionError(), QString());
        QVERIFY_EXCEPTION_THROWN(oldProxy->perform(QLatin1String(fetch), {QVariant()}), VLException);
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

    void askingTwiceConnectsOnce() {
        ClientsFixture fixture;
        LoopbackAgent agent;
        const VLServicePtr client = fixture.manualClient(agent);
        for (int i = 0; i < 20; ++i)
            client->connectOnThread(nullptr);
        QTRY_VERIFY(client->isConnected());
        QTRY_COMPARE(agent.root->calls(fetch), 1);
        QCOMPARE(agent.connectionCount(), 1);
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

    void invalidating() {
        ConnectedClient connected;
        auto& [fixture, agent, client] = connected;
        const NotificationRecorder notifications{"VLCorvalinServiceInvalidated"};
        client->invalidate(false);
        QVERIFY(!client->isConnected());
        onWorker([client] { client->invalidate(); });
        QTRY_COMPARE(notifications.count("VLCorvalinServiceInvalidated"), 1);
        QCOMPARE(notifications.services("VLCorvalinServiceInvalidated"), QList{client});
    }

    /// A worker may hold a record that was taken out of the list meanwhile.
    void retiredRecordNeverConnectsAgain() {
        ConnectedClient connected(10ms);
        auto& [fixture, agent, client] = connected;
        client->retire();
        client->invalidate(false);
        client->connectOnThread(nullptr);
        client->setupReconnectTimer(nullptr);
        QTRY_COMPARE(VLThread::activeCount(), 0);
        QTest::qWait(50);
        QVERIFY(!client->isConnected());
        QCOMPARE(countLines(logLines(), u"Attempting to reconnect"_s), 0);
        QCOMPARE(countLines(logLines(), u"Proxy found."_s), 1);
    }

    void triesAgainAfterItGotNoThread() {
        ClientsFixture fixture;
        LoopbackAgent agent;
        const NotificationRecorder notifications{"vlCorvalinServiceConnectFailed"};
        VLServicePtr client;
        {
            const NoMoreThreads none;
            client = fixture.manualClient(agent);
        }
        QVERIFY(!client->isConnected() && !client->connectionError().isEmpty());
        QTRY_VERIFY(client->isConnected());
        QCOMPARE(notifications.count("vlCorvalinServiceConnectFailed"), 1);
    }

    void numbersThatAreNoAddress() {
        ClientsFixture fixture(1h);
        const VLServicePtr client = fixture.manualClient(u"300.1.1.1"_s, 5473);
        QTRY_VERIFY(logLines().contains(u"Unable to connect"_s));
        QCOMPARE(countLines(logLines(), u"Error creating socket port."_s), 2);
        QVERIFY(!logLines().contains(u"The address family is unknown"_s));
    }

    void spinnerStopsWithTheAttempt() {
        ClientsFixture fixture;
        LoopbackAgent agent;
        for (int i = 0; i < 20; ++i) {
            const VLServicePtr client = fixture.manualClient(agent);
            std::this_thread::sleep_for(std::chrono::microseconds(i * 100));
            client->disconnect();  // its thread starts the spinner about now
            QTRY_COMPARE(VLThread::activeCount(), 0);
            QTRY_VERIFY(!client->spinning());
            QTest::qWait(1);
            QVERIFY(!client->spinning());
        }
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
