#include "clients/Discovery.h"

#include "clients/discovery/BrowserThread.h"
#include "clients/discovery/HostileAnnouncer.h"
#include "clients/discovery/NetworkHost.h"
#include "clients/discovery/PublishedAgent.h"
#include "clients/support/ClientsFixture.h"
#include "dnssd/Names.h"
#include "support/TestEnvironment.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QScopeGuard>

#include <signal.h>

#include <atomic>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using Backend = ServiceBrowser::Backend;

namespace {

constexpr auto resolveLimit = 30s;

VLNetService agentService(const QString& name) {
    return {.name = name,
            .type = QStringLiteral("_corvalin._tcp"),
            .domain = QStringLiteral("local"),
            .hostName = {},
            .port = 0,
            .addresses = {},
            .txtRecord = {}};
}

QString localHost(const QString& name) {
    return name + QStringLiteral(".local.");
}

/// Each row: a name as an agent is given it, and what must arrive at the console.
struct NameRow {
    const char* hostName;
    QString name;
    QString shown;
};

std::vector<NameRow> nameRows() {
    const QString letters(63, QLatin1Char('n'));
    const QString umlauts = QStringLiteral("ü").repeated(31);
    return {
        {"names-plain", QStringLiteral("Edit Bay 1"), QStringLiteral("Edit Bay 1")},
        {"names-dots", QStringLiteral("a.b\\c \"d\" 100%@"), QStringLiteral("a.b\\c \"d\" 100%@")},
        {"names-full", letters, letters},
        {"names-long", QString(63, QLatin1Char('m')) + QStringLiteral("more"), QString(63, QLatin1Char('m'))},
        // Avahi resolves no more of such characters.
        {"names-utf8", umlauts, umlauts.left(27)},
        {"names-cut", QStringLiteral("x") + umlauts, QStringLiteral("x") + umlauts.left(27)},
        {"names-emoji", QStringLiteral("Schnitt 🎬 東京"), QStringLiteral("Schnitt 🎬 東京")}};
}

/// Everything set for the time of one test.
class EnvironmentValue {
public:
    EnvironmentValue(const char* name, const QByteArray& value) : name_(name), old_(qgetenv(name)) {
        qputenv(name, value);
    }
    ~EnvironmentValue() { qputenv(name_, old_); }
    Q_DISABLE_COPY_MOVE(EnvironmentValue)

private:
    const char* name_;
    QByteArray old_;
};

}  // namespace

class DiscoveryTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cutsLabelsBetweenCharacters_data();
    void cutsLabelsBetweenCharacters();
    void findsAndResolvesAgents();
    void reportsAgentsThatEndUntilStopped();
    void findsAnotherNameWhereOneIsTaken();
    void believesRegisteredPortsOnTheirHostOnly();
    void keepsToLimitsAndCancels();
    void resolvesForManyThreads();
    void survivesHostileAnnouncements();
    void findsAnAgentAgainThatTookItsLeave();
    void followsTheDaemon();
    void waitsForANetwork();
    void findsAgentsOnOtherMachines();

private:
    Backend backend_ = Backend::Embedded;
};

void DiscoveryTest::initTestCase() {
    if (qgetenv("ORLENDO_TEST_BACKEND") != "daemon") return;
    backend_ = Backend::Daemon;
    if (qEnvironmentVariableIsEmpty("ORLENDO_AVAHI_COMMAND")) QSKIP("no Avahi daemon could be started here");
}

void DiscoveryTest::cutsLabelsBetweenCharacters_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("label");
    const QByteArray letters(62, 'a');
    const QString start = QString::fromLatin1(letters);
    QTest::newRow("empty") << QString() << QByteArray();
    QTest::newRow("NUL") << QStringLiteral("a") + QChar(0) + QStringLiteral("b") << QByteArray("ab");
    QTest::newRow("fits") << start + QStringLiteral("b") << letters + "b";
    QTest::newRow("two bytes") << start + QStringLiteral("é") << letters;
    QTest::newRow("four bytes") << start.left(60) + QStringLiteral("🎬") << letters.left(60);
    QTest::newRow("last fits") << start.left(59) + QStringLiteral("🎬x")
                               << letters.left(59) + "\xF0\x9F\x8E\xAC";
}

void DiscoveryTest::cutsLabelsBetweenCharacters() {
    QFETCH(QString, name);
    QTEST(dnssd::toLabel(name), "label");
}

