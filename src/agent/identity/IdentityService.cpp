#include "agent/identity/IdentityService.h"

#include "agent/AgentContext.h"
#include "agent/dispatch/OperationTable.h"
#include "agent/identity/ClientConfiguration.h"
#include "agent/identity/MachinePicture.h"
#include "agent/identity/MaintenanceRequest.h"
#include "remote/VLCorvalinServerProtocol.h"
#include "system/VLException.h"

#include <QSize>

#include <algorithm>

namespace {

/// Nothing, rather than empty data, for a machine without a picture.
QVariant picture(const AgentContext& agent, const QSize& size = {}) {
    const QByteArray data = MachinePicture::forModel(agent.settings.model, size);
    return data.isEmpty() ? QVariant() : QVariant(data);
}

/// "width" and "height" in pixels, within reason; no size where they make no sense.
QSize pictureSize(const QVariant& value) {
    constexpr qlonglong longest = 1'024;
    const QVariantMap map = value.toMap();
    const auto side = [&](const char* key) {
        return int(std::min(longest, VLCorvalinServerProtocol::integerValue(map.value(QLatin1String(key)))));
    };
    const QSize size(side("width"), side("height"));
    return size.isEmpty() ? QSize() : size;
}

QVariantMap configurationFor(AgentContext& agent, quint64 peer) {
    QVariantMap configuration = ClientConfiguration::current(agent);
    agent.consoles.fetchedConfiguration(peer);
    const auto crash = configuration.constFind(QStringLiteral("selfCrashLog"));
    if (crash != configuration.constEnd() &&
        !agent.crashReports.takeFor(agent.consoles.consoleOf(peer), crash->toString()))
        configuration.erase(crash);
    return configuration;
}

void cancelMaintenance(const AgentContext& agent) {
    if (!MaintenanceRequest::cancel(agent.settings.stateDirectory))
        throw VLException(VLException::generic,
                          QStringLiteral("The maintenance request could not be removed."));
    // The consoles hear of it from whoever watches the request, as they do when a local program withdraws it.
}

}  // namespace

void addIdentityOperations(OperationTable& table, AgentContext& agent) {
    const auto configuration = [&agent](const OperationCall& call) {
        return QVariant(configurationFor(agent, call.peer));
    };
    table.add(QStringLiteral("initialConfiguration"), configuration);
    table.add(QStringLiteral("fetchInitialConfiguration:"), configuration);
    table.add(QStringLiteral("systemSpecs"),
              [&agent](const OperationCall&) { return QVariant(ClientConfiguration::systemSpecs(agent)); });
    table.add(QStringLiteral("computerIcon"), [&agent](const OperationCall&) { return picture(agent); });
    table.add(QStringLiteral("computerIcon:"), [&agent](const OperationCall& call) {
        return picture(agent, pictureSize(call.arguments.at(0)));
    });
    table.add(QStringLiteral("ping"), [](const OperationCall&) { return QVariant(); });
    table.add(QStringLiteral("cancelMaintenanceRequest"), [&agent](const OperationCall& call) {
        agent.log.append(call.peer, QStringLiteral("A console cancels the maintenance request."));
        cancelMaintenance(agent);
        return QVariant();
    });
    table.add(QStringLiteral("disconnect"), [&agent](const OperationCall& call) {
        agent.log.append(call.peer, QStringLiteral("A console asks this agent to quit."));
        agent.quit();
        return QVariant();
    });
    table.add(QStringLiteral("relaunch"), [&agent](const OperationCall& call) {
        agent.log.append(call.peer, QStringLiteral("A console asks this agent to start anew."));
        agent.relaunch();
        return QVariant();
    });
}
