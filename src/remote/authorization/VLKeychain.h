#pragma once

#include "system/Secret.h"

#include <QString>

#include <optional>

struct _SecretItem;

/// Passwords in the user's keychain, which is whatever answers as the desktop's Secret Service. Where nothing
/// does (one line in the log says so) they live in memory, until the program ends.
///
/// For workers: every call may block, for as long as the user takes to unlock the keychain; VLThread's
/// cancellation ends it. On the main thread nothing is done. Calls run one at a time. A failure is logged
/// with the platform's status code, and the call then acts as if there were no item.
class VLKeychain {
public:
    /// Whether there is such a service, so that what is stored is there the next time.
    [[nodiscard]] static bool outlivesProgram();
    /// An item of the same names gets the new password. False when it could not be stored.
    static bool addKeychainItem(const QString& serviceName, const QString& itemKind, const QString& username,
                                const Secret& password, const QString& hostname);
    [[nodiscard]] static bool checkForExistenceOfKeychainItem(const QString& serviceName,
                                                              const QString& itemKind,
                                                              const QString& username,
                                                              const QString& hostname);
    [[nodiscard]] static std::optional<Secret> getPasswordFromKeychainItem(const QString& serviceName,
                                                                           const QString& itemKind,
                                                                           const QString& username,
                                                                           const QString& hostname);
    /// Nothing without such an item.
    static void modifyKeychainItem(const QString& serviceName, const QString& itemKind,
                                   const QString& username, const QString& hostname,
                                   const Secret& newPassword);
    static void deleteKeychainItem(const QString& serviceName, const QString& itemKind,
                                   const QString& username, const QString& hostname);
    static void deleteAllKeychainItems(const QString& serviceName, const QString& itemKind);
    /// None while the item is locked.
    [[nodiscard]] static std::optional<Secret> getPasswordFromSecKeychainItemRef(_SecretItem* item);
};
