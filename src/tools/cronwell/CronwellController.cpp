// Reading the tasks, and the results as they stand.
#include "tools/cronwell/CronwellController.h"

#include "tools/cronwell/ToolNames.h"

namespace {

QString enabledText(int enabled) {
    if (enabled < 0) return QStringLiteral("mixed");
    return enabled == 0 ? QStringLiteral("no") : QStringLiteral("yes");
}

}  // namespace

void CronwellController::refreshCronwellTasks() {
    refreshRows({.operation = "refreshCronwellTasks",
                 .logLine = "Populating Cronwell tasks...",
                 .selector = "cronwellTaskDictionary",
                 .complaint = "Scheduled tasks of %@: %@"});
}

void CronwellController::clearData() {
    setNewTaskAppDataArray({});
    MergedController::clearData();
    Q_EMIT newTaskAppsChanged();
}

QVariant CronwellController::taskScheduleScheduleTypeForDescription(const QString& description) const {
    return scheduleTypes(rows()).value(description);
}

CronwellController::ScheduleTypes CronwellController::scheduleTypes(const QList<VLScheduledTask>& rows) {
    ScheduleTypes types;
    for (const VLScheduledTask& row : rows) {
        for (const ClientCopy& job : row.copies()) {
            const QString description = job.text(TaskKeys::frequencyKey);
            if (!types.contains(description))
                types.insert(description, job.values.value(QStringLiteral("scheduleType")));
        }
    }
    return types;
}

QStringList CronwellController::reportTitles() const {
    return {QStringLiteral("Task"), QStringLiteral("Schedule"), QStringLiteral("Tool"),
            QStringLiteral("Enabled"), QStringLiteral("Runs as")};
}

QStringList CronwellController::reportCells(const VLScheduledTask& row) const {
    return {row.taskDescription(), row.frequencyDescription(), toolName(row.taskBundleID()),
            enabledText(row.enabled()), row.root() != 0 ? QStringLiteral("root") : QStringLiteral("user")};
}

QString CronwellController::differenceWord(const VLScheduledTask& row) const {
    switch (row.difference()) {
        case VLScheduledTask::SchedulesDiffer:
            return QStringLiteral("schedule");
        case VLScheduledTask::EnabledDiffers:
            return QStringLiteral("enabled");
        case VLScheduledTask::Missing:
            return QStringLiteral("missing");
        default:
            return row.isAnywhereSeveralTimes() ? QStringLiteral("duplicated") : QStringLiteral("none");
    }
}
