// What changes tasks on the clients, and the tasks that can be scheduled.
#include "foundation/MainThread.h"
#include "foundation/VLCallLock.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"
#include "remote/DelayedRefresh.h"
#include "system/VLAlert.h"
#include "system/VLException.h"
#include "tools/cronwell/CronwellController.h"
#include "tools/cronwell/OfferMerger.h"
#include "tools/cronwell/ProgressSteps.h"
#include "tools/cronwell/ScheduledTaskList.h"
#include "tools/cronwell/TaskKeys.h"

#include <QHash>
#include <QPointer>
#include <QScopeGuard>
#include <QSet>

#include <algorithm>
#include <utility>

namespace {

using namespace TaskKeys;

constexpr int refreshDelay = 1;  // seconds: a client's launch service may still be busy with the change

constexpr char addSelector[] = "cronwellAddTask:settings:";
constexpr char enableSelector[] = "cronwellEnableTask:settings:";
constexpr char removeSelector[] = "cronwellRemoveTask:settings:";

QString hostNameOf(const QVariant& instance) {
    return ClientCopies::hostNameOf(instance.toMap());
}

/// What names a row.
std::pair<QString, QString> keyOf(const VLScheduledTask& row) {
    return {row.taskBundleID(), row.taskDescription()};
}

/// Whose file it is on which client.
std::pair<QString, QString> fileOf(const QVariant& instance) {
    return {hostNameOf(instance), instance.toMap().value(fileNameKey).toString()};
}

}  // namespace

