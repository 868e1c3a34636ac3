#pragma once

#include "remote/HandshakeSlots.h"
#include "remote/LogBudget.h"
#include "remote/ServerConnection.h"
#include "remote/TaskErrorHandler.h"
#include "remote/VLServer.h"

#include <kj/async-io.h>
#include <kj/compat/tls.h>

#include <atomic>
#include <map>
#include <memory>

/// What the server's thread runs: accepts, shakes hands, and keeps the connections.
class ServerLoop final : public TaskErrorHandler {
public:
    ServerLoop(kj::AsyncIoContext& io, std::shared_ptr<EventLoopQueue> queue,
               std::shared_ptr<VLRootObject> root, const VLServerOptions& options,
               std::atomic_int& connectionCount);
    /// end() first.
    ~ServerLoop() noexcept(false) override = default;

    /// Serves until stop() was called, by a function in the queue. Throws when it cannot go on.
    void run(kj::AutoCloseFd listener);
    /// Drops all connections and waits for the operations under way. False when one did not end in time: it
    /// is on its own then. Not from a task of the loop.
    [[nodiscard]] bool end(std::chrono::milliseconds limit);
    void stop() { m_stopped.fulfiller->fulfill(); }

private:
    struct Handshake {
        quint64 peer;
        QString address;
        kj::Own<CountingStream> socket;
    };
    struct UnderWay {
        kj::Own<kj::PromiseFulfiller<void>> drop;
        const CountingStream* socket;
    };

    [[nodiscard]] kj::Promise<void> acceptNext(kj::ConnectionReceiver& receiver);
    void accepted(kj::Own<kj::AsyncIoStream> stream);
    void begin(QString address, kj::Own<kj::AsyncIoStream> stream);
    void dropCrowdedOut();
    void endHandshake(quint64 peer);
    [[nodiscard]] kj::Promise<void> shakeHands(Handshake& handshake);
    [[nodiscard]] kj::Promise<void> refuse(Handshake& handshake, const kj::Exception& exception);
    void connected(Handshake& handshake, kj::AuthenticatedStream tls);
    [[nodiscard]] bool makeRoomFor(const QByteArray& certificate);
    void trimLater();
    void remove(quint64 peer, const QString& reason);
    void reap(quint64 peer);
    [[nodiscard]] kj::TlsContext& tlsContext();
    void log(const QString& line, const QString& address, const QString& reason = {});
    void taskFailed(kj::Exception&& exception) override;

    kj::AsyncIoContext& m_io;
    const VLServerOptions& m_options;
    std::atomic_int& m_connectionCount;
    ServerConnection::Environment m_environment;
    kj::PromiseFulfillerPair<void> m_stopped = kj::newPromiseAndFulfiller<void>();
    LogBudget m_log;

    kj::Own<kj::TlsContext> m_tlsContext;
    QList<QByteArray> m_tlsContextCertificates;  ///< that the context trusts
    kj::TimePoint m_certificatesRead = kj::origin<kj::TimePoint>();

    quint64 m_lastPeer = 0;
    std::map<quint64, UnderWay> m_handshakes;
    HandshakeSlots m_slots;
    bool m_willTrim = false;
    std::map<quint64, std::shared_ptr<ServerConnection>> m_connections;
    std::map<quint64, std::shared_ptr<ServerWorker>> m_endingWorkers;
    kj::Own<kj::TaskSet> m_tasks;
};
