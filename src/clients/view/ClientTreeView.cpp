#include "clients/view/ClientTreeView.h"

#include "clients/view/ClientOutlineModel.h"

#include <QDropEvent>
#include <QHelpEvent>
#include <QMouseEvent>
#include <QToolTip>

namespace {

constexpr int expandDelay = 700;  ///< milliseconds that a drag waits over a group until it opens

}  // namespace

ClientTreeView::ClientTreeView(QWidget* parent) : QTreeView(parent) {
    setFrameShape(QFrame::NoFrame);
    setHeaderHidden(true);
    setRootIsDecorated(false);
    setIndentation(0);
    setExpandsOnDoubleClick(false);
    setEditTriggers(NoEditTriggers);
    setSelectionMode(ExtendedSelection);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setContextMenuPolicy(Qt::CustomContextMenu);
    setMouseTracking(true);
    viewport()->setBackgroundRole(QPalette::NoRole);
    viewport()->setAutoFillBackground(false);
    setDragDropMode(DragDrop);
    setDefaultDropAction(Qt::MoveAction);
    setDropIndicatorShown(false);  // the delegate marks the group instead
    setAutoExpandDelay(expandDelay);
}

void ClientTreeView::setOutlineModel(ClientOutlineModel* outline) {
    m_outline = outline;
    setModel(outline);
}

QModelIndexList ClientTreeView::visibleRows() const {
    QModelIndexList rows;
    const int bottom = viewport()->height();
    for (QModelIndex index = indexAt({0, 0}); index.isValid(); index = indexBelow(index)) {
        if (visualRect(index).top() >= bottom) break;
        rows << index;
    }
    return rows;
}

// ---- Triangles and badges

ClientTreeView::Spot ClientTreeView::spotAt(const QPoint& position) const {
    Spot spot;
    const QModelIndex index = indexAt(position);
    if (!index.isValid()) return spot;
    const QRect row = visualRect(index);
    spot.index = index;
    spot.badge = ClientRowDelegate::badgeAt(row, index, position);
    spot.triangle = index.data(ClientOutlineModel::IsGroupRole).toBool() &&
                    ClientRowDelegate::triangleArea(row).contains(position);
    return spot;
}

bool ClientTreeView::pressSpot(const QMouseEvent& event) {
    m_pressed = {};
    if (event.button() != Qt::LeftButton || event.modifiers() != Qt::NoModifier) return false;
    const Spot spot = spotAt(event.position().toPoint());
    if (!spot.isHot()) return false;
    m_pressed = spot;
    if (spot.triangle) setExpanded(spot.index, !isExpanded(spot.index));
    return true;
}

void ClientTreeView::mousePressEvent(QMouseEvent* event) {
    if (!pressSpot(*event)) QTreeView::mousePressEvent(event);
}

void ClientTreeView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (!pressSpot(*event)) QTreeView::mouseDoubleClickEvent(event);
}

void ClientTreeView::mouseReleaseEvent(QMouseEvent* event) {
    const Spot pressed = std::exchange(m_pressed, {});
    if (!pressed.isHot()) return QTreeView::mouseReleaseEvent(event);
    const bool isClick = pressed.badge != ClientRowDelegate::NoBadge && pressed.index.isValid() &&
                         spotAt(event->position().toPoint()) == pressed;
    if (isClick) Q_EMIT badgeClicked(pressed.index, pressed.badge);
}

void ClientTreeView::mouseMoveEvent(QMouseEvent* event) {
    if (m_pressed.isHot()) return;
    if (event->buttons() == Qt::NoButton && spotAt(event->position().toPoint()).isHot())
        viewport()->setCursor(Qt::PointingHandCursor);
    else
        viewport()->unsetCursor();
    QTreeView::mouseMoveEvent(event);
}

bool ClientTreeView::viewportEvent(QEvent* event) {
    if (event->type() != QEvent::ToolTip) return QTreeView::viewportEvent(event);
    const auto* help = static_cast<const QHelpEvent*>(event);
    const Spot spot = spotAt(help->pos());
    if (spot.badge == ClientRowDelegate::NoBadge) return QTreeView::viewportEvent(event);
    QToolTip::showText(help->globalPos(), ClientRowDelegate::badgeToolTip(spot.index, spot.badge), viewport(),
                       ClientRowDelegate::badgeRect(visualRect(spot.index), spot.index, spot.badge));
    return true;
}

// ---- Dragging

void ClientTreeView::setDropTarget(const QModelIndex& target) {
    if (m_dropTarget == target) return;
    m_dropTarget = target;
    viewport()->update();
}

void ClientTreeView::dragMoveEvent(QDragMoveEvent* event) {
    QTreeView::dragMoveEvent(event);  // scrolls and opens groups
    const QModelIndex target = m_outline->dropTarget(indexAt(event->position().toPoint()));
    const bool possible = m_outline->canDropMimeData(event->mimeData(), Qt::MoveAction, -1, -1, target);
    setDropTarget(possible ? target : QModelIndex());
    if (possible)
        event->acceptProposedAction();
    else
        event->ignore();
}

void ClientTreeView::dragLeaveEvent(QDragLeaveEvent* event) {
    setDropTarget({});
    QTreeView::dragLeaveEvent(event);
}

void ClientTreeView::dropEvent(QDropEvent* event) {
    const QModelIndex target = m_outline->dropTarget(indexAt(event->position().toPoint()));
    setDropTarget({});
    if (m_outline->dropMimeData(event->mimeData(), Qt::MoveAction, -1, -1, target))
        event->acceptProposedAction();
    else
        event->ignore();
    stopAutoScroll();
    setState(NoState);
    viewport()->update();
}
