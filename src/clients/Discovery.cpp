#include "clients/Discovery.h"

#include "foundation/MainThread.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"
#include "system/VLException.h"

#include <QHash>
#include <QSet>
#include <QTimer>

#include <algorithm>
#include <array>
#include <atomic>
#include <deque>
#include <mutex>

using namespace std::chrono_literals;

namespace {

constexpr auto browseSlice = 4s;
constexpr auto resolveLimit = 20s;
constexpr auto stopLimit = 10s;
/// Threads: whoever is on the network decides how much there is to find.
constexpr int maximumResolvers = 64;
/// After an agent took its leave. A daemon needs a second to believe that it has gone.
constexpr std::array secondLooks{2s, 10s};

/// An error in here concerns one find; browsing goes on.
template <typename Body>
void guarded(const char* method, Body body) {
    try {
        body();
    } catch (const std::exception& exception) {
        VLException::logException(exception, method);
    }
}

QString identity(const VLNetService& service) {
    return service.name + QChar(0) + service.type + QChar(0) + service.domain;
}

}  // namespace

/// What the browsing thread and the resolving threads hold.
struct Discovery::Browsing {
    std::atomic<bool> isBrowsing{false};
    std::atomic<bool> threadRunning{false};
    std::atomic<ServiceBrowser::Backend> backend{ServiceBrowser::Backend::None};
    BrowserFactory makeBrowser = [](ServiceBrowser::Delegate delegate) {
        return ServiceBrowser::create(std::move(delegate));
    };
    Resolver resolve = [](const VLNetService& service, const std::function<bool()>& isCancelled) {
        return resolveNetService(service, resolveLimit, isCancelled);
    };

    std::mutex mutex;
    std::shared_ptr<ServiceBrowser> browser;  ///< guarded by the mutex
    QSet<QString> advertised;                 ///< found and not gone, guarded by the mutex
    /// Resolutions under way, by service, guarded by the mutex; a service that goes meanwhile cancels its
    /// own.
    QHash<QString, std::shared_ptr<std::atomic<bool>>> resolutions;
    struct Waiting {
        VLNetService service;
        std::shared_ptr<std::atomic<bool>> cancelled;
    };
    std::deque<Waiting> waiting;  ///< for a resolver, guarded by the mutex
    int resolvers = 0;            ///< guarded by the mutex

    Discovery* owner = nullptr;  ///< main thread only; null once it is destroyed

    void findServices(const std::shared_ptr<Browsing>& self);
    void resolveService(const VLNetService& service, const std::shared_ptr<std::atomic<bool>>& cancelled,
                        const std::shared_ptr<Browsing>& self);
    void beginResolution(const VLNetService& service, const std::shared_ptr<Browsing>& self);
    [[nodiscard]] std::optional<Waiting> nextResolution();
    void dropCancelled();
    void cancelResolution(const VLNetService& service);
    void cancelAllResolutions();
    void setAdvertised(const VLNetService& service, bool isAdvertised);
    [[nodiscard]] bool isAdvertised(const VLNetService& service);
};

Discovery::Discovery(Environment environment, QObject* parent)
    : QObject(parent), m_environment(std::move(environment)), m_browsing(std::make_shared<Browsing>()) {
    m_browsing->owner = this;
}

Discovery::~Discovery() {
    stop();
    m_browsing->owner = nullptr;
}

ServiceBrowser::Backend Discovery::backend() const noexcept {
    return m_browsing->backend;
}

void Discovery::setBrowser(BrowserFactory makeBrowser, Resolver resolve) {
    m_browsing->makeBrowser = std::move(makeBrowser);
    m_browsing->resolve = std::move(resolve);
}

// ---- Browsing

void Discovery::findServicesOnThread() {
    if (m_browsing->isBrowsing.exchange(true)) return;
    m_browsing->threadRunning = true;
    // The flag falls when the thread's body is released, so also when the thread could not be started.
    const std::shared_ptr<void> running(nullptr,
                                        [browsing = m_browsing](void*) { browsing->threadRunning = false; });
    VLThread::detach(QStringLiteral("browser"),
                     [browsing = m_browsing, running] { browsing->findServices(browsing); });
}

