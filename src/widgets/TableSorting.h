#pragma once

#include <QHeaderView>
#include <QString>
#include <QStringList>

/// How a table was last sorted, from the user defaults.
struct StoredSorting {
    int column = 0;  ///< among the columns' names; the first when none of them is stored
    Qt::SortOrder order = Qt::AscendingOrder;
};
[[nodiscard]] StoredSorting storedSorting(const QString& tableName, const QStringList& columns);
void storeSorting(const QString& tableName, const QString& column, Qt::SortOrder order);

/// Keeps the sort column and direction of a table in the user defaults, under the table's name followed by
/// "SortedColumn" (one of `columns`, in the order of the table's sections) and "SortedDescending".
/// Restores them now, and stores every later change. Call it after the model is set.
void rememberSorting(QHeaderView* header, const QString& tableName, const QStringList& columns);
