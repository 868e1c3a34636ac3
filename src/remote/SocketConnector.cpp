#include "remote/SocketConnector.h"

#include "foundation/VLThread.h"
#include "remote/ConnectionFailure.h"
#include "system/VLException.h"

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <unordered_map>
#include <vector>

using namespace std::chrono_literals;

std::chrono::milliseconds Deadline::remaining() const {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_end - std::chrono::steady_clock::now());
    return std::max(left, 0ms);
}

namespace {

struct Address {
    sockaddr_storage storage{};
    socklen_t length = 0;
    [[nodiscard]] const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&storage); }
};

struct LookupResult {
    std::vector<Address> addresses;
    QString error;
};

QString systemError(int error) {
    return QString::fromStdString(std::system_category().message(error));
}

LookupResult lookUp(const QByteArray& host, quint16 port, int flags) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = flags | AI_NUMERICSERV;
    addrinfo* found = nullptr;
    const int error = ::getaddrinfo(host.constData(), QByteArray::number(port).constData(), &hints, &found);
    if (error != 0) return {{}, QString::fromLocal8Bit(::gai_strerror(error))};

    LookupResult result;
    for (const addrinfo* info = found; info; info = info->ai_next) {
        if (info->ai_addrlen > sizeof(sockaddr_storage)) continue;
        Address address;
        std::memcpy(&address.storage, info->ai_addr, info->ai_addrlen);
        address.length = info->ai_addrlen;
        result.addresses.push_back(address);
    }
    ::freeaddrinfo(found);
    return result;
}

/// Look-ups under way, by host. The system's resolver takes as long as it likes and cannot be stopped, so a
/// thread that may outlive the wait asks it: one for each host, however often the host is tried meanwhile.
class HostLookups {
public:
    using Answer = std::shared_future<LookupResult>;

    /// Throws std::system_error when there is no thread left.
    static Answer start(const std::string& host) {
        Shared& shared = instance();
        const std::lock_guard lock(shared.mutex);
        if (const auto found = shared.running.find(host); found != shared.running.end()) return found->second;
        auto promise = std::make_shared<std::promise<LookupResult>>();
        std::thread([promise, host] { run(*promise, host); }).detach();
        return shared.running.emplace(host, promise->get_future().share()).first->second;
    }

private:
    struct Shared {
        std::mutex mutex;
        std::unordered_map<std::string, Answer> running;
    };
    // Never destroyed: a look-up may end after the program's static objects.
    static Shared& instance() {
        static Shared* const shared = new Shared;
        return *shared;
    }

    static void run(std::promise<LookupResult>& promise, const std::string& host) {
        LookupResult result = lookUp(QByteArray::fromStdString(host), 0, 0);
        // The name server may not care for the dot of a fully qualified name, the hosts file does.
        if (result.addresses.empty() && host.size() > 1 && host.back() == '.')
            result = lookUp(QByteArray::fromStdString(host.substr(0, host.size() - 1)), 0, 0);
        const std::lock_guard lock(instance().mutex);
        instance().running.erase(host);
        promise.set_value(std::move(result));
    }
};

void setPort(Address& address, quint16 port) {
    if (address.storage.ss_family == AF_INET)
        reinterpret_cast<sockaddr_in*>(&address.storage)->sin_port = htons(port);
    else if (address.storage.ss_family == AF_INET6)
        reinterpret_cast<sockaddr_in6*>(&address.storage)->sin6_port = htons(port);
}

LookupResult lookUpWithin(const QByteArray& host, quint16 port, const Deadline& deadline) {
    HostLookups::Answer answer;
    try {
        answer = HostLookups::start(host.toStdString());
    } catch (const std::system_error&) {
        return {{}, QStringLiteral("the system has no thread left")};
    }
    while (answer.wait_for(std::min(deadline.remaining(), 200ms)) != std::future_status::ready) {
        if (!deadline.isOver() && !VLThread::isCancelled()) continue;
        throw connectionException(
            VLException::portTimeout, ConnectionFailure::HostNotFound,
            QStringLiteral("The address of %1 was not found in time.").arg(QString::fromUtf8(host)));
    }
    LookupResult result = answer.get();
    for (Address& address : result.addresses)
        setPort(address, port);
    return result;
}

