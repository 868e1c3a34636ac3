#pragma once

#include "tools/PaneState.h"
#include "tools/Tool.h"
#include "tools/merged/MergedOutlineModel.h"

#include <QSet>
#include <QWidget>

class ElidedLabel;
class EmptyState;
class QHBoxLayout;
class QMenu;
class QStackedWidget;
class QToolButton;
class QTreeView;
class SearchField;

/// The pane of a tool whose results are merged rows: buttons, filter and outline, and what to do while there
/// is nothing to show. The controller outlives it. Main thread.
///
/// Rows are replaced while menus are open: whatever is to be changed is named before.
class MergedOutlineView : public QWidget {
    Q_OBJECT
public:
    using Place = MergedOutlineModel::Place;

protected:
    /// How the columns are set out from a certain width of the pane; the last one takes what is left.
    struct ColumnLayout {
        int fromWidth;
        QList<int> widths;
        QList<int> hidden;
    };
    /// `tool` ("addonry") begins the names of the views and of the stored sort settings.
    MergedOutlineView(ToolController& controller, MergedOutlineModel* model, const QString& tool,
                      const PaneWords& words, QWidget* parent);
    /// Fills the pane; the last thing that a subclass's constructor does. The widest layout comes first, the
    /// last one is from width 0.
    void start(const QList<ColumnLayout>& layouts);

    /// Hands the controller's rows to the model.
    virtual void installRows() = 0;
    /// Adds what can be done with what is selected to the context menu.
    virtual void addMenuItems(QMenu& menu) = 0;
    /// The selection or the rows changed: what can be done now?
    virtual void updateActions() = 0;
    /// The row's box was clicked.
    virtual void check(const Place& place, int column, bool on) = 0;
    /// A click into a cell that shows a pop-up menu (Cell::PopUpRole).
    virtual void popUp(const Place&, const QPoint& /*globalPosition*/) {}

    /// A button of the bar, in the order added. The words of the last ones go first where there is no room.
    QToolButton* addButton(const QString& name, const QString& symbol, const QString& text,
                           const QString& toolTip, std::function<void()> action);
    [[nodiscard]] QTreeView& outline() const { return *m_outline; }
    /// The selected rows and clients, as shown from the top: no client of a row that is selected itself, and
    /// none that lacks it.
    [[nodiscard]] QList<Place> selectedPlaces() const;
    [[nodiscard]] bool anyRows() const { return m_model->rowTotal() > 0; }
    [[nodiscard]] bool anyDiffers() const { return m_model->differingTotal() > 0; }
    /// Collapses rows that were changed, by their keys.
    void collapse(const QSet<QString>& rowKeys);

    void resizeEvent(QResizeEvent* event) override;

private:
    void buildBar();
    void buildOutline();
    void buildFoot();
    void orderTabs();
    void reload();
    void filter();
    void keepState(const std::function<void()>& change);
    void updateState();
    void updateSummary();
    void fitButtons(int width);
    void fitColumns(int width);
    void showContextMenu(const QPoint& position);
    void clicked(const QModelIndex& index);
    [[nodiscard]] QString named(const char* part) const { return m_tool + QLatin1String(part); }

    ToolController& m_controller;
    MergedOutlineModel* m_model;
    const QString m_tool;
    const PaneWords m_words;
    QList<ColumnLayout> m_layouts;
    qsizetype m_layout = -1;  ///< in m_layouts
    QTreeView* m_outline;
    QHBoxLayout* m_buttons;
    QList<QToolButton*> m_barButtons;  ///< from the left, "Differences Only" at the end
    QWidget* m_foot;
    ElidedLabel* m_summary;
    QToolButton* m_differencesOnly;
    SearchField* m_search;
    QStackedWidget* m_stack;
    EmptyState* m_empty;
};
