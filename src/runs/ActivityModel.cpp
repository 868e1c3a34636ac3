#include "runs/ActivityModel.h"

#include <QLocale>

#include <algorithm>
#include <utility>

namespace {

constexpr int pageSize = 100;
constexpr int mostWantedPages = 4;  // of a scroll bar that is dragged past all of them
constexpr int mostSummaries = 5'000;
constexpr std::chrono::milliseconds pauseBetweenReadings{500};

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
    const auto query = [filter = m_filter](ActivityDatabase& database) {
        Rows rows;
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
    keep(answer.value.first);
    if (isOtherFilter) {
        beginResetModel();
        m_keys = std::move(answer.value.keys);
        endResetModel();
    } else {
        replaceKeys(std::move(answer.value.keys));
    }
    // A run may have been taken back since it was read.
    if (!m_keys.empty()) Q_EMIT dataChanged(index(0, 0), index(int(m_keys.size()) - 1, ColumnCount - 1));
    Q_EMIT loaded();
}

/// New runs come at the beginning and old ones go at the end; anything else is rare, and reset.
void ActivityModel::replaceKeys(ActivityKeys keys) {
    if (keys == m_keys) return;
    const auto isNewer = [](qint64 key, const ActivityKeys& list) {
        return list.empty() || key > list.front();
    };
    const auto added =
        std::find_if(keys.begin(), keys.end(), [&](qint64 key) { return !isNewer(key, m_keys); });
    const auto kept = std::distance(added, keys.end());
    const bool isUsual = !m_keys.empty() && kept > 0 && kept <= std::ssize(m_keys) &&
                         std::equal(added, keys.end(), m_keys.begin());
    if (!isUsual) {
        beginResetModel();
        m_keys = std::move(keys);
        endResetModel();
        return;
    }
    if (kept < std::ssize(m_keys)) {
        beginRemoveRows({}, int(kept), int(m_keys.size()) - 1);
        m_keys.resize(std::size_t(kept));
        endRemoveRows();
    }
    if (added == keys.begin()) return;
    beginInsertRows({}, 0, int(std::distance(keys.begin(), added)) - 1);
    m_keys = std::move(keys);
    endInsertRows();
}

int ActivityModel::rowOf(qint64 key) const {
    const auto found = std::lower_bound(m_keys.begin(), m_keys.end(), key, std::greater<>());
    return found != m_keys.end() && *found == key ? int(found - m_keys.begin()) : -1;
}

// MARK: What the rows show

const RunSummary* ActivityModel::summaryAt(int row) const {
    return m_summaries.object(m_keys.at(std::size_t(row)));
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
            if (const qint64 key = m_keys.at(std::size_t(row)); !m_summaries.contains(key))
                keys.push_back(key);
    if (keys.empty()) return;
    m_isReadingPage = true;
    const auto query = [keys](ActivityDatabase& database) { return database.summaries(keys); };
    m_store.read(this, query, [this](const ActivityAnswer<QList<RunSummary>>& answer) {
        m_isReadingPage = false;
        keep(answer.value);
        if (!answer.value.isEmpty() && !m_keys.empty())
            Q_EMIT dataChanged(index(0, 0), index(int(m_keys.size()) - 1, ColumnCount - 1));
        readWanted();
    });
}

void ActivityModel::keep(const QList<RunSummary>& summaries) {
    for (const RunSummary& summary : summaries)
        m_summaries.insert(summary.key, new RunSummary(summary));
}

int ActivityModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_keys.size());
}

int ActivityModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : ColumnCount;
}

QString ActivityModel::text(const RunSummary& summary, int column) const {
    switch (column) {
        case Time:
            return QLocale().toString(summary.run.started.toLocalTime(), QLocale::ShortFormat);
        case Tool:
            return m_toolTitle(summary.run.tool);
        case Action:
            return summary.run.action;
        case Subject:
            return summary.run.subject;
        case Summary:
            return summary.sentence();
        case User:
            return summary.run.user;
        default:
            return {};
    }
}

QStringList ActivityModel::cellsOf(const RunSummary& summary) const {
    QStringList cells;
    for (int column = 0; column < ColumnCount; ++column)
        cells << text(summary, column);
    return cells;
}

QVariant ActivityModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    if (role == KeyRole) return m_keys.at(std::size_t(index.row()));
    const bool isAsked = role == Qt::DisplayRole || role == KindRole || role == IsLoadedRole ||
                         role == ToolRole || role == Qt::ToolTipRole;
    if (!isAsked) return {};
    const RunSummary* const summary = summaryAt(index.row());
    if (role == IsLoadedRole) return summary != nullptr;
    if (!summary) {
        want(index.row());
        return role == Qt::DisplayRole && index.column() == Time ? QVariant(QStringLiteral("…")) : QVariant();
    }
    if (role == Qt::DisplayRole) return text(*summary, index.column());
    if (role == KindRole) return int(summary->counts.worst());
    if (role == ToolRole) return summary->run.tool;
    if (index.column() == Time)
        return QLocale().toString(summary->run.started.toLocalTime(), QLocale::LongFormat);
    return {};
}

QVariant ActivityModel::headerData(int section, Qt::Orientation orientation, int role) const {
    static const QStringList titles{QStringLiteral("Time"),    QStringLiteral("Tool"),
                                    QStringLiteral("Action"),  QStringLiteral("Subject"),
                                    QStringLiteral("Outcome"), QStringLiteral("User")};
    if (orientation != Qt::Horizontal || section < 0 || section >= ColumnCount) return {};
    if (role == Qt::DisplayRole) return titles.at(section);
    if (role == Qt::TextAlignmentRole) return int(Qt::AlignLeft | Qt::AlignVCenter);
    return {};
}
