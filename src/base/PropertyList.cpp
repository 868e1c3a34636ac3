#include "base/PropertyList.h"

#include "base/PropertyListCheck.h"
#include "base/PropertyListXml.h"
#include "base/RegularFile.h"

#include <QDateTime>
#include <QFile>
#include <QSaveFile>
#include <QTimeZone>

#include <plist/plist.h>

#include <cmath>
#include <limits>
#include <memory>

namespace {

struct NodeDeleter {
    void operator()(void* node) const { plist_free(node); }
};
using Node = std::unique_ptr<void, NodeDeleter>;

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

constexpr auto keyedArchiveUid = "CF$UID";  // how XML property lists write a keyed archive's references

const QDateTime& epoch() {
    static const QDateTime date(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC);
    return date;
}

void setError(QString* error, const QString& text) {
    if (error) *error = text;
}

// MARK: Reading

/// The library hands dates out as 32-bit seconds, which cannot express dates such as "distant past"; its XML
/// form is exact.
QDateTime dateFromXmlOf(plist_t node) {
    char* xml = nullptr;
    std::uint32_t length = 0;
    plist_to_xml(node, &xml, &length);
    const std::unique_ptr<char, Free> owned(xml);
    const QByteArray text = QByteArray::fromRawData(xml, length);
    const qsizetype start = text.indexOf("<date>") + 6;
    const qsizetype end = text.indexOf("</date>");
    if (start < 6 || end < start) return {};
    const QString iso =
        QString::fromLatin1(text.mid(start, end - start)).rightJustified(20, QLatin1Char('0'));
    return QDateTime::fromString(iso, Qt::ISODate);
}

QDateTime dateOf(plist_t node) {
    std::int32_t seconds = 0;
    std::int32_t microseconds = 0;
    plist_get_date_val(node, &seconds, &microseconds);
    constexpr auto limits = std::numeric_limits<std::int32_t>();
    if (seconds == limits.min() || seconds == limits.max()) return dateFromXmlOf(node);
    const qint64 fraction = (microseconds + 500) / 1000;  // has no sign of its own
    return epoch().addMSecs(seconds * 1000LL + (seconds < 0 ? -fraction : fraction));
}

QVariant valueOf(plist_t node);

QVariant listOf(plist_t node) {
    QVariantList list;
    list.reserve(plist_array_get_size(node));
    plist_array_iter iterator = nullptr;
    plist_array_new_iter(node, &iterator);
    const std::unique_ptr<void, Free> owned(iterator);
    for (plist_t item = nullptr;; item = nullptr) {
        plist_array_next_item(node, iterator, &item);
        if (!item) return list;
        if (QVariant value = valueOf(item); value.isValid()) list << std::move(value);
    }
}

QVariant mapOf(plist_t node) {
    QVariantMap map;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(node, &iterator);
    const std::unique_ptr<void, Free> owned(iterator);
    for (;;) {
        char* key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, iterator, &key, &item);
        const std::unique_ptr<char, Free> ownedKey(key);
        if (!item) return map;
        if (QVariant value = valueOf(item); key && value.isValid())
            map.insert(QString::fromUtf8(key), std::move(value));
    }
}

QVariant valueOf(plist_t node) {
    std::uint64_t number = 0;
    switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN: {
            std::uint8_t flag = 0;
            plist_get_bool_val(node, &flag);
            return flag != 0;
        }
        case PLIST_UINT:
            plist_get_uint_val(node, &number);
            return static_cast<qlonglong>(number);
        case PLIST_REAL: {
            double real = 0;
            plist_get_real_val(node, &real);
            return real;
        }
        case PLIST_STRING: {
            const char* text = plist_get_string_ptr(node, &number);
            return text ? QString::fromUtf8(text, static_cast<qsizetype>(number)) : QString();
        }
        case PLIST_DATA: {
            const char* bytes = plist_get_data_ptr(node, &number);
            return bytes ? QByteArray(bytes, static_cast<qsizetype>(number)) : QByteArray();
        }
        case PLIST_DATE: {
            const QDateTime date = dateOf(node);
            return date.isValid() ? QVariant(date) : QVariant();
        }
        case PLIST_UID:
            plist_get_uid_val(node, &number);
            return QVariantMap{{QLatin1String(keyedArchiveUid), static_cast<qlonglong>(number)}};
        case PLIST_ARRAY:
            return listOf(node);
        case PLIST_DICT:
            return mapOf(node);
        default:
            return {};
    }
}

