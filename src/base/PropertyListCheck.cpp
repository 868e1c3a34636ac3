#include "base/PropertyListCheck.h"

#include "base/PropertyList.h"

#include <algorithm>
#include <vector>

namespace {

QString nestedTooDeeply() {
    return QStringLiteral("nested more than %1 levels deep").arg(PropertyList::maximumNesting);
}
QString tooManyValues() {
    return QStringLiteral("more than %1 values").arg(PropertyList::maximumValues);
}

constexpr qsizetype headerSize = 8;
constexpr qsizetype trailerSize = 32;

/// Kinds of objects: the upper half of the marker byte.
enum Kind : quint8 {
    Single,
    Integer,
    Real,
    Date,
    Data,
    Ascii,
    Utf16,
    Utf8,
    Uid,
    Array = 0xA,
    Set = 0xC,
    Dictionary = 0xD
};

struct Broken {
    QString problem;
};

[[noreturn]] void fail(const QString& problem) {
    throw Broken{problem};
}

/// One object as it lies in the file. `count` is in elements: bytes, characters, members or pairs.
struct Object {
    Kind kind = Single;
    qsizetype payload = 0;
    quint64 count = 0;

    [[nodiscard]] bool isContainer() const { return kind == Array || kind == Set || kind == Dictionary; }
    [[nodiscard]] bool isText() const { return kind == Ascii || kind == Utf16 || kind == Utf8; }
};

/// What an object becomes when every reference in it is followed.
struct Extent {
    enum class State : quint8 { Unknown, Open, Known };
    State state = State::Unknown;
    quint8 height = 0;  ///< levels of containers
    qint64 values = 0;
    qint64 bytes = 0;
};

class BinaryGraph {
public:
    explicit BinaryGraph(const QByteArray& data) : m_data(data) { readTrailer(); }

    void check() { measure(m_top, 0); }

private:
    void readTrailer() {
        if (m_data.size() < headerSize + trailerSize) fail(QStringLiteral("truncated"));
        const qsizetype trailer = m_data.size() - trailerSize;
        m_offsetSize = byte(trailer + 6);
        m_referenceSize = byte(trailer + 7);
        const quint64 objects = number(trailer + 8, 8);
        const quint64 top = number(trailer + 16, 8);
        const quint64 table = number(trailer + 24, 8);
        if (m_offsetSize < 1 || m_offsetSize > 8 || m_referenceSize < 1 || m_referenceSize > 8)
            fail(QStringLiteral("wrong number sizes"));
        if (objects > static_cast<quint64>(PropertyList::maximumValues)) fail(tooManyValues());
        if (top >= objects) fail(QStringLiteral("no top object"));
        if (table < headerSize || table > static_cast<quint64>(trailer) ||
            objects * m_offsetSize > static_cast<quint64>(trailer) - table)
            fail(QStringLiteral("offset table outside the data"));
        m_top = top;
        m_table = static_cast<qsizetype>(table);
        m_extents.resize(objects);
    }

    [[nodiscard]] quint8 byte(qsizetype at) const { return static_cast<quint8>(m_data[at]); }

    [[nodiscard]] quint64 number(qsizetype at, int size) const {
        quint64 value = 0;
        for (int i = 0; i < size; ++i)
            value = value << 8 | byte(at + i);
        return value;
    }

    void require(qsizetype at, quint64 size) const {
        if (at < headerSize || at > m_table || size > static_cast<quint64>(m_table - at))
            fail(QStringLiteral("object outside the data"));
    }

    [[nodiscard]] Object object(quint64 index) const {
        const quint64 offset = number(m_table + static_cast<qsizetype>(index) * m_offsetSize, m_offsetSize);
        if (offset >= static_cast<quint64>(m_table)) fail(QStringLiteral("object outside the data"));
        const auto at = static_cast<qsizetype>(offset);
        require(at, 1);
        Object result{static_cast<Kind>(byte(at) >> 4), at + 1, static_cast<quint64>(byte(at) & 0xF)};
        if (result.kind == Single) {
            result.count = 0;
        } else if (result.kind == Integer || result.kind == Real || result.kind == Date) {
            if (result.count > 4) fail(QStringLiteral("number too wide"));
            result.count = 1ULL << result.count;
        } else if (result.kind == Uid) {
            result.count += 1;
        } else if (result.count == 0xF) {
            readCount(result);
        }
        require(result.payload, payloadSize(result));
        return result;
    }

