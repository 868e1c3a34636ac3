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
    /// Called when the user has confirmed, with the certificate whose fingerprint was shown.
    using AcceptNew = std::function<void(const QByteArray& certificateShown)>;
    IdentitySheet(const VLServicePtr& service, AcceptNew acceptNew, QWidget* parent);

    void accept() override;

private:
    void showCertificate();

    VLServicePtr m_service;
    AcceptNew m_acceptNew;
    QByteArray m_shown;  ///< the certificate whose fingerprint is shown
    QLabel* m_fingerprint = nullptr;
    QCheckBox* m_compared = nullptr;
};
