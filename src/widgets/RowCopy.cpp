#include "widgets/RowCopy.h"

#include <QAbstractItemView>
#include <QClipboard>
#include <QGuiApplication>

#include <algorithm>

namespace {

QList<int> path(QModelIndex index) {
    QList<int> rows;
    for (; index.isValid(); index = index.parent())
        rows.prepend(index.row());
    return rows;
}

}  // namespace

QString selectedRowsAsText(const QAbstractItemView& view) {
    QModelIndexList rows = view.selectionModel()->selectedRows();
    std::sort(rows.begin(), rows.end(), [](const QModelIndex& a, const QModelIndex& b) {
        const QList<int> left = path(a), right = path(b);
        return std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end());
    });
    QStringList lines;
    for (const QModelIndex& row : rows) {
        QStringList cells;
        for (int column = 0; column < row.model()->columnCount(row.parent()); ++column) {
            cells << row.siblingAtColumn(column).data().toString();
        }
        lines << cells.join(QLatin1Char('\t'));
    }
    return lines.join(QLatin1Char('\n'));
}

void copySelectedRows(const QAbstractItemView& view) {
    const QString text = selectedRowsAsText(view);
    if (!text.isEmpty()) QGuiApplication::clipboard()->setText(text);
}
