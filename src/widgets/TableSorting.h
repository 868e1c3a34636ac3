#pragma once

#include <QHeaderView>
#include <QString>
#include <QStringList>

/// Keeps the sort column and direction of a table in the user defaults, under the table's name followed by
/// "SortedColumn" (one of `columns`, in the order of the table's sections) and "SortedDescending".
/// Restores them now, and stores every later change. Call it after the model is set.
void rememberSorting(QHeaderView* header, const QString& tableName, const QStringList& columns);
