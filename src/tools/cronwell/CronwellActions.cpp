// What changes tasks on the clients, and the tasks that can be scheduled.
#include "desktop/VLAlert.h"
#include "foundation/MainThread.h"
#include "foundation/VLCallLock.h"
#include "logs/VLLog.h"
#include "remote/DelayedRefresh.h"
#include "system/VLException.h"
#include "tools/cronwell/CronwellController.h"
#include "tools/cronwell/CronwellUndo.h"
#include "tools/cronwell/OfferMerger.h"

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
constexpr char editSelector[] = "cronwellEditTask:settings:";
constexpr char enableSelector[] = "cronwellEnableTask:settings:";
constexpr char removeSelector[] = "cronwellRemoveTask:settings:";

/// Whose file it is on which client.
std::pair<QString, QString> fileOf(const ClientCopy& job) {
    return {job.hostName, job.text(fileNameKey)};
}

}  // namespace

void CronwellController::send(const QString& name, const QList<Message>& messages) const {
    forEachJob(name, messages, [&](const RemoteClientPtr& client, const Message& message) {
        if (!message.logLine.isEmpty()) VLLog::appendLog(QStringLiteral("%@"), message.logLine);
        sendTo(client, message);
    });
}

void CronwellController::sendTo(const RemoteClientPtr& client, const Message& message) const {
    const QLatin1String selector(message.selector);
    if (message.root != 0)
        context().authorizedRunner->authExecuteRemoteMethod(selector, message.settings, {}, client);
    else
        context().runner->executeRemoteMethod(
            selector, {}, QVariantMap{{QLatin1String(message.plainKey), message.settings}}, client);
}

void CronwellController::sendToAll(const char* selector, const QVariantMap& settings, bool root) const {
    if (root)
        context().authorizedRunner->authExecuteRemoteMethods(QLatin1String(selector), settings);
    else
        context().runner->executeRemoteMethods(QLatin1String(selector), {},
                                               QVariantMap{{QStringLiteral("obj1"), settings}});
}

/// In this order: the refresh starts a display of its own.
void CronwellController::endAndRefresh() {
    context().progress->endStatusProgress();
    startRefresh(QStringLiteral("refreshCronwellTasks"));
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
    startEnabling({Edit{{}, 1}});
}

void CronwellController::cronwellDisableAllAction() {
    startEnabling({Edit{{}, 0}});
}

void CronwellController::setEnabled(const QList<RowTarget>& targets, int enabled) {
    startEnabling(write(targets, enabledKey, enabled));
}

void CronwellController::startEnabling(const QList<Edit>& edits) {
    if (edits.isEmpty()) return;
    const bool isOn = edits.first().value == 1;
    startRunOn(QStringLiteral("cronwellEnableTask:"),
               {.action = isOn ? tr("Enable") : tr("Disable"),
                .actionDone = isOn ? tr("Enabled") : tr("Disabled"),
                .subject = subjectOf(edits, {tr("%1 tasks"), tr("all tasks")}),
                .isChange = true,
                .keeping = keeping()},
               clientsOf(edits, CopyConcerns::OneClient), [this, edits] { enableTasks(edits); });
}

void CronwellController::cronwellEnableTask(const Edit& enabled) {
    enableTasks({enabled});
}

void CronwellController::enableTasks(const QList<Edit>& edits) {
    const VLCallLock lock;
    const RunScope scope(runHere());
    const auto refreshAfterwards = qScopeGuard([this] {
        context().progress->endStatusProgress();
        delayedRefresh();
    });
    QList<Message> messages;
    bool anyRow = false;
    for (const Edit& edit : edits) {
        if (const auto* row = std::get_if<VLScheduledTask>(&edit.subject)) {
            anyRow = true;
            VLLog::appendLog(edit.value == 1 ? QStringLiteral("Enabling Cronwell task on all hosts...")
                                             : QStringLiteral("Disabling Cronwell task on all hosts..."));
            for (const ClientCopy& job : row->copies())
                messages.append(enabling(job, edit.value));
        } else if (const auto* job = std::get_if<ClientCopy>(&edit.subject)) {
            messages.append(enabling(*job, edit.value));
        } else {
            enableEverything(edit.value);
        }
    }
    if (anyRow) context().progress->startStatusProgress();
    send(QStringLiteral("cronwellEnableTask:"), messages);
}

