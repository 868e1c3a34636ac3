#include "remote/ServerLoop.h"

#include "logs/VLLog.h"
#include "remote/SocketConnector.h"
#include "remote/TlsSettings.h"
#include "remote/WireValue.h"

#include <kj/debug.h>
#include <malloc.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>

namespace {

constexpr auto pauseAfterFailedAccept = 100 * kj::MILLISECONDS;
/// While connections storm in, the list of consoles is not read for each of them.
constexpr auto certificatesLast = 1 * kj::SECONDS;
constexpr auto pauseBeforeTrim = 1 * kj::SECONDS;
constexpr qint64 worthTrimming = 8 * 1024 * 1024;
/// How long a refused console may take to read why.
constexpr auto lingerTime = 1 * kj::SECONDS;

std::size_t mostOf(const VLServerOptions& options) {
    return std::size_t(std::max(1, options.maximumConnections));
}

QString peerAddress(kj::AsyncIoStream& stream) {
    sockaddr_storage address{};
    kj::uint length = sizeof address;
    stream.getpeername(reinterpret_cast<sockaddr*>(&address), &length);
    char host[NI_MAXHOST] = "";
    ::getnameinfo(reinterpret_cast<const sockaddr*>(&address), length, host, sizeof host, nullptr, 0,
                  NI_NUMERICHOST);
    return QString::fromLatin1(host);
}

/// Who the console says it is, with a certificate that this agent was given; empty when it has no name.
QString subjectOf(kj::PeerIdentity& identity) {
    QString subject;
    const auto failure = kj::runCatchingExceptions(
        [&] { subject = fromKj(kj::downcast<kj::TlsPeerIdentity>(identity).getCommonName()); });
    return failure == nullptr ? subject : QString();
}

QByteArray certificateOf(kj::PeerIdentity& identity) {
    QByteArray fingerprint;
    const auto failure = kj::runCatchingExceptions(
        [&] { fingerprint = TlsSettings::fingerprintOf(kj::downcast<kj::TlsPeerIdentity>(identity)); });
    return failure == nullptr ? fingerprint : QByteArray();
}

kj::Promise<void> drain(kj::AsyncIoStream& stream) {
    auto buffer = kj::heapArray<kj::byte>(4096);
    auto promise = stream.tryRead(buffer.begin(), 1, buffer.size());
    return promise.attach(kj::mv(buffer)).then([&stream](size_t count) -> kj::Promise<void> {
        if (count == 0) return kj::READY_NOW;
        return drain(stream);
    });
}

}  // namespace

ServerLoop::ServerLoop(kj::AsyncIoContext& io, std::shared_ptr<EventLoopQueue> queue,
                       std::shared_ptr<VLRootObject> root, const VLServerOptions& options,
                       std::atomic_int& connectionCount)
    : m_io(io),
      m_options(options),
      m_connectionCount(connectionCount),
      m_environment{io.lowLevelProvider->getTimer(), std::move(queue), std::move(root), options.limits,
                    std::make_shared<ByteBudget>(qint64(options.limits.allUnsentBytes))},
      m_slots(mostOf(options)),
      m_tasks(kj::heap<kj::TaskSet>(*this)) {
    m_environment.largeAnswer = [this] { trimLater(); };
    m_environment.madeRoom = [this, posted = m_environment.queue](quint64 peer) {
        posted->post([this, peer] {
            const auto found = m_connections.find(peer);
            if (found != m_connections.end()) found->second->madeRoom();
        });
    };
}

bool ServerLoop::end(std::chrono::milliseconds limit) {
    m_environment.queue->close();
    m_tasks = nullptr;
    for (auto& [peer, connection] : m_connections) {
        m_endingWorkers.emplace(peer, connection->worker());
        connection.reset();
    }
    m_connectionCount = 0;
    for (auto& [peer, worker] : m_endingWorkers)
        worker->close(true);
    const auto deadline = ServerWorker::Clock::now() + limit;
    bool haveEnded = true;
    for (auto& [peer, worker] : m_endingWorkers) {
        if (worker->join(deadline)) continue;
        worker->abandon();
        haveEnded = false;
    }
    m_endingWorkers.clear();
    return haveEnded;
}

void ServerLoop::run(kj::AutoCloseFd listener) {
    using Flags = kj::LowLevelAsyncIoProvider;
    auto receiver = m_io.lowLevelProvider->wrapListenSocketFd(
        listener.release(), Flags::TAKE_OWNERSHIP | Flags::ALREADY_CLOEXEC | Flags::ALREADY_NONBLOCK);
    KJ_DEFER(m_tasks = kj::heap<kj::TaskSet>(*this));
    // Without either of the two the server would be there and not serve.
    acceptNext(*receiver)
        .exclusiveJoin(m_environment.queue->run(m_io.unixEventPort))
        .exclusiveJoin(kj::mv(m_stopped.promise))
        .wait(m_io.waitScope);
}

