// Reading the tasks, and the results as they stand.
#include "tools/cronwell/CronwellController.h"

#include "foundation/MainThread.h"
#include "foundation/VLCallLock.h"
#include "foundation/VLThread.h"
#include "foundation/VLUserDefaults.h"
#include "logs/VLLog.h"
#include "system/VLException.h"
#include "tools/cronwell/ScheduledTaskList.h"
#include "tools/cronwell/TaskRowMerger.h"
#include "tools/cronwell/ToolNames.h"

#include <algorithm>
#include <utility>

namespace {

/// What a row is sorted by: a text (folded, so that case doesn't count) or a number.
std::pair<QString, qlonglong> sortKey(const VLScheduledTask& row, const QString& column) {
    if (column == QLatin1String("frequencyDescription"))
        return {row.frequencyDescription().toCaseFolded(), 0};
    if (column == QLatin1String("taskBundleID")) return {toolName(row.taskBundleID()).toCaseFolded(), 0};
    if (column == QLatin1String("enabled")) return {{}, row.enabled()};
    if (column == QLatin1String("root")) return {{}, row.root()};
    if (column == QLatin1String("state")) return {{}, row.state()};
    return {row.taskDescription().toCaseFolded(), 0};
}

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

void sortAsStored(QList<VLScheduledTask>& rows) {
    const VLUserDefaults& defaults = VLUserDefaults::standardUserDefaults();
    CronwellController::sortRows(rows, defaults.stringForKey(QStringLiteral("cronwellOutlineSortedColumn")),
                                 defaults.boolForKey(QStringLiteral("cronwellOutlineSortedDescending")));
}

}  // namespace

bool CronwellController::isStopped(int run) const {
    return context().progress->isCancelled(run) || VLThread::isCancelled();
}

void CronwellController::refreshCronwellTasks() {
    const VLCallLock lock;
    onMainThreadAndWait([this] {
        if (m_cronwellArray.isEmpty()) setBusy(true);
    });
    VLLog::appendLog(QStringLiteral("Populating Cronwell tasks..."));
    try {
        populate();
    } catch (const std::exception& exception) {
        VLException::logException(exception, "-[AppController refreshCronwellTasks]");
    }
    onMainThreadAndWait([this] { setBusy(false); });
    context().progress->endStatusProgress();
}

void CronwellController::populate() {
    const int refresh = ++m_lastRefresh;
    const QList<VLServicePtr> services = context().selectedServices();
    context().progress->startStatusProgress();
    const int run = context().progress->currentRun();
    TaskRowMerger merger;
    QStringList hostNames;
    for (const VLServicePtr& service : services) {
        if (isStopped(run)) break;
        const QString hostName = service->hostName();
        hostNames.append(hostName);
        const ScheduledTaskList list = ScheduledTaskList::fromAnswer(context().runner->objectFromRemoteMethod(
            QStringLiteral("cronwellTaskDictionary"), {}, {}, service));
        if (!list.complaint.isEmpty())
            VLLog::appendLog(QStringLiteral("Scheduled tasks of %@: %@"), service->name(), list.complaint);
        for (const QVariantMap& task : list.tasks)
            merger.add(task, hostName);
        context().progress->incrementStatusProgress();
    }
    // Half a run says nothing about the clients that it did not come to.
    if (isStopped(run)) return;
    install(merger.takeRows(hostNames), refresh, run);
}

void CronwellController::install(QList<VLScheduledTask> rows, int refresh, int run) {
    sortAsStored(rows);
    onMainThreadAndWait([this, rows = std::move(rows), refresh, run]() mutable {
        if (refresh < m_installedRefresh || context().progress->isCancelled(run)) return;
        m_installedRefresh = refresh;
        setCronwellArray(std::move(rows));
    });
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
            const QString description = instance.value(QStringLiteral("frequencyDescription")).toString();
            if (!types.contains(description))
                types.insert(description, instance.value(QStringLiteral("scheduleType")));
        }
    }
    return types;
}

void CronwellController::sortRows(QList<VLScheduledTask>& rows, const QString& column, bool descending) {
    std::stable_sort(rows.begin(), rows.end(), [&](const VLScheduledTask& a, const VLScheduledTask& b) {
        const auto first = sortKey(a, column), second = sortKey(b, column);
        if (first != second) return descending ? second < first : first < second;
        return a.taskDescription() < b.taskDescription();
    });
}

ToolReport CronwellController::report() const {
    ToolReport report;
    report.header = {QStringLiteral("Task"),    QStringLiteral("Schedule"),  QStringLiteral("Tool"),
                     QStringLiteral("Enabled"), QStringLiteral("Runs as"),   QStringLiteral("Computers"),
                     QStringLiteral("Differs"), QStringLiteral("Missing on")};
    for (const VLScheduledTask& row : m_cronwellArray) {
        QStringList missing;
        for (const QVariant& host : row.missingHosts())
            missing.append(
                context().friendlyServiceName(host.toMap().value(QStringLiteral("hostname")).toString()));
        report.rows.append({row.taskDescription(), row.frequencyDescription(), toolName(row.taskBundleID()),
                            enabledText(row.enabled()),
                            row.root() != 0 ? QStringLiteral("root") : QStringLiteral("user"),
                            QString::number(row.children().size()), differenceText(row.state()),
                            missing.join(QStringLiteral(", "))});
    }
    return report;
}
