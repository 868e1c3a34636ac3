#include "clients/view/ClientOutlineModel.h"

#include "widgets/PlainText.h"

#include <QSet>

#include <algorithm>

namespace {

constexpr quintptr groupId = 0;    // internal id of group rows
constexpr quintptr machineId = 1;  // of machines: their group's row plus one
constexpr std::chrono::milliseconds gatherTime(30);

}  // namespace

bool ClientOutlineModel::Row::looksLike(const Row& other) const {
    return name == other.name && hostName == other.hostName && address == other.address &&
           state == other.state && spinning == other.spinning && maintenance == other.maintenance &&
           errors == other.errors && updates == other.updates &&
           picture.cacheKey() == other.picture.cacheKey();
}

ClientOutlineModel::ClientOutlineModel(ServiceList& services, QObject* parent)
    : QAbstractItemModel(parent), m_services(services) {
    m_refreshTimer.setSingleShot(true);
    m_refreshTimer.setInterval(gatherTime);
    connect(&m_refreshTimer, &QTimer::timeout, this, &ClientOutlineModel::refresh);
    connect(&services, &ServiceList::serviceAdded, this, &ClientOutlineModel::follow);
    connect(&services, &ServiceList::serviceRemoved, this, &ClientOutlineModel::follow);
    connect(&services, &ServiceList::serviceUpdated, this, [this] {
        if (!m_refreshTimer.isActive()) m_refreshTimer.start();
    });
    for (const VLServicePtr& service : services.serviceArray())
        m_rows.push_back(makeRow(service));
    reindex();
}

void ClientOutlineModel::setErrorCounts(const QHash<QString, int>& counts) {
    m_errorCounts = counts;
    refresh();
}

void ClientOutlineModel::setUpdateCount(std::function<qlonglong(const QString& hostName)> updateCount) {
    m_updateCount = std::move(updateCount);
    refresh();
}

ClientOutlineModel::Row ClientOutlineModel::makeRow(const VLServicePtr& service) const {
    Row row;
    row.service = service;
    row.name = service->name();
    row.hostName = service->hostName();
    row.address = service->ipAddress();
    row.state = clientState(*service);
    row.spinning = service->spinning() || service->isProcessing();
    row.maintenance = service->needsMaintenance();
    row.errors = m_errorCounts.value(row.hostName);
    row.updates = m_updateCount ? m_updateCount(row.hostName) : 0;
    row.picture = service->icon();
    if (row.name.isEmpty()) row.name = row.hostName;
    return row;
}

void ClientOutlineModel::refresh() {
    m_refreshTimer.stop();
    follow();
    syncRows();
}

/// The rows of the list and their order, not what they show.
void ClientOutlineModel::follow() {
    const qsizetype before = rowCount(allComputersIndex());
    syncOrder(m_services.serviceArray());
    if (before != rowCount(allComputersIndex())) {
        const QModelIndex all = allComputersIndex();
        Q_EMIT dataChanged(all, all, {CountRole, Qt::ToolTipRole, Qt::AccessibleTextRole});
    }
}

/// Removes and inserts rows so that they stand as in `services`. Rows that stay are never touched, so their
/// selection stays too.
void ClientOutlineModel::syncOrder(const QList<VLServicePtr>& services) {
    const QModelIndex parent = allComputersIndex();
    QSet<const VLService*> wanted;
    for (const VLServicePtr& service : services)
        wanted.insert(service.get());

    for (int row = int(m_rows.size()) - 1; row >= 0; --row) {
        if (wanted.contains(m_rows[size_t(row)].service.get())) continue;
        beginRemoveRows(parent, row, row);
        m_rows.erase(m_rows.begin() + row);
        reindex();
        endRemoveRows();
    }
    const auto at = [this](int row) { return m_rows[size_t(row)].service; };
    for (int row = 0; row < services.size(); ++row) {
        if (row < int(m_rows.size()) && at(row) == services[row]) continue;
        const int present = m_rowOf.value(services[row].get(), -1);
        if (present < 0) {
            beginInsertRows(parent, row, row);
            m_rows.insert(m_rows.begin() + row, makeRow(services[row]));
            reindex();
            endInsertRows();
        } else {
            // A renamed machine: everything between its old and its new place moves by one.
            beginMoveRows(parent, present, present, parent, row);
            std::rotate(m_rows.begin() + row, m_rows.begin() + present, m_rows.begin() + present + 1);
            reindex();
            endMoveRows();
        }
    }
}

