#include "agent/tasks/TaskService.h"

#include "agent/AgentContext.h"
#include "agent/dispatch/OperationTable.h"
#include "agent/tasks/SuiteApplications.h"

void addTaskOperations(OperationTable& table, AgentContext& agent) {
    table.add(QStringLiteral("executeTask:bundleID:options:"),
              [&agent](const OperationCall& call) -> QVariant {
                  const QString bundleID = call.arguments.at(1).toString();
                  SuiteApplications::require(agent.tree, bundleID);
                  if (!agent.userTasks.contains(bundleID)) AgentTasks::taskNotFound(bundleID);
                  static_cast<void>(agent.userTasks.run(call.peer, call.arguments.at(0).toString(), bundleID,
                                                        call.arguments.at(2).toMap()));
                  return {};
              });
}
