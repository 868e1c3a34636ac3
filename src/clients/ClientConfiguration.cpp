#include "clients/ClientConfiguration.h"

#include "base/VLBundle.h"
#include "logs/VLLog.h"

#include <cmath>

namespace {

constexpr int errorAgentOutdated = 2006;
constexpr int errorSuiteOutdated = 2007;
constexpr qlonglong lastVersionWithoutUpdateCount = 1029;
constexpr qint64 oneDay = 86'400'000;  // ms
constexpr qsizetype longestHostName = 255;

class Reader {
public:
    Reader(const QVariantMap& dictionary, const QString& client)
        : m_dictionary(dictionary), m_client(client) {}

    [[nodiscard]] std::optional<qlonglong> integer(const char* key) const {
        const QVariant value = m_dictionary.value(QLatin1String(key));
        if (const auto number = ClientConfiguration::integer(value)) return number;
        return refuse<qlonglong>(key, value, "number");
    }

    [[nodiscard]] std::optional<QString> text(const char* key) const {
        const QVariant value = m_dictionary.value(QLatin1String(key));
        if (value.typeId() == QMetaType::QString) return value.toString();
        return refuse<QString>(key, value, "text");
    }

    [[nodiscard]] std::optional<QDateTime> date(const char* key) const {
        const QVariant value = m_dictionary.value(QLatin1String(key));
        if (auto point = ClientConfiguration::date(value)) return point;
        return refuse<QDateTime>(key, value, "date");
    }

private:
    template <typename T>
    [[nodiscard]] std::optional<T> refuse(const char* key, const QVariant& value, const char* wanted) const {
        if (value.isValid() && !m_client.isEmpty())
            VLLog::appendLog(QStringLiteral("Configuration of %@: the value of %@ is no %@ and is ignored."),
                             m_client, QLatin1String(key), QLatin1String(wanted));
        return std::nullopt;
    }

    const QVariantMap& m_dictionary;
    const QString& m_client;
};

bool isHostName(const QString& text) {
    return !text.isEmpty() && text.size() <= longestHostName &&
           std::none_of(text.begin(), text.end(), [](QChar c) { return !c.isPrint() || c.isSpace(); });
}

}  // namespace

std::optional<qlonglong> ClientConfiguration::integer(const QVariant& value) {
    switch (value.typeId()) {
        case QMetaType::Bool:
        case QMetaType::Int:
        case QMetaType::LongLong:
            return value.toLongLong();
        case QMetaType::Double:
            if (std::abs(value.toDouble()) < 9e15) return static_cast<qlonglong>(value.toDouble());
            return std::nullopt;
        default:
            return std::nullopt;
    }
}

std::optional<QDateTime> ClientConfiguration::date(const QVariant& value) {
    if (value.typeId() != QMetaType::QDateTime || !value.toDateTime().isValid()) return std::nullopt;
    return value.toDateTime();
}

ClientConfiguration ClientConfiguration::read(const QVariantMap& dictionary, const QString& client) {
    const Reader reader(dictionary, client);
    ClientConfiguration result;
    result.maintenanceRequested = reader.integer("maintenanceRequested").value_or(0) != 0;
    result.version = reader.integer("version").value_or(0);
    result.corvalinVersion = reader.integer("corvalinVersion").value_or(0);
    result.preferredHostName = reader.text("preferredHostName").value_or(QString());
    if (!isHostName(result.preferredHostName)) result.preferredHostName.clear();
    result.availableUpdateCount = reader.integer("availableUpdateCount");
    result.availableUpdateCountLastUpdate =
        reader.date("availableUpdateCountLastUpdate").value_or(QDateTime());
    result.minAdminVersion = reader.integer("minAdminVersion");
    result.selfCrashLog = reader.text("selfCrashLog");
    return result;
}

QList<int> ClientConfiguration::versionErrors(const VLBundle& bundle) const {
    QList<int> codes;
    if (version > 0 && version < bundle.integerForInfoDictionaryKey(QStringLiteral("VLMinClientVersion")))
        codes << errorAgentOutdated;
    // An agent that does not name the suite's version counts as one without the suite.
    if (corvalinVersion < bundle.integerForInfoDictionaryKey(QStringLiteral("VLMinCorvalinVersion")))
        codes << errorSuiteOutdated;
    return codes;
}

ClientConfiguration::Updates ClientConfiguration::updates(const QDateTime& now) const {
    if (version <= lastVersionWithoutUpdateCount) return Updates::Ignored;
    const bool known = availableUpdateCount && availableUpdateCountLastUpdate.isValid() &&
                       availableUpdateCountLastUpdate.msecsTo(now) < oneDay;
    return known ? Updates::Known : Updates::Outdated;
}

bool ClientConfiguration::wantsNewerConsole(const VLBundle& bundle) const {
    return minAdminVersion &&
           *minAdminVersion > bundle.integerForInfoDictionaryKey(QStringLiteral("CFBundleVersion"));
}
