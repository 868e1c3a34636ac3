#include "clients/ServiceGroupStore.h"

#include "clients/ServiceList.h"
#include "foundation/VLUserDefaults.h"
#include "logs/VLLog.h"

namespace {

const QString storageKey = QStringLiteral("serviceGroups");
const QString unreadableKey = QStringLiteral("serviceGroupsUnreadable");
constexpr qsizetype mostUnreadable = 100;
const QString nameKey = QStringLiteral("name");
const QString servicesKey = QStringLiteral("services");

VLUserDefaults& defaults() {
    return VLUserDefaults::standardUserDefaults();
}

/// A demonstration client exists for one run; read back it would be a client that cannot be reached.
bool isDemonstration(const QString& hostName) {
    return hostName.endsWith(QLatin1StringView(".virtual."));
}

bool isList(const QVariant& value) {
    return value.typeId() == QMetaType::QVariantList;
}

}  // namespace

ServiceGroupStore::ServiceGroupStore(ServiceList& services, QObject* parent)
    : QObject(parent), m_services(services) {}

void ServiceGroupStore::populate() {
    const QVariant stored = defaults().objectForKey(storageKey);
    if (stored.isValid() && !isList(stored)) {
        VLLog::appendLog(QStringLiteral("The stored groups are not usable."));
        m_unreadable << stored;
    }
    const QVariantList values = isList(stored) ? stored.toList() : QVariantList();
    for (const QVariant& value : values)
        if (!addStoredGroup(value)) m_unreadable << value;
    keepUnreadable();
    connect(&m_services, &ServiceList::storedGroupsChanged, this, &ServiceGroupStore::store);
}

/// The next time that groups are stored, what could not be read would be gone.
void ServiceGroupStore::keepUnreadable() {
    const QVariant before = defaults().objectForKey(unreadableKey);
    QVariantList kept = isList(before) ? before.toList() : QVariantList();
    const qsizetype known = kept.size();
    for (const QVariant& value : std::as_const(m_unreadable))
        if (!kept.contains(value) && kept.size() < mostUnreadable) kept << value;
    m_unreadable.clear();
    if (kept.size() == known) return;
    defaults().setObject(kept, unreadableKey);
    VLLog::appendLog(QStringLiteral("%i stored groups or members that could not be read are kept under %@."),
                     static_cast<int>(kept.size() - known), unreadableKey);
}

/// False when nothing of it is usable.
bool ServiceGroupStore::addStoredGroup(const QVariant& value) {
    const QVariantMap form = value.toMap();
    const QVariant name = form.value(nameKey), services = form.value(servicesKey);
    if (name.typeId() != QMetaType::QString || !isList(services)) {
        VLLog::appendLog(QStringLiteral("A stored group is not usable."));
        return false;
    }
    const QString problem = m_services.groupNameProblem(name.toString());
    if (!problem.isEmpty()) {
        constexpr qsizetype longestShown = 80;
        VLLog::appendLog(QStringLiteral("The stored group %@ is not usable: %@."),
                         name.toString().left(longestShown).simplified(), problem);
        return false;
    }
    QList<RememberedClient> members;
    QVariantList unreadable;
    const QVariantList records = services.toList();
    for (const QVariant& record : records) {
        const auto client = RememberedClient::fromStoredForm(record);
        if (!client)
            unreadable << record;
        else if (!isDemonstration(client->hostName))
            members << *client;
    }
    if (!unreadable.isEmpty()) m_unreadable << QVariantMap{{nameKey, name}, {servicesKey, unreadable}};
    m_services.addGroup(name.toString(), members);
    return true;
}

void ServiceGroupStore::store() const {
    QVariantList values;
    const QList<VLServiceGroupPtr> groups = m_services.groups();
    for (const VLServiceGroupPtr& group : groups) {
        QVariantList records;
        for (const VLServicePtr& service : group->children())
            if (!isDemonstration(service->hostName())) records << m_services.remembered(service).storedForm();
        for (const RememberedClient& client : group->absent())
            if (!isDemonstration(client.hostName)) records << client.storedForm();
        values << QVariantMap{{nameKey, group->name()}, {servicesKey, records}};
    }
    defaults().setObject(values, storageKey);
    defaults().synchronizeSoon();
}
