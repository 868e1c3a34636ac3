#include "remote/CallbackHub.h"

#include "logs/VLLog.h"
#include "remote/WireValue.h"

#include <algorithm>
#include <utility>

namespace {

/// Posts that wait for the console to take them; an agent that produces more than this loses the rest.
constexpr int maximumWaiting = 16'384;

class RemoteCallback final : public VLRemoteCallback {
public:
    RemoteCallback(std::shared_ptr<CallbackHub> hub, quint64 object)
        : m_hub(std::move(hub)), m_object(object) {}
    ~RemoteCallback() override { m_hub->release(m_object); }
    RemoteCallback(const RemoteCallback&) = delete;
    RemoteCallback& operator=(const RemoteCallback&) = delete;

    void post(const QString& selector, const QVariantList& arguments) override {
        m_hub->post(m_object, selector, arguments);
    }
    QVariant perform(const QString& selector, const QVariantList& arguments,
                     std::chrono::milliseconds limit) override {
        return m_hub->perform(m_object, selector, arguments, limit);
    }
    bool isConnected() const override { return m_hub->isConnected(); }

private:
    const std::shared_ptr<CallbackHub> m_hub;
    const quint64 m_object;
};

VLException consoleGone() {
    return VLException(VLException::inaccessible, QStringLiteral("The console is gone."));
}

}  // namespace

CallbackHub::CallbackHub(std::shared_ptr<EventLoopQueue> queue, const RemoteLimits& limits)
    : m_queue(std::move(queue)), m_limits(limits), m_tasks(kj::heap<kj::TaskSet>(*this)) {}

VLRemoteCallbackPtr CallbackHub::adopt(wire::Callback::Client object) {
    const quint64 id = ++m_lastObject;
    m_objects.emplace(id, kj::mv(object));
    return std::make_shared<RemoteCallback>(shared_from_this(), id);
}

void CallbackHub::close() {
    m_connected = false;
    m_tasks = nullptr;
    m_outgoing.clear();
    m_objects.clear();
    const auto unfinished = std::exchange(m_unfinished, {});
    for (const Call& call : unfinished)
        call->fail(consoleGone());
}

void CallbackHub::release(quint64 object) {
    m_queue->post([self = shared_from_this(), object] { self->m_objects.erase(object); });
}

void CallbackHub::post(quint64 object, const QString& selector, const QVariantList& arguments) {
    if (!m_connected) return;
    try {
        const auto call =
            std::make_shared<PendingCall>(PendingCall::Kind::Perform, selector, arguments, m_limits);
        if (!take(object, call) && m_log.take())
            VLLog::appendLog(QStringLiteral("The console does not keep up; the callback %@ is dropped."),
                             selector);
    } catch (const VLException& exception) {
        if (m_log.take()) VLException::logException(exception, "-[VLRemoteCallback post:]");
    }
}

QVariant CallbackHub::perform(quint64 object, const QString& selector, const QVariantList& arguments,
                              std::chrono::milliseconds limit) {
    if (std::this_thread::get_id() == m_loopThread)
        throw VLException(VLException::generic, QStringLiteral("The serving thread cannot wait."));
    if (!m_connected) throw consoleGone();
    const auto call =
        std::make_shared<PendingCall>(PendingCall::Kind::Perform, selector, arguments, m_limits);
    if (!take(object, call))
        throw VLException(VLException::generic, QStringLiteral("The console does not keep up."));
    if (!call->waitFor(limit))
        call->fail(VLException(VLException::portTimeout,
                               QStringLiteral("There was no reply to %1 in time.").arg(selector)));
    return call->takeResult();
}

bool CallbackHub::take(quint64 object, const Call& call) {
    if (m_waiting >= maximumWaiting || m_waitingBytes > m_limits.messageBytes) return false;
    const std::size_t bytes = call->bytes();
    ++m_waiting;
    m_waitingBytes += bytes;
    const bool isTaken = m_queue->post(
        [self = shared_from_this(), outgoing = Outgoing{object, bytes, call}] { self->enqueue(outgoing); });
    if (!isTaken) call->fail(consoleGone());
    return true;
}

void CallbackHub::enqueue(Outgoing outgoing) {
    if (!m_tasks) return outgoing.call->fail(consoleGone());
    m_unfinished.insert(outgoing.call);
    m_outgoing.push_back(std::move(outgoing));
    pump();
}

void CallbackHub::pump() {
    // Half of what the console lets wait: the other half is for what is still on its way back.
    const int window = std::max(1, m_limits.pendingCallbacks / 2);
    while (m_underWay < window && !m_outgoing.empty()) {
        const Outgoing outgoing = std::move(m_outgoing.front());
        m_outgoing.pop_front();
        --m_waiting;
        m_waitingBytes -= outgoing.bytes;
        send(outgoing);
    }
}

void CallbackHub::send(const Outgoing& outgoing) {
    const Call& call = outgoing.call;
    const auto object = m_objects.find(outgoing.object);
    if (object == m_objects.end()) {
        m_unfinished.erase(call);
        return call->fail(consoleGone());
    }
    auto request = object->second.performRequest();
    const auto params = call->params();
    request.setSelector(params.getSelector());
    request.setArguments(params.getArguments());
    call->releaseParams();
    ++m_underWay;
    m_tasks->add(request.send().then(
        [this, call](auto&& response) {
            try {
                // The reader shares the keys with what it has read: it goes before another thread gets that.
                QVariant result = WireReader(m_limits).readOutcome(response.getOutcome());
                call->finish(std::move(result));
            } catch (const VLException& exception) {
                call->fail(exception);
            }
            ended(call);
        },
        [this, call](kj::Exception&& exception) {
            const QString reason = fromKj(exception.getDescription());
            if (m_log.take()) VLLog::appendLog(QStringLiteral("A callback failed: %@"), reason);
            call->fail(VLException(VLException::generic, reason));
            ended(call);
        }));
}

void CallbackHub::ended(const Call& call) {
    m_unfinished.erase(call);
    --m_underWay;
    pump();
}

void CallbackHub::taskFailed(kj::Exception&& exception) {
    if (m_log.take())
        VLLog::appendLog(QStringLiteral("A callback failed: %@"), fromKj(exception.getDescription()));
}
