#include "app/AppController.h"
#include "base/VLBundle.h"
#include "clients/support/LoopbackAgent.h"
#include "foundation/VLNotificationCenter.h"
#include "support/SampleService.h"
#include "support/TestEnvironment.h"
#include "support/TestTable.h"
#include "support/Workers.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QSignalSpy>
#include <QTest>

using namespace std::chrono_literals;

namespace {

/// A tool that counts its refreshes.
class CountingTool : public ToolController {
public:
    using ToolController::ToolController;
    void refresh() override { ++refreshes; }
    void clearData() override { ++clearings; }
    ToolReport report() const override { return {}; }
    std::atomic<int> refreshes{0};
    int clearings = 0;
};

QList<Tool> testTools() {
    Tool counting;
    counting.identifier = u"addonry"_s;
    counting.refreshInterval = 60;
    counting.makeController = [](const ToolContext& context) {
        return std::make_unique<CountingTool>(context);
    };
    Tool listed;
    listed.identifier = u"cronwell"_s;
    return {counting, listed};
}

QString defaultsPath;

VLUserDefaults& defaults() {
    return VLUserDefaults::standardUserDefaults();
}

}  // namespace

class AppControllerTest : public QObject {
    Q_OBJECT

    std::unique_ptr<AppController> m_controller;
    QStringList m_events;
    std::atomic<int> m_updateChecks{0};
    bool m_isAdministrator = false;
    std::function<void()> m_whileAsked;  ///< what happens while the administrator is asked for a password

    void makeController() {
        AppServices services;
        services.startFaultpost = [this] { return m_events.append(u"start"_s), true; };
        services.stopFaultpost = [this] { m_events.append(u"stop"_s); };
        services.authStart = [this] {
            m_events.append(u"auth"_s);
            if (m_whileAsked) m_whileAsked();
            return m_isAdministrator;
        };
        services.checkForUpdatesToSelf = [this] { return ++m_updateChecks > 0; };
        m_controller = std::make_unique<AppController>(testTools(), services);
        m_controller->setBrowses(false);
    }
    void start() {
        makeController();
        QVERIFY(m_controller->init());
        m_controller->awakeFromNib();
    }
    CountingTool& countingTool() {
        return static_cast<CountingTool&>(*m_controller->toolSet().toolController(u"addonry"_s));
    }

private Q_SLOTS:
    void init() {
        m_events.clear();
        m_updateChecks = 0;
        m_isAdministrator = false;
        m_whileAsked = {};
        for (const char* key : {"firstRun", "requireAdminPassword", "SUCheckAtStartup",
                                "availableUpdateVersion", "manualConnections"})
            defaults().removeObjectForKey(QLatin1String(key));
    }
    void cleanup() {
        if (m_controller) {
            QVERIFY(m_controller->shutDown());
            QCOMPARE(VLThread::activeCount(), 0);
        }
        m_controller.reset();
        MainThread::resume();
        VLThread::reset();
    }

    void startsAndStopsWithoutATrace_data() {
        const TestTable<bool, int> row("browses", "manualClients");
        row("browsing", true, 0);
        row("clients that refuse", false, 3);
    }
    void startsAndStopsWithoutATrace() {
        QFETCH(bool, browses);
        QFETCH(int, manualClients);
        QVariantList stored;
        for (int i = 0; i < manualClients; ++i)
            stored.append(QVariantMap{
                {u"name"_s, u"Manual %1"_s.arg(i)}, {u"ip"_s, u"127.0.0.1"_s}, {u"port"_s, 1025 + i}});
        defaults().setObject(stored, u"manualConnections"_s);
        makeController();
        m_controller->setBrowses(browses);
        QVERIFY(m_controller->init());
        m_controller->awakeFromNib();
        QCOMPARE(m_controller->serviceMenu().size(), manualClients);
        QCOMPARE(m_controller->taskThreads().status().text, u"%1 computers selected"_s.arg(manualClients));
        QTest::qWait(50);
        QVERIFY(m_controller->shutDown());
        QCOMPARE(VLThread::activeCount(), 0);
        QCOMPARE(m_events, QStringList({u"start"_s, u"stop"_s}));
        QCOMPARE(VLUserDefaults(defaultsPath).arrayForKey(u"manualConnections"_s).size(), manualClients);
        QVERIFY(logLines().contains(u"Searching for services..."_s));
    }

