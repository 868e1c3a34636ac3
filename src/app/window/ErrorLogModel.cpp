#include "app/window/ErrorLogModel.h"

#include "widgets/CellDelegate.h"
#include "widgets/PlainText.h"

#include <QLocale>

#include <algorithm>
#include <unordered_set>

QStringList ErrorLogModel::columnNames() {
    return {QStringLiteral("date"), QStringLiteral("hostname"), QStringLiteral("tool"),
            QStringLiteral("action"), QStringLiteral("description")};
}

ErrorLogModel::ErrorLogModel(std::function<QString(const QString&)> friendlyName,
                             std::function<QString(const QString&)> toolTitle, QObject* parent)
    : QAbstractTableModel(parent),
      m_friendlyName(std::move(friendlyName)),
      m_toolTitle(std::move(toolTitle)) {}

/// From the end, each run of neighbours at once.
void ErrorLogModel::removeAllBut(const ErrorQueue::Records& queue) {
    const std::unordered_set<ErrorQueue::RecordPtr> kept(queue.cbegin(), queue.cend());
    for (int last = int(m_records.size()) - 1; last >= 0; --last) {
        if (kept.contains(m_records[size_t(last)])) continue;
        int first = last;
        while (first > 0 && !kept.contains(m_records[size_t(first) - 1]))
            --first;
        beginRemoveRows({}, first, last);
        m_records.erase(m_records.begin() + first, m_records.begin() + last + 1);
        endRemoveRows();
        last = first;
    }
}

void ErrorLogModel::setQueue(const ErrorQueue::Records& queue) {
    // The usual change is new records in front of the others, and old ones that go: the selection stays.
    removeAllBut(queue);
    const std::ptrdiff_t added = std::ssize(queue) - std::ssize(m_records);
    if (added >= 0 && std::equal(queue.cbegin() + added, queue.cend(), m_records.cbegin())) {
        if (added == 0) return;
        beginInsertRows({}, 0, int(added) - 1);
        m_records = queue;
        endInsertRows();
        return;
    }
    beginResetModel();
    m_records = queue;
    endResetModel();
}

int ErrorLogModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_records.size());
}

int ErrorLogModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant ErrorLogModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const ErrorRecord& record = *m_records.at(size_t(index.row()));
    if (role == HostNameRole) return record.hostName;
    const QString computer = m_friendlyName ? m_friendlyName(record.hostName) : record.hostName;
    switch (index.column()) {
        case Date:
            if (role == SortRole) return record.date;
            if (role == Qt::DisplayRole)
                return QLocale().toString(record.date.toLocalTime(), QLocale::ShortFormat);
            if (role == Qt::ToolTipRole)
                return QLocale().toString(record.date.toLocalTime(), QLocale::LongFormat);
            if (role == Cell::ToneRole) return int(Cell::Tone::Secondary);
            return {};
        case Computer:
            if (role == Qt::DisplayRole || role == SortRole) return computer;
            if (role == Qt::ToolTipRole) return literalText(record.hostName);
            return {};
        case Tool:
            return role == Qt::DisplayRole || role == SortRole ? m_toolTitle(record.tool) : QVariant();
        case Action:
            return role == Qt::DisplayRole || role == SortRole ? QVariant(record.action) : QVariant();
        case Description:
            if (role == Qt::DisplayRole && !record.appName.isEmpty()) {
                return QStringLiteral("%1: %2").arg(record.appName, record.description);
            }
            if (role == Qt::DisplayRole || role == SortRole) return record.description;
            if (role == Qt::ToolTipRole) return literalText(record.description);
            if (role == Cell::SymbolRole) return QStringLiteral("error");
            if (role == Cell::SymbolToneRole) return int(Cell::Tone::Bad);
            return {};
        default:
            return {};
    }
}

QVariant ErrorLogModel::headerData(int section, Qt::Orientation orientation, int role) const {
    static const QStringList titles{tr("Date"), tr("Computer"), tr("Tool"), tr("Action"), tr("Description")};
    if (orientation != Qt::Horizontal || section < 0 || section >= ColumnCount) return {};
    if (role == Qt::DisplayRole) return titles.at(section);
    if (role == Qt::TextAlignmentRole) return int(Qt::AlignLeft | Qt::AlignVCenter);
    return {};
}
