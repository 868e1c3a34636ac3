// Synchronising: every client gets the schedule and the state that most have.
#include "common/TaskSchedule.h"
#include "foundation/VLCallLock.h"
#include "logs/VLLog.h"
#include "remote/Aggregation.h"
#include "tools/cronwell/CronwellController.h"

#include <QScopeGuard>

#include <algorithm>
#include <utility>

namespace {

using namespace TaskKeys;

const QString scheduleTypeKey = QStringLiteral("scheduleType");
const QString intervalKey = QStringLiteral("interval");
const QString secondsKey = QStringLiteral("intervalSeconds");
const QString directoryKey = QStringLiteral("intervalDirectory");

constexpr char editSelector[] = "cronwellEditTask:settings:";
constexpr char addSelector[] = "cronwellAddTask:settings:";

QString calendarValue(const QVariantMap& interval) {
    QStringList parts;
    for (const char* key : {"Minute", "Hour", "Day", "Weekday", "Month"})
        parts.append(interval.value(QLatin1String(key)).toString());
    return parts.join(u',');
}

/// The common values hold only what the first client has: where that one has another kind of schedule, the
/// common schedule is taken from the first that has it.
QVariant scheduleValueFor(const QString& key, const QVariantMap& common, const QList<ClientCopy>& jobs) {
    if (common.contains(key)) return common.value(key);
    for (const ClientCopy& job : jobs)
        if (job.values.contains(key) && job.values.value(frequencyKey) == common.value(frequencyKey))
            return job.values.value(key);
    return {};
}

/// As it travels; invalid where there is none.
QVariant scheduleValue(const QVariantMap& common, const QList<ClientCopy>& jobs) {
    const auto value = [&](const QString& key) { return scheduleValueFor(key, common, jobs); };
    switch (common.value(scheduleTypeKey).toLongLong()) {
        case TaskSchedule::Seconds:
            return QString::number(value(secondsKey).toLongLong());
        case TaskSchedule::Calendar:
            return calendarValue(value(intervalKey).toMap());
        case TaskSchedule::Directory:
            return value(directoryKey);
        default:
            return {};
    }
}

/// What an added or changed job is to be.
QVariantMap commonSettings(const QVariantMap& common, const QVariant& scheduleValue) {
    QVariantMap settings{
        {QStringLiteral("scheduletype"), QString::number(common.value(scheduleTypeKey).toLongLong())}};
    const auto insert = [&](const char* key, const QVariant& value) {
        if (value.isValid()) settings.insert(QLatin1String(key), value);
    };
    insert("bundleid", common.value(bundleKey));
    insert("taskid", common.value(QStringLiteral("taskID")));
    insert("enabled", common.value(enabledKey));
    insert("intervalval", scheduleValue);
    return settings;
}

bool differsFrom(const QVariantMap& common, const QVariantMap& instance) {
    const QString keys[] = {taskDescriptionKey, frequencyKey, bundleKey, enabledKey};
    return std::any_of(std::begin(keys), std::end(keys), [&](const QString& key) {
        return !Aggregation::sameValue(instance.value(key), common.value(key));
    });
}

}  // namespace

/// A client that gave no answer may have anything: it is left alone.
void CronwellController::cronwellSyncTasksAction() {
    const Answered answered = answeredClients();
    if (answered.clients.isEmpty()) return;
    startRunOn(
        QStringLiteral("cronwellSyncTasks"),
        {.action = tr("Synchronise"),
         .actionDone = tr("Synchronised"),
         .subject = tr("tasks"),
         .isChange = true,
         .keeping = keeping()},
        answered.clients, [this] { cronwellSyncTasks(); }, answered.alone);
}

void CronwellController::cronwellSyncTasks() {
    const VLCallLock lock;
    const RunScope scope(runHere());
    VLLog::appendLog(QStringLiteral("Syncing Cronwell tasks..."));
    const auto refreshAfterwards = qScopeGuard([this] { endAndRefresh(); });
    const QList<VLScheduledTask> rows = copyOfRows();
    const ScheduleTypes types = scheduleTypes(rows);
    QList<Message> messages;
    for (const VLScheduledTask& row : rows)
        if (row.difference() != VLScheduledTask::Alike) addSyncMessages(row, types, messages);
    if (messages.isEmpty()) return;
    context().progress->startStatusProgress();
    send(QStringLiteral("cronwellSyncTasks"), messages);
}

/// A client that gave no answer may have it: it is left alone.
void CronwellController::addSyncMessages(const VLScheduledTask& row, const ScheduleTypes& types,
                                         QList<Message>& messages) {
    QVariantMap common = Aggregation::commonValuesForDictArray(row.children());
    const QVariant type = types.value(common.value(frequencyKey).toString());
    if (type.isValid()) common.insert(scheduleTypeKey, type);
    const QVariantMap settings = commonSettings(common, scheduleValue(common, row.copies()));
    for (const ClientCopy& job : row.copies()) {
        if (!differsFrom(common, job.values)) continue;
        QVariantMap changed = settings;
        changed.insert(fileNameKey, job.values.value(fileNameKey));
        messages.append({job.hostName, editSelector, changed, row.root()});
    }
    for (const AskedClient& client : row.absent())
        if (client.hasAnswered) messages.append({client.hostName, addSelector, settings, row.root()});
}
