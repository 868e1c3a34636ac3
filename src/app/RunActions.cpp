#include "app/RunActions.h"

#include "app/ToolSet.h"
#include "clients/ServiceList.h"

/// Those of its computers that are in the list, of the outcomes that `wanted` names.
QList<RemoteClientPtr> RunActions::clientsOf(const RunRecord& record,
                                             const std::function<bool(const HostOutcome&)>& wanted) const {
    QList<RemoteClientPtr> clients;
    for (const HostOutcome& host : record.outcomes) {
        if (!wanted(host)) continue;
        if (const VLServicePtr service = m_services.serviceWithHostName(host.hostName))
            clients.append(service);
    }
    return clients;
}

QList<RemoteClientPtr> RunActions::clientsToRetry(const RunRecord& record) const {
    return clientsOf(record, [](const HostOutcome& host) { return host.outcome.isRetryable(); });
}

bool RunActions::isReadingOfTool(const RunRecord& record) const {
    return !record.isChange && m_tools.hasController(record.tool);
}

bool RunActions::canRetry(const RunRecord& record) const {
    const bool isKnown = isReadingOfTool(record) || m_runs.redoOf(record.id);
    return isKnown && !clientsToRetry(record).isEmpty();
}

void RunActions::retryRun(const RunRecord& record) {
    // What is read from some of the computers only would replace what the others have told.
    if (isReadingOfTool(record)) return m_tools.toolController(record.tool)->readAgain();
    const RunList::Redo redo = m_runs.redoOf(record.id);
    const QList<RemoteClientPtr> clients = clientsToRetry(record);
    if (redo && !clients.isEmpty()) redo(clients);
}

bool RunActions::canUndo(const RunRecord& record) const {
    if (!record.isUndoable() || !m_tools.tool(record.tool)) return false;
    for (const RunPtr& run : m_runs.active())
        if (run->description().undoOf == record.id) return false;
    return !clientsOf(record, [](const HostOutcome& host) { return !host.undo.isEmpty(); }).isEmpty();
}

void RunActions::undoRun(const RunRecord& record) {
    ToolController* const controller = m_tools.toolController(record.tool);
    if (!controller || !canUndo(record)) return;
    controller->startUndo(record,
                          clientsOf(record, [](const HostOutcome& host) { return !host.undo.isEmpty(); }));
}