void Discovery::Browsing::findServices(const std::shared_ptr<Browsing>& self) {
    guarded("-[AppController findServices]", [&] {
        VLLog::appendLog(QStringLiteral("Browsing for services..."));
        const std::shared_ptr<ServiceBrowser> created = makeBrowser({
            [self](const VLNetService& service, bool) {
                guarded("-[AppController netServiceBrowser:didFindService:moreComing:]", [&] {
                    VLLog::appendLog(QStringLiteral("Service found: %@"), service.name);
                    self->setAdvertised(service, true);
                    self->beginResolution(service, self);
                });
            },
            [self](const VLNetService& service, bool) {
                guarded("-[AppController netServiceBrowser:didRemoveService:moreComing:]", [&] {
                    self->setAdvertised(service, false);
                    self->cancelResolution(service);
                    onMainThread([self, service] {
                        if (self->owner) self->owner->removeNetService(service);
                    });
                });
            },
        });
        {
            const std::lock_guard lock(mutex);
            browser = created;
        }
        created->searchForServices(QStringLiteral("_corvalin._tcp."), QString());
        backend = created->backend();
        VLLog::appendLog(QStringLiteral("Browser run loop started"));
        while (isBrowsing && !VLThread::isCancelled()) {
            created->runFor(browseSlice);
            backend = created->backend();
        }
        VLLog::appendLog(QStringLiteral("Browser run loop finished"));
    });
    const std::lock_guard lock(mutex);
    browser = nullptr;
}

void Discovery::stop() {
    m_browsing->isBrowsing = false;
    m_browsing->cancelAllResolutions();
    {
        const std::lock_guard lock(m_browsing->mutex);
        if (m_browsing->browser) m_browsing->browser->stop();
    }
    MainThread::waitUntil([this] { return !m_browsing->threadRunning; }, stopLimit);
}

// ---- Resolving

/// On a thread of its own while there are few; then it waits for one of those that run.
void Discovery::Browsing::beginResolution(const VLNetService& service,
                                          const std::shared_ptr<Browsing>& self) {
    auto cancelled = std::make_shared<std::atomic<bool>>(false);
    {
        const std::lock_guard lock(mutex);
        auto& current = resolutions[identity(service)];
        if (current) *current = true;
        current = cancelled;
        dropCancelled();
        waiting.push_back({service, cancelled});
        if (resolvers == maximumResolvers) return;
        ++resolvers;
    }
    const bool isStarted = VLThread::detach(QStringLiteral("resolve"), [self] {
        while (const auto next = self->nextResolution())
            self->resolveService(next->service, next->cancelled, self);
    });
    if (isStarted) return;
    const std::lock_guard lock(mutex);
    --resolvers;  // what waits is for the next one
}

void Discovery::Browsing::setAdvertised(const VLNetService& service, bool isAdvertised) {
    const std::lock_guard lock(mutex);
    if (isAdvertised)
        advertised.insert(identity(service));
    else
        advertised.remove(identity(service));
}

bool Discovery::Browsing::isAdvertised(const VLNetService& service) {
    const std::lock_guard lock(mutex);
    return advertised.contains(identity(service));
}

/// Nothing when the calling resolver is to end: it is counted out already.
std::optional<Discovery::Browsing::Waiting> Discovery::Browsing::nextResolution() {
    const std::lock_guard lock(mutex);
    if (waiting.empty()) {
        --resolvers;
        return std::nullopt;
    }
    Waiting next = std::move(waiting.front());
    waiting.pop_front();
    return next;
}

void Discovery::Browsing::dropCancelled() {
    std::erase_if(waiting, [](const Waiting& entry) { return entry.cancelled->load(); });
}

void Discovery::Browsing::cancelResolution(const VLNetService& service) {
    const std::lock_guard lock(mutex);
    const auto cancelled = resolutions.take(identity(service));
    if (!cancelled) return;
    *cancelled = true;
    dropCancelled();
}

