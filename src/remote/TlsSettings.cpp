#include "remote/TlsSettings.h"

#include "logs/VLLog.h"
#include "remote/OpenSslPointers.h"
#include "remote/WireValue.h"
#include "system/VLException.h"

#include <kj/vector.h>
#include <openssl/x509v3.h>

#include <cstring>

namespace {

// kj offers no TLS 1.3 as least version. This one cipher of TLS 1.2 needs a shared key that nobody has, so
// version 1.2 never comes about; the ciphers of version 1.3 are not affected by the list.
constexpr char noOlderVersion[] = "PSK-AES256-GCM-SHA384";

kj::StringPtr pemText(const QByteArray& pem) {
    return {pem.constData(), std::size_t(pem.size())};
}

kj::Own<kj::TlsContext> makeContext(const TlsIdentity& identity,
                                    kj::ArrayPtr<const kj::TlsCertificate> trusted, bool verifyClients) {
    try {
        const kj::TlsKeypair pair{kj::TlsPrivateKey(pemText(identity.privateKey)),
                                  kj::TlsCertificate(pemText(identity.certificate))};
        kj::TlsContext::Options options;
        options.useSystemTrustStore = false;
        options.verifyClients = verifyClients;
        options.trustedCertificates = trusted;
        options.minVersion = kj::TlsVersion::TLS_1_2;
        options.cipherList = noOlderVersion;
        options.defaultKeypair = pair;
        return kj::heap<kj::TlsContext>(kj::mv(options));
    } catch (const kj::Exception& exception) {
        throw VLException(
            VLException::generic,
            QStringLiteral("The key pair cannot be used: %1").arg(fromKj(exception.getDescription())));
    }
}

kj::Vector<kj::TlsCertificate> readCertificates(const QList<QByteArray>& list) {
    kj::Vector<kj::TlsCertificate> certificates;
    for (const QByteArray& pem : list) {
        try {
            certificates.add(kj::TlsCertificate(pemText(pem)));
        } catch (const kj::Exception&) {
            VLLog::appendLog(QStringLiteral("A certificate cannot be read and is left out."));
        }
    }
    return certificates;
}

}  // namespace

kj::Own<kj::TlsContext> TlsSettings::client(const TlsIdentity& identity, const QByteArray& pinned) {
    const auto trusted = readCertificates({pinned});
    return makeContext(identity, trusted, false);
}

kj::Own<kj::TlsContext> TlsSettings::server(const TlsIdentity& identity, const QList<QByteArray>& consoles) {
    const auto trusted = readCertificates(consoles);
    return makeContext(identity, trusted, true);
}

bool TlsSettings::isAgentCertificate(const QByteArray& pem) {
    const auto certificate = openssl::certificateFromPem(pem);
    return certificate && ::X509_check_host(certificate.get(), agentTlsHostName,
                                            std::strlen(agentTlsHostName), 0, nullptr) == 1;
}

bool TlsSettings::isRefusal(const QString& description) {
    static const QStringList alerts{QStringLiteral("unknown ca"),
                                    QStringLiteral("bad certificate"),
                                    QStringLiteral("certificate unknown"),
                                    QStringLiteral("certificate required"),
                                    QStringLiteral("unsupported certificate"),
                                    QStringLiteral("certificate revoked"),
                                    QStringLiteral("certificate expired"),
                                    QStringLiteral("access denied")};
    if (!description.contains(QLatin1String("alert"))) return false;
    return std::any_of(alerts.cbegin(), alerts.cend(),
                       [&](const QString& alert) { return description.contains(alert); });
}