void DiscoveryTest::findsAndResolvesAgents() {
    const auto rows = nameRows();
    BrowserThread console;
    std::vector<std::unique_ptr<PublishedAgent>> agents;
    quint16 port = 50100;
    for (const NameRow& row : rows)
        agents.push_back(std::make_unique<PublishedAgent>(
            PublishedAgent::onLoopback(row.name, QString::fromLatin1(row.hostName), port++)));

    port = 50100;
    for (size_t i = 0; i < rows.size(); ++i, ++port) {
        QVERIFY2(agents[i]->waitUntilPublished(), qPrintable(rows[i].name + agents[i]->state().error));
        QVERIFY2(console.waitForFound(rows[i].shown), qPrintable(rows[i].name));
        QCOMPARE(static_cast<int>(agents[i]->state().backend), static_cast<int>(backend_));

        const auto [service, error] = resolveNetService(agentService(rows[i].shown), resolveLimit);
        QVERIFY2(service, qPrintable(agents[i]->state().name + QStringLiteral(": ") + error));
        QVERIFY(service->isSameService(agentService(rows[i].shown)));
        QCOMPARE(service->hostName, localHost(QString::fromLatin1(rows[i].hostName)));
        QCOMPARE(service->port, port);
        QCOMPARE(service->txtRecord.value(QStringLiteral("model")), QByteArray("MacPro3,1"));
        QCOMPARE(service->txtRecord.value(QStringLiteral("name")),
                 agents[i]->state().registeredName.toUtf8());
        // The machine's other addresses lie on interfaces where the agent isn't advertised.
        QCOMPARE(service->addresses.size(), 1);
        QCOMPARE(service->addresses.first(), (VLNetAddress{QHostAddress::LocalHost, port, 0}));
    }
    QCOMPARE(console.browser().backend(), backend_);
    // Once each, though every one is seen over IPv4 and over IPv6.
    for (const NameRow& row : rows) {
        QCOMPARE(console.foundNames().count(row.shown), 1);
        QVERIFY(!console.removedNames().contains(row.shown));
    }
}

void DiscoveryTest::reportsAgentsThatEndUntilStopped() {
    BrowserThread console;
    PublishedAgent staying(
        PublishedAgent::onLoopback(QStringLiteral("Staying"), QStringLiteral("staying"), 50200));
    PublishedAgent going(PublishedAgent::onLoopback(QStringLiteral("Going"), QStringLiteral("going"), 50201));
    QVERIFY(console.waitForFound(QStringLiteral("Staying")));
    QVERIFY(console.waitForFound(QStringLiteral("Going")));
    QVERIFY(going.waitUntilPublished());
    going.stop();
    QVERIFY(!going.state().isPublished);
    QVERIFY(console.waitForRemoved(QStringLiteral("Going")));
    QVERIFY(!console.removedNames().contains(QStringLiteral("Staying")));
    QCOMPARE(console.removedNames().count(QStringLiteral("Going")), 1);

    QElapsedTimer timer;
    timer.start();
    console.stop();
    QVERIFY(timer.elapsed() < 1000);  // the slice is four seconds long
    console.browser().runFor(10s);
    QVERIFY(timer.elapsed() < 2000);
    QVERIFY(!console.removedNames().contains(QStringLiteral("Staying")));
}

void DiscoveryTest::findsAnotherNameWhereOneIsTaken() {
    auto settings = PublishedAgent::onLoopback(QStringLiteral("Twin"), QStringLiteral("twin"), 50300);
    PublishedAgent first(settings);
    QVERIFY(first.waitUntilPublished());
    settings.port = 50301;
    PublishedAgent second(settings);
    QVERIFY(second.waitUntilPublished());
    QCOMPARE(first.state().name, QStringLiteral("Twin"));
    QCOMPARE(second.state().name, QStringLiteral("Twin #2"));
    QCOMPARE(second.state().registeredName, QStringLiteral("Port of Twin #2"));

    const auto resolution = resolveNetService(agentService(second.state().name), resolveLimit);
    QVERIFY2(resolution.service, qPrintable(resolution.error));
    QCOMPARE(resolution.service->port, quint16(50301));
    QCOMPARE(resolution.service->hostName, second.state().hostName);
    // Consoles look the port up under this name.
    QCOMPARE(resolution.service->txtRecord.value(QStringLiteral("name")), QByteArray("Port of Twin #2"));
}

