// The controller's answers to notifications, to the agents' callbacks and to the client menu.
#include "app/AppController.h"
#include "clients/VLVirtualService.h"
#include "foundation/MainThread.h"
#include "foundation/VLNotificationCenter.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"
#include "remote/LogBudget.h"
#include "remote/VLCorvalinServerProtocol.h"
#include "runs/InFlight.h"

#include <QTimer>

#include <algorithm>
#include <numeric>

namespace {

VLServicePtr serviceOf(const VLNotification& notification) {
    return notification.userInfo.value(QStringLiteral("service")).value<VLServicePtr>();
}

}  // namespace

void AppController::subscribeToNotifications() {
    auto& center = VLNotificationCenter::defaultCenter();
    const auto observe = [&](const char* name, VLNotificationCenter::Handler handler) {
        center.addObserver(this, QLatin1String(name), std::move(handler));
    };
    observe("vlCorvalinServiceRefresh", [this](const VLNotification&) { reloadServiceOutlineView(); });
    observe("vlCorvalinErrorLabelRefresh", [this](const VLNotification&) { Q_EMIT errorQueueChanged(); });
    observe("vlCorvalinPostLocalError", [this](const VLNotification& n) { postError(n.userInfo); });
    observe("vlCorvalinProgressIncrement",
            [this](const VLNotification&) { m_taskThreads->incrementProgress(); });
    observe("vlCorvalinTaskFinished", [this](const VLNotification&) { m_taskThreads->remoteTaskFinished(); });
    observe("VLTableBadgeClicked", [this](const VLNotification& n) {
        Q_EMIT serviceOutlineBadgeClicked(serviceOf(n), n.userInfo.value(QStringLiteral("badge")).toString());
    });
    observe("VLCorvalinServiceInvalidated",
            [this](const VLNotification& n) { serviceInvalidated(serviceOf(n)); });
    observe("vlCorvalinServiceConnectFailed",
            [this](const VLNotification& n) { connectionFailed(serviceOf(n)); });
    observe("vlCorvalinAdminOutdated", [this](const VLNotification& n) { adminOutdated(serviceOf(n)); });
}

// ---- Notifications

/// Hundreds of clients may report a change in one turn of the event loop; the list is renewed once for all.
void AppController::reloadServiceOutlineView() {
    if (m_reloadPending) return;
    m_reloadPending = true;
    QTimer::singleShot(0, this, [this] {
        m_reloadPending = false;
        m_services->serviceChanged(nullptr);
        updateAvailableServices();
        refreshTroubleshooter();
    });
}

void AppController::updateAvailableServices() {
    const QList<VLServicePtr> services = m_services->serviceArray();
    const bool available = std::any_of(services.begin(), services.end(), [](const VLServicePtr& service) {
        return service->isConnected() && service->enabled();
    });
    if (available == m_servicesAvailable) return;
    m_servicesAvailable = available;
    Q_EMIT servicesAvailableChanged(available);
}

void AppController::serviceInvalidated(const VLServicePtr& service) {
    VLLog::appendLog(QStringLiteral("Invalidating service..."));
    if (!service) {
        VLLog::appendLog(QStringLiteral("Unable to invalidate service - service not found."));
        return;
    }
    // A client entered by hand has no discovery record by which it could be removed: it stays in the list.
    // Nor would anything announce that its agent is back.
    if (const auto netService = service->netService())
        m_discovery->removeLeavingService(*netService);
    else if (service->isManual())
        service->setupReconnectTimer(m_errorCallback);
    refreshTroubleshooter();
    reloadServiceOutlineView();
}

void AppController::connectionFailed(const VLServicePtr& service) {
    VLLog::appendLog(QStringLiteral("Service connection failed."));
    // A record that was removed since is no reason, and must not use up the one time.
    const bool isListed = m_services->serviceArray().contains(service);
    if (isListed && !m_troubleshooterAutoLaunched && !m_isUnattended) {
        m_troubleshooterAutoLaunched = true;
        Q_EMIT connectionTroubleshooterRequested(service, true);
    }
    refreshTroubleshooter();
    Q_EMIT serviceConnectionFailed(service);
    updateAvailableServices();
}

void AppController::adminOutdated(const VLServicePtr& service) {
    VLLog::appendLog(QStringLiteral("Admin is outdated."));
    if (m_adminUpdateMessageDisplayed) return;
    m_adminUpdateMessageDisplayed = true;
    Q_EMIT adminIsOutdated(service);
}

void AppController::postError(const QVariantMap& userInfo) {
    const qlonglong code = userInfo.value(QStringLiteral("errorcode")).toLongLong();
    const QString hostName = userInfo.value(QStringLiteral("hostname")).toString();
    if (code < 1 || hostName.isEmpty()) return;
    m_errorCallback->addErrorToQueue(
        QVariantMap{{QStringLiteral("domain"), QLatin1String(CorvalinError::domain)},
                    {QStringLiteral("code"), code}},
        hostName);
}

void AppController::clearErrorLog() {
    m_errorCallback->clearErrorQueue();
    Q_EMIT errorQueueChanged();
}

