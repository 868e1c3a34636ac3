#include "base/PropertyListXml.h"

#include "base/PropertyList.h"

#include <QDateTime>
#include <QXmlStreamReader>

namespace {

/// Every function is called with the reader at a start tag and returns with it at the matching end tag.
class Reader {
public:
    explicit Reader(const QByteArray& data) : m_xml(data) { m_xml.setNamespaceProcessing(false); }

    QVariant read() {
        QVariant value;
        if (m_xml.readNextStartElement()) value = m_xml.name() == u"plist" ? onlyChild() : readValue(0);
        while (!m_xml.atEnd())
            m_xml.readNext();  // what follows must be well-formed as well
        return m_xml.hasError() ? QVariant() : value;
    }

    [[nodiscard]] QString problem() const {
        return QStringLiteral("line %1: %2").arg(m_xml.lineNumber()).arg(m_xml.errorString());
    }

private:
    QVariant fail(const QString& problem) {
        if (!m_xml.hasError()) m_xml.raiseError(problem);
        return {};
    }

    QVariant onlyChild() {
        if (!m_xml.readNextStartElement()) return fail(QStringLiteral("no value"));
        QVariant value = readValue(0);
        if (m_xml.readNextStartElement()) return fail(QStringLiteral("more than one value"));
        return value;
    }

    QVariant readValue(int level) {
        if (++m_values > PropertyList::maximumValues)
            return fail(QStringLiteral("more than %1 values").arg(PropertyList::maximumValues));
        const QStringView name = m_xml.name();
        if (name == u"array") return readArray(level + 1);
        if (name == u"dict") return readDictionary(level + 1);
        if (name == u"true" || name == u"false") {
            const bool flag = name == u"true";  // before the reader moves on
            m_xml.readElementText();
            return flag;
        }
        if (name == u"string") return text();
        if (name == u"integer") return readInteger();
        if (name == u"real") return readReal();
        if (name == u"date") return readDate();
        if (name == u"data") return readData();
        return fail(QStringLiteral("unknown element %1").arg(name));
    }

    bool isTooDeep(int level) {
        if (level <= PropertyList::maximumNesting) return false;
        fail(QStringLiteral("nested more than %1 levels deep").arg(PropertyList::maximumNesting));
        return true;
    }

    QVariant readArray(int level) {
        QVariantList list;
        if (isTooDeep(level)) return {};
        while (m_xml.readNextStartElement())
            list << readValue(level);
        return list;
    }

    QVariant readDictionary(int level) {
        QVariantMap map;
        if (isTooDeep(level)) return {};
        while (m_xml.readNextStartElement()) {
            if (m_xml.name() != u"key") return fail(QStringLiteral("a value without a key"));
            const QString key = text();
            if (!m_xml.readNextStartElement()) return fail(QStringLiteral("a key without a value"));
            map.insert(key, readValue(level));
        }
        return map;
    }

    /// Never null, so that an empty text stays a text.
    QString text() {
        const QString text = m_xml.readElementText();
        return text.isNull() ? QStringLiteral("") : text;
    }

    QVariant readInteger() {
        QString digits = text().trimmed();
        const bool isHexadecimal = digits.startsWith(u"0x", Qt::CaseInsensitive);
        if (isHexadecimal) digits.remove(0, 2);
        const int base = isHexadecimal ? 16 : 10;
        bool isNumber = false;
        const qlonglong value = digits.toLongLong(&isNumber, base);
        if (isNumber) return value;
        const qulonglong unsignedValue = digits.toULongLong(&isNumber, base);
        return isNumber ? QVariant(static_cast<qlonglong>(unsignedValue))
                        : fail(QStringLiteral("no integer"));
    }

    QVariant readReal() {
        QString digits = text().trimmed().toLower();
        digits.replace(QStringLiteral("infinity"), QStringLiteral("inf"));
        bool isNumber = false;
        const double value = digits.toDouble(&isNumber);
        return isNumber ? QVariant(value) : fail(QStringLiteral("no real number"));
    }

    QVariant readDate() {
        // Some writers leave out the leading zeros of early years.
        const QString iso = text().trimmed().rightJustified(20, QLatin1Char('0'));
        QDateTime date = QDateTime::fromString(iso, Qt::ISODate);
        if (!date.isValid() || !iso.endsWith(u'Z')) return fail(QStringLiteral("no date"));
        return date;
    }

    QVariant readData() {
        QByteArray encoded;
        for (const QByteArray given = text().toUtf8(); const char character : given)
            if (character != ' ' && character != '\n' && character != '\t' && character != '\r')
                encoded += character;
        const auto decoded = QByteArray::fromBase64Encoding(encoded, QByteArray::AbortOnBase64DecodingErrors);
        return decoded ? QVariant(*decoded) : fail(QStringLiteral("no base64"));
    }

    QXmlStreamReader m_xml;
    int m_values = 0;
};

}  // namespace

QVariant PropertyListXml::fromData(const QByteArray& data, QString& problem) {
    Reader reader(data);
    QVariant value = reader.read();
    if (!value.isValid()) problem = reader.problem();
    return value;
}
