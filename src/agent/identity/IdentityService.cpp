#include "agent/identity/IdentityService.h"

#include "agent/AgentContext.h"
#include "agent/dispatch/OperationTable.h"
#include "agent/identity/ClientConfiguration.h"
#include "agent/identity/MachinePicture.h"
#include "agent/identity/MaintenanceRequest.h"
#include "logs/VLLog.h"
#include "system/VLException.h"

namespace {

/// Nothing, rather than empty data, for a machine without a picture.
QVariant picture(const AgentContext& agent) {
    const QByteArray data = MachinePicture::forModel(agent.settings.model);
    return data.isEmpty() ? QVariant() : QVariant(data);
}

void cancelMaintenance(const AgentContext& agent) {
    if (!MaintenanceRequest::cancel(agent.settings.stateDirectory))
        throw VLException(VLException::generic,
                          QStringLiteral("The maintenance request could not be removed."));
    // The consoles hear of it from whoever watches the request, as they do when a local program withdraws it.
}

}  // namespace

void addIdentityOperations(OperationTable& table, AgentContext& agent) {
    const auto configuration = [&agent](const OperationCall&) {
        QVariantMap current = ClientConfiguration::current(agent);
        const QString crash = current.value(QStringLiteral("selfCrashLog")).toString();
        if (!crash.isEmpty()) ClientConfiguration::markCrashReported(agent, crash);
        return QVariant(current);
    };
    table.add(QStringLiteral("initialConfiguration"), configuration);
    table.add(QStringLiteral("fetchInitialConfiguration:"), configuration);
    table.add(QStringLiteral("systemSpecs"),
              [&agent](const OperationCall&) { return QVariant(ClientConfiguration::systemSpecs(agent)); });
    table.add(QStringLiteral("computerIcon"), [&agent](const OperationCall&) { return picture(agent); });
    // The one picture there is serves every size; the console scales it.
    table.add(QStringLiteral("computerIcon:"), [&agent](const OperationCall&) { return picture(agent); });
    table.add(QStringLiteral("ping"), [](const OperationCall&) { return QVariant(); });
    table.add(QStringLiteral("cancelMaintenanceRequest"), [&agent](const OperationCall&) {
        VLLog::appendLog(QStringLiteral("A console cancels the maintenance request."));
        cancelMaintenance(agent);
        return QVariant();
    });
    table.add(QStringLiteral("disconnect"), [&agent](const OperationCall&) {
        VLLog::appendLog(QStringLiteral("A console asks this agent to quit."));
        agent.quit();
        return QVariant();
    });
    table.add(QStringLiteral("relaunch"), [&agent](const OperationCall&) {
        VLLog::appendLog(QStringLiteral("A console asks this agent to start anew."));
        agent.relaunch();
        return QVariant();
    });
}
