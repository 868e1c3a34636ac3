#pragma once

#include "remote/CallbackHub.h"
#include "remote/EventLoopQueue.h"
#include "remote/LogBudget.h"
#include "remote/ServerWorker.h"
#include "remote/TaskErrorHandler.h"
#include "remote/WireStream.h"

#include <capnp/rpc-twoparty.h>
#include <kj/async-io.h>
#include <kj/timer.h>

#include <functional>
#include <memory>
#include <unordered_map>

/// One console that is connected and authorised. Lives on the server's thread, except for its worker.
class ServerConnection final : public std::enable_shared_from_this<ServerConnection>,
                               public TaskErrorHandler {
public:
    /// What the connections of a server share; outlives them.
    struct Environment {
        kj::Timer& timer;
        std::shared_ptr<EventLoopQueue> queue;
        std::shared_ptr<VLRootObject> root;
        RemoteLimits limits;
        std::shared_ptr<ByteBudget> answers;              ///< of all consoles
        std::function<void()> largeAnswer = {};           ///< one was made
        std::function<void(quint64 peer)> madeRoom = {};  ///< calls that peer's madeRoom(); any thread
    };
    struct Streams {
        kj::Own<CountingStream> socket;
        kj::Own<kj::AsyncIoStream> tls;
    };

    /// Who is on the other end.
    struct Peer {
        quint64 number;
        QString address;
        QByteArray certificate;  ///< its fingerprint
    };

    /// `workerEnded`: see ServerWorker.
    ServerConnection(Environment& environment, Streams streams, Peer peer, std::function<void()> workerEnded);
    ~ServerConnection() noexcept(false) override;

    /// `lost` is called once, from a task of this connection: destroy it later, not there.
    void start(std::function<void(const QString& reason)> lost);
    /// See AnswerRoom.
    void madeRoom();
    [[nodiscard]] const std::shared_ptr<ServerWorker>& worker() const { return m_worker; }
    [[nodiscard]] const QString& address() const { return m_peer.address; }
    [[nodiscard]] const QByteArray& certificate() const { return m_peer.certificate; }

private:
    class RootObject;
    using Outcome = ServerWorker::Outcome;
    /// An operation that the worker has, and where its outcome goes.
    struct Ticket {
        kj::Own<kj::PromiseFulfiller<void>> done;
        std::shared_ptr<Outcome> outcome;
    };

    [[nodiscard]] bool respondsToSelector(const QString& selector);
    /// Has the worker perform it and store its outcome. Throws VLException when it can't be taken in.
    [[nodiscard]] kj::Promise<void> perform(ServerWorker::Job job, std::shared_ptr<Outcome> outcome);
    void performOneway(ServerWorker::Job job);
    void finish(quint64 ticket, Outcome outcome, ServerWorker::Answer answer);
    void countUnsent();
    [[nodiscard]] bool isHeldBack();
    [[nodiscard]] kj::Promise<void> watchLife();
    void lose(const QString& reason);
    void taskFailed(kj::Exception&& exception) override;

    Environment& m_environment;
    const Peer m_peer;
    const std::shared_ptr<AnswerRoom> m_room;
    const std::shared_ptr<ServerWorker> m_worker;
    const std::shared_ptr<CallbackHub> m_hub;
    std::function<void(const QString& reason)> m_lost;
    LogBudget m_log;

    kj::Own<CountingStream> m_socket;
    kj::Own<kj::AsyncIoStream> m_stream;
    WireStream m_wire;
    capnp::TwoPartyVatNetwork m_network;
    kj::Own<capnp::RpcSystem<capnp::rpc::twoparty::VatId>> m_rpc;
    std::unordered_map<quint64, Ticket> m_tickets;
    quint64 m_lastTicket = 0;
    std::size_t m_unsent = 0;  ///< as it was counted last
    std::uint64_t m_lifeSeen = 0;
    bool m_wasSending = false;
    int m_silentTicks = 0;
    kj::TaskSet m_tasks;
};
