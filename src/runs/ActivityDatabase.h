#pragma once

#include "runs/ActivityQuery.h"

#include <QSqlDatabase>
#include <QSqlQuery>

#include <sys/types.h>

#include <exception>
#include <memory>
#include <string>

class ActivityError : public std::exception {
public:
    enum class Kind {
        Busy,      ///< another process is writing for longer than one waits
        Damaged,   ///< the file is not what it should be
        Misfit,    ///< it lacks a table or a column
        Rejected,  ///< this run will never go in
        Failed,    ///< everything else: a full disk, no permission, something else in its place
    };
    ActivityError(Kind kind, const QString& text) : m_kind(kind), m_text(text), m_what(text.toStdString()) {}
    [[nodiscard]] Kind kind() const noexcept { return m_kind; }
    [[nodiscard]] const QString& text() const noexcept { return m_text; }
    [[nodiscard]] const char* what() const noexcept override { return m_what.c_str(); }

private:
    Kind m_kind;
    QString m_text;
    std::string m_what;
};

/// One connection to the file in which the console keeps what was done. Several, also of several processes,
/// may use the file at the same time; each connection belongs to one thread. Every call may block on the disk
/// and throws ActivityError.
class ActivityDatabase {
public:
    /// Opens the file, and makes it and its folder where there is none. One that is damaged is kept under
    /// another name, and a new one begun.
    [[nodiscard]] static std::unique_ptr<ActivityDatabase> open(const QString& path);
    ~ActivityDatabase();
    ActivityDatabase(const ActivityDatabase&) = delete;
    ActivityDatabase& operator=(const ActivityDatabase&) = delete;

    /// Whether another file (or none) lies under the path by now: this one is to be closed then.
    [[nodiscard]] bool isReplaced() const;
    /// Puts the damaged file out of the way, with a log line. Nothing happens when somebody else did it.
    void keepDamagedFile() const;
    /// Changes whenever another connection has written.
    [[nodiscard]] qint64 version();

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
    explicit ActivityDatabase(const QString& path);
    void connectToFile();
    void chooseJournal();
    void createSchema();
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
    [[nodiscard]] bool shrink();
    [[nodiscard]] QSet<QString> takenBackHosts(const QString& runId);
    [[nodiscard]] QList<qint64> computersNamed(const QString& word);

    class Transaction;
    [[nodiscard]] QSqlQuery prepared(const QString& sql) const;
    QSqlQuery execute(const QString& sql, const QVariantList& values = {}) const;
    [[nodiscard]] QVariant value(const QString& sql, const QVariantList& values = {}) const;

    const QString m_path;
    const QString m_connection;
    dev_t m_device = 0;
    ino_t m_inode = 0;
    QSqlDatabase m_database;
    struct Inserts {
        QSqlQuery run, outcome, undo;
    };
    std::optional<Inserts> m_inserts;
    QHash<std::pair<QString, QString>, qint64> m_computers;  ///< ids by host name and name
    qint64 m_computersVersion = -1;                          ///< of the file when they were read
    bool m_isShrinking = false;
};
