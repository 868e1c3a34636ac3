// What changes tasks on the clients, and the tasks that can be scheduled.
#include "foundation/MainThread.h"
#include "foundation/VLCallLock.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"
#include "remote/Aggregation.h"
#include "remote/DelayedRefresh.h"
#include "system/VLAlert.h"
#include "system/VLException.h"
#include "tools/cronwell/CronwellController.h"
#include "tools/cronwell/OfferMerger.h"
#include "tools/cronwell/TaskSchedule.h"

#include <QPointer>
#include <QScopeGuard>

#include <algorithm>
#include <utility>

namespace {

constexpr int refreshDelay = 1;  // seconds: a client's launch service may still be busy with the change

const QString hostNameKey = QStringLiteral("hostname");
const QString fileNameKey = QStringLiteral("filename");
const QString enabledKey = QStringLiteral("enabled");
const QString rootKey = QStringLiteral("root");
const QString taskDescriptionKey = QStringLiteral("taskDescription");
const QString frequencyKey = QStringLiteral("frequencyDescription");
const QString bundleKey = QStringLiteral("taskBundleID");
const QString scheduleTypeKey = QStringLiteral("scheduleType");
const QString intervalKey = QStringLiteral("interval");
const QString secondsKey = QStringLiteral("intervalSeconds");
const QString directoryKey = QStringLiteral("intervalDirectory");

constexpr char editSelector[] = "cronwellEditTask:settings:";
constexpr char addSelector[] = "cronwellAddTask:settings:";
constexpr char enableSelector[] = "cronwellEnableTask:settings:";
constexpr char removeSelector[] = "cronwellRemoveTask:settings:";

QString hostNameOf(const QVariant& instance) {
    return instance.toMap().value(hostNameKey).toString();
}

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

/// A run over many jobs, shown in the status bar, whose length is the number of selected clients. Ends with
/// the object.
class CronwellController::ProgressSteps {
public:
    ProgressSteps(const CronwellController& controller, qsizetype total)
        : m_controller(controller),
          m_total(std::max<qsizetype>(total, 1)),
          m_clients(controller.context().selectedServices().size()) {
        controller.context().progress->startStatusProgress();
        m_run = controller.context().progress->currentRun();
    }
    ~ProgressSteps() { m_controller.context().progress->endStatusProgress(); }
    ProgressSteps(const ProgressSteps&) = delete;
    ProgressSteps& operator=(const ProgressSteps&) = delete;

    void step() {
        for (++m_done; m_shown < m_done * m_clients / m_total; ++m_shown)
            m_controller.context().progress->incrementStatusProgress();
    }
    [[nodiscard]] bool isStopped() const { return m_controller.isStopped(m_run); }

private:
    const CronwellController& m_controller;
    const qsizetype m_total, m_clients;
    qsizetype m_done = 0, m_shown = 0;
    int m_run = 0;
};

void CronwellController::send(const char* selector, const QVariant& settings, qlonglong root,
                              const char* plainKey, const QString& hostName) const {
    const VLServicePtr service = context().serviceWithHostName(hostName);
    if (root != 0)
        context().authorizedRunner->authExecuteRemoteMethod(QLatin1String(selector), settings, {}, service);
    else
        context().runner->executeRemoteMethod(QLatin1String(selector), {},
                                              QVariantMap{{QLatin1String(plainKey), settings}}, service);
}

void CronwellController::sendToAll(const char* selector, const QVariantMap& settings, bool root) const {
    if (root)
        context().authorizedRunner->authExecuteRemoteMethods(QLatin1String(selector), settings);
    else
        context().runner->executeRemoteMethods(QLatin1String(selector), {},
                                               QVariantMap{{QStringLiteral("obj1"), settings}});
}

/// This thread may be the last to hold the controller, which ends on the main thread.
void CronwellController::delayedRefresh() {
    const auto refresh = [this, self = weak_from_this().lock()]() mutable {
        refreshCronwellTasks();
        if (self) onMainThread([self = std::move(self)] {});
    };
    DelayedRefresh::delayedRefreshOnNewThread(refresh, refreshDelay);
}

// ---- Synchronise

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
    qsizetype total = 0;
    for (const VLScheduledTask& row : std::as_const(differing))
        total += row.children().size() + row.missingHosts().size();
    ProgressSteps progress(*this, total);
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
            send(editSelector, changed, row.root(), "obj1", hostNameOf(child));
        }
        progress.step();
    }
    for (const QVariant& missing : row.missingHosts()) {
        if (progress.isStopped()) return;
        send(addSelector, settings, row.root(), "obj1", hostNameOf(missing));
        progress.step();
    }
}

