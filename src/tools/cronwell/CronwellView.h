#pragma once

#include "tools/cronwell/CronwellController.h"
#include "tools/merged/MergedOutlineView.h"

class NewTaskSheet;
class QAction;

[[nodiscard]] const RowsLook<VLScheduledTask>& cronwellLook();

/// Shows the merged scheduled tasks; adds, removes, enables and synchronises them.
class CronwellView : public MergedOutlineView {
    Q_OBJECT
public:
    CronwellView(CronwellController& controller, QWidget* parent);

protected:
    void installRows() override;
    void addMenuItems(QMenu& menu) override;
    void updateOwnActions() override;
    void check(const RowTarget& target, int column, bool on) override;

private:
    using Model = MergedRowsModel<VLScheduledTask>;
    void buildButtons();
    void cronwellAddTaskAction();
    void remove(const QList<RowTarget>& rows);
    void setEnabled(const QList<RowTarget>& targets, bool on);

    CronwellController& m_controller;
    Model* m_model;
    NewTaskSheet* m_newTask;
    QAction* m_remove;
    QToolButton *m_add, *m_removeButton;
};
