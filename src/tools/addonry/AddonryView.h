#pragma once

#include "tools/merged/MergedOutlineView.h"

class AddonryController;
class AddonryModel;
class QAction;

/// Shows the merged plug-ins, and enables, moves and synchronises them.
class AddonryView : public MergedOutlineView {
    Q_OBJECT
public:
    AddonryView(AddonryController& controller, QWidget* parent);

protected:
    void installRows() override;
    void addMenuItems(QMenu& menu) override;
    void updateActions() override;
    [[nodiscard]] int keyboardColumn() const override;
    void check(const Place& place, int column, bool on) override;
    void popUp(const Place& place, int column, const QPoint& globalPosition) override;

private:
    void forSelected(const std::function<void(const Place&)>& change);

    AddonryController& m_controller;
    AddonryModel* m_model;
    QAction *m_allUsersItem, *m_currentUserItem;
    QToolButton *m_sync, *m_enableAll, *m_disableAll;
};
