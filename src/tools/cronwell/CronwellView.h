#pragma once

#include "tools/merged/MergedOutlineView.h"

class CronwellController;
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
    [[nodiscard]] int keyboardColumn() const override;
    void check(const Place& place, int column, bool on) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    enum Width { Unknown, Tight, Narrow, Spacious };
    void buildButtons();
    void fitWidth();
    void cronwellAddTaskAction();
    void removeSelected();
    void enableSelected(bool on);

    CronwellController& m_controller;
    CronwellModel* m_model;
    NewTaskSheet* m_newTask;
    QAction* m_remove;
    Width m_width = Unknown;
    QToolButton *m_add, *m_removeButton, *m_sync, *m_enableAll, *m_disableAll;
};
