#include "remote/VLServer.h"

#include "logs/VLLog.h"
#include "remote/EventLoop.h"
#include "remote/KjQuiet.h"
#include "remote/ServerLoop.h"
#include "remote/SocketConnector.h"
#include "remote/TlsSettings.h"
#include "remote/WireValue.h"

#include <kj/common.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <atomic>
#include <thread>

namespace {

constexpr std::chrono::seconds defaultEndLimit{10};

quint16 boundPort(int fd) {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    if (::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) return 0;
    return address.ss_family == AF_INET6 ? ntohs(reinterpret_cast<const sockaddr_in6&>(address).sin6_port)
                                         : ntohs(reinterpret_cast<const sockaddr_in&>(address).sin_port);
}

}  // namespace

struct VLServer::Private {
    std::shared_ptr<VLRootObject> root;
    VLServerOptions options;
    std::shared_ptr<EventLoopQueue> queue = std::make_shared<EventLoopQueue>();
    quint16 port = 0;
    std::atomic_int connectionCount = 0;
    std::atomic<ServerLoop*> loop = nullptr;
    std::thread thread;

    std::atomic<std::chrono::milliseconds> endLimit{defaultEndLimit};
    bool hasEnded = true;  ///< all operations have; the thread's until it is joined

    void run(kj::AutoCloseFd listener) {
        const KjQuiet quiet;
        try {
            auto io = makeEventLoop();
            ServerLoop serverLoop(io, queue, root, options, connectionCount);
            loop = &serverLoop;
            KJ_DEFER(hasEnded = serverLoop.end(endLimit.load()));
            serverLoop.run(kj::mv(listener));
            return;
        } catch (const kj::Exception& exception) {
            fail(fromKj(exception.getDescription()));
        } catch (const std::exception& exception) {
            fail(QString::fromUtf8(exception.what()));
        }
    }
    void fail(const QString& reason) const {
        VLLog::appendLogAndPrint(QStringLiteral("The server ended: %1").arg(reason));
        if (options.failed) options.failed();
    }
};

VLServer::VLServer(std::shared_ptr<VLRootObject> root, VLServerOptions options)
    : d(std::make_unique<Private>()) {
    // Qt's type registry has a lock of its own, but one that ThreadSanitizer doesn't see.
    qRegisterMetaType<VLRemoteCallbackPtr>();
    // What is wrong with the key pair shows here, not at the first connection.
    (void)TlsSettings::server(options.identity, {});
    d->root = std::move(root);
    d->options = std::move(options);
    auto listener = SocketConnector::listen(d->options.address, d->options.port);
    d->port = boundPort(listener.get());
    d->thread = std::thread(
        [this, fd = std::make_shared<kj::AutoCloseFd>(kj::mv(listener))] { d->run(kj::mv(*fd)); });
}

VLServer::~VLServer() {
    if (d->thread.joinable()) stop(defaultEndLimit);
}

bool VLServer::stop(std::chrono::milliseconds limit) {
    d->endLimit = limit;
    d->queue->post([this] { d->loop.load()->stop(); });
    d->thread.join();
    return d->hasEnded;
}

quint16 VLServer::port() const noexcept {
    return d->port;
}
int VLServer::connectionCount() const noexcept {
    return d->connectionCount;
}
