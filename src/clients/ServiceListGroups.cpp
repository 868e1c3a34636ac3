// The groups of the client list.

#include "clients/ServiceList.h"

#include <algorithm>

namespace {

constexpr qsizetype longestName = 255;

}  // namespace

QList<VLServiceGroupPtr> ServiceList::groups() const {
    return m_groups;
}

VLServiceGroupPtr ServiceList::addGroup(const QString& name, const QList<RememberedClient>& absent) {
    auto group = std::make_shared<VLServiceGroup>(name);
    for (const RememberedClient& client : absent) {
        group->remember(client);
        if (!client.sharedHost.isEmpty()) m_sharedHosts.insert(client.sharedHost);
    }
    m_groups.append(group);
    if (!absent.isEmpty()) {
        const QList<VLServicePtr> services = m_services.services();
        for (const VLServicePtr& service : services)
            joinRememberedGroup(service);
    }
    Q_EMIT groupsChanged();
    Q_EMIT storedGroupsChanged();
    return group;
}

void ServiceList::removeGroup(const VLServiceGroupPtr& group) {
    if (!m_groups.removeOne(group)) return;
    const QList<VLServicePtr> children = group->children();
    for (const VLServicePtr& service : children)
        group->removeChild(service);
    m_chosenGroups.removeAll(group);
    Q_EMIT groupsChanged();
    Q_EMIT storedGroupsChanged();
    updateSelection();
}

void ServiceList::renameGroup(const VLServiceGroupPtr& group, const QString& name) {
    if (group->name() == name) return;
    group->setName(name);
    Q_EMIT groupsChanged();
    Q_EMIT storedGroupsChanged();
}

void ServiceList::forgetAbsentClients(const VLServiceGroupPtr& group) {
    if (group->absent().isEmpty()) return;
    group->forgetAbsent();
    Q_EMIT groupsChanged();
    Q_EMIT storedGroupsChanged();
}

QString ServiceList::groupNameProblem(const QString& name, const VLServiceGroupPtr& group) const {
    if (name.trimmed().isEmpty()) return tr("A group needs a name");
    if (name.size() > longestName) return tr("A name has at most 255 characters");
    const bool isTaken = name.compare(allComputersTitle(), Qt::CaseInsensitive) == 0 ||
                         std::any_of(m_groups.begin(), m_groups.end(), [&](const VLServiceGroupPtr& other) {
                             return other != group && other->name().compare(name, Qt::CaseInsensitive) == 0;
                         });
    return isTaken ? tr("There is a group of this name already") : QString();
}

void ServiceList::moveToGroup(const QList<VLServicePtr>& services, const VLServiceGroupPtr& group) {
    bool hasMoved = false;
    for (const VLServicePtr& service : services) {
        if (service->parent() == group.get()) continue;
        if (const VLServiceGroupPtr former = groupOf(service)) former->removeChild(service);
        if (group) group->addChild(service);
        hasMoved = true;
    }
    if (!hasMoved) return;
    Q_EMIT groupsChanged();
    Q_EMIT storedGroupsChanged();
    updateSelection();
}

VLServiceGroupPtr ServiceList::groupOf(const VLServicePtr& service) const {
    const auto found = std::find_if(m_groups.begin(), m_groups.end(), [&](const VLServiceGroupPtr& group) {
        return group.get() == service->parent();
    });
    return found == m_groups.end() ? nullptr : *found;
}

RememberedClient ServiceList::remembered(const VLServicePtr& service) const {
    const auto netService = service->netService();
    return RememberedClient::of(*service, netService && m_sharedHosts.contains(netService->hostName));
}

/// Two agents of one host are told apart by their names from now on, also when one of them has left.
void ServiceList::noteHost(const VLService& service) {
    const auto netService = service.netService();
    if (!netService) return;
    const auto known = m_hostNames.constFind(netService->hostName);
    if (known == m_hostNames.constEnd()) {
        m_hostNames.insert(netService->hostName, service.name());
    } else if (*known != service.name() && !m_sharedHosts.contains(netService->hostName)) {
        m_sharedHosts.insert(netService->hostName);
        if (!m_groups.isEmpty()) Q_EMIT storedGroupsChanged();
    }
}

/// The first group that remembers the client has it; no other one keeps it in mind.
void ServiceList::joinRememberedGroup(const VLServicePtr& service) {
    for (const VLServiceGroupPtr& group : std::as_const(m_groups)) {
        if (group->forget(*service) && !service->parent()) group->addChild(service);
    }
}
