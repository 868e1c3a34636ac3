#include "widgets/TableSorting.h"

void rememberSorting(QHeaderView* header, const QString& tableName, const QStringList& columns) {
    const StoredSorting stored = storedSorting(tableName, columns);
    header->setSortIndicator(stored.column, stored.order);
    QObject::connect(header, &QHeaderView::sortIndicatorChanged, header,
                     [=](int section, Qt::SortOrder order) {
                         if (section < 0 || section >= columns.size()) return;
                         storeSorting(tableName, columns.at(section), order);
                     });
}
