#include "remote/TlsIdentity.h"

#include "base/RegularFile.h"
#include "logs/VLLog.h"
#include "remote/OpenSslPointers.h"
#include "system/VLException.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QSaveFile>

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>

namespace {

constexpr qint64 maximumPemSize = 64 * 1024;

[[noreturn]] void fail(const QString& reason) {
    ::ERR_clear_error();  // kj reads this thread's queue of errors too
    throw VLException(VLException::generic, reason);
}

void require(bool condition) {
    if (!condition) fail(QStringLiteral("The key pair could not be made."));
}

QByteArray contents(BIO* bio) {
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio, &data);
    return QByteArray(data, qsizetype(size));
}

void addExtension(X509* certificate, int nid, const char* value) {
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
    const openssl::Pointer<X509_EXTENSION> extension(::X509V3_EXT_conf_nid(nullptr, &context, nid, value));
    require(extension && ::X509_add_ext(certificate, extension.get(), -1) == 1);
}

/// Common names are short in X.509; what is cut off here is only shown to people.
QByteArray subjectText(QString commonName) {
    QByteArray text = commonName.left(64).toUtf8();
    return text.isEmpty() ? QByteArrayLiteral("Corvalin") : text;
}

openssl::Pointer<X509> selfSigned(EVP_PKEY* key, const QString& commonName) {
    openssl::Pointer<X509> certificate(::X509_new());
    require(bool(certificate));
    require(::X509_set_version(certificate.get(), 2) == 1);

    unsigned char serial[16];
    require(::RAND_bytes(serial, sizeof serial) == 1);
    serial[0] &= 0x7f;  // serial numbers are positive
    const openssl::Pointer<BIGNUM> number(::BN_bin2bn(serial, sizeof serial, nullptr));
    require(number && ::BN_to_ASN1_INTEGER(number.get(), ::X509_get_serialNumber(certificate.get())));

    // Workstations' clocks go wrong; the pin decides, so the certificate is valid always.
    require(::ASN1_TIME_set_string_X509(::X509_getm_notBefore(certificate.get()), "19700101000000Z") == 1);
    require(::ASN1_TIME_set_string_X509(::X509_getm_notAfter(certificate.get()), "99991231235959Z") == 1);

    X509_NAME* name = ::X509_get_subject_name(certificate.get());
    const QByteArray text = subjectText(commonName);
    require(::X509_NAME_add_entry_by_NID(name, NID_commonName, MBSTRING_UTF8,
                                         reinterpret_cast<const unsigned char*>(text.constData()),
                                         int(text.size()), -1, 0) == 1);
    require(::X509_set_issuer_name(certificate.get(), name) == 1);
    require(::X509_set_pubkey(certificate.get(), key) == 1);

    addExtension(certificate.get(), NID_basic_constraints, "critical,CA:FALSE");
    addExtension(certificate.get(), NID_ext_key_usage, "serverAuth,clientAuth");
    addExtension(certificate.get(), NID_subject_alt_name,
                 QByteArray("DNS:").append(agentTlsHostName).constData());
    // Tell apart the certificates of two consoles that have the same common name.
    addExtension(certificate.get(), NID_subject_key_identifier, "hash");
    addExtension(certificate.get(), NID_authority_key_identifier, "keyid:always");
    require(::X509_sign(certificate.get(), key, ::EVP_sha256()) > 0);
    return certificate;
}

QByteArray readSmallFile(const QString& path) {
    QFile file;
    QString error;
    if (!RegularFile::openForReading(file, path, &error)) fail(QStringLiteral("Cannot read %1.").arg(error));
    return file.read(maximumPemSize);
}

void writeFile(const QString& path, const QByteArray& data, QFile::Permissions permissions) {
    QSaveFile file(path);
    // The permissions are set while the file is still empty.
    if (!file.open(QIODevice::WriteOnly) || !file.setPermissions(permissions) ||
        file.write(data) != data.size() || !file.flush() || !file.commit())
        fail(QStringLiteral("Cannot write %1: %2.").arg(path, file.errorString()));
}

constexpr QFile::Permissions ownerOnly = QFile::ReadOwner | QFile::WriteOwner;
constexpr QFile::Permissions everyoneReads = ownerOnly | QFile::ReadGroup | QFile::ReadOther;

openssl::Pointer<EVP_PKEY> keyFromPem(const QByteArray& pem) {
    const auto bio = openssl::readOnlyBio(pem);
    // An encrypted key must not ask for its password on the terminal.
    const auto noPassword = [](char*, int, int, void*) { return -1; };
    return openssl::Pointer<EVP_PKEY>(bio ? ::PEM_read_bio_PrivateKey(bio.get(), nullptr, noPassword, nullptr)
                                          : nullptr);
}

/// Also a link that leads nowhere, as to a disk that is not mounted: what it stands for is not replaced.
bool isThere(const QString& path) {
    const QFileInfo file(path);
    return file.exists() || file.isSymLink();
}

