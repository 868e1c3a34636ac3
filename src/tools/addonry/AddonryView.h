#pragma once

#include "tools/addonry/AddonryController.h"
#include "tools/merged/MergedOutlineView.h"

class QAction;

[[nodiscard]] const RowsLook<VLPluginItem>& addonryLook();

/// Shows the merged plug-ins, and enables, moves and synchronises them.
class AddonryView : public MergedOutlineView {
    Q_OBJECT
public:
    AddonryView(AddonryController& controller, QWidget* parent);

protected:
    void installRows() override;
    void addMenuItems(QMenu& menu) override;
    void check(const RowTarget& target, int column, bool on) override;
    void popUp(const Place& place, const QPoint& globalPosition) override;

private:
    using Model = MergedRowsModel<VLPluginItem>;
    void setDisabled(const QList<RowTarget>& targets, bool disabled);
    void setAccessType(const QList<RowTarget>& targets, qlonglong accessType);

    AddonryController& m_controller;
    Model* m_model;
    QAction *m_allUsersItem, *m_currentUserItem;
};
