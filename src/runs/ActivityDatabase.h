#pragma once

#include "runs/ActivityFile.h"
#include "runs/ActivityQuery.h"

#include <memory>

/// One connection to the file in which the console keeps what was done. Several, also of several processes,
/// may use the file at the same time; each connection belongs to one thread. Every call may block on the disk
/// and throws ActivityError.
class ActivityDatabase {
public:
    /// Opens the file, and makes it and its folder where there is none. One that is damaged is kept under
    /// another name, and a new one begun.
    [[nodiscard]] static std::unique_ptr<ActivityDatabase> open(const QString& path);
    ActivityDatabase(const ActivityDatabase&) = delete;
    ActivityDatabase& operator=(const ActivityDatabase&) = delete;

    /// Whether another file (or none) lies under the path by now: this one is to be closed then.
    [[nodiscard]] bool isReplaced() const { return m_file.isReplaced(); }
    /// Puts the damaged file out of the way, with a log line. Nothing happens when somebody else did it.
    void keepDamagedFile() const { m_file.keepDamaged(); }
    /// Changes whenever another connection has written.
    [[nodiscard]] qint64 version() const { return m_file.version(); }

    /// In one transaction; what is on disk is always the whole run. A run that is kept already stays as it
    /// is.
    void insert(const RunRecord& record);
    /// One short step towards the limits: true when there is more to do.
    bool prune(const ActivityLimits& limits);

    /// Of the runs that pass, newest first; not more than `mostKeys`.
    [[nodiscard]] ActivityKeys keys(const ActivityFilter& filter);
    /// Of those that are still kept; `keys` are sorted, newest first.
    [[nodiscard]] QList<RunSummary> summaries(const ActivityKeys& keys);
    enum class Undo { With, Without };
    /// What takes it back is left out where that was done already.
    [[nodiscard]] std::optional<RunRecord> record(qint64 key, Undo undo = Undo::With);
    [[nodiscard]] std::optional<qint64> keyOf(const QString& runId);
    [[nodiscard]] ActivityFacets facets();

    static constexpr int mostKeys = 1'000'000;

private:
    explicit ActivityDatabase(const QString& path) : m_file(path) {}
    void prepareInserts();
    [[nodiscard]] qint64 freeKey(const QDateTime& started);
    [[nodiscard]] qint64 computerId(const HostOutcome& host);
    void insertOutcomes(qint64 key, const RunRecord& record, const QList<QByteArray>& undo);
    void insertRun(qint64 key, const RunRecord& record);
    [[nodiscard]] bool contains(const QString& runId);
    [[nodiscard]] ActivityKeys keysToPrune(const ActivityLimits& limits);
    [[nodiscard]] ActivityKeys oldestKeys(const QString& condition, const QVariantList& values);
    [[nodiscard]] bool isTooLarge(qint64 limit);
    void remove(const ActivityKeys& keys);
    [[nodiscard]] bool compact();
    [[nodiscard]] bool shrink();
    void truncate();
    [[nodiscard]] QSet<QString> takenBackHosts(const QString& runId);
    [[nodiscard]] QList<qint64> computersNamed(const QString& word);

    ActivityFile m_file;
    struct Inserts {
        QSqlQuery run, outcome, undo;
    };
    std::optional<Inserts> m_inserts;
    QHash<std::pair<QString, QString>, qint64> m_computers;  ///< ids by host name and name
    qint64 m_computersVersion = -1;                          ///< of the file when they were read
    bool m_isShrinking = false;
    bool m_isSparse = true;  ///< what went may have left gaps that still count as used
};
