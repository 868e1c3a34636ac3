#include "clients/view/ClientOutlineModel.h"

#include "clients/ServicePasteboard.h"
#include "clients/view/ClientOutlineRows.h"
#include "widgets/PlainText.h"

#include <QMimeData>
#include <QSet>

namespace {

constexpr quintptr topId = 0;  // internal id of the rows at the top; machines have that of their section
constexpr std::chrono::milliseconds gatherTime(30);

QString computerCount(qsizetype count) {
    return count == 1 ? ClientOutlineModel::tr("1 computer")
                      : ClientOutlineModel::tr("%1 computers").arg(count);
}

}  // namespace

bool ClientOutlineModel::Row::looksLike(const Row& other) const {
    return name == other.name && hostName == other.hostName && address == other.address &&
           model == other.model && state == other.state && spinning == other.spinning &&
           maintenance == other.maintenance && errors == other.errors && updates == other.updates &&
           picture.cacheKey() == other.picture.cacheKey();
}

ClientOutlineModel::ClientOutlineModel(ServiceList& services, QObject* parent)
    : QAbstractItemModel(parent), m_services(services) {
    auto all = std::make_unique<Section>();
    all->id = ++m_lastId;
    all->name = ServiceList::allComputersTitle();
    m_sectionOfId.insert(all->id, all.get());
    m_sections.push_back(std::move(all));

    m_refreshTimer.setSingleShot(true);
    m_refreshTimer.setInterval(gatherTime);
    connect(&m_refreshTimer, &QTimer::timeout, this, &ClientOutlineModel::refresh);
    connect(&services, &ServiceList::serviceAdded, this, &ClientOutlineModel::followSoon);
    connect(&services, &ServiceList::serviceRemoved, this, &ClientOutlineModel::followSoon);
    connect(&services, &ServiceList::groupsChanged, this, &ClientOutlineModel::follow);
    connect(&services, &ServiceList::serviceUpdated, this, &ClientOutlineModel::refreshSoon);
    follow();
}

ClientOutlineModel::~ClientOutlineModel() = default;

QStringList ClientOutlineModel::sortColumnNames() {
    return {QStringLiteral("name"), QStringLiteral("state"), QStringLiteral("address")};
}

void ClientOutlineModel::setErrorCounts(const QHash<QString, int>& counts) {
    if (counts == m_errorCounts) return;
    m_errorCounts = counts;
    refresh();
}

void ClientOutlineModel::setUpdateCount(std::function<qlonglong(const QString& hostName)> updateCount) {
    m_updateCount = std::move(updateCount);
    refresh();
}

void ClientOutlineModel::setSorting(SortColumn column, Qt::SortOrder order) {
    m_sortColumn = column;
    m_sortOrder = order;
    follow();
}

void ClientOutlineModel::setFilterText(const QString& text) {
    m_filterText = text.trimmed();
    follow();
}

// ---- What the rows show

ClientOutlineModel::Row ClientOutlineModel::makeRow(const VLServicePtr& service) const {
    Row row;
    row.service = service;
    row.name = service->name();
    row.hostName = service->hostName();
    row.address = service->ipAddress();
    row.model = clientModel(*service);
    row.state = clientState(*service);
    row.spinning = service->spinning() || service->isProcessing();
    row.maintenance = service->needsMaintenance();
    row.errors = m_errorCounts.value(row.hostName);
    row.updates = m_updateCount ? m_updateCount(row.hostName) : 0;
    row.picture = service->icon();
    if (row.name.isEmpty()) row.name = row.hostName;
    return row;
}

/// What is derived from the shown texts; most looks at a row find them unchanged.
void ClientOutlineModel::Row::derive() {
    searchText = QStringList{name, hostName, address, model}.join(QLatin1Char('\n'));
    addressNumber = QHostAddress(address).toIPv4Address();
}

/// True when it shows something else now.
bool ClientOutlineModel::readRow(Row& row) {
    Row now = makeRow(row.service);
    if (now.looksLike(row)) return false;
    now.placeInAll = row.placeInAll;
    now.placeInGroup = row.placeInGroup;
    now.group = row.group;
    now.generation = row.generation;
    now.matches = row.matches;
    now.changed = true;
    now.derive();
    row = std::move(now);
    return true;
}

void ClientOutlineModel::refresh() {
    m_refreshTimer.stop();
    bool anyChanged = false;
    for (const auto& entry : m_rows)
        anyChanged |= readRow(*entry.second);
    follow();
    if (anyChanged) emitChangedRows();
}

