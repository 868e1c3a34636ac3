#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>
#include <optional>

/// A self-signed certificate with its private key (both PEM). The console and every agent have one.
struct TlsIdentity {
    QByteArray certificate;
    QByteArray privateKey;

    /// Reads "<name>.crt" and "<name>.key" in `directory`, or makes them (folder 0700, key file 0600).
    /// `commonName` becomes the subject; the certificate's host name is the fixed one that all share.
    /// A key without a certificate is kept and gets a new one. Throws VLException when they cannot be read
    /// or written.
    [[nodiscard]] static TlsIdentity loadOrCreate(const QString& directory, const QString& name,
                                                  const QString& commonName);
    /// A fresh pair that is not stored.
    [[nodiscard]] static TlsIdentity create(const QString& commonName);
};

/// The host name that every agent certificate carries; the pin, not the name, says who the peer is.
inline constexpr char agentTlsHostName[] = "agent.corvalin.invalid";

/// "AB:CD:…" SHA-256 of a PEM certificate; empty when it is no certificate.
[[nodiscard]] QString certificateFingerprint(const QByteArray& pem);

/// The certificate that a server shows, without trusting it. Blocks at most `limit`; throws VLException.
[[nodiscard]] QByteArray fetchPeerCertificate(const QString& host, quint16 port,
                                              std::chrono::milliseconds limit);

/// The certificates pinned so far, one PEM file per client in a folder. Any thread.
class PinnedCertificates {
public:
    explicit PinnedCertificates(const QString& directory);

    /// Empty, with `*error` set, when there is one that cannot be read: it is still a pin, whose place nobody
    /// may take unnoticed.
    [[nodiscard]] std::optional<QByteArray> find(const QString& client, QString* error = nullptr) const;
    /// False when the file could not be written.
    bool pin(const QString& client, const QByteArray& certificate);
    bool remove(const QString& client);

private:
    [[nodiscard]] QString filePath(const QString& client) const;
    QString m_directory;
};
