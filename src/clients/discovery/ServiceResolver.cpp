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
using Clock = dnssd::AvahiLoop::Clock;
using RequestPointer = std::shared_ptr<ResolutionRequest>;

class Resolver : public std::enable_shared_from_this<Resolver> {
public:
    static std::shared_ptr<Resolver> shared() {
        static const auto resolver = std::make_shared<Resolver>();
        return resolver;
    }

    void submit(const RequestPointer& request) {
        const std::lock_guard lock(mutex_);
        inbox_.push_back(request);
        if (loop_) loop_->wake();
        if (std::exchange(isServing_, true)) return;
        VLThread::detach(QStringLiteral("Resolving services"),
                         [self = shared_from_this()] { self->serve(); });
    }

    void wake() {
        const std::lock_guard lock(mutex_);
        if (loop_) loop_->wake();
    }

private:
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

    void serve() try {
        Session session;
        session.stack.start();
        while (takeRequests(session))
            session.loop.serveUntil(Clock::now() + serveSlice);
    } catch (...) {
        const std::lock_guard lock(mutex_);
        for (const RequestPointer& request : std::exchange(inbox_, {}))
            request->answer.set_value({std::nullopt, QStringLiteral("The resolver failed")});
        loop_ = nullptr;
        isServing_ = false;
        throw;
    }

    /// False when nobody waits for anything any more; the next request then starts a new thread.
    bool takeRequests(Session& session) {
        std::erase_if(session.resolutions, [](const auto& resolution) { return resolution->isOver(); });
        if (VLThread::isCancelled())
            for (const auto& resolution : session.resolutions)
                resolution->fail(QStringLiteral("Cancelled"));

        std::vector<RequestPointer> requests;
        {
            const std::lock_guard lock(mutex_);
            requests = std::exchange(inbox_, {});
            const bool isIdle = requests.empty() && session.resolutions.empty();
            loop_ = isIdle ? nullptr : &session.loop;
            isServing_ = !isIdle;
            if (isIdle) return false;
        }
        for (const RequestPointer& request : requests) {
            session.resolutions.push_back(std::make_unique<Resolution>(session.loop, request));
            if (dnssd::Backend* backend = session.stack.backend())
                session.resolutions.back()->begin(*backend);
        }
        return true;
    }

    std::mutex mutex_;
    std::vector<RequestPointer> inbox_;
    dnssd::AvahiLoop* loop_ = nullptr;  ///< of the thread that serves now
    bool isServing_ = false;
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
