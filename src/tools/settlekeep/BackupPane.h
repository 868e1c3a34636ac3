#pragma once

#include "tools/ToolPane.h"
#include "tools/settlekeep/SettlekeepController.h"

class BackupModel;
class QAction;

/// The backups of the selected computers, with Restore.
class BackupPane : public ToolPane {
    Q_OBJECT
public:
    BackupPane(SettlekeepController& controller, QWidget* parent);

protected:
    void installRows() override;
    void applyFilter(const QString& text, bool differencesOnly) override;
    [[nodiscard]] int rowTotal() const override;
    [[nodiscard]] QString summary() const override;
    void addMenuItems(QMenu& menu) override;
    void updateActions() override;

private:
    /// Asks first, and names the computers.
    void restore(const QVariantMap& backup);
    [[nodiscard]] QVariantMap selectedBackup() const;

    SettlekeepController& m_controller;
    BackupModel* m_model;
    QAction* m_restore;
};