void ServerLoop::log(const QString& line, const QString& address, const QString& reason) {
    if (m_log.take()) VLLog::appendLog(line, address, reason);
}

void ServerLoop::taskFailed(kj::Exception&& exception) {
    log(QStringLiteral("The server failed: %@"), fromKj(exception.getDescription()));
}

kj::Promise<void> ServerLoop::acceptNext(kj::ConnectionReceiver& receiver) {
    return receiver.accept().then(
        [this, &receiver](kj::Own<kj::AsyncIoStream>&& stream) {
            accepted(kj::mv(stream));
            return acceptNext(receiver);
        },
        [this, &receiver](kj::Exception&& exception) {
            // Most likely there are too many open files; connections that end will free some.
            log(QStringLiteral("No connection was accepted: %@"), fromKj(exception.getDescription()));
            return m_environment.timer.afterDelay(pauseAfterFailedAccept).then([this, &receiver] {
                return acceptNext(receiver);
            });
        });
}

/// Whatever goes wrong with one connection, such as that it is gone already, is of no matter to the next.
void ServerLoop::accepted(kj::Own<kj::AsyncIoStream> stream) {
    const auto failure = kj::runCatchingExceptions([&] {
        QString address = peerAddress(*stream);
        begin(std::move(address), kj::mv(stream));
    });
    KJ_IF_MAYBE (exception, failure)
        log(QStringLiteral("A connection ended before it began: %@"), fromKj(exception->getDescription()));
}

void ServerLoop::begin(QString address, kj::Own<kj::AsyncIoStream> stream) {
    auto handshake = kj::heap<Handshake>(
        Handshake{++m_lastPeer, std::move(address), kj::heap<CountingStream>(kj::mv(stream))});
    const quint64 peer = handshake->peer;
    auto dropped = kj::newPromiseAndFulfiller<void>();
    m_handshakes.emplace(peer, UnderWay{kj::mv(dropped.fulfiller), handshake->socket.get()});
    m_slots.add(peer, handshake->address);
    dropCrowdedOut();
    auto promise = kj::evalNow([&] { return shakeHands(*handshake); });
    m_tasks->add(promise.attach(kj::mv(handshake))
                     .exclusiveJoin(kj::mv(dropped.promise))
                     .then([this, peer] { endHandshake(peer); },
                           [this, peer](kj::Exception&& exception) {
                               endHandshake(peer);
                               taskFailed(kj::mv(exception));
                           }));
}

/// Whoever connects and says nothing must not keep others out.
void ServerLoop::dropCrowdedOut() {
    const auto hasSpoken = [this](quint64 peer) {
        const UnderWay& handshake = m_handshakes.at(peer);
        // The agent writes when it has read a hello that makes sense.
        return handshake.socket && handshake.socket->bytesWritten() > 0;
    };
    while (const auto peer = m_slots.crowdedOut(hasSpoken)) {
        m_handshakes.at(*peer).drop->fulfill();
        m_slots.remove(*peer);
    }
}

void ServerLoop::endHandshake(quint64 peer) {
    m_handshakes.erase(peer);
    m_slots.remove(peer);
}

kj::TlsContext& ServerLoop::tlsContext() {
    const auto now = m_environment.timer.now();
    const bool isStorm = m_handshakes.size() > mostOf(m_options) / 2;
    if (isStorm && m_tlsContext && now - m_certificatesRead < certificatesLast) return *m_tlsContext;
    m_certificatesRead = now;
    QList<QByteArray> certificates;
    try {
        if (m_options.authorizedCertificates) certificates = m_options.authorizedCertificates();
    } catch (const std::exception& exception) {
        VLException::logException(exception, "-[VLServer authorizedCertificates]");
    }
    if (!m_tlsContext || certificates != m_tlsContextCertificates) {
        m_tlsContext = TlsSettings::server(m_options.identity, certificates);
        m_tlsContextCertificates = certificates;
    }
    return *m_tlsContext;
}