void ClientOutlineModel::refreshSoon() {
    if (!m_refreshTimer.isActive()) m_refreshTimer.start();
}

/// One signal for each run of rows.
void ClientOutlineModel::emitChangedRows() {
    for (const auto& section : m_sections) {
        const Rows& rows = section->rows;
        for (size_t begin = 0; begin < rows.size(); ++begin) {
            if (!rows[begin]->changed) continue;
            size_t last = begin;
            while (last + 1 < rows.size() && rows[last + 1]->changed)
                ++last;
            Q_EMIT dataChanged(createIndex(int(begin), 0, section->id),
                               createIndex(int(last), 0, section->id));
            begin = last;
        }
    }
    for (const auto& entry : m_rows)
        entry.second->changed = false;
}

QString ClientOutlineModel::sectionToolTip(const Section& section) const {
    if (!section.group) return tr("Work on every computer of the list, also on those found later");
    QStringList lines{section.name};
    lines << (section.count == 0 ? tr("Empty: drag computers here") : computerCount(section.count));
    if (section.absentCount > 0) lines << tr("%1 more not found at present").arg(section.absentCount);
    return literalText(lines.join(QLatin1Char('\n')));
}

QVariant ClientOutlineModel::sectionData(const Section& section, int role) const {
    switch (role) {
        case Qt::DisplayRole:
        case Qt::EditRole:
            return section.name;
        case Qt::AccessibleTextRole:
            return QStringLiteral("%1, %2").arg(section.name, computerCount(section.count));
        case IsGroupRole:
            return true;
        case GroupRole:
            return QVariant::fromValue(section.group);
        case CountRole:
            return int(section.count);
        case Qt::ToolTipRole:
            return sectionToolTip(section);
        default:
            return {};
    }
}

/// What the row's badges stand for.
QStringList ClientOutlineModel::badgeTexts(const Row& row) {
    QStringList texts;
    if (row.maintenance) texts << tr("Asks for maintenance");
    if (row.errors == 1) texts << tr("1 error in the error log");
    if (row.errors > 1) texts << tr("%1 errors in the error log").arg(row.errors);
    if (row.updates == 1) texts << tr("1 software update available");
    if (row.updates > 1) texts << tr("%1 software updates available").arg(row.updates);
    return texts;
}

QString ClientOutlineModel::toolTip(const Row& row) {
    QStringList lines{row.name};
    if (!row.hostName.isEmpty() && row.hostName != row.name) lines << row.hostName;
    if (!row.address.isEmpty()) lines << tr("%1, port %2").arg(row.address).arg(row.service->port());
    if (!row.model.isEmpty()) lines << row.model;
    if (row.state.kind != ClientState::Connected) lines << row.state.text;
    if (row.service->isManual()) lines << tr("Added by hand");
    lines << badgeTexts(row);
    return lines.join(QLatin1Char('\n'));
}

QVariant ClientOutlineModel::data(const QModelIndex& index, int role) const {
    const Row* found = rowAt(index);
    if (!found) {
        const Section* section = sectionAt(index);
        return section ? sectionData(*section, role) : QVariant();
    }
    const Row& row = *found;
    switch (role) {
        case Qt::DisplayRole:
            return row.name;
        case Qt::ToolTipRole:
            return literalText(toolTip(row));
        case Qt::AccessibleTextRole:
            return (QStringList{row.name, row.state.text} + badgeTexts(row)).join(QStringLiteral(", "));
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
        default:
            return {};
    }
}

bool ClientOutlineModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    const VLServiceGroupPtr group = groupAt(index);
    const QString name = value.toString().trimmed();
    if (!group || role != Qt::EditRole || !m_services.groupNameProblem(name, group).isEmpty()) return false;
    m_services.renameGroup(group, name);
    return true;
}

// ---- Structure

ClientOutlineModel::Section* ClientOutlineModel::sectionAt(const QModelIndex& index) const {
    const bool isTop = index.isValid() && index.internalId() == topId;
    return isTop && size_t(index.row()) < m_sections.size() ? m_sections[size_t(index.row())].get() : nullptr;
}

const ClientOutlineModel::Row* ClientOutlineModel::rowAt(const QModelIndex& index) const {
    const Section* section = index.isValid() ? m_sectionOfId.value(index.internalId()) : nullptr;
    if (!section || size_t(index.row()) >= section->rows.size()) return nullptr;
    return section->rows[size_t(index.row())];
}

QModelIndex ClientOutlineModel::indexOf(const Section& section) const {
    return createIndex(section.position, 0, topId);
}

