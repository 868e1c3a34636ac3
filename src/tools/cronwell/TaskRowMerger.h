#pragma once

#include "tools/cronwell/VLScheduledTask.h"

#include <QHash>
#include <QList>
#include <QStringList>

#include <utility>

/// Merges the jobs of many clients into one row for each tool and description. The rows are found by these
/// while they grow, so that hundreds of clients are merged at once.
class TaskRowMerger {
public:
    void add(const QVariantMap& instance, const QString& hostName);
    /// The rows, in the order in which they came up, each with a placeholder for every one of `hostNames`
    /// that lacks it. Ends the merging.
    [[nodiscard]] QList<VLScheduledTask> takeRows(const QStringList& hostNames);

private:
    QList<VLScheduledTask> m_rows;
    QHash<std::pair<QString, QString>, qsizetype> m_places;
};
