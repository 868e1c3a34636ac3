#include "foundation/StoredSorting.h"

#include "foundation/VLUserDefaults.h"

StoredSorting storedSorting(const QString& tableName, const QStringList& columns) {
    const VLUserDefaults& defaults = VLUserDefaults::standardUserDefaults();
    const qsizetype column = columns.indexOf(defaults.stringForKey(sortedColumnKey(tableName)));
    const bool isDescending = defaults.boolForKey(sortedDescendingKey(tableName));
    return {column < 0 ? 0 : int(column), isDescending ? Qt::DescendingOrder : Qt::AscendingOrder};
}

void storeSorting(const QString& tableName, const QString& column, Qt::SortOrder order) {
    VLUserDefaults& defaults = VLUserDefaults::standardUserDefaults();
    defaults.setObject(column, sortedColumnKey(tableName));
    defaults.setObject(order == Qt::DescendingOrder, sortedDescendingKey(tableName));
}

QString sortedColumnKey(const QString& tableName) {
    return tableName + QStringLiteral("SortedColumn");
}

QString sortedDescendingKey(const QString& tableName) {
    return tableName + QStringLiteral("SortedDescending");
}