    void stopsWhileAWorkerWaits() {
        start();
        TaskThreads& threads = m_controller->taskThreads();
        threads.startStatusProgress();
        for (int i = 0; i < 2; ++i)
            VLThread::detach(u"waiter"_s, [&threads] { threads.waitOnProcessing(); });
        VLThread::detach(u"asking"_s, [&threads] {
            while (!VLThread::isCancelled())
                threads.incrementStatusProgress();
        });
        QTest::qWait(20);
    }

    void whatIsShownFirst_data() {
        const TestTable<QVariantMap, bool, bool, bool, bool, bool> row(
            "stored", "unattended", "isAdministrator", "asked", "shown", "firstRun");
        row("never run", {}, false, false, false, true, true);
        row("run before", {{u"firstRun"_s, false}}, false, false, false, true, false);
        row("nobody there", {}, true, false, false, true, false);
        row("2", {{u"requireAdminPassword"_s, 2}}, false, false, false, true, true);
        row("1, granted", {{u"requireAdminPassword"_s, 1}}, false, true, true, true, true);
        row("1, refused", {{u"requireAdminPassword"_s, 1}}, false, false, true, false, false);
    }
    void whatIsShownFirst() {
        QFETCH(QVariantMap, stored);
        QFETCH(bool, unattended);
        QFETCH(bool, shown);
        QFETCH(bool, firstRun);
        for (auto setting = stored.cbegin(); setting != stored.cend(); ++setting)
            defaults().setObject(setting.value(), setting.key());
        m_isAdministrator = *static_cast<bool*>(QTest::qData("isAdministrator", QMetaType::Bool));
        makeController();
        m_controller->setUnattended(unattended);
        QSignalSpy welcomed(m_controller.get(), &AppController::firstRun);
        QSignalSpy ready(m_controller.get(), &AppController::mainWindowReady);
        QVERIFY(m_controller->init());
        for (int i = 0; i < 3; ++i)
            m_controller->awakeFromNib();
        QTEST(m_events.contains(u"auth"_s), "asked");
        QCOMPARE(ready.size(), shown ? 1 : 0);
        QCOMPARE(welcomed.size(), firstRun ? 1 : 0);
        QCOMPARE(m_controller->isTerminating(), !shown);
        if (firstRun) QCOMPARE(defaults().objectForKey(u"firstRun"_s), QVariant(false));
    }

    /// Clients connect, and fail, while the administrator is still asked for a password.
    void nothingIsLostWhileThePasswordIsAskedFor() {
        defaults().setObject(1, u"requireAdminPassword"_s);
        m_isAdministrator = true;
        makeController();
        QVERIFY(m_controller->init());
        QStringList shown;
        connect(m_controller.get(), &AppController::mainWindowReady, [&] { shown << u"window"_s; });
        connect(m_controller.get(), &AppController::adminIsOutdated,
                [&](const VLServicePtr& service) { shown << u"outdated by "_s + service->name(); });
        connect(&m_controller->troubleshooter(), &ConnectionTroubleshooter::requested,
                [&](const VLServicePtr& service) { shown << u"failure of "_s + service->name(); });
        const auto bay = std::make_shared<SampleService>(u"bay"_s, QString());
        m_controller->services().addServiceToList(bay);
        m_whileAsked = [&] {
            auto& center = VLNotificationCenter::defaultCenter();
            const auto gone = std::make_shared<SampleService>(u"gone"_s, QString());  // from the list
            center.postNotification(u"vlCorvalinServiceConnectFailed"_s, {},
                                    {{u"service"_s, QVariant::fromValue(VLServicePtr(gone))}});
            const QVariantMap about{{u"service"_s, QVariant::fromValue(VLServicePtr(bay))}};
            center.postNotification(u"vlCorvalinServiceConnectFailed"_s, {}, about);
            center.postNotification(u"vlCorvalinAdminOutdated"_s, {}, about);
            for (const char* host : {"a.", "b."})
                center.postNotification(u"vlCorvalinPostLocalError"_s, {},
                                        {{u"errorcode"_s, 2008}, {u"hostname"_s, QLatin1String(host)}});
            QVERIFY(shown.isEmpty());
        };
        m_controller->awakeFromNib();
        QCOMPARE(shown, QStringList({u"window"_s, u"failure of bay"_s, u"outdated by bay"_s}));
        QCOMPARE(m_controller->errorLog().errorLabel(), u"2 errors"_s);
    }

