#pragma once

#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariant>

/// What several clients have of one thing: a dictionary each, with the client's host name in it.
namespace ClientCopies {

inline const QString hostNameKey = QStringLiteral("hostname");

[[nodiscard]] inline QString hostNameOf(const QVariantMap& copy) {
    return copy.value(hostNameKey).toString();
}

/// Those of the hosts that none of the copies comes from, in their order.
[[nodiscard]] inline QStringList hostsWithout(const QVariantList& copies, const QStringList& hostNames) {
    QSet<QString> present;
    for (const QVariant& copy : copies)
        present.insert(hostNameOf(copy.toMap()));
    QStringList missing;
    for (const QString& hostName : hostNames)
        if (!present.contains(hostName)) missing.append(hostName);
    return missing;
}

}  // namespace ClientCopies
