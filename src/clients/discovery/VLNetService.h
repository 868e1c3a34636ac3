#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QList>
#include <QMap>
#include <QString>

/// One resolved address of an advertised service.
struct VLNetAddress {
    QHostAddress address;
    quint16 port = 0;
    /// Interface of a link-local address; 0 when it does not matter.
    int interfaceIndex = 0;
    bool operator==(const VLNetAddress&) const = default;
};

/// An advertised service: found by browsing (identity only), then resolved (the rest). A plain value.
struct VLNetService {
    QString name;    ///< instance name as advertised
    QString type;    ///< "_corvalin._tcp"
    QString domain;  ///< "local"

    QString hostName;  ///< with trailing dot, as the resolver gives it: "edit-bay-1.local."
    quint16 port = 0;
    QList<VLNetAddress> addresses;
    QMap<QString, QByteArray> txtRecord;  ///< keys "model" and "name"

    /// The same advertisement, resolved or not.
    [[nodiscard]] bool isSameService(const VLNetService& other) const {
        return name == other.name && type == other.type && domain == other.domain;
    }
};