kj::Promise<void> ServerLoop::shakeHands(Handshake& handshake) {
    const auto limit = m_options.limits.connect.count() * kj::MILLISECONDS;
    // Nothing that takes time or memory is done for a connection before it has begun to speak.
    auto tls = handshake.socket->readHead().then([this, &handshake](bool isThere) {
        if (!isThere || !TlsSettings::isClientHello(handshake.socket->head()))
            kj::throwFatalException(KJ_EXCEPTION(FAILED, "it does not speak TLS"));
        kj::Own<kj::AsyncIoStream> socket(handshake.socket.get(), kj::NullDisposer::instance);
        return tlsContext().wrapServer(
            kj::AuthenticatedStream{kj::mv(socket), kj::UnknownPeerIdentity::newInstance()});
    });
    return m_environment.timer.timeoutAfter(limit, kj::mv(tls))
        .then(
            [this, &handshake](kj::AuthenticatedStream&& tls) -> kj::Promise<void> {
                connected(handshake, kj::mv(tls));
                return kj::READY_NOW;
            },
            [this, &handshake](kj::Exception&& exception) { return refuse(handshake, exception); });
}

kj::Promise<void> ServerLoop::refuse(Handshake& handshake, const kj::Exception& exception) {
    log(QStringLiteral("%@ is refused: %@"), handshake.address, fromKj(exception.getDescription()));
    if (exception.getType() == kj::Exception::Type::OVERLOADED) return kj::READY_NOW;
    // Closing a socket with unread data in it resets the connection, and the alert that says why is lost.
    handshake.socket->shutdownWrite();
    return m_environment.timer.timeoutAfter(lingerTime, drain(*handshake.socket)).catch_([](kj::Exception&&) {
    });
}

void ServerLoop::connected(Handshake& handshake, kj::AuthenticatedStream tls) {
    const quint64 peer = handshake.peer;
    m_slots.letIn(handshake.address);
    // From here on it is none of those that may be dropped.
    m_slots.remove(peer);
    m_handshakes.at(peer).socket = nullptr;
    const QByteArray certificate = certificateOf(*tls.peerIdentity);
    if (!makeRoomFor(certificate))
        return log(QStringLiteral("%@ is turned away: there are too many connections."), handshake.address);
    m_environment.root->peerOpened(peer, subjectOf(*tls.peerIdentity) + u'@' + handshake.address,
                                   certificate);
    auto connection = std::make_shared<ServerConnection>(
        m_environment, ServerConnection::Streams{kj::mv(handshake.socket), kj::mv(tls.stream)},
        ServerConnection::Peer{peer, handshake.address, certificate},
        [this, queue = m_environment.queue, peer] { queue->post([this, peer] { reap(peer); }); });
    connection->start([this, peer](const QString& reason) {
        // Later: this is called by a task of the connection that is to be destroyed.
        m_tasks->add(kj::evalLater([this, peer, reason] { remove(peer, reason); }));
    });
    m_connections.emplace(peer, std::move(connection));
    m_connectionCount = int(m_connections.size());
}

/// A console that connects again and again does not take the places of others.
bool ServerLoop::makeRoomFor(const QByteArray& certificate) {
    const auto isOfIt = [&](const auto& entry) { return entry.second->certificate() == certificate; };
    const auto count = std::count_if(m_connections.begin(), m_connections.end(), isOfIt);
    if (!certificate.isEmpty() && count > 0 && count >= std::max(1, m_options.connectionsPerConsole)) {
        const auto oldest = std::find_if(m_connections.begin(), m_connections.end(), isOfIt);
        remove(oldest->first, QStringLiteral("The console has connected too often."));
    }
    return m_connections.size() < mostOf(m_options);
}

/// What large answers took goes back to the system once it is not needed any more.
void ServerLoop::trimLater() {
#ifdef __GLIBC__
    if (std::exchange(m_willTrim, true)) return;
    m_tasks->add(m_environment.timer.afterDelay(pauseBeforeTrim).then([this] {
        m_willTrim = false;
        const qint64 most = m_environment.answers->takePeak();
        ::malloc_trim(0);
        // Once more after the last of them: its memory may have been let go of only now.
        if (most >= worthTrimming) trimLater();
    }));
#endif
}

void ServerLoop::remove(quint64 peer, const QString& reason) {
    const auto found = m_connections.find(peer);
    if (found == m_connections.end()) return;
    log(QStringLiteral("The connection with %@ ended: %@"), found->second->address(), reason);
    const auto worker = found->second->worker();
    m_connections.erase(found);
    m_connectionCount = int(m_connections.size());
    worker->close(false);
    if (worker->wasStarted())
        m_endingWorkers.emplace(peer, worker);
    else
        m_environment.root->peerClosed(peer);
}

void ServerLoop::reap(quint64 peer) {
    const auto found = m_endingWorkers.find(peer);
    if (found == m_endingWorkers.end()) return;
    // Its threads are past all work.
    if (!found->second->join(ServerWorker::Clock::now() + std::chrono::seconds(1))) found->second->abandon();
    m_endingWorkers.erase(found);
}
