#pragma once

#include "tools/addonry/VLPluginItem.h"

#include <QHash>
#include <QList>
#include <QStringList>

/// Merges the plug-ins of many clients into one row for each name. The rows are found by name while they
/// grow: five hundred clients with three hundred plug-ins each are merged while the user waits.
class RowMerger {
public:
    /// One client's copy.
    void add(const QVariantMap& instance, const QString& hostName);
    /// The rows, in the order in which their names came, each with a placeholder for every one of `hostNames`
    /// that lacks it. Ends the merging.
    [[nodiscard]] QList<VLPluginItem> takeRows(const QStringList& hostNames);

private:
    QList<VLPluginItem> m_rows;
    QHash<QString, qsizetype> m_rowByName;
};
