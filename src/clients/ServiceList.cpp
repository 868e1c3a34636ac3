#include "clients/ServiceList.h"

#include <QSet>

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

void VLServiceGroup::addChild(const VLServicePtr& service) {
    if (!service || m_children.contains(service)) return;
    m_children.append(service);
    service->setParent(this);
}

void VLServiceGroup::removeChild(const VLServicePtr& service) {
    if (m_children.removeAll(service) > 0 && service->parent() == this) service->setParent(nullptr);
}

ServiceList::ServiceList(QObject* parent) : QObject(parent) {}

ServiceList::~ServiceList() {
    // A record may outlive the list; it must not keep pointing to its group.
    const auto groups = m_groups;
    for (const auto& group : groups)
        removeGroup(group);
}

QList<VLServicePtr> ServiceList::serviceArray() const {
    return m_services.get();
}

QList<std::shared_ptr<VLServiceGroup>> ServiceList::groups() const {
    return m_groups;
}

std::shared_ptr<VLServiceGroup> ServiceList::addGroup(const QString& name) {
    auto group = std::make_shared<VLServiceGroup>(name);
    m_groups.append(group);
    return group;
}

void ServiceList::removeGroup(const std::shared_ptr<VLServiceGroup>& group) {
    const QList<VLServicePtr> children = group->children();
    for (const VLServicePtr& service : children)
        group->removeChild(service);
    m_groups.removeAll(group);
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
    if (m_allSelected) m_selected.set(services);
    Q_EMIT serviceAdded(service);
    if (m_allSelected) Q_EMIT selectionChanged();
}

void ServiceList::removeServiceFromList(const VLServicePtr& service) {
    for (const auto& group : std::as_const(m_groups))
        group->removeChild(service);
    QList<VLServicePtr> services = m_services.get();
    if (services.removeAll(service) == 0) return;
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
    if (wasSelected) Q_EMIT selectionChanged();
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

void ServiceList::setSelectedServices(const QList<VLServicePtr>& services) {
    const bool wasAll = std::exchange(m_allSelected, false);
    QSet<const VLService*> wanted;
    for (const VLServicePtr& service : services)
        wanted.insert(service.get());
    QList<VLServicePtr> selected = m_services.get();
    selected.removeIf([&](const VLServicePtr& service) { return !wanted.contains(service.get()); });
    if (!wasAll && selected == m_selected.get()) return;
    m_selected.set(selected);
    Q_EMIT selectionChanged();
}

void ServiceList::selectAll() {
    const QList<VLServicePtr> services = m_services.get();
    const bool wasAll = std::exchange(m_allSelected, true);
    if (wasAll && services == m_selected.get()) return;
    m_selected.set(services);
    Q_EMIT selectionChanged();
}

void ServiceList::serviceChanged(const VLServicePtr& service) {
    QList<VLServicePtr> services = m_services.get();
    if (!std::is_sorted(services.begin(), services.end(), comesBefore)) {
        std::stable_sort(services.begin(), services.end(), comesBefore);
        m_services.set(services);
        QList<VLServicePtr> selected = m_selected.get();
        std::stable_sort(selected.begin(), selected.end(), comesBefore);
        m_selected.set(selected);
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