CronwellController::Message CronwellController::enabling(const ClientCopy& job, qlonglong enabled) {
    const QString line = enabled == 1 ? QStringLiteral("Enabling Cronwell task %@ on host %@...")
                                      : QStringLiteral("Disabling Cronwell task %@ on host %@...");
    return {.hostName = job.hostName,
            .selector = enableSelector,
            .settings = QVariantMap{{fileNameKey, job.values.value(fileNameKey)}, {enabledKey, enabled}},
            .root = job.number(rootKey),
            .logLine = vlFormat(line, job.text(taskDescriptionKey), job.hostName)};
}

void CronwellController::enableEverything(qlonglong enabled) const {
    VLLog::appendLog(enabled == 1 ? QStringLiteral("Enabling all Cronwell tasks...")
                                  : QStringLiteral("Disabling all Cronwell tasks..."));
    // The agents change all of a client's tasks at once: with one of root's among them it takes the rights.
    const QList<VLScheduledTask> all = copyOfRows();
    const bool anyRoot = std::any_of(all.cbegin(), all.cend(), [](const VLScheduledTask& row) {
        return std::any_of(row.copies().cbegin(), row.copies().cend(),
                           [](const ClientCopy& job) { return job.number(rootKey) != 0; });
    });
    sendToAll(enableSelector, {{enabledKey, enabled}}, anyRoot);
}

// ---- Taking back

std::optional<QList<QVariantMap>> CronwellController::tasksOf(const RemoteClientPtr& client) const {
    const QVariant answer =
        context().runner->objectFromRemoteMethod(QStringLiteral("cronwellTaskDictionary"), {}, {}, client);
    if (!answer.isValid()) return std::nullopt;
    return VLScheduledTask::checked(answer).entries;
}

Run::Keeping CronwellController::keeping() const {
    using Undo = std::optional<QVariantMap>;
    const auto before = [this](const RemoteClientPtr& client) -> Undo {
        const auto tasks = tasksOf(client);
        return tasks ? Undo(CronwellUndo::everything(*tasks)) : std::nullopt;
    };
    const auto after = [this](const RemoteClientPtr& client, const QVariantMap& former) -> Undo {
        const auto tasks = tasksOf(client);
        return tasks ? Undo(CronwellUndo::difference(former, *tasks)) : std::nullopt;
    };
    return {before, after};
}

bool CronwellController::takeBack(const VLServicePtr& client, const QVariantMap& undo) {
    const auto present = tasksOf(client);
    if (!present) return false;
    const CronwellUndo::Plan plan = CronwellUndo::plan(undo, *present);
    constexpr const char* selectors[] = {addSelector, editSelector, enableSelector, removeSelector};
    for (const CronwellUndo::Step& step : plan.steps) {
        if (isStopped()) {
            noteStopped(client->hostName());
            return true;
        }
        sendTo(client, {.hostName = client->hostName(),
                        .selector = selectors[step.kind],
                        .settings = step.settings,
                        .root = step.task.value(rootKey).toLongLong(),
                        .plainKey = step.kind == CronwellUndo::Step::Remove ? "obj2" : "obj1"});
    }
    if (plan.missing.isEmpty()) return true;
    throw VLException(
        VLException::generic,
        tr("These tasks have become others by now: %1.").arg(plan.missing.join(QStringLiteral(", "))));
}

// ---- Remove

