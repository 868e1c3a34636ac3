#include "app/SoftwareUpdates.h"

#include "base/VLBundle.h"
#include "clients/ServiceList.h"
#include "foundation/MainThread.h"
#include "foundation/VLThread.h"
#include "foundation/VLUserDefaults.h"

#include <algorithm>
#include <numeric>

SoftwareUpdates::SoftwareUpdates(ServiceList& services, std::function<bool()> checkForUpdatesToSelf)
    : m_services(services), m_checkForUpdatesToSelf(std::move(checkForUpdatesToSelf)) {}

qlonglong SoftwareUpdates::softwareUpdateCount() const {
    return std::accumulate(m_counts.begin(), m_counts.end(), qlonglong{0});
}

void SoftwareUpdates::setSoftwareUpdateCount(qlonglong count, const QString& hostName) {
    // An agent may send any number; the total of all must stay one.
    constexpr qlonglong highest = 1'000'000;
    const VLServicePtr service = m_services.serviceWithHostName(hostName);
    // A count may arrive when its client has been removed; nothing would take it out of the total again.
    if (service || hostName == QLatin1String(ownHostName))
        store(std::min(count, highest), service ? service->hostName() : hostName);
}

void SoftwareUpdates::store(qlonglong count, const QString& hostName) {
    if (m_counts.value(hostName) == std::max(count, qlonglong{0})) return;
    if (count > 0)
        m_counts.insert(hostName, count);
    else
        m_counts.remove(hostName);
    Q_EMIT softwareUpdateCountChanged(softwareUpdateCount());
}

void SoftwareUpdates::checkAtStart() {
    const VLUserDefaults& defaults = VLUserDefaults::standardUserDefaults();
    if (defaults.objectForKey(QStringLiteral("SUCheckAtStartup")).toLongLong() == 0) return;
    const qlonglong known = defaults.integerForKey(QStringLiteral("availableUpdateVersion"));
    const qlonglong own =
        VLBundle::mainBundle().integerForInfoDictionaryKey(QStringLiteral("CFBundleVersion"));
    if (known > own) return setSoftwareUpdateCount(1, QLatin1String(ownHostName));
    searchForUpdates({});
}

void SoftwareUpdates::searchForUpdates(std::function<void(bool isDone)> then) {
    VLThread::detach(QStringLiteral("checkForUpdatesToSelf"),
                     [check = m_checkForUpdatesToSelf, then = std::move(then)] {
                         const bool isDone = check && check();
                         if (then) onMainThread([then, isDone] { then(isDone); });
                     });
}
