#include "system/Secret.h"

#include <QByteArray>

#include <openssl/crypto.h>

Secret::Secret(QByteArrayView bytes) {
    if (bytes.isEmpty()) return;
    m_bytes.reserve(static_cast<std::size_t>(bytes.size()) + 1);  // growing would leave a copy behind
    m_bytes.assign(bytes.begin(), bytes.end());
    m_bytes.push_back('\0');
}

Secret Secret::fromText(const QString& text) {
    QByteArray bytes = text.toUtf8();
    Secret secret{QByteArrayView(bytes)};
    OPENSSL_cleanse(bytes.data(), static_cast<std::size_t>(bytes.size()));
    return secret;
}

Secret& Secret::operator=(Secret&& other) noexcept {
    if (this == &other) return *this;
    wipe();
    m_bytes = std::move(other.m_bytes);
    return *this;
}

QByteArrayView Secret::view() const {
    return m_bytes.empty() ? QByteArrayView() : QByteArrayView(m_bytes.data(), qsizetype(m_bytes.size()) - 1);
}

void Secret::wipe() noexcept {
    if (!m_bytes.empty()) OPENSSL_cleanse(m_bytes.data(), m_bytes.size());
    m_bytes.clear();
}
