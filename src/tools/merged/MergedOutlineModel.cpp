#include "tools/merged/MergedOutlineModel.h"

#include "widgets/PlainText.h"

#include <algorithm>

namespace {

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

MergedOutlineModel::MergedOutlineModel(std::vector<Heading> headings, const char* absentText,
                                       FriendlyName friendlyName)
    : m_headings([&] {
          headings.push_back({QT_TR_NOOP("Computers")});
          headings.push_back({QT_TR_NOOP("Status")});
          return std::move(headings);
      }()),
      m_absentText(absentText),
      m_friendlyName(std::move(friendlyName)) {}

void MergedOutlineModel::replaceRows(const std::function<int()>& replace) {
    beginResetModel();
    const int total = replace();
    m_differing = m_duplicated = m_duplicatedDiffering = 0;
    std::vector<SortKey> keys;
    keys.reserve(size_t(total));
    for (int row = 0; row < total; ++row) {
        keys.push_back(sortKey(row, 0));
        if (differs(row)) ++m_differing;
        if (!isDuplicated(row)) continue;
        ++m_duplicated;
        if (differs(row)) ++m_duplicatedDiffering;
    }
    m_ranks = ranksOf(keys);
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
    const MergedRow& shown = row(m_shown[size_t(parent.row())]);
    return int(shown.copies().size() + shown.absent().size());
}

int MergedOutlineModel::columnCount(const QModelIndex&) const {
    return int(m_headings.size());
}

bool MergedOutlineModel::hasChildren(const QModelIndex& parent) const {
    return rowCount(parent) > 0;
}

MergedOutlineModel::Place MergedOutlineModel::place(const QModelIndex& index) const {
    if (!index.isValid()) return {};
    if (index.internalId() == rowId) return {m_shown[size_t(index.row())], -1, false};
    const int row = rowOf(index.internalId());
    return {row, index.row(), index.row() >= this->row(row).copies().size()};
}

QModelIndex MergedOutlineModel::indexOf(int row) const {
    const int position = row < 0 || row >= int(m_position.size()) ? -1 : m_position[size_t(row)];
    return position < 0 ? QModelIndex() : createIndex(position, 0, rowId);
}

const ClientCopy* MergedOutlineModel::copy(const Place& place) const {
    if (place.row < 0 || place.child < 0) return nullptr;
    const QList<ClientCopy>& copies = row(place.row).copies();
    return place.child < copies.size() ? &copies.at(place.child) : nullptr;
}

const QString& MergedOutlineModel::hostName(const Place& place) const {
    const ClientCopy* const present = copy(place);
    const MergedRow& row = this->row(place.row);
    return present ? present->hostName : row.absent().at(place.child - row.copies().size()).hostName;
}

RowTarget MergedOutlineModel::target(const Place& place) const {
    if (place.child < 0) return {rowKey(place.row)};
    const ClientCopy* const present = copy(place);
    if (!present || present->hostName.isEmpty()) return {};  // without a host the whole row would be meant
    return {rowKey(place.row), present->hostName, present->text(copyKey())};
}

bool MergedOutlineModel::isOneOfSeveral(const Place& place) const {
    const QString& host = hostName(place);
    const auto isOfHost = [&](int child) {
        const ClientCopy* const other = copy({place.row, child, false});
        return !place.isMissing && other && other->hostName == host;
    };
    return isOfHost(place.child - 1) || isOfHost(place.child + 1);
}

/// The host's name, which stays when its copy is moved about; of several copies also which one it is.
QString MergedOutlineModel::clientKey(const Place& place) const {
    const QString& host = hostName(place);
    return isOneOfSeveral(place) ? host + u'\n' + copy(place)->text(copyKey()) : host;
}

// ---- Contents

QVariant MergedOutlineModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section < 0 || section >= columnCount()) return {};
    if (role == Qt::DisplayRole) return tr(m_headings[size_t(section)].title);
    if (role == Qt::TextAlignmentRole) return int(Qt::AlignLeft | Qt::AlignVCenter);
    return {};
}