QModelIndex ClientOutlineModel::indexOf(const VLServicePtr& service) const {
    const auto found = m_rows.find(service.get());
    if (found == m_rows.end() || found->second->placeInAll == Row::nowhere) return {};
    return createIndex(found->second->placeInAll, 0, m_sections.front()->id);
}

QModelIndex ClientOutlineModel::indexInGroup(const VLServicePtr& service) const {
    const auto found = m_rows.find(service.get());
    if (found == m_rows.end() || !found->second->group) return {};
    return createIndex(found->second->placeInGroup, 0, found->second->group->id);
}

QModelIndex ClientOutlineModel::indexOf(const VLServiceGroupPtr& group) const {
    for (const auto& section : m_sections)
        if (section->group == group) return indexOf(*section);
    return {};
}

VLServicePtr ClientOutlineModel::serviceAt(const QModelIndex& index) const {
    const Row* row = rowAt(index);
    return row ? row->service : nullptr;
}

VLServiceGroupPtr ClientOutlineModel::groupAt(const QModelIndex& index) const {
    const Section* section = sectionAt(index);
    return section ? section->group : nullptr;
}

QModelIndex ClientOutlineModel::index(int row, int column, const QModelIndex& parent) const {
    if (!hasIndex(row, column, parent)) return {};
    const Section* section = sectionAt(parent);
    return createIndex(row, column, section ? section->id : topId);
}

QModelIndex ClientOutlineModel::parent(const QModelIndex& child) const {
    const Section* section = child.isValid() ? m_sectionOfId.value(child.internalId()) : nullptr;
    return section ? indexOf(*section) : QModelIndex();
}

int ClientOutlineModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid()) return int(m_sections.size());
    const Section* section = parent.column() == 0 ? sectionAt(parent) : nullptr;
    return section ? int(section->rows.size()) : 0;
}

int ClientOutlineModel::columnCount(const QModelIndex&) const {
    return 1;
}

Qt::ItemFlags ClientOutlineModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) return Qt::NoItemFlags;
    constexpr Qt::ItemFlags usable = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (rowAt(index)) return usable | Qt::ItemIsDragEnabled | Qt::ItemNeverHasChildren;
    return groupAt(index) ? usable | Qt::ItemIsDropEnabled | Qt::ItemIsEditable
                          : usable | Qt::ItemIsDropEnabled;
}

// ---- Drag and drop

QStringList ClientOutlineModel::mimeTypes() const {
    return {QLatin1String(ServicePasteboard::type)};
}

QMimeData* ClientOutlineModel::mimeData(const QModelIndexList& indexes) const {
    QList<VLServicePtr> services;
    QSet<const VLService*> taken;
    for (const QModelIndex& index : indexes) {
        const VLServicePtr service = serviceAt(index);
        if (!service || taken.contains(service.get())) continue;
        taken.insert(service.get());
        services << service;
    }
    if (services.isEmpty()) return nullptr;
    auto* data = new QMimeData;  // the drag owns it
    data->setData(QLatin1String(ServicePasteboard::type), ServicePasteboard::encode(services));
    return data;
}

/// Anywhere in a group means the group. Only the very title of "All Computers" takes machines out of theirs:
/// a machine that slips a little in the long list below it must not.
QModelIndex ClientOutlineModel::dropTarget(const QModelIndex& index) const {
    if (sectionAt(index)) return index;
    const QModelIndex group = parent(index);
    return groupAt(group) ? group : QModelIndex();
}

bool ClientOutlineModel::canDropMimeData(const QMimeData* data, Qt::DropAction, int row, int,
                                         const QModelIndex& parent) const {
    const bool isTarget = dropTarget(parent).isValid() && (row < 0 || groupAt(dropTarget(parent)));
    return data && data->hasFormat(QLatin1String(ServicePasteboard::type)) && isTarget;
}

bool ClientOutlineModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                                      const QModelIndex& parent) {
    if (!canDropMimeData(data, action, row, column, parent)) return false;
    const VLServiceGroupPtr group = groupAt(dropTarget(parent));
    const auto isKnown = [this](const QString& hostName) {
        return m_services.serviceWithHostName(hostName) != nullptr;
    };
    QList<VLServicePtr> services;
    for (const VLServicePtr& record :
         ServicePasteboard::decode(data->data(QLatin1String(ServicePasteboard::type)), isKnown)) {
        const VLServicePtr service = m_services.serviceWithHostName(record->hostName());
        if (service && service->hostName() == record->hostName()) services << service;
    }
    m_services.moveToGroup(services, group);
    return !services.isEmpty();
}
