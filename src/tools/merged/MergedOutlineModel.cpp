#include "tools/merged/MergedOutlineModel.h"

#include "tools/ClientCopies.h"
#include "widgets/PlainText.h"

#include <algorithm>

namespace {

using ClientCopies::hostNameOf;

// Internal ids: of the merged rows this one, of the rows below them one made of their row's number. Those are
// spread over all numbers because Qt hashes an index by adding its row and its id: with small ones in a row,
// expanding all of a long outline would take minutes.
constexpr quintptr rowId = 0;
constexpr quintptr spread = quintptr(0x9E3779B97F4A7C15);

/// The number that undoes a multiplication by an odd one: every step doubles the bits that are right.
constexpr quintptr inverse(quintptr odd) {
    quintptr result = odd;
    for (int step = 0; step < 6; ++step)
        result *= 2 - odd * result;
    return result;
}
constexpr quintptr gather = inverse(spread);
static_assert(spread * gather == 1);

constexpr quintptr clientId(int row) {
    return (quintptr(row) + 1) * spread;
}

constexpr int rowOf(quintptr clientId) {
    return int(clientId * gather - 1);
}

constexpr qsizetype mostNames = 20;  // of clients, in one text

}  // namespace

MergedOutlineModel::MergedOutlineModel(std::vector<Column> columns,
                                       std::function<QString(const QString&)> friendlyName, QObject* parent)
    : QAbstractItemModel(parent), m_columns(std::move(columns)), m_friendlyName(std::move(friendlyName)) {}

QStringList MergedOutlineModel::columnNames() const {
    QStringList names;
    for (const Column& column : m_columns)
        names.append(QLatin1String(column.name));
    return names;
}

void MergedOutlineModel::replaceRows(const std::function<void()>& replace) {
    beginResetModel();
    replace();
    m_firstKeys.clear();
    m_differing = 0;
    for (int row = 0; row < rowTotal(); ++row) {
        m_firstKeys.push_back(sortKey(row, 0));
        if (differs(row)) ++m_differing;
    }
    arrange();
    endResetModel();
}

// ---- Structure

QModelIndex MergedOutlineModel::index(int row, int column, const QModelIndex& parent) const {
    if (!hasIndex(row, column, parent)) return {};
    return createIndex(row, column, parent.isValid() ? clientId(m_shown[size_t(parent.row())]) : rowId);
}

QModelIndex MergedOutlineModel::parent(const QModelIndex& child) const {
    if (!child.isValid() || child.internalId() == rowId) return {};
    return createIndex(m_position[size_t(rowOf(child.internalId()))], 0, rowId);
}

int MergedOutlineModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid()) return int(m_shown.size());
    if (parent.internalId() != rowId || parent.column() != 0) return 0;
    return clientCount(m_shown[size_t(parent.row())]);
}

int MergedOutlineModel::columnCount(const QModelIndex&) const {
    return int(m_columns.size());
}

bool MergedOutlineModel::hasChildren(const QModelIndex& parent) const {
    return rowCount(parent) > 0;
}

int MergedOutlineModel::clientCount(int row) const {
    return int(presentOn(row).size() + missingOn(row).size());
}

MergedOutlineModel::Place MergedOutlineModel::place(const QModelIndex& index) const {
    if (!index.isValid()) return {};
    if (index.internalId() == rowId) return {m_shown[size_t(index.row())], -1, false};
    const int row = rowOf(index.internalId());
    return {row, index.row(), index.row() >= presentOn(row).size()};
}

QModelIndex MergedOutlineModel::indexOf(int row) const {
    const int position = row < 0 || row >= int(m_position.size()) ? -1 : m_position[size_t(row)];
    return position < 0 ? QModelIndex() : createIndex(position, 0, rowId);
}

/// The host's name, which stays when its copy is moved about; of several copies also which one it is.
QString MergedOutlineModel::clientKey(const Place& place, const QVariantMap& client) const {
    const QString host = hostNameOf(client);
    const auto isOfHost = [&](int child) {
        return !place.isMissing && hostNameOf(presentOn(place.row).value(child).toMap()) == host;
    };
    const bool isOnly = !isOfHost(place.child - 1) && !isOfHost(place.child + 1);
    return isOnly ? host : host + u'\n' + copyKey(client);
}

QVariantMap MergedOutlineModel::client(const Place& place) const {
    const qsizetype present = presentOn(place.row).size();
    return place.isMissing ? missingOn(place.row).value(place.child - present).toMap()
                           : presentOn(place.row).value(place.child).toMap();
}

// ---- Contents

