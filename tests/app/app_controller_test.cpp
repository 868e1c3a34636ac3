#include "app/AppController.h"
#include "app/MakerSite.h"
#include "clients/support/LoopbackAgent.h"
#include "foundation/VLBundle.h"
#include "foundation/VLNotificationCenter.h"
#include "support/TestEnvironment.h"

#include <QGuiApplication>
#include <QSignalSpy>
#include <QTest>

using namespace std::chrono_literals;

namespace {

class FakeService : public VLService {
public:
    explicit FakeService(const QString& name, bool connected = true) {
        setName(name);
        setHostName(name + QLatin1String(".local."));
        m_isConnected = connected;
    }
    void connectOnThread(VLCallbackTargetPtr) override {}
    void setConnected() { m_isConnected = true; }
};

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
    counting.identifier = QStringLiteral("addonry");
    counting.refreshInterval = 60;
    counting.makeController = [](const ToolContext& context) {
        return std::make_unique<CountingTool>(context);
    };
    Tool listed;
    listed.identifier = QStringLiteral("cronwell");
    return {counting, listed};
}

void post(const char* name, const QVariantMap& userInfo = {}) {
    VLNotificationCenter::defaultCenter().postNotification(QLatin1String(name), {}, userInfo);
}

QString defaultsPath;

/// An agent that serves the console of this test, whose key pair was made at its start.
struct ScriptedConsoleAgent {
    explicit ScriptedConsoleAgent(const QVariantMap& configuration) {
        root->setAnswer("fetchInitialConfiguration:", configuration);
        VLServerOptions options;
        options.identity = agentIdentity();
        options.authorizedCertificates = [] {
            return QList<QByteArray>{VLService::environment()->identity.certificate};
        };
        options.address = address();
        server = std::make_unique<VLServer>(root, std::move(options));
    }
    [[nodiscard]] QString address() const { return QStringLiteral("127.0.0.1"); }
    [[nodiscard]] quint16 port() const { return server->port(); }

    std::shared_ptr<ScriptedRoot> root = std::make_shared<ScriptedRoot>();
    std::unique_ptr<VLServer> server;
};

QVariantMap about(const VLServicePtr& service) {
    return {{QStringLiteral("service"), QVariant::fromValue(service)}};
}

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

    void makeController() {
        AppServices services;
        services.startFaultpost = [this] { return m_events.append(QStringLiteral("start")), true; };
        services.stopFaultpost = [this] { m_events.append(QStringLiteral("stop")); };
        services.authStart = [this] { return m_events.append(QStringLiteral("auth")), m_isAdministrator; };
        services.checkForUpdatesToSelf = [this] { ++m_updateChecks; };
        services.removeStoredPasswordForHost = [](const QString&) {};
        m_controller = std::make_unique<AppController>(testTools(), services);
        m_controller->setBrowses(false);
    }
    void start() {
        makeController();
        QVERIFY(m_controller->init());
        m_controller->awakeFromNib();
    }
    CountingTool& countingTool() {
        return static_cast<CountingTool&>(*m_controller->toolController(QStringLiteral("addonry")));
    }

