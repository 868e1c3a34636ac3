#pragma once

#include "clients/VLService.h"
#include "widgets/Sheet.h"

#include <functional>

class QCheckBox;
class QLabel;

/// Shows the key that a client was known by and the one it shows now, and lets the user accept the new one.
class IdentitySheet : public Sheet {
    Q_OBJECT
public:
    /// `acceptNew` is called when the user has confirmed.
    IdentitySheet(const VLServicePtr& service, std::function<void()> acceptNew, QWidget* parent);

    void accept() override;

private:
    void showCertificate();

    VLServicePtr m_service;
    std::function<void()> m_acceptNew;
    QByteArray m_shown;  ///< the certificate whose fingerprint is shown
    QLabel* m_fingerprint = nullptr;
    QCheckBox* m_compared = nullptr;
};
