// Connecting to real agents on the loopback interface, losing them and getting them back.

#include "clients/ConnectionAttempts.h"
#include "clients/support/ClientsFixture.h"

#include <QGuiApplication>
#include <QSignalSpy>

namespace {

VLNetAddress netAddress(const QString& address, quint16 port) {
    return {QHostAddress(address), port, 0};
}

class SilentCallback : public VLCallbackTarget {
public:
    QVariant receive(const QString& selector, const QVariantList&, const QString& sender) override {
        const std::lock_guard lock(m_mutex);
        m_received << selector + u' ' + sender;
        return {};
    }
    QStringList received() const {
        const std::lock_guard lock(m_mutex);
        return m_received;
    }

private:
    mutable std::mutex m_mutex;
    QStringList m_received;
};

}  // namespace

class ServiceConnectionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { VLLog::createNewLog(); }

    void triesTheWaysInOrder_data();
    void triesTheWaysInOrder();
    void registeredName_data();
    void registeredName();
    void connectsAndHandsOverTheCallback();
    void recordWithoutAnAddressIsAbandoned();
    void reportsAnUnreachableClientAndTriesAgain();
    void comesBackAfterALoss();
    void connectsAgainAfterAFailedOperation();
    void disconnectStays();
    void disconnectEndsAnAttempt();
    void askingTwiceConnectsOnce();
    void changedKeyIsRefusedUntilAccepted();
    void changedKeyIsNotHiddenByOtherFailures();
    void invalidating();
    void retiredRecordNeverConnectsAgain();
    void spinnerStopsWithTheAttempt();
    void workingIsShown();
    void endsOnlyOnce();
};

// Four agents stand for the four ways to one client.
void ServiceConnectionTest::triesTheWaysInOrder_data() {
    QTest::addColumn<QString>("alive");       // letters of the agents that answer
    QTest::addColumn<QString>("connectsTo");  // letter, empty: to none
    QTest::addColumn<int>("addressCount");    // resolved addresses: h, then a, then b
    QTest::addColumn<QStringList>("logged");
    QTest::addColumn<QStringList>("notLogged");
    const QString byPort = QStringLiteral("Trying to connect to host");
    const QString byAddress = QStringLiteral("Unable to connect; trying alternate addresses...");
    const QString failed = QStringLiteral("Connection exception: ");
    const QString unable = QStringLiteral("Unable to connect");

    QTest::newRow("registered name") << "nhab"
                                     << "n" << 3 << QStringList{} << QStringList{byPort, byAddress};
    QTest::newRow("registered port dead")
        << "hab"
        << "h" << 3 << QStringList{failed, byPort} << QStringList{byAddress};
    QTest::newRow("second address") << "ab"
                                    << "a" << 3 << QStringList{byPort, byAddress}
                                    << QStringList{unable + u'\n'};
    QTest::newRow("third address") << "b"
                                   << "b" << 3 << QStringList{byAddress} << QStringList{};
    QTest::newRow("one address is no choice")
        << ""
        << "" << 1 << QStringList{byPort, byAddress, unable} << QStringList{QStringLiteral("Proxy found.")};
    QTest::newRow("none answers") << ""
                                  << "" << 3 << QStringList{byAddress, unable} << QStringList{};
}

