#pragma once

#include "tools/cronwell/CronwellController.h"
#include "tools/merged/MergedOutlineView.h"

class CronwellModel;
class NewTaskSheet;
class QAction;

/// Shows the merged scheduled tasks; adds, removes, enables and synchronises them.
class CronwellView : public MergedOutlineView {
    Q_OBJECT
public:
    CronwellView(CronwellController& controller, QWidget* parent);

protected:
    void installRows() override;
    void addMenuItems(QMenu& menu) override;
    void updateActions() override;
    void check(const Place& place, int column, bool on) override;

private:
    using Target = CronwellController::Target;
    void buildButtons();
    void cronwellAddTaskAction();
    [[nodiscard]] Target target(const Place& place) const;
    [[nodiscard]] QList<Target> selectedTargets() const;
    [[nodiscard]] QList<Target> selectedTasks() const;  ///< rows only
    void remove(const QList<Target>& rows);
    void setEnabled(const QList<Target>& targets, bool on);

    CronwellController& m_controller;
    CronwellModel* m_model;
    NewTaskSheet* m_newTask;
    QAction* m_remove;
    QToolButton *m_add, *m_removeButton, *m_sync, *m_enableAll, *m_disableAll;
};
