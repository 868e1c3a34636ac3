#include "runs/ActivityModel.h"

#include <QLocale>

#include <algorithm>
#include <utility>

namespace {

constexpr int pageSize = 100;
constexpr int mostWantedPages = 4;  // of a scroll bar that is dragged past all of them
constexpr int mostSummaries = 5'000;
constexpr std::chrono::milliseconds pauseBetweenReadings{500};
constexpr std::size_t mostMoved = 50'000'000;  // rows; what that takes is not felt yet

/// Rows in succession.
struct Stretch {
    std::size_t first = 0, count = 0;
};

/// What `other` lacks. Both are sorted, newest first.
std::vector<Stretch> stretchesOnlyIn(const ActivityKeys& keys, const ActivityKeys& other) {
    std::vector<Stretch> stretches;
    auto next = other.begin();
    for (std::size_t row = 0; row < keys.size(); ++row) {
        next =
            std::find_if(next, other.end(), [key = keys[row]](qint64 candidate) { return candidate <= key; });
        if (next != other.end() && *next == keys[row]) continue;
        if (stretches.empty() || stretches.back().first + stretches.back().count != row)
            stretches.push_back({row, 0});
        ++stretches.back().count;
    }
    return stretches;
}

QString textOf(const RunSummary& summary, int column,
               const std::function<QString(const QString&)>& toolTitle) {
    switch (column) {
        case ActivityModel::Time:
            return QLocale().toString(summary.run.started.toLocalTime(), QLocale::ShortFormat);
        case ActivityModel::Tool:
            return toolTitle(summary.run.tool);
        case ActivityModel::Action:
            return summary.run.action;
        case ActivityModel::Subject:
            return summary.run.subject;
        case ActivityModel::Summary:
            return summary.sentence();
        case ActivityModel::User:
            return summary.run.user;
        default:
            return {};
    }
}

}  // namespace

ActivityModel::ActivityModel(ActivityStore& store, std::function<QString(const QString&)> toolTitle,
                             QObject* parent)
    : QAbstractTableModel(parent),
      m_store(store),
      m_toolTitle(std::move(toolTitle)),
      m_summaries(mostSummaries) {
    m_wantTimer.setSingleShot(true);
    m_wantTimer.setInterval(0);
    connect(&m_wantTimer, &QTimer::timeout, this, &ActivityModel::readWanted);
    m_pause.setSingleShot(true);
    m_pause.setInterval(pauseBetweenReadings);
    connect(&m_pause, &QTimer::timeout, this, [this] {
        if (m_hasChanged) readSoon();
    });
    connect(&store, &ActivityStore::changed, this, &ActivityModel::readSoon);
}

ActivityModel::~ActivityModel() {
    setActive(false);
}

void ActivityModel::setActive(bool active) {
    if (std::exchange(m_isActive, active) == active) return;
    if (!active) return m_store.stopWatching();
    m_store.startWatching();
    readKeys();
}

void ActivityModel::setFilter(const ActivityFilter& filter) {
    if (m_filter == filter) return;
    m_filter = filter;
    m_hasOtherFilter = true;
    m_isLoading = true;
    readKeys();
}

/// A few times a second at most.
void ActivityModel::readSoon() {
    ++m_version;
    m_hasChanged = true;
    if (m_isActive && !m_pause.isActive()) readKeys();
}

void ActivityModel::readKeys() {
    m_hasChanged = false;
    if (m_isReadingKeys) {
        m_hasChanged = true;
        return;
    }
    m_isReadingKeys = true;
    const auto query = [filter = m_filter, version = m_version](ActivityDatabase& database) {
        Rows rows;
        rows.version = version;
        rows.keys = database.keys(filter);
        const auto page = std::min<std::ptrdiff_t>(pageSize, std::ssize(rows.keys));
        rows.first = database.summaries({rows.keys.begin(), rows.keys.begin() + page});
        return rows;
    };
    m_store.read(this, query, [this, filter = m_filter](ActivityAnswer<Rows> answer) {
        m_isReadingKeys = false;
        if (filter != m_filter) return readKeys();
        m_pause.start();
        install(std::move(answer), std::exchange(m_hasOtherFilter, false));
    });
}

void ActivityModel::install(ActivityAnswer<Rows> answer, bool isOtherFilter) {
    m_isLoading = false;
    m_error = answer.error;
    if (!m_error.isEmpty()) answer.value = {};
    keep(answer.value.first, answer.value.version);
    if (isOtherFilter) {
        beginResetModel();
        m_keys = std::move(answer.value.keys);
        endResetModel();
    } else {
        replaceKeys(std::move(answer.value.keys));
    }
    // Whoever shows them asks for what is out of date.
    if (!m_keys.empty()) Q_EMIT dataChanged(index(0, 0), index(int(m_keys.size()) - 1, ColumnCount - 1));
    Q_EMIT loaded();
}

