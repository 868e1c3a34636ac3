#pragma once

#include "remote/TlsIdentity.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <kj/compat/tls.h>

#include <array>

/// The kj-tls contexts of both ends: TLS 1.3 only, a certificate on both sides, trust in listed certificates
/// only. Throw VLException::generic when a certificate or key cannot be used.
namespace TlsSettings {

[[nodiscard]] kj::Own<kj::TlsContext> client(const TlsIdentity& identity, const QByteArray& pinned);
/// Certificates in `consoles` that cannot be read are left out with a log line.
[[nodiscard]] kj::Own<kj::TlsContext> server(const TlsIdentity& identity, const QList<QByteArray>& consoles);

/// The fingerprint of the certificate that a peer has shown; empty when it has shown none.
[[nodiscard]] QByteArray fingerprintOf(kj::TlsPeerIdentity& peer);
/// True when a connection begins like a TLS client's: the head of a record with a client hello in it.
[[nodiscard]] bool isClientHello(const std::array<kj::byte, 6>& head);
/// True when `pem` is a certificate for agentTlsHostName.
[[nodiscard]] bool isAgentCertificate(const QByteArray& pem);
/// True when the text of a TLS error says that the other end did not accept our certificate.
[[nodiscard]] bool isRefusal(const QString& description);

}  // namespace TlsSettings
