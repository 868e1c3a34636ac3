#include "clients/ClientDirectory.h"

#include "clients/TitleOrder.h"

#include <QCollator>

#include <algorithm>
#include <utility>

namespace {

QString absoluteName(const QString& hostName) {
    return hostName.endsWith(u'.') ? hostName : hostName + u'.';
}

}  // namespace

/// A client and what it is known by. The client itself never changes; all else only the changing thread sees.
struct ClientDirectory::Entry {
    explicit Entry(const VLServicePtr& client)
        : service(client),
          name(client->name()),
          hostName(client->hostName()),
          otherNames(client->availableHostNames()),
          sortKey(TitleOrder::sortKey(name)) {}

    [[nodiscard]] bool isCurrent() const {
        return name == service->name() && hostName == service->hostName() &&
               otherNames == service->availableHostNames();
    }
    void read() {
        if (const QString now = service->name(); name != now) {
            name = now;
            sortKey = TitleOrder::sortKey(name);
        }
        hostName = service->hostName();
        otherNames = service->availableHostNames();
    }

    const VLServicePtr service;
    QString name, hostName;
    QStringList otherNames;
    QCollatorSortKey sortKey;
};

ClientDirectory::ClientDirectory() = default;
ClientDirectory::~ClientDirectory() = default;

bool ClientDirectory::comesBefore(const Entry* a, const Entry* b) {
    const int order = a->sortKey.compare(b->sortKey);
    return order != 0 ? order < 0 : a->hostName < b->hostName;
}

bool ClientDirectory::insert(const VLServicePtr& service) {
    if (!service || m_entries.contains(service.get())) return false;
    auto made = std::make_unique<Entry>(service);
    const Entry* entry = made.get();
    m_entries.emplace(service.get(), std::move(made));
    const auto place = std::upper_bound(m_order.cbegin(), m_order.cend(), entry, comesBefore);
    std::shared_ptr<const QList<VLServicePtr>> stale;  // goes after the lock
    const std::lock_guard lock(m_mutex);
    m_order.insert(place, entry);
    // One name more does not change what the others lead to.
    enter(m_index, *entry);
    stale.swap(m_copy);
    return true;
}

bool ClientDirectory::remove(const VLServicePtr& service) {
    const auto found = m_entries.find(service.get());
    if (found == m_entries.end()) return false;
    const std::unique_ptr<Entry> entry = std::move(found->second);
    m_entries.erase(found);
    const bool hasOnlyItsOwnName =
        entry->otherNames.isEmpty() && m_index.byHostName.size() == qsizetype(m_order.size());
    {
        std::shared_ptr<const QList<VLServicePtr>> stale;
        const std::lock_guard lock(m_mutex);
        m_order.erase(std::find(m_order.cbegin(), m_order.cend(), entry.get()));
        if (hasOnlyItsOwnName) m_index.byHostName.remove(absoluteName(entry->hostName));
        stale.swap(m_copy);
    }
    if (!hasOnlyItsOwnName) rebuildIndex();  // another client may be known by one of these names now
    return true;
}

bool ClientDirectory::refresh() {
    const bool isCurrent =
        std::all_of(m_order.cbegin(), m_order.cend(), [](const Entry* entry) { return entry->isCurrent(); });
    if (isCurrent) return false;
    for (const auto& [service, entry] : m_entries)
        entry->read();
    std::vector<const Entry*> order = m_order;
    std::stable_sort(order.begin(), order.end(), comesBefore);
    const bool isReordered = order != m_order;
    if (isReordered) {
        std::shared_ptr<const QList<VLServicePtr>> stale;
        const std::lock_guard lock(m_mutex);
        m_order.swap(order);
        stale.swap(m_copy);
    }
    rebuildIndex();
    return isReordered;
}

void ClientDirectory::rebuildIndex() {
    Index index;
    for (const Entry* entry : m_order)
        enter(index, *entry);
    const std::lock_guard lock(m_mutex);
    std::swap(m_index, index);
}

/// The first client of a name keeps it.
void ClientDirectory::enter(Index& index, const Entry& entry) {
    const auto add = [&entry](QHash<QString, VLServicePtr>& hash, const QString& name) {
        if (name.isEmpty()) return;
        const QString absolute = absoluteName(name);
        if (!hash.contains(absolute)) hash.insert(absolute, entry.service);
    };
    add(index.byHostName, entry.hostName);
    for (const QString& name : entry.otherNames)
        add(index.byOtherName, name);
}

QList<VLServicePtr> ClientDirectory::services() const {
    const std::lock_guard lock(m_mutex);
    if (!m_copy) {
        QList<VLServicePtr> list;
        list.reserve(qsizetype(m_order.size()));
        for (const Entry* entry : m_order)
            list.append(entry->service);
        m_copy = std::make_shared<const QList<VLServicePtr>>(std::move(list));
    }
    return *m_copy;
}

VLServicePtr ClientDirectory::withHostName(const QString& hostName) const {
    if (hostName.isEmpty()) return nullptr;
    const QString name = absoluteName(hostName);
    const std::lock_guard lock(m_mutex);
    const VLServicePtr service = m_index.byHostName.value(name);
    return service ? service : m_index.byOtherName.value(name);
}
