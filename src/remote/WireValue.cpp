#include "remote/WireValue.h"

#include <QDateTime>
#include <QStringDecoder>
#include <QTimeZone>

#include <kj/exception.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <map>

namespace {

// What a value takes in the message: a struct of three words, two pointers more for a dictionary's entry.
constexpr std::size_t valueBytes = 24;
constexpr std::size_t entryBytes = valueBytes + 16;
constexpr std::size_t pointerBytes = 8;
// Of an exception that a peer raises: it goes to the log.
constexpr qsizetype longestName = 200, longestReason = 4'000;
constexpr std::size_t mostSharedKeys = 128;
// QDateTime's own arithmetic is exact far beyond this; 100 million days on either side of 1970 are enough.
constexpr qint64 furthestDate = 8'640'000'000'000'000;

[[noreturn]] void refuse(const QString& reason) {
    throw VLException(VLException::invalidArgument, reason);
}

bool isAscii(const char* text, std::size_t size) {
    std::uint64_t all = 0, part = 0;
    for (; size >= sizeof part; text += sizeof part, size -= sizeof part) {
        std::memcpy(&part, text, sizeof part);
        all |= part;
    }
    for (; size > 0; ++text, --size)
        all |= static_cast<unsigned char>(*text);
    return (all & 0x8080'8080'8080'8080) == 0;
}

}  // namespace

QString fromKj(kj::StringPtr text) {
    return QString::fromUtf8(text.begin(), qsizetype(text.size())).left(longestReason);
}

void WireWriter::addBytes(std::size_t bytes) {
    m_bytes += bytes;
    // The rest is for the envelope, so that what passes here passes the other end's limit too.
    if (m_bytes > m_limits.messageBytes - m_limits.messageBytes / 16)
        refuse(QStringLiteral("The value is larger than the %1 bytes that a message may have.")
                   .arg(m_limits.messageBytes));
}

unsigned int WireWriter::countedSize(qsizetype size, std::size_t bytesEach) {
    m_values += std::size_t(size);
    if (m_values > m_limits.valueCount)
        refuse(QStringLiteral("There are more than %1 values.").arg(m_limits.valueCount));
    addBytes(pointerBytes + std::size_t(size) * bytesEach);
    return static_cast<unsigned int>(size);
}

QByteArray WireWriter::text(const QString& text) {
    QByteArray utf8 = text.toUtf8();
    addBytes(std::size_t(utf8.size()) + pointerBytes);
    return utf8;
}

void WireWriter::writeList(wire::Value::Builder target, const QVariantList& list, int depth) {
    auto items = target.initList(countedSize(list.size(), valueBytes));
    unsigned int index = 0;
    for (const QVariant& item : list)
        write(items[index++], item, depth + 1);
}

template <typename Map>
void WireWriter::writeDictionary(wire::Value::Builder target, const Map& map, int depth) {
    auto entries = target.initDictionary(countedSize(map.size(), entryBytes));
    unsigned int index = 0;
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        auto entry = entries[index++];
        const QByteArray key = text(it.key());
        entry.setKey({key.constData(), std::size_t(key.size())});
        write(entry.initValue(), it.value(), depth + 1);
    }
}

void WireWriter::write(wire::Value::Builder target, const QVariant& value, int depth) {
    if (depth > m_limits.valueNesting)
        refuse(QStringLiteral("Lists and dictionaries lie more than %1 deep in each other.")
                   .arg(m_limits.valueNesting));

    switch (value.typeId()) {
        case QMetaType::UnknownType:
        case QMetaType::Nullptr:
            return target.setNothing();
        case QMetaType::Bool:
            return target.setBoolean(value.toBool());
        case QMetaType::Char:
        case QMetaType::SChar:
        case QMetaType::UChar:
        case QMetaType::Short:
        case QMetaType::UShort:
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::Long:
        case QMetaType::LongLong:
            return target.setInteger(value.toLongLong());
        case QMetaType::ULong:
        case QMetaType::ULongLong:
            if (value.toULongLong() > qulonglong(std::numeric_limits<qlonglong>::max()))
                refuse(QStringLiteral("The number %1 is too large.").arg(value.toULongLong()));
            return target.setInteger(value.toLongLong());
        case QMetaType::Float:
        case QMetaType::Double:
            return target.setReal(value.toDouble());
        case QMetaType::QString: {
            const QByteArray utf8 = text(value.toString());
            return target.setText({utf8.constData(), std::size_t(utf8.size())});
        }
        case QMetaType::QByteArray: {
            const QByteArray data = value.toByteArray();
            addBytes(std::size_t(data.size()));
            return target.setData(
                {reinterpret_cast<const kj::byte*>(data.constData()), std::size_t(data.size())});
        }
        case QMetaType::QDateTime: {
            const QDateTime date = value.toDateTime();
            const qint64 milliseconds = date.isValid() ? date.toMSecsSinceEpoch() : 0;
            if (!date.isValid() || milliseconds < -furthestDate || milliseconds > furthestDate)
                refuse(QStringLiteral("The date is not valid."));
            return target.setDate(milliseconds);
        }
        case QMetaType::QVariantList:
        case QMetaType::QStringList:
            return writeList(target, value.toList(), depth);
        case QMetaType::QVariantMap:
            return writeDictionary(target, value.toMap(), depth);
        case QMetaType::QVariantHash:
            return writeDictionary(target, value.toHash(), depth);
        default:
            refuse(QStringLiteral("A value of the type %1 cannot be sent.")
                       .arg(QString::fromLatin1(value.typeName())));
    }
}

