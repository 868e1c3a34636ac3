#pragma once

#include <QByteArray>

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/evp.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <memory>

/// OpenSSL's objects with an owner, and the few conversions that more than one file here needs.
namespace openssl {

struct Free {
    void operator()(BIO* object) const { ::BIO_free_all(object); }
    void operator()(BIGNUM* object) const { ::BN_free(object); }
    void operator()(EVP_PKEY* object) const { ::EVP_PKEY_free(object); }
    void operator()(X509* object) const { ::X509_free(object); }
    void operator()(X509_EXTENSION* object) const { ::X509_EXTENSION_free(object); }
    void operator()(SSL* object) const { ::SSL_free(object); }
    void operator()(SSL_CTX* object) const { ::SSL_CTX_free(object); }
};
template <typename T>
using Pointer = std::unique_ptr<T, Free>;

[[nodiscard]] Pointer<BIO> readOnlyBio(const QByteArray& data);
/// The first certificate in `pem`, or null.
[[nodiscard]] Pointer<X509> certificateFromPem(const QByteArray& pem);
[[nodiscard]] QByteArray pemFromCertificate(X509* certificate);

}  // namespace openssl
