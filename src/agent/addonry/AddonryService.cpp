#include "agent/addonry/AddonryService.h"

#include "agent/AgentContext.h"
#include "agent/addonry/PluginCatalog.h"
#include "agent/dispatch/OperationTable.h"

void addAddonryOperations(OperationTable& table, AgentContext& agent) {
    table.add(QStringLiteral("addonryPluginList"), [&agent](const OperationCall&) {
        return QVariant(PluginCatalog::list(agent.tree, agent.consoleUser()));
    });
}
