#include "app/ConsoleIdentity.h"

#include "base/VLLocalPaths.h"
#include "system/VLException.h"

#include <QSaveFile>
#include <QSysInfo>

TlsIdentity ConsoleIdentity::load() {
    return TlsIdentity::loadOrCreate(VLLocalPaths::configDirectory() + QStringLiteral("/identity"),
                                     QStringLiteral("console"),
                                     QStringLiteral("Orlendo console on ") + QSysInfo::machineHostName());
}

std::shared_ptr<PinnedCertificates> ConsoleIdentity::pins() {
    return std::make_shared<PinnedCertificates>(VLLocalPaths::configDirectory() + QStringLiteral("/agents"));
}

void ConsoleIdentity::exportCertificate(const QString& path) {
    const QByteArray certificate = load().certificate;
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(certificate) == certificate.size() && file.flush() &&
        file.commit())
        return;
    throw VLException(VLException::generic,
                      QStringLiteral("cannot write %1: %2").arg(path, file.errorString()));
}
