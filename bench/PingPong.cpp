#include "PingPong.h"

#include "remote/SocketConnector.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <thread>

namespace {

bool transfer(int fd, char* data, std::size_t size, bool sends) {
    for (std::size_t done = 0; done < size;) {
        const auto count = sends ? ::send(fd, data + done, size - done, MSG_NOSIGNAL)
                                 : ::recv(fd, data + done, size - done, 0);
        if (count <= 0) return false;
        done += static_cast<std::size_t>(count);
    }
    return true;
}

void answerForever(int fd, PingPongSizes sizes) {
    const int on = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    std::vector<char> request(sizes.request);
    std::vector<char> answer(sizes.answer, 'x');
    while (transfer(fd, request.data(), request.size(), false) &&
           transfer(fd, answer.data(), answer.size(), true))
        continue;
    ::close(fd);
}

void setBlocking(int fd) {
    const int flags = ::fcntl(fd, F_GETFL);
    ::fcntl(fd, F_SETFL, flags & ~O_NONBLOCK);
}

}  // namespace

struct PingPongServer::Shared {
    kj::AutoCloseFd listener;
    quint16 port = 0;
};

PingPongServer::PingPongServer(PingPongSizes sizes) : m_shared(std::make_shared<Shared>()) {
    m_shared->listener = SocketConnector::listen(QStringLiteral("127.0.0.1"), 0);
    setBlocking(m_shared->listener.get());
    sockaddr_in address{};
    socklen_t length = sizeof address;
    ::getsockname(m_shared->listener.get(), reinterpret_cast<sockaddr*>(&address), &length);
    m_shared->port = ntohs(address.sin_port);
    std::thread([shared = m_shared, sizes] {
        for (;;) {
            const int fd = ::accept4(shared->listener.get(), nullptr, nullptr, SOCK_CLOEXEC);
            if (fd >= 0) std::thread(answerForever, fd, sizes).detach();
        }
    }).detach();
}

quint16 PingPongServer::port() const {
    return m_shared->port;
}

PingPongClients::PingPongClients(quint16 port, int count, PingPongSizes sizes) : m_sizes(sizes) {
    for (int index = 0; index < count; ++index) {
        auto fd =
            SocketConnector::connect(QStringLiteral("127.0.0.1"), port, Deadline(std::chrono::seconds(5)));
        setBlocking(fd.get());
        m_sockets.push_back(fd.release());
    }
}

PingPongClients::~PingPongClients() {
    for (const int socket : m_sockets)
        ::close(socket);
}

double PingPongClients::round(int threads) const {
    const auto start = std::chrono::steady_clock::now();
    const std::size_t groups = std::min<std::size_t>(std::size_t(threads), m_sockets.size());
    std::vector<std::thread> workers;
    for (std::size_t group = 0; group < groups; ++group)
        workers.emplace_back([this, group, groups] {
            std::vector<char> request(m_sizes.request, 'x');
            std::vector<char> answer(m_sizes.answer);
            for (std::size_t index = group; index < m_sockets.size(); index += groups) {
                if (!transfer(m_sockets[index], request.data(), request.size(), true)) return;
                if (!transfer(m_sockets[index], answer.data(), answer.size(), false)) return;
            }
        });
    for (auto& worker : workers)
        worker.join();
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
}
