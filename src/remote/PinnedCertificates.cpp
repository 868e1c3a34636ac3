#include "remote/TlsIdentity.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QUrl>

namespace {
constexpr qint64 maximumPinSize = 64 * 1024;
}

PinnedCertificates::PinnedCertificates(const QString& directory) : m_directory(directory) {}

QString PinnedCertificates::filePath(const QString& client) const {
    // Names come from the network: encoded, they hold no slash and no dots that lead out of the folder.
    QByteArray name = QUrl::toPercentEncoding(client, QByteArrayLiteral(" ()"));
    if (name.startsWith('.')) name.replace(0, 1, QByteArrayLiteral("%2E"));
    if (name.size() > 200)
        name = QCryptographicHash::hash(client.toUtf8(), QCryptographicHash::Sha256).toHex();
    return QDir(m_directory).filePath(QString::fromLatin1(name) + QStringLiteral(".pem"));
}

std::optional<QByteArray> PinnedCertificates::find(const QString& client) const {
    QFile file(filePath(client));
    if (!file.exists()) return std::nullopt;
    // A pin that can't be read is still a pin: nobody may take its place unnoticed.
    if (!file.open(QIODevice::ReadOnly)) return QByteArray();
    return file.read(maximumPinSize);
}

bool PinnedCertificates::pin(const QString& client, const QByteArray& certificate) {
    if (client.isEmpty() || certificateFingerprint(certificate).isEmpty()) return false;
    constexpr QFile::Permissions ownerOnly = QFile::ReadOwner | QFile::WriteOwner;
    if (!QDir(m_directory).exists() &&
        (!QDir().mkpath(m_directory) || !QFile::setPermissions(m_directory, ownerOnly | QFile::ExeOwner)))
        return false;
    QSaveFile file(filePath(client));
    return file.open(QIODevice::WriteOnly) && file.setPermissions(ownerOnly) &&
           file.write(certificate) == certificate.size() && file.flush() && file.commit();
}

bool PinnedCertificates::remove(const QString& client) {
    return QFile::remove(filePath(client));
}
