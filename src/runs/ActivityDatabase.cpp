#include "runs/ActivityDatabase.h"

#include "logs/VLLog.h"
#include "runs/UndoData.h"

#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QSqlError>
#include <QUuid>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/statfs.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <span>

namespace {

constexpr int schemaVersion = 1;
constexpr int applicationId = 0x4f524c41;
constexpr int busyMilliseconds = 5'000;
constexpr int keysPerMillisecond = 64;
constexpr qsizetype longestName = 255, longestText = 1'000, longestSearch = 4'000;
constexpr int computersPerStep = 2'000, runsPerStep = 500;
constexpr std::size_t keysPerQuery = 500;
constexpr qint64 pagesPerStep = 500;
constexpr int mostDamagedFiles = 9;
/// Runs that changed nothing, and in which every computer (kind 0) answered.
constexpr auto isPlainReading = "NOT is_change AND kinds & ~1 = 0";
constexpr std::array companions{"-wal", "-shm", "-journal"};

/// The number of a kind in the file is its place here: new ones go to the end.
constexpr std::array kindsInFile{
    Outcome::Answered,     Outcome::Done,     Outcome::LeftOut, Outcome::Skipped, Outcome::Cancelled,
    Outcome::NotConnected, Outcome::NoAnswer, Outcome::Refused, Outcome::Failed,  Outcome::LeftAlone};

constexpr int numberOf(Outcome::Kind kind) {
    return static_cast<int>(std::find(kindsInFile.begin(), kindsInFile.end(), kind) - kindsInFile.begin());
}

/// The numbers of those that count as successes.
constexpr std::array successes{numberOf(Outcome::Answered), numberOf(Outcome::Done)};

Outcome::Kind kindOf(int number) {
    const bool isKnown = number >= 0 && number < static_cast<int>(kindsInFile.size());
    return isKnown ? kindsInFile.at(static_cast<std::size_t>(number)) : Outcome::Failed;
}

[[noreturn]] void fail(const QString& path, const QSqlError& error) {
    constexpr int tooBig = 18, constraint = 19, mismatch = 20;
    constexpr int wrongStatement = 1, busy = 5, locked = 6, corrupt = 11, noDatabase = 26;
    const int code = error.nativeErrorCode().toInt() & 0xff;
    auto kind = ActivityError::Kind::Failed;
    if (code == busy || code == locked) kind = ActivityError::Kind::Busy;
    if (code == wrongStatement) kind = ActivityError::Kind::Misfit;
    if (code == tooBig || code == constraint || code == mismatch) kind = ActivityError::Kind::Rejected;
    if (code == corrupt || code == noDatabase) kind = ActivityError::Kind::Damaged;
    const QString text = error.databaseText().isEmpty() ? error.driverText() : error.databaseText();
    throw ActivityError(kind, QStringLiteral("%1: %2").arg(path, text));
}

[[noreturn]] void failWith(const QString& path, int code) {
    throw ActivityError(ActivityError::Kind::Failed,
                        QStringLiteral("%1: %2").arg(path, QString::fromLocal8Bit(std::strerror(code))));
}

/// Never null, which would be NULL in the file.
QString bounded(const QString& text, qsizetype limit) {
    if (text.isEmpty()) return QStringLiteral("");
    return text.size() <= limit ? text : text.left(limit - 1) + QChar(0x2026);
}

/// As texts are compared when they are searched.
QString folded(const QString& text) {
    return text.normalized(QString::NormalizationForm_KC).toCaseFolded();
}

QString countsText(const OutcomeCounts& counts) {
    QStringList parts;
    for (const Outcome::Kind kind : kindsInFile)
        if (counts.of(kind) > 0)
            parts << QStringLiteral("%1 %2").arg(Outcome::word(kind)).arg(counts.of(kind));
    return parts.join(QLatin1Char(';'));
}

OutcomeCounts countsFrom(const QString& text) {
    OutcomeCounts counts;
    for (const QString& part : text.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
        const qsizetype space = part.lastIndexOf(QLatin1Char(' '));
        if (space > 0) counts.add(Outcome::fromWord(part.left(space)), std::max(0, part.mid(space).toInt()));
    }
    return counts;
}

int maskOf(const OutcomeCounts& counts) {
    int mask = 0;
    for (const Outcome::Kind kind : kindsInFile)
        if (counts.of(kind) > 0) mask |= 1 << numberOf(kind);
    return mask;
}

template <typename Numbers>
QString listOf(const Numbers& numbers) {
    QStringList texts;
    for (const auto number : numbers)
        texts << QString::number(number);
    return texts.join(QLatin1Char(','));
}

/// A private folder: what was done is nobody else's business.
void makeFolder(const QString& path) {
    const QFileInfo parent(QFileInfo(path).absolutePath());
    if (!parent.exists()) makeFolder(parent.absoluteFilePath());
    if (::mkdir(QFile::encodeName(path).constData(), 0700) == 0 || errno == EEXIST) return;
    failWith(path, errno);
}

/// A pipe or a folder in the place of a file would block, or give an error that nobody understands.
void demandRegularFile(const QString& path) {
    struct stat information {};
    if (::stat(QFile::encodeName(path).constData(), &information) != 0) {
        if (errno == ENOENT) return;
        failWith(path, errno);
    }
    if (S_ISREG(information.st_mode)) return;
    throw ActivityError(ActivityError::Kind::Failed, QStringLiteral("%1: not a regular file").arg(path));
}

/// Also what some program serves, which usually is another machine's folder.
bool mayBeOnOtherMachines(const QString& path) {
    constexpr quint32 lustre = 0x0bd00bd0, gfs2 = 0x01161970;
    constexpr std::array<quint32, 13> types{NFS_SUPER_MAGIC,
                                            SMB_SUPER_MAGIC,
                                            CIFS_SUPER_MAGIC,
                                            SMB2_SUPER_MAGIC,
                                            FUSE_SUPER_MAGIC,
                                            AFS_SUPER_MAGIC,
                                            AFS_FS_MAGIC,
                                            CODA_SUPER_MAGIC,
                                            V9FS_MAGIC,
                                            CEPH_SUPER_MAGIC,
                                            OCFS2_SUPER_MAGIC,
                                            lustre,
                                            gfs2};
    struct statfs information {};
    if (::statfs(QFile::encodeName(path).constData(), &information) != 0) failWith(path, errno);
    return std::find(types.begin(), types.end(), quint32(information.f_type)) != types.end();
}

QString damagedName(const QString& path, int number) {
    return path + (number == 1 ? QStringLiteral(".damaged") : QStringLiteral(".damaged-%1").arg(number));
}

/// While somebody puts a damaged file and its companions away, nobody begins a new one: its companions would
/// go with the old ones. Where no lock can be made, as on a full disk, this is left to luck.
class Turn {
public:
    explicit Turn(const QString& path) : m_lock(path + QStringLiteral(".lock")) {
        if (m_lock.tryLock(busyMilliseconds) || m_lock.error() != QLockFile::LockFailedError) return;
        throw ActivityError(ActivityError::Kind::Busy,
                            QStringLiteral("%1: another process is opening it").arg(path));
    }

private:
    QLockFile m_lock;
};

const QString runColumns = QStringLiteral(
    "key, id, started, ended, user, tool, action, action_done, subject, is_change, undo_of, retry_of, "
    "counts, is_undoable, EXISTS (SELECT 1 FROM run AS other WHERE other.undo_of <> '' AND other.undo_of = "
    "run.id)");

QDateTime utc(const QVariant& milliseconds) {
    return QDateTime::fromMSecsSinceEpoch(milliseconds.toLongLong(), Qt::UTC);
}

RunSummary summaryOf(const QSqlQuery& row) {
    RunSummary summary;
    summary.key = row.value(0).toLongLong();
    RunRecord& run = summary.run;
    run.id = row.value(1).toString();
    run.started = utc(row.value(2));
    run.ended = utc(row.value(3));
    run.user = row.value(4).toString();
    run.tool = row.value(5).toString();
    run.action = row.value(6).toString();
    run.actionDone = row.value(7).toString();
    run.subject = row.value(8).toString();
    run.isChange = row.value(9).toBool();
    run.undoOf = row.value(10).toString();
    run.retryOf = row.value(11).toString();
    summary.counts = countsFrom(row.value(12).toString());
    summary.isUndoable = row.value(13).toBool();
    summary.isTakenBack = row.value(14).toBool();
    return summary;
}

/// Per computer; empty where there is nothing, or where it cannot be kept.
QList<QByteArray> keptUndo(const RunRecord& record) {
    QList<QByteArray> kept;
    kept.reserve(record.outcomes.size());
    qsizetype total = 0;
    int lost = 0;
    for (const HostOutcome& host : record.outcomes) {
        QByteArray bytes = UndoData::toBytes(host.undo);
        if (total + bytes.size() > UndoData::largestOfRun) bytes.clear();
        if (bytes.isEmpty() && !host.undo.isEmpty()) ++lost;
        total += bytes.size();
        kept << std::move(bytes);
    }
    if (lost > 0)
        VLLog::appendLog(QStringLiteral("What takes \"%@\" back cannot be kept for %i computers"),
                         record.action, lost);
    return kept;
}

/// Else it would look as if the tool knew no way back.
QString withoutUndo(const QString& reason) {
    const QString remark = QStringLiteral("cannot be taken back");
    if (reason.isEmpty()) return remark;
    const QString separator = QStringLiteral(" · ");
    return bounded(reason, longestText - separator.size() - remark.size()) + separator + remark;
}

/// What a list of runs is asked with.
struct Conditions {
    QStringList sql;
    QVariantList values;