void ServiceConnectionTest::triesTheWaysInOrder() {
    QFETCH(QString, alive);
    QFETCH(QString, connectsTo);
    QFETCH(int, addressCount);
    std::map<QChar, std::unique_ptr<LoopbackAgent>> agents;
    std::map<QChar, quint16> ports;
    QStringList lookUps;
    std::mutex lookUpsMutex;
    ClientsFixture fixture;
    fixture.environment.timing.reconnect = 1h;
    for (const QChar letter : QStringLiteral("nhab")) {
        ports[letter] = deadPort();
        if (!alive.contains(letter)) continue;
        agents[letter] = std::make_unique<LoopbackAgent>();
        ports[letter] = agents[letter]->port();
    }
    fixture.environment.lookUpPort = [&](const QString& name, const QString& host,
                                         std::chrono::milliseconds) {
        const std::lock_guard lock(lookUpsMutex);
        lookUps << name + u'|' + host;
        return RegisteredPort{QStringLiteral("127.0.0.1"), ports['n']};
    };
    fixture.apply();

    VLNetService service{QStringLiteral("Edit Bay 1"),
                         QStringLiteral("_corvalin._tcp"),
                         QStringLiteral("local"),
                         QStringLiteral("edit-bay-1.local"),
                         ports['h'],
                         {},
                         {}};
    for (const QChar letter : QStringLiteral("hab").left(addressCount))
        service.addresses << netAddress(QStringLiteral("127.0.0.1"), ports[letter]);
    const NotificationRecorder notifications{"vlCorvalinServiceConnectFailed"};
    const VLServicePtr client = fixture.keep(VLService::serviceWithNetService(service, nullptr));

    if (connectsTo.isEmpty()) {
        QTRY_COMPARE(notifications.count("vlCorvalinServiceConnectFailed"), 1);
        QVERIFY(!client->isConnected());
        QVERIFY(!client->connectionError().isEmpty());
        QVERIFY(!client->spinning());
    } else {
        QTRY_VERIFY(client->isConnected());
        QTRY_COMPARE(agents.at(connectsTo.front())->root->calls("fetchInitialConfiguration:"), 1);
        QCOMPARE(client->connectionError(), QString());
    }
    const std::lock_guard lock(lookUpsMutex);
    QCOMPARE(lookUps, QStringList{QStringLiteral("CorvalinNetClient - edit-bay-1.local.|edit-bay-1.local.")});
    const QStringList lines = logLines();
    const QString text = lines.join(u'\n') + u'\n';
    QVERIFY(text.contains(vlFormat(QStringLiteral("Address count: %i\n"), addressCount)));
    QFETCH(QStringList, logged);
    QFETCH(QStringList, notLogged);
    for (const QString& line : logged)
        QVERIFY2(text.contains(line), qPrintable(line));
    for (const QString& line : notLogged)
        QVERIFY2(!text.contains(line), qPrintable(line));
}

void ServiceConnectionTest::registeredName_data() {
    QTest::addColumn<QByteArray>("advertised");
    QTest::addColumn<QString>("hostName");
    QTest::addColumn<QString>("expected");
    QTest::newRow("from the host name") << QByteArray() << "bay.local."
                                        << "CorvalinNetClient - bay.local.";
    QTest::newRow("empty text counts as none") << QByteArray("") << "bay.local."
                                               << "CorvalinNetClient - bay.local.";
    QTest::newRow("advertised") << QByteArray("Bay \xc3\xa9") << "bay.local." << QStringLiteral("Bay é");
    QTest::newRow("63 characters stay") << QByteArray(63, 'x') << "bay." << QString(63, u'x');
    QTest::newRow("64 characters are cut") << QByteArray(64, 'x') << "bay." << QString(63, u'x');
    QTest::newRow("a long host name is cut too")
        << QByteArray() << QString(60, u'h') + u'.' << "CorvalinNetClient - " + QString(43, u'h');
}

void ServiceConnectionTest::registeredName() {
    QFETCH(QByteArray, advertised);
    QFETCH(QString, hostName);
    VLNetService service;
    if (!advertised.isNull()) service.txtRecord.insert(QStringLiteral("name"), advertised);
    QTEST(ConnectionAttempts::registeredName(ConnectionAttempts::absoluteHostName(hostName), service),
          "expected");
}

void ServiceConnectionTest::connectsAndHandsOverTheCallback() {
    ClientsFixture fixture;
    const auto callback = std::make_shared<SilentCallback>();
    fixture.errorCallback = callback;
    LoopbackAgent agent;
    const VLServicePtr client = fixture.manualClient(agent);

    QTRY_VERIFY(client->isConnected());
    QTRY_COMPARE(fixture.delegate.connected.load(), 1);
    QVERIFY(client->runLoopRunning());
    QTRY_COMPARE(client->configDict(), ScriptedRoot::goodConfiguration());
    QTRY_VERIFY(!client->spinning());
    QTRY_VERIFY(agent.root->callback());
    agent.root->callback()->post(QStringLiteral("taskFinished"));
    // Whatever the agent calls itself, its calls come under the name that the console has for it.
    QTRY_COMPARE(callback->received(), QStringList{QStringLiteral("taskFinished ") + client->hostName()});
    client->ping();  // unknown to this agent, which is no failure
    QVERIFY(client->isConnected());
}

