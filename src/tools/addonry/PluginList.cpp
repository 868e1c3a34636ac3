#include "tools/addonry/PluginList.h"

#include "foundation/VLFormat.h"

#include <optional>

namespace {

const QString nameKey = QStringLiteral("name");
const QStringList optionalKeys{QStringLiteral("fullPath"),   QStringLiteral("version"),
                               QStringLiteral("type"),       QStringLiteral("disabled"),
                               QStringLiteral("accessType"), QStringLiteral("moddate")};

struct Cleaner {
    int wrongValues = 0;

    static bool isUsableText(const QVariant& value) {
        return value.typeId() == QMetaType::QString &&
               value.toString().size() <= PluginList::maximumTextLength;
    }

    static std::optional<qlonglong> numberOf(const QVariant& value) {
        switch (value.typeId()) {
            case QMetaType::Bool:
            case QMetaType::Int:
            case QMetaType::LongLong:
            case QMetaType::QString: {
                bool isNumber = false;
                const qlonglong number = value.toLongLong(&isNumber);
                return isNumber ? std::optional(number) : std::nullopt;
            }
            case QMetaType::Double:  // out of range would be undefined
                if (const double real = value.toDouble(); real > -1e15 && real < 1e15)
                    return static_cast<qlonglong>(real);
                return std::nullopt;
            default:
                return std::nullopt;
        }
    }

    /// The value as it may be kept, invalid when it is of a wrong kind.
    static QVariant usable(const QString& key, const QVariant& value) {
        if (key == QLatin1String("moddate"))
            return value.typeId() == QMetaType::QDateTime ? value : QVariant();
        if (key == QLatin1String("disabled") || key == QLatin1String("accessType")) {
            const auto number = numberOf(value);
            if (!number) return {};
            return key == QLatin1String("disabled") ? qlonglong{*number != 0} : *number;
        }
        return isUsableText(value) ? value : QVariant();
    }

    /// Nothing for an entry that cannot become a row.
    std::optional<QVariantMap> clean(const QVariant& entry) {
        if (entry.typeId() != QMetaType::QVariantMap) return std::nullopt;
        const QVariantMap received = entry.toMap();
        const QVariant name = received.value(nameKey);
        if (!isUsableText(name) || name.toString().isEmpty()) return std::nullopt;
        QVariantMap instance{{nameKey, name}};
        for (const QString& key : optionalKeys) {
            const auto value = received.constFind(key);
            if (value == received.constEnd()) continue;
            const QVariant kept = usable(key, *value);
            if (kept.isValid())
                instance.insert(key, kept);
            else
                ++wrongValues;
        }
        return instance;
    }
};

}  // namespace

PluginList PluginList::fromAnswer(const QVariant& answer) {
    PluginList list;
    if (!answer.isValid()) return list;
    if (answer.typeId() != QMetaType::QVariantList) {
        list.complaint = vlFormat(QStringLiteral("not an array but %@"), QLatin1String(answer.typeName()));
        return list;
    }
    const QVariantList entries = answer.toList();
    Cleaner cleaner;
    for (const QVariant& entry : entries.mid(0, maximumEntries))
        if (auto instance = cleaner.clean(entry)) list.instances.append(*std::move(instance));

    const auto leftOut = static_cast<int>(entries.size() - list.instances.size());
    if (leftOut > 0 || cleaner.wrongValues > 0) {
        list.complaint =
            vlFormat(QStringLiteral("%i of %i entries left out, %i values of a wrong kind ignored"), leftOut,
                     static_cast<int>(entries.size()), cleaner.wrongValues);
    }
    return list;
}
