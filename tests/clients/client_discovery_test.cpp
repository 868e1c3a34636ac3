// From what the browser reports and what the user entered to records in the list, and back out of it.

#include "clients/Discovery.h"
#include "clients/support/ClientsFixture.h"
#include "foundation/VLUserDefaults.h"

#include <QGuiApplication>

#include <condition_variable>
#include <deque>

namespace {

/// Reports what the test tells it, on the thread that runs it.
class ScriptedBrowser : public ServiceBrowser {
public:
    struct Script {
        std::mutex mutex;
        std::condition_variable changed;
        std::deque<std::function<void(const Delegate&)>> reports;
        QString searchedFor;
        bool stopped = false;

        void report(std::function<void(const Delegate&)> what) {
            const std::lock_guard lock(mutex);
            reports.push_back(std::move(what));
            changed.notify_all();
        }
        void found(const VLNetService& service) {
            report([service](const Delegate& delegate) { delegate.didFindService(service, false); });
        }
        void gone(const VLNetService& service) {
            report([service](const Delegate& delegate) { delegate.didRemoveService(service, false); });
        }
    };

    ScriptedBrowser(std::shared_ptr<Script> script, Delegate delegate)
        : m_script(std::move(script)), m_delegate(std::move(delegate)) {}
    bool searchForServices(const QString& type, const QString& domain) override {
        const std::lock_guard lock(m_script->mutex);
        m_script->searchedFor = type + u'|' + domain;
        return true;
    }
    void runFor(std::chrono::milliseconds slice) override {
        std::unique_lock lock(m_script->mutex);
        m_script->changed.wait_for(lock, slice,
                                   [&] { return m_script->stopped || !m_script->reports.empty(); });
        while (!m_script->reports.empty()) {
            const auto report = std::move(m_script->reports.front());
            m_script->reports.pop_front();
            lock.unlock();
            report(m_delegate);
            lock.lock();
        }
    }
    void stop() override {
        const std::lock_guard lock(m_script->mutex);
        m_script->stopped = true;
        m_script->changed.notify_all();
    }
    Backend backend() const override { return Backend::Daemon; }

private:
    const std::shared_ptr<Script> m_script;
    const Delegate m_delegate;
};

VLNetService resolved(const QString& name, const QString& hostName, quint16 port) {
    return {name,
            QStringLiteral("_corvalin._tcp"),
            QStringLiteral("local"),
            hostName,
            port,
            {{QHostAddress(QHostAddress::LocalHost), port, 0}},
            {}};
}

/// A console around the discovery, with a log of what it was told.
struct Console {
    Console() {
        fixture.environment.timing.reconnect = 1h;
        fixture.apply();
        VLUserDefaults::standardUserDefaults().removeObjectForKey(QStringLiteral("manualConnections"));
        const auto tell = [this](const char* what) {
            return [this, what](const VLServicePtr& service) {
                told << QString::fromLatin1(what) + u' ' + service->name();
            };
        };
        discovery = std::make_unique<Discovery>(Discovery::Environment{
            &list, nullptr, [this] { ++statusUpdates; }, tell("removed"), tell("added"), tell("endTasks")});
        discovery->setBrowser(
            [script = script](ServiceBrowser::Delegate delegate) {
                return std::make_unique<ScriptedBrowser>(script, std::move(delegate));
            },
            [this](const VLNetService& service, const std::function<bool()>& isCancelled) {
                return resolve(service, isCancelled);
            });
    }
    ~Console() {
        discovery.reset();
        for (const VLServicePtr& service : list.serviceArray())
            service->invalidate(false);
        VLThread::joinAll(20s);
    }