void ServiceConnectionTest::recordWithoutAnAddressIsAbandoned() {
    ClientsFixture fixture;
    fixture.environment.timing.reconnect = 10ms;
    fixture.apply();
    const auto client = fixture.keep(std::make_shared<VLService>());
    client->connectOnThread(nullptr);
    QTRY_VERIFY(logLines().contains(QStringLiteral("Net service not found.")));
    QTRY_COMPARE(VLThread::activeCount(), 0);
    QTest::qWait(50);
    QCOMPARE(countLines(logLines(), QStringLiteral("Net service not found.")), 1);
    QTRY_VERIFY(!client->spinning());
}

void ServiceConnectionTest::reportsAnUnreachableClientAndTriesAgain() {
    ClientsFixture fixture;
    fixture.environment.timing.reconnect = 20ms;
    std::atomic<int> lookUps{0};
    fixture.environment.lookUpPort = [&](const QString&, const QString&, std::chrono::milliseconds) {
        ++lookUps;
        return std::optional<RegisteredPort>();
    };
    fixture.apply();
    const NotificationRecorder notifications{"vlCorvalinServiceConnectFailed"};
    const VLServicePtr client = fixture.manualClient(QStringLiteral("127.0.0.1"), deadPort());

    QTRY_VERIFY(notifications.count("vlCorvalinServiceConnectFailed") >= 3);  // it never gives up
    const QVariant about = notifications.all("vlCorvalinServiceConnectFailed")
                               .constFirst()
                               .userInfo.value(QStringLiteral("service"));
    QCOMPARE(about.value<VLServicePtr>(), client);
    const QStringList lines = logLines();
    QVERIFY(lines.contains(QStringLiteral("Connection is manual.")));
    QVERIFY(lines.contains(QStringLiteral("Address count: 0")));
    QCOMPARE(lookUps.load(), 0);  // an address with a port is no registered name
    QVERIFY(lines.contains(QStringLiteral("Attempting to reconnect to Edit Bay in 0 seconds...")));
    QCOMPARE(VLServiceTiming().reconnect, std::chrono::milliseconds(8s));
}

void ServiceConnectionTest::comesBackAfterALoss() {
    ClientsFixture fixture;
    LoopbackAgent agent;
    const VLServicePtr client = fixture.manualClient(agent);
    QTRY_VERIFY(client->isConnected());
    const VLProxyObjectPtr oldProxy = client->proxyObject();
    const NotificationRecorder notifications{"vlCorvalinServiceRefresh"};

    agent.stop();
    QTRY_VERIFY(!client->isConnected());
    QTRY_VERIFY(notifications.count("vlCorvalinServiceRefresh") >= 1);
    QTRY_VERIFY(countLines(logLines(), QStringLiteral("Connection to Edit Bay was lost: ")) == 1);
    QVERIFY(!client->connectionError().isEmpty());

    agent.restart();
    QTRY_VERIFY(client->isConnected());
    QTRY_COMPARE(fixture.delegate.connected.load(), 2);
    QVERIFY(client->proxyObject() != oldProxy);
    QCOMPARE(client->connectionError(), QString());
    QVERIFY_EXCEPTION_THROWN(oldProxy->perform(QStringLiteral("fetchInitialConfiguration:"), {QVariant()}),
                             VLException);
}

void ServiceConnectionTest::connectsAgainAfterAFailedOperation() {
    ClientsFixture fixture;
    fixture.environment.timing.reconnect = 10ms;
    fixture.apply();
    LoopbackAgent agent;
    const VLServicePtr client = fixture.manualClient(agent);
    QTRY_VERIFY(client->isConnected());

    client->setIsConnected(false);  // as a runner does when an operation raised
    QTRY_COMPARE(fixture.delegate.connected.load(), 2);
    QTRY_VERIFY(client->isConnected());

    // The next operation may come before the loop has noticed.
    client->setIsConnected(false);
    client->connectOnThread(nullptr);
    QTRY_VERIFY(client->isConnected());
    QTRY_COMPARE(agent.connectionCount(), 1);
}

void ServiceConnectionTest::disconnectStays() {
    ClientsFixture fixture;
    fixture.environment.timing.reconnect = 10ms;
    fixture.apply();
    LoopbackAgent agent;
    const VLServicePtr client = fixture.manualClient(agent);
    QTRY_VERIFY(client->isConnected());
    QTRY_COMPARE(agent.root->calls("fetchInitialConfiguration:"), 1);

    QElapsedTimer timer;
    timer.start();
    client->disconnect();
    QVERIFY2(timer.elapsed() < 1500, "the serve loop was not woken");
    QVERIFY(!client->isConnected());
    QVERIFY(!client->proxyObject());
    QVERIFY(!client->runLoopRunning());
    QTRY_COMPARE(VLThread::activeCount(), 0);
    QTRY_COMPARE(agent.connectionCount(), 0);
    QTest::qWait(50);
    QCOMPARE(agent.root->calls("fetchInitialConfiguration:"), 1);
    const QStringList lines = logLines();
    QVERIFY(lines.contains(QStringLiteral("Disconnecting Edit Bay...")));
    QVERIFY(lines.contains(QStringLiteral("Disconnected")));
    QVERIFY(lines.contains(QStringLiteral("Run loop finished")));

    client->connectOnThread(nullptr);
    QTRY_VERIFY(client->isConnected());
}