QString AppController::errorLabel() const {
    const int count = static_cast<int>(m_errorCallback->errorCount());
    if (count == 0) return {};
    return vlFormat(QStringLiteral("%i error%@"), count, count == 1 ? QString() : QStringLiteral("s"));
}

// ---- Callbacks of the agents

VLErrorCallback::Parent AppController::errorCallbackParent() {
    VLErrorCallback::Parent parent;
    parent.setNeedsMaintenance = [this](const QString& hostName, bool needed) {
        const VLServicePtr service = m_services->serviceWithHostName(hostName);
        if (service) service->setNeedsMaintenance(needed);  // a change reloads the list, once for many
    };
    parent.fetchConfiguration = [this](const QString& hostName) {
        if (const VLServicePtr service = m_services->serviceWithHostName(hostName))
            service->fetchInitialConfiguration(false);
    };
    parent.invalidate = [this](const QString& hostName) {
        if (const VLServicePtr service = m_services->serviceWithHostName(hostName)) service->invalidate();
    };
    parent.knowsHost = [this](const QString& hostName) {
        return m_services->serviceWithHostName(hostName) != nullptr;
    };
    parent.isNameOfClient = [this](const QString& sender, const QString& hostName) {
        const VLServicePtr service = m_services->serviceWithHostName(sender);
        if (!service) return false;
        const QStringList names = service->availableHostNames();
        if (names.contains(hostName) || names.contains(hostName + u'.')) return true;
        // Before its first configuration it may use any name that is not another client's.
        return service->configDict().isEmpty() && !m_services->serviceWithHostName(hostName);
    };
    parent.errorReported = [runs = &m_taskThreads->runs()](const QString& hostName, const QString& text,
                                                           bool isRefusal) {
        runs->noteReport(hostName, {isRefusal ? Outcome::Refused : Outcome::Failed, text});
    };
    parent.faultscopeAddLogs = [budget = LogBudget()](const QVariantList& logs,
                                                      const QString& hostName) mutable {
        if (!budget.take()) return;
        VLLog::appendLog(
            QStringLiteral("%i crash logs of %@ are not shown: this version has no place for them."),
            static_cast<int>(logs.size()), hostName);
    };
    parent.setSoftwareUpdateCount = [this](qlonglong count, const QString& hostName) {
        setSoftwareUpdateCount(count, hostName);
    };
    parent.removeStoredPasswordForHost = [this](const QString& hostName) {
        m_authorization->removeStoredPasswordForHost(hostName);
    };
    return parent;
}

void AppController::setSoftwareUpdateCount(qlonglong count, const QString& hostName) {
    // An agent may send any number; the total of all must stay one.
    constexpr qlonglong highest = 1'000'000;
    const VLServicePtr service = m_services->serviceWithHostName(hostName);
    // A count may arrive when its client has been removed; nothing would take it out of the total again.
    if (service || hostName == QLatin1String(ownHostName))
        storeUpdateCount(std::min(count, highest), service ? service->hostName() : hostName);
}

void AppController::storeUpdateCount(qlonglong count, const QString& hostName) {
    if (m_updateCounts.value(hostName) == std::max(count, qlonglong{0})) return;
    if (count > 0)
        m_updateCounts.insert(hostName, count);
    else
        m_updateCounts.remove(hostName);
    Q_EMIT softwareUpdateCountChanged(softwareUpdateCount());
}

bool AppController::isHostNameOfAnother(const VLServicePtr& service, const QString& hostName) {
    const VLServicePtr found = m_services->serviceWithHostName(hostName);
    return found && found != service &&
           (found->hostName() == hostName || found->hostName() == hostName + u'.');
}

qlonglong AppController::softwareUpdateCount() const {
    return std::accumulate(m_updateCounts.begin(), m_updateCounts.end(), qlonglong{0});
}

/// The answer comes back through the callback object. The request comes with the client's configuration,
/// which is there a little before the client counts as connected.
void AppController::updateSoftwareUpdateCountForItem(const VLServicePtr& service) {
    VLThread::detach(QStringLiteral("updateSoftwareUpdateCount"), [runner = m_runner.get(), service] {
        for (int step = 0; step < 50 && !service->isConnected(); ++step)
            if (!VLThread::sleepFor(std::chrono::milliseconds(100))) return;
        [[maybe_unused]] const QVariant answer = runner->objectFromRemoteMethod(
            QStringLiteral("fetchSoftwareUpdateAvailableUpdateCount"), {}, {}, service);
    });
}

void AppController::displayCrashDialogForClient(const VLServicePtr& service, const QString& log) {
    constexpr qsizetype longestFileName = 255;
    const QString shown = log.left(longestFileName).simplified();
    VLLog::appendLog(QStringLiteral("The agent of %@ reports a crash of its own; its log is %@."),
                     service->name(), shown);
    m_errorCallback->addStringToQueue(
        QStringLiteral("The computer's client agent has crashed. Its crash log is “%1”.").arg(shown),
        service->hostName());
}