void checkPair(const TlsIdentity& identity, const QString& path) {
    const auto certificate = openssl::certificateFromPem(identity.certificate);
    const auto key = keyFromPem(identity.privateKey);
    if (!certificate || !key || ::X509_check_private_key(certificate.get(), key.get()) != 1)
        fail(QStringLiteral("The certificate %1 and its key do not belong together.").arg(path));
    ::ERR_clear_error();
}

/// A key that was made a moment ago, or whose certificate was lost since.
TlsIdentity withNewCertificate(const QByteArray& keyPem, const QString& keyPath, const QString& commonName) {
    const auto key = keyFromPem(keyPem);
    if (!key) fail(QStringLiteral("The file %1 holds no usable key.").arg(keyPath));
    VLLog::appendLog(
        QStringLiteral("The key %@ has no certificate; a new one is made for it. Whoever was given "
                       "the former one needs the new one."),
        keyPath);
    return {openssl::pemFromCertificate(selfSigned(key.get(), commonName).get()), keyPem};
}

}  // namespace

openssl::Pointer<BIO> openssl::readOnlyBio(const QByteArray& data) {
    return Pointer<BIO>(::BIO_new_mem_buf(data.constData(), int(data.size())));
}

openssl::Pointer<X509> openssl::certificateFromPem(const QByteArray& pem) {
    if (pem.size() > maximumPemSize) return nullptr;
    const auto bio = readOnlyBio(pem);
    Pointer<X509> certificate(bio ? ::PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr) : nullptr);
    ::ERR_clear_error();
    return certificate;
}

QByteArray openssl::pemFromCertificate(X509* certificate) {
    const Pointer<BIO> bio(::BIO_new(::BIO_s_mem()));
    require(bio && ::PEM_write_bio_X509(bio.get(), certificate) == 1);
    return contents(bio.get());
}

TlsIdentity TlsIdentity::create(const QString& commonName) {
    const openssl::Pointer<EVP_PKEY> key(EVP_EC_gen("P-256"));
    require(bool(key));
    const auto certificate = selfSigned(key.get(), commonName);
    const openssl::Pointer<BIO> bio(::BIO_new(::BIO_s_mem()));
    require(bio && ::PEM_write_bio_PKCS8PrivateKey(bio.get(), key.get(), nullptr, nullptr, 0, nullptr,
                                                   nullptr) == 1);
    return {openssl::pemFromCertificate(certificate.get()), contents(bio.get())};
}

TlsIdentity TlsIdentity::loadOrCreate(const QString& directory, const QString& name,
                                      const QString& commonName) {
    const QDir folder(directory);
    const QString certificatePath = folder.filePath(name + QStringLiteral(".crt"));
    const QString keyPath = folder.filePath(name + QStringLiteral(".key"));
    const auto load = [&] {
        TlsIdentity identity{readSmallFile(certificatePath), readSmallFile(keyPath)};
        checkPair(identity, certificatePath);
        if (QFile::permissions(keyPath) & ~(ownerOnly | QFile::ReadUser | QFile::WriteUser))
            QFile::setPermissions(keyPath, ownerOnly);
        return identity;
    };
    if (isThere(certificatePath)) return load();

    if (!QDir().mkpath(directory) || !QFile::setPermissions(directory, ownerOnly | QFile::ExeOwner))
        fail(QStringLiteral("Cannot make the folder %1.").arg(directory));
    // Two programs that start for the first time together must end up with the same pair.
    QLockFile lock(folder.filePath(QStringLiteral(".") + name + QStringLiteral(".lock")));
    if (const QString problem = RegularFile::problem(lock.fileName()); !problem.isEmpty()) fail(problem);
    if (!lock.tryLock(10'000)) fail(QStringLiteral("Cannot lock the folder %1.").arg(directory));
    if (isThere(certificatePath)) return load();

    // The certificate comes last: where it exists, the pair is complete. A key without one is kept: whatever
    // else became of the certificate, another one can be made for it, but never the key.
    const bool hasKey = isThere(keyPath);
    TlsIdentity identity =
        hasKey ? withNewCertificate(readSmallFile(keyPath), keyPath, commonName) : create(commonName);
    if (!hasKey) writeFile(keyPath, identity.privateKey, ownerOnly);
    writeFile(certificatePath, identity.certificate, everyoneReads);
    return identity;
}

QString certificateFingerprint(const QByteArray& pem) {
    const auto certificate = openssl::certificateFromPem(pem);
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int size = 0;
    if (!certificate || ::X509_digest(certificate.get(), ::EVP_sha256(), digest, &size) != 1) return {};
    const QByteArray bytes(reinterpret_cast<const char*>(digest), qsizetype(size));
    return QString::fromLatin1(bytes.toHex(':').toUpper());
}
