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
        : m_delegate(std::move(delegate)),
          m_stack(m_loop, {.backend = {.interfaces = dnssd::interfacesFromEnvironment()}},
                  {.ready = [this](dnssd::Backend& backend) { begin(backend); }, .lost = [this] { end(); }}) {
    }

    ~AvahiServiceBrowser() override { m_isStopped = true; }

    bool searchForServices(const QString& type, const QString& domain) override {
        m_type = dnssd::withoutTrailingDot(type).toUtf8();
        m_domain = dnssd::withoutTrailingDot(domain).toUtf8();
        m_stack.start();
        return m_stack.backend() != nullptr;
    }

    void runFor(std::chrono::milliseconds slice) override {
        if (!m_isStopped) m_loop.serveUntil(dnssd::AvahiLoop::Clock::now() + slice);
    }

    void stop() override {
        m_isStopped = true;
        m_loop.wake();
    }

    Backend backend() const override { return m_backend; }

private:
    using Key = std::tuple<QByteArray, QByteArray, QByteArray>;  // name, type, domain

    void begin(dnssd::Backend& backend) {
        m_backend = toBackend(backend.kind());
        VLLog::appendLog(QStringLiteral("Browsing through %@"),
                         backend.kind() == dnssd::BackendKind::Daemon
                             ? QStringLiteral("the Avahi daemon")
                             : QStringLiteral("the embedded Avahi core"));
        browse(backend);
        expectReappearance();
    }

    void browse(dnssd::Backend& backend) {
        m_hasAllForNow = false;
        m_search = backend.browseServices(m_type, m_domain, [this](const auto& sighting) { take(sighting); });
        if (m_search) return;
        VLLog::appendLog(QStringLiteral("Unable to browse: %@"), backend.lastError());
        retryLater();
    }

    void end() {
        m_search.reset();
        m_loop.stopTimer(m_retryTimer);
        m_backend = Backend::None;
        for (auto& [key, links] : m_known)
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
                m_hasAllForNow = true;
                return;
            case dnssd::BrowseEvent::Failed:
                return retryLater();
        }
    }

    void add(const dnssd::ServiceSighting& sighting) {
        // Such a name could be neither shown nor asked for again.
        if (!sighting.name.isValidUtf8())
            return VLLog::appendLog(QStringLiteral("Ignoring a service whose name is not valid UTF-8"));
        if (m_known.size() >= maximumServices &&
            !m_known.contains({sighting.name, sighting.type, sighting.domain})) {
            if (!std::exchange(m_saidFull, true))
                VLLog::appendLog(QStringLiteral("More than %i services are advertised; the rest is ignored"),
                                 static_cast<int>(maximumServices));
            return;
        }
        const auto [known, isNew] = m_known.try_emplace({sighting.name, sighting.type, sighting.domain});
        known->second.insert(sighting.link);
        if (isNew) report(m_delegate.didFindService, known->first);
    }

    void remove(const dnssd::ServiceSighting& sighting) {
        const auto known = m_known.find({sighting.name, sighting.type, sighting.domain});
        if (known == m_known.end() || !known->second.erase(sighting.link) || !known->second.empty()) return;
        const Key key = known->first;
        m_known.erase(known);
        report(m_delegate.didRemoveService, key);
    }

    void expectReappearance() {
        m_loop.stopTimer(m_reappearanceTimer);
        m_reappearanceTimer = m_loop.startTimer(reappearanceLimit, [this] { removeUnseen(); });
    }

    void removeUnseen() {
        for (auto known = m_known.begin(); known != m_known.end();) {
            if (!known->second.empty()) {
                ++known;
                continue;
            }
            const Key key = known->first;
            known = m_known.erase(known);
            report(m_delegate.didRemoveService, key);
        }
    }

    void retryLater() {
        m_loop.stopTimer(m_retryTimer);
        m_retryTimer = m_loop.startTimer(retryDelay, [this] {
            m_search.reset();
            if (m_stack.backend()) browse(*m_stack.backend());
        });
    }

    void report(const std::function<void(const VLNetService&, bool)>& receiver, const Key& key) {
        if (m_isStopped || !receiver) return;
        VLNetService service;
        service.name = QString::fromUtf8(std::get<0>(key));
        service.type = QString::fromUtf8(std::get<1>(key));
        service.domain = QString::fromUtf8(std::get<2>(key));
        receiver(service, !m_hasAllForNow);
    }

    const Delegate m_delegate;
    std::atomic<bool> m_isStopped = false;
    std::atomic<Backend> m_backend = Backend::None;
    QByteArray m_type, m_domain;
    /// Every service that was reported found, with the links it is seen on.
    std::map<Key, std::set<dnssd::Link>> m_known;
    bool m_saidFull = false;
    bool m_hasAllForNow = false;
    dnssd::AvahiLoop::TimerId m_reappearanceTimer = 0;
    dnssd::AvahiLoop::TimerId m_retryTimer = 0;
    std::unique_ptr<dnssd::Operation> m_search;
    dnssd::AvahiLoop m_loop;
    dnssd::Stack m_stack;
};

}  // namespace

std::unique_ptr<ServiceBrowser> ServiceBrowser::create(Delegate delegate) {
    return std::make_unique<AvahiServiceBrowser>(std::move(delegate));
}
