#include "runs/ActivityFile.h"

#include "base/RegularFile.h"
#include "logs/VLLog.h"
#include "runs/ActivityForm.h"

#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QUuid>

#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/statfs.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace {

constexpr int schemaVersion = 1;
constexpr int applicationId = 0x4f524c41;
constexpr int busyMilliseconds = 5'000;
constexpr std::array companions{"-wal", "-shm", "-journal"};

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

/// A private folder: what was done is nobody else's business.
void makeFolder(const QString& path) {
    const QFileInfo parent(QFileInfo(path).absolutePath());
    if (!parent.exists()) makeFolder(parent.absoluteFilePath());
    if (::mkdir(QFile::encodeName(path).constData(), 0700) == 0 || errno == EEXIST) return;
    failWith(path, errno);
}

/// A pipe or a folder in the place of a file would block, or give an error that nobody understands.
void demandRegularFile(const QString& path) {
    if (const QString problem = RegularFile::problem(path); !problem.isEmpty())
        throw ActivityError(ActivityError::Kind::Failed, problem);
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

/// While somebody puts a damaged file and its companions away, nobody begins a new one: its companions would
/// go with the old ones. Where no lock can be made, as on a full disk, this is left to luck.
class Turn {
public:
    explicit Turn(const QString& path) : m_lock(path + QStringLiteral(".lock")) {
        demandRegularFile(m_lock.fileName());
        if (m_lock.tryLock(busyMilliseconds) || m_lock.error() != QLockFile::LockFailedError) return;
        throw ActivityError(ActivityError::Kind::Busy,
                            QStringLiteral("%1: another process is opening it").arg(path));
    }

private:
    QLockFile m_lock;
};

}  // namespace

ActivityFile::Transaction::Transaction(const ActivityFile& file) : m_file(file) {
    m_file.execute(QStringLiteral("BEGIN IMMEDIATE"));
}

ActivityFile::Transaction::~Transaction() {
    if (!m_isCommitted) QSqlQuery(m_file.m_database).exec(QStringLiteral("ROLLBACK"));
}

void ActivityFile::Transaction::commit() {
    m_file.execute(QStringLiteral("COMMIT"));
    m_isCommitted = true;
}

ActivityFile::ActivityFile(const QString& path)
    : m_path(path), m_connection(QUuid::createUuid().toString(QUuid::WithoutBraces)) {}

ActivityFile::~ActivityFile() {
    m_database = QSqlDatabase();
    QSqlDatabase::removeDatabase(m_connection);
}

void ActivityFile::connect() {
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
                .arg(QLatin1String(ActivityForm::isPlainReading)));
}

/// A process that is killed loses nothing; a power failure may take the last runs, never part of one.
///
/// The write-ahead log lies in memory that its users share. Between two machines there is none: both would
/// damage the file.
void ActivityFile::chooseJournal() {
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
void ActivityFile::createSchema() {
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

bool ActivityFile::isReplaced() const {
    struct stat information {};
    return ::stat(QFile::encodeName(m_path).constData(), &information) != 0 ||
           information.st_dev != m_device || information.st_ino != m_inode;
}

void ActivityFile::keepDamaged() const {
    const Turn turn(m_path);
    if (isReplaced()) return;
    QString error;
    const auto kept = RegularFile::keepDamaged(m_path, &error);
    if (!kept) throw ActivityError(ActivityError::Kind::Failed, error);
    // What was written last lies in these; with them the file may be repaired.
    for (const char* companion : companions)
        QFile::rename(m_path + QLatin1String(companion), *kept + QLatin1String(companion));
    VLLog::appendLog(QStringLiteral("The activity file %@ is damaged. It is kept as %@, and a new one is "
                                    "begun."),
                     m_path, *kept);
}

qint64 ActivityFile::version() const {
    return value(QStringLiteral("PRAGMA data_version")).toLongLong();
}

QSqlQuery ActivityFile::prepared(const QString& sql) const {
    QSqlQuery query(m_database);
    query.setForwardOnly(true);
    if (!query.prepare(sql)) fail(m_path, query.lastError());
    return query;
}

void ActivityFile::run(QSqlQuery& query) const {
    if (!query.exec()) fail(m_path, query.lastError());
}

QSqlQuery ActivityFile::execute(const QString& sql, const QVariantList& values) const {
    QSqlQuery query = prepared(sql);
    for (const QVariant& value : values)
        query.addBindValue(value);
    run(query);
    return query;
}

QVariant ActivityFile::value(const QString& sql, const QVariantList& values) const {
    QSqlQuery query = execute(sql, values);
    return query.next() ? query.value(0) : QVariant();
}