    void add(const QString& condition, const QVariantList& conditionValues = {}) {
        sql << condition;
        values << conditionValues;
    }
};

}  // namespace

/// Written by nobody else from beginning to end; taken back unless it is committed.
class ActivityDatabase::Transaction {
public:
    explicit Transaction(const ActivityDatabase& database) : m_database(database) {
        m_database.execute(QStringLiteral("BEGIN IMMEDIATE"));
    }
    ~Transaction() {
        if (!m_isCommitted) QSqlQuery(m_database.m_database).exec(QStringLiteral("ROLLBACK"));
    }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void commit() {
        m_database.execute(QStringLiteral("COMMIT"));
        m_isCommitted = true;
    }

private:
    const ActivityDatabase& m_database;
    bool m_isCommitted = false;
};

// MARK: The file

std::unique_ptr<ActivityDatabase> ActivityDatabase::open(const QString& path) {
    for (bool isSecond : {false, true}) {
        std::unique_ptr<ActivityDatabase> database(new ActivityDatabase(path));
        try {
            database->connectToFile();
            return database;
        } catch (const ActivityError& error) {
            const bool isDamaged =
                error.kind() == ActivityError::Kind::Damaged || error.kind() == ActivityError::Kind::Misfit;
            if (!isDamaged || isSecond) throw;
            database->keepDamagedFile();
        }
    }
    return nullptr;
}