// ---- Clients that come and go

void AppController::serviceConnected(const VLServicePtr& service) {
    onMainThreadAndWait([this, service] {
        updateAvailableServices();
        if (m_services->selectedServices().contains(service)) m_refreshRequest->request();
    });
}

void AppController::serviceAdded(const VLServicePtr& service) {
    if (m_serviceMenu.contains(service)) return;
    m_serviceMenu.append(service);
    Q_EMIT serviceMenuChanged();
    reloadServiceOutlineView();
}

void AppController::serviceRemoved(const VLServicePtr& service) {
    storeUpdateCount(0, service->hostName());
    m_errorCallback->removeErrorsForService(service->hostName());
    m_authorization->serviceRemoved(service);
    m_serviceMenu.removeAll(service);
    Q_EMIT serviceMenuChanged();
    updateAvailableServices();
}

void AppController::endTasksOf(const VLServicePtr& service) {
    if (m_taskThreads->sheet().visible) {
        m_taskThreads->decrementTaskThreadCount();
        m_taskThreads->cancelTaskThreads();
    }
    Q_EMIT clientWindowsObsolete(service->name());
}

VLServicePtr AppController::addDemonstrationClient() {
    const QList<VLServicePtr> services = m_services->serviceArray();
    const auto isTaken = [&](const QString& name) {
        return std::any_of(services.begin(), services.end(),
                           [&](const VLServicePtr& service) { return service->name() == name; });
    };
    int number = 1;
    while (isTaken(vlFormat(QStringLiteral("Demo %i"), number)))
        ++number;
    VLServicePtr service =
        VLVirtualService::virtualServiceWithName(vlFormat(QStringLiteral("Demo %i"), number));
    serviceAdded(service);
    m_services->addServiceToList(service);
    m_taskThreads->updateSelectedComputerStatus();
    updateAvailableServices();
    if (m_services->selectedServices().contains(service)) m_refreshRequest->request();
    return service;
}

/// A client that joins the selection by itself is left until it is connected; every other change is shown.
void AppController::selectionChanged() {
    m_taskThreads->updateSelectedComputerStatus();
    const QList<VLServicePtr> list = m_services->selectedServices();
    const std::set<VLServicePtr> selected(list.begin(), list.end());
    const bool hasLost =
        std::any_of(m_refreshedFor.begin(), m_refreshedFor.end(),
                    [&](const VLServicePtr& service) { return !selected.contains(service); });
    const bool hasGained = std::any_of(selected.begin(), selected.end(), [this](const VLServicePtr& service) {
        return !m_refreshedFor.contains(service) && service->isConnected();
    });
    if (hasLost || hasGained || !m_services->allSelected()) m_refreshRequest->request();
}

// ---- Client menu

void AppController::restartClient(const VLServicePtr& service) {
    sendCommand(QStringLiteral("relaunch"), QStringLiteral("Restart Client"),
                QStringLiteral("Restarted the client"), {service});
}

void AppController::stopClient(const VLServicePtr& service) {
    sendCommand(QStringLiteral("disconnect"), QStringLiteral("Stop Client"),
                QStringLiteral("Stopped the client"), {service});
}

void AppController::disconnectClient(const VLServicePtr& service) {
    m_discovery->removeService(service);
}

void AppController::reconnectClient(const VLServicePtr& service) {
    VLThread::detach(QStringLiteral("menuReconnect"),
                     [callback = m_errorCallback, service] { service->connectOnThread(callback); });
}

void AppController::refreshClientInfo(const VLServicePtr& service) {
    VLThread::detach(QStringLiteral("menuRefreshClientInfo"),
                     [service] { service->fetchInitialConfiguration(true); });
}

void AppController::cancelMaintenance(const VLServicePtr& service) {
    sendCommand(QStringLiteral("cancelMaintenanceRequest"), QStringLiteral("Cancel Maintenance"),
                QStringLiteral("Cancelled maintenance"), {service});
}

/// A run like those of the tools: a client is not restarted in the middle of what a tool changes there.
void AppController::sendCommand(const QString& selector, const QString& action, const QString& actionDone,
                                const QList<RemoteClientPtr>& clients, const QString& retryOf) {
    RunList& runs = m_taskThreads->runs();
    const RunPtr run = runs.begin(
        {.action = action, .actionDone = actionDone, .isChange = true, .retryOf = retryOf}, clients);
    runs.keepRedo(*run, [=, this, id = run->id()](const QList<RemoteClientPtr>& others) {
        sendCommand(selector, action, actionDone, others, id);
    });
    VLThread::detach(selector, [runner = m_runner.get(), run, selector] {
        const RunScope scope(run);
        const auto send = [&](const RemoteClientPtr& client) {
            runner->executeRemoteMethod(selector, {}, {}, client);
        };
        InFlight::forEach<RemoteClient>(run, selector, run->clients(), send);
    });
}

bool AppController::canCancelMaintenance(const VLService& service) {
    return service.isConnected() &&
           RemoteRunner::mayExecute(QStringLiteral("cancelMaintenanceRequest"), service);
}
