#include "agent/AuthorizedConsoles.h"
#include "fuzz/Fuzzing.h"
#include "fuzz/SampleValues.h"
#include "remote/TlsIdentity.h"

namespace {

QString authorizedFile() {
    static const QTemporaryDir folder(quickFolder());
    return folder.filePath(QStringLiteral("consoles.pem"));
}

}  // namespace

/// A file with the certificates of consoles. Only what is one is taken.
void readInput(const QByteArray& input) {
    static const QString file = authorizedFile();
    if (!writeFile(file, input)) return;
    const QList<QByteArray> certificates = readAuthorizedCertificates({file});
    for (const QByteArray& certificate : certificates)
        mustHold(certificateFingerprint(certificate).size() == 95, "a certificate has a fingerprint");
}

QList<QByteArray> seeds() {
    const QByteArray one = TlsIdentity::create(QStringLiteral("Studio")).certificate;
    const QByteArray other = TlsIdentity::create(QStringLiteral("Größe 剪辑")).certificate;
    return {one, other, one + other, "# of the studio\n\n" + one + "\nfarewell\n" + other};
}