ActivityDatabase::ActivityDatabase(const QString& path)
    : m_path(path), m_connection(QUuid::createUuid().toString(QUuid::WithoutBraces)) {}

ActivityDatabase::~ActivityDatabase() {
    m_inserts.reset();
    m_database = QSqlDatabase();
    QSqlDatabase::removeDatabase(m_connection);
}

void ActivityDatabase::connectToFile() {
    makeFolder(QFileInfo(m_path).absolutePath());
    const Turn turn(m_path);
    demandRegularFile(m_path);
    for (const char* companion : companions)
        demandRegularFile(m_path + QLatin1String(companion));
    m_database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_connection);
    m_database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(busyMilliseconds));
    m_database.setDatabaseName(m_path);
    if (!m_database.open()) fail(m_path, m_database.lastError());
    struct stat information {};
    if (::stat(QFile::encodeName(m_path).constData(), &information) != 0) failWith(m_path, errno);
    m_device = information.st_dev;
    m_inode = information.st_ino;

    execute(QStringLiteral("PRAGMA auto_vacuum = INCREMENTAL"));  // counts for a new file only
    chooseJournal();
    execute(QStringLiteral("PRAGMA journal_size_limit = 8388608"));
    execute(QStringLiteral("PRAGMA cache_size = -16384"));
    execute(QStringLiteral("PRAGMA secure_delete = FAST"));
    execute(QStringLiteral("PRAGMA trusted_schema = OFF"));
    execute(QStringLiteral("PRAGMA cell_size_check = ON"));
    const int version = value(QStringLiteral("PRAGMA user_version")).toInt();
    if (version == 0) createSchema();
    if (version > schemaVersion)
        throw ActivityError(ActivityError::Kind::Failed,
                            QStringLiteral("%1: written by a newer version of Orlendo").arg(m_path));
    // Files of the first versions lack it.
    execute(QStringLiteral("CREATE INDEX IF NOT EXISTS run_reading ON run (key) WHERE %1")
                .arg(QLatin1String(isPlainReading)));
    prepareInserts();
}

