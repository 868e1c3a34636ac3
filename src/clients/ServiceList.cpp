#include "clients/ServiceList.h"

#include <algorithm>

namespace {

/// By name; clients of one name keep an order that does not depend on who came first.
bool comesBefore(const VLServicePtr& a, const VLServicePtr& b) {
    const int order = a->compareTitle(*b);
    return order != 0 ? order < 0 : a->hostName() < b->hostName();
}

QString absoluteName(const QString& hostName) {
    return hostName.endsWith(u'.') ? hostName : hostName + u'.';
}

}  // namespace

ServiceList::ServiceList(QObject* parent) : QObject(parent) {}

ServiceList::~ServiceList() {
    // A record may outlive the list; it must not keep pointing to its group.
    for (const VLServiceGroupPtr& group : std::as_const(m_groups))
        for (const VLServicePtr& service : group->children())
            service->setParent(nullptr);
}

QList<VLServicePtr> ServiceList::serviceArray() const {
    return m_services.get();
}

void ServiceList::addServiceToList(const VLServicePtr& service) {
    QList<VLServicePtr> services = m_services.get();
    if (!service || services.contains(service)) return;
    services.insert(std::upper_bound(services.begin(), services.end(), service, comesBefore), service);
    m_services.set(services);
    // One name more does not change what the others lead to; this keeps the arrival of many clients quick.
    const Names names{service->hostName(), service->availableHostNames()};
    m_indexedNames.insert(service.get(), names);
    Index index = m_index.get();
    enter(index, names, service);
    m_index.set(std::move(index));
    noteHost(*service);
    joinRememberedGroup(service);
    const bool joinsSelection = m_allSelected || (service->parent() && !m_chosenGroups.isEmpty());
    if (joinsSelection) m_selected.set(selectionNow());
    Q_EMIT serviceAdded(service);
    if (service->parent()) Q_EMIT groupsChanged();
    if (joinsSelection) Q_EMIT selectionChanged();
}

bool ServiceList::removeServiceFromList(const VLServicePtr& service) {
    QList<VLServicePtr> services = m_services.get();
    if (services.removeAll(service) == 0) return false;
    const VLServiceGroupPtr group = groupOf(service);
    if (group) group->remember(remembered(service));
    for (const VLServiceGroupPtr& any : std::as_const(m_groups))
        any->removeChild(service);
    m_chosen.removeAll(service);
    m_services.set(services);
    const Names names = m_indexedNames.take(service.get());
    Index index = m_index.get();
    if (names.others.isEmpty() && index.byHostName.size() == services.size() + 1) {
        index.byHostName.remove(absoluteName(names.hostName));
        m_index.set(std::move(index));
    } else {
        rebuildIndex();  // another client may be known by one of these names now
    }
    QList<VLServicePtr> selected = m_selected.get();
    const bool wasSelected = selected.removeAll(service) > 0;
    if (wasSelected) m_selected.set(selected);
    Q_EMIT serviceRemoved(service);
    if (group) Q_EMIT groupsChanged();
    if (wasSelected) Q_EMIT selectionChanged();
    return true;
}

VLServicePtr ServiceList::serviceWithHostName(const QString& hostName) const {
    if (hostName.isEmpty()) return nullptr;
    const auto index = m_index.shared();
    const QString name = absoluteName(hostName);
    const VLServicePtr service = index->byHostName.value(name);
    return service ? service : index->byOtherName.value(name);
}

VLServicePtr ServiceList::serviceWithIPAddress(const QString& address) const {
    const auto services = m_services.shared();
    const auto found = std::find_if(services->begin(), services->end(), [&](const VLServicePtr& service) {
        return service->ipAddress() == address;
    });
    return found == services->end() || address.isEmpty() ? nullptr : *found;
}

QString ServiceList::friendlyServiceName(const QString& hostName) const {
    const VLServicePtr service = serviceWithHostName(hostName);
    return service ? service->name() : hostName;
}

