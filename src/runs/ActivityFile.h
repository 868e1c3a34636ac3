#pragma once

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QString>
#include <QVariant>

#include <sys/types.h>

#include <exception>
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

/// One connection to the SQLite file that holds what was done: where it lies, how it is opened and shared,
/// and what becomes of a damaged one. It belongs to one thread. Every call may block on the disk and throws
/// ActivityError.
class ActivityFile {
public:
    explicit ActivityFile(const QString& path);
    ~ActivityFile();
    ActivityFile(const ActivityFile&) = delete;
    ActivityFile& operator=(const ActivityFile&) = delete;

    /// Opens the file, and makes it, its folder and its tables where there are none. Once.
    void connect();
    /// Whether another file (or none) lies under the path by now: this one is to be closed then.
    [[nodiscard]] bool isReplaced() const;
    /// Puts the damaged file out of the way, with a log line. Nothing happens when somebody else did it.
    void keepDamaged() const;
    /// Changes whenever another connection has written.
    [[nodiscard]] qint64 version() const;

    [[nodiscard]] QSqlQuery prepared(const QString& sql) const;
    /// Runs a prepared one with what is bound to it.
    void run(QSqlQuery& query) const;
    QSqlQuery execute(const QString& sql, const QVariantList& values = {}) const;
    /// The first value of the first row; invalid where there is none.
    [[nodiscard]] QVariant value(const QString& sql, const QVariantList& values = {}) const;

    /// Written by nobody else from beginning to end; taken back unless it is committed.
    class Transaction {
    public:
        explicit Transaction(const ActivityFile& file);
        ~Transaction();
        Transaction(const Transaction&) = delete;
        Transaction& operator=(const Transaction&) = delete;
        void commit();

    private:
        const ActivityFile& m_file;
        bool m_isCommitted = false;
    };

private:
    void chooseJournal();
    void createSchema();

    const QString m_path;
    const QString m_connection;
    dev_t m_device = 0;
    ino_t m_inode = 0;
    QSqlDatabase m_database;
};
