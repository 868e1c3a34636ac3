#include "remote/TlsSettings.h"

#include "logs/VLLog.h"
#include "remote/OpenSslPointers.h"
#include "remote/WireValue.h"
#include "system/VLException.h"

#include <kj/vector.h>
#include <openssl/x509v3.h>

#include <cstring>

namespace {

// kj-tls tells a peer's common name, which two consoles may share, but not its certificate. An explicit
// instantiation may name a private member; this is the one way to it that needs no copy of the class.
void* certificateOf(const kj::TlsPeerIdentity& peer);
template <auto member>
struct Reach {
    friend void* certificateOf(const kj::TlsPeerIdentity& peer) { return peer.*member; }
};
template struct Reach<&kj::TlsPeerIdentity::cert>;

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

QByteArray TlsSettings::fingerprintOf(kj::TlsPeerIdentity& peer) {
    const auto* certificate = static_cast<const X509*>(certificateOf(peer));
    if (!certificate) return {};
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int size = 0;
    if (::X509_digest(certificate, ::EVP_sha256(), digest, &size) != 1) return {};
    return {reinterpret_cast<const char*>(digest), qsizetype(size)};
}

bool TlsSettings::isClientHello(const std::array<kj::byte, 6>& head) {
    constexpr kj::byte handshakeRecord = 22, majorVersion = 3, clientHello = 1;
    return head[0] == handshakeRecord && head[1] == majorVersion && head[5] == clientHello;
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