void CronwellController::send(const Message& message, const QString& hostName) const {
    const VLServicePtr service = context().serviceWithHostName(hostName);
    const QLatin1String selector(message.selector);
    if (message.root != 0)
        context().authorizedRunner->authExecuteRemoteMethod(selector, message.settings, {}, service);
    else
        context().runner->executeRemoteMethod(
            selector, {}, QVariantMap{{QLatin1String(message.plainKey), message.settings}}, service);
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

// ---- Enable and disable

void CronwellController::cronwellEnableAllAction() {
    startEnabling({EnableRequest{{}, 1}});
}

void CronwellController::cronwellDisableAllAction() {
    startEnabling({EnableRequest{{}, 0}});
}

void CronwellController::startEnabling(const QList<EnableRequest>& requests) {
    startWorker(QStringLiteral("cronwellEnableTask:"), [this, requests] { enableTasks(requests); });
}

void CronwellController::setEnabled(const QList<Target>& targets, int enabled) {
    QHash<std::pair<QString, QString>, qsizetype> places;
    for (qsizetype row = 0; row < m_cronwellArray.size(); ++row)
        places.insert(keyOf(m_cronwellArray.at(row)), row);
    QList<EnableRequest> requests;
    for (const Target& target : targets) {
        const auto row = places.constFind({target.bundleID, target.description});
        if (row == places.constEnd()) continue;
        if (auto request = write(m_cronwellArray[*row], target, enabled)) requests.append(*request);
    }
    if (requests.isEmpty()) return;
    Q_EMIT changed();
    startEnabling(requests);
}

std::optional<CronwellController::EnableRequest> CronwellController::write(VLScheduledTask& row,
                                                                           const Target& target,
                                                                           int enabled) {
    const bool isWholeRow = target.hostName.isEmpty();
    QVariantList children = row.children();
    QVariantMap written;
    for (QVariant& child : children) {
        if (!isWholeRow && fileOf(child) != std::pair(target.hostName, target.fileName)) continue;
        written = child.toMap();
        written.insert(enabledKey, qlonglong{enabled});
        child = written;
    }
    if (written.isEmpty()) return std::nullopt;
    row.setChildren(children);
    if (!isWholeRow) return EnableRequest{written, enabled};
    row.setEnabled(enabled);
    return EnableRequest{row, enabled};
}

void CronwellController::cronwellEnableTask(const EnableRequest& request) {
    enableTasks({request});
}

void CronwellController::enableTasks(const QList<EnableRequest>& requests) {
    const VLCallLock lock;
    const auto refreshAfterwards = qScopeGuard([this] { delayedRefresh(); });
    qsizetype total = 0;
    for (const EnableRequest& request : requests) {
        const auto* const row = std::get_if<VLScheduledTask>(&request.task);
        total += row ? row->children().size() : 1;
    }
    const bool isBrief = requests.size() == 1 && !std::holds_alternative<VLScheduledTask>(requests[0].task);
    ProgressSteps progress(context(), isBrief ? 0 : total);
    for (const EnableRequest& request : requests) {
        if (progress.isStopped()) return;
        if (const auto* row = std::get_if<VLScheduledTask>(&request.task))
            enableOnAllHosts(*row, request.enabled, progress);
        else if (const auto* instance = std::get_if<QVariantMap>(&request.task))
            enableOnHost(*instance, request.enabled, progress);
        else
            enableEverything(request.enabled);
    }
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
}

void CronwellController::enableOnAllHosts(const VLScheduledTask& row, qlonglong enabled,
                                          ProgressSteps& progress) const {
    VLLog::appendLog(enabled == 1 ? QStringLiteral("Enabling Cronwell task on all hosts...")
                                  : QStringLiteral("Disabling Cronwell task on all hosts..."));
    for (const QVariant& child : row.children()) {
        if (progress.isStopped()) return;
        enableOnHost(child.toMap(), enabled, progress);
    }
}

void CronwellController::enableOnHost(const QVariantMap& instance, qlonglong enabled,
                                      ProgressSteps& progress) const {
    const QString hostName = hostNameOf(instance);
    VLLog::appendLog(enabled == 1 ? QStringLiteral("Enabling Cronwell task %@ on host %@...")
                                  : QStringLiteral("Disabling Cronwell task %@ on host %@..."),
                     instance.value(taskDescriptionKey), hostName);
    const QVariantMap settings{{fileNameKey, instance.value(fileNameKey)}, {enabledKey, enabled}};
    send({enableSelector, settings, instance.value(rootKey).toLongLong()}, hostName);
    progress.step();
}

// ---- Remove

void CronwellController::cronwellRemoveTaskAction(const QList<Target>& rows, QObject* window) {
    QSet<std::pair<QString, QString>> chosen;
    for (const Target& row : rows)
        chosen.insert({row.bundleID, row.description});
    QList<VLScheduledTask> tasks = m_cronwellArray;
    tasks.removeIf([&](const VLScheduledTask& row) { return !chosen.contains(keyOf(row)); });
    if (tasks.isEmpty()) return;
    const bool isOne = tasks.size() == 1;
    const QString question = vlFormat(QStringLiteral("Are you sure you wish to delete %@ task%@?"),
                                      isOne ? QStringLiteral("this") : QStringLiteral("these"),
                                      isOne ? QString() : QStringLiteral("s"));
    const QString ended = QStringLiteral("cronwellRemoveTaskAlertDidEnd:returnCode:contextInfo:");
    // The answer may come when this controller is gone.
    const auto remove = [controller = QPointer(this), tasks](int returnCode) {
        if (returnCode != VLAlert::DefaultReturn || !controller) return;
        controller->startWorker(QStringLiteral("cronwellRemoveTasks:"),
                                [controller = controller.data(), rows = controller->withoutReplaced(tasks)] {
                                    controller->cronwellRemoveTasks(rows);
                                });
    };
    VLAlert::alertSheetWithMessageText(
        question, QStringLiteral("Remove"), QStringLiteral("Cancel"), {},
        QStringLiteral("This cannot be undone."), window,
        std::make_shared<VLAlertHandlers>(QHash<QString, VLAlertHandlers::Handler>{{ended, remove}}), ended,
        false);
}

/// Names of files are used again: the job that is in one now may not be the one that was asked about.
QList<VLScheduledTask> CronwellController::withoutReplaced(QList<VLScheduledTask> rows) const {
    QHash<std::pair<QString, QString>, const VLScheduledTask*> rowByFile;
    for (const VLScheduledTask& row : m_cronwellArray)
        for (const QVariant& child : row.children())
            rowByFile.insert(fileOf(child), &row);
    for (VLScheduledTask& row : rows) {
        QVariantList children = row.children();
        children.removeIf([&](const QVariant& child) {
            const VLScheduledTask* const now = rowByFile.value(fileOf(child));
            return now && keyOf(*now) != keyOf(row);
        });
        row.setChildren(children);
    }
    rows.removeIf([](const VLScheduledTask& row) { return row.children().isEmpty(); });
    return rows;
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
    ProgressSteps progress(context(), total);
    for (const VLScheduledTask& row : rows) {
        for (const QVariant& child : row.children()) {
            if (progress.isStopped()) return;
            const QVariantMap instance = child.toMap();
            send({removeSelector, instance.value(fileNameKey), instance.value(rootKey).toLongLong(), "obj2"},
                 hostNameOf(child));
            progress.step();
        }
    }
}

// ---- Add

void CronwellController::cronwellAddTaskAction() {
    setReadingApps(+1);
    // Ends with the worker, also with one for which there is no thread to be had.
    const std::shared_ptr<void> reading(
        nullptr, [this](void*) { onMainThreadAndWait([this] { setReadingApps(-1); }); });
    startWorker(QStringLiteral("populateCronwellAppList"), [this, reading] { populateCronwellAppList(); });
    VLLog::appendLog(QStringLiteral("Showing Cronwell Add Task dialog..."));
}

void CronwellController::setReadingApps(int change) {
    m_appReaders += change;
    Q_EMIT newTaskAppsChanged();
}

void CronwellController::populateCronwellAppList() {
    const VLCallLock lock;
    const QList<VLServicePtr> services = context().selectedServices();
    ProgressSteps progress(context(), services.size());
    OfferMerger merger;
    for (const VLServicePtr& service : services) {
        if (progress.isStopped()) return;
        const OfferList offers = OfferList::fromAnswer(
            context().runner->objectFromRemoteMethod(QStringLiteral("vlAppTasks"), {}, {}, service));
        if (!offers.complaint.isEmpty())
            VLLog::appendLog(QStringLiteral("Tasks offered by %@: %@"), service->name(), offers.complaint);
        merger.add(offers.applications, service->hostName());
        progress.step();
    }
    const QVariantList applications = merger.takeApplications();
    if (progress.isStopped()) return;
    onMainThreadAndWait([&] { setupCronwellNewTaskApps(applications); });
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
    const auto refreshAfterwards =
        qScopeGuard([this] { startRefresh(QStringLiteral("refreshCronwellTasks")); });
    const ProgressSteps progress(context(), 0);
    sendToAll(addSelector, arguments, arguments.value(rootKey).toLongLong() != 0);
}