    void newerVersionIsShownOrLookedFor_data() {
        const TestTable<QVariant, int, int, int> row("check", "newer", "badge", "checks");
        row("own version", {}, 0, 0, 1);
        row("newer", {}, 1, 1, 0);
        row("turned off", false, 1, 0, 0);
    }
    void newerVersionIsShownOrLookedFor() {
        QFETCH(QVariant, check);
        QFETCH(int, newer);
        if (check.isValid()) defaults().setObject(check, u"SUCheckAtStartup"_s);
        const auto own = VLBundle::mainBundle().integerForInfoDictionaryKey("CFBundleVersion");
        defaults().setObject(own + newer, u"availableUpdateVersion"_s);
        start();
        QVERIFY(waitForWorkers(10s));
        QTEST(int(m_controller->softwareUpdates().softwareUpdateCount(u"###self###"_s)), "badge");
        QTEST(m_updateChecks.load(), "checks");
    }

    /// A client entered by hand is filed under its address only until its agent has said what it is called.
    void callbacksOfAClientEnteredByHand() {
        start();
        const QString ownName = u"bay.local."_s;
        QVariantMap configuration = ScriptedRoot::goodConfiguration();
        configuration.insert(u"preferredHostName"_s, ownName);
        LoopbackAgent agent(VLService::environment()->identity.certificate);
        agent.root->setAnswer("fetchInitialConfiguration:", configuration);
        const VLServicePtr client =
            m_controller->discovery().addManualConnection(u"bay"_s, agent.address(), agent.port());
        const QString address = client->hostName();
        QTRY_VERIFY(client->isConnected() && agent.root->callback());
        QTRY_COMPARE(client->hostName(), ownName);
        for (const QString& name : {ownName, address})
            QCOMPARE(m_controller->services().serviceWithHostName(name), client);
        m_controller->services().addServiceToList(std::make_shared<SampleService>(u"other"_s, QString()));

        const auto say = [&](const char* selector, const QVariantList& arguments) {
            agent.root->callback()->post(QLatin1String(selector), arguments);
        };
        say("requestMaintenance:", {ownName});
        QTRY_VERIFY(client->needsMaintenance());
        say("cancelMaintenance:", {u"other.local."_s});
        QTRY_COMPARE(m_controller->errorCallback()->errorQueue().size(), 1);
        QCOMPARE(m_controller->errorCallback()->errorCountsByHost(), (ErrorQueue::Counts{{ownName, 1}}));
        QVERIFY(client->needsMaintenance());
        say("cancelMaintenance:", {ownName});
        QTRY_VERIFY(!client->needsMaintenance());
        say("setSoftwareUpdateCount:hostname:", {std::numeric_limits<qlonglong>::max(), ownName});
        QTRY_COMPARE(m_controller->softwareUpdates().softwareUpdateCount(), 1'000'000);
        VLNotificationCenter::defaultCenter().postNotification(
            u"vlCorvalinPostLocalError"_s, {}, {{u"errorcode"_s, 2008}, {u"hostname"_s, u"a."_s}});
        QTRY_COMPARE(m_controller->errorLog().errorLabel(), u"2 errors"_s);
        TaskThreads& threads = m_controller->taskThreads();
        threads.progressBarSetMaxValue(5);
        threads.setTaskThreadCount(3);
        say("incrementProgress", {});
        say("taskFinished", {});
        QTRY_COMPARE(threads.taskThreadCount(), 2);
        QCOMPARE(threads.sheet().value, 1.0);

        say("willDisconnect:", {ownName});
        QTRY_VERIFY(!client->isConnected());
        QTRY_VERIFY(logLines().contains(u"Attempting to reconnect to bay in 8 seconds..."_s));
        QVERIFY(m_controller->services().serviceArray().contains(client));
    }