void Discovery::Browsing::cancelAllResolutions() {
    const std::lock_guard lock(mutex);
    for (const auto& cancelled : std::as_const(resolutions))
        *cancelled = true;
    resolutions.clear();
    waiting.clear();
}

void Discovery::Browsing::resolveService(const VLNetService& service,
                                         const std::shared_ptr<std::atomic<bool>>& cancelled,
                                         const std::shared_ptr<Browsing>& self) {
    guarded("-[AppController resolveService:]", [&] {
        VLLog::appendLog(QStringLiteral("Resolving %@..."), service.name);
        const ServiceResolution resolution =
            resolve(service, [&] { return cancelled->load() || VLThread::isCancelled(); });
        if (!resolution.service) {
            VLLog::appendLog(QStringLiteral("Unable to resolve %@: %@"), service.name, resolution.error);
            return;
        }
        onMainThread([self, resolved = *resolution.service, cancelled] {
            if (self->owner && !*cancelled) self->owner->serviceResolved(resolved);
        });
    });
}

void Discovery::serviceResolved(const VLNetService& service) {
    guarded("-[AppController serviceResolved:]", [&] {
        VLLog::appendLog(QStringLiteral("Resolved %@"), service.name);
        if (hasRecordFor(service)) return;
        // Found again without having been gone, but somewhere else. Ending the old connection serves the
        // hand-off queue: the service may be found yet another time, or go, in the middle of this.
        m_replacing << identity(service);
        removeRecordsOf(service);
        const bool isThere = m_replacing.removeOne(identity(service));
        if (!isThere || !recordsOf(service).isEmpty()) return;
        addRecord(
            VLService::serviceWithNetService(service, m_environment.errorCallback, freeHostName(service)));
    });
}

QList<VLServicePtr> Discovery::recordsOf(const VLNetService& service) const {
    QList<VLServicePtr> records = m_environment.services->serviceArray();
    records.removeIf([&](const VLServicePtr& record) {
        const auto known = record->netService();
        return !known || !known->isSameService(service);
    });
    return records;
}

/// A client that is in the list as it stands keeps its connection.
bool Discovery::hasRecordFor(const VLNetService& service) const {
    const QList<VLServicePtr> records = recordsOf(service);
    return std::any_of(records.begin(), records.end(), [&](const VLServicePtr& record) {
        const auto known = record->netService();
        return known->hostName == service.hostName && known->port == service.port &&
               known->addresses == service.addresses;
    });
}

/// Answers, errors and look-ups go by host name, so no two clients may have the same one.
QString Discovery::freeHostName(const VLNetService& service) const {
    const QList<VLServicePtr> services = m_environment.services->serviceArray();
    // With or without the dot at its end it is the same name.
    const auto absolute = [](QString name) { return name.endsWith(u'.') ? name : name + u'.'; };
    const auto isTaken = [&](const QString& hostName) {
        return std::any_of(services.begin(), services.end(), [&](const VLServicePtr& record) {
            return absolute(record->hostName()) == absolute(hostName);
        });
    };
    if (!isTaken(service.hostName)) return service.hostName;
    QString host = service.hostName;
    if (host.endsWith(u'.')) host.chop(1);
    QString hostName = QStringLiteral("%1:%2").arg(host).arg(service.port);
    if (isTaken(hostName)) hostName += QStringLiteral(" (%1)").arg(service.name);
    VLLog::appendLog(
        QStringLiteral("Warning: %@ shares the host name %@ with another client and is listed as %@."),
        service.name, service.hostName, hostName);
    return hostName;
}

void Discovery::addRecord(const VLServicePtr& service) {
    // Entered by hand and found on the network, it would be worked on twice.
    const VLServicePtr same = m_environment.services->serviceWithIPAddress(service->ipAddress());
    if (same && same->port() == service->port())
        VLLog::appendLog(
            QStringLiteral("Warning: %@ has the address and port of %@, which is listed already."),
            service->name(), same->name());
    if (m_environment.serviceAdded) m_environment.serviceAdded(service);
    m_environment.services->addServiceToList(service);
    if (m_environment.updateSelectedComputerStatus) m_environment.updateSelectedComputerStatus();
}

