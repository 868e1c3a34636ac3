#pragma once

#include "clients/view/ClientRowDelegate.h"

#include <QPersistentModelIndex>
#include <QTreeView>

class ClientOutlineModel;

/// The tree of the client list: triangles and badges that answer to the mouse without changing the selection,
/// and machines that are dragged into groups and out of them.
class ClientTreeView : public QTreeView {
    Q_OBJECT
public:
    /// `outline` becomes its model.
    explicit ClientTreeView(QWidget* parent = nullptr);
    void setOutlineModel(ClientOutlineModel* outline);
    /// The group row that what is being dragged would be dropped on.
    [[nodiscard]] QModelIndex dropTarget() const { return m_dropTarget; }
    /// Rows in view from top to bottom.
    [[nodiscard]] QModelIndexList visibleRows() const;

Q_SIGNALS:
    void badgeClicked(const QModelIndex& index, ClientRowDelegate::Badge badge);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    bool viewportEvent(QEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    /// What lies under the mouse, apart from the row itself.
    struct Spot {
        QPersistentModelIndex index;
        ClientRowDelegate::Badge badge = ClientRowDelegate::NoBadge;
        bool triangle = false;
        [[nodiscard]] bool isHot() const { return triangle || badge != ClientRowDelegate::NoBadge; }
        bool operator==(const Spot&) const = default;
    };
    [[nodiscard]] Spot spotAt(const QPoint& position) const;
    bool pressSpot(const QMouseEvent& event);
    void setDropTarget(const QModelIndex& target);

    ClientOutlineModel* m_outline = nullptr;
    QPersistentModelIndex m_dropTarget;
    Spot m_pressed;
};
