#include "app/AppController.h"

#include "app/AppDefaults.h"
#include "app/AppInterface.h"
#include "app/ConsoleIdentity.h"
#include "foundation/MainThread.h"
#include "foundation/VLBundle.h"
#include "foundation/VLNotificationCenter.h"
#include "foundation/VLThread.h"
#include "foundation/VLUserDefaults.h"
#include "logs/VLLog.h"
#include "system/VLException.h"
#include "system/VLLocalPaths.h"

#include <QCoreApplication>
#include <QDir>
#include <QGuiApplication>

#include <algorithm>

namespace {

constexpr std::chrono::seconds longestEnd{10};
constexpr std::chrono::seconds longestRunEnd{2};
constexpr quint32 interfaceFileCount = 1;  // the main window, which holds every view

VLUserDefaults& defaults() {
    return VLUserDefaults::standardUserDefaults();
}

bool isApplicationActive() {
    return QGuiApplication::applicationState() == Qt::ApplicationActive;
}

void startOnThread(std::function<void()> operation) {
    VLThread::detach(QStringLiteral("autoRefresh"), std::move(operation));
}

}  // namespace

AppController::AppController(QList<Tool> tools, AppServices appServices, QObject* parent)
    : QObject(parent),
      m_tools(std::move(tools)),
      m_appServices(std::move(appServices)),
      m_services(std::make_unique<ServiceList>()) {
    m_taskThreads = std::make_unique<TaskThreads>(TaskThreads::Environment{
        [this] { return static_cast<int>(m_services->selectedServices().size()); },
        [this] { m_autoRefresh->autoRefreshData(true); },
        [this] {
            for (const auto& controller : std::as_const(m_toolControllers))
                controller->stopSpinner();
        },
    });
    m_runStatus = std::make_unique<RunStatus>(m_taskThreads->runs());
    m_autoRefresh = std::make_unique<AutoRefresh>(AutoRefresh::Environment{
        [this] { return m_taskThreads->isProcessing(); },
        [this] { return m_taskThreads->isInstallingUpdate(); },
        isApplicationActive,
        startOnThread,
    });
    m_refreshRequest = std::make_unique<RefreshRequest>(RefreshRequest::Environment{
        [this] { return m_autoRefresh->hasOperation() && !m_autoRefresh->canRefreshNow(); },
        [this] {
            const QList<VLServicePtr> selected = m_services->selectedServices();
            return std::none_of(selected.begin(), selected.end(), [](const VLServicePtr& service) {
                return service->spinning() && !service->isConnected();
            });
        },
        [this] { refreshVisibleTool(); },
    });
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
    VLLog::appendLog(QStringLiteral("Searching for services..."));
    populateServiceGroups();
    if (!startDiscovery()) return false;
    connect(m_services.get(), &ServiceList::selectionChanged, this, &AppController::selectionChanged);
    return true;
}

void AppController::createErrorCallback() {
    m_errorCallback = std::make_shared<VLErrorCallback>(errorCallbackParent());
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
    defaults().registerDefaults(registeredDefaults(m_tools));
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
    observeProcessing();
    if (m_interface) {
        m_interface->observeNewTaskSelection();
        m_interface->setUpMainWindow();
        m_interface->keepToolViews();
        m_interface->registerForDraggedTypes();
        m_interface->markTitleCellsAsLeaves();
        m_interface->setInterCellSpacing();
        m_interface->setScopeImages();
    }
    subscribeToNotifications();
    if (m_interface) {
        m_interface->layOutVarispot();
        m_interface->setDoubleClickActions();
    }
    reloadServiceOutlineView();
    m_taskThreads->updateSelectedComputerStatus();
    Q_EMIT mainWindowReady();
    if (m_isUnattended) return;
    showFirstRun();
    checkForUpdatesToSelf();
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
    VLLog::appendLog(QStringLiteral("%i tools, %i of them ready to use"), static_cast<int>(m_tools.size()),
                     static_cast<int>(std::count_if(m_tools.begin(), m_tools.end(), [](const Tool& tool) {
                         return static_cast<bool>(tool.makeController);
                     })));
}

