// Keeps the rows of the outline in step with the list, its groups, the filter and the sorting.
#include "clients/view/ClientOutlineRows.h"

#include <QSet>

#include <algorithm>
#include <ranges>

namespace {

/// More separate runs of rows than these are brought together first, so that one signal covers them.
constexpr int mostRuns = 8;
/// In a longer list, clients that come or go are gathered: each costs a look at the whole list.
constexpr int longList = 256;

/// What needs looking after comes first.
int rankOf(ClientState::Kind kind) {
    switch (kind) {
        case ClientState::Attention:
            return 0;
        case ClientState::NotConnected:
            return 1;
        case ClientState::Disabled:
            return 2;
        case ClientState::Connecting:
            return 3;
        case ClientState::Working:
            return 4;
        case ClientState::Connected:
            return 5;
    }
    return 6;
}

}  // namespace

void ClientOutlineModel::followSoon() {
    if (machineCount() <= longList)
        follow();
    else if (!m_refreshTimer.isActive())
        m_refreshTimer.start();
}

/// Which rows there are and their order, not what they show. Rows that stay are never touched, so their
/// selection stays too.
void ClientOutlineModel::follow() {
    Rows all = rowsOfList();
    syncSections();
    // A machine leaves its old group before it joins another one.
    for (const auto& section : m_sections)
        removeRows(*section);
    sortRows(all);
    QHash<const VLServiceGroup*, Rows> members;
    for (Row* row : all)
        if (const VLServiceGroup* group = row->service->parent()) members[group].push_back(row);
    for (const auto& section : m_sections)
        arrange(*section, section->group ? members.value(section->group.get()) : all);
    forgetRows();
    updateSectionCounts();
}

/// Those of the list that the filter lets through, by name; new ones are made.
ClientOutlineModel::Rows ClientOutlineModel::rowsOfList() {
    ++m_generation;
    m_spinningCount = 0;
    Rows rows;
    const QList<VLServicePtr> services = m_services.serviceArray();
    rows.reserve(size_t(services.size()));
    for (const VLServicePtr& service : services) {
        std::unique_ptr<Row>& row = m_rows[service.get()];
        if (!row) {
            row = std::make_unique<Row>(makeRow(service));
            row->derive();
        }
        row->generation = m_generation;
        row->matches = m_filterText.isEmpty() || row->searchText.contains(m_filterText, Qt::CaseInsensitive);
        if (row->spinning) ++m_spinningCount;
        if (row->matches) rows.push_back(row.get());
    }
    return rows;
}

/// They come by name; machines that are equal in what decides stay in that order.
void ClientOutlineModel::sortRows(Rows& rows) const {
    const bool descending = m_sortOrder == Qt::DescendingOrder;
    const auto sortBy = [&](auto key) {
        if (descending)
            std::ranges::stable_sort(rows, std::ranges::greater(), key);
        else
            std::ranges::stable_sort(rows, std::ranges::less(), key);
    };
    switch (m_sortColumn) {
        case ByName:
            if (descending) std::ranges::reverse(rows);
            break;
        case ByState:
            sortBy([](const Row* row) { return rankOf(row->state.kind); });
            break;
        case ByAddress:
            sortBy([](const Row* row) {
                return std::tuple(row->addressNumber == 0, row->address.isEmpty(), row->addressNumber,
                                  QStringView(row->address));
            });
            break;
    }
}

/// Groups are only ever added at the end and removed.
void ClientOutlineModel::syncSections() {
    const QList<VLServiceGroupPtr> groups = m_services.groups();
    for (size_t i = m_sections.size(); i-- > 1;) {
        if (groups.contains(m_sections[i]->group)) continue;
        const int position = int(i);
        beginRemoveRows({}, position, position);
        const std::unique_ptr<Section> gone = std::move(m_sections[i]);
        m_sections.erase(m_sections.begin() + position);
        m_sectionOfId.remove(gone->id);
        for (Row* row : gone->rows)
            row->group = nullptr;
        for (size_t later = i; later < m_sections.size(); ++later)
            m_sections[later]->position = int(later);
        endRemoveRows();
    }
    const qsizetype known = qsizetype(m_sections.size()) - 1;
    if (groups.size() == known) return;
    beginInsertRows({}, int(known) + 1, int(groups.size()));
    for (const VLServiceGroupPtr& group : groups.mid(known)) {
        auto section = std::make_unique<Section>();
        section->group = group;
        section->name = group->name();
        section->id = ++m_lastId;
        section->position = int(m_sections.size());
        m_sectionOfId.insert(section->id, section.get());
        m_sections.push_back(std::move(section));
    }
    endInsertRows();
}

bool ClientOutlineModel::belongs(const Row& row, const Section& section) const {
    return row.generation == m_generation && row.matches &&
           (!section.group || row.service->parent() == section.group.get());
}