    ClientsFixture fixture;
    ServiceList list;
    QStringList told;
    int statusUpdates = 0;
    std::shared_ptr<ScriptedBrowser::Script> script = std::make_shared<ScriptedBrowser::Script>();
    std::function<ServiceResolution(const VLNetService&, const std::function<bool()>&)> resolve =
        [](const VLNetService& service, const std::function<bool()>&) {
            return ServiceResolution{service, {}};
        };
    std::unique_ptr<Discovery> discovery;
};

QStringList names(const ServiceList& list) {
    QStringList result;
    for (const VLServicePtr& service : list.serviceArray())
        result << service->name();
    return result;
}

}  // namespace

class ClientDiscoveryTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { VLLog::createNewLog(); }

    void findsAndLosesClients();
    void serviceThatCannotBeResolvedIsDropped();
    void serviceThatGoesWhileItIsResolved();
    void endsWhileResolving();
    void floodOfServices();
    void movedServiceReplacesItsRecord();
    void sharedHostNames();
    void callsOfTheAgentsConnect();
    void validation_data();
    void validation();
    void submitting();
    void storedEntries();
    void removingByHand();
};

void ClientDiscoveryTest::findsAndLosesClients() {
    Console console;
    console.discovery->findServicesOnThread();
    QTRY_COMPARE(console.discovery->backend(), ServiceBrowser::Backend::Daemon);
    console.discovery->findServicesOnThread();  // is browsing already
    const VLNetService bay = resolved(QStringLiteral("Bay 1"), QStringLiteral("bay-1.local."), deadPort());
    console.script->found(bay);
    console.script->found(resolved(QStringLiteral("Audio"), QStringLiteral("audio.local."), deadPort()));
    QTRY_COMPARE(names(console.list), QStringList({QStringLiteral("Audio"), QStringLiteral("Bay 1")}));
    QCOMPARE(console.script->searchedFor, QStringLiteral("_corvalin._tcp.|"));
    QCOMPARE(console.statusUpdates, 2);

    console.script->gone(bay);
    QTRY_COMPARE(names(console.list), QStringList{QStringLiteral("Audio")});
    QCOMPARE(console.told.mid(2),
             QStringList({QStringLiteral("endTasks Bay 1"), QStringLiteral("removed Bay 1")}));

    console.discovery->stop();
    const QStringList lines = logLines();
    for (const char* line :
         {"Browsing for services...", "Browser run loop started", "Service found: Bay 1",
          "Resolving Bay 1...", "Resolved Bay 1", "Service removed: Bay 1", "Browser run loop finished"})
        QCOMPARE(lines.count(QLatin1String(line)), 1);
}

void ClientDiscoveryTest::serviceThatCannotBeResolvedIsDropped() {
    Console console;
    std::atomic<bool> fails{true};
    console.resolve = [&](const VLNetService& service, const std::function<bool()>&) {
        if (fails) return ServiceResolution{std::nullopt, QStringLiteral("no answer")};
        return ServiceResolution{service, {}};
    };
    console.discovery->findServicesOnThread();
    const VLNetService bay = resolved(QStringLiteral("Bay 1"), QStringLiteral("bay-1.local."), deadPort());
    console.script->found(bay);
    QTRY_VERIFY(logLines().contains(QStringLiteral("Unable to resolve Bay 1: no answer")));
    QVERIFY(console.list.serviceArray().isEmpty());
    fails = false;
    console.script->found(bay);
    QTRY_COMPARE(console.list.serviceArray().size(), 1);
}

void ClientDiscoveryTest::serviceThatGoesWhileItIsResolved() {
    Console console;
    std::atomic<bool> resolving{false}, answered{false};
    console.resolve = [&](const VLNetService& service, const std::function<bool()>& isCancelled) {
        resolving = true;
        while (!isCancelled())
            std::this_thread::sleep_for(1ms);
        answered = true;
        return ServiceResolution{service, {}};  // the answer comes all the same
    };
    console.discovery->findServicesOnThread();
    const VLNetService bay = resolved(QStringLiteral("Bay 1"), QStringLiteral("bay-1.local."), 1025);
    console.script->found(bay);
    QTRY_VERIFY(resolving);
    console.script->gone(bay);
    QTRY_VERIFY(answered);
    QTRY_COMPARE(VLThread::activeCount(), 1);
    QTest::qWait(20);
    QVERIFY(console.list.serviceArray().isEmpty());
}