void ServiceList::setSelection(const QList<VLServicePtr>& services, const QList<VLServiceGroupPtr>& groups) {
    const bool wasAll = std::exchange(m_allSelected, false);
    QSet<const VLService*> wanted;
    for (const VLServicePtr& service : services)
        wanted.insert(service.get());
    QList<VLServicePtr> chosen = m_services.get();
    chosen.removeIf([&](const VLServicePtr& service) { return !wanted.contains(service.get()); });
    QList<VLServiceGroupPtr> chosenGroups = m_groups;
    chosenGroups.removeIf([&](const VLServiceGroupPtr& group) { return !groups.contains(group); });
    if (!wasAll && chosen == m_chosen && chosenGroups == m_chosenGroups) return;
    m_chosen = chosen;
    m_chosenGroups = chosenGroups;
    m_selected.set(selectionNow());
    Q_EMIT selectionChanged();
}

void ServiceList::selectAll() {
    const QList<VLServicePtr> services = m_services.get();
    const bool wasAll = std::exchange(m_allSelected, true);
    m_chosen.clear();
    m_chosenGroups.clear();
    if (wasAll && services == m_selected.get()) return;
    m_selected.set(services);
    Q_EMIT selectionChanged();
}

/// The clients that the selection stands for, in list order.
QList<VLServicePtr> ServiceList::selectionNow() const {
    QList<VLServicePtr> selected = m_services.get();
    if (m_allSelected) return selected;
    QSet<const VLService*> wanted;
    for (const VLServicePtr& service : m_chosen)
        wanted.insert(service.get());
    for (const VLServiceGroupPtr& group : m_chosenGroups)
        for (const VLServicePtr& service : group->children())
            wanted.insert(service.get());
    selected.removeIf([&](const VLServicePtr& service) { return !wanted.contains(service.get()); });
    return selected;
}

void ServiceList::updateSelection() {
    const QList<VLServicePtr> selected = selectionNow();
    if (selected == m_selected.get()) return;
    m_selected.set(selected);
    Q_EMIT selectionChanged();
}

void ServiceList::serviceChanged(const VLServicePtr& service) {
    QList<VLServicePtr> services = m_services.get();
    if (!std::is_sorted(services.begin(), services.end(), comesBefore)) {
        std::stable_sort(services.begin(), services.end(), comesBefore);
        m_services.set(services);
        std::stable_sort(m_chosen.begin(), m_chosen.end(), comesBefore);
        m_selected.set(selectionNow());
    }
    const bool isCurrent =
        std::all_of(services.begin(), services.end(),
                    [this](const VLServicePtr& candidate) { return isIndexed(candidate); });
    if (!isCurrent) rebuildIndex();
    Q_EMIT serviceUpdated(service);
}

bool ServiceList::isIndexed(const VLServicePtr& service) const {
    const auto known = m_indexedNames.constFind(service.get());
    return known != m_indexedNames.constEnd() && known->hostName == service->hostName() &&
           known->others == service->availableHostNames();
}

void ServiceList::rebuildIndex() {
    const auto services = m_services.shared();
    Index index;
    m_indexedNames.clear();
    for (const VLServicePtr& service : *services) {
        const Names names{service->hostName(), service->availableHostNames()};
        m_indexedNames.insert(service.get(), names);
        enter(index, names, service);
    }
    m_index.set(std::move(index));
}

/// The first client of a name keeps it.
void ServiceList::enter(Index& index, const Names& names, const VLServicePtr& service) {
    const auto add = [&service](QHash<QString, VLServicePtr>& hash, const QString& name) {
        if (!name.isEmpty() && !hash.contains(absoluteName(name))) hash.insert(absoluteName(name), service);
    };
    add(index.byHostName, names.hostName);
    for (const QString& name : names.others)
        add(index.byOtherName, name);
}
