#include "remote/VLEncryption.h"

#include "system/VLException.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>

namespace {

constexpr qsizetype blockSize = 16;
constexpr std::size_t keySize = 32;

using Bytes = unsigned char;

struct Key {
    explicit Key(QByteArrayView passphrase) {
        const auto size = std::min(keySize, static_cast<std::size_t>(passphrase.size()));
        std::copy_n(passphrase.begin(), size, bytes.begin());
    }
    ~Key() { OPENSSL_cleanse(bytes.data(), bytes.size()); }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    std::array<Bytes, keySize> bytes{};
};

struct FreeContext {
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};

/// Whole blocks, in place.
void cipher(QByteArray& blocks, QByteArrayView passphrase, bool encrypt) {
    const Key key(passphrase);
    const std::unique_ptr<EVP_CIPHER_CTX, FreeContext> context(EVP_CIPHER_CTX_new());
    auto* bytes = reinterpret_cast<Bytes*>(blocks.data());
    int written = 0;
    const bool done =
        context && blocks.size() <= std::numeric_limits<int>::max() &&
        EVP_CipherInit_ex(context.get(), EVP_aes_256_ecb(), nullptr, key.bytes.data(), nullptr, encrypt) ==
            1 &&
        EVP_CIPHER_CTX_set_padding(context.get(), 0) == 1 &&
        EVP_CipherUpdate(context.get(), bytes, &written, bytes, static_cast<int>(blocks.size())) == 1 &&
        written == blocks.size();
    if (!done) throw VLException(VLException::generic, QStringLiteral("The password cannot be encrypted."));
}

}  // namespace

QByteArray VLEncryption::hostPassphrase() {
    return QByteArrayLiteral("5E7C2A91-3D4B-4F6A-9B12-C8E0D4A7F351");
}

QByteArray VLEncryption::AESEncryptData(QByteArrayView data, QByteArrayView passphrase) {
    const qsizetype blocks = (data.size() + blockSize - 1) / blockSize;
    QByteArray result(blocks * blockSize, ' ');
    std::copy(data.begin(), data.end(), result.begin());
    if (!result.isEmpty()) cipher(result, passphrase, true);
    return result;
}

std::optional<Secret> VLEncryption::AESDecryptData(QByteArrayView data, QByteArrayView passphrase) {
    if (data.size() % blockSize != 0) return std::nullopt;
    if (data.isEmpty()) return Secret();
    QByteArray blocks = data.toByteArray();
    cipher(blocks, passphrase, false);
    Secret result{QByteArrayView(blocks)};
    OPENSSL_cleanse(blocks.data(), static_cast<std::size_t>(blocks.size()));
    return result;
}
