#include "HostileAgent.h"

#include "corvalin.capnp.h"
#include "remote/EventLoop.h"
#include "remote/EventLoopQueue.h"
#include "remote/KjQuiet.h"
#include "remote/SocketConnector.h"
#include "remote/TaskErrorHandler.h"
#include "remote/TlsSettings.h"
#include "remote/WireValue.h"

#include <capnp/any.h>
#include <capnp/rpc-twoparty.h>
#include <capnp/schema.h>
#include <kj/async-io.h>
#include <kj/compat/tls.h>
#include <kj/debug.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <atomic>
#include <cstring>
#include <map>
#include <random>
#include <thread>

namespace {

constexpr unsigned int depthBeyondLimits = 20'000;
constexpr size_t bytesBeyondLimit = 3 * 1024 * 1024;
constexpr int blindCalls = 5'000;
constexpr int heededCalls = 1'000;

/// Sets the tag of a union to something that the schema does not have.
template <typename T>
void setUnknownTag(typename T::Builder builder) {
    const auto offset = capnp::Schema::from<T>().getProto().getStruct().getDiscriminantOffset();
    capnp::AnyStruct::Builder any(kj::mv(builder));
    const std::uint16_t tag = 4711;
    std::memcpy(any.getDataSection().begin() + offset * sizeof tag, &tag, sizeof tag);
}

/// Overwrites the pointer of a value with one that no builder would make.
void setRawPointer(wire::Value::Builder value, std::uint64_t pointer) {
    capnp::AnyStruct::Builder any(kj::mv(value));
    std::memcpy(any.getDataSection().end(), &pointer, sizeof pointer);
}

constexpr std::uint64_t listOfNothings = (0x1fff'ffffULL << 35) | 1;  // half a billion, of no size each

void writeDeepValue(wire::Value::Builder value) {
    for (unsigned int level = 0; level < depthBeyondLimits; ++level)
        value = value.initList(1)[0];
    value.setBoolean(true);
}

/// True when the fault is an answer that the RPC system carries like any other.
bool writeOutcome(Fault fault, wire::Outcome::Builder outcome) {
    switch (fault) {
        case Fault::UnknownValue:
            outcome.initValue().setInteger(1);
            setUnknownTag<wire::Value>(outcome.getValue());
            return true;
        case Fault::UnknownOutcome:
            outcome.initValue();
            setUnknownTag<wire::Outcome>(outcome);
            return true;
        case Fault::EndlessList:
            outcome.initValue().initList(1);
            setRawPointer(outcome.getValue(), listOfNothings);
            return true;
        case Fault::BrokenText:
            outcome.initValue().setText("caf\xe9 \xf0\x28\x8c");
            return true;
        case Fault::ImpossibleDate:
            outcome.initValue().setDate(std::numeric_limits<std::int64_t>::max());
            return true;
        case Fault::TooDeep:
            writeDeepValue(outcome.initValue());
            return true;
        case Fault::LargerThanLimit:
            outcome.initValue().initData(bytesBeyondLimit);
            return true;
        default:
            return false;
    }
}

kj::Array<kj::byte> rawBytes(Fault fault) {
    const std::uint32_t hugeWords = 1u << 27;
    const std::uint32_t someWords = 10'000;
    auto bytes = kj::heapArray<kj::byte>(4096);
    std::mt19937 random(1);  // the same garbage in every run
    for (auto& byte : bytes)
        byte = kj::byte(random());
    if (fault == Fault::Garbage) return bytes;
    // The head of a message of one segment, and a part of the segment.
    const std::uint32_t head[2] = {0, fault == Fault::TooLarge ? hugeWords : someWords};
    std::memcpy(bytes.begin(), head, sizeof head);
    return bytes;
}

using PerformContext = capnp::CallContext<wire::Root::PerformParams, wire::Root::PerformResults>;
class Link;

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
class HostileRoot final : public wire::Root::Server {
public:
    explicit HostileRoot(Link& link) : m_link(link) {}

protected:
    kj::Promise<void> respondsToSelector(RespondsToSelectorContext context) override;
    kj::Promise<void> selectors(SelectorsContext context) override;
    kj::Promise<void> heartbeat(HeartbeatContext) override { return kj::READY_NOW; }
    kj::Promise<void> perform(PerformContext context) override;

private:
    Link& m_link;
};
#pragma GCC diagnostic pop

struct Shared {
    const HostileAgent::Options& options;
    std::atomic_int& triggered;
    std::atomic_int& asked;
};

/// One console's connection.
class Link final : public TaskErrorHandler {
public:
    Link(Shared& shared, kj::Own<kj::AsyncIoStream> socket, kj::Own<kj::AsyncIoStream> stream)
        : m_shared(shared),
          m_socket(kj::mv(socket)),
          m_stream(kj::mv(stream)),
          m_network(kj::heap<capnp::TwoPartyVatNetwork>(*m_stream, capnp::rpc::twoparty::Side::SERVER)),
          m_rpc(kj::heap<capnp::RpcSystem<capnp::rpc::twoparty::VatId>>(
              capnp::makeRpcServer(*m_network, wire::Root::Client(kj::heap<HostileRoot>(*this))))),
          m_tasks(kj::heap<kj::TaskSet>(*this)) {}

    [[nodiscard]] Shared& shared() { return m_shared; }
    [[nodiscard]] kj::Promise<void> onDisconnect() { return m_network->onDisconnect(); }

    kj::Promise<void> perform(PerformContext context) {
        const auto params = context.getParams();
        for (const auto argument : params.getArguments())
            if (argument.isCallback()) m_callback = argument.getCallback();
        const QString selector = fromKj(params.getSelector());
        const auto& options = m_shared.options;
        if (options.fault == Fault::None || !(options.trigger.isEmpty() || options.trigger == selector))
            return answer(context, selector);
        ++m_shared.triggered;
        return misbehave(context, selector);
    }

private:
    kj::Promise<void> answer(PerformContext& context, const QString& selector) {
        const QVariant value = m_shared.options.answer ? m_shared.options.answer(selector) : QVariant();
        WireWriter(RemoteLimits()).write(context.getResults().initOutcome().initValue(), value);
        return kj::READY_NOW;
    }

    kj::Promise<void> misbehave(PerformContext& context, const QString& selector) {
        const Fault fault = m_shared.options.fault;
        if (writeOutcome(fault, context.getResults().initOutcome())) return kj::READY_NOW;
        if (fault == Fault::RemoteError) return KJ_EXCEPTION(FAILED, "made to fail");
        if (fault == Fault::NoAnswer) return kj::NEVER_DONE;
        if (fault == Fault::FloodCallbacks || fault == Fault::FloodBlindly) {
            const int calls = fault == Fault::FloodBlindly ? blindCalls : heededCalls;
            for (int call = 0; call < calls; ++call)
                flood(fault == Fault::FloodCallbacks);
            return answer(context, selector);
        }
        // The rest goes past the RPC system, so it waits until that is done with this call.
        m_tasks->add(kj::evalLast([this, fault] { return misbehaveBelow(fault); }));
        return kj::NEVER_DONE;
    }

    kj::Promise<void> misbehaveBelow(Fault fault) {
        if (fault == Fault::Reset) {
            const linger immediately{1, 0};
            m_socket->setsockopt(SOL_SOCKET, SO_LINGER, &immediately, sizeof immediately);
        }
        if (fault == Fault::Reset || fault == Fault::Silence) return end(fault);
        auto bytes = rawBytes(fault);
        auto written = m_stream->write(bytes.begin(), bytes.size());
        return written.attach(kj::mv(bytes)).then([this, fault] {
            return kj::evalLater([this, fault] { return end(fault); });
        });
    }

    kj::Promise<void> end(Fault fault) {
        if (fault != Fault::CloseMidAnswer && fault != Fault::Reset && fault != Fault::Silence)
            return kj::NEVER_DONE;
        m_callback = nullptr;
        m_rpc = nullptr;
        m_network = nullptr;
        if (fault == Fault::Silence) return kj::NEVER_DONE;
        m_stream = nullptr;
        m_socket = nullptr;
        return kj::NEVER_DONE;
    }

    void flood(bool again) {
        KJ_IF_MAYBE (callback, m_callback) {
            auto request = callback->performRequest();
            request.setSelector("incrementProgress");
            m_tasks->add(request.send().ignoreResult().catch_([](kj::Exception&&) {}).then([this, again] {
                if (again) flood(true);
            }));
        }
    }

    void taskFailed(kj::Exception&&) override {}

    Shared& m_shared;
    kj::Own<kj::AsyncIoStream> m_socket;
    kj::Own<kj::AsyncIoStream> m_stream;
    kj::Own<capnp::TwoPartyVatNetwork> m_network;
    kj::Own<capnp::RpcSystem<capnp::rpc::twoparty::VatId>> m_rpc;
    kj::Maybe<wire::Callback::Client> m_callback;
    kj::Own<kj::TaskSet> m_tasks;
};

kj::Promise<void> HostileRoot::perform(PerformContext context) {
    return m_link.perform(context);
}

kj::Promise<void> HostileRoot::respondsToSelector(RespondsToSelectorContext context) {
    ++m_link.shared().asked;
    context.getResults().setResponds(context.getParams().getSelector() != "qmasterJobs");
    return kj::READY_NOW;
}

kj::Promise<void> HostileRoot::selectors(SelectorsContext context) {
    const auto& options = m_link.shared().options;
    if (options.fault == Fault::NoAnswer && options.trigger == u"selectors") return kj::NEVER_DONE;
    if (!options.selectors) return wire::Root::Server::selectors(context);
    auto list = context.getResults().initSelectors(static_cast<unsigned int>(options.selectors->size()));
    unsigned int index = 0;
    for (const QString& selector : *options.selectors)
        list.set(index++, selector.toUtf8().constData());
    return kj::READY_NOW;
}

/// Its listener and connections.
class AgentLoop final : public TaskErrorHandler {
public:
    AgentLoop(kj::AsyncIoContext& io, Shared shared, kj::TlsContext& tls)
        : m_io(io), m_shared(shared), m_tls(tls), m_tasks(kj::heap<kj::TaskSet>(*this)) {}
    ~AgentLoop() noexcept(false) override { m_tasks = nullptr; }

    void run(kj::AutoCloseFd listener, EventLoopQueue& queue, kj::Promise<void> stopped) {
        using Flags = kj::LowLevelAsyncIoProvider;
        auto receiver = m_io.lowLevelProvider->wrapListenSocketFd(
            listener.release(), Flags::TAKE_OWNERSHIP | Flags::ALREADY_CLOEXEC | Flags::ALREADY_NONBLOCK);
        m_tasks->add(acceptNext(*receiver));
        m_tasks->add(queue.run(m_io.unixEventPort));
        stopped.wait(m_io.waitScope);
        m_tasks = nullptr;
        m_links.clear();
    }

private:
    kj::Promise<void> acceptNext(kj::ConnectionReceiver& receiver) {
        return receiver.accept().then([this, &receiver](kj::Own<kj::AsyncIoStream>&& socket) {
            auto& stream = *socket;
            auto handshake =
                m_tls.wrapServer(kj::Own<kj::AsyncIoStream>(&stream, kj::NullDisposer::instance));
            m_tasks->add(
                handshake.then([this, socket = kj::mv(socket)](kj::Own<kj::AsyncIoStream>&& tls) mutable {
                    const int id = ++m_lastLink;
                    m_links[id] = kj::heap<Link>(m_shared, kj::mv(socket), kj::mv(tls));
                }));
            return acceptNext(receiver);
        });
    }
    void taskFailed(kj::Exception&&) override {}

    kj::AsyncIoContext& m_io;
    Shared m_shared;
    kj::TlsContext& m_tls;
    int m_lastLink = 0;
    std::map<int, kj::Own<Link>> m_links;  // kept to the end: a peer that has gone does no harm
    kj::Own<kj::TaskSet> m_tasks;
};

quint16 portOf(int fd) {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
    return ntohs(address.sin_port);
}

/// A server's context that asks for no certificate: any console may connect.
kj::Own<kj::TlsContext> tlsContext(const TlsIdentity& identity) {
    return TlsSettings::client(identity, identity.certificate);
}

}  // namespace

struct HostileAgent::Private {
    Options options;
    std::atomic_int triggered = 0, asked = 0;
    std::shared_ptr<EventLoopQueue> queue = std::make_shared<EventLoopQueue>();
    kj::Own<kj::PromiseFulfiller<void>> stop;  // its thread's only
    quint16 port = 0;
    std::thread thread;

