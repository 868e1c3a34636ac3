#include "clients/discovery/BrowserThread.h"
#include "clients/discovery/HostileAnnouncer.h"
#include "clients/discovery/NetworkHost.h"
#include "clients/discovery/PublishedAgent.h"
#include "clients/support/ClientsFixture.h"
#include "dnssd/Names.h"
#include "support/TestFiles.h"

#include <QElapsedTimer>
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
    VLNetService service;
    service.name = name;
    service.type = u"_corvalin._tcp"_s;
    service.domain = u"local"_s;
    return service;
}

QString localHost(const QString& name) {
    return name + u".local."_s;
}

/// Each row: a name as an agent is given it, and what must arrive at the console.
struct NameRow {
    const char* hostName;
    QString name, shown;
};

std::vector<NameRow> nameRows() {
    const QString plain = u"a.b\\c \"d\" 100%@"_s, emoji = u"Schnitt 🎬 東京"_s,
                  umlauts = u"x"_s + u"ü"_s.repeated(31);
    return {{"names-plain", plain, plain},
            {"names-long", QString(63, u'm') + u"more"_s, QString(63, u'm')},
            {"names-cut", umlauts, umlauts.left(28)},  // Avahi resolves no more of such characters
            {"names-emoji", emoji, emoji}};
}

ServiceResolution resolve(const QString& name, std::chrono::milliseconds limit = resolveLimit) {
    return resolveNetService(agentService(name), limit);
}

}  // namespace

class DiscoveryTest : public QObject {
    Q_OBJECT

    Backend backend_ = Backend::Embedded;

private Q_SLOTS:

    void initTestCase() {
        if (qgetenv("ORLENDO_TEST_BACKEND") != "daemon") return;
        backend_ = Backend::Daemon;
        if (qEnvironmentVariableIsEmpty("ORLENDO_AVAHI_COMMAND"))
            QSKIP("no Avahi daemon could be started here");
    }

    void cutsLabelsBetweenCharacters() {
        const QByteArray letters(62, 'a');
        const QString start = QString::fromLatin1(letters);
        QCOMPARE(dnssd::toLabel(QString()), QByteArray());
        QCOMPARE(dnssd::toLabel(u"a\0b"_s), QByteArray("ab"));
        QCOMPARE(dnssd::toLabel(start + u"b"_s), letters + "b");
        QCOMPARE(dnssd::toLabel(start + u"é"_s), letters);
        QCOMPARE(dnssd::toLabel(start.left(60) + u"🎬"_s), letters.left(60));
        QCOMPARE(dnssd::toLabel(start.left(59) + u"🎬x"_s), letters.left(59) + "\xF0\x9F\x8E\xAC");
    }

    void findsAndResolvesAgents() {
        const auto rows = nameRows();
        BrowserThread console;
        std::vector<std::unique_ptr<PublishedAgent>> agents;
        quint16 port = 50100;
        for (const NameRow& row : rows)
            agents.push_back(
                std::make_unique<PublishedAgent>(row.name, QString::fromLatin1(row.hostName), port++));

        port = 50100;
        for (size_t i = 0; i < rows.size(); ++i, ++port) {
            QVERIFY2(agents[i]->waitUntilPublished(), qPrintable(rows[i].name + agents[i]->state().error));
            QVERIFY2(console.waitForFound(rows[i].shown), qPrintable(rows[i].name));
            QCOMPARE(static_cast<int>(agents[i]->state().backend), static_cast<int>(backend_));

            const auto [service, error] = resolve(rows[i].shown);
            QVERIFY2(service, qPrintable(agents[i]->state().name + u": "_s + error));
            QVERIFY(service->isSameService(agentService(rows[i].shown)));
            QCOMPARE(service->hostName, localHost(QString::fromLatin1(rows[i].hostName)));
            QCOMPARE(service->port, port);
            QCOMPARE(service->txtRecord.value(u"model"_s), QByteArray("MacPro3,1"));
            QCOMPARE(service->txtRecord.value(u"name"_s), agents[i]->state().registeredName.toUtf8());
            // The machine's other addresses lie on interfaces where the agent isn't advertised.
            QCOMPARE(service->addresses, (QList{VLNetAddress{QHostAddress::LocalHost, port, 0}}));
        }
        QCOMPARE(console.browser().backend(), backend_);
        // Once each, though every one is seen over IPv4 and over IPv6.
        for (const NameRow& row : rows) {
            QCOMPARE(console.foundNames().count(row.shown), 1);
            QVERIFY(!console.removedNames().contains(row.shown));
        }
    }

