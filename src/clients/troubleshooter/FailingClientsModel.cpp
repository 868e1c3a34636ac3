#include "clients/troubleshooter/FailingClientsModel.h"

#include <algorithm>
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

void FailingClientsModel::setServices(const QList<VLServicePtr>& services) {
    std::vector<Row> wanted = failing(services);
    if (m_rows.empty() && !wanted.empty()) {
        beginInsertRows({}, 0, static_cast<int>(wanted.size()) - 1);
        m_rows = std::move(wanted);
        endInsertRows();
        return;
    }
    removeMissing(wanted);
    for (std::size_t row = 0; row < wanted.size(); ++row)
        place(static_cast<int>(row), wanted[row]);
}

void FailingClientsModel::removeMissing(const std::vector<Row>& wanted) {
    std::unordered_set<const VLService*> kept;
    for (const Row& row : wanted)
        kept.insert(row.service.get());
    for (int row = rowCount() - 1; row >= 0; --row) {
        if (kept.contains(m_rows[static_cast<std::size_t>(row)].service.get())) continue;
        beginRemoveRows({}, row, row);
        m_rows.erase(m_rows.begin() + row);
        endRemoveRows();
    }
}

/// Brings `wanted` to this row; the rows before it are in place.
void FailingClientsModel::place(int row, const Row& wanted) {
    const auto target = m_rows.begin() + row;
    const auto found = std::find_if(
        target, m_rows.end(), [&](const Row& candidate) { return candidate.service == wanted.service; });
    if (found == m_rows.end()) {
        beginInsertRows({}, row, row);
        m_rows.insert(target, wanted);
        endInsertRows();
        return;
    }
    if (found != target) {
        const int from = static_cast<int>(found - m_rows.begin());
        beginMoveRows({}, from, from, {}, row);
        std::rotate(target, found, found + 1);
        endMoveRows();
    }
    if (*target == wanted) return;
    *target = wanted;
    Q_EMIT dataChanged(index(row), index(row));
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
            return QStringLiteral("%1, %2").arg(row.name, ConnectionProblem::titleOf(row.kind));
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