void DiscoveryTest::believesRegisteredPortsOnTheirHostOnly() {
    auto settings = PublishedAgent::onLoopback(QStringLiteral("Known"), QStringLiteral("known-host"), 50400);
    settings.registeredName.clear();
    PublishedAgent agent(settings);
    QVERIFY(agent.waitUntilPublished());
    const QString registeredName = agent.state().registeredName;
    QCOMPARE(registeredName, QStringLiteral("CorvalinNetClient - known-host.local."));

    for (const char* host : {"known-host.local.", "known-host.local", "Known-Host.LOCAL"}) {
        const auto port = lookUpRegisteredPort(registeredName, QString::fromLatin1(host), resolveLimit);
        QVERIFY2(port, host);
        QCOMPARE(port->host, QStringLiteral("127.0.0.1"));
        QCOMPARE(port->port, quint16(50400));
    }
    QVERIFY(!lookUpRegisteredPort(registeredName, QStringLiteral("other-host.local."), 1500ms));
    QVERIFY(
        !lookUpRegisteredPort(QStringLiteral("No such name"), QStringLiteral("known-host.local."), 300ms));
    QElapsedTimer timer;
    timer.start();
    for (const char* host : {"127.0.0.1", "fe80::1%lo", ""})
        QVERIFY2(!lookUpRegisteredPort(registeredName, QString::fromLatin1(host), 5s), host);
    QVERIFY(timer.elapsed() < 1000);  // nothing was asked
}

void DiscoveryTest::keepsToLimitsAndCancels() {
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(resolveNetService(agentService(QStringLiteral("Nobody")), 300ms).error,
             QStringLiteral("Timed out"));
    QVERIFY(timer.elapsed() >= 300 && timer.elapsed() < 3000);

    timer.restart();
    const auto cancelled = resolveNetService(agentService(QStringLiteral("Nobody")), 60s,
                                             [&timer] { return timer.elapsed() > 200; });
    QVERIFY(!cancelled.service);
    QVERIFY(timer.elapsed() < 3000);

    const auto nonsense = resolveNetService(agentService(QStringLiteral("n").repeated(64)), 5s);
    QCOMPARE(nonsense.error, QStringLiteral("Not a service name"));
    QTRY_COMPARE(VLThread::activeCount(), 0);  // the resolving thread goes when nobody waits

    VLThread::cancelAll();
    timer.restart();
    QCOMPARE(resolveNetService(agentService(QStringLiteral("Nobody")), 60s).error,
             QStringLiteral("Cancelled"));
    QVERIFY(timer.elapsed() < 3000);
    VLThread::reset();
    QCOMPARE(resolveNetService(agentService(QStringLiteral("Nobody")), 300ms).error,
             QStringLiteral("Timed out"));
}

void DiscoveryTest::resolvesForManyThreads() {
    PublishedAgent agent(
        PublishedAgent::onLoopback(QStringLiteral("Popular"), QStringLiteral("popular"), 50500));
    QVERIFY(agent.waitUntilPublished());
    std::atomic<int> successes = 0, cancelled = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 240; ++i)
        threads.emplace_back([&, i] {
            const auto isCancelled = [i] { return i % 3 == 0; };
            const auto resolution =
                resolveNetService(agentService(QStringLiteral("Popular")), resolveLimit, isCancelled);
            if (resolution.service) ++successes;
            if (resolution.error == QStringLiteral("Cancelled")) ++cancelled;
        });
    for (std::thread& thread : threads)
        thread.join();
    QVERIFY(successes >= 160);
    QCOMPARE(successes + cancelled, 240);
}

