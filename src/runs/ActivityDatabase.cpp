// What is written, and what goes again for want of room. Reading: ActivityReading.cpp.

#include "runs/ActivityDatabase.h"

#include "logs/VLLog.h"
#include "runs/ActivityForm.h"
#include "runs/UndoData.h"

#include <algorithm>
#include <utility>

using namespace ActivityForm;

namespace {

constexpr qsizetype longestSearch = 4'000;
constexpr int computersPerStep = 2'000, runsPerStep = 500;
constexpr qint64 pagesPerStep = 500;

QString countsText(const OutcomeCounts& counts) {
    QStringList parts;
    for (const Outcome::Kind kind : kindsInFile)
        if (counts.of(kind) > 0)
            parts << QStringLiteral("%1 %2").arg(Outcome::word(kind)).arg(counts.of(kind));
    return parts.join(QLatin1Char(';'));
}

int maskOf(const OutcomeCounts& counts) {
    int mask = 0;
    for (const Outcome::Kind kind : kindsInFile)
        if (counts.of(kind) > 0) mask |= 1 << numberOf(kind);
    return mask;
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

}  // namespace

std::unique_ptr<ActivityDatabase> ActivityDatabase::open(const QString& path) {
    for (bool isSecond : {false, true}) {
        std::unique_ptr<ActivityDatabase> database(new ActivityDatabase(path));
        try {
            database->m_file.connect();
            database->prepareInserts();
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

void ActivityDatabase::prepareInserts() {
    m_inserts =
        Inserts{m_file.prepared(QStringLiteral(
                    "INSERT INTO run (key, id, started, ended, user, tool, action, action_done, "
                    "subject, is_change, undo_of, retry_of, counts, computers, kinds, "
                    "is_undoable, folded) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, "
                    "?, ?)")),
                m_file.prepared(QStringLiteral(
                    "INSERT INTO outcome (run, position, computer, kind, reason) VALUES (?, ?, ?, ?, ?)")),
                m_file.prepared(QStringLiteral("INSERT INTO undo (run, position, data) VALUES (?, ?, ?)"))};
    static_cast<void>(m_file.prepared(QStringLiteral("SELECT id, host, name, folded FROM computer")));
}

void ActivityDatabase::insert(const RunRecord& record) {
    const QList<QByteArray> undo = keptUndo(record);  // takes its time, in which others may write
    ActivityFile::Transaction transaction(m_file);
    if (contains(bounded(record.id, longestName))) return;
    // Somebody else may have removed computers that no run names any more.
    if (const qint64 now = m_file.version(); now != m_computersVersion) {
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
    return m_file.value(QStringLiteral("SELECT 1 FROM run WHERE id = ?"), {runId}).isValid();
}

/// Runs lie in the order of their start, which is that of the list. What starts in the future, by a clock
/// that was wrong, would never go.
qint64 ActivityDatabase::freeKey(const QDateTime& started) {
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    const qint64 time = std::clamp(started.isValid() ? started.toMSecsSinceEpoch() : now, qint64(0), now);
    const qint64 first = time * keysPerMillisecond;
    const QVariant last = m_file.value(QStringLiteral("SELECT max(key) FROM run WHERE key >= ? AND key < ?"),
                                       {first, first + keysPerMillisecond});
    if (last.isNull()) return first;
    qint64 key = last.toLongLong() + 1;
    while (m_file.value(QStringLiteral("SELECT 1 FROM run WHERE key = ?"), {key}).isValid())
        ++key;
    return key;
}

qint64 ActivityDatabase::computerId(const HostOutcome& host) {
    const std::pair names{bounded(host.hostName, longestName), bounded(host.name, longestName)};
    if (const auto known = m_computers.constFind(names); known != m_computers.cend()) return *known;
    QVariant id = m_file.value(QStringLiteral("SELECT id FROM computer WHERE host = ? AND name = ?"),
                               {names.first, names.second});
    if (!id.isValid())
        id = m_file
                 .execute(QStringLiteral("INSERT INTO computer (host, name, folded) VALUES (?, ?, ?)"),
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
        m_file.run(m_inserts->outcome);
        if (undo.at(position).isEmpty()) continue;
        m_inserts->undo.bindValue(0, key);
        m_inserts->undo.bindValue(1, position);
        m_inserts->undo.bindValue(2, undo.at(position));
        m_file.run(m_inserts->undo);
    }
}

void ActivityDatabase::insertRun(qint64 key, const RunRecord& record) {
    const OutcomeCounts counts = record.counts();
    const bool isUndoable =
        m_file.value(QStringLiteral("SELECT 1 FROM undo WHERE run = ? LIMIT 1"), {key}).isValid();
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
    m_file.run(m_inserts->run);
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
    const qint64 used = m_file.value(QStringLiteral("PRAGMA page_count")).toLongLong() -
                        m_file.value(QStringLiteral("PRAGMA freelist_count")).toLongLong();
    const qint64 bytes = used * m_file.value(QStringLiteral("PRAGMA page_size")).toLongLong();
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
    if (!readings.empty()) {
        m_isSparse = true;
        return readings;
    }
    if (std::exchange(m_isSparse, false) && compact() && !isTooLarge(limits.bytes)) return {};
    return oldestKeys(QStringLiteral("1"), {});
}

/// Readings that lay between changes leave pages half empty, which counts as used. False when there was no
/// time or no room for it.
bool ActivityDatabase::compact() {
    try {
        m_file.execute(QStringLiteral("VACUUM"));
        truncate();
        return true;
    } catch (const ActivityError&) {
        return false;
    }
}

/// No more than are quickly removed.
ActivityKeys ActivityDatabase::oldestKeys(const QString& condition, const QVariantList& values) {
    QSqlQuery runs =
        m_file.execute(QStringLiteral("SELECT key, computers FROM run WHERE %1 ORDER BY key LIMIT %2")
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
    ActivityFile::Transaction transaction(m_file);
    const QString list = listOf(keys);
    m_file.execute(QStringLiteral("DELETE FROM undo WHERE run IN (%1)").arg(list));
    m_file.execute(QStringLiteral("DELETE FROM outcome WHERE run IN (%1)").arg(list));
    m_file.execute(QStringLiteral("DELETE FROM run WHERE key IN (%1)").arg(list));
    m_file.execute(
        QStringLiteral("DELETE FROM computer WHERE NOT EXISTS (SELECT 1 FROM outcome WHERE "
                       "outcome.computer = computer.id)"));
    m_computers.clear();
    transaction.commit();
}

/// Gives pages that are free back to the disk. The statement gives rows without columns, which Qt takes for
/// none at all: each execution moves one page.
bool ActivityDatabase::shrink() {
    const qint64 free = m_file.value(QStringLiteral("PRAGMA freelist_count")).toLongLong();
    if (free == 0) return false;
    {
        ActivityFile::Transaction transaction(m_file);
        QSqlQuery page = m_file.prepared(QStringLiteral("PRAGMA incremental_vacuum(1)"));
        for (qint64 moved = 0; moved < std::min(free, pagesPerStep); ++moved)
            m_file.run(page);
        page.finish();
        transaction.commit();
    }
    if (free > pagesPerStep) return true;
    truncate();
    return false;
}

/// The file itself gets shorter only now. A reader may be in the way: the next checkpoint does it then.
void ActivityDatabase::truncate() {
    static_cast<void>(m_file.value(QStringLiteral("PRAGMA wal_checkpoint(TRUNCATE)")));
}
