#include "agent/AuthorizedConsoles.h"

#include "remote/TlsIdentity.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

constexpr qint64 largestFile = 1024 * 1024;
constexpr int maximumCertificates = 1'000;
constexpr char endMark[] = "-----END CERTIFICATE-----";

QStringList certificateFiles(const QStringList& paths) {
    QStringList files;
    for (const QString& path : paths) {
        if (!QFileInfo(path).isDir()) {
            files.append(path);
            continue;
        }
        const QDir folder(path);
        const auto names =
            folder.entryList({QStringLiteral("*.crt"), QStringLiteral("*.pem")}, QDir::Files, QDir::Name);
        for (const QString& name : names)
            files.append(folder.filePath(name));
    }
    return files;
}

void appendCertificates(const QByteArray& content, QList<QByteArray>& certificates) {
    qsizetype begin = 0;
    for (auto end = content.indexOf(endMark); end >= 0; end = content.indexOf(endMark, begin)) {
        end += static_cast<qsizetype>(sizeof(endMark)) - 1;
        QByteArray pem = content.mid(begin, end - begin).trimmed() + '\n';
        begin = end;
        if (certificates.size() < maximumCertificates && !certificateFingerprint(pem).isEmpty())
            certificates.append(pem);
    }
}

}  // namespace

QList<QByteArray> readAuthorizedCertificates(const QStringList& paths) {
    QList<QByteArray> certificates;
    const auto files = certificateFiles(paths);
    for (const QString& path : files) {
        QFile file(path);
        if (file.open(QIODevice::ReadOnly)) appendCertificates(file.read(largestFile), certificates);
    }
    return certificates;
}
