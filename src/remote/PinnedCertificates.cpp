#include "base/RegularFile.h"
#include "remote/TlsIdentity.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QUrl>

#include <sys/stat.h>

#include <cerrno>

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

std::optional<QByteArray> PinnedCertificates::find(const QString& client, QString* error) const {
    const QString path = filePath(client);
    struct stat information {};
    if (::lstat(QFile::encodeName(path).constData(), &information) != 0 && errno == ENOENT)
        return std::nullopt;
    QFile file;
    if (!RegularFile::openForReading(file, path, error)) return QByteArray();
    QByteArray certificate = file.read(maximumPinSize);
    if (!certificateFingerprint(certificate).isEmpty()) return certificate;
    if (error) *error = QStringLiteral("%1: not a certificate").arg(path);
    return QByteArray();
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
