#include "app/AppController.h"

#include "app/AppDefaults.h"
#include "app/ConsoleIdentity.h"
#include "base/VLBundle.h"
#include "base/VLLocalPaths.h"
#include "foundation/MainThread.h"
#include "foundation/VLNotificationCenter.h"
#include "foundation/VLThread.h"
#include "foundation/VLUserDefaults.h"
#include "logs/VLLog.h"
#include "system/VLException.h"

#include <QCoreApplication>
#include <QDir>

#include <algorithm>

namespace {

constexpr std::chrono::seconds longestEnd{10};
constexpr std::chrono::seconds longestRunEnd{2};
constexpr quint32 interfaceFileCount = 1;  // the main window, which holds every view

VLUserDefaults& defaults() {
    return VLUserDefaults::standardUserDefaults();
}

}  // namespace

AppController::AppController(QList<Tool> tools, AppServices appServices, QObject* parent)
    : QObject(parent),
      m_appServices(std::move(appServices)),
      m_services(std::make_unique<ServiceList>()),
      m_troubleshooter(std::make_unique<ConnectionTroubleshooter>(*m_services)),
      m_softwareUpdates(std::make_unique<SoftwareUpdates>(*m_services, m_appServices.checkForUpdatesToSelf)) {
    createTools(std::move(tools));
}

void AppController::createTools(QList<Tool> tools) {
    m_taskThreads = std::make_unique<TaskThreads>(TaskThreads::Environment{
        [this] { return static_cast<int>(m_services->selectedServices().size()); },
        [this] { m_toolSet->autoRefresh().autoRefreshData(true); },
        [this] { m_toolSet->stopSpinners(); },
    });
    m_runStatus = std::make_unique<RunStatus>(m_taskThreads->runs());
    m_toolSet = std::make_unique<ToolSet>(std::move(tools), *m_services, *m_taskThreads);
    m_runActions = std::make_unique<RunActions>(m_taskThreads->runs(), *m_toolSet, *m_services);
    connect(m_services.get(), &ServiceList::selectionChanged, m_taskThreads.get(),
            [this] { m_taskThreads->updateSelectedComputerStatus(); });
}

AppController::~AppController() {
    shutDown();
}

// ---- Start-up

bool AppController::init() {
    m_launchDate = QDateTime::currentDateTime();
    const bool hasFaultpost = m_appServices.startFaultpost();
    VLLog::createNewLog();
    if (!hasFaultpost)
        VLLog::appendLog(QStringLiteral("The console's crash reporter is not part of this version."));
    createErrorCallback();
    createRunner();
    createAuthorization();
    registerDefaults();
    createActivity();
    m_toolSet->setContext(toolContext());
    subscribeToNotifications();
    VLLog::appendLog(QStringLiteral("Searching for services..."));
    populateServiceGroups();
    return startDiscovery();
}

void AppController::createErrorCallback() {
    m_errorCallback = std::make_shared<VLErrorCallback>(errorCallbackParent());
    m_errorLog = std::make_unique<ErrorLog>(m_errorCallback, m_appServices.uploadErrorLog);
}

void AppController::createRunner() {
    RemoteRunner::Environment environment;
    environment.progress = m_taskThreads.get();
    environment.selectedServices = [this] { return selectedClients(); };
    environment.errorCallback = m_errorCallback;
    environment.followsUp = [] {
        const QString key = QLatin1String(RunList::followUpKey);
        return !defaults().objectForKey(key).isValid() || defaults().boolForKey(key);
    };
    environment.clientFailed = [callback = m_errorCallback](const QString& hostName, const QString& reason) {
        callback->addStringToQueue(reason, hostName);
    };
    environment.clientReportedError = [callback = m_errorCallback](const QString& hostName,
                                                                   const QVariantMap& error) {
        callback->addErrorToQueue(error, hostName);
    };
    m_runner = std::make_unique<RemoteRunner>(std::move(environment));
}

void AppController::registerDefaults() {
    defaults().registerDefaults(registeredDefaults(m_toolSet->tools()));
}

void AppController::populateServiceGroups() {
    m_groupStore = std::make_unique<ServiceGroupStore>(*m_services);
    m_groupStore->populate();
}

bool AppController::startDiscovery() {
    VLServiceEnvironment environment;
    try {
        environment.identity = ConsoleIdentity::load();
    } catch (const std::exception& exception) {
        VLException::logException(exception, "-[AppController init]");
        return false;
    }
    environment.pins = ConsoleIdentity::pins();
    environment.delegate = this;
    environment.cacheDirectory = cacheDirectory();
    VLService::setEnvironment(std::move(environment));

    m_discovery = std::make_unique<Discovery>(Discovery::Environment{
        m_services.get(),
        m_errorCallback,
        [this] { m_taskThreads->updateSelectedComputerStatus(); },
        [this](const VLServicePtr& service) { serviceRemoved(service); },
        [this](const VLServicePtr& service) { serviceAdded(service); },
        [this](const VLServicePtr& service) { endTasksOf(service); },
    });
    createClientParts();
    if (m_browses) m_discovery->findServicesOnThread();
    m_discovery->processManualConnections();
    return true;
}

