#pragma once

#include "agent/cronwell/LaunchJob.h"
#include "agent/tree/WorkstationTree.h"

#include <QString>
#include <QVariant>

/// The tasks that the installed applications of the suite offer for scheduling. Each application lists its
/// own in its resources, in "ScheduledTasks.plist": "tasks", an array of "taskID" and "taskDescription".
namespace OfferedTasks {

inline constexpr int mostTasks = 100;  ///< of one application

/// Per application that offers any: "taskBundleID", "name", and "tasks" as it lists them.
[[nodiscard]] QVariantList list(const WorkstationTree& tree);
/// Throws the suite's error where the application is missing or outdated, or does not offer the task.
[[nodiscard]] OfferedTask require(const WorkstationTree& tree, const QString& bundleID, const QString& id);

}  // namespace OfferedTasks
