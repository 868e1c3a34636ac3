#pragma once

#include "tools/Tool.h"
#include "tools/merged/MergedOutlineModel.h"

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
class MergedOutlineView : public QWidget {
    Q_OBJECT
public:
    /// What the pane calls its rows.
    struct Words {
        QString tool;  ///< "addonry": begins the names of the views and of the stored sort settings
        QString singular, plural;  ///< "plug-in", "plug-ins"
        QString title;             ///< "Plug-ins": of the outline, for assistive technology
        QString symbol;            ///< of the empty pane
        QString howTheyAreRead;    ///< "Plug-ins are read as soon as a computer is connected."
    };
    using Place = MergedOutlineModel::Place;

protected:
    MergedOutlineView(ToolController& controller, MergedOutlineModel* model, Words words, QWidget* parent);
    /// Fills the pane; the last thing that a subclass's constructor does.
    void start();

    /// Hands the controller's rows to the model.
    virtual void installRows() = 0;
    /// Adds what can be done with the selected rows to the context menu.
    virtual void addMenuItems(QMenu& menu) = 0;
    /// The selection or the rows changed: what can be done now?
    virtual void updateActions() {}
    /// The column whose check box the space bar turns, or -1.
    [[nodiscard]] virtual int keyboardColumn() const { return -1; }
    /// A click into a cell that shows a pop-up menu (Cell::PopUpRole).
    virtual void popUp(const Place& place, int column, const QPoint& globalPosition);
    /// The row's box was clicked.
    virtual void check(const Place& place, int column, bool on) = 0;

    /// A button of the bar, in the order added.
    QToolButton* addButton(const QString& name, const QString& symbol, const QString& text,
                           const QString& toolTip, std::function<void()> action);
    [[nodiscard]] QTreeView& outline() const { return *m_outline; }
    /// The selected rows and clients, as shown from the top.
    [[nodiscard]] QList<Place> selectedPlaces() const;
    /// The selected rows themselves, without clients, as shown from the top.
    [[nodiscard]] QList<int> selectedRows() const;
    [[nodiscard]] bool anyRows() const { return m_model->rowTotal() > 0; }
    void setColumnWidths(const QList<int>& widths);  ///< the last column takes what is left
    /// Collapses the row that was changed.
    void collapse(int row);

    bool eventFilter(QObject* object, QEvent* event) override;
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
    void showContextMenu(const QPoint& position);
    void clicked(const QModelIndex& index);
    [[nodiscard]] QString named(const char* part) const { return m_words.tool + QLatin1String(part); }

    ToolController& m_controller;
    MergedOutlineModel* m_model;
    const Words m_words;
    QTreeView* m_outline;
    QHBoxLayout* m_buttons;
    QList<QToolButton*> m_barButtons;
    QWidget* m_foot;
    ElidedLabel* m_summary;
    QToolButton* m_differencesOnly;
    SearchField* m_search;
    QStackedWidget* m_stack;
    EmptyState* m_empty;
};
