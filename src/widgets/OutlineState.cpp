#include "widgets/OutlineState.h"

#include <QHash>
#include <QScrollBar>
#include <QTreeView>

namespace {

QString key(const QModelIndex& index, int role) {
    return index.siblingAtColumn(0).data(role).toString();
}

QStringList path(const QModelIndex& index, int role) {
    if (!index.isValid()) return {};
    if (!index.parent().isValid()) return {key(index, role)};
    return {key(index.parent(), role), key(index, role)};
}

QModelIndex childWithKey(const QAbstractItemModel& model, const QModelIndex& parent, const QString& wanted,
                         int role) {
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex child = model.index(row, 0, parent);
        if (key(child, role) == wanted) return child;
    }
    return {};
}

}  // namespace

OutlineState OutlineState::of(const QTreeView& view, int keyRole) {
    OutlineState state;
    const QAbstractItemModel& model = *view.model();
    for (int row = 0; row < model.rowCount(); ++row) {
        const QModelIndex index = model.index(row, 0);
        if (view.isExpanded(index)) state.m_expanded.insert(key(index, keyRole));
    }
    for (const QModelIndex& index : view.selectionModel()->selectedRows()) {
        state.m_selected.insert(path(index, keyRole));
    }
    state.m_current = path(view.currentIndex(), keyRole);
    const QModelIndex top = view.indexAt({1, 1});
    if (view.verticalScrollBar()->value() > 0) {
        state.m_top = key(top.parent().isValid() ? top.parent() : top, keyRole);
    }
    return state;
}

void OutlineState::restore(QTreeView& view, int keyRole) const {
    const QAbstractItemModel& model = *view.model();
    QItemSelection selection;
    QModelIndex current, top;
    const auto find = [&](const QModelIndex& row, const QString& rowKey, const QStringList& wanted) {
        if (wanted.isEmpty() || wanted.first() != rowKey) return QModelIndex();
        return wanted.size() == 1 ? row : childWithKey(model, row, wanted.last(), keyRole);
    };
    QHash<QString, QList<QStringList>> selectedBelow;
    for (const QStringList& wanted : m_selected)
        selectedBelow[wanted.first()] << wanted;
    const bool nothing =
        m_expanded.isEmpty() && m_selected.isEmpty() && m_current.isEmpty() && m_top.isEmpty();
    for (int row = 0; !nothing && row < model.rowCount(); ++row) {
        const QModelIndex index = model.index(row, 0);
        const QString rowKey = key(index, keyRole);
        if (m_expanded.contains(rowKey)) view.expand(index);
        for (const QStringList& wanted : selectedBelow.value(rowKey)) {
            const QModelIndex found = find(index, rowKey, wanted);
            if (found.isValid()) selection.select(found, found);
        }
        if (!current.isValid()) current = find(index, rowKey, m_current);
        if (rowKey == m_top) top = index;
    }
    if (current.isValid()) view.selectionModel()->setCurrentIndex(current, QItemSelectionModel::NoUpdate);
    view.selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    if (top.isValid()) view.scrollTo(top, QAbstractItemView::PositionAtTop);
}
