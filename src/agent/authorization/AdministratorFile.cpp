#include "agent/authorization/AdministratorFile.h"

#include "logs/VLLog.h"

#include <QByteArray>
#include <QFile>

#include <crypt.h>
#include <openssl/crypto.h>

#include <memory>

namespace {

constexpr qint64 longestFile = 1 << 20;

// Nobody's password: what an unknown name is compared with.
constexpr char nobody[] = "$6$nobody$";

QByteArray hashOf(const QString& path, const QByteArray& user) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        VLLog::appendLog(QStringLiteral("The file of administrators cannot be read: %@"), file.errorString());
        return {};
    }
    const QList<QByteArray> lines = file.read(longestFile).split('\n');
    for (const QByteArray& line : lines) {
        const qsizetype colon = line.indexOf(':');
        if (colon > 0 && line.left(colon) == user) return line.mid(colon + 1).trimmed();
    }
    return {};
}

}  // namespace

bool AdministratorFile::accepts(const QString& path, const QString& user, const Secret& password) {
    const QByteArray expected = hashOf(path, user.toUtf8());
    const QByteArray setting = expected.isEmpty() ? QByteArray(nobody) : expected;
    const auto data = std::make_unique<crypt_data>();  // 32 kB
    const char* result = crypt_r(password.c_str(), setting.constData(), data.get());
    const QByteArrayView computed(result ? result : "");
    const bool isRight =
        computed.size() == expected.size() && !expected.isEmpty() && computed.front() != '*' &&
        CRYPTO_memcmp(computed.data(), expected.constData(), static_cast<std::size_t>(expected.size())) == 0;
    OPENSSL_cleanse(data.get(), sizeof(crypt_data));
    return isRight;
}