    void reportsAgentsThatEndUntilStopped() {
        BrowserThread console;
        PublishedAgent staying(u"Staying"_s, u"staying"_s, 50200);
        PublishedAgent going(u"Going"_s, u"going"_s, 50201);
        QVERIFY(console.waitForFound(u"Staying"_s));
        QVERIFY(console.waitForFound(u"Going"_s));
        QVERIFY(going.waitUntilPublished());
        going.stop();
        QVERIFY(!going.state().isPublished);
        QVERIFY(console.waitForRemoved(u"Going"_s));
        QVERIFY(!console.removedNames().contains(u"Staying"_s));
        QCOMPARE(console.removedNames().count(u"Going"_s), 1);

        QElapsedTimer timer;
        timer.start();
        console.stop();
        QVERIFY(timer.elapsed() < 1000);  // the slice is four seconds long
        console.browser().runFor(10s);
        QVERIFY(timer.elapsed() < 2000);
        QVERIFY(!console.removedNames().contains(u"Staying"_s));
    }

    void findsAnotherNameWhereOneIsTaken() {
        auto settings = PublishedAgent::onLoopback(u"Twin"_s, u"twin"_s, 50300);
        PublishedAgent first(settings);
        QVERIFY(first.waitUntilPublished());
        settings.port = 50301;
        PublishedAgent second(settings);
        QVERIFY(second.waitUntilPublished());
        QCOMPARE(first.state().name, u"Twin"_s);
        QCOMPARE(second.state().name, u"Twin #2"_s);
        QCOMPARE(second.state().registeredName, u"Port of Twin #2"_s);

        const auto resolution = resolve(second.state().name);
        QVERIFY2(resolution.service, qPrintable(resolution.error));
        QCOMPARE(resolution.service->port, quint16(50301));
        QCOMPARE(resolution.service->hostName, second.state().hostName);
        // Consoles look the port up under this name.
        QCOMPARE(resolution.service->txtRecord.value(u"name"_s), QByteArray("Port of Twin #2"));
    }

    void believesRegisteredPortsOnTheirHostOnly() {
        auto settings = PublishedAgent::onLoopback(u"Known"_s, u"known-host"_s, 50400);
        settings.registeredName.clear();
        PublishedAgent agent(settings);
        QVERIFY(agent.waitUntilPublished());
        const QString registeredName = agent.state().registeredName;
        QCOMPARE(registeredName, u"CorvalinNetClient - known-host.local."_s);

        for (const char* host : {"known-host.local.", "known-host.local", "Known-Host.LOCAL"}) {
            const auto port = lookUpRegisteredPort(registeredName, QString::fromLatin1(host), resolveLimit);
            QVERIFY2(port, host);
            QCOMPARE(port->host, u"127.0.0.1"_s);
            QCOMPARE(port->port, quint16(50400));
        }
        QVERIFY(!lookUpRegisteredPort(registeredName, u"other-host.local."_s, 1500ms));
        QVERIFY(!lookUpRegisteredPort(u"No such name"_s, u"known-host.local."_s, 300ms));
        QElapsedTimer timer;
        timer.start();
        for (const char* host : {"127.0.0.1", "fe80::1%lo", ""})
            QVERIFY2(!lookUpRegisteredPort(registeredName, QString::fromLatin1(host), 5s), host);
        QVERIFY(timer.elapsed() < 1000);  // nothing was asked
    }

