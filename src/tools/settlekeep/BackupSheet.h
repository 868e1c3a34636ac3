#pragma once

#include "tools/settlekeep/SettlekeepController.h"
#include "widgets/Sheet.h"

class QComboBox;
class QLabel;
class QLineEdit;

/// Asks for the name and the type of a backup. One sheet for both ways of making one; what its confirm button
/// does is set each time it is shown. Belongs to the pane and is hidden, not deleted, when it ends.
class BackupSheet : public Sheet {
    Q_OBJECT
public:
    BackupSheet(SettlekeepController& controller, QWidget* parent);
    void showSheet(SettlekeepController::BackupFlow flow);
    void accept() override;

private:
    SettlekeepController& m_controller;
    SettlekeepController::BackupFlow m_flow = SettlekeepController::BackupFlow::Named;
    QLabel* m_text;
    QLineEdit* m_name;
    QComboBox* m_type;
};