QVariant MergedOutlineModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section < 0 || section >= columnCount()) return {};
    if (role == Qt::DisplayRole) return QLatin1String(m_columns[size_t(section)].title);
    if (role == Qt::TextAlignmentRole) return int(Qt::AlignLeft | Qt::AlignVCenter);
    return {};
}

QVariant MergedOutlineModel::data(const QModelIndex& index, int role) const {
    const Place at = place(index);
    if (at.row < 0) return {};
    if (at.child < 0)
        return role == KeyRole ? QVariant(rowKey(at.row)) : rowData(at.row, index.column(), role);
    const QVariantMap shown = client(at);
    if (role == KeyRole) return clientKey(at, shown);
    if (index.column() == 0) return clientName(shown, at.isMissing, role);
    return clientData(shown, at.isMissing, index.column(), role);
}

QVariant MergedOutlineModel::clientName(const QVariantMap& client, bool isMissing, int role) const {
    switch (role) {
        case Qt::DisplayRole:
            return friendlyHost(client);
        case Qt::ToolTipRole:
            return literalText(hostNameOf(client));
        case Cell::SymbolRole:
            return QStringLiteral("computer");
        case Cell::ToneRole:
            return int(isMissing ? Cell::Tone::Secondary : Cell::Tone::Plain);
        default:
            return {};
    }
}

Qt::ItemFlags MergedOutlineModel::flags(const QModelIndex& index) const {
    const Qt::ItemFlags flags = QAbstractItemModel::flags(index);
    const Place at = place(index);
    return at.row >= 0 && !at.isMissing && isCheckable(index.column()) ? flags | Qt::ItemIsUserCheckable
                                                                       : flags;
}

bool MergedOutlineModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (role != Qt::CheckStateRole || !(flags(index) & Qt::ItemIsUserCheckable)) return false;
    Q_EMIT checked(place(index), index.column(), value.toInt() != Qt::Unchecked);
    return true;
}

QString MergedOutlineModel::friendlyHost(const QVariantMap& client) const {
    const QString host = hostNameOf(client);
    return m_friendlyName ? m_friendlyName(host) : host;
}

int MergedOutlineModel::computersWith(int row) const {
    int count = 0;
    QString last;
    for (const QVariant& entry : presentOn(row)) {
        const QString host = hostNameOf(entry.toMap());
        if (count == 0 || host != last) ++count;
        last = host;
    }
    return count;
}

QVariant MergedOutlineModel::countData(int row, int role) const {
    if (role == Qt::DisplayRole) {
        const int present = computersWith(row);
        return QStringLiteral("%1 of %2").arg(present).arg(present + missingOn(row).size());
    }
    if (role == Cell::ToneRole && missingOn(row).isEmpty()) return int(Cell::Tone::Secondary);
    return {};
}

QString MergedOutlineModel::missingText(int row) const {
    const QVariantList& hosts = missingOn(row);
    QStringList names;
    for (const QVariant& host : hosts.mid(0, mostNames))
        names << friendlyHost(host.toMap());
    std::sort(names.begin(), names.end());
    if (names.size() == 1) return QStringLiteral("Missing on %1").arg(names.first());
    if (hosts.size() > mostNames) names << QStringLiteral("…");
    return QStringLiteral("Missing on %1: %2").arg(hosts.size()).arg(names.join(QStringLiteral(", ")));
}

QStringList MergedOutlineModel::listOfClients(int row, const QString& title,
                                              const std::function<QString(const QVariantMap&)>& value) const {
    QStringList lines{title};
    for (const QVariant& entry : presentOn(row)) {
        if (lines.size() > mostNames) {
            lines << QStringLiteral("    …");
            break;
        }
        const QVariantMap client = entry.toMap();
        lines << QStringLiteral("    %1: %2").arg(friendlyHost(client), value(client));
    }
    return lines;
}

QVariant MergedOutlineModel::statusData(int row, int role) const {
    const bool alike = !differs(row);
    switch (role) {
        case Qt::DisplayRole:
            return statusText(row);
        case Qt::ToolTipRole: {
            const int count = computersWith(row);
            QStringList lines = differences(row);
            if (lines.isEmpty())
                lines << QStringLiteral("The same on %1")
                             .arg(count == 1 ? QStringLiteral("1 computer")
                                             : QStringLiteral("%1 computers").arg(count));
            return literalText(lines.join(u'\n'));
        }
        case Cell::ToneRole:
            return int(alike ? Cell::Tone::Secondary : Cell::Tone::Plain);
        case Cell::SymbolToneRole:
            return int(alike ? Cell::Tone::Good : Cell::Tone::Warning);
        case Cell::SymbolRole:
            if (!missingOn(row).isEmpty()) return QStringLiteral("missing");
            return alike ? QStringLiteral("check") : QStringLiteral("warning");
        default:
            return {};
    }
}