LookupResult resolve(const QString& host, quint16 port, const Deadline& deadline) {
    QString name = host.trimmed();
    if (name.startsWith(u'[') && name.endsWith(u']')) name = name.mid(1, name.size() - 2);
    const QByteArray bytes = name.toUtf8();
    if (bytes.isEmpty() || bytes.contains('\0')) return {{}, QStringLiteral("the host name is empty")};
    LookupResult result = lookUp(bytes, port, AI_NUMERICHOST);
    if (!result.addresses.empty()) return result;
    return lookUpWithin(bytes, port, deadline);
}

void setOption(int fd, int level, int option) {
    const int on = 1;
    ::setsockopt(fd, level, option, &on, sizeof on);
}

/// 0, or the error. `fd` is set when it worked.
int connectTo(const Address& address, const Deadline& deadline, kj::AutoCloseFd& fd) {
    kj::AutoCloseFd socket(
        ::socket(address.storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, IPPROTO_TCP));
    if (socket.get() < 0) return errno;
    setOption(socket.get(), IPPROTO_TCP, TCP_NODELAY);
    if (::connect(socket.get(), address.get(), address.length) != 0) {
        if (errno != EINPROGRESS) return errno;
        if (!SocketConnector::waitFor(socket.get(), POLLOUT, deadline)) return ETIMEDOUT;
        int error = 0;
        socklen_t length = sizeof error;
        if (::getsockopt(socket.get(), SOL_SOCKET, SO_ERROR, &error, &length) != 0) return errno;
        if (error != 0) return error;
    }
    fd = kj::mv(socket);
    return 0;
}

}  // namespace

bool SocketConnector::waitFor(int fd, short events, const Deadline& deadline) {
    while (!VLThread::isCancelled()) {
        pollfd entry{fd, events, 0};
        const auto slice = std::min(deadline.remaining(), 200ms);
        const int ready = ::poll(&entry, 1, int(slice.count()));
        if (ready > 0) return true;
        if (ready < 0 && errno != EINTR) return false;
        if (deadline.isOver()) return false;
    }
    return false;
}

kj::AutoCloseFd SocketConnector::connect(const QString& host, quint16 port, const Deadline& deadline) {
    const LookupResult found = resolve(host, port, deadline);
    if (found.addresses.empty())
        throw connectionException(VLException::inaccessible, ConnectionFailure::HostNotFound,
                                  QStringLiteral("The host %1 was not found: %2.").arg(host, found.error));

    kj::AutoCloseFd fd;
    int error = 0;
    auto left = std::chrono::milliseconds::rep(found.addresses.size());
    for (const Address& address : found.addresses) {
        // An address that swallows everything must leave time for the next one.
        error = connectTo(address, Deadline(deadline.remaining() / left--), fd);
        if (error == 0) return fd;
    }
    throw connectionException(
        error == ETIMEDOUT ? VLException::portTimeout : VLException::inaccessible, connectionFailure(error),
        QStringLiteral("No connection to %1, port %2: %3.").arg(host).arg(port).arg(systemError(error)));
}

kj::AutoCloseFd SocketConnector::listen(const QString& address, quint16 port) {
    const auto fail = [&](const QString& reason) -> kj::AutoCloseFd {
        throw VLException(
            VLException::generic,
            QStringLiteral("Cannot listen on %1, port %2: %3.").arg(address).arg(port).arg(reason));
    };
    const LookupResult found = lookUp(address.toUtf8(), port, AI_PASSIVE);
    if (found.addresses.empty()) return fail(found.error);

    const Address& first = found.addresses.front();
    kj::AutoCloseFd fd(
        ::socket(first.storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, IPPROTO_TCP));
    if (fd.get() < 0) return fail(systemError(errno));
    setOption(fd.get(), SOL_SOCKET, SO_REUSEADDR);
    setOption(fd.get(), IPPROTO_TCP, TCP_NODELAY);  // inherited by what is accepted
    if (first.storage.ss_family == AF_INET6) {
        const int off = 0;
        ::setsockopt(fd.get(), IPPROTO_IPV6, IPV6_V6ONLY, &off, sizeof off);
    }
    if (::bind(fd.get(), first.get(), first.length) != 0 || ::listen(fd.get(), SOMAXCONN) != 0)
        return fail(systemError(errno));
    return fd;
}
