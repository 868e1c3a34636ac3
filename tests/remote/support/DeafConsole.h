#pragma once

#include "corvalin.capnp.h"
#include "remote/EventLoop.h"
#include "remote/KjQuiet.h"
#include "remote/SocketConnector.h"
#include "remote/TlsSettings.h"
#include "remote/WireStream.h"

#include <capnp/rpc-twoparty.h>
#include <sys/socket.h>

#include <atomic>
#include <thread>

// kj deletes its objects through what made them, so its interfaces have no virtual destructors.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// An authorised console that makes many calls at once and reads no answer before hear(). Runs on a thread
/// of its own until it is destroyed.
class DeafConsole {
public:
    DeafConsole(quint16 port, TlsIdentity identity, QByteArray agentCertificate, QByteArray selector,
                int calls)
        : m_thread([this, port, identity = std::move(identity), certificate = std::move(agentCertificate),
                    selector = std::move(selector), calls] {
              const KjQuiet quiet;
              const auto failure =
                  kj::runCatchingExceptions([&] { run(port, identity, certificate, selector, calls); });
              m_isLost = m_isLost || failure != nullptr;
          }) {}
    ~DeafConsole() {
        m_shallEnd = true;
        m_thread.join();
    }
    DeafConsole(const DeafConsole&) = delete;
    DeafConsole& operator=(const DeafConsole&) = delete;

    void hear() { m_hears = true; }
    [[nodiscard]] int answers() const { return m_answers; }
    [[nodiscard]] bool isLost() const { return m_isLost; }

private:
    class Ears final : public kj::AsyncIoStream {
    public:
        explicit Ears(kj::Own<kj::AsyncIoStream> inner) : m_inner(kj::mv(inner)) {}
        bool isDeaf = false;
        void hear() {
            isDeaf = false;
            KJ_IF_MAYBE (waiting, m_waiting) (*waiting)->fulfill();
            m_waiting = nullptr;
        }
        kj::Promise<size_t> tryRead(void* buffer, size_t least, size_t most) override {
            if (!isDeaf) return m_inner->tryRead(buffer, least, most);
            auto waiting = kj::newPromiseAndFulfiller<void>();
            m_waiting = kj::mv(waiting.fulfiller);
            return waiting.promise.then([=, this] { return tryRead(buffer, least, most); });
        }
        kj::Promise<void> write(const void* buffer, size_t size) override {
            return m_inner->write(buffer, size);
        }
        kj::Promise<void> write(kj::ArrayPtr<const kj::ArrayPtr<const kj::byte>> pieces) override {
            return m_inner->write(pieces);
        }
        kj::Promise<void> whenWriteDisconnected() override { return m_inner->whenWriteDisconnected(); }
        void shutdownWrite() override { m_inner->shutdownWrite(); }
        void getsockopt(int level, int option, void* value, kj::uint* length) override {
            m_inner->getsockopt(level, option, value, length);
        }

    private:
        kj::Own<kj::AsyncIoStream> m_inner;
        kj::Maybe<kj::Own<kj::PromiseFulfiller<void>>> m_waiting;
    };

    void run(quint16 port, const TlsIdentity& identity, const QByteArray& certificate,
             const QByteArray& selector, int calls) {
        using Flags = kj::LowLevelAsyncIoProvider;
        auto fd =
            SocketConnector::connect(QStringLiteral("127.0.0.1"), port, Deadline(std::chrono::seconds(10)));
        const int little = 64 * 1024;  // what the system keeps for it is not the agent's
        (void)::setsockopt(fd.get(), SOL_SOCKET, SO_RCVBUF, &little, sizeof little);
        auto io = makeEventLoop();
        auto context = TlsSettings::client(identity, certificate);
        Ears ears(io.lowLevelProvider->wrapSocketFd(
            fd.release(), Flags::TAKE_OWNERSHIP | Flags::ALREADY_CLOEXEC | Flags::ALREADY_NONBLOCK));
        auto tls =
            context
                ->wrapClient(kj::Own<kj::AsyncIoStream>(&ears, kj::NullDisposer::instance), agentTlsHostName)
                .wait(io.waitScope);
        capnp::TwoPartyVatNetwork network(*tls, capnp::rpc::twoparty::Side::CLIENT,
                                          WireStream::readerOptions({}));
        auto rpc = capnp::makeRpcClient(network);
        capnp::MallocMessageBuilder message;
        auto server = message.initRoot<capnp::rpc::twoparty::VatId>();
        server.setSide(capnp::rpc::twoparty::Side::SERVER);
        auto root = rpc.bootstrap(server).castAs<wire::Root>();
        root.heartbeatRequest().send().ignoreResult().wait(io.waitScope);
        ears.isDeaf = true;
        auto all = kj::heapArrayBuilder<kj::Promise<void>>(std::size_t(calls));
        for (int call = 0; call < calls; ++call) {
            auto request = root.performRequest();
            request.setSelector(selector.constData());
            all.add(request.send().then([this](auto&&) { ++m_answers; },
                                        [this](kj::Exception&&) { m_isLost = true; }));
        }
        auto answered = kj::joinPromises(all.finish()).eagerlyEvaluate(nullptr);
        while (!m_shallEnd) {
            if (m_hears && ears.isDeaf) ears.hear();
            io.provider->getTimer().afterDelay(5 * kj::MILLISECONDS).wait(io.waitScope);
        }
    }

    std::atomic_bool m_hears = false, m_shallEnd = false, m_isLost = false;
    std::atomic_int m_answers = 0;
    std::thread m_thread;
};

#pragma GCC diagnostic pop
