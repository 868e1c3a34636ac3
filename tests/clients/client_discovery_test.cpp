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
        std::deque<std::pair<VLNetService, bool>> reports;  ///< what, and whether it is there
        QString searchedFor;
        bool stopped = false;

        void report(const VLNetService& service, bool isThere) {
            const std::lock_guard lock(mutex);
            reports.emplace_back(service, isThere);
            changed.notify_all();
        }
        void found(const VLNetService& service) { report(service, true); }
        void gone(const VLNetService& service) { report(service, false); }
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
            const auto [service, isThere] = m_script->reports.front();
            m_script->reports.pop_front();
            lock.unlock();
            (isThere ? m_delegate.didFindService : m_delegate.didRemoveService)(service, false);
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

/// A console around the discovery, with a log of what it was told.
struct Console {
    Console() {
        VLUserDefaults::standardUserDefaults().removeObjectForKey(u"manualConnections"_s);
        const auto tell = [this](const char* what) {
            return [this, what](const VLServicePtr& service) {
                told << QString::fromLatin1(what) + u' ' + service->name();
            };
        };
        discovery = std::make_unique<Discovery>(
            Discovery::Environment{&list, nullptr, [] {}, tell("removed"), tell("added"),
                                   [this, endTasks = tell("endTasks")](const VLServicePtr& service) {
                                       endTasks(service);
                                       if (const auto now = std::exchange(meanwhile, nullptr)) now();
                                   }});
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

    ClientsFixture fixture{1h};
    ServiceList list;
    QStringList told;
    std::function<void()> meanwhile;  ///< what comes in while a client is removed, once
    std::shared_ptr<ScriptedBrowser::Script> script = std::make_shared<ScriptedBrowser::Script>();
    std::function<ServiceResolution(const VLNetService&, const std::function<bool()>&)> resolve =
        [](const VLNetService& service, const std::function<bool()>&) {
            return ServiceResolution{service, {}};
        };
    std::unique_ptr<Discovery> discovery;
};

}  // namespace

class ClientDiscoveryTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { startNewLog(); }

    void findsAndLosesClients() {
        Console console;
        console.discovery->findServicesOnThread();
        QTRY_COMPARE(console.discovery->backend(), ServiceBrowser::Backend::Daemon);
        console.discovery->findServicesOnThread();  // is browsing already
        const VLNetService bay = netService("Bay 1", "bay-1.local.", deadPort());
        console.script->found(bay);
        console.script->found(netService("Audio", "audio.local.", deadPort()));
        QTRY_COMPARE(names(console.list.serviceArray()), QStringList({u"Audio"_s, u"Bay 1"_s}));
        QCOMPARE(console.script->searchedFor, u"_corvalin._tcp.|"_s);

        console.script->gone(bay);
        QTRY_COMPARE(names(console.list.serviceArray()), QStringList{u"Audio"_s});
        QCOMPARE(console.told.mid(2), QStringList({u"endTasks Bay 1"_s, u"removed Bay 1"_s}));

        console.discovery->stop();
        const QStringList lines = logLines();
        for (const char* line :
             {"Browsing for services...", "Browser run loop started", "Service found: Bay 1",
              "Resolving Bay 1...", "Resolved Bay 1", "Service removed: Bay 1", "Browser run loop finished"})
            QCOMPARE(lines.count(QLatin1String(line)), 1);
    }

    /// The answer comes all the same, and is dropped.
    void goneWhileItIsResolved() {
        for (const bool ends : {false, true}) {
            Console console;
            std::atomic<bool> resolving{false};
            console.resolve = [&](const VLNetService& service, const std::function<bool()>& isCancelled) {
                resolving = true;
                while (!isCancelled())
                    std::this_thread::sleep_for(1ms);
                return ServiceResolution{service, {}};
            };
            console.discovery->findServicesOnThread();
            const VLNetService bay = netService("Bay 1", "bay-1.local.", 1025);
            console.script->found(bay);
            QTRY_VERIFY(resolving);
            if (ends)
                console.discovery.reset();
            else
                console.script->gone(bay);
            QTRY_COMPARE(VLThread::activeCount(), ends ? 0 : 1);
            QTest::qWait(20);
            QVERIFY(console.list.serviceArray().isEmpty());
        }
    }

    /// However many are announced, only so many are resolved at once; those that went meanwhile never are.
    void floodOfServices() {
        constexpr int announced = 200, resolvers = 64, gone = 10;
        Console console;
        std::atomic<int> underWay{0}, done{0};
        Gate gate;
        console.resolve = [&, wait = gate.waiter()](const VLNetService&, const std::function<bool()>&) {
            ++underWay;
            wait();
            ++done;
            return ServiceResolution{std::nullopt, u"no answer"_s};
        };
        console.discovery->findServicesOnThread();
        const auto service = [](int i) { return netService(u"Bay %1"_s.arg(i), u"bay.local."_s, 1025); };
        for (int i = 0; i < announced; ++i)
            console.script->found(service(i));
        for (int i = 0; i < gone; ++i)
            console.script->gone(service(announced - 1 - i));
        QTRY_COMPARE(countLines(logLines(), u"Service removed: "_s), gone);
        QTRY_COMPARE(underWay.load(), resolvers);
        QCOMPARE(VLThread::activeCount(), resolvers + 1);
        gate.open();
        QTRY_COMPARE(done.load(), announced - gone);
        QTRY_COMPARE(VLThread::activeCount(), 1);
        QCOMPARE(logLines().filter(u": no answer"_s).size(), announced - gone);
        QVERIFY(console.list.serviceArray().isEmpty());
    }

    /// Ending the old connection serves the hand-off queue: more news of the service may be in it.
    void newsWhileARecordIsReplaced() {
        for (const bool goes : {false, true}) {
            Console console;
            const VLNetService before = netService("Bay", "bay.local.", deadPort());
            VLNetService after = before;
            after.port = deadPort();
            for (int i = 0; i < 2; ++i)
                console.discovery->serviceResolved(before);
            QCOMPARE(console.list.serviceArray().size(), 1);
            console.meanwhile = [&] {
                if (goes)
                    console.discovery->removeNetService(after);
                else
                    console.discovery->serviceResolved(after);
            };
            console.discovery->serviceResolved(after);
            QCOMPARE(console.list.serviceArray().size(), goes ? 0 : 1);
            if (!goes) QCOMPARE(console.list.serviceArray().constFirst()->port(), int(after.port));
            QCOMPARE(console.told.count(u"endTasks Bay"_s), 1);
            QCOMPARE(console.told.count(u"removed Bay"_s), 1);
        }
    }

    /// An agent that takes its leave and is back before its advertisement has gone is reported by nobody.
    void leavingClientIsLookedForAgain() {
        Console console;
        console.discovery->findServicesOnThread();
        const VLNetService bay = netService("Bay", "bay.local.", deadPort()),
                           audio = netService("Audio", "audio.local.", deadPort());
        console.script->found(bay);
        console.script->found(audio);
        QTRY_COMPARE(console.list.serviceArray().size(), 2);
        console.resolve = [&](const VLNetService& service, const std::function<bool()>&) {
            return ServiceResolution{service.name == bay.name ? bay : audio, {}};
        };
        for (const VLNetService& leaving : {audio, bay})
            console.discovery->removeLeavingService(leaving);
        console.script->gone(audio);
        QVERIFY(console.list.serviceArray().isEmpty());
        QTRY_COMPARE(names(console.list.serviceArray()), QStringList{u"Bay"_s});
        QTest::qWait(50);
        QCOMPARE(countLines(logLines(), u"Resolving Audio..."_s), 1);
    }

    void sharedHostNames() {
        Console console;
        console.discovery->serviceResolved(netService("A", "host.local.", 2001));
        console.discovery->serviceResolved(netService("B", "host.local.", 2002));
        console.discovery->serviceResolved(netService("C", "host.local.", 2002));
        QSet<QString> hostNames, pinNames;
        for (const VLServicePtr& service : console.list.serviceArray()) {
            hostNames << service->hostName();
            pinNames << service->pinName();
            QCOMPARE(console.list.serviceWithHostName(service->hostName()), service);
        }
        QCOMPARE(hostNames,
                 QSet<QString>({u"host.local."_s, u"host.local:2002"_s, u"host.local:2002 (C)"_s}));
        QCOMPARE(pinNames.size(), 3);
        QCOMPARE(countLines(logLines(), u"Warning: "_s), 2);
    }

    void enteringByHand() {
        const auto isValid = [](const QString& name, const QString& ip, const QString& port) {
            return ManualConnections::validateManualConnectionSettings(name, ip, port);
        };
        const QString name = "Bay", ip = "10.0.0.5", port = "2000";
        QVERIFY(isValid(QString(255, u'n'), ip, port));
        QVERIFY(!isValid({}, ip, port) && !isValid(QString(256, u'n'), ip, port));
        // The range of the numbers is not checked.
        for (const char* good : {"localhost", "1.2.3.4", "100.100.100.100", "300.1.1.1", "-1.1.1.1"})
            QVERIFY2(isValid(name, good, port), good);
        for (const char* bad : {"", "localhosts", "1.2.3.", "100.100.100.1000", "01.2.3.4", "a.b.c.d",
                                "100.200.3", "1.2.3.4.5", "10..0.50", " 1.2.3.4"})
            QVERIFY2(!isValid(name, bad, port), bad);
        QVERIFY(isValid(name, ip, "1025") && isValid(name, ip, "65535"));
        for (const char* bad : {"", "1024", "65536", "http", "99999999999999"})
            QVERIFY2(!isValid(name, ip, bad), bad);

        Console console;
        const ManualConnections::Entry first{u"One"_s, u"127.0.0.1"_s, 2001};
        const ManualConnections::Entry second{u"Two"_s, u"127.0.0.1"_s, 2002};
        QVERIFY(console.discovery->submitManualConnection(first));
        QVERIFY(console.discovery->submitManualConnection(second));  // same address, other port
        QVERIFY(!console.discovery->submitManualConnection({u"Again"_s, first.ip, first.port}));
        QCOMPARE(ManualConnections::stored(), QList<ManualConnections::Entry>({first, second}));
        QCOMPARE(names(console.list.serviceArray()), QStringList({u"One"_s, u"Two"_s}));
        const QList<VLServicePtr> services = console.list.serviceArray();
        QVERIFY(services[0]->hostName() != services[1]->hostName());
        QVERIFY(services[0]->pinName() != services[1]->pinName());

        Console next;  // forgets the stored ones, so they are stored anew
        for (const auto& entry : {first, second, {u"One again"_s, first.ip, first.port}})
            ManualConnections::append(entry);
        next.discovery->processManualConnections();
        QCOMPARE(names(next.list.serviceArray()), QStringList({u"One"_s, u"Two"_s}));
    }

    void storedEntries() {
        Console console;
        const QString ip = u"10.0.0.1"_s;
        const auto entry = [&](const QVariant& name, const QVariant& port) {
            return QVariantMap{{u"name"_s, name}, {u"ip"_s, ip}, {u"port"_s, port}};
        };
        auto& defaults = VLUserDefaults::standardUserDefaults();
        const QVariantList stored{entry("Good", 2001LL), entry(7LL, 2001LL),   entry("B", u"2001"_s),
                                  entry("C", 0LL),       entry("D", 65536LL),  u"E"_s,
                                  QVariantMap(),         entry("Real", 2002.0)};
        defaults.setObject(stored, u"manualConnections"_s);
        const QList<ManualConnections::Entry> entries = ManualConnections::stored();
        QCOMPARE(entries.size(), 2);
        QCOMPARE(entries[1].port, 2002);
        QCOMPARE(countLines(logLines(), u"A stored manual connection is not usable: "_s), 6);

        ManualConnections::remove(ip, 2001);
        QCOMPARE(defaults.arrayForKey(u"manualConnections"_s).size(), stored.size() - 1);
        defaults.setObject(u"no list"_s, u"manualConnections"_s);
        QVERIFY(ManualConnections::stored().isEmpty());
    }

    void removingByHand() {
        Console console;
        LoopbackAgent agent;
        QVERIFY(console.discovery->submitManualConnection({u"Manual"_s, agent.address(), agent.port()}));
        console.discovery->serviceResolved(netService("Found", "found.local.", agent.port()));
        QVERIFY(logLines().contains(
            u"Warning: Found has the address and port of Manual, which is listed already."_s));
        const QList<VLServicePtr> services = console.list.serviceArray();
        for (const VLServicePtr& service : services)
            QTRY_VERIFY(service->isConnected());

        for (const VLServicePtr& service : services)
            console.discovery->removeService(service);
        QVERIFY(console.list.serviceArray().isEmpty());
        QVERIFY(ManualConnections::stored().isEmpty());
        QTRY_COMPARE(VLThread::activeCount(), 0);
        QTRY_COMPARE(agent.connectionCount(), 0);
        for (const QString line : {"removed Manual", "removed Found"})
            QCOMPARE(console.told.count(line), 1);
    }
};

ORLENDO_GUI_TEST_MAIN(ClientDiscoveryTest)
#include "client_discovery_test.moc"