QVariant MergedOutlineModel::data(const QModelIndex& index, int role) const {
    const Place at = place(index);
    if (at.row < 0) return {};
    const int column = index.column();
    const bool isStatus = column == columnCount() - 1;
    if (at.child < 0) {
        if (role == KeyRole) return rowKey(at.row);
        if (isStatus) return statusData(at.row, role);
        return column == columnCount() - 2 ? countData(at.row, role) : rowData(at.row, column, role);
    }
    if (role == KeyRole) return clientKey(at);
    if (column == 0) return clientName(at, role);
    if (at.isMissing) return absentData(at, column, role);
    const ClientCopy& present = *copy(at);
    return isStatus ? placeData(present.text(copyKey()), role) : copyData(present, column, role);
}

QVariant MergedOutlineModel::clientName(const Place& place, int role) const {
    switch (role) {
        case Qt::DisplayRole:
            return friendlyHost(hostName(place));
        case Qt::ToolTipRole:
            return literalText(hostName(place));
        case Cell::SymbolRole:
            return QStringLiteral("computer");
        case Cell::ToneRole:
            if (isOncePerClient() && isOneOfSeveral(place)) return int(Cell::Tone::Warning);
            return int(place.isMissing ? Cell::Tone::Secondary : Cell::Tone::Plain);
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

QString MergedOutlineModel::friendlyHost(const QString& hostName) const {
    return m_friendlyName ? m_friendlyName(hostName) : hostName;
}

/// "2 of 3": how many of the clients that answered have it.
QVariant MergedOutlineModel::countData(int row, int role) const {
    const MergedRow& merged = this->row(row);
    if (role == Qt::DisplayRole) {
        const int present = merged.computersWith();
        return tr("%1 of %2").arg(present).arg(present + merged.computersWithout());
    }
    if (role == Cell::ToneRole && merged.computersWithout() == 0) return int(Cell::Tone::Secondary);
    return {};
}

/// "Missing on Edit Bay" or "Missing on 2: Edit Bay, Sound"; of many the first ones.
QString MergedOutlineModel::onComputers(const QString& onOne, const QString& onSeveral, QStringList names,
                                        qsizetype count) {
    std::sort(names.begin(), names.end());
    if (count == 1) return onOne.arg(names.first());
    if (count > mostNames) names << QStringLiteral("…");
    return onSeveral.arg(QString::number(count), names.join(QStringLiteral(", ")));
}

QString MergedOutlineModel::statusText(int row) const {
    const MergedRow& merged = this->row(row);
    const int count = merged.computersWithout();
    if (count == 0) return differenceText(row);
    QStringList names;
    for (const AskedClient& client : merged.absent())
        if (client.hasAnswered && names.size() < mostNames) names << friendlyHost(client.hostName);
    return onComputers(tr("Missing on %1"), tr("Missing on %1: %2"), names, count);
}

QString MergedOutlineModel::duplicateText(int row) const {
    QStringList names;
    qsizetype count = 0;
    const auto computers = this->row(row).copiesByComputer();
    for (const auto& copies : computers) {
        if (copies.size() < 2) continue;
        if (++count <= mostNames) names << friendlyHost(copies.front().hostName);
    }
    return onComputers(tr("Duplicated on %1"), tr("Duplicated on %1: %2"), names, count);
}

QStringList MergedOutlineModel::listOfClients(int row, const QString& title,
                                              const std::function<QString(const ClientCopy&)>& value) const {
    QStringList lines{title};
    for (const ClientCopy& copy : this->row(row).copies()) {
        if (lines.size() > mostNames) {
            lines << QStringLiteral("    …");
            break;
        }
        lines << QStringLiteral("    %1: %2").arg(friendlyHost(copy.hostName), value(copy));
    }
    return lines;
}

QString MergedOutlineModel::statusToolTip(int row) const {
    QStringList lines = differences(row);
    if (this->row(row).computersWithout() > 0) lines.prepend(statusText(row));
    if (lines.isEmpty() && differs(row)) lines << differenceText(row);
    if (isDuplicated(row)) lines << duplicateText(row);
    const int count = this->row(row).computersWith();
    if (lines.isEmpty())
        lines << (count == 1 ? tr("The same on 1 computer") : tr("The same on %1 computers").arg(count));
    return literalText(lines.join(u'\n'));
}

QVariant MergedOutlineModel::statusData(int row, int role) const {
    const bool alike = !differs(row) && !isDuplicated(row);
    switch (role) {
        case Qt::DisplayRole: {
            if (alike) return tr("No differences");
            QStringList parts;
            if (differs(row)) parts << statusText(row);
            if (isDuplicated(row)) parts << duplicateText(row);
            return parts.join(QStringLiteral(" · "));
        }
        case Qt::ToolTipRole:
            return statusToolTip(row);
        case Cell::ToneRole:
            return int(alike ? Cell::Tone::Secondary : Cell::Tone::Plain);
        case Cell::SymbolToneRole:
            return int(alike ? Cell::Tone::Good : Cell::Tone::Warning);
        case Cell::ElideMiddleRole:
            return true;
        case Cell::SymbolRole:
            if (this->row(row).computersWithout() > 0) return QStringLiteral("missing");
            return alike ? QStringLiteral("check") : QStringLiteral("warning");
        default:
            return {};
    }
}

/// The status cell of a client's own row: where what it has lies.
QVariant MergedOutlineModel::placeData(const QString& place, int role) const {
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

/// The cells of a client without it: why in the status column, a dash in those with values.
QVariant MergedOutlineModel::absentData(const Place& place, int column, int role) const {
    using enum Cell::Tone;
    const MergedRow& row = this->row(place.row);
    const bool isKnown = row.absent().at(place.child - row.copies().size()).hasAnswered;
    const bool isStatus = column == columnCount() - 1;
    switch (role) {
        case Qt::DisplayRole:
            if (isStatus) return isKnown ? tr(m_absentText) : tr("No answer");
            return m_headings[size_t(column)].hasValue ? QVariant(CellMark::nothing) : QVariant();
        case Cell::ToneRole:
            return int(!isStatus ? Faint : isKnown ? Warning : Secondary);
        case Cell::SymbolRole:
            if (!isStatus) return {};
            return isKnown ? QStringLiteral("missing") : QStringLiteral("disconnect");
        case Cell::SymbolToneRole:
            return int(isKnown ? Warning : Secondary);
        default:
            return {};
    }
}

// ---- Sorting and filtering

int MergedOutlineModel::differingHidden() const {
    int hidden = 0;
    for (std::size_t row = 0; row < m_position.size(); ++row)
        if (m_position[row] < 0 && differs(int(row))) ++hidden;
    return hidden;
}

bool MergedOutlineModel::isShown(int row) const {
    if (m_differencesOnly && !differs(row) && !isDuplicated(row)) return false;
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
    std::vector<SortKey> keys;
    if (m_sortColumn != 0) {
        keys.resize(m_ranks.size());
        for (const int row : m_shown)
            keys[size_t(row)] = sortKey(row, m_sortColumn);
    }
    sortPlaces(m_shown, keys, m_ranks, m_sortOrder);
    m_position.assign(m_ranks.size(), -1);
    for (size_t place = 0; place < m_shown.size(); ++place)
        m_position[size_t(m_shown[place])] = int(place);
}

// ---- Marks

CellMark CellMark::checkBox(int state, const QString& on, const QString& off) {
    using enum Cell::Tone;
    if (state < 0) return {MergedOutlineModel::tr("Mixed"), {}, Warning, Warning, int(Qt::PartiallyChecked)};
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

QVariant CellMark::valueOf(const QString& text, bool differs, int role) {
    if (role == Qt::DisplayRole) return text.isEmpty() ? nothing : text;
    if (role == Cell::ToneRole && differs) return int(Cell::Tone::Warning);
    if (role == Cell::ToneRole && text.isEmpty()) return int(Cell::Tone::Faint);
    return {};
}