    /// Whatever the agent of one client calls itself, it does not get what is said of another.
    void nobodyTakesAnothersName() {
        start();
        const auto other = std::make_shared<SampleService>(u"bay"_s, QString());
        m_controller->services().addServiceToList(other);
        QVariantMap configuration = ScriptedRoot::goodConfiguration();
        configuration.insert(u"preferredHostName"_s, u"bay.local"_s);
        LoopbackAgent agent(VLService::environment()->identity.certificate);
        agent.root->setAnswer("fetchInitialConfiguration:", configuration);
        const VLServicePtr client =
            m_controller->discovery().addManualConnection(u"x"_s, agent.address(), agent.port());
        QTRY_VERIFY(
            logLines().contains(u"x calls itself bay.local, which is another computer's host name."_s));
        QVERIFY(client->availableHostNames().isEmpty());
    }

    /// An agent that talks as fast as it can, with the queue full already: the window stays alive, and the
    /// others' errors stay where they are.
    void aFloodOfCallbacksLeavesTheConsoleResponsive() {
        constexpr int hosts = 51, longestTurn = 1'000;
        start();
        LoopbackAgent agent(VLService::environment()->identity.certificate);
        const VLServicePtr client =
            m_controller->discovery().addManualConnection(u"bay"_s, agent.address(), agent.port());
        QTRY_VERIFY(client->isConnected() && agent.root->callback());
        const auto& errors = m_controller->errorCallback();
        QVariantList full;
        for (int i = 0; i < ErrorQueue::maximumRecords; ++i)
            full.append(QVariantMap{{u"description"_s, u"e"_s}, {u"hostname"_s, u"h%1"_s.arg(i % hosts)}});
        errors->setErrorQueue(full);
        qsizetype shown = 0;       // what the window looks at
        const QObject duringTest;  // what the slot works on ends with this test
        connect(&m_controller->errorLog(), &ErrorLog::errorQueueChanged, &duringTest, [&] {
            shown +=
                m_controller->errorLog().errorLabel().size() + qsizetype(errors->errorCountsByHost().size());
        });

        const auto isOver = std::make_shared<std::atomic<bool>>(false);  // the flood may end after this test
        VLThread::detach(u"flood"_s, [isOver, callback = agent.root->callback(), name = client->hostName()] {
            for (int i = 0; !*isOver; ++i) {
                callback->post(u"addStringToQueue:hostname:"_s, {QString::number(i).repeated(800), name});
                if (i % 20 != 0) continue;
                callback->post(i % 40 == 0 ? u"requestMaintenance:"_s : u"cancelMaintenance:"_s, {name});
                callback->post(u"taskFinished"_s);
                VLThread::sleepFor(10ms);
            }
        });
        QElapsedTimer whole, turn;
        whole.start();
        qint64 longest = 0;
        const auto isFull = [&] {
            const ErrorQueue::Counts counts = errors->errorCountsByHost();
            const auto own = counts.find(client->hostName());
            return own != counts.end() && own->second >= ErrorQueue::maximumRecordsOfHost;
        };
        while (whole.elapsed() < 2'000 || (!isFull() && whole.elapsed() < 30'000)) {
            turn.start();
            QCoreApplication::processEvents();
            longest = std::max(longest, turn.elapsed());
            QThread::msleep(1);
        }
        *isOver = true;
        QVERIFY2(longest < longestTurn, qPrintable(QString::number(longest)));
        QVERIFY(shown > 0);
        const ErrorQueue::Counts counts = errors->errorCountsByHost();
        QCOMPARE(counts.at(client->hostName()), ErrorQueue::maximumRecordsOfHost);
        QCOMPARE(counts.size(), size_t(hosts) + 1);
        QCOMPARE(errors->errorCount(), ErrorQueue::maximumRecords);
        QVERIFY(logLines().filter(u"Task threads"_s).isEmpty());
    }

    void visibleToolRefreshes() {
        start();
        m_controller->toolSet().setVisibleTool(u"addonry"_s);
        QTRY_COMPARE(countingTool().refreshes.load(), 1);

        m_controller->taskThreads().startStatusProgress();
        QVERIFY(!m_controller->toolSet().autoRefresh().refreshEnabled());
        m_controller->toolSet().setVisibleTool(u"addonry"_s);  // cannot start now: comes later
        QCOMPARE(countingTool().refreshes.load(), 1);
        m_controller->taskThreads().endStatusProgress();
        QVERIFY(m_controller->toolSet().autoRefresh().refreshEnabled());
        QTRY_COMPARE(countingTool().refreshes.load(), 2);

        m_controller->toolSet().setVisibleTool(u"cronwell"_s);
        QVERIFY(!m_controller->toolSet().autoRefresh().refreshEnabled() &&
                !m_controller->toolSet().autoRefresh().hasTimer());
        QCOMPARE(m_controller->toolSet().toolController(u"unknown"_s), nullptr);
        m_controller->toolSet().refresh();
        m_controller->toolSet().clearData();
        QCOMPARE(countingTool().clearings, 1);
        QVERIFY(m_controller->taskThreads().processingCancelled());
    }

    void refreshFollowsClientsAndSelection() {
        start();
        m_controller->toolSet().setVisibleTool(u"addonry"_s);
        QTRY_COMPARE(countingTool().refreshes.load(), 1);

        const auto service = std::make_shared<SampleService>(u"bay"_s, QString());
        service->showNotConnected({});
        m_controller->services().addServiceToList(service);
        QTest::qWait(500);
        QCOMPARE(countingTool().refreshes.load(), 1);  // nothing to be had from it yet

        service->showState(true, ConnectionFailure::None);
        VLThread::detach(u"connected"_s, [this, service] { m_controller->serviceConnected(service); });
        QTRY_COMPARE(countingTool().refreshes.load(), 2);
        m_controller->services().setSelectedServices({});
        QTRY_COMPARE(countingTool().refreshes.load(), 3);
    }

    void removedClientLeavesNothingBehind() {
        start();
        const VLServicePtr client =
            m_controller->discovery().addManualConnection(u"bay"_s, u"127.0.0.1"_s, 1025);
        const QString hostName = client->hostName();
        m_controller->errorCallback()->addStringToQueue(u"broken"_s, hostName);
        m_controller->setSoftwareUpdateCount(2, hostName);
        QCOMPARE(m_controller->serviceMenu().size(), 1);
        TaskThreads& threads = m_controller->taskThreads();
        threads.startProgress();
        threads.setTaskThreadCount(5);
        QSignalSpy obsolete(m_controller.get(), &AppController::clientWindowsObsolete);
        m_controller->clientCommands().disconnectClient(client);
        QCOMPARE(obsolete.size(), 1);
        QCOMPARE(threads.taskThreadCount(), 0);
        QVERIFY(m_controller->serviceMenu().isEmpty() && m_controller->services().serviceArray().isEmpty());
        QVERIFY(m_controller->errorLog().errorLabel().isEmpty());
        QCOMPARE(m_controller->softwareUpdates().softwareUpdateCount(), 0);
    }
};

int main(int argc, char** argv) {
    qputenv("CORVALIN_DISCOVERY_INTERFACES", "lo");
    QGuiApplication application(argc, argv);
    const TestEnvironment environment;
    defaultsPath = environment.root() + u"/defaults.plist"_s;
    AppControllerTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "app_controller_test.moc"