/// A process that is killed loses nothing; a power failure may take the last runs, never part of one.
///
/// The write-ahead log lies in memory that its users share. Between two machines there is none: both would
/// damage the file.
void ActivityDatabase::chooseJournal() {
    const bool isShared = mayBeOnOtherMachines(m_path);
    const QString mode = isShared ? QStringLiteral("delete") : QStringLiteral("wal");
    const QString answer = value(QStringLiteral("PRAGMA journal_mode = %1").arg(mode)).toString();
    if (isShared && answer != mode)
        throw ActivityError(ActivityError::Kind::Busy,
                            QStringLiteral("%1: in use in a way that a network does not bear").arg(m_path));
    const bool isLog = answer == QStringLiteral("wal");
    execute(QStringLiteral("PRAGMA synchronous = %1")
                .arg(isLog ? QStringLiteral("NORMAL") : QStringLiteral("FULL")));
}

/// Once, whoever comes first.
void ActivityDatabase::createSchema() {
    Transaction transaction(*this);
    if (value(QStringLiteral("PRAGMA user_version")).toInt() != 0) return;
    if (value(QStringLiteral("SELECT count(*) FROM sqlite_master")).toInt() != 0)
        throw ActivityError(ActivityError::Kind::Damaged,
                            QStringLiteral("%1: holds something else").arg(m_path));
    for (const char* statement : {
             "CREATE TABLE computer (id INTEGER PRIMARY KEY, host TEXT NOT NULL, name TEXT NOT NULL, folded "
             "TEXT NOT NULL, UNIQUE (host, name))",
             "CREATE TABLE run (key INTEGER PRIMARY KEY, id TEXT NOT NULL UNIQUE, started INTEGER NOT NULL, "
             "ended INTEGER NOT NULL, user TEXT NOT NULL, tool TEXT NOT NULL, action TEXT NOT NULL, "
             "action_done TEXT NOT NULL, subject TEXT NOT NULL, is_change INTEGER NOT NULL, undo_of TEXT NOT "
             "NULL, retry_of TEXT NOT NULL, counts TEXT NOT NULL, computers INTEGER NOT NULL, kinds INTEGER "
             "NOT NULL, is_undoable INTEGER NOT NULL, folded TEXT NOT NULL)",
             "CREATE INDEX run_tool ON run (tool)",
             "CREATE INDEX run_undo ON run (undo_of) WHERE undo_of <> ''",
             "CREATE TABLE outcome (run INTEGER NOT NULL, position INTEGER NOT NULL, computer INTEGER NOT "
             "NULL, kind INTEGER NOT NULL, reason TEXT, PRIMARY KEY (run, position)) WITHOUT ROWID",
             "CREATE INDEX outcome_computer ON outcome (computer, run)",
             // Apart from the outcomes, so that their rows stay short.
             "CREATE TABLE undo (run INTEGER NOT NULL, position INTEGER NOT NULL, data BLOB NOT NULL, "
             "PRIMARY KEY (run, position)) WITHOUT ROWID",
         })
        execute(QLatin1String(statement));
    execute(QStringLiteral("PRAGMA application_id = %1").arg(applicationId));
    execute(QStringLiteral("PRAGMA user_version = %1").arg(schemaVersion));
    transaction.commit();
}

void ActivityDatabase::prepareInserts() {
    m_inserts = Inserts{
        prepared(QStringLiteral("INSERT INTO run (key, id, started, ended, user, tool, action, action_done, "
                                "subject, is_change, undo_of, retry_of, counts, computers, kinds, "
                                "is_undoable, folded) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, "
                                "?, ?)")),
        prepared(QStringLiteral(
            "INSERT INTO outcome (run, position, computer, kind, reason) VALUES (?, ?, ?, ?, ?)")),
        prepared(QStringLiteral("INSERT INTO undo (run, position, data) VALUES (?, ?, ?)"))};
    static_cast<void>(prepared(QStringLiteral("SELECT id, host, name, folded FROM computer")));
}