    void keepsToLimitsAndCancels() {
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(resolve(u"Nobody"_s, 300ms).error, u"Timed out"_s);
        QVERIFY(timer.elapsed() >= 300 && timer.elapsed() < 3000);

        timer.restart();
        const auto cancelled =
            resolveNetService(agentService(u"Nobody"_s), 60s, [&timer] { return timer.elapsed() > 200; });
        QVERIFY(!cancelled.service);
        QVERIFY(timer.elapsed() < 3000);

        const auto nonsense = resolve(u"n"_s.repeated(64), 5s);
        QCOMPARE(nonsense.error, u"Not a service name"_s);
        QTRY_COMPARE(VLThread::activeCount(), 0);  // the resolving thread goes when nobody waits

        VLThread::cancelAll();
        timer.restart();
        QCOMPARE(resolve(u"Nobody"_s, 60s).error, u"Cancelled"_s);
        QVERIFY(timer.elapsed() < 3000);
        VLThread::reset();
        QCOMPARE(resolve(u"Nobody"_s, 300ms).error, u"Timed out"_s);
    }

    void resolvesForManyThreads() {
        PublishedAgent agent(u"Popular"_s, u"popular"_s, 50500);
        QVERIFY(agent.waitUntilPublished());
        std::atomic<int> successes = 0, cancelled = 0;
        std::vector<std::thread> threads;
        for (int i = 0; i < 240; ++i)
            threads.emplace_back([&, i] {
                const auto isCancelled = [i] { return i % 3 == 0; };
                const auto resolution =
                    resolveNetService(agentService(u"Popular"_s), resolveLimit, isCancelled);
                if (resolution.service) ++successes;
                if (resolution.error == u"Cancelled"_s) ++cancelled;
            });
        for (std::thread& thread : threads)
            thread.join();
        QVERIFY(successes >= 160);
        QCOMPARE(successes + cancelled, 240);
    }

    void survivesHostileAnnouncements() {
        BrowserThread console;
        PublishedAgent honest(u"Honest"_s, u"honest"_s, 50700);
        QVERIFY(console.waitForFound(u"Honest"_s));

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
        nonsense.addServer("Bytes", QByteArray(200, 'x'),
                           1);  // no such label length: the packet can't be parsed
        QVERIFY(nonsense.send(QByteArray(100, '\xC0')));

        QVERIFY(console.waitForFound(u"Bytes"_s));
        const auto bytes = resolve(u"Bytes"_s);
        QVERIFY2(bytes.service, qPrintable(bytes.error));
        QCOMPARE(bytes.service->port, quint16(50701));
        QCOMPARE(bytes.service->addresses.size(), 16);
        QVERIFY(bytes.service->hostName.endsWith(u".local."_s));
        QCOMPARE(bytes.service->txtRecord.value(u"model"_s), QByteArray("\0\xFF", 2));
        QVERIFY(!resolve(u"Portless"_s, 500ms).service);

        for (const QString& name : console.foundNames())
            QVERIFY(!name.contains(u"broken"_s));
        QVERIFY(resolve(u"Honest"_s).service);
    }

