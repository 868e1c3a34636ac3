#include "tools/AgentAnswer.h"

#include "foundation/VLFormat.h"
#include "remote/VLCorvalinServerProtocol.h"

#include <QDateTime>

namespace AgentAnswer {

namespace {

using VLCorvalinServerProtocol::accepts;
using VLCorvalinServerProtocol::integerValue;
using VLCorvalinServerProtocol::Type;

bool isOfType(const QVariant& answer, QMetaType::Type type, const char* kind, QString& complaint) {
    if (answer.isValid() && answer.typeId() != type)
        complaint =
            vlFormat(QStringLiteral("not %@ but %@"), QLatin1String(kind), QLatin1String(answer.typeName()));
    return answer.typeId() == type;
}

}  // namespace

QVariant text(const QVariant& value) {
    return value.typeId() == QMetaType::QString && value.toString().size() <= longestText ? value
                                                                                          : QVariant();
}

QVariant number(const QVariant& value) {
    return accepts(Type::Number, value) ? QVariant(integerValue(value)) : QVariant();
}

QVariant flag(const QVariant& value) {
    return accepts(Type::Number, value) ? QVariant(qlonglong{integerValue(value) != 0}) : QVariant();
}

QVariant date(const QVariant& value) {
    return value.typeId() == QMetaType::QDateTime && value.toDateTime().isValid() ? value : QVariant();
}

int copyKeys(const QVariantMap& received, std::span<const Key> keys, QVariantMap& entry) {
    int wrongValues = 0;
    for (const Key& key : keys) {
        const auto value = received.constFind(QLatin1String(key.name));
        if (value == received.constEnd()) continue;
        const QVariant kept = key.clean(*value);
        if (kept.isValid())
            entry.insert(QLatin1String(key.name), kept);
        else
            ++wrongValues;
    }
    return wrongValues;
}

bool isList(const QVariant& answer, QString& complaint) {
    return isOfType(answer, QMetaType::QVariantList, "an array", complaint);
}

bool isDictionary(const QVariant& answer, QString& complaint) {
    return isOfType(answer, QMetaType::QVariantMap, "a dictionary", complaint);
}

QString complaint(qsizetype received, qsizetype kept, int wrongValues) {
    if (received == kept && wrongValues == 0) return {};
    return vlFormat(QStringLiteral("%i of %i entries left out, %i values of a wrong kind ignored"),
                    static_cast<int>(received - kept), static_cast<int>(received), wrongValues);
}

}  // namespace AgentAnswer