// MARK: Writing

bool isAllowedInXml(QChar character) {
    const char16_t code = character.unicode();
    return code >= 0x20 ? code < 0xFFFE : code == u'\t' || code == u'\n' || code == u'\r';
}

/// A text that both the library's C strings and XML can hold.
QByteArray utf8(const QString& text) {
    QString clean = text;
    for (qsizetype i = 0; i < clean.size(); ++i) {
        const bool isPair =
            clean[i].isHighSurrogate() && i + 1 < clean.size() && clean[i + 1].isLowSurrogate();
        if (isPair)
            ++i;
        else if (clean[i].isSurrogate() || !isAllowedInXml(clean[i]))
            clean[i] = QChar::ReplacementCharacter;
    }
    return clean.toUtf8();
}

plist_t newDate(const QDateTime& date) {
    const qint64 milliseconds = epoch().msecsTo(date);
    const auto seconds = static_cast<qint64>(std::floor(static_cast<double>(milliseconds) / 1000));
    constexpr auto limits = std::numeric_limits<std::int32_t>();
    if (seconds > limits.min() && seconds < limits.max())
        return plist_new_date(static_cast<std::int32_t>(seconds),
                              static_cast<std::int32_t>((milliseconds - seconds * 1000) * 1000));
    const QByteArray xml =
        "<plist version=\"1.0\"><date>" + date.toUTC().toString(Qt::ISODate).toLatin1() + "</date></plist>";
    plist_t node = nullptr;
    plist_from_xml(xml.constData(), static_cast<std::uint32_t>(xml.size()), &node);
    return node;
}

plist_t newNode(const QVariant& value);

plist_t newArray(const QVariantList& list) {
    Node array(plist_new_array());
    for (const QVariant& item : list)
        if (plist_t node = newNode(item)) plist_array_append_item(array.get(), node);
    return array.release();
}

plist_t newDictionary(const QVariantMap& map) {
    Node dictionary(plist_new_dict());
    for (auto item = map.cbegin(); item != map.cend(); ++item)
        if (plist_t node = newNode(item.value()))
            plist_dict_set_item(dictionary.get(), utf8(item.key()).constData(), node);
    return dictionary.release();
}

/// `value` is normalized.
plist_t newNode(const QVariant& value) {
    switch (value.typeId()) {
        case QMetaType::Bool:
            return plist_new_bool(value.toBool() ? 1 : 0);
        case QMetaType::LongLong:
            return plist_new_uint(static_cast<std::uint64_t>(value.toLongLong()));
        case QMetaType::Double:
            return plist_new_real(value.toDouble());
        case QMetaType::QString:
            return plist_new_string(utf8(value.toString()).constData());
        case QMetaType::QByteArray: {
            const QByteArray bytes = value.toByteArray();
            return plist_new_data(bytes.constData(), static_cast<std::uint64_t>(bytes.size()));
        }
        case QMetaType::QDateTime:
            return newDate(value.toDateTime());
        case QMetaType::QVariantList:
            return newArray(value.toList());
        case QMetaType::QVariantMap:
            return newDictionary(value.toMap());
        default:
            return nullptr;
    }
}

QVariant normalizedValue(const QVariant& value, int level, bool& tooDeep);

QVariant normalizedList(const QVariantList& list, int level, bool& tooDeep) {
    QVariantList result;
    result.reserve(list.size());
    for (const QVariant& item : list)
        if (QVariant part = normalizedValue(item, level, tooDeep); part.isValid()) result << std::move(part);
    return result;
}

QVariant normalizedMap(const QVariantMap& map, int level, bool& tooDeep) {
    QVariantMap result;
    for (auto item = map.cbegin(); item != map.cend(); ++item)
        if (QVariant part = normalizedValue(item.value(), level, tooDeep); part.isValid())
            result.insert(item.key(), std::move(part));
    return result;
}

QVariant normalizedContainer(const QVariant& value, int level, bool& tooDeep) {
    if (level >= PropertyList::maximumNesting) {
        tooDeep = true;
        return {};
    }
    switch (value.typeId()) {
        case QMetaType::QVariantMap:
            return normalizedMap(value.toMap(), level + 1, tooDeep);
        case QMetaType::QVariantHash: {
            QVariantMap map;
            const QVariantHash hash = value.toHash();
            for (auto item = hash.cbegin(); item != hash.cend(); ++item)
                map.insert(item.key(), item.value());
            return normalizedMap(map, level + 1, tooDeep);
        }
        default:
            return normalizedList(value.toList(), level + 1, tooDeep);
    }
}

