// The controller's answers to notifications and to the agents' callbacks, and clients that come and go.
#include "app/AppController.h"
#include "base/VLFormat.h"
#include "clients/VLVirtualService.h"
#include "foundation/MainThread.h"
#include "foundation/VLNotificationCenter.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"
#include "remote/LogBudget.h"
#include "remote/VLCallback.h"

#include <QTimer>

#include <algorithm>
#include <utility>

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
    observe("vlCorvalinErrorLabelRefresh",
            [this](const VLNotification&) { Q_EMIT m_errorLog->errorQueueChanged(); });
    observe("vlCorvalinPostLocalError",
            [this](const VLNotification& n) { m_errorLog->postError(n.userInfo); });
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
        m_troubleshooter->refresh();
    });
}

void AppController::setServicesAvailable(bool available) {
    if (std::exchange(m_servicesAvailable, available) != available)
        Q_EMIT servicesAvailableChanged(available);
}

void AppController::updateAvailableServices() {
    const QList<VLServicePtr> services = m_services->serviceArray();
    setServicesAvailable(std::any_of(services.begin(), services.end(), [](const VLServicePtr& service) {
        return service->isConnected() && service->enabled();
    }));
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
    m_troubleshooter->refresh();
    reloadServiceOutlineView();
}

void AppController::connectionFailed(const VLServicePtr& service) {
    VLLog::appendLog(QStringLiteral("Service connection failed."));
    if (m_isReady)
        m_troubleshooter->connectionFailed(service);
    else if (!m_heldFailures.contains(service))
        m_heldFailures.append(service);
    Q_EMIT serviceConnectionFailed(service);
    updateAvailableServices();
}

void AppController::adminOutdated(const VLServicePtr& service) {
    VLLog::appendLog(QStringLiteral("Admin is outdated."));
    if (std::exchange(m_adminUpdateMessageDisplayed, true)) return;
    if (m_isReady)
        Q_EMIT adminIsOutdated(service);
    else
        m_heldOutdated = service;
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
    parent.workOn = [runs = &m_taskThreads->runs()](const QString& hostName) -> VLErrorCallback::Work {
        const RunPtr run = runs->workOn(hostName);
        if (!run) return {};
        return {run->description().tool, run->description().title()};
    };
    parent.faultscopeAddLogs = [budget = LogBudget()](const QVariantList& logs,
                                                      const QString& hostName) mutable {
        if (!budget.take()) return;
        VLLog::appendLog(
            QStringLiteral("%i crash logs of %@ are not shown: this version has no place for them."),
            static_cast<int>(logs.size()), hostName);
    };
    parent.setSoftwareUpdateCount = [this](qlonglong count, const QString& hostName) {
        m_softwareUpdates->setSoftwareUpdateCount(count, hostName);
    };
    parent.removeStoredPasswordForHost = [this](const QString& hostName) {
        m_authorization->removeStoredPasswordForHost(hostName);
    };
    return parent;
}

void AppController::setSoftwareUpdateCount(qlonglong count, const QString& hostName) {
    m_softwareUpdates->setSoftwareUpdateCount(count, hostName);
}

bool AppController::isHostNameOfAnother(const VLServicePtr& service, const QString& hostName) {
    const VLServicePtr found = m_services->serviceWithHostName(hostName);
    return found && found != service &&
           (found->hostName() == hostName || found->hostName() == hostName + u'.');
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
        tr("The computer's client agent has crashed. Its crash log is “%1”.").arg(shown),
        service->hostName());
}

void AppController::objectDidPostCallback(const std::shared_ptr<VLCallback>& callback) {
    VLLog::appendLog(QStringLiteral("Callback received"));
    const QVariant output = callback->info().value(QStringLiteral("output"));
    if (callback->name() != QLatin1String("vlEncodemendScanFinished")) return;
    if (output.typeId() != QMetaType::QString) return;
    constexpr qsizetype longestOutput = 1'000'000;
    const QString text = output.toString().left(longestOutput);
    const QString hostName = callback->hostname();
    Q_EMIT encodemendScanFinished(m_services->friendlyServiceName(hostName), text);

    const bool isRefused = text.contains(QLatin1String("Unable to authorize"), Qt::CaseInsensitive) ||
                           text.contains(QLatin1String("Cannot authorize"), Qt::CaseInsensitive);
    if (!isRefused || hostName.isEmpty()) return;
    // The keychain may be slow.
    VLThread::detach(QStringLiteral("removeStoredPasswordForHost:"),
                     [forget = toolContext().removeStoredPasswordForHost, hostName] { forget(hostName); });
}

// ---- Clients that come and go

void AppController::serviceConnected(const VLServicePtr& service) {
    onMainThreadAndWait([this, service] {
        updateAvailableServices();
        if (m_services->selectedServices().contains(service)) m_toolSet->requestRefresh();
    });
}

void AppController::serviceAdded(const VLServicePtr& service) {
    if (m_serviceMenu.contains(service)) return;
    m_serviceMenu.append(service);
    Q_EMIT serviceMenuChanged();
    reloadServiceOutlineView();
}

void AppController::serviceRemoved(const VLServicePtr& service) {
    m_softwareUpdates->forget(service->hostName());
    m_errorCallback->removeErrorsForService(service->hostName());
    for (const QStringList names = service->availableHostNames(); const QString& name : names) {
        m_softwareUpdates->forget(name);
        m_errorCallback->removeErrorsForService(name);
    }
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
    if (m_services->selectedServices().contains(service)) m_toolSet->requestRefresh();
    return service;
}
