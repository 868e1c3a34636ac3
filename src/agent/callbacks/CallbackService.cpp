#include "agent/callbacks/CallbackService.h"

#include "agent/AgentContext.h"
#include "agent/dispatch/OperationTable.h"

namespace {

/// Errors that a process of this machine reports go to every console, so one console alone must not be able
/// to fill the others' queues with them. They always name this machine, whatever the sender wrote.
OperationTable::Handler passOn(AgentContext& agent, const char* callback) {
    return [&agent, selector = QString::fromLatin1(callback)](const OperationCall& call) {
        if (!agent.reports.take(call.peer)) {
            agent.log.append(call.peer, QStringLiteral("Too many errors are reported; %@ is dropped."),
                             selector);
            return QVariant();
        }
        QVariantList arguments = call.arguments;
        if (arguments.size() == 1) arguments.append(agent.hostName.get());
        agent.consoles.postToAll(selector, arguments);
        return QVariant();
    };
}

}  // namespace

void addCallbackOperations(OperationTable& table, AgentContext& agent) {
    ConsoleCallbacks& consoles = agent.consoles;

    table.add(QStringLiteral("setErrorCallback:"), [&consoles](const OperationCall& call) {
        consoles.set(call.peer, call.arguments.at(0).value<VLRemoteCallbackPtr>());
        return QVariant();
    });
    table.add(QStringLiteral("postFinishedTask"), [&consoles](const OperationCall& call) {
        consoles.postToCaller(call.peer, QStringLiteral("taskFinished"));
        return QVariant();
    });
    table.add(QStringLiteral("incrementRemoteProgress"), [&consoles](const OperationCall& call) {
        consoles.postToCaller(call.peer, QStringLiteral("incrementProgress"));
        return QVariant();
    });
    table.add(QStringLiteral("postError:"), passOn(agent, "addErrorToQueue:hostname:"));
    table.add(QStringLiteral("postError:userInfo:"), passOn(agent, "addErrorToQueue:userInfo:"));
    table.add(QStringLiteral("postErrorString:"), passOn(agent, "addStringToQueue:hostname:"));
    table.add(QStringLiteral("postErrorString:userInfo:"), passOn(agent, "addStringToQueue:userInfo:"));
}
