#include "tools/AgentAnswer.h"

#include "base/VLFormat.h"
#include "remote/VLCorvalinServerProtocol.h"

#include <QDateTime>

#include <algorithm>
#include <cmath>
#include <optional>

namespace AgentAnswer {

namespace {

using VLCorvalinServerProtocol::accepts;
using VLCorvalinServerProtocol::integerValue;
using VLCorvalinServerProtocol::Type;

QVariant nothing(const QVariant& = {}) {
    return {};
}

const QString& textIn(const QVariant& value) {
    return *static_cast<const QString*>(value.constData());
}

bool isText(const QVariant& value) {
    return value.typeId() == QMetaType::QString && textIn(value).size() <= longestText;
}

bool isFilledText(const QVariant& value) {
    return isText(value) && !textIn(value).isEmpty();
}

bool isLineOfText(const QVariant& value) {
    const auto isControl = [](QChar character) { return character.category() == QChar::Other_Control; };
    return isFilledText(value) && std::none_of(textIn(value).begin(), textIn(value).end(), isControl);
}

bool isNumber(const QVariant& value) {
    return value.typeId() == QMetaType::LongLong;
}

/// Of fractions the whole part, unless it is too large to mean anything.
QVariant mendedNumber(const QVariant& value) {
    constexpr double largest = 1e15;
    if (value.typeId() == QMetaType::Double && !(std::abs(value.toDouble()) < largest)) return {};
    return accepts(Type::Number, value) ? QVariant(integerValue(value)) : QVariant();
}

bool isCount(const QVariant& value) {
    return isNumber(value) && value.toLongLong() >= 0;
}

QVariant mendedCount(const QVariant& value) {
    const QVariant number = mendedNumber(value);
    return isCount(number) ? number : QVariant();
}

bool isFlag(const QVariant& value) {
    return isNumber(value) && (value.toLongLong() == 0 || value.toLongLong() == 1);
}

QVariant mendedFlag(const QVariant& value) {
    return accepts(Type::Number, value) ? QVariant(qlonglong{integerValue(value) != 0}) : QVariant();
}

bool isDate(const QVariant& value) {
    return value.typeId() == QMetaType::QDateTime && value.toDateTime().isValid();
}

/// The received dictionary itself where nothing has to be changed: answers are large, and most are right.
bool isRight(const QVariantMap& received, std::span<const Key> keys) {
    auto entry = received.cbegin();
    for (const Key& key : keys) {
        const bool isHere = entry != received.cend() && entry.key() == QLatin1String(key.name);
        if (isHere && !key.kind.isRight(*entry)) return false;
        if (!isHere && (key.isRequired || key.kind.absent().isValid())) return false;
        if (isHere) ++entry;
    }
    return entry == received.cend();
}

std::optional<QVariantMap> mended(const QVariantMap& received, std::span<const Key> keys, int& wrongValues) {
    QVariantMap kept;
    for (const Key& key : keys) {
        const QLatin1String name(key.name);
        const auto found = received.constFind(name);
        QVariant value;
        if (found != received.constEnd()) {
            value = key.kind.isRight(*found) ? *found : key.kind.mended(*found);
            if (!value.isValid() && !key.isRequired) ++wrongValues;
        }
        if (!value.isValid() && key.isRequired) return std::nullopt;
        if (!value.isValid()) value = key.kind.absent();
        if (value.isValid()) kept.insert(name, value);
    }
    return kept;
}

bool isShortText(const QVariant& value) {
    return value.typeId() == QMetaType::QString && textIn(value).size() <= longestFurtherText;
}

/// What else the agent tells of it.
void keepFurtherKeys(const QVariantMap& received, const Table& table, QVariantMap& kept) {
    const auto isKnown = [&](const QString& name) {
        return std::any_of(table.keys.begin(), table.keys.end(),
                           [&](const Key& key) { return name == QLatin1String(key.name); });
    };
    qsizetype left = table.mostFurtherKeys;
    for (auto entry = received.cbegin(); entry != received.cend() && left > 0; ++entry) {
        if (isKnown(entry.key()) || entry.key().size() > longestFurtherText) continue;
        const bool isKept = isShortText(*entry) || isDate(*entry) || accepts(Type::Number, *entry);
        if (!isKept) continue;
        kept.insert(entry.key(), *entry);
        --left;
    }
}

class Collector {
public:
    Collector(const Table& table, qsizetype received) : m_table(table), m_received(received) {
        m_result.entries.reserve(std::min(received, table.mostEntries));
    }
    [[nodiscard]] bool isFull() const { return m_result.entries.size() >= m_table.mostEntries; }
    void add(const QVariantMap& received) {
        if (isRight(received, m_table.keys)) {
            m_result.entries.append(received);
        } else if (auto entry = mended(received, m_table.keys, m_wrongValues)) {
            keepFurtherKeys(received, m_table, *entry);
            m_result.entries.append(*std::move(entry));
        }
    }
    [[nodiscard]] Entries take() {
        const qsizetype kept = m_result.entries.size();
        if (kept != m_received || m_wrongValues != 0)
            m_result.complaint =
                QStringLiteral("%1 of %2 entries left out, %3 values of a wrong kind ignored")
                    .arg(m_received - kept)
                    .arg(m_received)
                    .arg(m_wrongValues);
        return std::move(m_result);
    }

private:
    const Table& m_table;
    const qsizetype m_received;
    Entries m_result;
    int m_wrongValues = 0;
};

Entries wrongAnswer(const QVariant& answer, const char* wanted) {
    if (!answer.isValid()) return {};
    return {{}, QStringLiteral("not %1 but %2").arg(QLatin1String(wanted), QLatin1String(answer.typeName()))};
}

QVariant emptyText() {
    return QString();
}

QVariant zero() {
    return qlonglong{0};
}

}  // namespace

const Kind text{isText, nothing};
const Kind filledText{isFilledText, nothing};
const Kind lineOfText{isLineOfText, nothing};
const Kind number{isNumber, mendedNumber};
const Kind count{isCount, mendedCount};
const Kind flag{isFlag, mendedFlag};
const Kind date{isDate, nothing};
const Kind textOrEmpty{isText, nothing, emptyText};
const Kind flagOrZero{isFlag, mendedFlag, zero};

Entries fromArray(const QVariant& answer, const Table& table) {
    if (answer.typeId() != QMetaType::QVariantList) return wrongAnswer(answer, "an array");
    const QVariantList received = answer.toList();
    Collector collector(table, received.size());
    for (const QVariant& value : received) {
        if (collector.isFull()) break;
        if (const QVariantMap* entry = dictionaryIn(value)) collector.add(*entry);
    }
    return collector.take();
}

Entries fromDictionary(const QVariant& answer, const Table& table, const char* nameKey) {
    if (answer.typeId() != QMetaType::QVariantMap) return wrongAnswer(answer, "a dictionary");
    const QVariantMap received = answer.toMap();
    Collector collector(table, received.size());
    for (auto value = received.cbegin(); value != received.cend() && !collector.isFull(); ++value) {
        const QVariantMap* const entry = dictionaryIn(*value);
        if (!entry) continue;
        QVariantMap named = *entry;
        if (nameKey) named.insert(QLatin1String(nameKey), value.key());
        collector.add(named);
    }
    return collector.take();
}

const QVariantMap* dictionaryIn(const QVariant& value) {
    return value.typeId() == QMetaType::QVariantMap ? static_cast<const QVariantMap*>(value.constData())
                                                    : nullptr;
}

}  // namespace AgentAnswer
