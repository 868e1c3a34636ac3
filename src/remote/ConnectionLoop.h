#pragma once

#include "corvalin.capnp.h"
#include "remote/CallbackObject.h"
#include "remote/ConnectionCore.h"
#include "remote/SocketConnector.h"
#include "remote/TaskErrorHandler.h"
#include "remote/WireStream.h"

#include <QString>

#include <capnp/rpc-twoparty.h>
#include <kj/async-io.h>
#include <kj/compat/tls.h>

#include <memory>
#include <unordered_map>

/// The event loop of one connection and all that lives on it. One thread throughout.
class ConnectionLoop final : public TaskErrorHandler {
public:
    ConnectionLoop(std::shared_ptr<ConnectionCore> core, const RemoteLimits& limits);
    ~ConnectionLoop() noexcept(false) override;

    // Making the connection, step by step. Both throw kj exceptions and VLException::portTimeout.
    /// TLS with the one peer that `context` trusts.
    void shakeHands(kj::AutoCloseFd fd, kj::TlsContext& context, const Deadline& deadline);
    /// Starts the protocol and waits for the first answer, which comes only when the peer accepts us.
    void open(const Deadline& deadline);
    /// After open() failed: what the peer said last, as far as is known. Ends the connection.
    [[nodiscard]] QString lastWords();

    void serve(std::chrono::milliseconds slice);
    void sendAndWait(const std::shared_ptr<PendingCall>& call, std::chrono::milliseconds limit);

    // Also from functions that the loop runs.
    void send(const std::shared_ptr<PendingCall>& call);
    void cancel(const std::shared_ptr<PendingCall>& call);
    void endSlice();
    /// Ends whatever the loop waits for: the core was closed.
    void stop();

private:
    using Call = std::shared_ptr<PendingCall>;

    [[nodiscard]] kj::Timer& timer() { return m_io.lowLevelProvider->getTimer(); }
    /// Waits for `promise`; throws VLException::portTimeout.
    void waitWithin(kj::Promise<void> promise, const Deadline& deadline, const QString& what);
    [[nodiscard]] kj::Promise<void> overOrCancelled(Deadline deadline);
    /// Sends; resolves when the call has ended, and never fails.
    [[nodiscard]] kj::Promise<void> start(const Call& call);
    [[nodiscard]] kj::Promise<void> startPerform(const Call& call);
    /// As an agent's answer lists them: what the protocol doesn't have is left out.
    void learnSelectors(capnp::List<capnp::Text>::Reader selectors);
    void lose(const ConnectionEnd& end);
    [[nodiscard]] kj::Promise<void> watchLife();
    [[nodiscard]] bool isDead();
    void beatHeart();
    void flush();
    void tearDown();
    void taskFailed(kj::Exception&& exception) override;

    const std::shared_ptr<ConnectionCore> m_core;
    const RemoteLimits m_limits;
    kj::AsyncIoContext m_io;
    const std::shared_ptr<CallbackContext> m_callbacks;

    kj::PromiseFulfillerPair<void> m_stopped = kj::newPromiseAndFulfiller<void>();
    kj::ForkedPromise<void> m_stop = m_stopped.promise.fork();
    kj::Own<kj::PromiseFulfiller<void>> m_sliceEnd;

    // In the order in which each stands on the one before.
    kj::Own<CountingStream> m_socket;
    kj::Own<CountingStream> m_stream;
    kj::Own<WireStream> m_wire;
    kj::Own<capnp::TwoPartyVatNetwork> m_network;
    kj::Own<capnp::RpcSystem<capnp::rpc::twoparty::VatId>> m_rpc;
    kj::Maybe<wire::Root::Client> m_root;
    std::unordered_map<const PendingCall*, kj::Own<kj::PromiseFulfiller<void>>> m_cancels;
    kj::Own<kj::TaskSet> m_tasks;

    // Signs of life.
    kj::Duration m_tick;
    std::uint64_t m_lifeSeen = 0;
    int m_silentTicks = 0;
    int m_ticksSinceHeartbeat = 0;
    bool m_heartbeatUnderWay = false;
};
