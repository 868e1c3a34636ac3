#include "agent/callbacks/CallbackService.h"

#include "agent/AgentContext.h"
#include "agent/dispatch/OperationTable.h"

namespace {

/// The information that goes with an error always names this machine, whatever the sender wrote.
QVariantMap withHostName(QVariantMap userInfo, const AgentContext& agent) {
    userInfo.insert(QStringLiteral("hostname"), agent.hostName.get());
    return userInfo;
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
    table.add(QStringLiteral("postError:"), [&agent](const OperationCall& call) {
        agent.consoles.postToAll(QStringLiteral("addErrorToQueue:hostname:"),
                                 {call.arguments.at(0), agent.hostName.get()});
        return QVariant();
    });
    table.add(QStringLiteral("postError:userInfo:"), [&agent](const OperationCall& call) {
        agent.consoles.postToAll(QStringLiteral("addErrorToQueue:userInfo:"),
                                 {call.arguments.at(0), withHostName(call.arguments.at(1).toMap(), agent)});
        return QVariant();
    });
    table.add(QStringLiteral("postErrorString:"), [&agent](const OperationCall& call) {
        agent.consoles.postToAll(QStringLiteral("addStringToQueue:hostname:"),
                                 {call.arguments.at(0), agent.hostName.get()});
        return QVariant();
    });
    table.add(QStringLiteral("postErrorString:userInfo:"), [&agent](const OperationCall& call) {
        agent.consoles.postToAll(QStringLiteral("addStringToQueue:userInfo:"),
                                 {call.arguments.at(0), withHostName(call.arguments.at(1).toMap(), agent)});
        return QVariant();
    });
}