    /// A count that does not fit into the marker follows as an integer object.
    void readCount(Object& object) const {
        require(object.payload, 1);
        const quint8 marker = byte(object.payload);
        const int width = 1 << (marker & 0xF);
        if (marker >> 4 != Integer || width > 8) fail(QStringLiteral("wrong count"));
        require(object.payload + 1, static_cast<quint64>(width));
        object.count = number(object.payload + 1, width);
        object.payload += 1 + width;
    }

    [[nodiscard]] quint64 payloadSize(const Object& object) const {
        // Above this nothing fits anyway, and the multiplications below cannot overflow.
        if (object.count > static_cast<quint64>(m_data.size()))
            fail(QStringLiteral("object outside the data"));
        const auto reference = static_cast<quint64>(m_referenceSize);
        switch (object.kind) {
            case Utf16:
                return object.count * 2;
            case Array:
            case Set:
                return object.count * reference;
            case Dictionary:
                return object.count * 2 * reference;
            default:
                return object.count;
        }
    }

    /// The library ends the program at a key with a NUL character.
    void requireKey(const Object& key) const {
        if (!key.isText()) fail(QStringLiteral("a key that is no text"));
        const int width = key.kind == Utf16 ? 2 : 1;
        for (quint64 i = 0; i < key.count; ++i)
            if (number(key.payload + static_cast<qsizetype>(i) * width, width) == 0)
                fail(QStringLiteral("a key with a NUL character"));
    }

    /// Fills in the extent of an object. The recursion is bounded by the nesting that is allowed.
    const Extent& measure(quint64 index, int level) {
        if (index >= m_extents.size()) fail(QStringLiteral("reference to no object"));
        Extent& extent = m_extents[index];
        if (extent.state == Extent::State::Open) fail(QStringLiteral("a container holds itself"));
        if (extent.state == Extent::State::Unknown) {
            extent.state = Extent::State::Open;
            measureObject(object(index), level, extent);
            extent.state = Extent::State::Known;
        }
        if (level + extent.height > PropertyList::maximumNesting) fail(nestedTooDeeply());
        return extent;
    }

    void measureObject(const Object& object, int level, Extent& extent) {
        extent.values = 1;
        if (!object.isContainer()) {
            extent.bytes = static_cast<qint64>(payloadSize(object));
            return;
        }
        if (level >= PropertyList::maximumNesting) fail(nestedTooDeeply());
        extent.height = 1;
        const quint64 keys = object.kind == Dictionary ? object.count : 0;
        const quint64 members = keys + object.count;
        for (quint64 i = 0; i < members; ++i) {
            const quint64 member =
                number(object.payload + static_cast<qsizetype>(i) * m_referenceSize, m_referenceSize);
            const Extent& part = measure(member, level + 1);
            if (i < keys) requireKey(this->object(member));
            extent.height = std::max<quint8>(extent.height, part.height + 1);
            extent.values += part.values;
            extent.bytes += part.bytes;
            if (extent.values > PropertyList::maximumValues) fail(tooManyValues());
            if (extent.bytes > PropertyList::maximumFileSize) fail(QStringLiteral("too large"));
        }
    }

    const QByteArray& m_data;
    int m_offsetSize = 0;
    int m_referenceSize = 0;
    qsizetype m_table = 0;
    quint64 m_top = 0;
    std::vector<Extent> m_extents;
};

}  // namespace

QString PropertyListCheck::problemOfBinary(const QByteArray& data) {
    try {
        BinaryGraph(data).check();
        return {};
    } catch (const Broken& broken) {
        return broken.problem;
    }
}
