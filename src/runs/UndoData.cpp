#include "runs/UndoData.h"

#include "base/PropertyList.h"

#include <QtEndian>

#include <algorithm>
#include <array>

namespace {

constexpr auto plainStart = "bplist";  // which as the size of what is packed would be far too large

bool namesSecret(const QString& key) {
    constexpr std::array names{"authPass", "authPassword", "password", "passwd", "passphrase"};
    return std::any_of(names.begin(), names.end(), [&](const char* name) {
        return key.compare(QLatin1String(name), Qt::CaseInsensitive) == 0;
    });
}

QVariant cleaned(const QVariant& value, int level);

QVariantMap cleanedMap(const QVariantMap& map, int level) {
    QVariantMap result;
    for (auto item = map.cbegin(); item != map.cend(); ++item) {
        if (namesSecret(item.key())) continue;
        if (QVariant part = cleaned(item.value(), level); part.isValid())
            result.insert(item.key(), std::move(part));
    }
    return result;
}

QVariantList cleanedList(const QVariantList& list, int level) {
    QVariantList result;
    result.reserve(list.size());
    for (const QVariant& item : list)
        if (QVariant part = cleaned(item, level); part.isValid()) result << std::move(part);
    return result;
}

QVariant cleaned(const QVariant& value, int level) {
    if (level >= PropertyList::maximumNesting) return {};
    switch (value.typeId()) {
        case QMetaType::QByteArray:
            return value.toByteArray().size() > UndoData::largestData ? QVariant() : value;
        case QMetaType::QVariantMap:
        case QMetaType::QVariantHash:
            return cleanedMap(value.toMap(), level + 1);
        case QMetaType::QVariantList:
            return cleanedList(value.toList(), level + 1);
        default:
            return value;
    }
}

qint64 bytesInValue(const QVariant& value, int level) {
    constexpr qint64 own = 64;
    qint64 bytes = own;
    switch (value.typeId()) {
        case QMetaType::QByteArray:
            return own + value.toByteArray().size();
        case QMetaType::QString:
            return own + value.toString().size() * qint64(sizeof(QChar));
        case QMetaType::QVariantMap: {
            if (level >= PropertyList::maximumNesting) return own;
            const QVariantMap map = value.toMap();
            for (auto item = map.cbegin(); item != map.cend(); ++item)
                bytes += own + item.key().size() * qint64(sizeof(QChar)) + bytesInValue(*item, level + 1);
            return bytes;
        }
        case QMetaType::QVariantList: {
            if (level >= PropertyList::maximumNesting) return own;
            const QVariantList list = value.toList();
            for (const QVariant& item : list)
                bytes += bytesInValue(item, level + 1);
            return bytes;
        }
        default:
            return own;
    }
}

}  // namespace

QVariantMap UndoData::withoutSecrets(const QVariantMap& undo) {
    return cleanedMap(undo, 1);
}

QByteArray UndoData::toBytes(const QVariantMap& undo) {
    const QVariantMap kept = withoutSecrets(undo);
    if (kept.isEmpty()) return {};
    QByteArray bytes = PropertyList::toData(kept, PropertyList::Format::Binary);
    if (bytes.size() > largestUnpacked) return {};
    if (QByteArray packed = qCompress(bytes); packed.size() <= std::min(largestPacked, bytes.size()))
        return packed;
    return bytes.size() > largestPlain ? QByteArray() : bytes;
}

QVariantMap UndoData::fromBytes(const QByteArray& bytes) {
    if (bytes.startsWith(plainStart)) return PropertyList::fromData(bytes).toMap();
    // What is packed begins with its size. Should that be a lie, the bytes are too few to fill the memory.
    constexpr qsizetype sizeBytes = sizeof(quint32);
    if (bytes.size() <= sizeBytes || bytes.size() > largestPacked) return {};
    if (qFromBigEndian<quint32>(bytes.constData()) > largestUnpacked) return {};
    return PropertyList::fromData(qUncompress(bytes)).toMap();
}

qint64 UndoData::bytesIn(const QVariantMap& undo) {
    return bytesInValue(undo, 1);
}