void ServiceConnectionTest::disconnectEndsAnAttempt() {
    ClientsFixture fixture;
    fixture.environment.timing.reconnect = 10ms;
    fixture.environment.limits.connect = 1s;
    fixture.apply();
    QTcpServer deaf;  // accepts, and never says a word
    QVERIFY(deaf.listen(QHostAddress::LocalHost));
    const NotificationRecorder notifications{"vlCorvalinServiceConnectFailed"};
    const VLServicePtr client = fixture.manualClient(QStringLiteral("127.0.0.1"), deaf.serverPort());
    QTRY_VERIFY(countLines(logLines(), QStringLiteral("Trying to connect to host")) == 1);

    client->invalidate(false);
    QTRY_COMPARE(VLThread::activeCount(), 0);
    QTest::qWait(50);
    QCOMPARE(notifications.count("vlCorvalinServiceConnectFailed"), 0);
    QCOMPARE(countLines(logLines(), QStringLiteral("Attempting to reconnect")), 0);
    QVERIFY(!client->isConnected());
}

void ServiceConnectionTest::askingTwiceConnectsOnce() {
    ClientsFixture fixture;
    LoopbackAgent agent;
    const VLServicePtr client = fixture.manualClient(agent);
    for (int i = 0; i < 20; ++i)
        client->connectOnThread(nullptr);
    QTRY_VERIFY(client->isConnected());
    QTRY_COMPARE(agent.root->calls("fetchInitialConfiguration:"), 1);
    QCOMPARE(agent.connectionCount(), 1);
}

void ServiceConnectionTest::changedKeyIsRefusedUntilAccepted() {
    ClientsFixture fixture;
    fixture.environment.timing.reconnect = 30ms;
    fixture.apply();
    LoopbackAgent agent;
    const VLServicePtr client = fixture.manualClient(agent);
    QTRY_VERIFY(client->isConnected());
    QTRY_COMPARE(agent.root->calls("fetchInitialConfiguration:"), 1);

    agent.stop();
    agent.restart(otherAgentIdentity());
    QTRY_COMPARE(client->changedCertificate(), otherAgentIdentity().certificate);
    QVERIFY(!client->connectionError().isEmpty());
    QVERIFY(!client->isConnected());
    QCOMPARE(agent.root->calls("fetchInitialConfiguration:"), 1);  // nothing was said to the stranger

    // Only the certificate that the user was shown may be accepted.
    QVERIFY(!client->acceptChangedCertificate(agentIdentity().certificate, nullptr));
    QVERIFY(!client->acceptChangedCertificate({}, nullptr));
    QCOMPARE(fixture.environment.pins->find(client->pinName()), agentIdentity().certificate);
    QVERIFY(client->acceptChangedCertificate(otherAgentIdentity().certificate, nullptr));
    QTRY_VERIFY(client->isConnected());
    QCOMPARE(client->changedCertificate(), QByteArray());
    QCOMPARE(client->connectionError(), QString());
}