void ClientDiscoveryTest::endsWhileResolving() {
    Console console;
    std::atomic<bool> resolving{false};
    console.resolve = [&](const VLNetService& service, const std::function<bool()>& isCancelled) {
        resolving = true;
        while (!isCancelled())
            std::this_thread::sleep_for(1ms);
        return ServiceResolution{service, {}};
    };
    console.discovery->findServicesOnThread();
    console.script->found(resolved(QStringLiteral("Bay 1"), QStringLiteral("bay-1.local."), 1025));
    QTRY_VERIFY(resolving);
    console.discovery.reset();
    QVERIFY(VLThread::joinAll(10s));
    QTest::qWait(10);
    QVERIFY(console.list.serviceArray().isEmpty());
}

/// However many are announced, only so many are resolved at once; those that went meanwhile never are.
void ClientDiscoveryTest::floodOfServices() {
    constexpr int announced = 200, resolvers = 64, gone = 10;
    Console console;
    std::atomic<int> underWay{0}, done{0};
    Gate gate;
    console.resolve = [&](const VLNetService&, const std::function<bool()>&) {
        ++underWay;
        gate.wait();
        ++done;
        return ServiceResolution{std::nullopt, QStringLiteral("no answer")};
    };
    console.discovery->findServicesOnThread();
    const auto service = [](int i) {
        return resolved(QStringLiteral("Bay %1").arg(i), QStringLiteral("bay.local."), 1025);
    };
    for (int i = 0; i < announced; ++i)
        console.script->found(service(i));
    for (int i = 0; i < gone; ++i)
        console.script->gone(service(announced - 1 - i));
    QTRY_COMPARE(countLines(logLines(), QStringLiteral("Service removed: ")), gone);
    QTRY_COMPARE(underWay.load(), resolvers);
    QCOMPARE(VLThread::activeCount(), resolvers + 1);
    gate.open();
    QTRY_COMPARE(done.load(), announced - gone);
    QTRY_COMPARE(VLThread::activeCount(), 1);
}

void ClientDiscoveryTest::movedServiceReplacesItsRecord() {
    Console console;
    const VLNetService before = resolved(QStringLiteral("Bay"), QStringLiteral("bay.local."), deadPort());
    console.discovery->serviceResolved(before);
    const VLServicePtr record = console.list.serviceArray().constFirst();
    console.discovery->serviceResolved(before);
    QCOMPARE(console.list.serviceArray(), QList<VLServicePtr>{record});

    VLNetService after = before;
    after.port = deadPort();
    console.discovery->serviceResolved(after);
    QCOMPARE(console.list.serviceArray().size(), 1);
    QCOMPARE(console.list.serviceArray().constFirst()->port(), int(after.port));
    QCOMPARE(console.list.serviceArray().constFirst()->hostName(), QStringLiteral("bay.local."));
}

void ClientDiscoveryTest::sharedHostNames() {
    Console console;
    console.discovery->serviceResolved(resolved(QStringLiteral("A"), QStringLiteral("host.local."), 2001));
    console.discovery->serviceResolved(resolved(QStringLiteral("B"), QStringLiteral("host.local."), 2002));
    console.discovery->serviceResolved(resolved(QStringLiteral("C"), QStringLiteral("host.local."), 2002));
    QSet<QString> hostNames, pinNames;
    for (const VLServicePtr& service : console.list.serviceArray()) {
        hostNames << service->hostName();
        pinNames << service->pinName();
        QCOMPARE(console.list.serviceWithHostName(service->hostName()), service);
    }
    QCOMPARE(hostNames, QSet<QString>({QStringLiteral("host.local."), QStringLiteral("host.local:2002"),
                                       QStringLiteral("host.local:2002 (C)")}));
    QCOMPARE(pinNames.size(), 3);
    QCOMPARE(countLines(logLines(), QStringLiteral("Warning: ")), 2);
}

