#include "runs/ActivityDetailsModel.h"

void ActivityDetailsModel::setRecord(const RunRecord& record) {
    if (m_outcomes == record.outcomes) return;
    beginResetModel();
    m_outcomes = record.outcomes;
    endResetModel();
}

int ActivityDetailsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_outcomes.size());
}

int ActivityDetailsModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant ActivityDetailsModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const HostOutcome& host = m_outcomes.at(index.row());
    if (role == KindRole) return int(host.outcome.kind);
    if (role == HostNameRole) return host.hostName;
    const bool isSort = role == SortRole;
    if (role != Qt::DisplayRole && !isSort) return {};
    switch (index.column()) {
        case Computer:
            return host.name.isEmpty() ? host.hostName : host.name;
        case Result:
            if (isSort) return int(host.outcome.kind);
            return Outcome{host.outcome.kind, {}}.text();
        case Reason:
            return host.outcome.reason;
        default:
            return {};
    }
}

QVariant ActivityDetailsModel::headerData(int section, Qt::Orientation orientation, int role) const {
    static const QStringList titles{tr("Computer"), tr("Outcome"), tr("Reason")};
    if (orientation != Qt::Horizontal || section < 0 || section >= ColumnCount) return {};
    if (role == Qt::DisplayRole) return titles.at(section);
    if (role == Qt::TextAlignmentRole) return int(Qt::AlignLeft | Qt::AlignVCenter);
    return {};
}
