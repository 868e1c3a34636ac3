#include "clients/ManualConnections.h"

#include "foundation/VLUserDefaults.h"
#include "logs/VLLog.h"

namespace {

const QString storageKey = QStringLiteral("manualConnections");
const QString nameKey = QStringLiteral("name");
const QString addressKey = QStringLiteral("ip");
const QString portKey = QStringLiteral("port");

constexpr qsizetype longestName = 255;
constexpr qsizetype shortestAddress = 7, longestAddress = 15;
constexpr int lowestPort = 1025, highestPort = 65535;

VLUserDefaults& defaults() {
    return VLUserDefaults::standardUserDefaults();
}

/// Four decimal numbers. Their range is not checked: an address that does not exist shows in the connection.
bool isDottedAddress(const QString& ip) {
    const QStringList parts = ip.split(u'.');
    return parts.size() == 4 && std::all_of(parts.begin(), parts.end(), [](const QString& part) {
               return QString::number(part.toInt()) == part;
           });
}

bool isNumber(const QVariant& value) {
    return value.typeId() == QMetaType::LongLong || value.typeId() == QMetaType::Int ||
           value.typeId() == QMetaType::Double;
}

std::optional<ManualConnections::Entry> entryOf(const QVariant& value) {
    const QVariantMap dictionary = value.toMap();
    const QVariant name = dictionary.value(nameKey);
    const QVariant ip = dictionary.value(addressKey);
    const QVariant port = dictionary.value(portKey);
    if (name.typeId() != QMetaType::QString || ip.typeId() != QMetaType::QString || !isNumber(port))
        return std::nullopt;
    const double number = port.toDouble();
    if (number < 1 || number > highestPort) return std::nullopt;
    return ManualConnections::Entry{name.toString(), ip.toString(), static_cast<int>(number)};
}

}  // namespace

bool ManualConnections::validateManualConnectionSettings(const QString& name, const QString& ip,
                                                         const QString& port) {
    if (name.isEmpty() || name.size() > longestName) return false;
    if (ip.size() < shortestAddress || ip.size() > longestAddress) return false;
    if (ip != u"localhost" && !isDottedAddress(ip)) return false;
    const int number = port.toInt();
    return number >= lowestPort && number <= highestPort;
}

QList<ManualConnections::Entry> ManualConnections::stored() {
    QList<Entry> entries;
    const QVariantList values = defaults().arrayForKey(storageKey);
    for (const QVariant& value : values) {
        if (const auto entry = entryOf(value))
            entries << *entry;
        else
            VLLog::appendLog(QStringLiteral("A stored manual connection is not usable: %@"), value);
    }
    return entries;
}

void ManualConnections::append(const Entry& entry) {
    QVariantList values = defaults().arrayForKey(storageKey);
    values << QVariantMap{
        {nameKey, entry.name}, {addressKey, entry.ip}, {portKey, static_cast<qlonglong>(entry.port)}};
    defaults().setObject(values, storageKey);
    defaults().synchronizeSoon();
}

void ManualConnections::remove(const QString& ip, int port) {
    QVariantList values = defaults().arrayForKey(storageKey);
    const auto dropped = values.removeIf([&](const QVariant& value) {
        const auto entry = entryOf(value);
        return entry && entry->ip == ip && entry->port == port;
    });
    if (dropped == 0) return;
    defaults().setObject(values, storageKey);
    defaults().synchronizeSoon();
}