/// An agent that calls itself otherwise is found under that name as well.
void ClientDiscoveryTest::callsOfTheAgentsConnect() {
    Console console;
    LoopbackAgent agent;
    QVariantMap configuration = ScriptedRoot::goodConfiguration();
    configuration.insert(QStringLiteral("preferredHostName"), QStringLiteral("bay.local."));
    agent.root->setAnswer("fetchInitialConfiguration:", configuration);
    const VLServicePtr client =
        console.discovery->addManualConnection(QStringLiteral("Bay"), agent.address(), agent.port());
    QTRY_COMPARE(client->availableHostNames(), QStringList{QStringLiteral("bay.local.")});
    console.list.serviceChanged(client);
    QCOMPARE(console.list.serviceWithHostName(QStringLiteral("bay.local")), client);
    QCOMPARE(console.list.serviceWithHostName(client->hostName()), client);
}

void ClientDiscoveryTest::validation_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("ip");
    QTest::addColumn<QString>("port");
    QTest::addColumn<bool>("valid");
    const QString name = QStringLiteral("Bay"), ip = QStringLiteral("10.0.0.5"),
                  port = QStringLiteral("2000");
    const auto row = [](const char* tag, const QString& n, const QString& i, const QString& p, bool valid) {
        QTest::newRow(tag) << n << i << p << valid;
    };
    row("good", name, ip, port, true);
    row("no name", QString(), ip, port, false);
    row("name of 255", QString(255, u'n'), ip, port, true);
    row("name of 256", QString(256, u'n'), ip, port, false);
    row("localhost", name, QStringLiteral("localhost"), port, true);
    row("other name", name, QStringLiteral("localhosts"), port, false);
    row("6 characters", name, QStringLiteral("1.2.3."), port, false);
    row("shortest", name, QStringLiteral("1.2.3.4"), port, true);
    row("longest", name, QStringLiteral("100.100.100.100"), port, true);
    row("16 characters", name, QStringLiteral("100.100.100.1000"), port, false);
    row("no range check", name, QStringLiteral("300.1.1.1"), port, true);
    row("negative part", name, QStringLiteral("-1.1.1.1"), port, true);
    row("leading zero", name, QStringLiteral("01.2.3.4"), port, false);
    row("letters", name, QStringLiteral("a.b.c.d"), port, false);
    row("three parts", name, QStringLiteral("100.200.3"), port, false);
    row("five parts", name, QStringLiteral("1.2.3.4.5"), port, false);
    row("empty part", name, QStringLiteral("10..0.50"), port, false);
    row("space", name, QStringLiteral(" 1.2.3.4"), port, false);
    row("port 1024", name, ip, QStringLiteral("1024"), false);
    row("port 1025", name, ip, QStringLiteral("1025"), true);
    row("port 65535", name, ip, QStringLiteral("65535"), true);
    row("port 65536", name, ip, QStringLiteral("65536"), false);
    row("no port", name, ip, QString(), false);
    row("port text", name, ip, QStringLiteral("http"), false);
    row("port far too high", name, ip, QStringLiteral("99999999999999"), false);
}

void ClientDiscoveryTest::validation() {
    QFETCH(QString, name);
    QFETCH(QString, ip);
    QFETCH(QString, port);
    QTEST(ManualConnections::validateManualConnectionSettings(name, ip, port), "valid");
}