// ---- Enable and disable

void CronwellController::cronwellEnableAllAction() {
    startEnabling({{}, 1});
}

void CronwellController::cronwellDisableAllAction() {
    startEnabling({{}, 0});
}

void CronwellController::startEnabling(EnableRequest request) {
    startWorker(QStringLiteral("cronwellEnableTask:"),
                [this, request = std::move(request)] { cronwellEnableTask(request); });
}

void CronwellController::setEnabled(int row, int child, int enabled) {
    if (row < 0 || row >= m_cronwellArray.size()) return;
    VLScheduledTask& task = m_cronwellArray[row];
    QVariantList children = task.children();
    if (child >= children.size()) return;
    for (qsizetype i = 0; i < children.size(); ++i) {
        if (child >= 0 && i != child) continue;
        QVariantMap instance = children.at(i).toMap();
        instance.insert(enabledKey, qlonglong{enabled});
        children[i] = instance;
    }
    task.setChildren(children);
    if (child < 0) task.setEnabled(enabled);
    EnableRequest request{task, enabled};
    if (child >= 0) request.task = children.at(child).toMap();
    Q_EMIT changed();
    startEnabling(std::move(request));
}

void CronwellController::cronwellEnableTask(const EnableRequest& request) {
    const VLCallLock lock;
    const auto refreshAfterwards = qScopeGuard([this] { delayedRefresh(); });
    if (const auto* row = std::get_if<VLScheduledTask>(&request.task))
        return enableOnAllHosts(*row, request.enabled);
    if (const auto* instance = std::get_if<QVariantMap>(&request.task)) {
        ProgressSteps progress(*this, 1);
        return enableOnHost(*instance, request.enabled);
    }
    enableEverything(request.enabled);
}

void CronwellController::enableEverything(qlonglong enabled) const {
    VLLog::appendLog(enabled == 1 ? QStringLiteral("Enabling all Cronwell tasks...")
                                  : QStringLiteral("Disabling all Cronwell tasks..."));
    // The agents change all of a client's tasks at once: with one of root's among them it takes the rights.
    const QList<VLScheduledTask> all = rows();
    const bool anyRoot = std::any_of(all.cbegin(), all.cend(), [](const VLScheduledTask& row) {
        return std::any_of(row.children().cbegin(), row.children().cend(), [](const QVariant& instance) {
            return instance.toMap().value(rootKey).toLongLong() != 0;
        });
    });
    sendToAll(enableSelector, {{enabledKey, enabled}}, anyRoot);
    context().progress->endStatusProgress();
}

void CronwellController::enableOnAllHosts(const VLScheduledTask& row, qlonglong enabled) {
    ProgressSteps progress(*this, row.children().size());
    VLLog::appendLog(enabled == 1 ? QStringLiteral("Enabling Cronwell task on all hosts...")
                                  : QStringLiteral("Disabling Cronwell task on all hosts..."));
    for (const QVariant& child : row.children()) {
        if (progress.isStopped()) return;
        enableOnHost(child.toMap(), enabled);
        progress.step();
    }
}

void CronwellController::enableOnHost(const QVariantMap& instance, qlonglong enabled) const {
    const QString hostName = hostNameOf(instance);
    VLLog::appendLog(enabled == 1 ? QStringLiteral("Enabling Cronwell task %@ on host %@...")
                                  : QStringLiteral("Disabling Cronwell task %@ on host %@..."),
                     instance.value(taskDescriptionKey), hostName);
    const QVariantMap settings{{fileNameKey, instance.value(fileNameKey)}, {enabledKey, enabled}};
    send(enableSelector, settings, instance.value(rootKey).toLongLong(), "obj1", hostName);
}

// ---- Remove

