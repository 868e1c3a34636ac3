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
    [[nodiscard]] bool anyDiffers() const { return m_model->differingTotal() > 0; }
    /// Collapses the rows that were changed as a whole.
    void collapse(const QList<RowTarget>& changed);

    void applyFilter(const QString& text, bool differencesOnly) override;
    [[nodiscard]] int rowTotal() const override { return m_model->rowTotal(); }
    [[nodiscard]] QString summary() const override;

private:
    void clicked(const QModelIndex& index);
    MergedOutlineModel* m_model;
};
