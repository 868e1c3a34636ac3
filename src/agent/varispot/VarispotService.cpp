#include "agent/varispot/VarispotService.h"

#include "agent/AgentContext.h"
#include "agent/dispatch/OperationTable.h"
#include "agent/varispot/SystemSnapshot.h"

void addVarispotOperations(OperationTable& table, AgentContext& agent) {
    table.add(QStringLiteral("varispotSystemInfo"),
              [&agent](const OperationCall&) { return QVariant(systemSnapshot(agent)); });
}
