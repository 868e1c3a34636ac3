#include "agent/AgentRoot.h"

#include "agent/authorization/AuthorizationService.h"
#include "agent/callbacks/CallbackService.h"
#include "agent/faultscope/FaultscopeService.h"
#include "agent/identity/IdentityService.h"
#include "agent/logs/LogService.h"
#include "agent/tasks/TaskService.h"
#include "agent/updates/UpdateService.h"
#include "agent/varispot/VarispotService.h"
#include "system/VLException.h"

#define PLANNED(word, title, subtitle, interval)
#define BUILT(word, name) void add##name##Operations(OperationTable& table, AgentContext& agent);
#include "common/ToolList.inc"
#undef BUILT
#define BUILT(word, name) add##name##Operations(m_operations, *m_agent);

using namespace VLCorvalinServerProtocol;

AgentRoot::AgentRoot(std::shared_ptr<AgentContext> agent) : m_agent(std::move(agent)) {
    addIdentityOperations(m_operations, *m_agent);
    addCallbackOperations(m_operations, *m_agent);
    addAuthorizationOperations(m_operations, *m_agent);
    addLogOperations(m_operations, *m_agent);
    addVarispotOperations(m_operations, *m_agent);
    addFaultscopeOperations(m_operations, *m_agent);
    addUpdateOperations(m_operations, *m_agent);
    addTaskOperations(m_operations, *m_agent);
#include "common/ToolList.inc"
}

bool AgentRoot::respondsToSelector(const QString& selector) const {
    return m_operations.contains(selector);
}

QVariant AgentRoot::perform(const QString& selector, const QVariantList& arguments, quint64 peer) {
    try {
        return m_operations.perform(selector, {arguments, peer});
    } catch (const VLException& error) {
        if (error.name() == VLException::refused) return reportRefusal(selector, error, peer);
        reportFailure(selector, error, peer);
        throw;
    } catch (const std::exception& error) {
        const VLException wrapped(VLException::generic, QString::fromUtf8(error.what()));
        reportFailure(selector, wrapped, peer);
        throw wrapped;
    }
}

void AgentRoot::reportFailure(const QString& selector, const VLException& error, quint64 peer) {
    m_agent->log.append(peer, QStringLiteral("Operation %@ failed: %@"), selector.left(100),
                        error.reason().left(1000));
    const auto* declared = operation(Side::Agent, selector);
    const bool isOneway = declared != nullptr && declared->mode == Mode::Oneway;
    // Whoever waits for an operation gets its failure raised, code and all, and reports it; for a oneway one
    // the callback is the only way.
    if (isOneway) m_agent->consoles.postFailure(peer, error, m_agent->hostName.get());
}

/// A console takes leave of a client whose operations fail, and connects anew. Where nothing is wrong with
/// the workstation it only hears why nothing was done, and that before the answer.
QVariant AgentRoot::reportRefusal(const QString& selector, const VLException& error, quint64 peer) {
    m_agent->log.append(peer, QStringLiteral("%@"), error.reason().left(1000));
    m_agent->consoles.postRefusal(peer, error, selector);
    return {};
}

void AgentRoot::peerOpened(quint64 peer, const QString& console, const QByteArray& certificate) {
    m_agent->consoles.opened(peer, console);
    m_agent->administrators.peerOpened(peer, certificate);
}

void AgentRoot::peerClosed(quint64 peer) {
    m_agent->consoles.remove(peer);
    m_agent->log.forget(peer);
    m_agent->reports.forget(peer);
    m_agent->administrators.peerClosed(peer);
}