bool ActivityDatabase::isReplaced() const {
    struct stat information {};
    return ::stat(QFile::encodeName(m_path).constData(), &information) != 0 ||
           information.st_dev != m_device || information.st_ino != m_inode;
}

void ActivityDatabase::keepDamagedFile() const {
    const Turn turn(m_path);
    if (isReplaced()) return;
    const QByteArray from = QFile::encodeName(m_path);
    for (int number = 1; number <= mostDamagedFiles; ++number) {
        const QString kept = damagedName(m_path, number);
        if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, QFile::encodeName(kept).constData(),
                        RENAME_NOREPLACE) != 0) {
            if (errno == EEXIST) continue;
            failWith(m_path, errno);
        }
        // What was written last lies in these; with them the file may be repaired.
        for (const char* companion : companions)
            QFile::rename(m_path + QLatin1String(companion), kept + QLatin1String(companion));
        VLLog::appendLog(QStringLiteral("The activity file %@ is damaged. It is kept as %@, and a new one is "
                                        "begun."),
                         m_path, kept);
        return;
    }
    throw ActivityError(ActivityError::Kind::Failed,
                        QStringLiteral("%1: damaged, and %2 damaged ones are kept already")
                            .arg(m_path)
                            .arg(mostDamagedFiles));
}

qint64 ActivityDatabase::version() {
    return value(QStringLiteral("PRAGMA data_version")).toLongLong();
}

QSqlQuery ActivityDatabase::prepared(const QString& sql) const {
    QSqlQuery query(m_database);
    query.setForwardOnly(true);
    if (!query.prepare(sql)) fail(m_path, query.lastError());
    return query;
}

QSqlQuery ActivityDatabase::execute(const QString& sql, const QVariantList& values) const {
    QSqlQuery query = prepared(sql);
    for (const QVariant& value : values)
        query.addBindValue(value);
    if (!query.exec()) fail(m_path, query.lastError());
    return query;
}

QVariant ActivityDatabase::value(const QString& sql, const QVariantList& values) const {
    QSqlQuery query = execute(sql, values);
    return query.next() ? query.value(0) : QVariant();
}

// MARK: Writing

void ActivityDatabase::insert(const RunRecord& record) {
    const QList<QByteArray> undo = keptUndo(record);  // takes its time, in which others may write
    Transaction transaction(*this);
    if (contains(bounded(record.id, longestName))) return;
    // Somebody else may have removed computers that no run names any more.
    if (const qint64 now = version(); now != m_computersVersion) {
        m_computers.clear();
        m_computersVersion = now;
    }
    const qint64 key = freeKey(record.started);
    try {
        insertOutcomes(key, record, undo);
        insertRun(key, record);
        transaction.commit();
    } catch (const ActivityError&) {
        m_computers.clear();  // those added here are gone with the transaction
        throw;
    }
}

bool ActivityDatabase::contains(const QString& runId) {
    return value(QStringLiteral("SELECT 1 FROM run WHERE id = ?"), {runId}).isValid();
}

/// Runs lie in the order of their start, which is that of the list. What starts in the future, by a clock
/// that was wrong, would never go.
qint64 ActivityDatabase::freeKey(const QDateTime& started) {
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    const qint64 time = std::clamp(started.isValid() ? started.toMSecsSinceEpoch() : now, qint64(0), now);
    const qint64 first = time * keysPerMillisecond;
    const QVariant last = value(QStringLiteral("SELECT max(key) FROM run WHERE key >= ? AND key < ?"),
                                {first, first + keysPerMillisecond});
    if (last.isNull()) return first;
    qint64 key = last.toLongLong() + 1;
    while (value(QStringLiteral("SELECT 1 FROM run WHERE key = ?"), {key}).isValid())
        ++key;
    return key;
}

