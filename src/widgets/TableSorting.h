#pragma once

#include "foundation/StoredSorting.h"

#include <QHeaderView>
#include <QString>
#include <QStringList>

/// Keeps the sort column and direction of a table in the user defaults; `columns` are in the order of the
/// table's sections.
/// Restores them now, and stores every later change. Call it after the model is set.
void rememberSorting(QHeaderView* header, const QString& tableName, const QStringList& columns);
