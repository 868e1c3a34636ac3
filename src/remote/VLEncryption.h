#pragma once

#include "system/Secret.h"

#include <QByteArray>
#include <QByteArrayView>

#include <optional>

/// How passwords travel between the console and the agents: AES-256, each block by itself, the last one
/// filled up with spaces. Both sides know the key, so this only keeps a password from being read by eye; what
/// protects it is the connection.
namespace VLEncryption {

/// The passphrase of both sides.
[[nodiscard]] QByteArray hostPassphrase();

/// The key is the first 32 bytes of the passphrase, with zeros behind a shorter one. A multiple of 16 bytes
/// stays as long as it is; nothing stays nothing.
[[nodiscard]] QByteArray AESEncryptData(QByteArrayView data, QByteArrayView passphrase);
/// With the spaces that may have filled it up. None for what is no whole number of blocks.
[[nodiscard]] std::optional<Secret> AESDecryptData(QByteArrayView data, QByteArrayView passphrase);

}  // namespace VLEncryption