/// The rows that are named; of one whose jobs are named only those.
QList<VLScheduledTask> CronwellController::rowsWithOnly(const QList<RowTarget>& targets) const {
    QHash<QString, QList<RowTarget>> targetsOf;
    for (const RowTarget& target : targets)
        targetsOf[target.row].append(target);
    QList<VLScheduledTask> chosen;
    for (const VLScheduledTask& row : rows()) {
        const QList<RowTarget> own = targetsOf.value(row.key());
        if (own.isEmpty()) continue;
        QSet<std::pair<QString, QString>> files;
        bool isWhole = false;
        for (const RowTarget& target : own) {
            isWhole = isWhole || target.isWholeRow();
            const qsizetype job = row.copyFor(target, fileNameKey);
            if (job >= 0) files.insert(fileOf(row.copies().at(job)));
        }
        VLScheduledTask task = row;
        if (!isWhole) task.removeCopies([&](const ClientCopy& job) { return !files.contains(fileOf(job)); });
        if (!task.copies().isEmpty()) chosen.append(task);
    }
    return chosen;
}

QString CronwellController::namesOf(const QList<RowTarget>& targets) const {
    constexpr qsizetype mostNames = 8;
    QStringList names;
    for (const RowTarget& target : targets)
        names.append(context().friendlyServiceName(target.hostName));
    names.removeDuplicates();
    const qsizetype more = names.size() - mostNames;
    if (more > 0) names = names.first(mostNames) << tr("%1 more").arg(more);
    return names.join(QStringLiteral(", "));
}

void CronwellController::cronwellRemoveTaskAction(const QList<RowTarget>& targets, QObject* window) {
    const QList<VLScheduledTask> tasks = rowsWithOnly(targets);
    if (tasks.isEmpty()) return;
    const bool isOne = tasks.size() == 1;
    const QString question = isOne ? tr("Are you sure you wish to delete this task?")
                                   : tr("Are you sure you wish to delete these tasks?");
    const bool isSingleJobs = std::none_of(targets.cbegin(), targets.cend(),
                                           [](const RowTarget& target) { return target.isWholeRow(); });
    const QString text = isSingleJobs ? tr("Only on %1. This cannot be undone.").arg(namesOf(targets))
                                      : tr("This cannot be undone.");
    // The answer may come when this controller is gone.
    const auto remove = [controller = QPointer(this), tasks] {
        if (controller) controller->startRemoving(tasks);
    };
    VLAlert::ask(question, tr("Remove"), text, window, remove,
                 QStringLiteral("cronwellRemoveTaskAlertDidEnd:returnCode:contextInfo:"));
}

void CronwellController::startRemoving(const QList<VLScheduledTask>& rows) {
    QList<Edit> edits;
    for (const VLScheduledTask& row : rows)
        edits.append({row, 0});
    startRunOn(QStringLiteral("cronwellRemoveTasks:"),
               {.action = tr("Remove"),
                .actionDone = tr("Removed"),
                .subject = subjectOf(edits, {tr("%1 tasks"), tr("all tasks")}),
                .isChange = true,
                .keeping = keeping()},
               clientsOf(edits, CopyConcerns::OneClient), [this, rows] {
                   QList<VLScheduledTask> present;
                   onMainThreadAndWait([&] { present = withoutReplaced(rows); });
                   if (!present.isEmpty()) cronwellRemoveTasks(present);
               });
}

/// Names of files are used again: the job that is in one now may not be the one that was asked about.
QList<VLScheduledTask> CronwellController::withoutReplaced(QList<VLScheduledTask> asked) const {
    QHash<std::pair<QString, QString>, QString> keyByFile;
    for (const VLScheduledTask& row : rows())
        for (const ClientCopy& job : row.copies())
            keyByFile.insert(fileOf(job), row.key());
    for (VLScheduledTask& row : asked)
        row.removeCopies([&](const ClientCopy& job) {
            const auto now = keyByFile.constFind(fileOf(job));
            return now != keyByFile.cend() && *now != row.key();
        });
    asked.removeIf([](const VLScheduledTask& row) { return row.copies().isEmpty(); });
    return asked;
}