qint64 ActivityDatabase::computerId(const HostOutcome& host) {
    const std::pair names{bounded(host.hostName, longestName), bounded(host.name, longestName)};
    if (const auto known = m_computers.constFind(names); known != m_computers.cend()) return *known;
    QVariant id = value(QStringLiteral("SELECT id FROM computer WHERE host = ? AND name = ?"),
                        {names.first, names.second});
    if (!id.isValid())
        id = execute(QStringLiteral("INSERT INTO computer (host, name, folded) VALUES (?, ?, ?)"),
                     {names.first, names.second, folded(names.first + QLatin1Char('\n') + names.second)})
                 .lastInsertId();
    return m_computers[names] = id.toLongLong();
}

void ActivityDatabase::insertOutcomes(qint64 key, const RunRecord& record, const QList<QByteArray>& undo) {
    for (qsizetype position = 0; position < record.outcomes.size(); ++position) {
        const HostOutcome& host = record.outcomes.at(position);
        const bool isLost = undo.at(position).isEmpty() && !host.undo.isEmpty();
        const QString reason =
            isLost ? withoutUndo(host.outcome.reason) : bounded(host.outcome.reason, longestText);
        m_inserts->outcome.bindValue(0, key);
        m_inserts->outcome.bindValue(1, position);
        m_inserts->outcome.bindValue(2, computerId(host));
        m_inserts->outcome.bindValue(3, numberOf(host.outcome.kind));
        m_inserts->outcome.bindValue(4, reason.isEmpty() ? QVariant() : reason);
        if (!m_inserts->outcome.exec()) fail(m_path, m_inserts->outcome.lastError());
        if (undo.at(position).isEmpty()) continue;
        m_inserts->undo.bindValue(0, key);
        m_inserts->undo.bindValue(1, position);
        m_inserts->undo.bindValue(2, undo.at(position));
        if (!m_inserts->undo.exec()) fail(m_path, m_inserts->undo.lastError());
    }
}

void ActivityDatabase::insertRun(qint64 key, const RunRecord& record) {
    const OutcomeCounts counts = record.counts();
    const bool isUndoable =
        value(QStringLiteral("SELECT 1 FROM undo WHERE run = ? LIMIT 1"), {key}).isValid();
    const QString search =
        folded(QStringList{record.action, record.subject, record.tool, record.user}.join(QLatin1Char('\n')));
    int place = 0;
    for (const QVariant& value :
         QVariantList{key, bounded(record.id, longestName), record.started.toMSecsSinceEpoch(),
                      record.ended.toMSecsSinceEpoch(), bounded(record.user, longestName),
                      bounded(record.tool, longestName), bounded(record.action, longestText),
                      bounded(record.actionDone, longestText), bounded(record.subject, longestText),
                      int(record.isChange), bounded(record.undoOf, longestName),
                      bounded(record.retryOf, longestName), bounded(countsText(counts), longestText),
                      counts.total(), maskOf(counts), int(isUndoable), bounded(search, longestSearch)})
        m_inserts->run.bindValue(place++, value);
    if (!m_inserts->run.exec()) fail(m_path, m_inserts->run.lastError());
}

// MARK: Limits

bool ActivityDatabase::prune(const ActivityLimits& limits) {
    const ActivityKeys pruned = keysToPrune(limits);
    if (pruned.empty()) return shrink();
    remove(pruned);
    return true;
}

/// Some more goes than has to, so that not every run calls for the next pruning.
bool ActivityDatabase::isTooLarge(qint64 limit) {
    const qint64 used = value(QStringLiteral("PRAGMA page_count")).toLongLong() -
                        value(QStringLiteral("PRAGMA freelist_count")).toLongLong();
    const qint64 bytes = used * value(QStringLiteral("PRAGMA page_size")).toLongLong();
    m_isShrinking = bytes > (m_isShrinking ? limit / 10 * 9 : limit);
    return m_isShrinking;
}

/// The runs that go in this step: the oldest, but where there is no room, readings that everybody answered
/// before anything that somebody may want to look up.
ActivityKeys ActivityDatabase::keysToPrune(const ActivityLimits& limits) {
    const qint64 oldest = QDateTime::currentDateTimeUtc().addDays(-limits.days).toMSecsSinceEpoch();
    const ActivityKeys tooOld = oldestKeys(QStringLiteral("key < ?"), {oldest * keysPerMillisecond});
    if (!tooOld.empty() || !isTooLarge(limits.bytes)) return tooOld;
    const ActivityKeys readings = oldestKeys(QLatin1String(isPlainReading), {});
    return readings.empty() ? oldestKeys(QStringLiteral("1"), {}) : readings;
}