/// What stays keeps its place in the view and in the selection: a run that took long comes in below later
/// ones, and readings go from between the changes.
void ActivityModel::replaceKeys(ActivityKeys keys) {
    if (keys == m_keys) return;
    const std::vector<Stretch> gone = stretchesOnlyIn(m_keys, keys), added = stretchesOnlyIn(keys, m_keys);
    if ((gone.size() + added.size()) * std::max(keys.size(), m_keys.size()) > mostMoved) {
        beginResetModel();
        m_keys = std::move(keys);
        endResetModel();
        return;
    }
    for (auto stretch = gone.rbegin(); stretch != gone.rend(); ++stretch) {
        const auto first = m_keys.begin() + std::ptrdiff_t(stretch->first);
        beginRemoveRows({}, int(stretch->first), int(stretch->first + stretch->count) - 1);
        m_keys.erase(first, first + std::ptrdiff_t(stretch->count));
        endRemoveRows();
    }
    for (const Stretch& stretch : added) {
        const auto first = keys.begin() + std::ptrdiff_t(stretch.first);
        beginInsertRows({}, int(stretch.first), int(stretch.first + stretch.count) - 1);
        m_keys.insert(m_keys.begin() + std::ptrdiff_t(stretch.first), first,
                      first + std::ptrdiff_t(stretch.count));
        endInsertRows();
    }
}

int ActivityModel::rowOf(qint64 key) const {
    const auto found = std::lower_bound(m_keys.begin(), m_keys.end(), key, std::greater<>());
    return found != m_keys.end() && *found == key ? int(found - m_keys.begin()) : -1;
}

// MARK: What the rows show

const RunSummary* ActivityModel::summaryAt(int row) const {
    const qint64 key = m_keys.at(std::size_t(row));
    if (!isUpToDate(key)) want(row);
    const Kept* const kept = m_summaries.object(key);
    return kept ? &kept->summary : nullptr;
}

void ActivityModel::want(int row) const {
    const int page = row / pageSize;
    m_wantedPages.removeAll(page);
    m_wantedPages << page;
    if (m_wantedPages.size() > mostWantedPages) m_wantedPages.removeFirst();
    if (!m_wantTimer.isActive()) m_wantTimer.start();
}

void ActivityModel::readWanted() {
    if (m_isReadingPage || m_wantedPages.isEmpty()) return;
    ActivityKeys keys;
    for (const int page : std::exchange(m_wantedPages, {}))
        for (int row = page * pageSize; row < std::min((page + 1) * pageSize, rowCount()); ++row)
            if (const qint64 key = m_keys.at(std::size_t(row)); !isUpToDate(key)) keys.push_back(key);
    if (keys.empty()) return;
    m_isReadingPage = true;
    const auto query = [keys](ActivityDatabase& database) { return database.summaries(keys); };
    m_store.read(this, query, [this, version = m_version](const ActivityAnswer<QList<RunSummary>>& answer) {
        m_isReadingPage = false;
        keep(answer.value, version);
        if (!answer.value.isEmpty() && !m_keys.empty())
            Q_EMIT dataChanged(index(0, 0), index(int(m_keys.size()) - 1, ColumnCount - 1));
        readWanted();
    });
}

void ActivityModel::keep(const QList<RunSummary>& summaries, int version) {
    for (const RunSummary& summary : summaries)
        m_summaries.insert(summary.key, new Kept{summary, version});
}

bool ActivityModel::isUpToDate(qint64 key) const {
    const Kept* const kept = m_summaries.object(key);
    return kept && kept->version == m_version;
}

int ActivityModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_keys.size());
}

int ActivityModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : ColumnCount;
}

std::function<QStringList(const RunSummary&)> ActivityModel::formatter() const {
    return [toolTitle = m_toolTitle](const RunSummary& summary) {
        QStringList cells;
        for (int column = 0; column < ColumnCount; ++column)
            cells << textOf(summary, column, toolTitle);
        return cells;
    };
}

QVariant ActivityModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    if (role == KeyRole) return m_keys.at(std::size_t(index.row()));
    const bool isAsked = role == Qt::DisplayRole || role == KindRole || role == IsLoadedRole ||
                         role == ToolRole || role == Qt::ToolTipRole;
    if (!isAsked) return {};
    const RunSummary* const summary = summaryAt(index.row());
    if (role == IsLoadedRole) return summary != nullptr;
    if (!summary)
        return role == Qt::DisplayRole && index.column() == Time ? QVariant(QStringLiteral("…")) : QVariant();
    if (role == Qt::DisplayRole) return textOf(*summary, index.column(), m_toolTitle);
    if (role == KindRole) return int(summary->counts.worst());
    if (role == ToolRole) return summary->run.tool;
    if (index.column() == Time)
        return QLocale().toString(summary->run.started.toLocalTime(), QLocale::LongFormat);
    return {};
}

QVariant ActivityModel::headerData(int section, Qt::Orientation orientation, int role) const {
    static const QStringList titles{tr("Time"),    tr("Tool"),    tr("Action"),
                                    tr("Subject"), tr("Outcome"), tr("User")};
    if (orientation != Qt::Horizontal || section < 0 || section >= ColumnCount) return {};
    if (role == Qt::DisplayRole) return titles.at(section);
    if (role == Qt::TextAlignmentRole) return int(Qt::AlignLeft | Qt::AlignVCenter);
    return {};
}