void ServiceConnectionTest::changedKeyIsNotHiddenByOtherFailures() {
    ClientsFixture fixture;
    fixture.environment.timing.reconnect = 1h;
    fixture.apply();
    LoopbackAgent agent;
    VLNetService service{QStringLiteral("Bay"),
                         QStringLiteral("_corvalin._tcp"),
                         QStringLiteral("local"),
                         QStringLiteral("bay.local."),
                         agent.port(),
                         {netAddress(QStringLiteral("127.0.0.1"), agent.port()), netAddress(QString(), 1),
                          netAddress(QStringLiteral("127.0.0.1"), deadPort())},
                         {}};
    const VLServicePtr first = fixture.keep(VLService::serviceWithNetService(service, nullptr));
    QTRY_VERIFY(first->isConnected());
    first->disconnect();
    agent.stop();
    agent.restart(otherAgentIdentity());

    const NotificationRecorder notifications{"vlCorvalinServiceConnectFailed"};
    const VLServicePtr again = fixture.keep(VLService::serviceWithNetService(service, nullptr));
    QTRY_COMPARE(notifications.count("vlCorvalinServiceConnectFailed"), 1);
    QCOMPARE(again->changedCertificate(), otherAgentIdentity().certificate);
    QVERIFY2(again->connectionError().contains(QStringLiteral("key")), qPrintable(again->connectionError()));
    const QStringList lines = logLines();
    QVERIFY(lines.contains(QStringLiteral("The address family is unknown")));
    QVERIFY(lines.contains(QStringLiteral("Error creating socket port.")));

    // Another agent on that host is another client with a key of its own.
    service.name = QStringLiteral("Bay 2");
    const VLServicePtr neighbour = fixture.keep(VLService::serviceWithNetService(service, nullptr));
    QTRY_VERIFY(neighbour->isConnected());
}

void ServiceConnectionTest::invalidating() {
    ClientsFixture fixture;
    LoopbackAgent agent;
    const VLServicePtr client = fixture.manualClient(agent);
    QTRY_VERIFY(client->isConnected());
    const NotificationRecorder notifications{"VLCorvalinServiceInvalidated"};

    client->invalidate(false);
    QVERIFY(!client->isConnected());
    QVERIFY(logLines().contains(QStringLiteral("Invalidating Edit Bay...")));
    VLThread::detach(QStringLiteral("worker"), [client] { client->invalidate(); });
    QTRY_COMPARE(notifications.count("VLCorvalinServiceInvalidated"), 1);
    QCOMPARE(notifications.all("VLCorvalinServiceInvalidated")
                 .constFirst()
                 .userInfo.value(QStringLiteral("service"))
                 .value<VLServicePtr>(),
             client);
}

/// A worker may hold a record that was taken out of the list meanwhile.
void ServiceConnectionTest::retiredRecordNeverConnectsAgain() {
    ClientsFixture fixture;
    fixture.environment.timing.reconnect = 10ms;
    fixture.apply();
    LoopbackAgent agent;
    const VLServicePtr client = fixture.manualClient(agent);
    QTRY_VERIFY(client->isConnected());
    client->retire();
    client->invalidate(false);
    client->connectOnThread(nullptr);
    client->setupReconnectTimer(nullptr);
    QTRY_COMPARE(VLThread::activeCount(), 0);
    QTest::qWait(50);
    QVERIFY(!client->isConnected());
    QCOMPARE(countLines(logLines(), QStringLiteral("Attempting to reconnect")), 0);
    QCOMPARE(countLines(logLines(), QStringLiteral("Proxy found.")), 1);
}

void ServiceConnectionTest::spinnerStopsWithTheAttempt() {
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

void ServiceConnectionTest::workingIsShown() {
    ClientsFixture fixture;
    const auto client = fixture.keep(std::make_shared<VLService>());
    const NotificationRecorder notifications{"vlCorvalinServiceRefresh"};
    client->setIsProcessing(true);
    QTRY_COMPARE(notifications.count("vlCorvalinServiceRefresh"), 1);
    client->setIsProcessing(true);
    QTest::qWait(5);
    QCOMPARE(notifications.count("vlCorvalinServiceRefresh"), 1);
    client->setIsProcessing(false);
    QTRY_COMPARE(notifications.count("vlCorvalinServiceRefresh"), 2);
}

/// Connecting, disconnecting and calling from many threads at once leaves a client that still works.
void ServiceConnectionTest::endsOnlyOnce() {
    std::atomic<int> running{0};
    ClientsFixture fixture;
    fixture.environment.timing.reconnect = 5ms;
    fixture.apply();
    LoopbackAgent agent;
    const VLServicePtr client = fixture.manualClient(agent);
    for (int worker = 0; worker < 6; ++worker) {
        ++running;
        VLThread::detach(QStringLiteral("worker"), [client, worker, &running] {
            for (int i = 0; i < 15; ++i) {
                switch ((worker + i) % 3) {
                    case 0:
                        client->connectOnThread(nullptr);
                        break;
                    case 1:
                        client->disconnect();
                        break;
                    default:
                        client->fetchInitialConfiguration(true);
                }
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

ORLENDO_GUI_TEST_MAIN(ServiceConnectionTest)
#include "service_connection_test.moc"