void CronwellController::cronwellRemoveTaskAction(const QList<int>& rows, QObject* window) {
    QList<VLScheduledTask> tasks;
    for (const int row : rows)
        if (row >= 0 && row < m_cronwellArray.size()) tasks.append(m_cronwellArray.at(row));
    if (tasks.isEmpty()) return;
    const bool isOne = tasks.size() == 1;
    const QString question = vlFormat(QStringLiteral("Are you sure you wish to delete %@ task%@?"),
                                      isOne ? QStringLiteral("this") : QStringLiteral("these"),
                                      isOne ? QString() : QStringLiteral("s"));
    const QString ended = QStringLiteral("cronwellRemoveTaskAlertDidEnd:returnCode:contextInfo:");
    // The answer may come when this controller is gone.
    const auto remove = [controller = QPointer(this), tasks](int returnCode) {
        if (returnCode != VLAlert::DefaultReturn || !controller) return;
        controller->startWorker(
            QStringLiteral("cronwellRemoveTasks:"),
            [controller = controller.data(), tasks] { controller->cronwellRemoveTasks(tasks); });
    };
    VLAlert::alertSheetWithMessageText(
        question, QStringLiteral("Remove"), QStringLiteral("Cancel"), {},
        QStringLiteral("This cannot be undone."), window,
        std::make_shared<VLAlertHandlers>(QHash<QString, VLAlertHandlers::Handler>{{ended, remove}}), ended,
        false);
}

void CronwellController::cronwellRemoveTasks(const QList<VLScheduledTask>& rows) {
    const VLCallLock lock;
    QStringList descriptions;
    qsizetype total = 0;
    for (const VLScheduledTask& row : rows) {
        descriptions.append(row.taskDescription());
        total += row.children().size();
    }
    VLLog::appendLog(QStringLiteral("Removing Cronwell tasks: %@"), descriptions);
    const auto refreshAfterwards =
        qScopeGuard([this] { startRefresh(QStringLiteral("refreshCronwellTasks")); });
    ProgressSteps progress(*this, total);
    for (const VLScheduledTask& row : rows) {
        for (const QVariant& child : row.children()) {
            if (progress.isStopped()) return;
            const QVariantMap instance = child.toMap();
            send(removeSelector, instance.value(fileNameKey), instance.value(rootKey).toLongLong(), "obj2",
                 hostNameOf(child));
            progress.step();
        }
    }
}

// ---- Add

void CronwellController::cronwellAddTaskAction() {
    setReadingApps(+1);
    startWorker(QStringLiteral("populateCronwellAppList"), [this] {
        const auto done = qScopeGuard([this] { onMainThreadAndWait([this] { setReadingApps(-1); }); });
        populateCronwellAppList();
    });
    VLLog::appendLog(QStringLiteral("Showing Cronwell Add Task dialog..."));
}

void CronwellController::setReadingApps(int change) {
    m_appReaders += change;
    Q_EMIT newTaskAppsChanged();
}

void CronwellController::populateCronwellAppList() {
    const VLCallLock lock;
    const QList<VLServicePtr> services = context().selectedServices();
    ProgressSteps progress(*this, services.size());
    OfferMerger merger;
    for (const VLServicePtr& service : services) {
        if (progress.isStopped()) return;
        merger.add(context().runner->objectFromRemoteMethod(QStringLiteral("vlAppTasks"), {}, {}, service),
                   service->hostName());
        progress.step();
    }
    if (progress.isStopped()) return;
    onMainThreadAndWait([&] { setupCronwellNewTaskApps(merger.takeApplications()); });
}

void CronwellController::setupCronwellNewTaskApps(const QVariantList& applications) {
    setNewTaskAppDataArray(applications);
    Q_EMIT newTaskAppsChanged();
}

void CronwellController::addCronwellTask(const QVariantMap& arguments) {
    startWorker(QStringLiteral("addCronwellTaskOnThread:"),
                [this, arguments] { addCronwellTaskOnThread(arguments); });
}

void CronwellController::addCronwellTaskOnThread(const QVariantMap& arguments) {
    const VLCallLock lock;
    VLLog::appendLog(QStringLiteral("Adding Cronwell task with arguments: %@"), arguments);
    sendToAll(addSelector, arguments, arguments.value(rootKey).toLongLong() != 0);
    context().progress->endStatusProgress();
    startRefresh(QStringLiteral("refreshCronwellTasks"));
}
