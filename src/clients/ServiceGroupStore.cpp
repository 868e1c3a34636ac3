#include "clients/ServiceGroupStore.h"

#include "clients/ServiceList.h"
#include "foundation/VLUserDefaults.h"
#include "logs/VLLog.h"

namespace {

const QString storageKey = QStringLiteral("serviceGroups");
const QString nameKey = QStringLiteral("name");
const QString servicesKey = QStringLiteral("services");

VLUserDefaults& defaults() {
    return VLUserDefaults::standardUserDefaults();
}

bool isList(const QVariant& value) {
    return value.typeId() == QMetaType::QVariantList;
}

}  // namespace

ServiceGroupStore::ServiceGroupStore(ServiceList& services, QObject* parent)
    : QObject(parent), m_services(services) {}

void ServiceGroupStore::populate() {
    const QVariant stored = defaults().objectForKey(storageKey);
    if (stored.isValid() && !isList(stored))
        VLLog::appendLog(QStringLiteral("The stored groups are not usable."));
    const QVariantList values = isList(stored) ? stored.toList() : QVariantList();
    for (const QVariant& value : values)
        addStoredGroup(value);
    connect(&m_services, &ServiceList::storedGroupsChanged, this, &ServiceGroupStore::store);
}

void ServiceGroupStore::addStoredGroup(const QVariant& value) {
    const QVariantMap form = value.toMap();
    const QVariant name = form.value(nameKey), services = form.value(servicesKey);
    if (name.typeId() != QMetaType::QString || !isList(services)) {
        VLLog::appendLog(QStringLiteral("A stored group is not usable."));
        return;
    }
    const QString problem = m_services.groupNameProblem(name.toString());
    if (!problem.isEmpty()) {
        constexpr qsizetype longestShown = 80;
        VLLog::appendLog(QStringLiteral("The stored group %@ is not usable: %@."),
                         name.toString().left(longestShown).simplified(), problem);
        return;
    }
    QList<RememberedClient> members;
    const QVariantList records = services.toList();
    for (const QVariant& record : records)
        if (const auto client = RememberedClient::fromStoredForm(record)) members << *client;
    m_services.addGroup(name.toString(), members);
}

void ServiceGroupStore::store() const {
    QVariantList values;
    const QList<VLServiceGroupPtr> groups = m_services.groups();
    for (const VLServiceGroupPtr& group : groups) {
        QVariantList records;
        for (const VLServicePtr& service : group->children())
            records << m_services.remembered(service).storedForm();
        for (const RememberedClient& client : group->absent())
            records << client.storedForm();
        values << QVariantMap{{nameKey, group->name()}, {servicesKey, records}};
    }
    defaults().setObject(values, storageKey);
    defaults().synchronize();
}
