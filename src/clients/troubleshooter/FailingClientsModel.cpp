#include "clients/troubleshooter/FailingClientsModel.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <unordered_set>

std::vector<FailingClientsModel::Row> FailingClientsModel::failing(const QList<VLServicePtr>& services) {
    std::vector<Row> rows;
    for (const VLServicePtr& service : services) {
        const ConnectionProblem::Kind kind = ConnectionProblem::kindOf(*service);
        if (kind == ConnectionProblem::None) continue;
        rows.push_back({service, service->name(), kind, service->spinning() && !service->isConnected()});
    }
    std::stable_sort(rows.begin(), rows.end(),
                     [](const Row& a, const Row& b) { return a.service->compareTitle(*b.service) < 0; });
    return rows;
}

/// A handful of signals, however much has changed: what goes is brought to the end first, what is new comes
/// at the end, and then all are brought into order.
void FailingClientsModel::setServices(const QList<VLServicePtr>& services) {
    std::vector<Row> wanted = failing(services);
    Places places;
    for (std::size_t place = 0; place < wanted.size(); ++place)
        places.emplace(wanted[place].service.get(), place);
    removeMissing(places);
    insertNew(wanted);
    const auto wantedPlace = [&](const Row& row) { return places.at(row.service.get()); };
    reorder([&](const Row& a, const Row& b) { return wantedPlace(a) < wantedPlace(b); });
    takeContents(std::move(wanted));
}

void FailingClientsModel::removeMissing(const Places& wanted) {
    const auto isWanted = [&](const Row& row) { return wanted.contains(row.service.get()); };
    reorder([&](const Row& a, const Row& b) { return isWanted(a) && !isWanted(b); });
    const auto first = std::find_if_not(m_rows.begin(), m_rows.end(), isWanted);
    if (first == m_rows.end()) return;
    beginRemoveRows({}, static_cast<int>(first - m_rows.begin()), rowCount() - 1);
    m_rows.erase(first, m_rows.end());
    endRemoveRows();
}

void FailingClientsModel::insertNew(const std::vector<Row>& wanted) {
    std::unordered_set<const VLService*> known;
    for (const Row& row : m_rows)
        known.insert(row.service.get());
    std::vector<Row> added;
    std::copy_if(wanted.begin(), wanted.end(), std::back_inserter(added),
                 [&](const Row& row) { return !known.contains(row.service.get()); });
    if (added.empty()) return;
    beginInsertRows({}, rowCount(), rowCount() + static_cast<int>(added.size()) - 1);
    m_rows.insert(m_rows.end(), added.begin(), added.end());
    endInsertRows();
}

/// No signal when they are in order.
template <typename Before>
void FailingClientsModel::reorder(Before before) {
    if (std::is_sorted(m_rows.begin(), m_rows.end(), before)) return;
    Q_EMIT layoutAboutToBeChanged();
    std::vector<int> order(m_rows.size());
    std::iota(order.begin(), order.end(), 0);
    const auto rowAt = [this](int row) -> Row& { return m_rows[static_cast<std::size_t>(row)]; };
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return before(rowAt(a), rowAt(b)); });
    std::vector<Row> rows;
    std::vector<int> newPlaces(m_rows.size());
    for (const int old : order) {
        newPlaces[static_cast<std::size_t>(old)] = static_cast<int>(rows.size());
        rows.push_back(std::move(rowAt(old)));
    }
    m_rows = std::move(rows);
    for (const QModelIndex& kept : persistentIndexList())
        changePersistentIndex(kept, index(newPlaces[static_cast<std::size_t>(kept.row())]));
    Q_EMIT layoutChanged();
}

/// Of the same clients in the same order.
void FailingClientsModel::takeContents(std::vector<Row> wanted) {
    const auto first = std::mismatch(m_rows.begin(), m_rows.end(), wanted.begin()).first;
    if (first == m_rows.end()) return;
    const auto last = std::mismatch(m_rows.rbegin(), m_rows.rend(), wanted.rbegin()).first.base();
    const int firstRow = static_cast<int>(first - m_rows.begin());
    const int lastRow = static_cast<int>(last - m_rows.begin()) - 1;
    m_rows = std::move(wanted);
    Q_EMIT dataChanged(index(firstRow), index(lastRow));
}

VLServicePtr FailingClientsModel::serviceAt(const QModelIndex& index) const {
    return index.isValid() ? m_rows[static_cast<std::size_t>(index.row())].service : nullptr;
}

QModelIndex FailingClientsModel::indexOf(const VLServicePtr& service) const {
    const auto found =
        std::find_if(m_rows.begin(), m_rows.end(), [&](const Row& row) { return row.service == service; });
    return found == m_rows.end() ? QModelIndex() : index(static_cast<int>(found - m_rows.begin()));
}

int FailingClientsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant FailingClientsModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const Row& row = m_rows[static_cast<std::size_t>(index.row())];
    switch (role) {
        case Qt::DisplayRole:
            return row.name;
        case Qt::AccessibleTextRole:
            return QStringLiteral("%1, %2").arg(row.name, ConnectionProblem::titleOf(row.kind)) +
                   (row.trying ? tr(", connecting") : QString());
        case ServiceRole:
            return QVariant::fromValue(row.service);
        case KindRole:
            return row.kind;
        case ProblemRole:
            return ConnectionProblem::titleOf(row.kind);
        case TryingRole:
            return row.trying;
        default:
            return {};
    }
}