private Q_SLOTS:
    void init() {
        m_events.clear();
        m_updateChecks = 0;
        m_isAdministrator = false;
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
        QTest::addColumn<bool>("browses");
        QTest::addColumn<int>("manualClients");
        QTest::newRow("alone") << false << 0;
        QTest::newRow("browsing") << true << 0;
        QTest::newRow("clients that refuse") << false << 3;
    }
    void startsAndStopsWithoutATrace() {
        QFETCH(bool, browses);
        QFETCH(int, manualClients);
        QVariantList stored;
        for (int i = 0; i < manualClients; ++i)
            stored.append(QVariantMap{{QStringLiteral("name"), QStringLiteral("Manual %1").arg(i)},
                                      {QStringLiteral("ip"), QStringLiteral("127.0.0.1")},
                                      {QStringLiteral("port"), 1025 + i}});
        defaults().setObject(stored, QStringLiteral("manualConnections"));
        makeController();
        m_controller->setBrowses(browses);
        QVERIFY(m_controller->init());
        m_controller->awakeFromNib();
        QCOMPARE(m_controller->serviceMenu().size(), manualClients);
        QCOMPARE(m_controller->services().selectedServices().size(), manualClients);
        QCOMPARE(m_controller->taskThreads().status().text,
                 QStringLiteral("%1 computers selected").arg(manualClients));
        QVERIFY(m_controller->launchDate().secsTo(QDateTime::currentDateTime()) < 60);
        QTest::qWait(50);
        QVERIFY(m_controller->shutDown());
        QCOMPARE(VLThread::activeCount(), 0);
        QCOMPARE(m_events, QStringList({QStringLiteral("start"), QStringLiteral("stop")}));
        QVERIFY(logLines().contains(QStringLiteral("Searching for services...")));
    }

    void stopsWhileAWorkerWaits() {
        start();
        TaskThreads& threads = m_controller->taskThreads();
        threads.startStatusProgress();
        for (int i = 0; i < 2; ++i)
            VLThread::detach(QStringLiteral("waiter"), [&threads] { threads.waitOnProcessing(); });
        VLThread::detach(QStringLiteral("asking"), [&threads] {
            while (!VLThread::isCancelled())
                threads.incrementStatusProgress();
        });
        QTest::qWait(20);
    }

    void firstRunShowsOnce_data() {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<bool>("unattended");
        QTest::addColumn<bool>("shows");
        QTest::newRow("absent") << QVariant() << false << true;
        QTest::newRow("NO") << QVariant(false) << false << false;
        QTest::newRow("YES") << QVariant(true) << false << true;
        QTest::newRow("nobody there") << QVariant() << true << false;
    }
    void firstRunShowsOnce() {
        QFETCH(QVariant, stored);
        QFETCH(bool, unattended);
        if (stored.isValid()) defaults().setObject(stored, QStringLiteral("firstRun"));
        makeController();
        m_controller->setUnattended(unattended);
        QSignalSpy shown(m_controller.get(), &AppController::firstRun);
        QSignalSpy ready(m_controller.get(), &AppController::mainWindowReady);
        QVERIFY(m_controller->init());
        for (int i = 0; i < 3; ++i)
            m_controller->awakeFromNib();
        QTEST(shown.size() == 1, "shows");
        QCOMPARE(ready.size(), 1);
        QCOMPARE(m_controller->awakeCount(), 3);
        if (!unattended) QCOMPARE(defaults().objectForKey(QStringLiteral("firstRun")), QVariant(false));
    }

    void administratorIsAskedFor_data() {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<bool>("granted");
        QTest::addColumn<bool>("asked");
        QTest::addColumn<bool>("shown");
        QTest::newRow("absent") << QVariant() << false << false << true;
        QTest::newRow("0") << QVariant(0) << false << false << true;
        QTest::newRow("2") << QVariant(2) << false << false << true;
        QTest::newRow("1, granted") << QVariant(1) << true << true << true;
        QTest::newRow("1, refused") << QVariant(1) << false << true << false;
    }
    void administratorIsAskedFor() {
        QFETCH(QVariant, stored);
        QFETCH(bool, granted);
        QFETCH(bool, shown);
        if (stored.isValid()) defaults().setObject(stored, QStringLiteral("requireAdminPassword"));
        m_isAdministrator = granted;
        makeController();
        QSignalSpy ready(m_controller.get(), &AppController::mainWindowReady);
        QVERIFY(m_controller->init());
        m_controller->awakeFromNib();
        QTEST(m_events.contains(QStringLiteral("auth")), "asked");
        QTEST(ready.size() == 1, "shown");
        QCOMPARE(m_controller->isTerminating(), !shown);
    }

    void newerVersionIsShownOrLookedFor_data() {
        QTest::addColumn<QVariant>("check");
        QTest::addColumn<int>("known");
        QTest::addColumn<int>("badge");
        QTest::addColumn<int>("checks");
        const int own =
            int(VLBundle::mainBundle().integerForInfoDictionaryKey(QStringLiteral("CFBundleVersion")));
        QTest::newRow("nothing known") << QVariant() << 0 << 0 << 1;
        QTest::newRow("own version") << QVariant() << own << 0 << 1;
        QTest::newRow("newer") << QVariant() << own + 1 << 1 << 0;
        QTest::newRow("turned off") << QVariant(false) << own + 1 << 0 << 0;
    }
    void newerVersionIsShownOrLookedFor() {
        QFETCH(QVariant, check);
        QFETCH(int, known);
        if (check.isValid()) defaults().setObject(check, QStringLiteral("SUCheckAtStartup"));
        defaults().setObject(known, QStringLiteral("availableUpdateVersion"));
        start();
        QVERIFY(VLThread::joinAll(10s));
        QTEST(int(m_controller->softwareUpdateCount(QStringLiteral("###self###"))), "badge");
        QTEST(m_updateChecks.load(), "checks");
    }

    void bundleNamesVersionsAndAddresses() {
        const VLBundle& bundle = VLBundle::mainBundle();
        QCOMPARE(bundle.integerForInfoDictionaryKey(QStringLiteral("VLMinClientVersion")), 1030);
        QCOMPARE(bundle.integerForInfoDictionaryKey(QStringLiteral("VLMinCorvalinVersion")), 300);
        QCOMPARE(bundle.objectForInfoDictionaryKey(QStringLiteral("CFBundleIdentifier")).toString(),
                 QStringLiteral("com.velmora.corvalin.orlendo"));
        QVERIFY(QUrl(bundle.objectForInfoDictionaryKey(QStringLiteral("SUFeedURL")).toString()).isValid());
        QVERIFY(MakerSite::page(MakerSite::Page::Manual).host().endsWith(QLatin1String(".example")));
    }

    void localErrorsAreQueued_data() {
        QTest::addColumn<QVariantMap>("userInfo");
        QTest::addColumn<QString>("label");
        const auto error = [](const QVariant& code, const char* host) {
            return QVariantMap{{QStringLiteral("errorcode"), code},
                               {QStringLiteral("hostname"), QLatin1String(host)}};
        };
        QTest::newRow("error") << error(2008, "a.") << QStringLiteral("1 error");
        QTest::newRow("code 0") << error(0, "a.") << QString();
        QTest::newRow("negative") << error(-1, "a.") << QString();
        QTest::newRow("no host") << error(2008, "") << QString();
        QTest::newRow("nothing") << QVariantMap() << QString();
    }
    void localErrorsAreQueued() {
        QFETCH(QVariantMap, userInfo);
        QFETCH(QString, label);
        start();
        QSignalSpy changed(m_controller.get(), &AppController::errorQueueChanged);
        post("vlCorvalinPostLocalError", userInfo);
        if (!label.isEmpty()) QTRY_VERIFY(!changed.isEmpty());
        QCOMPARE(m_controller->errorLabel(), label);
        if (label.isEmpty()) return;
        post("vlCorvalinPostLocalError",
             {{QStringLiteral("errorcode"), 2006}, {QStringLiteral("hostname"), QStringLiteral("b.")}});
        QCOMPARE(m_controller->errorLabel(), QStringLiteral("2 errors"));
        m_controller->clearErrorLog();
        QVERIFY(m_controller->errorLabel().isEmpty());
    }

    void notificationsReachTheirHandlers() {
        start();
        const auto service = std::make_shared<FakeService>(QStringLiteral("bay"));
        QSignalSpy outdated(m_controller.get(), &AppController::adminIsOutdated);
        QSignalSpy failed(m_controller.get(), &AppController::serviceConnectionFailed);
        QSignalSpy badge(m_controller.get(), &AppController::serviceOutlineBadgeClicked);
        for (int i = 0; i < 2; ++i)
            post("vlCorvalinAdminOutdated", about(service));
        QCOMPARE(outdated.size(), 1);
        QCOMPARE(outdated.first().first().value<VLServicePtr>(), VLServicePtr(service));
        post("vlCorvalinServiceConnectFailed");
        QCOMPARE(failed.size(), 1);
        post("VLTableBadgeClicked", about(service));
        QCOMPARE(badge.size(), 1);
        post("VLCorvalinServiceInvalidated");

        m_controller->taskThreads().progressBarSetMaxValue(5);
        post("vlCorvalinProgressIncrement");
        QCOMPARE(m_controller->taskThreads().sheet().value, 1.0);
        m_controller->taskThreads().setTaskThreadCount(3);
        post("vlCorvalinTaskFinished");
        QCOMPARE(m_controller->taskThreads().taskThreadCount(), 2);

        const QStringList lines = logLines();
        for (const char* line :
             {"Admin is outdated.", "Service connection failed.", "Invalidating service...",
              "Unable to invalidate service - service not found."})
            QVERIFY2(lines.contains(QLatin1String(line)), line);
    }

    void callbacksOfAgentsChangeTheirClient() {
        start();
        const auto service = std::make_shared<FakeService>(QStringLiteral("bay"));
        m_controller->services().addServiceToList(service);
        const auto say = [&](const char* selector, const QVariantList& arguments) {
            m_controller->errorCallback()->receive(QLatin1String(selector), arguments, service->hostName());
        };
        say("requestMaintenance:", {service->hostName()});
        QTRY_VERIFY(service->needsMaintenance());
        say("cancelMaintenance:", {service->hostName()});
        QTRY_VERIFY(!service->needsMaintenance());
        QSignalSpy total(m_controller.get(), &AppController::softwareUpdateCountChanged);
        say("setSoftwareUpdateCount:hostname:", {qlonglong{4}, service->hostName()});
        QTRY_COMPARE(m_controller->softwareUpdateCount(), 4);
        say("setSoftwareUpdateCount:hostname:", {std::numeric_limits<qlonglong>::max(), service->hostName()});
        QTRY_COMPARE(m_controller->softwareUpdateCount(), 1'000'000);
    }

    /// A client entered by hand is filed under its address, while its agent calls itself by its host name.
    void callbacksOfAClientEnteredByHand() {
        start();
        const QString ownName = QStringLiteral("bay.local.");
        QVariantMap configuration = ScriptedRoot::goodConfiguration();
        configuration.insert(QStringLiteral("preferredHostName"), ownName);
        ScriptedConsoleAgent agent(configuration);
        const VLServicePtr client = m_controller->discovery().addManualConnection(
            QStringLiteral("bay"), agent.address(), agent.port());
        QTRY_VERIFY(client->isConnected() && agent.root->callback());
        QTRY_COMPARE(client->availableHostNames(), QStringList{ownName});

        const auto say = [&](const char* selector, const QString& name) {
            agent.root->callback()->post(QLatin1String(selector), {name});
        };
        say("requestMaintenance:", ownName);
        QTRY_VERIFY(client->needsMaintenance());
        say("cancelMaintenance:", QStringLiteral("other.local."));
        QTRY_COMPARE(m_controller->errorCallback()->errorQueue().size(), 1);
        QVERIFY(client->needsMaintenance());

        say("willDisconnect:", ownName);
        QTRY_VERIFY(!client->isConnected());
        QTRY_VERIFY(logLines().contains(QStringLiteral("Attempting to reconnect to bay in 8 seconds...")));
        QCOMPARE(m_controller->services().serviceArray(), QList<VLServicePtr>{client});
    }

    void settingsAreWrittenAtTheEnd() {
        start();
        defaults().setObject(QStringLiteral("kept"), QStringLiteral("writtenAtTheEnd"));
        QVERIFY(m_controller->shutDown());
        QCOMPARE(VLUserDefaults(defaultsPath).stringForKey(QStringLiteral("writtenAtTheEnd")),
                 QStringLiteral("kept"));
    }

    void visibleToolRefreshes() {
        start();
        QSignalSpy enabled(&m_controller->autoRefresh(), &AutoRefresh::refreshEnabledChanged);
        m_controller->setVisibleTool(QStringLiteral("addonry"));
        QTRY_COMPARE(countingTool().refreshes.load(), 1);
        QCOMPARE(m_controller->autoRefresh().interval(), 60);
        QCOMPARE(enabled.size(), 1);

        m_controller->taskThreads().startStatusProgress();
        QVERIFY(!m_controller->autoRefresh().refreshEnabled());
        m_controller->setVisibleTool(QStringLiteral("addonry"));  // cannot start now: comes later
        QCOMPARE(countingTool().refreshes.load(), 1);
        m_controller->taskThreads().endStatusProgress();
        QVERIFY(m_controller->autoRefresh().refreshEnabled());
        QTRY_COMPARE(countingTool().refreshes.load(), 2);

        m_controller->setVisibleTool(QStringLiteral("cronwell"));
        QVERIFY(!m_controller->autoRefresh().refreshEnabled() && !m_controller->autoRefresh().hasTimer());
        QCOMPARE(m_controller->toolController(QStringLiteral("cronwell")), nullptr);
        QCOMPARE(m_controller->toolController(QStringLiteral("unknown")), nullptr);
        m_controller->refresh();
        m_controller->clearData();
        QCOMPARE(countingTool().clearings, 1);
        QVERIFY(m_controller->taskThreads().processingCancelled());
    }

    void refreshFollowsClientsAndSelection() {
        start();
        m_controller->setVisibleTool(QStringLiteral("addonry"));
        QTRY_COMPARE(countingTool().refreshes.load(), 1);

        const auto service = std::make_shared<FakeService>(QStringLiteral("bay"), false);
        m_controller->services().addServiceToList(service);
        QTest::qWait(500);
        QCOMPARE(countingTool().refreshes.load(), 1);  // nothing to be had from it yet
        QVERIFY(!m_controller->servicesAvailable());

        service->setConnected();
        VLThread::detach(QStringLiteral("connected"),
                         [this, service] { m_controller->serviceConnected(service); });
        QTRY_COMPARE(countingTool().refreshes.load(), 2);
        QVERIFY(m_controller->servicesAvailable());

        m_controller->services().setSelectedServices({});
        QTRY_COMPARE(countingTool().refreshes.load(), 3);
        QCOMPARE(m_controller->taskThreads().status().text, QStringLiteral("0 computers selected"));
    }

    void removedClientLeavesNothingBehind() {
        start();
        const VLServicePtr client = m_controller->discovery().addManualConnection(
            QStringLiteral("bay"), QStringLiteral("127.0.0.1"), 1025);
        const QString hostName = client->hostName();
        m_controller->errorCallback()->addStringToQueue(QStringLiteral("broken"), hostName);
        m_controller->setSoftwareUpdateCount(2, hostName);
        QCOMPARE(m_controller->serviceMenu().size(), 1);
        TaskThreads& threads = m_controller->taskThreads();
        threads.startProgress();
        threads.setTaskThreadCount(5);
        QSignalSpy obsolete(m_controller.get(), &AppController::clientWindowsObsolete);
        m_controller->disconnectClient(client);
        QCOMPARE(obsolete.size(), 1);
        QCOMPARE(threads.taskThreadCount(), 0);
        QVERIFY(m_controller->serviceMenu().isEmpty() && m_controller->services().serviceArray().isEmpty());
        QVERIFY(m_controller->errorLabel().isEmpty());
        QCOMPARE(m_controller->softwareUpdateCount(), 0);
    }

    void cacheFolderIsMade() {
        const QString path = AppController::cacheDirectory();
        QVERIFY(path.endsWith(QLatin1String("/Corvalin Orlendo")));
        QVERIFY(QFileInfo(path).isDir());
    }
};

int main(int argc, char** argv) {
    qputenv("CORVALIN_DISCOVERY_INTERFACES", "lo");
    QGuiApplication application(argc, argv);
    const TestEnvironment environment;
    defaultsPath = environment.root() + QStringLiteral("/defaults.plist");
    AppControllerTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "app_controller_test.moc"
