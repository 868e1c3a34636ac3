#include "base/VLFormat.h"

#include <QDateTime>

#include <cmath>

namespace {

/// Without Qt's date formats: those need its locale, which is gone while the last lines are logged at exit.
QString dateText(const QDateTime& given) {
    const QDate date = given.date();
    const QTime time = given.time();
    const int offset = given.offsetFromUtc() / 60;
    return QString::asprintf("%04d-%02d-%02d %02d:%02d:%02d %c%02d%02d", date.year(), date.month(),
                             date.day(), time.hour(), time.minute(), time.second(), offset < 0 ? '-' : '+',
                             std::abs(offset) / 60, std::abs(offset) % 60);
}

QString text(const QVariant& value);

QString listText(const QVariantList& list) {
    QStringList parts;
    for (const QVariant& item : list)
        parts << text(item);
    return QStringLiteral("(%1)").arg(parts.join(QStringLiteral(", ")));
}

QString mapText(const QVariantMap& map) {
    QStringList parts;
    for (auto item = map.cbegin(); item != map.cend(); ++item)
        parts << item.key() + QStringLiteral(" = ") + text(item.value());
    return QStringLiteral("{%1}").arg(parts.join(QStringLiteral("; ")));
}

QString text(const QVariant& value) {
    switch (value.typeId()) {
        case QMetaType::UnknownType:
        case QMetaType::Nullptr:
            return QStringLiteral("(null)");
        case QMetaType::Bool:
            return value.toBool() ? QStringLiteral("1") : QStringLiteral("0");
        case QMetaType::QDateTime:
            return dateText(value.toDateTime());
        case QMetaType::QStringList:
        case QMetaType::QVariantList:
            return listText(value.toList());
        case QMetaType::QVariantMap:
            return mapText(value.toMap());
        default:
            return value.toString();
    }
}

QString integerText(const QVariant& value) {
    if (value.typeId() == QMetaType::ULongLong) return QString::number(value.toULongLong());
    const bool isReal = value.typeId() == QMetaType::Double || value.typeId() == QMetaType::Float;
    return isReal ? QString::number(std::trunc(value.toDouble()), 'f', 0)
                  : QString::number(value.toLongLong());
}

/// One placeholder: its length in the format (0: none begins there), its kind, and the digits of a real
/// number.
struct Placeholder {
    qsizetype length = 0;
    QChar kind;
    int digits = 6;
};

Placeholder placeholderAt(QStringView format, qsizetype start) {
    qsizetype end = start + 1;
    const auto skipDigits = [&] {
        const qsizetype first = end;
        while (end < format.size() && format[end] >= u'0' && format[end] <= u'9')
            ++end;
        return format.sliced(first, end - first);
    };
    Placeholder result;
    const bool hasWidth = !skipDigits().isEmpty();
    const bool hasPoint = end < format.size() && format[end] == u'.';
    if (hasPoint) {
        ++end;
        const QStringView digits = skipDigits();
        result.digits = digits.isEmpty() ? 0 : std::min(digits.toInt(), 40);
    }
    if (end >= format.size()) return {};
    result.kind = format[end];
    const bool plain = !hasWidth && !hasPoint;
    const bool known = plain ? QStringView(u"@sid%f").contains(result.kind) : result.kind == u'f';
    if (known) result.length = end + 1 - start;
    return result;
}

}  // namespace

QString vlFormatList(const QString& format, std::initializer_list<QVariant> values) {
    QString result;
    result.reserve(format.size() + 64);
    auto value = values.begin();
    for (qsizetype at = 0; at < format.size();) {
        const Placeholder placeholder = format[at] == u'%' ? placeholderAt(format, at) : Placeholder{};
        if (placeholder.length == 0) {
            result += format[at++];
            continue;
        }
        if (placeholder.kind == u'%') {
            result += u'%';
        } else if (value == values.end()) {
            result += QStringView(format).sliced(at, placeholder.length);
        } else if (placeholder.kind == u'f') {
            result += QString::number((value++)->toDouble(), 'f', placeholder.digits);
        } else if (placeholder.kind == u'i' || placeholder.kind == u'd') {
            result += integerText(*value++);
        } else {
            result += text(*value++);
        }
        at += placeholder.length;
    }
    return result;
}
