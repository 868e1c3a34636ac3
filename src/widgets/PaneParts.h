#pragma once

#include <QString>

class QMenu;
class QToolButton;
class QTreeView;

// What the panes of the tools are made of, so that they look and behave alike.

/// A table or an outline: rows of one height, no frame, no editors of its own, a context menu, the last
/// column taking what is left.
void setUpPaneTable(QTreeView& view, const QString& objectName, const QString& accessibleName);

/// A flat button of a pane's bar, with its symbol before its words.
void setUpBarButton(QToolButton& button);

/// The space bar turns the check box in that column of the current row, wherever in it the keyboard stands.
void turnBoxesWithSpace(QTreeView& view, int column);

/// A context menu that is deleted when it closes. Show it with popup(): nothing waits for it, since rows may
/// be replaced and windows may go while it is open.
[[nodiscard]] QMenu* makeContextMenu(QTreeView& view, const QString& objectName);
void addExpandItems(QMenu& menu, QTreeView& outline);
void addCopyItem(QMenu& menu, QTreeView& view);
