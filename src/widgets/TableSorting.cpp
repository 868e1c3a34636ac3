#include "widgets/TableSorting.h"

#include "foundation/VLUserDefaults.h"

void rememberSorting(QHeaderView* header, const QString& tableName, const QStringList& columns) {
    VLUserDefaults& defaults = VLUserDefaults::standardUserDefaults();
    const QString columnKey = tableName + QStringLiteral("SortedColumn");
    const QString directionKey = tableName + QStringLiteral("SortedDescending");

    const qsizetype stored = columns.indexOf(defaults.stringForKey(columnKey));
    const Qt::SortOrder order = defaults.boolForKey(directionKey) ? Qt::DescendingOrder : Qt::AscendingOrder;
    header->setSortIndicator(stored < 0 ? 0 : int(stored), order);

    QObject::connect(header, &QHeaderView::sortIndicatorChanged, header,
                     [=, &defaults](int section, Qt::SortOrder newOrder) {
                         if (section < 0 || section >= columns.size()) return;
                         defaults.setObject(columns.at(section), columnKey);
                         defaults.setObject(newOrder == Qt::DescendingOrder, directionKey);
                     });
}
