#pragma once

#include "remote/VLEncryption.h"

#include <QVariantMap>

/// An agent's administrator file: "admin" with the password "corvalin-sample".
inline constexpr char sampleAdministrators[] =
    "admin:$6$corvalinsample$XHF/rPOAzUgHixb.cMHyJ8FSuk8T64N/4MxF5FNtWQEdQkgxoqMd/"
    "zXweXVhO2VIY1Tw3O5x8JsZepo3EmOgN0\n";

/// As a console sends them.
inline QVariantMap administratorCredentials(const QString& password) {
    return {{QStringLiteral("authUser"), QStringLiteral("admin")},
            {QStringLiteral("authPass"),
             VLEncryption::AESEncryptData(password.toUtf8(), VLEncryption::hostPassphrase())}};
}
