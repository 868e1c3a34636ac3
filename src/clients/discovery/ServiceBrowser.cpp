#include "clients/discovery/ServiceBrowser.h"

#include "dnssd/AvahiLoop.h"
#include "dnssd/Interfaces.h"
#include "dnssd/Names.h"
#include "dnssd/Stack.h"
#include "logs/VLLog.h"

#include <atomic>
#include <map>
#include <set>
#include <tuple>
#include <utility>

using namespace std::chrono_literals;

namespace {

// After a change of back end, how long a known service may stay unseen before it counts as gone. Long enough
// for a restarted daemon and for its agents to publish again.
constexpr auto reappearanceLimit = 6000ms;
constexpr auto retryDelay = 2000ms;
/// Far more than any network has; what is announced beyond that is somebody's flood.
constexpr std::size_t maximumServices = 4096;

ServiceBrowser::Backend toBackend(dnssd::BackendKind kind) {
    switch (kind) {
        case dnssd::BackendKind::Daemon:
            return ServiceBrowser::Backend::Daemon;
        case dnssd::BackendKind::Embedded:
            return ServiceBrowser::Backend::Embedded;
        case dnssd::BackendKind::None:
            break;
    }
    return ServiceBrowser::Backend::None;
}

class AvahiServiceBrowser final : public ServiceBrowser {
public:
    explicit AvahiServiceBrowser(Delegate delegate)
        : delegate_(std::move(delegate)),
          stack_(loop_, {.backend = {.interfaces = dnssd::interfacesFromEnvironment()}},
                 {.ready = [this](dnssd::Backend& backend) { begin(backend); }, .lost = [this] { end(); }}) {}

    ~AvahiServiceBrowser() override { isStopped_ = true; }

    bool searchForServices(const QString& type, const QString& domain) override {
        type_ = dnssd::withoutTrailingDot(type).toUtf8();
        domain_ = dnssd::withoutTrailingDot(domain).toUtf8();
        stack_.start();
        return stack_.backend() != nullptr;
    }

    void runFor(std::chrono::milliseconds slice) override {
        if (!isStopped_) loop_.serveUntil(dnssd::AvahiLoop::Clock::now() + slice);
    }

    void stop() override {
        isStopped_ = true;
        loop_.wake();
    }

    Backend backend() const override { return backend_; }

private:
    using Key = std::tuple<QByteArray, QByteArray, QByteArray>;  // name, type, domain

    void begin(dnssd::Backend& backend) {
        backend_ = toBackend(backend.kind());
        VLLog::appendLog(QStringLiteral("Browsing through %@"),
                         backend.kind() == dnssd::BackendKind::Daemon
                             ? QStringLiteral("the Avahi daemon")
                             : QStringLiteral("the embedded Avahi core"));
        browse(backend);
        expectReappearance();
    }

    void browse(dnssd::Backend& backend) {
        hasAllForNow_ = false;
        search_ = backend.browseServices(type_, domain_, [this](const auto& sighting) { take(sighting); });
        if (search_) return;
        VLLog::appendLog(QStringLiteral("Unable to browse: %@"), backend.lastError());
        retryLater();
    }

    void end() {
        search_.reset();
        loop_.stopTimer(retryTimer_);
        backend_ = Backend::None;
        for (auto& [key, links] : known_)
            links.clear();
        expectReappearance();
    }

    void take(const dnssd::ServiceSighting& sighting) {
        switch (sighting.event) {
            case dnssd::BrowseEvent::Added:
                return add(sighting);
            case dnssd::BrowseEvent::Removed:
                return remove(sighting);
            case dnssd::BrowseEvent::AllForNow:
                hasAllForNow_ = true;
                return;
            case dnssd::BrowseEvent::Failed:
                return retryLater();
        }
    }

    void add(const dnssd::ServiceSighting& sighting) {
        // Such a name could be neither shown nor asked for again.
        if (!sighting.name.isValidUtf8())
            return VLLog::appendLog(QStringLiteral("Ignoring a service whose name is not valid UTF-8"));
        if (known_.size() >= maximumServices &&
            !known_.contains({sighting.name, sighting.type, sighting.domain})) {
            if (!std::exchange(saidFull_, true))
                VLLog::appendLog(QStringLiteral("More than %i services are advertised; the rest is ignored"),
                                 static_cast<int>(maximumServices));
            return;
        }
        const auto [known, isNew] = known_.try_emplace({sighting.name, sighting.type, sighting.domain});
        known->second.insert(sighting.link);
        if (isNew) report(delegate_.didFindService, known->first);
    }

    void remove(const dnssd::ServiceSighting& sighting) {
        const auto known = known_.find({sighting.name, sighting.type, sighting.domain});
        if (known == known_.end() || !known->second.erase(sighting.link) || !known->second.empty()) return;
        const Key key = known->first;
        known_.erase(known);
        report(delegate_.didRemoveService, key);
    }

    void expectReappearance() {
        loop_.stopTimer(reappearanceTimer_);
        reappearanceTimer_ = loop_.startTimer(reappearanceLimit, [this] { removeUnseen(); });
    }

    void removeUnseen() {
        for (auto known = known_.begin(); known != known_.end();) {
            if (!known->second.empty()) {
                ++known;
                continue;
            }
            const Key key = known->first;
            known = known_.erase(known);
            report(delegate_.didRemoveService, key);
        }
    }

    void retryLater() {
        loop_.stopTimer(retryTimer_);
        retryTimer_ = loop_.startTimer(retryDelay, [this] {
            search_.reset();
            if (stack_.backend()) browse(*stack_.backend());
        });
    }

    void report(const std::function<void(const VLNetService&, bool)>& receiver, const Key& key) {
        if (isStopped_ || !receiver) return;
        VLNetService service;
        service.name = QString::fromUtf8(std::get<0>(key));
        service.type = QString::fromUtf8(std::get<1>(key));
        service.domain = QString::fromUtf8(std::get<2>(key));
        receiver(service, !hasAllForNow_);
    }

    const Delegate delegate_;
    std::atomic<bool> isStopped_ = false;
    std::atomic<Backend> backend_ = Backend::None;
    QByteArray type_, domain_;
    /// Every service that was reported found, with the links it is seen on.
    std::map<Key, std::set<dnssd::Link>> known_;
    bool saidFull_ = false;
    bool hasAllForNow_ = false;
    dnssd::AvahiLoop::TimerId reappearanceTimer_ = 0;
    dnssd::AvahiLoop::TimerId retryTimer_ = 0;
    std::unique_ptr<dnssd::Operation> search_;
    dnssd::AvahiLoop loop_;
    dnssd::Stack stack_;
};

}  // namespace

std::unique_ptr<ServiceBrowser> ServiceBrowser::create(Delegate delegate) {
    return std::make_unique<AvahiServiceBrowser>(std::move(delegate));
}
