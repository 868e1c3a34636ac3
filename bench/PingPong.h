#pragma once

#include <QByteArray>

#include <cstddef>
#include <memory>
#include <vector>

/// The floor under every remote call: bare TCP connections over which a request of some bytes goes out and an
/// answer of some bytes comes back, without TLS, encoding or event loops.
struct PingPongSizes {
    std::size_t request = 0;
    std::size_t answer = 0;
};

/// Answers every connection on a thread of its own, until the process ends.
class PingPongServer {
public:
    explicit PingPongServer(PingPongSizes sizes);
    [[nodiscard]] quint16 port() const;

private:
    struct Shared;
    std::shared_ptr<Shared> m_shared;
};

/// Connections to a server, worked like the clients of a fan-out: in groups, one thread per group.
class PingPongClients {
public:
    PingPongClients(quint16 port, int count, PingPongSizes sizes);
    ~PingPongClients();
    PingPongClients(const PingPongClients&) = delete;
    PingPongClients& operator=(const PingPongClients&) = delete;

    /// Microseconds until every connection has got its answer.
    [[nodiscard]] double round(int threads) const;

private:
    std::vector<int> m_sockets;
    PingPongSizes m_sizes;
};
