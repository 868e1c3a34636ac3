#include "agent/updates/UpdateService.h"

#include "agent/AgentContext.h"
#include "agent/dispatch/OperationTable.h"
#include "agent/updates/UpdateCount.h"

void addUpdateOperations(OperationTable& table, AgentContext& agent) {
    table.add(QStringLiteral("fetchSoftwareUpdateAvailableUpdateCount"), [&agent](const OperationCall& call) {
        const auto counted = UpdateCount::countAfresh(agent);
        agent.consoles.postToCaller(call.peer, QStringLiteral("setSoftwareUpdateCount:hostname:"),
                                    {counted ? counted->count : 0LL, agent.hostName.get()});
        return QVariant();
    });
}