QVariant MergedOutlineModel::placeData(const QString& place, int role) {
    switch (role) {
        case Qt::DisplayRole:
            return place;
        case Qt::ToolTipRole:
            return literalText(place);
        case Cell::ToneRole:
            return int(Cell::Tone::Secondary);
        case Cell::ElideMiddleRole:
            return true;
        default:
            return {};
    }
}

QVariant MergedOutlineModel::missingData(int column, int role, const QString& text) const {
    using enum Cell::Tone;
    const bool isStatus = column == columnCount() - 1;
    switch (role) {
        case Qt::DisplayRole:
            if (isStatus) return text;
            return m_columns[size_t(column)].hasValue ? QVariant(CellMark::nothing) : QVariant();
        case Cell::ToneRole:
            return int(isStatus ? Warning : Faint);
        case Cell::SymbolRole:
            return isStatus ? QVariant(QStringLiteral("missing")) : QVariant();
        case Cell::SymbolToneRole:
            return int(Warning);
        default:
            return {};
    }
}

// ---- Sorting and filtering

bool MergedOutlineModel::isShown(int row) const {
    if (m_differencesOnly && !differs(row)) return false;
    return m_filterText.isEmpty() || matches(row, m_filterText);
}

void MergedOutlineModel::setFilter(const QString& text, bool differencesOnly) {
    if (text.trimmed() == m_filterText && differencesOnly == m_differencesOnly) return;
    beginResetModel();
    m_filterText = text.trimmed();
    m_differencesOnly = differencesOnly;
    arrange();
    endResetModel();
}

void MergedOutlineModel::sort(int column, Qt::SortOrder order) {
    if (column < 0 || column >= columnCount()) return;
    Q_EMIT layoutAboutToBeChanged({}, VerticalSortHint);
    const QModelIndexList before = persistentIndexList();
    const std::vector<int> formerlyShown = m_shown;
    m_sortColumn = column;
    m_sortOrder = order;
    sortShown();
    QModelIndexList after;
    for (const QModelIndex& index : before) {
        const bool isRow = index.internalId() == rowId;
        after << (isRow ? createIndex(m_position[size_t(formerlyShown[size_t(index.row())])], index.column(),
                                      rowId)
                        : index);
    }
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged({}, VerticalSortHint);
}

void MergedOutlineModel::arrange() {
    m_shown.clear();
    for (int row = 0; row < rowTotal(); ++row)
        if (isShown(row)) m_shown.push_back(row);
    sortShown();
}

/// Every key is made once, not once per comparison.
void MergedOutlineModel::sortShown() {
    const bool descending = m_sortOrder == Qt::DescendingOrder;
    std::vector<SortKey> other;
    if (m_sortColumn != 0) {
        other.resize(m_firstKeys.size());
        for (const int row : m_shown)
            other[size_t(row)] = sortKey(row, m_sortColumn);
    }
    const std::vector<SortKey>& keys = m_sortColumn == 0 ? m_firstKeys : other;
    std::stable_sort(m_shown.begin(), m_shown.end(), [&](int left, int right) {
        const SortKey &a = keys[size_t(descending ? right : left)],
                      &b = keys[size_t(descending ? left : right)];
        if (a < b) return true;
        return !(b < a) && m_firstKeys[size_t(left)] < m_firstKeys[size_t(right)];
    });
    m_position.assign(m_firstKeys.size(), -1);
    for (size_t place = 0; place < m_shown.size(); ++place)
        m_position[size_t(m_shown[place])] = int(place);
}

// ---- Marks

CellMark CellMark::checkBox(int state, const QString& on, const QString& off) {
    using enum Cell::Tone;
    if (state < 0) return {QStringLiteral("Mixed"), {}, Warning, Warning, int(Qt::PartiallyChecked)};
    if (state == 0) return {off, {}, Secondary, Faint, int(Qt::Unchecked)};
    return {on, {}, Plain, Good, int(Qt::Checked)};
}

QVariant CellMark::data(int role) const {
    switch (role) {
        case Qt::DisplayRole:
            return text;
        case Qt::CheckStateRole:
            return check;
        case Cell::SymbolRole:
            return symbol.isEmpty() ? QVariant() : symbol;
        case Cell::ToneRole:
            return int(tone);
        case Cell::SymbolToneRole:
            return int(symbolTone);
        default:
            return {};
    }
}
