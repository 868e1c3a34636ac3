// Reading the tasks, and the results as they stand.
#include "tools/cronwell/CronwellController.h"

#include "foundation/MainThread.h"
#include "logs/VLLog.h"
#include "tools/cronwell/ScheduledTaskList.h"
#include "tools/cronwell/TaskKeys.h"
#include "tools/cronwell/TaskRowMerger.h"
#include "tools/cronwell/ToolNames.h"

#include <utility>

namespace {

QString enabledText(int enabled) {
    if (enabled < 0) return QStringLiteral("mixed");
    return enabled == 0 ? QStringLiteral("no") : QStringLiteral("yes");
}

QString differenceText(int state) {
    switch (state) {
        case VLScheduledTask::SchedulesDiffer:
            return QStringLiteral("schedule");
        case VLScheduledTask::EnabledDiffers:
            return QStringLiteral("enabled");
        case VLScheduledTask::Missing:
            return QStringLiteral("missing");
        default:
            return QStringLiteral("none");
    }
}

}  // namespace

void CronwellController::refreshCronwellTasks() {
    runRefresh(
        QStringLiteral("refreshCronwellTasks"), QStringLiteral("Populating Cronwell tasks..."),
        Display::StatusBar, [this] { return m_cronwellArray.isEmpty(); },
        [this](const Reading& reading) { populate(reading); });
}

void CronwellController::populate(const Reading& reading) {
    TaskRowMerger merger;
    QStringList hostNames;
    const auto take = [&](const VLService& client, const QVariant& answer) {
        hostNames.append(client.hostName());
        const ScheduledTaskList list = ScheduledTaskList::fromAnswer(answer);
        if (!list.complaint.isEmpty())
            VLLog::appendLog(QStringLiteral("Scheduled tasks of %@: %@"), client.name(), list.complaint);
        for (const QVariantMap& task : list.tasks)
            merger.add(task, hostNames.last());
    };
    if (!askEach(QStringLiteral("cronwellTaskDictionary"), reading, take)) return;
    QList<VLScheduledTask> rows = merger.takeRows(hostNames);
    install(reading, [&] { setCronwellArray(std::move(rows)); });
}

void CronwellController::setCronwellArray(QList<VLScheduledTask> rows) {
    m_cronwellArray = std::move(rows);
    m_hasResult = true;
    Q_EMIT changed();
}

QList<VLScheduledTask> CronwellController::rows() const {
    QList<VLScheduledTask> rows;
    onMainThreadAndWait([&] { rows = m_cronwellArray; });
    return rows;
}

void CronwellController::clearData() {
    m_cronwellArray.clear();
    m_newTaskAppDataArray.clear();
    m_hasResult = false;
    Q_EMIT changed();
    Q_EMIT newTaskAppsChanged();
}

QVariant CronwellController::taskScheduleScheduleTypeForDescription(const QString& description) const {
    return scheduleTypes(m_cronwellArray).value(description);
}

CronwellController::ScheduleTypes CronwellController::scheduleTypes(const QList<VLScheduledTask>& rows) {
    ScheduleTypes types;
    for (const VLScheduledTask& row : rows) {
        for (const QVariant& child : row.children()) {
            const QVariantMap instance = child.toMap();
            const QString description = instance.value(TaskKeys::frequencyKey).toString();
            if (!types.contains(description))
                types.insert(description, instance.value(QStringLiteral("scheduleType")));
        }
    }
    return types;
}

ToolReport CronwellController::report() const {
    ToolReport report;
    report.header = {QStringLiteral("Task"),    QStringLiteral("Schedule"),  QStringLiteral("Tool"),
                     QStringLiteral("Enabled"), QStringLiteral("Runs as"),   QStringLiteral("Computers"),
                     QStringLiteral("Differs"), QStringLiteral("Missing on")};
    for (const VLScheduledTask& row : m_cronwellArray) {
        QStringList missing;
        for (const QVariant& host : row.missingHosts())
            missing.append(context().friendlyServiceName(ClientCopies::hostNameOf(host.toMap())));
        report.rows.append({row.taskDescription(), row.frequencyDescription(), toolName(row.taskBundleID()),
                            enabledText(row.enabled()),
                            row.root() != 0 ? QStringLiteral("root") : QStringLiteral("user"),
                            QString::number(row.children().size()), differenceText(row.state()),
                            missing.join(QStringLiteral(", "))});
    }
    return report;
}
