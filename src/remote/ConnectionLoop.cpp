#include "remote/ConnectionLoop.h"

#include "foundation/VLThread.h"
#include "remote/EventLoop.h"
#include "remote/VLCorvalinServerProtocol.h"
#include "remote/WireValue.h"

#include <kj/debug.h>

#include <algorithm>

using namespace std::chrono_literals;

namespace {

constexpr auto lastWordsTime = 500 * kj::MILLISECONDS;
constexpr auto flushTime = 200 * kj::MILLISECONDS;
constexpr std::size_t longTransfer = 64 * 1024;
constexpr unsigned int mostSelectors = 4'096;
constexpr std::size_t longestSelector = 200;

kj::Duration toKj(std::chrono::milliseconds duration) {
    return duration.count() * kj::MILLISECONDS;
}

/// Several looks in the time after which silence counts: a thread that was away finds one missed, not all.
std::chrono::milliseconds lifeTick(const RemoteLimits& limits) {
    return std::max(10ms, std::min(limits.heartbeatInterval / 2, limits.heartbeatTimeout / 4));
}

VLException translate(const kj::Exception& exception) {
    const bool lost = exception.getType() == kj::Exception::Type::DISCONNECTED;
    return lost ? VLException(VLException::inaccessible,
                              connectionEnd(fromKj(exception.getDescription())).reason)
                : VLException(VLException::generic, fromKj(exception.getDescription()));
}

}  // namespace

ConnectionLoop::ConnectionLoop(std::shared_ptr<ConnectionCore> core, const RemoteLimits& limits)
    : m_core(std::move(core)),
      m_limits(limits),
      m_io(makeEventLoop()),
      m_callbacks(std::make_shared<CallbackContext>(timer(), limits, m_core->label())),
      m_tick(toKj(lifeTick(limits))) {
    m_tasks = kj::heap<kj::TaskSet>(*this);
    m_core->setLoop(this);
}

ConnectionLoop::~ConnectionLoop() noexcept(false) {
    m_core->close({});
    try {
        if (m_tasks) flush();
        tearDown();
    } catch (const kj::Exception&) {
        // What could not be sent any more is lost with the connection.
    }
    m_core->setLoop(nullptr);
}

kj::Promise<void> ConnectionLoop::overOrCancelled(Deadline deadline) {
    if (deadline.isOver() || VLThread::isCancelled()) return kj::READY_NOW;
    return timer().afterDelay(toKj(std::min(deadline.remaining(), 200ms))).then([this, deadline] {
        return overOrCancelled(deadline);
    });
}

void ConnectionLoop::waitWithin(kj::Promise<void> promise, const Deadline& deadline, const QString& what) {
    bool done = false;
    promise.then([&done] { done = true; }).exclusiveJoin(overOrCancelled(deadline)).wait(m_io.waitScope);
    if (!done) throw VLException(VLException::portTimeout, what);
}

void ConnectionLoop::shakeHands(kj::AutoCloseFd fd, kj::TlsContext& context, const Deadline& deadline) {
    using Flags = kj::LowLevelAsyncIoProvider;
    m_socket = kj::heap<CountingStream>(m_io.lowLevelProvider->wrapSocketFd(
        fd.release(), Flags::TAKE_OWNERSHIP | Flags::ALREADY_CLOEXEC | Flags::ALREADY_NONBLOCK));
    kj::Own<kj::AsyncIoStream> socket(m_socket.get(), kj::NullDisposer::instance);
    waitWithin(context.wrapClient(kj::mv(socket), agentTlsHostName).then([this](auto&& stream) {
        m_stream = kj::heap<CountingStream>(kj::mv(stream));
    }),
               deadline, QStringLiteral("The TLS handshake did not end in time."));
}

