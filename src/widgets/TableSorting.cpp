#include "widgets/TableSorting.h"

#include "foundation/VLUserDefaults.h"

namespace {

VLUserDefaults& defaults() {
    return VLUserDefaults::standardUserDefaults();
}

QString columnKey(const QString& tableName) {
    return tableName + QStringLiteral("SortedColumn");
}

QString directionKey(const QString& tableName) {
    return tableName + QStringLiteral("SortedDescending");
}

}  // namespace

StoredSorting storedSorting(const QString& tableName, const QStringList& columns) {
    const qsizetype column = columns.indexOf(defaults().stringForKey(columnKey(tableName)));
    const bool descending = defaults().boolForKey(directionKey(tableName));
    return {column < 0 ? 0 : int(column), descending ? Qt::DescendingOrder : Qt::AscendingOrder};
}

void storeSorting(const QString& tableName, const QString& column, Qt::SortOrder order) {
    defaults().setObject(column, columnKey(tableName));
    defaults().setObject(order == Qt::DescendingOrder, directionKey(tableName));
}

void rememberSorting(QHeaderView* header, const QString& tableName, const QStringList& columns) {
    const StoredSorting stored = storedSorting(tableName, columns);
    header->setSortIndicator(stored.column, stored.order);
    QObject::connect(header, &QHeaderView::sortIndicatorChanged, header,
                     [=](int section, Qt::SortOrder order) {
                         if (section < 0 || section >= columns.size()) return;
                         storeSorting(tableName, columns.at(section), order);
                     });
}