    void followsTheDaemon() {
        if (backend_ != Backend::Daemon) QSKIP("for the Avahi daemon only");
        BrowserThread console;
        PublishedAgent faithful(u"Faithful"_s, u"faithful"_s, 50800);
        PublishedAgent gone(u"Gone"_s, u"gone"_s, 50801);
        QVERIFY(console.waitForFound(u"Faithful"_s));
        QVERIFY(console.waitForFound(u"Gone"_s));

        const int process = contentsOf(qEnvironmentVariable("ORLENDO_AVAHI_PID_FILE")).trimmed().toInt();
        QVERIFY(process > 1);
        QCOMPARE(kill(process, SIGKILL), 0);
        QVERIFY(console.waitForBackend(Backend::Embedded));
        QVERIFY(!faithful.state().isPublished);
        gone.stop();

        QVERIFY(QProcess::startDetached(qEnvironmentVariable("ORLENDO_AVAHI_COMMAND"), {}));
        QVERIFY(console.waitForBackend(Backend::Daemon));
        QVERIFY2(faithful.waitUntilPublished(), qPrintable(faithful.state().error));
        QVERIFY(console.waitForRemoved(u"Gone"_s));
        // A restart isn't the end of the services that come back.
        QVERIFY(!console.removedNames().contains(u"Faithful"_s));
        QVERIFY(resolve(u"Faithful"_s).service);
    }

    void findsAgentsOnOtherMachines() {
        if (backend_ != Backend::Embedded) QSKIP("for the embedded core only");
        const QByteArray interfaces = qgetenv("CORVALIN_DISCOVERY_INTERFACES");
        const auto restore = qScopeGuard([&] { qputenv("CORVALIN_DISCOVERY_INTERFACES", interfaces); });
        qputenv("CORVALIN_DISCOVERY_INTERFACES", "");
        std::atomic<int> consoleThread = 0;
        std::atomic<bool> isDone = false;
        std::atomic<bool> isWired = false;
        ServiceResolution resolution;
        std::optional<RegisteredPort> port;
        QStringList removed;
        QString refusal;

        std::thread consoleMachine([&] {
            refusal = NetworkHost::run(u"console-machine"_s, [&] {
                consoleThread = NetworkHost::threadId();
                while (!isWired && !isDone)
                    std::this_thread::sleep_for(10ms);
                if (isDone) return;
                NetworkHost::command({"ip", "address", "add", "10.77.0.2/24", "dev", "cable1"});
                NetworkHost::command({"ip", "link", "set", "cable1", "up"});
                BrowserThread console;
                if (console.waitForFound(u"Far away"_s)) {
                    resolution = resolve(u"Far away"_s);
                    port =
                        lookUpRegisteredPort(u"Port of Far away"_s, u"agent-machine.local"_s, resolveLimit);
                }
                isDone = true;
                console.waitForRemoved(u"Far away"_s);
                removed = console.removedNames();
            });
            isDone = true;
        });
        QString agentError;
        const QString agentRefusal = NetworkHost::run(u"agent-machine"_s, [&] {
            while (consoleThread == 0 && !isDone)
                std::this_thread::sleep_for(10ms);
            const QString peer = QString::number(consoleThread);
            if (!NetworkHost::command({"ip", "link", "add", "cable0", "type", "veth", "peer", "name",
                                       "cable1", "netns", peer}) ||
                !NetworkHost::command({"ip", "address", "add", "10.77.0.1/24", "dev", "cable0"}) ||
                !NetworkHost::command({"ip", "link", "set", "cable0", "up"})) {
                agentError = u"no rights to connect two networks"_s;
                isDone = true;
                return;
            }
            isWired = true;
            PublishedAgent agent({.name = u"Far away"_s,
                                  .registeredName = u"Port of Far away"_s,
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
        QCOMPARE(resolution.service->hostName, u"agent-machine.local."_s);
        QCOMPARE(resolution.service->addresses.first(),
                 (VLNetAddress{QHostAddress(u"10.77.0.1"_s), 50900, 0}));
        for (const VLNetAddress& address : resolution.service->addresses)
            QCOMPARE(address.interfaceIndex != 0, address.address.isLinkLocal());
        QVERIFY(port);
        QCOMPARE(port->host, u"10.77.0.1"_s);
        QCOMPARE(removed, QStringList{u"Far away"_s});
    }
};

ORLENDO_TEST_MAIN(DiscoveryTest)
#include "discovery_test.moc"