void ClientOutlineModel::removeRows(Section& section) {
    const auto isGone = [&](const Row* row) { return !belongs(*row, section); };
    const auto runs = [&] {
        int count = 0;
        for (size_t i = 0; i < section.rows.size(); ++i)
            count += isGone(section.rows[i]) && (i == 0 || !isGone(section.rows[i - 1]));
        return count;
    }();
    if (runs > mostRuns) {
        Rows order = section.rows;
        std::ranges::stable_partition(order, std::not_fn(isGone));
        reorder(section, std::move(order));
    }
    for (size_t end = section.rows.size(); end > 0;) {
        if (!isGone(section.rows[end - 1])) {
            --end;
            continue;
        }
        size_t begin = end;
        while (begin > 0 && isGone(section.rows[begin - 1]))
            --begin;
        removeRun(section, begin, end);
        end = begin;
    }
}

/// Brings the rows that remain into the wanted order, and those that are missing between them.
void ClientOutlineModel::arrange(Section& section, const Rows& wanted) {
    if (section.rows == wanted) return;
    for (size_t i = 0; i < wanted.size(); ++i)
        wanted[i]->wantedPlace = int(i);
    const bool inOrder = std::ranges::is_sorted(section.rows, {}, &Row::wantedPlace);

    std::vector<bool> present(wanted.size());
    for (const Row* row : section.rows)
        present[size_t(row->wantedPlace)] = true;
    int runs = 0;
    for (size_t i = 0; i < wanted.size(); ++i)
        runs += !present[i] && (i == 0 || present[i - 1]);

    if (inOrder && runs <= mostRuns) {
        for (size_t i = 0; i < wanted.size();) {
            if (present[i]) {
                ++i;
                continue;
            }
            size_t end = i;
            while (end < wanted.size() && !present[end])
                ++end;
            insertRun(section, i, wanted.begin() + qsizetype(i), wanted.begin() + qsizetype(end));
            i = end;
        }
        return;
    }
    Rows missing;
    for (size_t i = 0; i < wanted.size(); ++i)
        if (!present[i]) missing.push_back(wanted[i]);
    if (!missing.empty()) insertRun(section, section.rows.size(), missing.cbegin(), missing.cend());
    reorder(section, wanted);
}

void ClientOutlineModel::insertRun(Section& section, size_t place, Rows::const_iterator begin,
                                   Rows::const_iterator end) {
    beginInsertRows(indexOf(section), int(place), int(place) + int(end - begin) - 1);
    section.rows.insert(section.rows.begin() + qsizetype(place), begin, end);
    renumber(section);
    endInsertRows();
}

void ClientOutlineModel::removeRun(Section& section, size_t begin, size_t end) {
    beginRemoveRows(indexOf(section), int(begin), int(end) - 1);
    for (size_t i = begin; i < end; ++i) {
        Row& row = *section.rows[i];
        if (!section.group)
            row.placeInAll = Row::nowhere;
        else if (row.group == &section)
            row.group = nullptr;
    }
    section.rows.erase(section.rows.begin() + qsizetype(begin), section.rows.begin() + qsizetype(end));
    renumber(section);
    endRemoveRows();
}

void ClientOutlineModel::reorder(Section& section, Rows order) {
    if (section.rows == order) return;
    const QList<QPersistentModelIndex> parents{QPersistentModelIndex(indexOf(section))};
    Q_EMIT layoutAboutToBeChanged(parents, VerticalSortHint);
    const Rows former = std::exchange(section.rows, std::move(order));
    renumber(section);
    QModelIndexList from, to;
    const QModelIndexList persistent = persistentIndexList();
    for (const QModelIndex& index : persistent) {
        if (index.internalId() != section.id) continue;
        const Row& row = *former[size_t(index.row())];
        from << index;
        to << createIndex(section.group ? row.placeInGroup : row.placeInAll, index.column(), section.id);
    }
    changePersistentIndexList(from, to);
    Q_EMIT layoutChanged(parents, VerticalSortHint);
}

void ClientOutlineModel::renumber(Section& section) {
    for (size_t i = 0; i < section.rows.size(); ++i) {
        Row& row = *section.rows[i];
        if (!section.group) {
            row.placeInAll = int(i);
            continue;
        }
        row.placeInGroup = int(i);
        row.group = &section;
    }
}

void ClientOutlineModel::updateSectionCounts() {
    for (const auto& section : m_sections) {
        const VLServiceGroup* group = section->group.get();
        const QString name = group ? group->name() : ServiceList::allComputersTitle();
        const qsizetype count = group ? group->children().size() : machineCount();
        const qsizetype absentCount = group ? group->absent().size() : 0;
        if (name == section->name && count == section->count && absentCount == section->absentCount) continue;
        section->name = name;
        section->count = count;
        section->absentCount = absentCount;
        const QModelIndex changed = indexOf(*section);
        Q_EMIT dataChanged(changed, changed);
    }
}

/// Those of machines that have left; no section shows them any more.
void ClientOutlineModel::forgetRows() {
    std::erase_if(m_rows, [this](const auto& entry) { return entry.second->generation != m_generation; });
}