void DiscoveryTest::survivesHostileAnnouncements() {
    BrowserThread console;
    PublishedAgent honest(
        PublishedAgent::onLoopback(QStringLiteral("Honest"), QStringLiteral("honest"), 50700));
    QVERIFY(console.waitForFound(QStringLiteral("Honest")));

    HostileAnnouncer badName;
    QVERIFY(badName.isOpen());
    badName.addPointer("\xFF\xFE broken");
    QVERIFY(badName.send());

    HostileAnnouncer badHost;
    badHost.addPointer("Portless");
    badHost.addServer("Portless", "hostile", 0);
    badHost.addPointer("Bytes");
    badHost.addServer("Bytes", "hos.tile\\", 50701);
    badHost.addText("Bytes", QByteArray("\x05=none\x08model=\0\xFF\x0AMODEL=late\x00\x05"
                                        "alone",
                                        33));
    for (char last = 1; last <= 40; ++last)
        badHost.addAddress("hos.tile\\", QByteArray("\x7F\x00\x00", 3) + last);
    // Again and again, because an embedded core that starts to resolve has heard nothing before.
    std::atomic<bool> isAnnouncing = true;
    std::thread announcing([&] {
        while (isAnnouncing) {
            badHost.send();
            std::this_thread::sleep_for(200ms);
        }
    });
    const auto stopAnnouncing = qScopeGuard([&] {
        isAnnouncing = false;
        announcing.join();
    });

    HostileAnnouncer nonsense;
    nonsense.addText("Bytes", QByteArray("\xFF"
                                         "cut off"));
    nonsense.addServer("Bytes", QByteArray(200, 'x'), 1);  // no such label length: the packet can't be parsed
    QVERIFY(nonsense.send(QByteArray(100, '\xC0')));

    QVERIFY(console.waitForFound(QStringLiteral("Bytes")));
    const auto bytes = resolveNetService(agentService(QStringLiteral("Bytes")), resolveLimit);
    QVERIFY2(bytes.service, qPrintable(bytes.error));
    QCOMPARE(bytes.service->port, quint16(50701));
    QCOMPARE(bytes.service->addresses.size(), 16);
    QVERIFY(bytes.service->hostName.endsWith(QStringLiteral(".local.")));
    QCOMPARE(bytes.service->txtRecord.value(QStringLiteral("model")), QByteArray("\0\xFF", 2));
    QVERIFY(!resolveNetService(agentService(QStringLiteral("Portless")), 500ms).service);

    for (const QString& name : console.foundNames())
        QVERIFY(!name.contains(QStringLiteral("broken")));
    QVERIFY(resolveNetService(agentService(QStringLiteral("Honest")), resolveLimit).service);
}