/// No more than are quickly removed.
ActivityKeys ActivityDatabase::oldestKeys(const QString& condition, const QVariantList& values) {
    QSqlQuery runs = execute(QStringLiteral("SELECT key, computers FROM run WHERE %1 ORDER BY key LIMIT %2")
                                 .arg(condition)
                                 .arg(runsPerStep),
                             values);
    ActivityKeys keys;
    for (qint64 computers = 0; computers < computersPerStep && runs.next();) {
        keys.push_back(runs.value(0).toLongLong());
        computers += runs.value(1).toLongLong() + 1;
    }
    return keys;
}

void ActivityDatabase::remove(const ActivityKeys& keys) {
    Transaction transaction(*this);
    const QString list = listOf(keys);
    execute(QStringLiteral("DELETE FROM undo WHERE run IN (%1)").arg(list));
    execute(QStringLiteral("DELETE FROM outcome WHERE run IN (%1)").arg(list));
    execute(QStringLiteral("DELETE FROM run WHERE key IN (%1)").arg(list));
    execute(
        QStringLiteral("DELETE FROM computer WHERE NOT EXISTS (SELECT 1 FROM outcome WHERE "
                       "outcome.computer = computer.id)"));
    m_computers.clear();
    transaction.commit();
}

/// Gives pages that are free back to the disk. The statement gives rows without columns, which Qt takes for
/// none at all: each execution moves one page.
bool ActivityDatabase::shrink() {
    const qint64 free = value(QStringLiteral("PRAGMA freelist_count")).toLongLong();
    if (free == 0) return false;
    {
        Transaction transaction(*this);
        QSqlQuery page = prepared(QStringLiteral("PRAGMA incremental_vacuum(1)"));
        for (qint64 moved = 0; moved < std::min(free, pagesPerStep); ++moved)
            if (!page.exec()) fail(m_path, page.lastError());
        page.finish();
        transaction.commit();
    }
    if (free > pagesPerStep) return true;
    // The file itself gets shorter only now. A reader may be in the way: the next checkpoint does it then.
    static_cast<void>(value(QStringLiteral("PRAGMA wal_checkpoint(TRUNCATE)")));
    return false;
}

// MARK: Reading

QList<qint64> ActivityDatabase::computersNamed(const QString& word) {
    QSqlQuery rows = execute(QStringLiteral("SELECT id FROM computer WHERE instr(folded, ?)"), {word});
    QList<qint64> ids;
    while (rows.next())
        ids << rows.value(0).toLongLong();
    return ids;
}

ActivityKeys ActivityDatabase::keys(const ActivityFilter& filter) {
    Conditions conditions;
    QList<int> kinds;
    int mask = 0;
    for (const Outcome::Kind kind : filter.outcomes) {
        kinds << numberOf(kind);
        mask |= 1 << numberOf(kind);
    }
    if (filter.tool) conditions.add(QStringLiteral("tool = ?"), {bounded(*filter.tool, longestName)});
    if (filter.changesOnly) conditions.add(QStringLiteral("is_change"));
    if (!filter.computer.isEmpty()) {
        const QString ended =
            kinds.isEmpty() ? QString() : QStringLiteral(" AND kind IN (%1)").arg(listOf(kinds));
        conditions.add(QStringLiteral("key IN (SELECT run FROM outcome WHERE computer IN (SELECT id FROM "
                                      "computer WHERE host = ? OR name = ?)%1)")
                           .arg(ended),
                       {filter.computer, filter.computer});
    } else if (mask != 0) {
        conditions.add(QStringLiteral("kinds & ?"), {mask});
    }
    for (const QString& word : folded(filter.text).simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        QString condition = QStringLiteral("instr(folded, ?)");
        if (const QList<qint64> computers = computersNamed(word); !computers.isEmpty())
            condition = QStringLiteral(
                            "(%1 OR EXISTS (SELECT 1 FROM outcome WHERE run = key AND computer IN "
                            "(%2)))")
                            .arg(condition, listOf(computers));
        conditions.add(condition, {word});
    }
    QString sql = QStringLiteral("SELECT key FROM run");
    if (!conditions.sql.isEmpty())
        sql += QStringLiteral(" WHERE ") + conditions.sql.join(QLatin1String(" AND "));
    sql += QStringLiteral(" ORDER BY key DESC LIMIT %1").arg(mostKeys);
    QSqlQuery rows = execute(sql, conditions.values);
    ActivityKeys keys;
    while (rows.next())
        keys.push_back(rows.value(0).toLongLong());
    return keys;
}

