#include "app/ClientCommands.h"

#include "clients/Discovery.h"
#include "foundation/VLThread.h"
#include "runs/InFlight.h"
#include "runs/RemoteRunner.h"
#include "runs/RunList.h"

namespace {

QList<RemoteClientPtr> remoteClients(const QList<VLServicePtr>& services) {
    return {services.begin(), services.end()};
}

bool wouldHear(const VLService& service, const QString& selector) {
    return service.isConnected() && RemoteRunner::mayExecute(selector, service);
}

}  // namespace

void ClientCommands::restartClients(const QList<VLServicePtr>& services) {
    send({QStringLiteral("relaunch"), tr("Restart Client"), tr("Restarted the client")},
         remoteClients(services));
}

void ClientCommands::stopClients(const QList<VLServicePtr>& services) {
    send({QStringLiteral("disconnect"), tr("Stop Client"), tr("Stopped the client")},
         remoteClients(services));
}

void ClientCommands::cancelMaintenance(const QList<VLServicePtr>& services) {
    send({QStringLiteral("cancelMaintenanceRequest"), tr("Cancel Maintenance"), tr("Cancelled maintenance")},
         remoteClients(services));
}

void ClientCommands::send(const Command& command, const QList<RemoteClientPtr>& clients,
                          const QString& retryOf) {
    if (clients.isEmpty()) return;
    const RunPtr run = m_runs.begin(
        {.action = command.action, .actionDone = command.actionDone, .isChange = true, .retryOf = retryOf},
        clients);
    m_runs.keepRedo(*run, [this, command, id = run->id()](const QList<RemoteClientPtr>& others) {
        send(command, others, id);
    });
    VLThread::detach(command.selector, [runner = &m_runner, run, selector = command.selector] {
        const RunScope scope(run);
        const auto execute = [&](const RemoteClientPtr& client) {
            runner->executeRemoteMethod(selector, {}, {}, client);
        };
        InFlight::forEach<RemoteClient>(run, selector, run->clients(), execute);
    });
}

void ClientCommands::reconnectClients(const QList<VLServicePtr>& services) {
    for (const VLServicePtr& service : services)
        VLThread::detach(QStringLiteral("menuReconnect"),
                         [callback = m_callback, service] { service->connectOnThread(callback); });
}

void ClientCommands::refreshClientInfo(const QList<VLServicePtr>& services) {
    for (const VLServicePtr& service : services)
        VLThread::detach(QStringLiteral("menuRefreshClientInfo"),
                         [service] { service->fetchInitialConfiguration(true); });
}

void ClientCommands::disconnectClient(const VLServicePtr& service) {
    m_discovery.removeService(service);
}

void ClientCommands::acceptIdentity(const VLServicePtr& service, const QByteArray& certificate) {
    service->acceptChangedCertificate(certificate, m_callback);
}

bool ClientCommands::canRestart(const VLService& service) {
    return wouldHear(service, QStringLiteral("relaunch"));
}

bool ClientCommands::canStop(const VLService& service) {
    return wouldHear(service, QStringLiteral("disconnect"));
}

bool ClientCommands::canCancelMaintenance(const VLService& service) {
    return wouldHear(service, QStringLiteral("cancelMaintenanceRequest"));
}
