#pragma once

#include <QString>

#include <kj/io.h>

#include <chrono>

/// A point in time until which something may take.
class Deadline {
public:
    explicit Deadline(std::chrono::milliseconds limit) : m_end(std::chrono::steady_clock::now() + limit) {}
    /// Never negative.
    [[nodiscard]] std::chrono::milliseconds remaining() const;
    [[nodiscard]] bool isOver() const { return remaining().count() == 0; }

private:
    std::chrono::steady_clock::time_point m_end;
};

namespace SocketConnector {

/// A connected TCP socket (non-blocking, without delay). `host` is a name, with or without a dot at its end,
/// or an IPv4 or IPv6 address, with or without a scope ("fe80::1%eth0"). All addresses of a name are tried.
/// Throws VLException::portTimeout or VLException::inaccessible. Ends early when the workers are cancelled.
[[nodiscard]] kj::AutoCloseFd connect(const QString& host, quint16 port, const Deadline& deadline);
/// A listening TCP socket; "::" takes IPv4 too. Throws VLException::generic.
[[nodiscard]] kj::AutoCloseFd listen(const QString& address, quint16 port);
/// Waits until `fd` is ready for `events` (poll's); false when the time is over or the workers are cancelled.
[[nodiscard]] bool waitFor(int fd, short events, const Deadline& deadline);

}  // namespace SocketConnector
