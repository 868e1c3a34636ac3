#include "agent/faultscope/FaultscopeService.h"

#include "agent/AgentContext.h"
#include "agent/dispatch/OperationTable.h"
#include "agent/faultscope/CrashLogs.h"

namespace {

QVariantList entriesFor(const AgentContext& agent, const QDateTime& since, const QString& hostName) {
    QVariantList entries;
    const auto logs = CrashLogs::newerThan(agent.tree, since);
    for (const CrashLog& log : logs)
        entries.append(QVariantMap{{VLCorvalinServerProtocol::hostNameKey, hostName},
                                   {QStringLiteral("filename"), log.path},
                                   {QStringLiteral("date"), log.date},
                                   {QStringLiteral("cause"), log.cause},
                                   {QStringLiteral("app"), log.application}});
    return entries;
}

/// An answer comes also when there is nothing new: the console shows until then that it waits.
QVariant sendCrashLogs(AgentContext& agent, const OperationCall& call) {
    const QString selector = QStringLiteral("faultscopeAddLogs:hostName:");
    const QString hostName = agent.consoles.hostNameFor(call.peer);
    const QVariantList entries = entriesFor(agent, call.arguments.at(0).toDateTime(), hostName);
    if (const auto delegate = call.arguments.at(1).value<VLRemoteCallbackPtr>())
        delegate->post(selector, {entries, hostName});
    else
        agent.consoles.postToCaller(call.peer, selector, {entries, hostName});
    return {};
}

}  // namespace

void addFaultscopeOperations(OperationTable& table, AgentContext& agent) {
    table.add(QStringLiteral("crashLogsSinceDate:delegate:"),
              [&agent](const OperationCall& call) { return sendCrashLogs(agent, call); });
}