QVariant normalizedValue(const QVariant& value, int level, bool& tooDeep) {
    switch (value.typeId()) {
        case QMetaType::Bool:
        case QMetaType::QString:
        case QMetaType::QByteArray:
            return value;
        case QMetaType::Char:
        case QMetaType::SChar:
        case QMetaType::UChar:
        case QMetaType::Short:
        case QMetaType::UShort:
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::Long:
        case QMetaType::LongLong:
            return value.toLongLong();
        case QMetaType::ULong:
        case QMetaType::ULongLong:
            return static_cast<qlonglong>(value.toULongLong());
        case QMetaType::Float:
        case QMetaType::Double:
            return value.toDouble();
        case QMetaType::QDateTime: {
            const QDateTime date = value.toDateTime().toUTC();
            return date.isValid() ? QVariant(date) : QVariant();
        }
        case QMetaType::QStringList:
        case QMetaType::QVariantList:
        case QMetaType::QVariantMap:
        case QMetaType::QVariantHash:
            return normalizedContainer(value, level, tooDeep);
        default:
            return {};
    }
}

}  // namespace

QVariant PropertyList::fromData(const QByteArray& data, QString* error) {
    const auto fail = [error](const QString& problem) {
        setError(error, QStringLiteral("no property list (%1)").arg(problem));
        return QVariant();
    };
    if (data.size() > maximumFileSize) return fail(QStringLiteral("too large"));
    QString problem;
    if (!data.startsWith("bplist")) {
        QVariant value = PropertyListXml::fromData(data, problem);
        return value.isValid() ? value : fail(problem);
    }
    problem = PropertyListCheck::problemOfBinary(data);
    if (!problem.isEmpty()) return fail(problem);
    plist_t parsed = nullptr;
    plist_from_bin(data.constData(), static_cast<std::uint32_t>(data.size()), &parsed);
    const Node node(parsed);
    if (!node) return fail(QStringLiteral("malformed"));
    QVariant value = valueOf(node.get());
    if (!value.isValid()) return fail(QStringLiteral("malformed"));
    return value;
}

QVariant PropertyList::normalized(const QVariant& value) {
    bool tooDeep = false;
    QVariant result = normalizedValue(value, 0, tooDeep);
    return tooDeep ? QVariant() : result;
}

QByteArray PropertyList::toData(const QVariant& value, Format format) {
    const Node node(newNode(normalized(value)));
    if (!node) return {};
    char* bytes = nullptr;
    std::uint32_t length = 0;
    if (format == Format::Binary)
        plist_to_bin(node.get(), &bytes, &length);
    else
        plist_to_xml(node.get(), &bytes, &length);
    const std::unique_ptr<char, Free> owned(bytes);
    QByteArray data = bytes ? QByteArray(bytes, static_cast<qsizetype>(length)) : QByteArray();
    // A bare carriage return would be read as a line feed.
    if (format == Format::Xml) data.replace("\r", "&#13;");
    return data;
}

QVariant PropertyList::readFile(const QString& path, QString* error) {
    QFile file;
    if (!RegularFile::openForReading(file, path, error)) return {};
    const QByteArray data = file.read(maximumFileSize + 1);
    if (file.error() != QFileDevice::NoError) {
        setError(error, QStringLiteral("%1: %2").arg(path, file.errorString()));
        return {};
    }
    QString problem;
    QVariant value = fromData(data, &problem);
    if (!value.isValid()) setError(error, QStringLiteral("%1: %2").arg(path, problem));
    return value;
}

bool PropertyList::writeFileAtomically(const QString& path, const QVariant& value, QString* error,
                                       Format format) {
    const QByteArray data = toData(value, format);
    if (data.isEmpty()) {
        setError(error, QStringLiteral("%1: the value cannot be kept in a property list").arg(path));
        return false;
    }
    QSaveFile file(path);
    // flush(): what cannot be written any more at the very end would pass unnoticed.
    if (file.open(QIODevice::WriteOnly) && file.write(data) == data.size() && file.flush() && file.commit())
        return true;
    setError(error, QStringLiteral("%1: %2").arg(path, file.errorString()));
    return false;
}
