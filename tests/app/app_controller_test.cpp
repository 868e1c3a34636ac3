#include "app/AppController.h"
#include "clients/support/LoopbackAgent.h"
#include "foundation/VLBundle.h"
#include "foundation/VLNotificationCenter.h"
#include "remote/VLCallback.h"
#include "support/TestEnvironment.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QSignalSpy>
#include <QTest>

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {

class FakeService : public VLService {
public:
    explicit FakeService(const QString& name, bool connected = true) {
        setName(name);
        setHostName(name + ".local."_L1);
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
    counting.identifier = u"addonry"_s;
    counting.refreshInterval = 60;
    counting.makeController = [](const ToolContext& context) {
        return std::make_unique<CountingTool>(context);
    };
    Tool listed;
    listed.identifier = u"cronwell"_s;
    return {counting, listed};
}

void post(const char* name, const QVariantMap& userInfo = {}) {
    VLNotificationCenter::defaultCenter().postNotification(QLatin1String(name), {}, userInfo);
}

QString defaultsPath;

QVariantMap about(const VLServicePtr& service) {
    return {{u"service"_s, QVariant::fromValue(service)}};
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
    QList<QVariantMap> m_uploads;

    void makeController() {
        AppServices services;
        services.startFaultpost = [this] { return m_events.append(u"start"_s), true; };
        services.stopFaultpost = [this] { m_events.append(u"stop"_s); };
        services.authStart = [this] { return m_events.append(u"auth"_s), m_isAdministrator; };
        services.checkForUpdatesToSelf = [this] { return ++m_updateChecks > 0; };
        services.uploadErrorLog = [this](const QUrl& address, QVariantMap fields, QObject*) {
            fields.insert(u"address"_s, address);
            m_uploads.append(fields);
        };
        m_controller = std::make_unique<AppController>(testTools(), services);
        m_controller->setBrowses(false);
    }
    void start() {
        makeController();
        QVERIFY(m_controller->init());
        m_controller->awakeFromNib();
    }
    CountingTool& countingTool() {
        return static_cast<CountingTool&>(*m_controller->toolController(u"addonry"_s));
    }

private Q_SLOTS:
    void init() {
        m_events.clear();
        m_updateChecks = 0;
        m_isAdministrator = false;
        m_uploads.clear();
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
            stored.append(QVariantMap{
                {u"name"_s, u"Manual %1"_s.arg(i)}, {u"ip"_s, u"127.0.0.1"_s}, {u"port"_s, 1025 + i}});
        defaults().setObject(stored, u"manualConnections"_s);
        makeController();
        m_controller->setBrowses(browses);
        QVERIFY(m_controller->init());
        m_controller->awakeFromNib();
        QCOMPARE(m_controller->serviceMenu().size(), manualClients);
        QCOMPARE(m_controller->services().selectedServices().size(), manualClients);
        QCOMPARE(m_controller->taskThreads().status().text, u"%1 computers selected"_s.arg(manualClients));
        QVERIFY(m_controller->launchDate().secsTo(QDateTime::currentDateTime()) < 60);
        QTest::qWait(50);
        QVERIFY(m_controller->shutDown());
        QCOMPARE(VLThread::activeCount(), 0);
        QCOMPARE(m_events, QStringList({u"start"_s, u"stop"_s}));
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
        if (stored.isValid()) defaults().setObject(stored, u"firstRun"_s);
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
        if (!unattended) QCOMPARE(defaults().objectForKey(u"firstRun"_s), QVariant(false));
    }

    void administratorIsAskedFor_data() {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<bool>("granted");
        QTest::addColumn<bool>("asked");
        QTest::addColumn<bool>("shown");
        QTest::newRow("absent") << QVariant() << false << false << true;
        QTest::newRow("2") << QVariant(2) << false << false << true;
        QTest::newRow("1, granted") << QVariant(1) << true << true << true;
        QTest::newRow("1, refused") << QVariant(1) << false << true << false;
    }
    void administratorIsAskedFor() {
        QFETCH(QVariant, stored);
        QFETCH(bool, granted);
        QFETCH(bool, shown);
        if (stored.isValid()) defaults().setObject(stored, u"requireAdminPassword"_s);
        m_isAdministrator = granted;
        makeController();
        QSignalSpy ready(m_controller.get(), &AppController::mainWindowReady);
        QVERIFY(m_controller->init());
        m_controller->awakeFromNib();
        QTEST(m_events.contains(u"auth"_s), "asked");
        QTEST(ready.size() == 1, "shown");
        QCOMPARE(m_controller->isTerminating(), !shown);
    }

    void newerVersionIsShownOrLookedFor_data() {
        QTest::addColumn<QVariant>("check");
        QTest::addColumn<int>("newer");
        QTest::addColumn<int>("badge");
        QTest::addColumn<int>("checks");
        QTest::newRow("own version") << QVariant() << 0 << 0 << 1;
        QTest::newRow("newer") << QVariant() << 1 << 1 << 0;
        QTest::newRow("turned off") << QVariant(false) << 1 << 0 << 0;
    }
    void newerVersionIsShownOrLookedFor() {
        QFETCH(QVariant, check);
        QFETCH(int, newer);
        if (check.isValid()) defaults().setObject(check, u"SUCheckAtStartup"_s);
        const auto own = VLBundle::mainBundle().integerForInfoDictionaryKey("CFBundleVersion");
        defaults().setObject(own + newer, u"availableUpdateVersion"_s);
        start();
        QVERIFY(VLThread::joinAll(10s));
        QTEST(int(m_controller->softwareUpdateCount(u"###self###"_s)), "badge");
        QTEST(m_updateChecks.load(), "checks");
    }

    void localErrorsAreQueued() {
        start();
        const auto fail = [](const QVariant& code, const char* host) {
            post("vlCorvalinPostLocalError", {{"errorcode", code}, {"hostname", host}});
        };
        fail(0, "a.");
        fail(-1, "a.");
        fail(2008, "");
        post("vlCorvalinPostLocalError");
        QCOMPARE(m_controller->errorLabel(), QString());
        fail(2008, "a.");
        QTRY_COMPARE(m_controller->errorLabel(), u"1 error"_s);
        fail(2006, "b.");
        QTRY_COMPARE(m_controller->errorLabel(), u"2 errors"_s);
        m_controller->clearErrorLog();
        QVERIFY(m_controller->errorLabel().isEmpty());
    }

    void notificationsReachTheirHandlers() {
        start();
        const auto service = std::make_shared<FakeService>("bay");
        QSignalSpy outdated(m_controller.get(), &AppController::adminIsOutdated);
        QSignalSpy failed(m_controller.get(), &AppController::serviceConnectionFailed);
        for (int i = 0; i < 2; ++i)
            post("vlCorvalinAdminOutdated", about(service));
        QCOMPARE(outdated.size(), 1);
        post("vlCorvalinServiceConnectFailed");
        QCOMPARE(failed.size(), 1);
        post("VLCorvalinServiceInvalidated");
        QVERIFY(logLines().contains("Unable to invalidate service - service not found."));

        m_controller->taskThreads().progressBarSetMaxValue(5);
        post("vlCorvalinProgressIncrement");
        QCOMPARE(m_controller->taskThreads().sheet().value, 1.0);
        m_controller->taskThreads().setTaskThreadCount(3);
        post("vlCorvalinTaskFinished");
        QCOMPARE(m_controller->taskThreads().taskThreadCount(), 2);
    }

    void callbacksOfAgentsChangeTheirClient() {
        start();
        const auto service = std::make_shared<FakeService>(u"bay"_s);
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
        const QString ownName = u"bay.local."_s;
        QVariantMap configuration = ScriptedRoot::goodConfiguration();
        configuration.insert(u"preferredHostName"_s, ownName);
        LoopbackAgent agent(VLService::environment()->identity.certificate);
        agent.root->setAnswer("fetchInitialConfiguration:", configuration);
        const VLServicePtr client =
            m_controller->discovery().addManualConnection(u"bay"_s, agent.address(), agent.port());
        QTRY_VERIFY(client->isConnected() && agent.root->callback());
        QTRY_COMPARE(client->availableHostNames(), QStringList{ownName});

        const auto say = [&](const char* selector, const QString& name) {
            agent.root->callback()->post(QLatin1String(selector), {name});
        };
        say("requestMaintenance:", ownName);
        QTRY_VERIFY(client->needsMaintenance());
        say("cancelMaintenance:", u"other.local."_s);
        QTRY_COMPARE(m_controller->errorCallback()->errorQueue().size(), 1);
        QVERIFY(client->needsMaintenance());

        say("willDisconnect:", ownName);
        QTRY_VERIFY(!client->isConnected());
        QTRY_VERIFY(logLines().contains(u"Attempting to reconnect to bay in 8 seconds..."_s));
        QCOMPARE(m_controller->services().serviceArray(), QList<VLServicePtr>{client});
    }

    /// Whatever the agent of one client calls itself, it does not get what is said of another.
    void nobodyTakesAnothersName() {
        start();
        const auto other = std::make_shared<FakeService>(u"bay"_s);
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
        connect(m_controller.get(), &AppController::errorQueueChanged, &duringTest, [&] {
            shown += m_controller->errorLabel().size() + qsizetype(errors->errorCountsByHost().size());
        });

        std::atomic<bool> isOver{false};
        VLThread::detach(u"flood"_s, [&, callback = agent.root->callback(), name = client->hostName()] {
            for (int i = 0; !isOver; ++i) {
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
        while (whole.elapsed() < 2'000) {
            turn.start();
            QCoreApplication::processEvents();
            longest = std::max(longest, turn.elapsed());
            QThread::msleep(1);
        }
        isOver = true;
        QVERIFY2(longest < longestTurn, qPrintable(QString::number(longest)));
        QVERIFY(shown > 0);
        const ErrorQueue::Counts counts = errors->errorCountsByHost();
        QCOMPARE(counts.at(client->hostName()), ErrorQueue::maximumRecordsOfHost);
        QCOMPARE(counts.size(), size_t(hosts) + 1);
        QCOMPARE(errors->errorCount(), ErrorQueue::maximumRecords);
        QVERIFY(logLines().filter(u"Task threads"_s).isEmpty());
    }

    void errorLogIsUploaded() {
        start();
        m_controller->uploadErrorLog(m_controller.get());
        QVERIFY(m_uploads.isEmpty());  // nothing to say
        m_controller->errorCallback()->addStringToQueue(u"broken"_s, u"bay.local."_s);
        m_controller->uploadErrorLog(m_controller.get());
        QCOMPARE(m_uploads.size(), 1);
        QCOMPARE(m_uploads.first().value(u"address"_s).toUrl().path(),
                 u"/appdata/corvalin/orlendo/uploadlog.php"_s);
        QCOMPARE(m_uploads.first().value(u"logData"_s).toString(),
                 m_controller->errorCallback()->stringRepresentation());
        QVERIFY(!m_uploads.first().value(u"version"_s).toString().isEmpty());
    }

    void answersOfAuthorizedTasks() {
        start();
        m_controller->services().addServiceToList(std::make_shared<FakeService>(u"bay"_s));
        QSignalSpy finished(m_controller.get(), &AppController::encodemendScanFinished);
        const auto answer = [this](const QString& name, const QVariant& output) {
            VLCallback::callbackWithName(
                name, [this](const auto& callback) { m_controller->objectDidPostCallback(callback); },
                u"bay.local."_s)
                ->postCallback({{u"output"_s, output}});
        };
        answer(u"somethingElse"_s, u"text"_s);
        answer(u"vlEncodemendScanFinished"_s, QVariant());
        answer(u"vlEncodemendScanFinished"_s, u"cannot AUTHORIZE"_s);
        QTRY_COMPARE(finished.size(), 1);
        QCOMPARE(finished.first(), (QVariantList{u"bay"_s, u"cannot AUTHORIZE"_s}));
        QCOMPARE(logLines().count(u"Callback received"_s), 3);
    }

    void settingsAreWrittenAtTheEnd() {
        start();
        defaults().setObject(u"kept"_s, u"writtenAtTheEnd"_s);
        QVERIFY(m_controller->shutDown());
        QCOMPARE(VLUserDefaults(defaultsPath).stringForKey(u"writtenAtTheEnd"_s), u"kept"_s);
    }

    void visibleToolRefreshes() {
        start();
        QSignalSpy enabled(&m_controller->autoRefresh(), &AutoRefresh::refreshEnabledChanged);
        m_controller->setVisibleTool(u"addonry"_s);
        QTRY_COMPARE(countingTool().refreshes.load(), 1);
        QCOMPARE(m_controller->autoRefresh().interval(), 60);
        QCOMPARE(enabled.size(), 1);

        m_controller->taskThreads().startStatusProgress();
        QVERIFY(!m_controller->autoRefresh().refreshEnabled());
        m_controller->setVisibleTool(u"addonry"_s);  // cannot start now: comes later
        QCOMPARE(countingTool().refreshes.load(), 1);
        m_controller->taskThreads().endStatusProgress();
        QVERIFY(m_controller->autoRefresh().refreshEnabled());
        QTRY_COMPARE(countingTool().refreshes.load(), 2);

        m_controller->setVisibleTool(u"cronwell"_s);
        QVERIFY(!m_controller->autoRefresh().refreshEnabled() && !m_controller->autoRefresh().hasTimer());
        QCOMPARE(m_controller->toolController(u"cronwell"_s), nullptr);
        QCOMPARE(m_controller->toolController(u"unknown"_s), nullptr);
        m_controller->refresh();
        m_controller->clearData();
        QCOMPARE(countingTool().clearings, 1);
        QVERIFY(m_controller->taskThreads().processingCancelled());
    }

    void refreshFollowsClientsAndSelection() {
        start();
        m_controller->setVisibleTool(u"addonry"_s);
        QTRY_COMPARE(countingTool().refreshes.load(), 1);

        const auto service = std::make_shared<FakeService>(u"bay"_s, false);
        m_controller->services().addServiceToList(service);
        QTest::qWait(500);
        QCOMPARE(countingTool().refreshes.load(), 1);  // nothing to be had from it yet
        QVERIFY(!m_controller->servicesAvailable());

        service->setConnected();
        VLThread::detach(u"connected"_s, [this, service] { m_controller->serviceConnected(service); });
        QTRY_COMPARE(countingTool().refreshes.load(), 2);
        QVERIFY(m_controller->servicesAvailable());

        m_controller->services().setSelectedServices({});
        QTRY_COMPARE(countingTool().refreshes.load(), 3);
        QCOMPARE(m_controller->taskThreads().status().text, u"0 computers selected"_s);
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
        m_controller->disconnectClient(client);
        QCOMPARE(obsolete.size(), 1);
        QCOMPARE(threads.taskThreadCount(), 0);
        QVERIFY(m_controller->serviceMenu().isEmpty() && m_controller->services().serviceArray().isEmpty());
        QVERIFY(m_controller->errorLabel().isEmpty());
        QCOMPARE(m_controller->softwareUpdateCount(), 0);
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
