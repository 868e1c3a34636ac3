#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// "serviceicons.cache.plist": the pictures that agents sent, by host name. An unreadable file counts as
/// empty and is written anew. What was read is kept as long as the file does not
/// change. Any thread; one reader or writer at a time.
class ServiceIconCache {
public:
    explicit ServiceIconCache(const QString& directory);

    [[nodiscard]] std::optional<QByteArray> find(const QString& hostName) const;
    void store(const QString& hostName, const QByteArray& data);

private:
    QString m_path;
};