void ClientOutlineModel::syncRows() {
    const QModelIndex parent = allComputersIndex();
    for (size_t i = 0; i < m_rows.size(); ++i) {
        Row now = makeRow(m_rows[i].service);
        if (now.looksLike(m_rows[i])) continue;
        m_rows[i] = std::move(now);
        const QModelIndex changed = index(int(i), 0, parent);
        Q_EMIT dataChanged(changed, changed);
    }
}

void ClientOutlineModel::reindex() {
    m_rowOf.clear();
    for (size_t i = 0; i < m_rows.size(); ++i)
        m_rowOf.insert(m_rows[i].service.get(), int(i));
}

QModelIndex ClientOutlineModel::indexOf(const VLServicePtr& service) const {
    const int row = m_rowOf.value(service.get(), -1);
    return row < 0 ? QModelIndex() : index(row, 0, allComputersIndex());
}

VLServicePtr ClientOutlineModel::serviceAt(const QModelIndex& index) const {
    if (!index.isValid() || index.internalId() == groupId) return nullptr;
    return m_rows[size_t(index.row())].service;
}

QModelIndex ClientOutlineModel::index(int row, int column, const QModelIndex& parent) const {
    if (!hasIndex(row, column, parent)) return {};
    return createIndex(row, column, parent.isValid() ? machineId + quintptr(parent.row()) : groupId);
}

QModelIndex ClientOutlineModel::parent(const QModelIndex& child) const {
    if (!child.isValid() || child.internalId() == groupId) return {};
    return createIndex(int(child.internalId() - machineId), 0, groupId);
}

int ClientOutlineModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid()) return 1;
    return parent.internalId() == groupId && parent.column() == 0 ? int(m_rows.size()) : 0;
}

int ClientOutlineModel::columnCount(const QModelIndex&) const {
    return 1;
}

QVariant ClientOutlineModel::groupData(int role) const {
    const QString title = QStringLiteral("All Computers");
    switch (role) {
        case Qt::DisplayRole:
            return title;
        case Qt::AccessibleTextRole:
            return QStringLiteral("%1, %2").arg(title).arg(m_rows.size());
        case IsGroupRole:
            return true;
        case CountRole:
            return int(m_rows.size());
        case Qt::ToolTipRole:
            return QStringLiteral("Work on every computer of the list, also on those found later");
        default:
            return {};
    }
}

QString ClientOutlineModel::toolTip(const Row& row) const {
    QStringList lines{row.name};
    if (!row.hostName.isEmpty() && row.hostName != row.name) lines << row.hostName;
    if (!row.address.isEmpty())
        lines << QStringLiteral("%1, port %2").arg(row.address).arg(row.service->port());
    if (row.state.kind != ClientState::Connected) lines << row.state.text;
    if (row.service->isManual()) lines << QStringLiteral("Added by hand");
    if (row.maintenance) lines << QStringLiteral("Asks for maintenance");
    if (row.errors > 0) {
        lines
            << QStringLiteral("%1 error%2 in the error log").arg(row.errors).arg(row.errors == 1 ? "" : "s");
    }
    if (row.updates > 0)
        lines << QStringLiteral("%1 software update%2 available")
                     .arg(row.updates)
                     .arg(row.updates == 1 ? "" : "s");
    return lines.join(QLatin1Char('\n'));
}

QVariant ClientOutlineModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    if (index.internalId() == groupId) return groupData(role);
    const Row& row = m_rows[size_t(index.row())];
    switch (role) {
        case Qt::DisplayRole:
            return row.name;
        case Qt::ToolTipRole:
            return literalText(toolTip(row));
        case Qt::AccessibleTextRole:
            return QStringLiteral("%1, %2").arg(row.name, row.state.text);
        case ServiceRole:
            return QVariant::fromValue(row.service);
        case IsGroupRole:
            return false;
        case StateKindRole:
            return int(row.state.kind);
        case StateTextRole:
            return row.state.text;
        case SpinningRole:
            return row.spinning;
        case MaintenanceRole:
            return row.maintenance;
        case ErrorCountRole:
            return row.errors;
        case UpdateCountRole:
            return row.updates;
        case PictureRole:
            return row.picture;
        case SearchTextRole:
            return QString(row.name + QLatin1Char('\n') + row.hostName + QLatin1Char('\n') + row.address);
        default:
            return {};
    }
}

void ClientFilterModel::setFilterText(const QString& text) {
    m_text = text.trimmed();
    invalidateFilter();
}

bool ClientFilterModel::filterAcceptsRow(int row, const QModelIndex& parent) const {
    if (m_text.isEmpty() || !parent.isValid()) return true;
    const QModelIndex index = sourceModel()->index(row, 0, parent);
    return index.data(ClientOutlineModel::SearchTextRole).toString().contains(m_text, Qt::CaseInsensitive);
}
