#include "agent/addonry/AddonryService.h"

#include "agent/AgentContext.h"
#include "agent/addonry/PluginCatalog.h"
#include "agent/dispatch/OperationTable.h"

void addAddonryOperations(OperationTable& table, AgentContext& agent) {
    table.add(QStringLiteral("addonryPluginList"), [&agent](const OperationCall& call) {
        const QVariantList plugins = PluginCatalog::list(agent.tree, agent.consoleUser());
        if (plugins.size() >= PluginCatalog::maximumPlugins)
            agent.log.append(call.peer, QStringLiteral("Only the first %i plug-ins are listed."),
                             PluginCatalog::maximumPlugins);
        return QVariant(plugins);
    });
}
