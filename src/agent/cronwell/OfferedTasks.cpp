#include "agent/cronwell/OfferedTasks.h"

#include "agent/tasks/SuiteApplications.h"
#include "base/PropertyList.h"

#include <algorithm>

namespace OfferedTasks {

namespace {

constexpr qint64 largestList = 256 * 1024;

QList<OfferedTask> tasksOf(const WorkstationTree& tree, const SuiteApplications::Application& application) {
    const auto data =
        tree.read(application.path + QStringLiteral("/Contents/Resources/ScheduledTasks.plist"), largestList);
    if (!data) return {};
    QList<OfferedTask> tasks;
    const QVariantList listed = PropertyList::fromData(*data).toMap().value(QStringLiteral("tasks")).toList();
    for (const QVariant& value : listed.mid(0, mostTasks)) {
        const QVariantMap task = value.toMap();
        const QString id = LaunchJob::shownText(task.value(QStringLiteral("taskID")));
        const QString description = LaunchJob::shownText(task.value(QStringLiteral("taskDescription")));
        if (!id.isEmpty() && !description.isEmpty())
            tasks.append({application.info.identifier, id, description});
    }
    return tasks;
}

}  // namespace

QVariantList list(const WorkstationTree& tree) {
    QVariantList answer;
    for (const auto& application : SuiteApplications::installed(tree)) {
        QVariantList tasks;
        for (const OfferedTask& task : tasksOf(tree, application))
            tasks.append(QVariantMap{{QStringLiteral("taskID"), task.id},
                                     {QStringLiteral("taskDescription"), task.description}});
        if (tasks.isEmpty()) continue;
        answer.append(QVariantMap{{QStringLiteral("taskBundleID"), application.info.identifier},
                                  {QStringLiteral("name"), application.info.name},
                                  {QStringLiteral("tasks"), tasks}});
    }
    return answer;
}

OfferedTask require(const WorkstationTree& tree, const QString& bundleID, const QString& id) {
    SuiteApplications::require(tree, bundleID);
    for (const auto& application : SuiteApplications::installed(tree)) {
        if (application.info.identifier != bundleID) continue;
        const QList<OfferedTask> tasks = tasksOf(tree, application);
        const auto found =
            std::find_if(tasks.begin(), tasks.end(), [&](const OfferedTask& task) { return task.id == id; });
        if (found != tasks.end()) return *found;
    }
    SuiteApplications::fail(CorvalinError::TaskNotFound, bundleID);
}

}  // namespace OfferedTasks
