#pragma once

#include <QString>
#include <QStringList>
#include <qnamespace.h>

/// How a table was last sorted, from the user defaults: under the table's name followed by "SortedColumn"
/// (one of `columns`) and "SortedDescending".
struct StoredSorting {
    int column = 0;  ///< among the columns' names; the first when none of them is stored
    Qt::SortOrder order = Qt::AscendingOrder;
};
[[nodiscard]] StoredSorting storedSorting(const QString& tableName, const QStringList& columns);
void storeSorting(const QString& tableName, const QString& column, Qt::SortOrder order);
/// The names of the two settings.
[[nodiscard]] QString sortedColumnKey(const QString& tableName);
[[nodiscard]] QString sortedDescendingKey(const QString& tableName);