void ConnectionLoop::open(const Deadline& deadline) {
    m_wire = kj::heap<WireStream>(*m_stream, m_limits);
    m_network = kj::heap<capnp::TwoPartyVatNetwork>(*m_wire, capnp::rpc::twoparty::Side::CLIENT,
                                                    WireStream::readerOptions(m_limits));
    m_wire->setNetwork(*m_network);
    m_rpc = kj::heap<capnp::RpcSystem<capnp::rpc::twoparty::VatId>>(capnp::makeRpcClient(*m_network));

    capnp::MallocMessageBuilder message;
    auto server = message.initRoot<capnp::rpc::twoparty::VatId>();
    server.setSide(capnp::rpc::twoparty::Side::SERVER);
    auto root = m_rpc->bootstrap(server).castAs<wire::Root>();
    m_root = root;
    // Answered before the heartbeat, so the first operation needs not wait for it. An older agent says that
    // it has no such method, and is asked selector by selector.
    m_tasks->add(root.selectorsRequest()
                     .send()
                     .then([this](auto&& response) { learnSelectors(response.getSelectors()); })
                     .catch_([](kj::Exception&&) {}));
    waitWithin(root.heartbeatRequest().send().ignoreResult(), deadline,
               QStringLiteral("The client did not answer in time."));

    m_tasks->add(m_core->queue().run(m_io.unixEventPort));
    m_tasks->add(m_network->onDisconnect().then([this] { lose(m_wire->connectionEnd()); }));
    m_tasks->add(watchLife());
}

void ConnectionLoop::learnSelectors(capnp::List<capnp::Text>::Reader selectors) {
    using namespace VLCorvalinServerProtocol;
    if (selectors.size() > mostSelectors) return;
    QSet<QString> known;
    for (const capnp::Text::Reader name : selectors) {
        if (name.size() > longestSelector) continue;
        const QString selector = fromKj(name);
        if (operation(Side::Agent, selector)) known.insert(selector);
    }
    m_core->learnSelectors(std::move(known));
}

QString ConnectionLoop::lastWords() {
    if (!m_wire) return {};
    const QString endReason = m_wire->connectionEnd().reason;
    m_root = nullptr;
    m_rpc = nullptr;
    m_network = nullptr;
    // A failed write ends the protocol although the reason of it may still be waiting to be read.
    kj::byte byte = 0;
    m_stream->tryRead(&byte, 1, 1)
        .ignoreResult()
        .catch_([](kj::Exception&&) {})
        .exclusiveJoin(timer().afterDelay(lastWordsTime))
        .wait(m_io.waitScope);
    return m_stream->readError().isEmpty() ? endReason : m_stream->readError();
}

void ConnectionLoop::serve(std::chrono::milliseconds slice) {
    if (m_core->isValid() && !m_core->takeWake()) {
        auto sliceEnd = kj::newPromiseAndFulfiller<void>();
        m_sliceEnd = kj::mv(sliceEnd.fulfiller);
        timer()
            .afterDelay(toKj(slice))
            .exclusiveJoin(kj::mv(sliceEnd.promise))
            .exclusiveJoin(m_stop.addBranch())
            .wait(m_io.waitScope);
        m_sliceEnd = nullptr;
        (void)m_core->takeWake();
    }
    if (m_core->isValid() || !m_tasks) return;
    flush();
    tearDown();
}

void ConnectionLoop::endSlice() {
    if (m_sliceEnd) m_sliceEnd->fulfill();
}

void ConnectionLoop::stop() {
    m_stopped.fulfiller->fulfill();
}

void ConnectionLoop::lose(const ConnectionEnd& end) {
    m_core->close(end.reason.isEmpty() ? QStringLiteral("The connection was lost.") : end.reason,
                  end.failure);
    stop();
}

void ConnectionLoop::taskFailed(kj::Exception&& exception) {
    lose({fromKj(exception.getDescription()), ConnectionFailure::Garbage});
}

kj::Promise<void> ConnectionLoop::start(const Call& call) {
    try {
        KJ_IF_MAYBE (root, m_root) {
            if (call->kind() == PendingCall::Kind::Perform) return startPerform(call);
            auto request = root->respondsToSelectorRequest();
            request.setSelector(call->params().getSelector());
            call->releaseParams();
            return request.send().then(
                [call](auto&& response) { call->finish(response.getResponds()); },
                [call](kj::Exception&& exception) { call->fail(translate(exception)); });
        }
        call->fail(VLException(VLException::inaccessible, QStringLiteral("There is no connection.")));
    } catch (const kj::Exception& exception) {
        call->fail(translate(exception));
    }
    return kj::READY_NOW;
}

