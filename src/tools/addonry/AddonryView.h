#pragma once

#include "tools/addonry/AddonryController.h"
#include "tools/merged/MergedOutlineView.h"

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
    void check(const Place& place, int column, bool on) override;
    void popUp(const Place& place, const QPoint& globalPosition) override;

private:
    using Target = AddonryController::Target;
    [[nodiscard]] Target target(const Place& place) const;
    [[nodiscard]] QList<Target> selectedTargets() const;
    void setDisabled(const QList<Target>& targets, bool disabled);
    void setAccessType(const QList<Target>& targets, qlonglong accessType);
    void collapseRows(const QList<Target>& targets);

    AddonryController& m_controller;
    AddonryModel* m_model;
    QAction *m_allUsersItem, *m_currentUserItem;
    QToolButton *m_sync, *m_enableAll, *m_disableAll;
};
