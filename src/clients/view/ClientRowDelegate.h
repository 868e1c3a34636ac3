#pragma once

#include <QStyledItemDelegate>

/// Paints the rows of the client list: picture with a mark of the connection, name, state, badges, spinner. A
/// click on the badge of software updates posts "VLTableBadgeClicked" with the client under "service".
class ClientRowDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    /// Where the badge of software updates is in a row at `row`; empty when there is none.
    [[nodiscard]] static QRect updateBadge(const QRect& row, const QModelIndex& index);

protected:
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;
};