/// It was started anew so quickly that its advertisement never went.
void DiscoveryTest::findsAnAgentAgainThatTookItsLeave() {
    const ClientsFixture fixture(1h);
    ServiceList list;
    PublishedAgent agent(
        PublishedAgent::onLoopback(QStringLiteral("Returning"), QStringLiteral("returning"), 50750));
    Discovery discovery({&list, {}, {}, {}, {}, {}});
    const auto end = qScopeGuard([&] {
        discovery.stop();
        for (const VLServicePtr& service : list.serviceArray())
            discovery.removeService(service);
    });
    const auto record = [&] { return list.serviceWithHostName(localHost(QStringLiteral("returning"))); };
    discovery.findServicesOnThread();
    QTRY_VERIFY_WITH_TIMEOUT(record(), 30'000);
    discovery.removeLeavingService(*record()->netService());
    QVERIFY(!record());
    QTRY_VERIFY_WITH_TIMEOUT(record(), 20'000);
}

void DiscoveryTest::followsTheDaemon() {
    if (backend_ != Backend::Daemon) QSKIP("for the Avahi daemon only");
    BrowserThread console;
    PublishedAgent faithful(
        PublishedAgent::onLoopback(QStringLiteral("Faithful"), QStringLiteral("faithful"), 50800));
    PublishedAgent gone(PublishedAgent::onLoopback(QStringLiteral("Gone"), QStringLiteral("gone"), 50801));
    QVERIFY(console.waitForFound(QStringLiteral("Faithful")));
    QVERIFY(console.waitForFound(QStringLiteral("Gone")));

    QFile processFile(qEnvironmentVariable("ORLENDO_AVAHI_PID_FILE"));
    QVERIFY(processFile.open(QIODevice::ReadOnly));
    const int process = processFile.readAll().trimmed().toInt();
    QVERIFY(process > 1);
    QCOMPARE(kill(process, SIGKILL), 0);
    QVERIFY(console.waitForBackend(Backend::Embedded, 30s));
    QVERIFY(!faithful.state().isPublished);
    gone.stop();

    QVERIFY(QProcess::startDetached(qEnvironmentVariable("ORLENDO_AVAHI_COMMAND"), {}));
    QVERIFY(console.waitForBackend(Backend::Daemon, 30s));
    QVERIFY2(faithful.waitUntilPublished(), qPrintable(faithful.state().error));
    QVERIFY(console.waitForRemoved(QStringLiteral("Gone")));
    // A restart isn't the end of the services that come back.
    QVERIFY(!console.removedNames().contains(QStringLiteral("Faithful")));
    QVERIFY(resolveNetService(agentService(QStringLiteral("Faithful")), resolveLimit).service);
}

void DiscoveryTest::waitsForANetwork() {
    if (backend_ != Backend::Embedded) QSKIP("for the embedded core only");
    Backend before = Backend::Daemon, after = Backend::None;
    bool couldSearch = true;
    QString error;
    const QString refusal = NetworkHost::run(QStringLiteral("lonely"), [&] {
        const auto browser = ServiceBrowser::create({});
        couldSearch = browser->searchForServices(QStringLiteral("_corvalin._tcp."), {});
        before = browser->backend();
        error = resolveNetService(agentService(QStringLiteral("Nobody")), 200ms).error;
        NetworkHost::bringLoopbackUp();
        for (int slice = 0; slice < 80 && browser->backend() == Backend::None; ++slice)
            browser->runFor(250ms);
        after = browser->backend();
    });
    if (!refusal.isEmpty()) QSKIP(qPrintable(refusal));
    QVERIFY(!couldSearch);
    QCOMPARE(before, Backend::None);
    QCOMPARE(error, QStringLiteral("Timed out"));
    QCOMPARE(after, Backend::Embedded);
}

void DiscoveryTest::findsAgentsOnOtherMachines() {
    if (backend_ != Backend::Embedded) QSKIP("for the embedded core only");
    const EnvironmentValue interfaces("CORVALIN_DISCOVERY_INTERFACES", "");
    std::atomic<int> consoleThread = 0;
    std::atomic<bool> isDone = false;
    std::atomic<bool> isWired = false;
    ServiceResolution resolution;
    std::optional<RegisteredPort> port;
    QStringList removed;
    QString refusal;

    std::thread consoleMachine([&] {
        refusal = NetworkHost::run(QStringLiteral("console-machine"), [&] {
            consoleThread = NetworkHost::threadId();
            while (!isWired && !isDone)
                std::this_thread::sleep_for(10ms);
            if (isDone) return;
            NetworkHost::command({"ip", "address", "add", "10.77.0.2/24", "dev", "cable1"});
            NetworkHost::command({"ip", "link", "set", "cable1", "up"});
            BrowserThread console;
            if (console.waitForFound(QStringLiteral("Far away"))) {
                resolution = resolveNetService(agentService(QStringLiteral("Far away")), resolveLimit);
                port = lookUpRegisteredPort(QStringLiteral("Port of Far away"),
                                            QStringLiteral("agent-machine.local"), resolveLimit);
            }
            isDone = true;
            console.waitForRemoved(QStringLiteral("Far away"));
            removed = console.removedNames();
        });
        isDone = true;
    });
    QString agentError;
    const QString agentRefusal = NetworkHost::run(QStringLiteral("agent-machine"), [&] {
        while (consoleThread == 0 && !isDone)
            std::this_thread::sleep_for(10ms);
        const QString peer = QString::number(consoleThread);
        if (!NetworkHost::command(
                {"ip", "link", "add", "cable0", "type", "veth", "peer", "name", "cable1", "netns", peer}) ||
            !NetworkHost::command({"ip", "address", "add", "10.77.0.1/24", "dev", "cable0"}) ||
            !NetworkHost::command({"ip", "link", "set", "cable0", "up"})) {
            agentError = QStringLiteral("no rights to connect two networks");
            isDone = true;
            return;
        }
        isWired = true;
        PublishedAgent agent({.name = QStringLiteral("Far away"),
                              .registeredName = QStringLiteral("Port of Far away"),
                              .model = {},
                              .port = 50900,
                              .loopbackOnly = false,
                              .hostName = {},
                              .hostAddresses = {}});
        while (!isDone)
            std::this_thread::sleep_for(10ms);
    });
    isDone = true;
    consoleMachine.join();
    for (const QString& reason : {refusal, agentRefusal, agentError})
        if (!reason.isEmpty()) QSKIP(qPrintable(reason));

    QVERIFY2(resolution.service, qPrintable(resolution.error));
    QCOMPARE(resolution.service->hostName, QStringLiteral("agent-machine.local."));
    QCOMPARE(resolution.service->addresses.first(),
             (VLNetAddress{QHostAddress(QStringLiteral("10.77.0.1")), 50900, 0}));
    for (const VLNetAddress& address : resolution.service->addresses)
        QCOMPARE(address.interfaceIndex != 0, address.address.isLinkLocal());
    QVERIFY(port);
    QCOMPARE(port->host, QStringLiteral("10.77.0.1"));
    QCOMPARE(removed, QStringList{QStringLiteral("Far away")});
}

ORLENDO_TEST_MAIN(DiscoveryTest)
#include "discovery_test.moc"
