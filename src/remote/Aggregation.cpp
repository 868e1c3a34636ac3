#include "remote/Aggregation.h"

#include "base/PropertyList.h"
#include "logs/VLLog.h"
#include "remote/VLCorvalinServerProtocol.h"

#include <QCoreApplication>
#include <QHash>
#include <QStringList>

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <unordered_map>
#include <vector>

namespace Aggregation {

using VLCorvalinServerProtocol::integerValue;

namespace {

bool isString(const QVariant& value) {
    return value.typeId() == QMetaType::QString;
}

bool isReal(const QVariant& value) {
    return value.typeId() == QMetaType::Double || value.typeId() == QMetaType::Float;
}

bool isNumber(const QVariant& value) {
    return VLCorvalinServerProtocol::accepts(VLCorvalinServerProtocol::Type::Number, value);
}

bool isArray(const QVariant& value) {
    return value.typeId() == QMetaType::QVariantList || value.typeId() == QMetaType::QStringList;
}

/// Empty for anything that is no dictionary (a text or list is never taken for one).
QVariantMap dictionary(const QVariant& element) {
    return element.typeId() == QMetaType::QVariantMap ? element.toMap() : QVariantMap();
}

/// Digits beyond the range count as the highest number, anything that is no number as 0.
qlonglong versionPart(const QString& part) {
    bool isInteger = false;
    const qlonglong number = part.toLongLong(&isInteger);
    if (isInteger) return number;
    const bool digits = !part.isEmpty() && std::all_of(part.cbegin(), part.cend(),
                                                       [](QChar c) { return c >= u'0' && c <= u'9'; });
    return digits ? std::numeric_limits<qlonglong>::max() : 0;
}

std::array<qlonglong, 3> versionParts(const QString& version) {
    std::array<qlonglong, 3> numbers{};
    const QStringList parts = version.split(u'.');
    for (std::size_t i = 0; i < numbers.size() && static_cast<qsizetype>(i) < parts.size(); ++i)
        numbers[i] = versionPart(parts.at(static_cast<qsizetype>(i)));
    return numbers;
}

/// What stands for values that differ, by the kind of the first one that does.
QVariant markerFor(const QVariant& differing) {
    if (isString(differing)) return QString::fromLatin1(various);
    if (isNumber(differing)) return qlonglong{-1};
    return {};
}

QVariant aggregated(const QVariantList& values) {
    const auto reference =
        std::find_if(values.cbegin(), values.cend(), [](const QVariant& value) { return value.isValid(); });
    if (reference == values.cend()) return {};
    const auto differing = std::find_if(reference + 1, values.cend(),
                                        [&](const QVariant& value) { return !sameValue(*reference, value); });
    return differing == values.cend() ? *reference : markerFor(*differing);
}

QVariantList valuesForKey(const QVariantList& array, const QString& key) {
    QVariantList values;
    values.reserve(array.size());
    for (const QVariant& element : array)
        values.append(dictionary(element).value(key));
    return values;
}

/// Alike for values that are the same. Of lists and dictionaries only the size counts.
size_t hashOf(const QVariant& value) {
    if (isString(value)) return qHash(value.toString());
    if (isNumber(value)) return qHash(value.toDouble());
    if (isArray(value)) return qHash(value.toList().size());
    if (value.typeId() == QMetaType::QVariantMap) return qHash(value.toMap().size());
    if (value.typeId() == QMetaType::QByteArray) return qHash(value.toByteArray());
    return 0;
}

QVariant mostFrequent(const QVariantList& values) {
    struct Count {
        QVariant value;
        int times;
    };
    std::vector<Count> counts;
    std::unordered_map<size_t, std::vector<size_t>> placesByHash;  // hundreds of clients may all differ
    for (const QVariant& value : values) {
        if (!value.isValid()) continue;
        std::vector<size_t>& places = placesByHash[hashOf(value)];
        const auto known = std::find_if(places.cbegin(), places.cend(),
                                        [&](size_t place) { return sameValue(counts[place].value, value); });
        if (known != places.cend()) {
            ++counts[*known].times;
            continue;
        }
        places.push_back(counts.size());
        counts.push_back({value, 1});
    }
    const auto most = std::max_element(counts.cbegin(), counts.cend(),
                                       [](const Count& a, const Count& b) { return a.times < b.times; });
    return most == counts.cend() ? QVariant() : most->value;
}

}  // namespace

bool sameValue(const QVariant& a, const QVariant& b) {
    if (isNumber(a) && isNumber(b)) {
        if (isReal(a) || isReal(b)) return a.toDouble() == b.toDouble();
        return a.toLongLong() == b.toLongLong();
    }
    if (isArray(a) && isArray(b)) {
        const QVariantList first = a.toList(), second = b.toList();
        return std::equal(first.cbegin(), first.cend(), second.cbegin(), second.cend(), sameValue);
    }
    if (a.typeId() == QMetaType::QVariantMap && b.typeId() == QMetaType::QVariantMap) {
        const QVariantMap first = dictionary(a), second = dictionary(b);
        return first.keys() == second.keys() &&
               std::equal(first.cbegin(), first.cend(), second.cbegin(), second.cend(), sameValue);
    }
    return a.metaType() == b.metaType() && a == b;
}

int compareVersionString(const QString& a, const QString& b) {
    const auto first = versionParts(a), second = versionParts(b);
    if (first == second) return 0;
    return first < second ? -1 : 1;
}

QString versionRangeInArray(const QVariantList& array, const QString& key) {
    std::optional<QString> lowest, highest;
    for (const QVariant& element : array) {
        const QVariant value = dictionary(element).value(key);
        if (!isString(value)) continue;
        const QString version = value.toString();
        if (!lowest) {
            lowest = highest = version;
        } else if (compareVersionString(version, *highest) == 1) {
            highest = version;
        } else if (compareVersionString(version, *lowest) == -1) {
            lowest = version;
        }
    }
    if (!lowest || *lowest == *highest) return lowest.value_or(QString());
    return *lowest + QLatin1String(" - ") + *highest;
}

QVariant aggregatedValueForKey(const QString& key, const QVariantList& array) {
    return aggregated(valuesForKey(array, key));
}

QVariant aggregatedValueForKey(const QString& key, const QString& app, bool isNumber,
                               const QVariantList& applicationData) {
    QVariantList values =
        valuesForKey(app.isEmpty() ? applicationData : valuesForKey(applicationData, app), key);
    if (isNumber) {
        for (QVariant& value : values)
            if (value.isValid())
                value = isString(value) ? value.toString().toLongLong() : integerValue(value);
    }
    return aggregated(values);
}

QVariant aggregatedValueForKey(const QString& key, const QString& app, const QVariantList& applicationData) {
    return aggregatedValueForKey(key, app, false, applicationData);
}

QVariantMap commonValuesForDictArray(const QVariantList& array) {
    QVariantMap common;
    if (array.isEmpty()) return common;
    for (const QString& key : dictionary(array.first()).keys()) {
        const QVariant value = mostFrequent(valuesForKey(array, key));
        if (value.isValid()) common.insert(key, value);
    }
    return common;
}

QVariantMap commonOrHighestStatsFromArray(const QVariantList& array) {
    QVariantMap stats;
    if (array.isEmpty()) return stats;
    const QVariantMap first = dictionary(array.first());
    for (auto entry = first.cbegin(); entry != first.cend(); ++entry) {
        if (!isString(entry.value())) continue;
        const QString reference = entry.value().toString();
        QString result = reference;
        for (const QVariant& other : valuesForKey(array.sliced(1), entry.key())) {
            if (!isString(other)) continue;
            const QString value = other.toString();
            const bool replaces =
                value.contains(u'.') ? compareVersionString(value, reference) == 1 : value != reference;
            if (replaces) result = value;
        }
        stats.insert(entry.key(), result);
    }
    return stats;
}

QVariantList commonItemsFromArray(const QVariantList& array, const QString& key) {
    if (array.isEmpty()) return {};
    // Every later element is held against the first one's own items, so all of these are common.
    const QVariant collection = dictionary(array.first()).value(key);
    if (isArray(collection)) return collection.toList();
    return dictionary(collection).values();
}

QString highestValueFromDict(const QVariantMap& dictionary) {
    auto highest = dictionary.cend();
    for (auto entry = dictionary.cbegin(); entry != dictionary.cend(); ++entry) {
        if (!isNumber(entry.value())) continue;
        if (highest == dictionary.cend() || integerValue(entry.value()) > integerValue(highest.value()))
            highest = entry;
    }
    return highest == dictionary.cend() ? QString() : highest.key();
}

QString aggregatedAppDictStatus(const QVariantList& applications) {
    if (applications.isEmpty()) return {};
    const auto isSet = [](const QVariant& application, QLatin1String key) {
        const QVariant value = dictionary(application).value(key);
        return isNumber(value) && integerValue(value) != 0;
    };
    qsizetype notInstalled = 0, running = 0;
    for (const QVariant& application : applications) {
        if (!isSet(application, QLatin1String("installed")))
            ++notInstalled;
        else if (isSet(application, QLatin1String("running")))
            ++running;
    }
    if (notInstalled == applications.size())
        return QCoreApplication::translate("Aggregation", "Not installed");
    if (running == applications.size()) return QCoreApplication::translate("Aggregation", "Running");
    return running == 0 ? QCoreApplication::translate("Aggregation", "Not running")
                        : QCoreApplication::translate("Aggregation", "Some running");
}

QVariant dictionaryFromString(const QString& text) {
    QString error;
    const QVariant value = PropertyList::fromData(text.toUtf8(), &error);
    if (value.typeId() == QMetaType::QVariantMap) return value;
    if (error.isEmpty()) error = QStringLiteral("The text holds no dictionary.");
    VLLog::appendLog(QStringLiteral("Error getting dictionary from string: %@"), error);
    return {};
}

}  // namespace Aggregation
