// Synchronising: every client gets the schedule and the state that most have.
#include "foundation/VLCallLock.h"
#include "logs/VLLog.h"
#include "remote/Aggregation.h"
#include "tools/cronwell/CronwellController.h"
#include "tools/cronwell/ProgressSteps.h"
#include "tools/cronwell/TaskKeys.h"
#include "tools/cronwell/TaskSchedule.h"

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
QVariant scheduleValueFor(const QString& key, const QVariantMap& common, const QVariantList& instances) {
    if (common.contains(key)) return common.value(key);
    for (const QVariant& value : instances) {
        const QVariantMap instance = value.toMap();
        if (instance.contains(key) && instance.value(frequencyKey) == common.value(frequencyKey))
            return instance.value(key);
    }
    return {};
}

/// As it travels; invalid where there is none.
QVariant scheduleValue(const QVariantMap& common, const QVariantList& instances) {
    const auto value = [&](const QString& key) { return scheduleValueFor(key, common, instances); };
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

void CronwellController::cronwellSyncTasksAction() {
    startWorker(QStringLiteral("cronwellSyncTasks"), [this] { cronwellSyncTasks(); });
}

void CronwellController::cronwellSyncTasks() {
    const VLCallLock lock;
    VLLog::appendLog(QStringLiteral("Syncing Cronwell tasks..."));
    const auto refreshAfterwards =
        qScopeGuard([this] { startRefresh(QStringLiteral("refreshCronwellTasks")); });
    QList<VLScheduledTask> differing = rows();
    const ScheduleTypes types = scheduleTypes(differing);
    differing.removeIf([](const VLScheduledTask& row) { return row.state() == VLScheduledTask::Alike; });
    if (differing.isEmpty()) return;
    qsizetype total = 0;
    for (const VLScheduledTask& row : std::as_const(differing))
        total += row.children().size() + row.missingHosts().size();
    ProgressSteps progress(context(), total);
    for (const VLScheduledTask& row : std::as_const(differing))
        syncRow(row, types, progress);
}

void CronwellController::syncRow(const VLScheduledTask& row, const ScheduleTypes& types,
                                 ProgressSteps& progress) {
    QVariantMap common = Aggregation::commonValuesForDictArray(row.children());
    const QVariant type = types.value(common.value(frequencyKey).toString());
    if (type.isValid()) common.insert(scheduleTypeKey, type);
    const QVariantMap settings = commonSettings(common, scheduleValue(common, row.children()));
    for (const QVariant& child : row.children()) {
        if (progress.isStopped()) return;
        const QVariantMap instance = child.toMap();
        if (differsFrom(common, instance)) {
            QVariantMap changed = settings;
            changed.insert(fileNameKey, instance.value(fileNameKey));
            send({editSelector, changed, row.root()}, instance.value(hostNameKey).toString());
        }
        progress.step();
    }
    for (const QVariant& missing : row.missingHosts()) {
        if (progress.isStopped()) return;
        send({addSelector, settings, row.root()}, missing.toMap().value(hostNameKey).toString());
        progress.step();
    }
}
