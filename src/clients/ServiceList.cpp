#include "clients/ServiceList.h"

#include "foundation/VLNotificationCenter.h"

#include <algorithm>

ServiceList::ServiceList(QObject* parent) : QObject(parent) {
    VLNotificationCenter::defaultCenter().addObserver(
        this, QStringLiteral("vlCorvalinServiceRenamed"), [this](const VLNotification& notification) {
            serviceChanged(notification.object.value<VLServicePtr>());
        });
}

ServiceList::~ServiceList() {
    // A record may outlive the list; it must not keep pointing to its group.
    for (const VLServiceGroupPtr& group : std::as_const(m_groups))
        for (const VLServicePtr& service : group->children())
            service->setParent(nullptr);
}

void ServiceList::addServiceToList(const VLServicePtr& service) {
    if (!m_services.insert(service)) return;
    noteHost(*service);
    joinRememberedGroup(service);
    const bool joinsSelection = m_allSelected || (service->parent() && !m_chosenGroups.isEmpty());
    if (joinsSelection) updateSelected();
    Q_EMIT serviceAdded(service);
    if (service->parent()) Q_EMIT groupsChanged();
    if (joinsSelection) Q_EMIT selectionChanged();
}

bool ServiceList::removeServiceFromList(const VLServicePtr& service) {
    if (!m_services.remove(service)) return false;
    const VLServiceGroupPtr group = groupOf(service);
    if (group) group->remember(remembered(service));
    for (const VLServiceGroupPtr& any : std::as_const(m_groups))
        any->removeChild(service);
    m_chosen.removeAll(service);
    bool wasSelected = m_allSelected;
    if (!m_allSelected) {
        QList<VLServicePtr> selected = m_selected.get().services;
        wasSelected = selected.removeAll(service) > 0;
        if (wasSelected) m_selected.set({false, std::move(selected)});
    }
    Q_EMIT serviceRemoved(service);
    if (group) Q_EMIT groupsChanged();
    if (wasSelected) Q_EMIT selectionChanged();
    return true;
}

VLServicePtr ServiceList::serviceWithIPAddress(const QString& address) const {
    if (address.isEmpty()) return nullptr;
    const QList<VLServicePtr> services = m_services.services();
    const auto found = std::find_if(services.begin(), services.end(), [&](const VLServicePtr& service) {
        return service->ipAddress() == address;
    });
    return found == services.end() ? nullptr : *found;
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
    QList<VLServicePtr> chosen = m_services.services();
    chosen.removeIf([&](const VLServicePtr& service) { return !wanted.contains(service.get()); });
    QList<VLServiceGroupPtr> chosenGroups = m_groups;
    chosenGroups.removeIf([&](const VLServiceGroupPtr& group) { return !groups.contains(group); });
    if (!wasAll && chosen == m_chosen && chosenGroups == m_chosenGroups) return;
    m_chosen = chosen;
    m_chosenGroups = chosenGroups;
    updateSelected();
    Q_EMIT selectionChanged();
}

void ServiceList::selectAll() {
    if (std::exchange(m_allSelected, true)) return;
    m_chosen.clear();
    m_chosenGroups.clear();
    updateSelected();
    Q_EMIT selectionChanged();
}

QList<VLServicePtr> ServiceList::selectedServices() const {
    const auto selected = m_selected.shared();
    return selected->all ? m_services.services() : selected->services;
}

/// The clients that the choice stands for, in list order.
QList<VLServicePtr> ServiceList::chosenNow() const {
    QSet<const VLService*> wanted;
    for (const VLServicePtr& service : m_chosen)
        wanted.insert(service.get());
    for (const VLServiceGroupPtr& group : m_chosenGroups)
        for (const VLServicePtr& service : group->children())
            wanted.insert(service.get());
    QList<VLServicePtr> selected = m_services.services();
    selected.removeIf([&](const VLServicePtr& service) { return !wanted.contains(service.get()); });
    return selected;
}

/// What other threads see of the selection. False when that is what they saw before.
bool ServiceList::updateSelected() {
    const auto former = m_selected.shared();
    Selected now{m_allSelected, m_allSelected ? QList<VLServicePtr>() : chosenNow()};
    if (now.all == former->all && now.services == former->services) return false;
    m_selected.set(std::move(now));
    return true;
}

void ServiceList::updateSelection() {
    if (updateSelected()) Q_EMIT selectionChanged();
}

void ServiceList::serviceChanged(const VLServicePtr& service) {
    if (m_services.refresh()) {
        // In list order, like the list.
        const QList<VLServicePtr> chosen = std::exchange(m_chosen, {});
        const QSet<VLServicePtr> wanted(chosen.cbegin(), chosen.cend());
        if (!wanted.isEmpty()) {
            m_chosen = m_services.services();
            m_chosen.removeIf([&](const VLServicePtr& listed) { return !wanted.contains(listed); });
        }
        updateSelected();
    }
    Q_EMIT serviceUpdated(service);
}
