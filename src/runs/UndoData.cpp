#include "runs/UndoData.h"

#include "foundation/PropertyList.h"

#include <algorithm>
#include <array>

namespace {

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

}  // namespace

QVariantMap UndoData::withoutSecrets(const QVariantMap& undo) {
    return cleanedMap(undo, 1);
}

QByteArray UndoData::toBytes(const QVariantMap& undo) {
    const QVariantMap kept = withoutSecrets(undo);
    if (kept.isEmpty()) return {};
    QByteArray bytes = PropertyList::toData(kept, PropertyList::Format::Binary);
    return bytes.size() > largestOfAll ? QByteArray() : bytes;
}

QVariantMap UndoData::fromBytes(const QByteArray& bytes) {
    return bytes.isEmpty() ? QVariantMap() : PropertyList::fromData(bytes).toMap();
}