    void run(kj::AutoCloseFd listener) {
        const KjQuiet quiet;
        auto io = makeEventLoop();
        auto tls = tlsContext(options.identity);
        auto stopped = kj::newPromiseAndFulfiller<void>();
        stop = kj::mv(stopped.fulfiller);
        AgentLoop loop(io, {options, triggered, asked}, *tls);
        loop.run(kj::mv(listener), *queue, kj::mv(stopped.promise));
        stop = nullptr;
    }
};

HostileAgent::HostileAgent(Options options) : d(std::make_unique<Private>()) {
    d->options = std::move(options);
    auto listener = SocketConnector::listen(QStringLiteral("127.0.0.1"), 0);
    d->port = portOf(listener.get());
    d->thread = std::thread(
        [this, fd = std::make_shared<kj::AutoCloseFd>(kj::mv(listener))] { d->run(kj::mv(*fd)); });
}

HostileAgent::~HostileAgent() {
    d->queue->post([this] { d->stop->fulfill(); });
    d->thread.join();
}

quint16 HostileAgent::port() const {
    return d->port;
}
QByteArray HostileAgent::certificate() const {
    return d->options.identity.certificate;
}
int HostileAgent::triggered() const {
    return d->triggered;
}
int HostileAgent::asked() const {
    return d->asked;
}
