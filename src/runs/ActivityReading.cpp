// What is read.

#include "runs/ActivityDatabase.h"
#include "runs/ActivityForm.h"
#include "runs/UndoData.h"

#include <QSet>

#include <algorithm>
#include <span>

using namespace ActivityForm;

namespace {

constexpr std::size_t keysPerQuery = 500;

/// The numbers of those that count as successes.
constexpr std::array successes{numberOf(Outcome::Answered), numberOf(Outcome::Done)};

Outcome::Kind kindOf(int number) {
    const bool isKnown = number >= 0 && number < static_cast<int>(kindsInFile.size());
    return isKnown ? kindsInFile.at(static_cast<std::size_t>(number)) : Outcome::Failed;
}

OutcomeCounts countsFrom(const QString& text) {
    OutcomeCounts counts;
    for (const QString& part : text.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
        const qsizetype space = part.lastIndexOf(QLatin1Char(' '));
        if (space > 0) counts.add(Outcome::fromWord(part.left(space)), std::max(0, part.mid(space).toInt()));
    }
    return counts;
}

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

QList<qint64> ActivityDatabase::computersNamed(const QString& word) {
    QSqlQuery rows = m_file.execute(QStringLiteral("SELECT id FROM computer WHERE instr(folded, ?)"), {word});
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
    QSqlQuery rows = m_file.execute(sql, conditions.values);
    ActivityKeys keys;
    while (rows.next())
        keys.push_back(rows.value(0).toLongLong());
    return keys;
}

QList<RunSummary> ActivityDatabase::summaries(const ActivityKeys& keys) {
    QList<RunSummary> summaries;
    for (std::size_t first = 0; first < keys.size(); first += keysPerQuery) {
        const std::span part(keys.data() + first, std::min(keysPerQuery, keys.size() - first));
        QSqlQuery rows =
            m_file.execute(QStringLiteral("SELECT %1 FROM run WHERE key IN (%2) ORDER BY key DESC")
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
    QSqlQuery rows = m_file.execute(sql, {key});
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
    QSqlQuery rows =
        m_file.execute(QStringLiteral("SELECT DISTINCT host FROM run JOIN outcome ON outcome.run = key "
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
    const QVariant key = m_file.value(QStringLiteral("SELECT key FROM run WHERE id = ?"), {runId});
    return key.isValid() ? std::optional(key.toLongLong()) : std::nullopt;
}

ActivityFacets ActivityDatabase::facets() {
    ActivityFacets facets;
    QSqlQuery tools = m_file.execute(QStringLiteral("SELECT DISTINCT tool FROM run ORDER BY tool"));
    while (tools.next())
        facets.tools << tools.value(0).toString();
    // A computer that was renamed has several; the last one is the one that counts.
    QSqlQuery computers = m_file.execute(QStringLiteral("SELECT host, name FROM computer ORDER BY id DESC"));
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