// ---- Removing

void Discovery::removeNetService(const VLNetService& service) {
    guarded("-[AppController removeNetService:]", [&] {
        VLLog::appendLog(QStringLiteral("Service removed: %@"), service.name);
        m_replacing.removeAll(identity(service));
        removeRecordsOf(service);
    });
}

void Discovery::removeLeavingService(const VLNetService& service) {
    removeNetService(service);
    for (const auto delay : secondLooks)
        QTimer::singleShot(delay, this, [this, service] { lookAgain(service); });
}

/// A service that has gone for good is advertised no more, or cannot be resolved.
void Discovery::lookAgain(const VLNetService& service) {
    const QList<VLServicePtr> records = recordsOf(service);
    const bool isBack = std::any_of(records.begin(), records.end(),
                                    [](const VLServicePtr& record) { return record->isConnected(); });
    if (isBack || !m_browsing->isBrowsing || !m_browsing->isAdvertised(service)) return;
    m_browsing->beginResolution({service.name, service.type, service.domain, {}, 0, {}, {}}, m_browsing);
}

/// What leaves the list first cannot leave it twice, whatever comes in while the connection is ended.
void Discovery::removeRecordsOf(const VLNetService& service) {
    QList<VLServicePtr> records = recordsOf(service);
    records.removeIf([this](const VLServicePtr& record) {
        return !m_environment.services->removeServiceFromList(record);
    });
    if (records.isEmpty()) return;
    if (m_environment.endTasksOf) m_environment.endTasksOf(records.constFirst());
    for (const VLServicePtr& record : std::as_const(records))
        endRecord(record);
}

void Discovery::removeService(const VLServicePtr& service) {
    if (!service) return;
    guarded("-[AppController removeNetService:]", [&] {
        VLLog::appendLog(QStringLiteral("Service removed: %@"), service->name());
        if (service->isManual()) ManualConnections::remove(service->manualIP(), service->port());
        if (!m_environment.services->removeServiceFromList(service)) return;
        if (m_environment.endTasksOf) m_environment.endTasksOf(service);
        endRecord(service);
    });
}

/// Of a record that has left the list.
void Discovery::endRecord(const VLServicePtr& service) {
    service->retire();
    service->invalidate(false);
    if (m_environment.serviceRemoved) m_environment.serviceRemoved(service);
    if (m_environment.updateSelectedComputerStatus) m_environment.updateSelectedComputerStatus();
}

// ---- Clients entered by hand

void Discovery::processManualConnections() {
    const QList<ManualConnections::Entry> entries = ManualConnections::stored();
    for (const ManualConnections::Entry& entry : entries)
        addManualConnection(entry.name, entry.ip, entry.port);
}

VLServicePtr Discovery::addManualConnection(const QString& name, const QString& ip, int port) {
    if (VLServicePtr known = manualRecord(ip, port)) return known;
    // The address with the port is the one name that a client entered by hand has from the start.
    const QString hostName = QStringLiteral("%1:%2").arg(ip).arg(port);
    VLServicePtr service = VLService::serviceWithName(name, hostName, ip, port, m_environment.errorCallback);
    addRecord(service);
    return service;
}

VLServicePtr Discovery::manualRecord(const QString& ip, int port) const {
    const QList<VLServicePtr> services = m_environment.services->serviceArray();
    const auto found = std::find_if(services.begin(), services.end(), [&](const VLServicePtr& service) {
        return service->isManual() && service->manualIP() == ip && service->port() == port;
    });
    return found == services.end() ? nullptr : *found;
}

bool Discovery::replaceManualConnection(const VLServicePtr& former, const ManualConnections::Entry& entry) {
    const VLServicePtr known = manualRecord(entry.ip, entry.port);
    if (known && known != former) return false;
    removeService(former);
    return submitManualConnection(entry);
}

bool Discovery::submitManualConnection(const ManualConnections::Entry& entry) {
    if (manualRecord(entry.ip, entry.port)) return false;
    ManualConnections::append(entry);
    addManualConnection(entry.name, entry.ip, entry.port);
    return true;
}
