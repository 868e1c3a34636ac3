#include "app/window/ErrorLogModel.h"

#include "widgets/CellDelegate.h"
#include "widgets/PlainText.h"

#include <QLocale>

QStringList ErrorLogModel::columnNames() {
    return {QStringLiteral("date"), QStringLiteral("hostname"), QStringLiteral("description")};
}

ErrorLogModel::ErrorLogModel(std::function<QString(const QString&)> friendlyName, QObject* parent)
    : QAbstractTableModel(parent), m_friendlyName(std::move(friendlyName)) {}

ErrorLogModel::Record ErrorLogModel::recordOf(const QVariantMap& entry) {
    return {entry.value(QStringLiteral("date")).toDateTime(),
            entry.value(QStringLiteral("hostname")).toString(),
            entry.value(QStringLiteral("description")).toString(),
            entry.value(QStringLiteral("appName")).toString()};
}

void ErrorLogModel::setQueue(const QVariantList& queue) {
    QList<Record> records;
    for (const QVariant& entry : queue)
        records << recordOf(entry.toMap());
    // The usual change is a new record in front of the others: their selection stays.
    const qsizetype added = records.size() - m_records.size();
    if (added >= 0 && records.mid(added) == m_records) {
        if (added == 0) return;
        beginInsertRows({}, 0, int(added) - 1);
        m_records = std::move(records);
        endInsertRows();
        return;
    }
    beginResetModel();
    m_records = std::move(records);
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
    const Record& record = m_records.at(index.row());
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
    static const QStringList titles{QStringLiteral("Date"), QStringLiteral("Computer"),
                                    QStringLiteral("Description")};
    if (orientation != Qt::Horizontal || section < 0 || section >= ColumnCount) return {};
    if (role == Qt::DisplayRole) return titles.at(section);
    if (role == Qt::TextAlignmentRole) return int(Qt::AlignLeft | Qt::AlignVCenter);
    return {};
}
