#include "remote/ServerConnection.h"

#include "logs/VLLog.h"
#include "remote/VLCorvalinServerProtocol.h"
#include "remote/WireValue.h"

#include <kj/debug.h>

#include <algorithm>

namespace {

constexpr int ticksOfSilence = 8;
constexpr std::size_t longTransfer = 64 * 1024;

/// A console's thread is away between two slices, its heartbeat with it; it gets twice the time that an
/// agent gets, whose loop always turns.
kj::Duration lifeTick(const RemoteLimits& limits) {
    return std::max<std::int64_t>(10, 2 * limits.heartbeatTimeout.count() / ticksOfSilence) *
           kj::MILLISECONDS;
}

/// None for an operation that says nothing; a control operation waits for nobody.
std::optional<AnswerRoom::Size> answerSize(const VLCorvalinServerProtocol::Operation* known) {
    using namespace VLCorvalinServerProtocol;
    if (known && (known->control || known->result == Result::Nothing)) return std::nullopt;
    return known && known->largeAnswer ? AnswerRoom::Size::Large : AnswerRoom::Size::Small;
}

}  // namespace

// kj deletes its objects through what made them, so its interfaces have no virtual destructors.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// The root object on the wire. Its connection outlives it.
class ServerConnection::RootObject final : public wire::Root::Server {
public:
    explicit RootObject(ServerConnection& connection) : m_connection(connection) {}

protected:
    kj::Promise<void> respondsToSelector(RespondsToSelectorContext context) override {
        WireReader reader(m_connection.m_environment.limits);
        const QString selector = reader.text(context.getParams().getSelector());
        context.getResults().setResponds(m_connection.respondsToSelector(selector));
        return kj::READY_NOW;
    }

    kj::Promise<void> heartbeat(HeartbeatContext) override { return kj::READY_NOW; }

    kj::Promise<void> selectors(SelectorsContext context) override {
        const QStringList known = m_connection.m_environment.root->selectors();
        auto list = context.getResults().initSelectors(static_cast<unsigned int>(known.size()));
        unsigned int index = 0;
        for (const QString& selector : known) {
            const QByteArray name = selector.toUtf8();
            list.set(index++, {name.constData(), std::size_t(name.size())});
        }
        return kj::READY_NOW;
    }

    kj::Promise<void> perform(PerformContext context) override {
        using namespace VLCorvalinServerProtocol;
        const auto& limits = m_connection.m_environment.limits;
        try {
            const auto bytes = context.getParams().totalSize().wordCount * sizeof(capnp::word);
            const QString selector = WireReader(limits).text(context.getParams().getSelector());
            // The reader shares the keys with what it has read: it goes before another thread gets that.
            QVariantList arguments = readArguments(WireReader(limits), context.getParams().getArguments());
            context.releaseParams();

            const Operation* known = operation(Side::Agent, selector);
            const auto lane = known && known->control ? ServerWorker::Control : ServerWorker::Ordinary;
            ServerWorker::Job job{selector, std::move(arguments), bytes, lane, 0, nullptr, answerSize(known)};
            if (known && known->mode == Mode::Oneway) {
                m_connection.performOneway(std::move(job));
                return kj::READY_NOW;
            }
            auto outcome = std::make_shared<Outcome>();
            return m_connection.perform(std::move(job), outcome).then([context, outcome]() mutable {
                context.getResults().setOutcome((*outcome)->getRoot<wire::Outcome>().asReader());
            });
        } catch (const VLException& exception) {
            WireWriter(limits).write(context.getResults().initOutcome().initException(), exception);
            return kj::READY_NOW;
        }
    }

private:
    QVariantList readArguments(WireReader reader, capnp::List<wire::Argument>::Reader source) {
        // More than any operation has, and enough to keep a list without end from being read.
        if (source.size() > 64)
            throw VLException(VLException::invalidArgument, QStringLiteral("There are too many arguments."));
        QVariantList arguments;
        for (const auto argument : source) {
            if (argument.isCallback())
                arguments.append(QVariant::fromValue(m_connection.m_hub->adopt(argument.getCallback())));
            else if (argument.isValue())
                arguments.append(reader.read(argument.getValue()));
            else
                throw VLException(VLException::invalidArgument,
                                  QStringLiteral("An argument is of an unknown kind."));
        }
        return arguments;
    }

    ServerConnection& m_connection;
};

#pragma GCC diagnostic pop

