#include "widgets/PaneParts.h"

#include "widgets/CellDelegate.h"
#include "widgets/RowCopy.h"
#include "widgets/SymbolIcon.h"
#include "widgets/Theme.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QToolButton>
#include <QTreeView>

namespace {

constexpr int smallSymbol = 14;
constexpr int narrowestColumn = 48;

class BoxTurner : public QObject {
public:
    BoxTurner(QTreeView& view, int column) : QObject(&view), m_view(view), m_column(column) {}

protected:
    bool eventFilter(QObject* object, QEvent* event) override {
        const auto* key = event->type() == QEvent::KeyPress ? static_cast<QKeyEvent*>(event) : nullptr;
        const QModelIndex box = m_view.currentIndex().siblingAtColumn(m_column);
        if (!key || key->key() != Qt::Key_Space || key->modifiers() != Qt::NoModifier || !box.isValid())
            return QObject::eventFilter(object, event);
        if (key->isAutoRepeat()) return true;  // a key that is held down turns it once
        const bool isOn = box.data(Qt::CheckStateRole).toInt() == Qt::Checked;
        m_view.model()->setData(box, int(isOn ? Qt::Unchecked : Qt::Checked), Qt::CheckStateRole);
        return true;
    }

private:
    QTreeView& m_view;
    const int m_column;
};

}  // namespace

void setUpPaneTable(QTreeView& view, const QString& objectName, const QString& accessibleName) {
    view.setObjectName(objectName);
    view.setAccessibleName(accessibleName);
    view.setFrameShape(QFrame::NoFrame);
    view.setUniformRowHeights(true);
    view.setAlternatingRowColors(true);
    view.setIndentation(20);
    view.setEditTriggers(QAbstractItemView::NoEditTriggers);
    view.setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    view.setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    view.setContextMenuPolicy(Qt::CustomContextMenu);
    view.setItemDelegate(new CellDelegate(&view));
    QHeaderView* const header = view.header();
    header->setFont(themeFont(0.92, QFont::Medium));
    header->setSectionsMovable(false);
    header->setMinimumSectionSize(narrowestColumn);
    header->setStretchLastSection(true);
}

void setUpBarButton(QToolButton& button) {
    button.setIconSize({smallSymbol, smallSymbol});
    button.setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    button.setAutoRaise(true);
    button.setFocusPolicy(Qt::TabFocus);
}

void turnBoxesWithSpace(QTreeView& view, int column) {
    view.installEventFilter(new BoxTurner(view, column));
}

QMenu* makeContextMenu(QTreeView& view, const QString& objectName) {
    auto* const menu = new QMenu(&view);
    menu->setObjectName(objectName);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    return menu;
}

void addExpandItems(QMenu& menu, QTreeView& outline) {
    menu.addAction(symbolIcon(QStringLiteral("expand")),
                   QCoreApplication::translate("PaneParts", "Expand All"), &outline, &QTreeView::expandAll);
    menu.addAction(symbolIcon(QStringLiteral("collapse")),
                   QCoreApplication::translate("PaneParts", "Collapse All"), &outline,
                   &QTreeView::collapseAll);
}

void addCopyItem(QMenu& menu, QTreeView& view) {
    QAction* const copy =
        menu.addAction(symbolIcon(QStringLiteral("copy")), QCoreApplication::translate("PaneParts", "Copy"),
                       &view, [&view] { copySelectedRows(view); });
    copy->setEnabled(view.selectionModel()->hasSelection());
}
