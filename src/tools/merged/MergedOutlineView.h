#pragma once

#include "tools/ToolPane.h"
#include "tools/merged/MergedRowsModel.h"

/// The pane of a tool whose results are merged rows.
class MergedOutlineView : public ToolPane {
    Q_OBJECT
public:
    using Place = MergedOutlineModel::Place;

protected:
    /// `tool` ("addonry") begins the names of its parts. Takes the model.
    MergedOutlineView(ToolController& controller, MergedOutlineModel* model, const QString& tool,
                      PaneWords words, QWidget* parent);
    void start(const QList<ColumnLayout>& layouts);

    [[nodiscard]] MergedOutlineModel* model() const { return m_model; }
    /// The row's box was clicked.
    virtual void check(const RowTarget& target, int column, bool on) = 0;
    /// A click into a cell that shows a pop-up menu (Cell::PopUpRole).
    virtual void popUp(const Place&, const QPoint& /*globalPosition*/) {}

    /// The selected rows and copies, as shown from the top: no copy of a row that is selected itself.
    [[nodiscard]] QList<RowTarget> selectedTargets() const;
    /// An item of the context menu that changes what is selected.
    void addChangeItem(QMenu& menu, const char* symbol, const QString& text,
                       const std::function<void(const QList<RowTarget>&)>& change);
    /// A button that makes all rows alike that differ, whatever the filter shows: it says how many, and asks
    /// before it changes rows that are not to be seen.
    void addSyncButton(const QString& name, const QString& toolTip, std::function<void()> action);
    /// Collapses the rows that were changed as a whole.
    void collapse(const QList<RowTarget>& changed);

    void applyFilter(const QString& text, bool differencesOnly) override;
    [[nodiscard]] int rowTotal() const override { return m_model->rowTotal(); }
    [[nodiscard]] QString summary() const override;
    /// The same as updateActions(), for what the tool adds.
    virtual void updateOwnActions() {}

private:
    void clicked(const QModelIndex& index);
    void updateActions() final;
    void runSync(const std::function<void()>& action);
    MergedOutlineModel* m_model;
    QToolButton* m_sync = nullptr;
};
