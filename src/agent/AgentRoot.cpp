#include "agent/AgentRoot.h"

#include "agent/addonry/AddonryService.h"
#include "agent/callbacks/CallbackService.h"
#include "agent/identity/IdentityService.h"
#include "agent/logs/LogService.h"
#include "agent/varispot/VarispotService.h"
#include "logs/VLLog.h"
#include "system/VLException.h"

using namespace VLCorvalinServerProtocol;

AgentRoot::AgentRoot(std::shared_ptr<AgentContext> agent) : m_agent(std::move(agent)) {
    addIdentityOperations(m_operations, *m_agent);
    addCallbackOperations(m_operations, *m_agent);
    addLogOperations(m_operations, *m_agent);
    addAddonryOperations(m_operations, *m_agent);
    addVarispotOperations(m_operations, *m_agent);
}

bool AgentRoot::respondsToSelector(const QString& selector) const {
    return m_operations.contains(selector);
}

QVariant AgentRoot::perform(const QString& selector, const QVariantList& arguments, quint64 peer) {
    try {
        return m_operations.perform(selector, {arguments, peer});
    } catch (const VLException& error) {
        reportFailure(selector, error, peer);
        throw;
    } catch (const std::exception& error) {
        const VLException wrapped(VLException::generic, QString::fromUtf8(error.what()));
        reportFailure(selector, wrapped, peer);
        throw wrapped;
    }
}

void AgentRoot::reportFailure(const QString& selector, const VLException& error, quint64 peer) {
    VLLog::appendLog(QStringLiteral("Operation %@ failed: %@"), selector.left(100), error.reason());
    const auto* declared = operation(Side::Agent, selector);
    if (declared == nullptr || declared->mode != Mode::Oneway) return;
    // Nobody waits for this one, so the callback is the only way for the failure to be seen.
    m_agent->consoles.postToCaller(
        peer, QStringLiteral("addExceptionToQueue:hostname:"),
        {QVariantMap{{QStringLiteral("name"), error.name()}, {QStringLiteral("reason"), error.reason()}},
         m_agent->hostName.get()});
}

void AgentRoot::peerClosed(quint64 peer) {
    m_agent->consoles.remove(peer);
}