void CronwellController::cronwellRemoveTasks(const QList<VLScheduledTask>& rows) {
    const VLCallLock lock;
    const RunScope scope(runHere());
    QStringList descriptions;
    for (const VLScheduledTask& row : rows)
        descriptions.append(row.taskDescription());
    VLLog::appendLog(QStringLiteral("Removing Cronwell tasks: %@"), descriptions);
    const auto refreshAfterwards = qScopeGuard([this] { endAndRefresh(); });
    QList<Message> messages;
    for (const VLScheduledTask& row : rows)
        for (const ClientCopy& job : row.copies())
            messages.append({.hostName = job.hostName,
                             .selector = removeSelector,
                             .settings = job.values.value(fileNameKey),
                             .root = job.number(rootKey),
                             .plainKey = "obj2"});
    context().progress->startStatusProgress();
    send(QStringLiteral("cronwellRemoveTasks:"), messages);
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
    Reading reading{0, runHere()};
    const RunScope scope(reading.run);
    context().progress->startStatusProgress();
    const auto endAfterwards = qScopeGuard([this] { context().progress->endStatusProgress(); });
    OfferMerger merger;
    const auto take = [&](const RemoteClient& client, const QVariant& answer) {
        if (!answer.isValid()) return;
        const AgentAnswer::Entries offers = OfferMerger::checked(answer);
        if (!offers.complaint.isEmpty())
            VLLog::appendLog(QStringLiteral("Tasks offered by %@: %@"), client.name(), offers.complaint);
        merger.add(offers.entries, client.hostName());
    };
    if (!askEach(QStringLiteral("vlAppTasks"), reading, take)) return;
    const QVariantList applications = merger.takeApplications();
    QStringList unanswered;
    for (const UnansweredClient& client : std::as_const(reading.unanswered))
        unanswered.append(client.hostName);
    onMainThreadAndWait([&] { setupCronwellNewTaskApps(applications, unanswered); });
}

void CronwellController::setupCronwellNewTaskApps(const QVariantList& applications,
                                                  const QStringList& unanswered) {
    setNewTaskAppDataArray(applications, unanswered);
    Q_EMIT newTaskAppsChanged();
}

QList<VLServicePtr> CronwellController::newTaskClients(QList<RemoteClientPtr>* others) const {
    QList<VLServicePtr> clients;
    for (const VLServicePtr& service : context().selectedServices())
        if (!m_newTaskUnanswered.contains(service->hostName()))
            clients.append(service);
        else if (others)
            others->append(service);
    return clients;
}

QStringList CronwellController::hostsWithTask(const QString& bundleID, const QVariantMap& offer) const {
    const QString id = offer.value(taskKey).toString(),
                  description = offer.value(taskDescriptionKey).toString();
    QSet<QString> having;
    for (const VLScheduledTask& row : rows()) {
        if (row.taskBundleID() != bundleID) continue;
        for (const ClientCopy& job : row.copies())
            if (row.taskDescription() == description || (!id.isEmpty() && job.text(taskKey) == id))
                having.insert(job.hostName);
    }
    QStringList hostNames;
    for (const VLServicePtr& service : newTaskClients())
        if (having.contains(service->hostName())) hostNames.append(service->hostName());
    return hostNames;
}

/// What those have that gave no answer is not known, so nothing is added there; the sheet said so.
void CronwellController::addCronwellTask(const QVariantMap& arguments) {
    QList<RemoteClientPtr> alone;
    const QList<VLServicePtr> clients = newTaskClients(&alone);
    if (clients.isEmpty()) return;
    startRunOn(
        QStringLiteral("addCronwellTaskOnThread:"),
        {.action = tr("Add"),
         .actionDone = tr("Added"),
         .subject = arguments.value(QStringLiteral("taskid")).toString(),
         .isChange = true,
         .keeping = keeping()},
        {clients.begin(), clients.end()}, [this, arguments] { addCronwellTaskOnThread(arguments); }, alone);
}

void CronwellController::addCronwellTaskOnThread(const QVariantMap& arguments) {
    const VLCallLock lock;
    const RunScope scope(runHere());
    VLLog::appendLog(QStringLiteral("Adding Cronwell task with arguments: %@"), arguments);
    const auto refreshAfterwards = qScopeGuard([this] { endAndRefresh(); });
    sendToAll(addSelector, arguments, arguments.value(rootKey).toLongLong() != 0);
}