QList<RunSummary> ActivityDatabase::summaries(const ActivityKeys& keys) {
    QList<RunSummary> summaries;
    for (std::size_t first = 0; first < keys.size(); first += keysPerQuery) {
        const std::span part(keys.data() + first, std::min(keysPerQuery, keys.size() - first));
        QSqlQuery rows = execute(QStringLiteral("SELECT %1 FROM run WHERE key IN (%2) ORDER BY key DESC")
                                     .arg(runColumns, listOf(part)));
        while (rows.next())
            summaries << summaryOf(rows);
    }
    return summaries;
}

std::optional<RunRecord> ActivityDatabase::record(qint64 key, Undo undo) {
    const QList<RunSummary> found = summaries({key});
    if (found.isEmpty()) return std::nullopt;
    RunRecord record = found.first().run;
    const bool withUndo = undo == Undo::With && found.first().isUndoable;
    const QString sql =
        QStringLiteral(
            "SELECT host, name, kind, reason, %1 FROM outcome JOIN computer ON computer.id = "
            "outcome.computer %2 WHERE outcome.run = ? ORDER BY outcome.position")
            .arg(withUndo ? QStringLiteral("data") : QStringLiteral("NULL"),
                 withUndo ? QStringLiteral("LEFT JOIN undo ON undo.run = outcome.run AND undo.position = "
                                           "outcome.position")
                          : QString());
    const QSet<QString> done = withUndo ? takenBackHosts(record.id) : QSet<QString>();
    QSqlQuery rows = execute(sql, {key});
    while (rows.next()) {
        const QString host = rows.value(0).toString();
        record.outcomes << HostOutcome{
            host,
            rows.value(1).toString(),
            {kindOf(rows.value(2).toInt()), rows.value(3).toString()},
            done.contains(host) ? QVariantMap() : UndoData::fromBytes(rows.value(4).toByteArray())};
    }
    return record;
}

/// Where that run has been taken back already: a second time would take back what came after it.
QSet<QString> ActivityDatabase::takenBackHosts(const QString& runId) {
    QSqlQuery rows = execute(QStringLiteral("SELECT DISTINCT host FROM run JOIN outcome ON outcome.run = key "
                                            "JOIN computer ON computer.id = outcome.computer WHERE undo_of "
                                            "<> '' AND undo_of = ? AND kind IN (%1)")
                                 .arg(listOf(successes)),
                             {runId});
    QSet<QString> hosts;
    while (rows.next())
        hosts.insert(rows.value(0).toString());
    return hosts;
}

std::optional<qint64> ActivityDatabase::keyOf(const QString& runId) {
    const QVariant key = value(QStringLiteral("SELECT key FROM run WHERE id = ?"), {runId});
    return key.isValid() ? std::optional(key.toLongLong()) : std::nullopt;
}

ActivityFacets ActivityDatabase::facets() {
    ActivityFacets facets;
    QSqlQuery tools = execute(QStringLiteral("SELECT DISTINCT tool FROM run ORDER BY tool"));
    while (tools.next())
        facets.tools << tools.value(0).toString();
    // A computer that was renamed has several; the last one is the one that counts.
    QSqlQuery computers = execute(QStringLiteral("SELECT host, name FROM computer ORDER BY id DESC"));
    QSet<QString> seen;
    while (computers.next()) {
        const QString host = computers.value(0).toString();
        const QString name = computers.value(1).toString();
        const QString value = host.isEmpty() ? name : host;
        if (value.isEmpty() || seen.contains(value)) continue;
        seen.insert(value);
        facets.computers << ActivityFacets::Computer{value, name.isEmpty() ? host : name};
    }
    std::sort(facets.computers.begin(), facets.computers.end(), [](const auto& left, const auto& right) {
        return QString::localeAwareCompare(left.name, right.name) < 0;
    });
    return facets;
}
