// Runs that have ended: doing them again, and taking them back.
#include "app/AppController.h"

/// Those of its computers that are in the list, of the outcomes that `wanted` names.
QList<RemoteClientPtr> AppController::clientsOf(const RunRecord& record,
                                                const std::function<bool(const HostOutcome&)>& wanted) const {
    QList<RemoteClientPtr> clients;
    for (const HostOutcome& host : record.outcomes) {
        if (!wanted(host)) continue;
        if (const VLServicePtr service = m_services->serviceWithHostName(host.hostName))
            clients.append(service);
    }
    return clients;
}

QList<RemoteClientPtr> AppController::clientsToRetry(const RunRecord& record) const {
    return clientsOf(record, [](const HostOutcome& host) { return host.outcome.isRetryable(); });
}

bool AppController::isReadingOfTool(const RunRecord& record) const {
    return !record.isChange && m_toolControllers.contains(record.tool);
}

bool AppController::canRetry(const RunRecord& record) const {
    const bool isKnown = isReadingOfTool(record) || m_taskThreads->runs().redoOf(record.id);
    return isKnown && !clientsToRetry(record).isEmpty();
}

void AppController::retryRun(const RunRecord& record) {
    // What is read from some of the computers only would replace what the others have told.
    if (isReadingOfTool(record)) return toolController(record.tool)->readAgain();
    const RunList::Redo redo = m_taskThreads->runs().redoOf(record.id);
    const QList<RemoteClientPtr> clients = clientsToRetry(record);
    if (redo && !clients.isEmpty()) redo(clients);
}

bool AppController::canUndo(const RunRecord& record) const {
    if (!record.isUndoable() || !tool(record.tool)) return false;
    for (const RunPtr& run : m_taskThreads->runs().active())
        if (run->description().undoOf == record.id) return false;
    return !clientsOf(record, [](const HostOutcome& host) { return !host.undo.isEmpty(); }).isEmpty();
}

void AppController::undoRun(const RunRecord& record) {
    ToolController* const controller = toolController(record.tool);
    if (!controller || !canUndo(record)) return;
    controller->startUndo(record,
                          clientsOf(record, [](const HostOutcome& host) { return !host.undo.isEmpty(); }));
}