void AppController::observeProcessing() {
    connect(m_taskThreads.get(), &TaskThreads::isProcessingChanged, this, [this](bool processing) {
        if (processing || !m_autoRefresh->hasOperation())
            m_autoRefresh->toolbarRefreshDisable();
        else
            m_autoRefresh->toolbarRefreshEnable();
    });
}

void AppController::showFirstRun() {
    const QString key = QStringLiteral("firstRun");
    if (isBooleanNo(defaults().objectForKey(key))) return;
    Q_EMIT firstRun();
    defaults().setObject(false, key);
}

void AppController::checkForUpdatesToSelf() {
    if (defaults().objectForKey(QStringLiteral("SUCheckAtStartup")).toLongLong() == 0) return;
    const qlonglong known = defaults().integerForKey(QStringLiteral("availableUpdateVersion"));
    const qlonglong own =
        VLBundle::mainBundle().integerForInfoDictionaryKey(QStringLiteral("CFBundleVersion"));
    if (known > own) return setSoftwareUpdateCount(1, QLatin1String(ownHostName));
    searchForUpdates({});
}

void AppController::searchForUpdates(std::function<void(bool isDone)> then) {
    VLThread::detach(QStringLiteral("checkForUpdatesToSelf"),
                     [check = m_appServices.checkForUpdatesToSelf, then = std::move(then)] {
                         const bool isDone = check && check();
                         if (then) onMainThread([then, isDone] { then(isDone); });
                     });
}

// ---- Tools

const Tool* AppController::tool(const QString& identifier) const {
    const auto found = std::find_if(m_tools.begin(), m_tools.end(),
                                    [&](const Tool& tool) { return tool.identifier == identifier; });
    return found == m_tools.end() ? nullptr : &*found;
}

ToolContext AppController::toolContext(const QString& identifier) {
    ToolContext context;
    context.tool = identifier;
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

ToolController* AppController::toolController(const QString& identifier) {
    if (const auto made = m_toolControllers.constFind(identifier); made != m_toolControllers.constEnd())
        return made->get();
    const Tool* const found = tool(identifier);
    if (!found || !found->makeController) return nullptr;
    std::shared_ptr<ToolController> controller = found->makeController(toolContext(identifier));
    m_toolControllers.insert(identifier, controller);
    return controller.get();
}

void AppController::setVisibleTool(const QString& identifier) {
    m_autoRefresh->setupAutoRefresh({}, 0);
    m_visibleTool = identifier;
    if (toolController(identifier)) {
        const std::shared_ptr<ToolController> controller = m_toolControllers.value(identifier);
        controller->becomesVisible();
        m_autoRefresh->setupAutoRefresh([controller] { controller->refresh(); },
                                        tool(identifier)->refreshInterval);
        if (m_autoRefresh->canRefreshNow())
            refreshVisibleTool();
        else
            m_refreshRequest->request();
    }
    Q_EMIT visibleToolChanged(identifier);
}

void AppController::refreshVisibleTool() {
    const QList<VLServicePtr> selected = m_services->selectedServices();
    m_refreshedFor = {selected.begin(), selected.end()};
    m_autoRefresh->autoRefreshData(false);
}

void AppController::clearData() {
    m_taskThreads->setProcessingCancelled(true);
    QList<Tool> tools = m_tools;
    std::stable_sort(tools.begin(), tools.end(),
                     [](const Tool& a, const Tool& b) { return a.clearingPlace < b.clearingPlace; });
    for (const Tool& tool : std::as_const(tools))
        if (const auto controller = m_toolControllers.value(tool.identifier)) controller->clearData();
}

// ---- Shutdown

bool AppController::shutDown() {
    if (m_isShutDown) return m_endedCleanly;
    m_isShutDown = true;

    m_appServices.stopFaultpost();
    m_refreshRequest->cancel();
    m_taskThreads->abandon();
    if (m_discovery) m_discovery->stop();
    VLThread::cancelAll();
    MainThread::beginQuitting();
    // From here on no worker waits for this thread, and nothing adds a client any more.
    for (const VLServicePtr& service : m_services->serviceArray())
        service->disconnect();
    m_serviceMenu.clear();
    m_failingClients.setServices({});
    m_refreshedFor.clear();
    m_autoRefresh->setupAutoRefresh({}, 0);
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