QString AppController::cacheDirectory() {
    const QString path = VLLocalPaths::cacheDirectory(true) + QStringLiteral("/Corvalin Orlendo");
    QDir().mkpath(path);
    return path;
}

// ---- Interface

void AppController::awakeFromNib() {
    if (++m_awakeCount != interfaceFileCount) return;
    try {
        setUpInterface();
    } catch (const std::exception& exception) {
        VLException::logException(exception, "-[AppController awakeFromNib]");
    } catch (...) {
        VLException::logException(VLException(VLException::generic, QStringLiteral("unknown exception")),
                                  "-[AppController awakeFromNib]");
    }
}

void AppController::setUpInterface() {
    if (!authenticateAtStart()) return;
    populateTasks();
    reloadServiceOutlineView();
    m_taskThreads->updateSelectedComputerStatus();
    m_troubleshooter->setUnattended(m_isUnattended);
    Q_EMIT mainWindowReady();
    showWhatWasHeld();
    if (m_isUnattended) return;
    showFirstRun();
    m_softwareUpdates->checkAtStart();
}

bool AppController::authenticateAtStart() {
    const QVariant stored = defaults().objectForKey(QStringLiteral("requireAdminPassword"));
    m_requireAdminPassword = stored.toLongLong() == 1;
    if (!m_requireAdminPassword || m_appServices.authStart()) return true;
    m_isTerminating = true;
    QCoreApplication::quit();
    return false;
}

/// The tool list is the registry as it stands; the window shows it in that order.
void AppController::populateTasks() {
    const QList<Tool>& tools = m_toolSet->tools();
    VLLog::appendLog(QStringLiteral("%i tools, %i of them ready to use"), static_cast<int>(tools.size()),
                     static_cast<int>(std::count_if(tools.begin(), tools.end(), [](const Tool& tool) {
                         return static_cast<bool>(tool.makeController);
                     })));
}

/// Clients connect while the administrator is still asked for a password; what they said meanwhile is shown
/// now.
void AppController::showWhatWasHeld() {
    m_isReady = true;
    for (const QList<VLServicePtr> held = std::exchange(m_heldFailures, {});
         const VLServicePtr& failed : held)
        m_troubleshooter->connectionFailed(failed);
    if (m_adminUpdateMessageDisplayed) Q_EMIT adminIsOutdated(std::exchange(m_heldOutdated, {}));
}

void AppController::showFirstRun() {
    const QString key = QStringLiteral("firstRun");
    if (isBooleanNo(defaults().objectForKey(key))) return;
    Q_EMIT firstRun();
    defaults().setObject(false, key);
}

// ---- Parts

void AppController::createClientParts() {
    m_clientCommands =
        std::make_unique<ClientCommands>(m_taskThreads->runs(), *m_runner, *m_discovery, m_errorCallback);
    m_clientDetails = std::make_unique<ClientDetails>(*m_services, *m_runner);
}

ToolContext AppController::toolContext() {
    ToolContext context;
    context.runner = m_runner.get();
    context.authorizedRunner = m_authorizedRunner.get();
    context.progress = m_taskThreads.get();
    // A worker works for the computers that were selected when its run began.
    context.selectedServices = [this] {
        const RunPtr run = Run::current();
        if (!run || run->clients().isEmpty()) return m_services->selectedServices();
        QList<VLServicePtr> services;
        for (const RemoteClientPtr& client : run->clients())
            if (auto service = std::dynamic_pointer_cast<VLService>(client)) services.append(service);
        return services;
    };
    context.serviceWithHostName = [this](const QString& hostName) {
        return m_services->serviceWithHostName(hostName);
    };
    context.friendlyServiceName = [this](const QString& hostName) {
        return m_services->friendlyServiceName(hostName);
    };
    context.removeStoredPasswordForHost = [this](const QString& hostName) {
        m_authorization->removeStoredPasswordForHost(hostName);
    };
    return context;
}

// ---- Shutdown

bool AppController::shutDown() {
    if (m_isShutDown) return m_endedCleanly;
    m_isShutDown = true;

    m_appServices.stopFaultpost();
    m_toolSet->stop();
    m_taskThreads->abandon();
    if (m_discovery) m_discovery->stop();
    VLThread::cancelAll();
    MainThread::beginQuitting();
    // From here on no worker waits for this thread, and nothing adds a client any more.
    for (const VLServicePtr& service : m_services->serviceArray())
        service->disconnect();
    m_serviceMenu.clear();
    m_heldFailures.clear();
    m_heldOutdated.reset();
    m_troubleshooter->stop();
    VLNotificationCenter::defaultCenter().removeObserver(this);
    if (m_activity) {
        // What the end has cut short is kept as well.
        MainThread::waitUntil([this] { return m_taskThreads->runs().active().isEmpty(); }, longestRunEnd);
        m_activity->close();
    }

    m_endedCleanly = VLThread::joinAll(longestEnd);
    if (!m_endedCleanly) {
        VLLog::appendLog(QStringLiteral("%i threads had to be left behind at the end"),
                         VLThread::activeCount());
    } else {
        VLService::setEnvironment({});
    }
    // Where a thread is left behind, the process ends without destroying the settings, which would write
    // them.
    defaults().synchronize();
    VLLog::finishWriting();
    return m_endedCleanly;
}
