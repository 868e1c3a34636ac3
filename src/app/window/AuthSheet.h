#pragma once

#include "remote/authorization/AuthorizationView.h"
#include "widgets/Sheet.h"

class AuthorizationController;
class QCheckBox;
class QLabel;
class QLineEdit;

/// Asks for an administrator of one client. Comes and goes as the controller says; Escape and the close
/// button cancel. Whether it is to count for all computers stays as it was set the last time.
class AuthSheet : public Sheet, public AuthorizationView {
    Q_OBJECT
public:
    /// `controller` outlives the sheet.
    AuthSheet(AuthorizationController& controller, QWidget* parent);

    void showSheet(const Prompt& prompt) override;
    void setPasswordsKept(bool kept) override;
    void setChecking(bool checking) override;
    void showAlert(const QString& messageText, const QString& informativeText) override;
    void orderOut() override;

    void accept() override;
    void reject() override;

private:
    [[nodiscard]] static QString purposeOf(const Prompt& prompt);
    void buildHeader();
    void buildFields();
    void buildButtons();
    void showStatus(const QString& text);
    void updateButtons();

    AuthorizationController& m_controller;
    QLabel* m_icon;
    QLabel* m_hostName;
    QLabel* m_text;
    QLabel* m_purpose;
    QLabel* m_status;
    QLineEdit* m_userName;
    QLineEdit* m_password;
    QCheckBox* m_applyToAll;
    QCheckBox* m_keychain;
    QLabel* m_notKept;
    QPushButton* m_ok = nullptr;
    bool m_isChecking = false;
};
