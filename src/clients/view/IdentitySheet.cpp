#include "clients/view/IdentitySheet.h"

#include "remote/TlsIdentity.h"
#include "widgets/Theme.h"

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

QString pinnedFingerprint(const VLService& service) {
    const auto environment = VLService::environment();
    if (!environment || !environment->pins) return {};
    const auto certificate = environment->pins->find(service.pinName());
    return certificate ? certificateFingerprint(*certificate) : QString();
}

/// "AB:CD:…" on two lines of equal length: two fingerprints are compared by eye.
QString twoLines(const QString& fingerprint) {
    if (fingerprint.isEmpty()) return IdentitySheet::tr("not known");
    const qsizetype middle = fingerprint.indexOf(QLatin1Char(':'), fingerprint.size() / 2);
    if (middle < 0) return fingerprint;
    return fingerprint.left(middle + 1) + QLatin1Char('\n') + fingerprint.mid(middle + 1);
}

}  // namespace

IdentitySheet::IdentitySheet(const VLServicePtr& service, AcceptNew acceptNew, QWidget* parent)
    : Sheet(tr("The identity of “%1” has changed").arg(service->name()),
            tr("The computer shows another key than the one it was known by. That is so after its agent "
               "was installed anew — or when another computer answers in its place. Compare the new "
               "fingerprint with the one that “corvalin-agent --print-fingerprint” shows there before you "
               "accept it."),
            parent),
      m_service(service),
      m_acceptNew(std::move(acceptNew)) {
    setObjectName(QStringLiteral("identitySheet"));
    setProperty("isAboutClient", true);
    setWindowTitle(tr("New identity of %1").arg(service->name()));
    const auto addFingerprint = [this](const QString& title, const QString& fingerprint, const char* name) {
        auto* caption = new QLabel(title, this);
        caption->setFont(themeFont(0.95, QFont::Medium));
        auto* value = new QLabel(twoLines(fingerprint), this);
        value->setObjectName(QLatin1String(name));
        value->setFont(themeMonospaceFont());
        value->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        value->setAccessibleName(title);
        caption->setBuddy(value);
        body()->addWidget(caption);
        body()->addWidget(value);
        body()->addSpacing(Metrics::unit / 2);
        return value;
    };
    addFingerprint(tr("Known fingerprint (SHA-256)"), pinnedFingerprint(*service), "knownFingerprint");
    m_fingerprint = addFingerprint(tr("New fingerprint (SHA-256)"), {}, "newFingerprint");
    m_compared = new QCheckBox(tr("I have compared the new fingerprint"), this);
    m_compared->setObjectName(QStringLiteral("compared"));
    body()->addWidget(m_compared);

    addCancelButton();
    QPushButton* accept = addPrimaryButton(tr("Accept New Identity"));
    accept->setEnabled(false);
    connect(m_compared, &QCheckBox::toggled, accept, &QPushButton::setEnabled);
    setMinimumWidth(560);
    showCertificate();
}

void IdentitySheet::showCertificate() {
    m_shown = m_service->changedCertificate();
    m_fingerprint->setText(twoLines(certificateFingerprint(m_shown)));
    m_compared->setChecked(false);
}

void IdentitySheet::accept() {
    // Every further attempt to connect may have met another key: only the one that was compared counts.
    if (m_service->changedCertificate() != m_shown) {
        showCertificate();
        return;
    }
    m_acceptNew(m_shown);
    Sheet::accept();
}
