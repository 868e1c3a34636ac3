#pragma once

#include <QByteArray>
#include <QDataStream>
#include <QString>

#include <optional>

/// What is kept of a client while there is no record of it.
struct ServiceArchive {
    QString name;
    QString hostName;
    QByteArray picture;  ///< a small one; empty for none
    int port = 0;
    bool isConnected = false;
    bool needsMaintenance = false;

    void write(QDataStream& stream) const;
    /// Nothing, and a log line, when the stream holds no such thing.
    [[nodiscard]] static std::optional<ServiceArchive> read(QDataStream& stream);
};
