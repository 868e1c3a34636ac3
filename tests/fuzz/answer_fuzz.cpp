#include "clients/ClientConfiguration.h"
#include "fuzz/Fuzzing.h"
#include "fuzz/SampleValues.h"
#include "fuzz/WireBytes.h"
#include "remote/Aggregation.h"
#include "tools/addonry/AddonryUndo.h"
#include "tools/addonry/VLPluginItem.h"
#include "tools/cronwell/CronwellUndo.h"
#include "tools/cronwell/OfferMerger.h"
#include "tools/cronwell/VLScheduledTask.h"
#include "tools/merged/RowMerger.h"
#include "tools/settlekeep/BackupList.h"
#include "tools/settlekeep/PreferenceTree.h"

namespace {

const QString one = QStringLiteral("one.local."), other = QStringLiteral("other.local.");

/// The rows of two clients, of which the second lacks the first entry.
template <typename Row>
QList<QVariantMap> mergeRows(const QVariant& answer) {
    const AgentAnswer::Entries checked = Row::checked(answer);
    RowMerger<Row> merger;
    merger.add(one, checked.entries);
    merger.add(other, checked.entries.mid(1));
    const QList<Row> rows = merger.takeRows();
    mustHold(rows.isEmpty() == checked.entries.isEmpty(), "entries make rows");
    for (const Row& row : rows)
        for (int column = 0; column < Row::ColumnCount; ++column)
            static_cast<void>(row.sortKey(column));
    return checked.entries;
}

void readPlugins(const QVariant& answer) {
    const auto plugins = mergeRows<VLPluginItem>(answer);
    const QVariantMap undo = AddonryUndo::former(plugins, {}, [](const QVariantMap&) { return true; });
    static_cast<void>(AddonryUndo::plan(undo, plugins.mid(1)));
    if (const auto* kept = AgentAnswer::dictionaryIn(answer))
        static_cast<void>(AddonryUndo::plan(*kept, plugins));
}

void readTasks(const QVariant& answer) {
    const auto tasks = mergeRows<VLScheduledTask>(answer);
    const QVariantMap undo = CronwellUndo::difference(CronwellUndo::everything(tasks), tasks.mid(1));
    static_cast<void>(CronwellUndo::plan(undo, tasks.mid(1)));
    if (const auto* kept = AgentAnswer::dictionaryIn(answer))
        static_cast<void>(CronwellUndo::plan(*kept, tasks));
    OfferMerger offers;
    offers.add(OfferMerger::checked(answer).entries, one);
    offers.add(OfferMerger::checked(answer).entries.mid(1), other);
    static_cast<void>(offers.takeApplications());
}

void readBackups(const QVariant& answer) {
    QList<QVariantMap> backups = checkedBackups(answer).entries;
    for (const QString& column : backupColumnNames())
        sortBackups(backups, column, true, [](const QString& hostName) { return hostName; });
    for (const QVariantMap& backup : std::as_const(backups)) {
        mustHold(!backupTypeText(backup).isNull(), "a backup is of some type");
        static_cast<void>(backupName(backup));
        static_cast<void>(
            PreferenceTree::coveredApplications(backup.value(QStringLiteral("keys")).toString()));
    }
}

void readFacts(const QVariant& answer) {
    if (const auto* facts = AgentAnswer::dictionaryIn(answer)) {
        const auto configuration = ClientConfiguration::read(*facts, {});
        static_cast<void>(configuration.updates(QDateTime::fromMSecsSinceEpoch(0, Qt::UTC)));
        static_cast<void>(Aggregation::highestValueFromDict(*facts));
    }
    if (answer.typeId() != QMetaType::QVariantList) return;
    const QVariantList list = answer.toList();
    for (const char* key : {"version", "name", "disabled"})
        static_cast<void>(Aggregation::aggregatedValueForKey(QLatin1String(key), list));
    static_cast<void>(Aggregation::versionRangeInArray(list, QStringLiteral("version")));
    static_cast<void>(Aggregation::commonValuesForDictArray(list));
    static_cast<void>(Aggregation::commonOrHighestStatsFromArray(list));
    static_cast<void>(Aggregation::aggregatedAppDictStatus(list));
}

}  // namespace

/// The answer of an agent, read as if it were that to each of the questions.
void readInput(const QByteArray& input) {
    QVariant answer;
    try {
        answer = WireBytes(input).readOutcome(smallLimits());
    } catch (const VLException&) {
        return;
    }
    readPlugins(answer);
    readTasks(answer);
    readBackups(answer);
    readFacts(answer);
}

QList<QByteArray> seeds() {
    QList<QByteArray> made;
    const QVariantList answers = sampleAnswers();
    for (const QVariant& answer : answers)
        made.append(WireBytes::outcome(answer));
    return made;
}
