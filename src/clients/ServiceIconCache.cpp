#include "clients/ServiceIconCache.h"

#include "base/PropertyList.h"
#include "logs/VLLog.h"

#include <QDateTime>
#include <QFileInfo>

#include <mutex>

namespace {

constexpr qint64 maximumCacheSize = PropertyList::maximumFileSize / 4;

/// What was read last, and of which state of which file.
struct Memory {
    std::mutex mutex;  ///< held for a whole read-modify-write, whichever record does it
    QString path;
    QDateTime modified;
    qint64 size = 0;
    QVariantMap pictures;

    void note(const QString& file) {
        const QFileInfo info(file);
        path = file;
        modified = info.lastModified();  // invalid for a file that is not there
        size = info.size();
    }
    [[nodiscard]] bool isOf(const QString& file) const {
        const QFileInfo info(file);
        return path == file && modified == info.lastModified() && size == info.size();
    }
};

Memory& memory() {
    static Memory instance;
    return instance;
}

/// With the lock held. A thousand clients that connect ask for the same file a thousand times.
QVariantMap& readCache(const QString& path) {
    Memory& known = memory();
    if (known.isOf(path)) return known.pictures;
    known.note(path);
    QString error;
    const QVariant content = PropertyList::readFile(path, &error);
    if (!content.isValid() && QFileInfo::exists(path))
        VLLog::appendLog(QStringLiteral("The cached pictures could not be read: %@"), error);
    known.pictures = content.typeId() == QMetaType::QVariantMap ? content.toMap() : QVariantMap();
    return known.pictures;
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
    const std::lock_guard lock(memory().mutex);
    const QVariant entry = readCache(m_path).value(hostName);
    if (entry.typeId() != QMetaType::QByteArray) return std::nullopt;
    return entry.toByteArray();
}

void ServiceIconCache::store(const QString& hostName, const QByteArray& data) {
    const std::lock_guard lock(memory().mutex);
    QVariantMap& cache = readCache(m_path);
    keepWithinBounds(cache);
    cache.insert(hostName, data);
    QString error;
    if (!PropertyList::writeFileAtomically(m_path, cache, &error, PropertyList::Format::Binary))
        VLLog::appendLog(QStringLiteral("The cached pictures could not be written: %@"), error);
    memory().note(m_path);
}
