// What a real agent stands: consoles that do not read what they asked for, and storms of connections that say
// nothing while a console far away wants in.

#include "agent/sample/SampleTree.h"
#include "remote/VLConnection.h"
#include "remote/support/DeafConsole.h"
#include "support/Programs.h"
#include "system/VLException.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <deque>
#include <list>
#include <thread>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int logCount = 7;
constexpr qsizetype logBytes = 8 * 1024 * 1024;

QTextStream& out() {
    static QTextStream stream(stdout);
    return stream;
}

sockaddr_in loopback(quint32 address, quint16 port) {
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_addr.s_addr = htonl(address);
    result.sin_port = htons(port);
    return result;
}

constexpr quint32 address(int third, int fourth) {
    return (127u << 24) | quint32(third) << 8 | quint32(fourth);
}

/// A socket whose connection comes from that address.
kj::AutoCloseFd connectFrom(quint32 source, quint16 port) {
    kj::AutoCloseFd fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const int on = 1;
    ::setsockopt(fd.get(), IPPROTO_IP, IP_BIND_ADDRESS_NO_PORT, &on, sizeof on);
    const sockaddr_in from = loopback(source, 0), to = loopback(address(0, 1), port);
    (void)::bind(fd.get(), reinterpret_cast<const sockaddr*>(&from), sizeof from);
    (void)::connect(fd.get(), reinterpret_cast<const sockaddr*>(&to), sizeof to);
    return fd;
}

/// The program on a sample workstation with large logs.
class RealAgent {
public:
    RealAgent() {
        SampleTree::make(m_folder.filePath(QStringLiteral("sample")), 2);
        const QString logs =
            m_folder.filePath(QStringLiteral("sample/disk/Library/Logs/Velmora/large %1.log"));
        for (int index = 0; index < logCount; ++index) {
            QFile file(logs.arg(index));
            if (file.open(QIODevice::WriteOnly)) file.write(QByteArray(logBytes, 'x'));
        }
        QFile certificate(m_folder.filePath(QStringLiteral("console.crt")));
        if (certificate.open(QIODevice::WriteOnly)) certificate.write(console.certificate);
        certificate.close();
        m_process = startSampleAgent(QStringLiteral(AGENT_PROGRAM), m_folder.path(), port);
        if (port == 0) qFatal("The agent does not start.");
    }
    ~RealAgent() {
        m_process->terminate();
        m_process->waitForFinished();
    }
    RealAgent(const RealAgent&) = delete;
    RealAgent& operator=(const RealAgent&) = delete;

    [[nodiscard]] double megabytes() const {
        QFile file(QStringLiteral("/proc/%1/statm").arg(m_process->processId()));
        if (!file.open(QIODevice::ReadOnly)) return 0;
        return file.readAll().split(' ').value(1).toDouble() * double(::sysconf(_SC_PAGESIZE)) / 1e6;
    }

    const TlsIdentity console = TlsIdentity::create(QStringLiteral("console"));
    quint16 port = 0;

private:
    QTemporaryDir m_folder;
    std::unique_ptr<QProcess> m_process;
};

void measureUnread(int consoles, int calls) {
    const RealAgent agent;
    const QByteArray certificate = fetchPeerCertificate(QStringLiteral("127.0.0.1"), agent.port, 5s);
    const double before = agent.megabytes();
    double most = 0;
    const auto watch = [&](std::chrono::seconds time) {
        for (const auto end = Clock::now() + time; Clock::now() < end; std::this_thread::sleep_for(20ms))
            most = std::max(most, agent.megabytes());
    };
    {
        std::list<DeafConsole> deaf;
        for (int index = 0; index < consoles; ++index)
            deaf.emplace_back(agent.port, agent.console, certificate, "gatherLogs", calls);
        watch(8s);
    }
    watch(4s);
    out() << "unread: " << consoles << " consoles, " << calls << " calls of gatherLogs each; MB before "
          << before << ", at most " << most << ", afterwards " << agent.megabytes() << Qt::endl;
}

/// Connections that say nothing, as fast as asked for, from several addresses.
class Storm {
public:
    Storm(quint16 port, int perSecond, int sources)
        : m_thread([this, port, perSecond, sources] { run(port, perSecond, sources); }) {}
    ~Storm() {
        m_shallEnd = true;
        m_thread.join();
    }
    Storm(const Storm&) = delete;
    Storm& operator=(const Storm&) = delete;
    [[nodiscard]] int made() const { return m_made; }

private:
    void run(quint16 port, int perSecond, int sources) {
        std::deque<std::pair<Clock::time_point, kj::AutoCloseFd>> open;
        const auto begin = Clock::now();
        while (!m_shallEnd) {
            const auto now = Clock::now();
            const double due = perSecond * std::chrono::duration<double>(now - begin).count();
            for (; m_made < due; ++m_made)
                open.emplace_back(now, connectFrom(address(0, 2 + m_made % sources), port));
            while (!open.empty() && open.front().first < now - 1s)
                open.pop_front();
            std::this_thread::sleep_for(1ms);
        }
    }
    std::atomic_bool m_shallEnd = false;
    std::atomic_int m_made = 0;
    std::thread m_thread;
};