void ClientDiscoveryTest::submitting() {
    Console console;
    const ManualConnections::Entry first{QStringLiteral("One"), QStringLiteral("127.0.0.1"), 2001};
    const ManualConnections::Entry second{QStringLiteral("Two"), QStringLiteral("127.0.0.1"), 2002};
    QVERIFY(console.discovery->submitManualConnection(first));
    QVERIFY(console.discovery->submitManualConnection(second));  // same address, other port
    QVERIFY(!console.discovery->submitManualConnection({QStringLiteral("Again"), first.ip, first.port}));
    QCOMPARE(ManualConnections::stored(), QList<ManualConnections::Entry>({first, second}));
    QCOMPARE(names(console.list), QStringList({QStringLiteral("One"), QStringLiteral("Two")}));
    const QList<VLServicePtr> services = console.list.serviceArray();
    QVERIFY(services[0]->hostName() != services[1]->hostName());
    QVERIFY(services[0]->pinName() != services[1]->pinName());

    Console next;  // forgets the stored ones, so they are stored anew
    ManualConnections::append(first);
    ManualConnections::append(second);
    next.discovery->processManualConnections();
    QCOMPARE(names(next.list), QStringList({QStringLiteral("One"), QStringLiteral("Two")}));
}

void ClientDiscoveryTest::storedEntries() {
    Console console;
    const auto entry = [](const QVariant& name, const QVariant& ip, const QVariant& port) {
        return QVariantMap{
            {QStringLiteral("name"), name}, {QStringLiteral("ip"), ip}, {QStringLiteral("port"), port}};
    };
    const QString ip = QStringLiteral("10.0.0.1");
    auto& defaults = VLUserDefaults::standardUserDefaults();
    const QVariantList stored{entry(QStringLiteral("Good"), ip, 2001LL),
                              entry(7LL, ip, 2001LL),
                              entry(QStringLiteral("A"), QVariantList(), 2001LL),
                              entry(QStringLiteral("B"), ip, QStringLiteral("2001")),
                              entry(QStringLiteral("C"), ip, 0LL),
                              entry(QStringLiteral("D"), ip, 65536LL),
                              QStringLiteral("E"),
                              QVariantMap(),
                              entry(QStringLiteral("Real"), ip, 2002.0)};
    defaults.setObject(stored, QStringLiteral("manualConnections"));
    const QList<ManualConnections::Entry> entries = ManualConnections::stored();
    QCOMPARE(entries.size(), 2);
    QCOMPARE(entries[1].port, 2002);
    QCOMPARE(countLines(logLines(), QStringLiteral("A stored manual connection is not usable: ")), 7);

    ManualConnections::remove(ip, 2001);
    QCOMPARE(defaults.arrayForKey(QStringLiteral("manualConnections")).size(), stored.size() - 1);
    defaults.setObject(QStringLiteral("no list"), QStringLiteral("manualConnections"));
    QVERIFY(ManualConnections::stored().isEmpty());
}

void ClientDiscoveryTest::removingByHand() {
    Console console;
    LoopbackAgent agent;
    QVERIFY(
        console.discovery->submitManualConnection({QStringLiteral("Manual"), agent.address(), agent.port()}));
    console.discovery->serviceResolved(
        resolved(QStringLiteral("Found"), QStringLiteral("found.local."), agent.port()));
    const QList<VLServicePtr> services = console.list.serviceArray();
    for (const VLServicePtr& service : services)
        QTRY_VERIFY(service->isConnected());

    for (const VLServicePtr& service : services)
        console.discovery->removeService(service);
    QVERIFY(console.list.serviceArray().isEmpty());
    QVERIFY(ManualConnections::stored().isEmpty());
    QTRY_COMPARE(VLThread::activeCount(), 0);
    QTRY_COMPARE(agent.connectionCount(), 0);
    QCOMPARE(console.told.count(QStringLiteral("removed Manual")), 1);
    QCOMPARE(console.told.count(QStringLiteral("removed Found")), 1);
}

ORLENDO_GUI_TEST_MAIN(ClientDiscoveryTest)
#include "client_discovery_test.moc"
