#pragma once

#include "agent/AgentContext.h"
#include "agent/dispatch/OperationTable.h"
#include "remote/VLServer.h"
#include "system/VLException.h"

#include <memory>

/// The one object that the agent vends: every operation that this agent really carries out, and no other.
/// An operation that throws VLException::refused is answered with nothing, and the reason goes to the error
/// queue of the console that called; every other exception is raised there.
class AgentRoot : public VLRootObject {
public:
    explicit AgentRoot(std::shared_ptr<AgentContext> agent);

    [[nodiscard]] bool respondsToSelector(const QString& selector) const override;
    QVariant perform(const QString& selector, const QVariantList& arguments, quint64 peer) override;
    void peerOpened(quint64 peer, const QString& console, const QByteArray& certificate) override;
    void peerClosed(quint64 peer) override;

    [[nodiscard]] QStringList selectors() const override { return m_operations.selectors(); }

private:
    void reportFailure(const QString& selector, const VLException& error, quint64 peer);
    QVariant reportRefusal(const QString& selector, const VLException& error, quint64 peer);

    std::shared_ptr<AgentContext> m_agent;
    OperationTable m_operations;
};
