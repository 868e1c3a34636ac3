#include "remote/ConnectionCore.h"

#include "remote/CallScope.h"
#include "remote/ConnectionLoop.h"
#include "remote/KjQuiet.h"
#include "remote/VLCorvalinServerProtocol.h"

ConnectionCore::ConnectionCore(const RemoteLimits& limits, const QString& label)
    : m_limits(limits), m_label(std::make_shared<Snapshot<QString>>(label)) {}

QString ConnectionCore::lossReason() const {
    const std::lock_guard lock(m_mutex);
    return m_lossReason;
}

ConnectionFailure ConnectionCore::lossFailure() const {
    const std::lock_guard lock(m_mutex);
    return m_lossFailure;
}

VLException ConnectionCore::lossException() const {
    const QString reason = lossReason();
    return connectionException(VLException::inaccessible, lossFailure(),
                               reason.isEmpty() ? QStringLiteral("The connection was closed.") : reason);
}

void ConnectionCore::close(const QString& reason, ConnectionFailure failure) {
    std::unordered_set<Call> calls;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_valid.exchange(false)) return;
        m_lossReason = reason;
        m_lossFailure = failure;
        calls.swap(m_calls);
    }
    const VLException error = lossException();
    for (const Call& call : calls)
        call->fail(error);
    m_queue->post([self = shared_from_this()] {
        if (self->m_loop) self->m_loop->stop();
    });
}

void ConnectionCore::wake() {
    m_wake = true;
    m_queue->post([self = shared_from_this()] {
        if (self->m_loop) self->m_loop->endSlice();
    });
}

ConnectionCore::Call ConnectionCore::makeCall(PendingCall::Kind kind, const QString& selector,
                                              const QVariantList& arguments) const {
    try {
        return std::make_shared<PendingCall>(kind, selector, arguments, m_limits);
    } catch (const VLException& exception) {
        throw VLUnsentCallException(exception.name(), exception.reason(), exception.userInfo());
    }
}

bool ConnectionCore::respondsToSelector(const QString& selector, std::chrono::milliseconds limit) {
    if (const auto known = knownResponse(selector)) return *known;
    const bool responds = callAndWait(makeCall(PendingCall::Kind::Responds, selector, {}), limit).toBool();
    const std::lock_guard lock(m_mutex);
    m_answeredSelectors.insert(selector, responds);
    return responds;
}

void ConnectionCore::learnSelectors(QSet<QString> selectors) {
    const std::lock_guard lock(m_mutex);
    m_selectors = std::move(selectors);
}

std::optional<bool> ConnectionCore::knownResponse(const QString& selector) const {
    using namespace VLCorvalinServerProtocol;
    const std::lock_guard lock(m_mutex);
    if (!m_valid) return std::nullopt;  // the call will say why
    if (m_selectors && operation(Side::Agent, selector)) return m_selectors->contains(selector);
    const auto answered = m_answeredSelectors.constFind(selector);
    return answered == m_answeredSelectors.constEnd() ? std::nullopt : std::optional(*answered);
}

QVariant ConnectionCore::perform(const QString& selector, const QVariantList& arguments,
                                 std::chrono::milliseconds limit) {
    using namespace VLCorvalinServerProtocol;
    const Call call = makeCall(PendingCall::Kind::Perform, selector, arguments);
    const Operation* known = operation(Side::Agent, selector);
    if (!known || known->mode != Mode::Oneway) return callAndWait(call, limit);
    sendOneway(call);
    return {};
}

void ConnectionCore::sendOneway(const Call& call) {
    if (!isValid()) throw lossException();
    if (isOwner() && m_loop) return m_loop->send(call);
    m_queue->post([self = shared_from_this(), call] {
        if (self->m_loop) self->m_loop->send(call);
    });
}

QVariant ConnectionCore::callAndWait(const Call& call, std::chrono::milliseconds limit) {
    {
        const std::lock_guard lock(m_mutex);
        if (m_valid) m_calls.insert(call);
    }
    if (!isValid()) throw lossException();
    {
        const CallScope::Entry entry([self = shared_from_this(), call] { self->giveUp(call); });
        wait(call, limit);
    }
    {
        const std::lock_guard lock(m_mutex);
        m_calls.erase(call);
    }
    if (!call->isDone())
        throw VLException(
            VLException::portTimeout,
            QStringLiteral("There was no reply to %1 in %2 ms.").arg(call->selector()).arg(limit.count()));
    return call->takeResult();
}

void ConnectionCore::giveUp(const Call& call) {
    call->fail(CallScope::exception());
    m_queue->post([self = shared_from_this(), call] {
        if (self->m_loop) self->m_loop->cancel(call);
    });
}

void ConnectionCore::wait(const Call& call, std::chrono::milliseconds limit) {
    if (isOwner()) {
        const KjQuiet quiet;
        // Without a loop the connection is being taken down on this very thread.
        if (!m_loop) return call->fail(lossException());
        return m_loop->sendAndWait(call, limit);
    }
    m_queue->post([self = shared_from_this(), call] {
        if (self->m_loop) self->m_loop->send(call);
    });
    if (call->waitFor(limit)) return;
    m_queue->post([self = shared_from_this(), call] {
        if (self->m_loop) self->m_loop->cancel(call);
    });
}