/// Passes on what comes in, in both directions, as much later as a long line takes. Each connection comes to
/// the agent from an address of its own, which it has never seen.
class LongLine {
public:
    LongLine(quint16 target, std::chrono::milliseconds delay)
        : m_listener(SocketConnector::listen(QStringLiteral("127.0.0.1"), 0)),
          m_thread([this, target, delay] { run(target, delay); }) {
        sockaddr_in bound{};
        socklen_t length = sizeof bound;
        ::getsockname(m_listener.get(), reinterpret_cast<sockaddr*>(&bound), &length);
        m_port = ntohs(bound.sin_port);
    }
    ~LongLine() {
        m_shallEnd = true;
        m_thread.join();
    }
    LongLine(const LongLine&) = delete;
    LongLine& operator=(const LongLine&) = delete;
    [[nodiscard]] quint16 port() const { return m_port; }

private:
    struct Direction {
        int from, to;
        std::deque<std::pair<Clock::time_point, QByteArray>> onTheWay = {};
        bool hasEnded = false;
    };
    struct Call {
        kj::AutoCloseFd near, far;
        Direction out, back;
    };

    static void pass(Direction& direction, std::chrono::milliseconds delay) {
        QByteArray bytes(64 * 1024, Qt::Uninitialized);
        const auto count = ::recv(direction.from, bytes.data(), std::size_t(bytes.size()), MSG_DONTWAIT);
        if (count > 0) direction.onTheWay.emplace_back(Clock::now() + delay, bytes.first(count));
        if (count == 0 || (count < 0 && errno != EAGAIN && errno != ENOTCONN)) direction.hasEnded = true;
        auto& onTheWay = direction.onTheWay;
        while (!onTheWay.empty() && onTheWay.front().first <= Clock::now()) {
            const QByteArray& next = onTheWay.front().second;
            const auto sent = ::send(direction.to, next.constData(), std::size_t(next.size()), MSG_NOSIGNAL);
            if (sent < 0 && (errno == EAGAIN || errno == ENOTCONN)) break;
            if (sent == next.size()) {
                onTheWay.pop_front();
            } else if (sent > 0) {
                onTheWay.front().second = next.mid(sent);
            } else {
                direction.hasEnded = true;
                break;
            }
        }
    }
    void run(quint16 target, std::chrono::milliseconds delay) {
        std::list<Call> calls;
        for (int count = 0; !m_shallEnd; std::this_thread::sleep_for(200us)) {
            kj::AutoCloseFd near(::accept4(m_listener.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
            if (near.get() >= 0) {
                auto far = connectFrom(address(1 + count / 250 % 250, 1 + count % 250), target);
                ++count;
                const int nearEnd = near.get(), farEnd = far.get();
                calls.push_back({kj::mv(near), kj::mv(far), {nearEnd, farEnd}, {farEnd, nearEnd}});
            }
            for (Call& call : calls) {
                pass(call.out, delay);
                pass(call.back, delay);
            }
            calls.remove_if([](const Call& call) {
                return (call.out.hasEnded || call.back.hasEnded) && call.out.onTheWay.empty() &&
                       call.back.onTheWay.empty();
            });
        }
    }

    kj::AutoCloseFd m_listener;
    quint16 m_port = 0;
    std::atomic_bool m_shallEnd = false;
    std::thread m_thread;
};

void measureStorm(int perSecond, int sources, std::chrono::milliseconds delay, int attempts) {
    rlimit files{};
    ::getrlimit(RLIMIT_NOFILE, &files);
    files.rlim_cur = files.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &files);
    const RealAgent agent;
    const QTemporaryDir pins;
    LongLine line(agent.port, delay);
    const Storm storm(agent.port, perSecond, sources);
    const auto begin = Clock::now();
    std::this_thread::sleep_for(500ms);
    int succeeded = 0;
    std::vector<double> times;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        VLConnectionOptions options{agent.console,
                                    std::make_shared<PinnedCertificates>(pins.path()),
                                    QStringLiteral("agent"),
                                    QStringLiteral("agent"),
                                    {}};
        options.limits.connect = 2s;
        const auto start = Clock::now();
        try {
            const VLConnection connection(QStringLiteral("127.0.0.1"), line.port(), options);
            times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
            ++succeeded;
        } catch (const VLException& exception) {
            out() << "  " << exception.reason() << Qt::endl;
        }
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    std::sort(times.begin(), times.end());
    out() << "storm: " << int(storm.made() / seconds) << " connections a second from " << sources
          << " addresses; a console " << delay.count() << " ms away got in " << succeeded << " of "
          << attempts << " times, median ms " << (times.empty() ? 0 : times[times.size() / 2]) << Qt::endl;
}

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addOptions({{"consoles", "That do not read, 4 unless given.", "number", "4"},
                       {"calls", "Of each, 60 unless given.", "number", "60"},
                       {"rate", "Connections a second, 4000 unless given.", "number", "4000"},
                       {"sources", "Addresses that they come from, 8 unless given.", "number", "8"},
                       {"delay", "One way, 50 unless given.", "milliseconds", "50"},
                       {"attempts", "Of the console, 60 unless given.", "number", "60"}});
    parser.addPositionalArgument("attack", "\"unread\" or \"storm\"; both unless given.");
    parser.process(application);
    const auto number = [&](const char* option) { return parser.value(QString::fromLatin1(option)).toInt(); };
    const QString attack = parser.positionalArguments().value(0);
    if (attack != u"storm") measureUnread(number("consoles"), number("calls"));
    if (attack != u"unread")
        measureStorm(number("rate"), number("sources"), std::chrono::milliseconds(number("delay")),
                     number("attempts"));
    return 0;
}
