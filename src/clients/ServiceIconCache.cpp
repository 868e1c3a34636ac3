#include "clients/ServiceIconCache.h"

#include "foundation/PropertyList.h"
#include "logs/VLLog.h"

#include <QFileInfo>

#include <mutex>

namespace {

constexpr qint64 maximumCacheSize = PropertyList::maximumFileSize / 4;

/// Held for a whole read-modify-write, whichever record does it.
std::mutex& cacheMutex() {
    static std::mutex mutex;
    return mutex;
}

QVariantMap readCache(const QString& path) {
    QString error;
    const QVariant content = PropertyList::readFile(path, &error);
    if (!content.isValid() && QFileInfo::exists(path))
        VLLog::appendLog(QStringLiteral("The cached pictures could not be read: %@"), error);
    return content.typeId() == QMetaType::QVariantMap ? content.toMap() : QVariantMap();
}

/// Pictures can be fetched again, so a cache that has grown out of bounds simply starts over.
void keepWithinBounds(QVariantMap& cache) {
    qint64 size = 0;
    for (const QVariant& entry : std::as_const(cache))
        size += entry.toByteArray().size();
    if (size > maximumCacheSize) cache.clear();
}

}  // namespace

ServiceIconCache::ServiceIconCache(const QString& directory)
    : m_path(directory + QStringLiteral("/serviceicons.cache.plist")) {}

std::optional<QByteArray> ServiceIconCache::find(const QString& hostName) const {
    const std::lock_guard lock(cacheMutex());
    const QVariant entry = readCache(m_path).value(hostName);
    if (entry.typeId() != QMetaType::QByteArray) return std::nullopt;
    return entry.toByteArray();
}

void ServiceIconCache::store(const QString& hostName, const QByteArray& data) {
    const std::lock_guard lock(cacheMutex());
    QVariantMap cache = readCache(m_path);
    keepWithinBounds(cache);
    cache.insert(hostName, data);
    QString error;
    if (!PropertyList::writeFileAtomically(m_path, cache, &error, PropertyList::Format::Binary))
        VLLog::appendLog(QStringLiteral("The cached pictures could not be written: %@"), error);
}
