// Resolving, for any number of callers at once: all share one thread and one back end, which live as long as
// somebody waits. Hundreds of agents that turn up together so cost one connection to the daemon.
#include "clients/discovery/Resolution.h"
#include "dnssd/Interfaces.h"
#include "dnssd/Names.h"
#include "dnssd/Stack.h"
#include "foundation/VLThread.h"

#include <algorithm>
#include <chrono>
#include <mutex>
#include <utility>
#include <vector>

using namespace std::chrono_literals;

namespace {

constexpr auto cancelPollInterval = 100ms;
constexpr auto serveSlice = 250ms;
// Four queries each; the daemon grants a client 1024 objects. The others wait for their turn.
constexpr size_t mostAtATime = 200;
using Clock = dnssd::AvahiLoop::Clock;
using RequestPointer = std::shared_ptr<ResolutionRequest>;

class Resolver : public std::enable_shared_from_this<Resolver> {
public:
    static std::shared_ptr<Resolver> shared() {
        static const auto resolver = std::make_shared<Resolver>();
        return resolver;
    }

    void submit(const RequestPointer& request) {
        bool mustStart = false;
        {
            const std::lock_guard lock(m_mutex);
            m_inbox.push_back(request);
            if (m_loop) m_loop->wake();
            mustStart = !std::exchange(m_isServing, true);
        }
        if (!mustStart) return;
        const auto term = std::make_shared<Term>(shared_from_this());
        VLThread::detach(QStringLiteral("Resolving services"), [term] { term->resolver->serve(*term); });
    }

    void wake() {
        const std::lock_guard lock(m_mutex);
        if (m_loop) m_loop->wake();
    }

private:
    /// The time that one thread serves. Should it end before its work is done, or never start because the
    /// program is quitting, nobody is left waiting for it.
    struct Term {
        explicit Term(std::shared_ptr<Resolver> owner) : resolver(std::move(owner)) {}
        ~Term() {
            if (!isOver) resolver->giveUp();
        }
        Q_DISABLE_COPY_MOVE(Term)
        const std::shared_ptr<Resolver> resolver;
        bool isOver = false;
    };

    /// Everything that belongs to the resolving thread.
    struct Session {
        dnssd::AvahiLoop loop;
        std::vector<std::unique_ptr<Resolution>> resolutions;
        dnssd::Stack stack{loop,
                           {.backend = {.interfaces = dnssd::interfacesFromEnvironment()}},
                           {.ready =
                                [this](dnssd::Backend& backend) {
                                    for (const auto& resolution : resolutions)
                                        resolution->begin(backend);
                                },
                            .lost =
                                [this] {
                                    for (const auto& resolution : resolutions)
                                        resolution->end();
                                }}};
        ~Session() { resolutions.clear(); }
    };

    void serve(Term& term) {
        Session session;
        session.stack.start();
        while (takeRequests(session))
            session.loop.serveUntil(Clock::now() + serveSlice);
        term.isOver = true;
    }

    void giveUp() {
        const std::lock_guard lock(m_mutex);
        for (const RequestPointer& request : std::exchange(m_inbox, {}))
            request->answer.set_value({std::nullopt, QStringLiteral("Cancelled")});
        m_loop = nullptr;
        m_isServing = false;
    }

    /// Takes up waiting requests. False when there is none left; the next one then starts a new thread.
    bool takeRequests(Session& session) {
        std::erase_if(session.resolutions, [](const auto& resolution) { return resolution->isOver(); });
        if (VLThread::isCancelled())
            for (const auto& resolution : session.resolutions)
                resolution->fail(QStringLiteral("Cancelled"));

        std::vector<RequestPointer> requests;
        {
            const std::lock_guard lock(m_mutex);
            std::erase_if(m_inbox, [](const auto& request) { return request->isAbandoned.load(); });
            const size_t room = mostAtATime - std::min(mostAtATime, session.resolutions.size());
            const auto end = m_inbox.begin() + static_cast<std::ptrdiff_t>(std::min(room, m_inbox.size()));
            requests.assign(m_inbox.begin(), end);
            m_inbox.erase(m_inbox.begin(), end);
            const bool isIdle = requests.empty() && session.resolutions.empty();
            m_loop = isIdle ? nullptr : &session.loop;
            m_isServing = !isIdle;
            if (isIdle) return false;
        }
        for (const RequestPointer& request : requests) {
            session.resolutions.push_back(std::make_unique<Resolution>(session.loop, request));
            if (dnssd::Backend* backend = session.stack.backend())
                session.resolutions.back()->begin(*backend);
        }
        return true;
    }

    std::mutex m_mutex;
    std::vector<RequestPointer> m_inbox;
    dnssd::AvahiLoop* m_loop = nullptr;  ///< of the thread that serves now
    bool m_isServing = false;
};

ServiceResolution resolve(const RequestPointer& request, std::chrono::milliseconds limit,
                          const std::function<bool()>& isCancelled) try {
    const auto deadline = Clock::now() + limit;
    auto answer = request->answer.get_future();
    const auto resolver = Resolver::shared();
    resolver->submit(request);

    QString error;
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        const auto wait = std::clamp<std::chrono::milliseconds>(left, 0ms, cancelPollInterval);
        if (answer.wait_for(wait) == std::future_status::ready) return answer.get();
        if (left <= 0ms) error = QStringLiteral("Timed out");
        if (VLThread::isCancelled() || (isCancelled && isCancelled())) error = QStringLiteral("Cancelled");
        if (!error.isEmpty()) break;
    }
    request->isAbandoned = true;
    resolver->wake();
    return {std::nullopt, error};
} catch (const std::exception& exception) {
    return {std::nullopt, QString::fromUtf8(exception.what())};
}

}  // namespace

ServiceResolution resolveNetService(const VLNetService& service, std::chrono::milliseconds limit,
                                    const std::function<bool()>& isCancelled) {
    const auto request = std::make_shared<ResolutionRequest>();
    request->wanted = service;
    return resolve(request, limit, isCancelled);
}

std::optional<RegisteredPort> lookUpRegisteredPort(const QString& registeredName, const QString& hostName,
                                                   std::chrono::milliseconds limit) {
    const QString host = dnssd::withoutTrailingDot(hostName);
    // Registered ports lie on hosts with names of their own.
    const bool isAddress = !QHostAddress(host).isNull();
    if (registeredName.isEmpty() || host.isEmpty() || isAddress) return std::nullopt;

    const auto request = std::make_shared<ResolutionRequest>();
    request->wanted.name = QString::fromUtf8(dnssd::toLabel(registeredName));
    request->wanted.type = QStringLiteral("_corvalinport._tcp");
    request->wanted.domain = QStringLiteral("local");
    request->onlyHost = host;
    request->isLookUp = true;
    const ServiceResolution resolution = resolve(request, limit, {});
    if (!resolution.service) return std::nullopt;
    const VLNetAddress address = resolution.service->addresses.constFirst();
    return RegisteredPort{address.address.toString(), address.port};
}