kj::Promise<void> ConnectionLoop::startPerform(const Call& call) {
    const auto params = call->params();
    // Without it, every request takes several KB.
    const auto size = params.totalSize();
    const auto references = static_cast<unsigned int>(call->references().size());
    auto request = KJ_ASSERT_NONNULL(m_root).performRequest(
        capnp::MessageSize{size.wordCount + 4, size.capCount + references});
    request.setSelector(params.getSelector());
    request.setArguments(params.getArguments());
    for (const auto& [index, target] : call->references())
        request.getArguments()[index].setCallback(kj::heap<CallbackObject>(target, m_callbacks));
    call->releaseParams();

    return request.send().then(
        [this, call](auto&& response) {
            try {
                // The reader shares the keys with what it has read: it goes before another thread gets that.
                QVariant result = WireReader(m_limits).readOutcome(response.getOutcome());
                call->finish(std::move(result));
            } catch (const VLException& exception) {
                call->fail(exception);
            } catch (const kj::Exception& exception) {
                call->fail(VLException(VLException::invalidArgument, fromKj(exception.getDescription())));
            }
        },
        [call](kj::Exception&& exception) { call->fail(translate(exception)); });
}

void ConnectionLoop::send(const Call& call) {
    if (call->isDone() || !m_tasks) return;
    auto cancelled = kj::newPromiseAndFulfiller<void>();
    m_cancels.insert_or_assign(call.get(), kj::mv(cancelled.fulfiller));
    m_tasks->add(start(call).exclusiveJoin(kj::mv(cancelled.promise)).then([this, call] {
        m_cancels.erase(call.get());
    }));
}

void ConnectionLoop::cancel(const Call& call) {
    const auto found = m_cancels.find(call.get());
    if (found != m_cancels.end()) found->second->fulfill();
}

void ConnectionLoop::sendAndWait(const Call& call, std::chrono::milliseconds limit) {
    if (m_callbacks->receiving)
        return call->fail(VLException(
            VLException::generic, QStringLiteral("A callback must hand its work over, not call and wait.")));
    if (call->isDone()) return;  // given up
    auto cancelled = kj::newPromiseAndFulfiller<void>();
    m_cancels.insert_or_assign(call.get(), kj::mv(cancelled.fulfiller));
    KJ_DEFER(m_cancels.erase(call.get()));
    auto end = start(call).exclusiveJoin(m_stop.addBranch()).exclusiveJoin(kj::mv(cancelled.promise));
    if (limit > noTimeLimit) end = end.exclusiveJoin(timer().afterDelay(toKj(limit)));
    end.wait(m_io.waitScope);
}

kj::Promise<void> ConnectionLoop::watchLife() {
    return timer().afterDelay(m_tick).then([this]() -> kj::Promise<void> {
        if (isDead()) {
            lose({QStringLiteral("The client gave no sign of life for %1 seconds.")
                      .arg(double(m_limits.heartbeatTimeout.count()) / 1000),
                  ConnectionFailure::Silent});
            return kj::READY_NOW;
        }
        if (!m_heartbeatUnderWay && ++m_ticksSinceHeartbeat * m_tick >= toKj(m_limits.heartbeatInterval))
            beatHeart();
        return watchLife();
    });
}

bool ConnectionLoop::isDead() {
    // While a long message goes out, what the peer takes of it is a sign of life as good as any; short ones
    // only fill the system's buffer.
    const bool sending = m_network->getCurrentQueueSize() > longTransfer;
    const std::uint64_t life = m_socket->bytesRead() + (sending ? m_socket->bytesWritten() : 0);
    m_silentTicks = life == m_lifeSeen ? m_silentTicks + 1 : 0;
    m_lifeSeen = life;
    return m_silentTicks * m_tick >= toKj(m_limits.heartbeatTimeout);
}

void ConnectionLoop::beatHeart() {
    KJ_IF_MAYBE (root, m_root) {
        m_heartbeatUnderWay = true;
        m_ticksSinceHeartbeat = 0;
        m_tasks->add(root->heartbeatRequest().send().ignoreResult().then(
            [this] { m_heartbeatUnderWay = false; },
            [this](kj::Exception&&) { m_heartbeatUnderWay = false; }));
    }
}

/// Oneway operations that were posted before the end are still sent: "disconnect" is one of them.
void ConnectionLoop::flush() {
    if (!m_network || !m_core->lossReason().isEmpty()) return;
    const auto end = timer().now() + flushTime;
    m_stop.addBranch().exclusiveJoin(timer().atTime(end)).wait(m_io.waitScope);
    while (m_network->getCurrentQueueCount() > 0 && timer().now() < end)
        timer().afterDelay(1 * kj::MILLISECONDS).wait(m_io.waitScope);
}

void ConnectionLoop::tearDown() {
    m_core->queue().close();
    m_tasks = nullptr;
    m_cancels.clear();
    m_root = nullptr;
    m_rpc = nullptr;
    m_network = nullptr;
    m_wire = nullptr;
    m_stream = nullptr;
    m_socket = nullptr;
}
