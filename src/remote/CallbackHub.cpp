#include "remote/CallbackHub.h"

#include "logs/VLLog.h"
#include "remote/WireValue.h"

#include <algorithm>

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
    bool isConnected() const override { return m_hub->isConnected(); }

private:
    const std::shared_ptr<CallbackHub> m_hub;
    const quint64 m_object;
};

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
}

void CallbackHub::release(quint64 object) {
    m_queue->post([self = shared_from_this(), object] { self->m_objects.erase(object); });
}

void CallbackHub::post(quint64 object, const QString& selector, const QVariantList& arguments) {
    if (!m_connected) return;
    auto call = std::make_shared<Outgoing>();
    call->object = object;
    try {
        auto params = call->message.initRoot<wire::Callback::PerformParams>();
        WireWriter writer(m_limits);
        const QByteArray name = writer.text(selector);
        params.setSelector({name.constData(), std::size_t(name.size())});
        auto list = params.initArguments(static_cast<unsigned int>(arguments.size()));
        unsigned int index = 0;
        for (const QVariant& argument : arguments)
            writer.write(list[index++].initValue(), argument);
    } catch (const VLException& exception) {
        if (m_log.take()) VLException::logException(exception, "-[VLRemoteCallback post:]");
        return;
    }
    call->bytes = call->message.sizeInWords() * sizeof(capnp::word);

    if (m_waiting >= maximumWaiting || m_waitingBytes > m_limits.messageBytes) {
        if (m_log.take())
            VLLog::appendLog(QStringLiteral("The console does not keep up; the callback %@ is dropped."),
                             selector);
        return;
    }
    ++m_waiting;
    m_waitingBytes += call->bytes;
    m_queue->post([self = shared_from_this(), call] { self->enqueue(call); });
}

void CallbackHub::enqueue(std::shared_ptr<Outgoing> call) {
    if (!m_tasks) return;
    m_outgoing.push_back(std::move(call));
    pump();
}

void CallbackHub::pump() {
    // Half of what the console lets wait: the other half is for what is still on its way back.
    const int window = std::max(1, m_limits.pendingCallbacks / 2);
    while (m_underWay < window && !m_outgoing.empty()) {
        const auto call = std::move(m_outgoing.front());
        m_outgoing.pop_front();
        --m_waiting;
        m_waitingBytes -= call->bytes;
        send(*call);
    }
}

void CallbackHub::send(Outgoing& call) {
    const auto object = m_objects.find(call.object);
    if (object == m_objects.end()) return;
    const auto params = call.message.getRoot<wire::Callback::PerformParams>().asReader();
    auto request = object->second.performRequest();
    request.setSelector(params.getSelector());
    request.setArguments(params.getArguments());
    ++m_underWay;
    m_tasks->add(request.send().ignoreResult().then(
        [this] { ended(); },
        [this](kj::Exception&& exception) {
            if (m_log.take())
                VLLog::appendLog(QStringLiteral("A callback failed: %@"), fromKj(exception.getDescription()));
            ended();
        }));
}

void CallbackHub::ended() {
    --m_underWay;
    pump();
}

void CallbackHub::taskFailed(kj::Exception&& exception) {
    if (m_log.take())
        VLLog::appendLog(QStringLiteral("A callback failed: %@"), fromKj(exception.getDescription()));
}