void WireWriter::write(wire::Outcome::Exception::Builder target, const VLException& exception) {
    const QByteArray name = text(exception.name());
    target.setName({name.constData(), std::size_t(name.size())});
    const QByteArray reason = text(exception.reason());
    target.setReason({reason.constData(), std::size_t(reason.size())});
    if (!exception.userInfo().isEmpty()) write(target.initUserInfo(), exception.userInfo());
}

void WireReader::count(std::size_t values) {
    // Also bounds lists of elements without size, which take no room in the message.
    if (values > m_limits.valueCount - m_values)
        refuse(QStringLiteral("The message holds more than %1 values.").arg(m_limits.valueCount));
    m_values += values;
}

QString WireReader::text(capnp::Text::Reader source) {
    if (isAscii(source.begin(), source.size()))
        return QString::fromLatin1(source.begin(), qsizetype(source.size()));
    // Not QString::fromUtf8: it repairs what it should refuse, and swallows a leading U+FEFF.
    QStringDecoder decoder(QStringConverter::Utf8,
                           QStringConverter::Flag::Stateless | QStringConverter::Flag::ConvertInitialBom);
    QString text = decoder.decode(QByteArrayView(source.begin(), qsizetype(source.size())));
    if (decoder.hasError()) refuse(QStringLiteral("The message holds a text that is not valid UTF-8."));
    return text;
}

QVariant WireReader::read(wire::Value::Reader source) {
    try {
        count(1);
        return read(source, 0);
    } catch (const kj::Exception& exception) {
        refuse(QStringLiteral("The message is malformed: %1").arg(fromKj(exception.getDescription())));
    }
}

QVariant WireReader::read(wire::Value::Reader source, int depth) {
    if (depth > m_limits.valueNesting)
        refuse(QStringLiteral("The message holds lists and dictionaries more than %1 deep in each other.")
                   .arg(m_limits.valueNesting));

    switch (source.which()) {
        case wire::Value::NOTHING:
            return {};
        case wire::Value::BOOLEAN:
            return source.getBoolean();
        case wire::Value::INTEGER:
            return QVariant(qlonglong(source.getInteger()));
        case wire::Value::REAL:
            return source.getReal();
        case wire::Value::TEXT:
            return text(source.getText());
        case wire::Value::DATA: {
            const auto data = source.getData();
            return QByteArray(reinterpret_cast<const char*>(data.begin()), qsizetype(data.size()));
        }
        case wire::Value::DATE: {
            const qint64 milliseconds = source.getDate();
            if (milliseconds < -furthestDate || milliseconds > furthestDate)
                refuse(QStringLiteral("The message holds a date that is out of range."));
            return QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC);
        }
        case wire::Value::LIST: {
            const auto items = source.getList();
            count(items.size());
            QVariantList list;
            list.reserve(qsizetype(items.size()));
            for (const auto item : items)
                list.append(read(item, depth + 1));
            return list;
        }
        case wire::Value::DICTIONARY:
            return readDictionary(source.getDictionary(), depth);
    }
    refuse(QStringLiteral("The message holds a value of an unknown kind (%1).").arg(int(source.which())));
}

QVariant WireReader::readDictionary(capnp::List<wire::Value::Entry>::Reader source, int depth) {
    count(source.size());
    std::map<QString, QVariant> entries;
    for (const auto entry : source)  // sorted, unless the peer is an odd one
        entries.insert_or_assign(entries.cend(), key(entry.getKey()), read(entry.getValue(), depth + 1));
    return QVariantMap(std::move(entries));
}

QString WireReader::key(capnp::Text::Reader source) {
    const std::string_view bytes(source.begin(), source.size());
    const auto known = m_keys.find(bytes);
    if (known != m_keys.end()) return known->second;
    QString made = text(source);
    if (m_keys.size() < mostSharedKeys) m_keys.emplace(bytes, made);
    return made;
}

VLException WireReader::readException(wire::Outcome::Exception::Reader source) {
    QString name = text(source.getName()).left(longestName);
    if (name.isEmpty()) name = VLException::generic;
    return VLException(name, text(source.getReason()).left(longestReason),
                       read(source.getUserInfo()).toMap());
}

QVariant WireReader::readOutcome(wire::Outcome::Reader source) {
    const auto read = [&]() -> QVariant {
        switch (source.which()) {
            case wire::Outcome::VALUE:
                return this->read(source.getValue());
            case wire::Outcome::EXCEPTION:
                throw readException(source.getException());
        }
        refuse(QStringLiteral("The answer is of an unknown kind (%1).").arg(int(source.which())));
    };
    try {
        return read();
    } catch (const kj::Exception& exception) {
        refuse(QStringLiteral("The answer is malformed: %1").arg(fromKj(exception.getDescription())));
    }
}
