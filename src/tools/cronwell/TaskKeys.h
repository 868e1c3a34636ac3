#pragma once

#include "tools/ClientCopies.h"

/// The keys of a client's scheduled job. Those of its schedule belong to TaskSchedule.
namespace TaskKeys {

using ClientCopies::hostNameKey;
inline const QString fileNameKey = QStringLiteral("filename"),
                     taskDescriptionKey = QStringLiteral("taskDescription"),
                     frequencyKey = QStringLiteral("frequencyDescription"),
                     bundleKey = QStringLiteral("taskBundleID"), taskKey = QStringLiteral("taskID"),
                     enabledKey = QStringLiteral("enabled"), rootKey = QStringLiteral("root");

}  // namespace TaskKeys