ServerConnection::ServerConnection(Environment& environment, Streams streams, Peer peer,
                                   std::function<void()> workerEnded)
    : m_environment(environment),
      m_peer(std::move(peer)),
      // Asked through the loop's table: the worker may outlive this connection.
      m_room(std::make_shared<AnswerRoom>(
          environment.limits, environment.answers,
          [wake = environment.madeRoom, number = m_peer.number] { wake(number); })),
      m_worker(std::make_shared<ServerWorker>(environment.root, environment.limits, m_peer.number, m_room,
                                              std::move(workerEnded))),
      m_hub(std::make_shared<CallbackHub>(environment.queue, environment.limits)),
      m_socket(kj::mv(streams.socket)),
      m_stream(kj::mv(streams.tls)),
      m_wire(*m_stream, environment.limits),
      m_network(m_wire, capnp::rpc::twoparty::Side::SERVER, WireStream::readerOptions(environment.limits)),
      m_tasks(*this) {
    m_wire.setNetwork(m_network);
    m_wire.holdBackWhile([this] { return isHeldBack(); });
    // Callbacks count in what holds a console back, so what was written may be one of those alone.
    m_wire.setWritten([this] {
        if (m_unsent > 0 || m_network.getCurrentQueueSize() > longTransfer)
            m_tasks.add(kj::evalLast([this] { countUnsent(); }));
    });
}

ServerConnection::~ServerConnection() noexcept(false) {
    m_hub->close();
    m_room->setUnsent(0);  // its worker may have something to do for a long time yet
}

void ServerConnection::start(std::function<void(const QString&)> lost) {
    m_lost = std::move(lost);
    m_rpc = kj::heap<capnp::RpcSystem<capnp::rpc::twoparty::VatId>>(
        capnp::makeRpcServer(m_network, wire::Root::Client(kj::heap<RootObject>(*this))));
    m_tasks.add(m_network.onDisconnect().then([this] { lose(m_wire.connectionEnd().reason); }));
    m_tasks.add(watchLife());
}

void ServerConnection::lose(const QString& reason) {
    if (auto lost = std::exchange(m_lost, nullptr)) lost(reason);
}

void ServerConnection::taskFailed(kj::Exception&& exception) {
    lose(fromKj(exception.getDescription()));
}

bool ServerConnection::respondsToSelector(const QString& selector) {
    return m_environment.root->respondsToSelector(selector);
}

kj::Promise<void> ServerConnection::perform(ServerWorker::Job job, std::shared_ptr<Outcome> outcome) {
    const quint64 ticket = ++m_lastTicket;
    job.done = [queue = m_environment.queue, self = weak_from_this(), ticket](
                   const Outcome& result, const ServerWorker::Answer& answer) {
        queue->post([self, ticket, result, answer] {
            if (const auto connection = self.lock()) connection->finish(ticket, result, answer);
        });
    };
    if (!m_worker->add(std::move(job)))
        throw VLException(VLException::generic,
                          QStringLiteral("The client has too many operations to do already."));
    auto pair = kj::newPromiseAndFulfiller<void>();
    m_tickets.emplace(ticket, Ticket{kj::mv(pair.fulfiller), std::move(outcome)});
    return kj::mv(pair.promise);
}

void ServerConnection::performOneway(ServerWorker::Job job) {
    const QString selector = job.selector;
    if (m_worker->add(std::move(job)) || !m_log.take()) return;
    VLLog::appendLog(QStringLiteral("Too many operations are waiting; %@ of %@ is dropped."), selector,
                     m_peer.address);
}

void ServerConnection::finish(quint64 ticket, Outcome outcome, ServerWorker::Answer answer) {
    const auto found = m_tickets.find(ticket);
    if (found == m_tickets.end()) return;
    if (outcome->sizeInWords() * sizeof(capnp::word) > longTransfer) m_environment.largeAnswer();
    *found->second.outcome = std::move(outcome);
    found->second.done->fulfill();
    m_tickets.erase(found);
    // By the end of this turn it is among what the network has to send, and counted there.
    m_tasks.add(kj::evalLast([this, held = std::move(answer)] { countUnsent(); }));
}

void ServerConnection::countUnsent() {
    m_unsent = m_network.getCurrentQueueSize();
    m_room->setUnsent(qint64(m_unsent));
    if (!isHeldBack()) m_wire.continueReading();
}

/// A console that does not read its answers makes no further calls: they wait in the socket.
bool ServerConnection::isHeldBack() {
    return m_network.getCurrentQueueSize() >= m_environment.limits.unsentBytes || m_room->isWaitedFor();
}

void ServerConnection::madeRoom() {
    if (!isHeldBack()) m_wire.continueReading();
}

kj::Promise<void> ServerConnection::watchLife() {
    return m_environment.timer.afterDelay(lifeTick(m_environment.limits)).then([this]() -> kj::Promise<void> {
        const bool sending = m_network.getCurrentQueueSize() > longTransfer;
        // Whoever is sent much has to take it: what it says meanwhile would keep the room for good.
        const std::uint64_t life = sending ? m_socket->bytesWritten() : m_socket->bytesRead();
        m_silentTicks = life == m_lifeSeen && sending == m_wasSending ? m_silentTicks + 1 : 0;
        m_lifeSeen = life;
        m_wasSending = sending;
        if (m_silentTicks < ticksOfSilence) return watchLife();
        lose(QStringLiteral("The console gave no sign of life."));
        return kj::READY_NOW;
    });
}
