#include "clients/ClientInfo.h"

#include "clients/ClientConfiguration.h"
#include "clients/ClientState.h"
#include "clients/MachineFacts.h"
#include "clients/MachineIcons.h"
#include "clients/VLVirtualService.h"
#include "remote/VLCorvalinServerProtocol.h"

#include <QLocale>

namespace {

QString unknown() {
    return ClientInfo::tr("unknown");
}

QString none() {
    return ClientInfo::tr("none");
}

QString notReported() {
    return ClientInfo::tr("not reported");
}

constexpr qsizetype bytesPerLine = 8;
constexpr qsizetype longestText = 255;  // agents may send any amount

QString orElse(const QString& text, const QString& otherwise) {
    return text.isEmpty() ? otherwise : text;
}

QString origin(const VLService& service) {
    if (service.isManual()) return ClientInfo::tr("Added by hand");
    if (dynamic_cast<const VLVirtualService*>(&service)) return ClientInfo::tr("Demonstration");
    return service.netService() ? ClientInfo::tr("Found on the network") : unknown();
}

QString addresses(const VLService& service) {
    QStringList texts;
    if (const auto netService = service.netService())
        for (const VLNetAddress& address : netService->addresses)
            texts << address.address.toString();
    texts.removeDuplicates();
    return orElse(texts.isEmpty() ? service.ipAddress() : texts.join(QStringLiteral(", ")), unknown());
}

/// The error and the address have rows of their own.
QString state(const VLService& service) {
    const ClientState state = clientState(service);
    if (state.kind == ClientState::Connected) return ClientInfo::tr("Connected");
    return state.kind == ClientState::NotConnected ? ClientInfo::tr("Not connected") : state.text;
}

QString lastError(const VLService& service) {
    QStringList texts;
    if (!service.connectionError().isEmpty()) texts << service.connectionError();
    if (const int code = service.errorCode(); code != 0)
        texts << QStringLiteral("%1 (%2)").arg(CorvalinError::message(code)).arg(code);
    return orElse(texts.join(u'\n'), none());
}

/// Short lines: two fingerprints are compared by eye.
QString fingerprint(const VLService& service) {
    const auto environment = VLService::environment();
    if (!environment || !environment->pins) return none();
    const auto pinned = environment->pins->find(service.pinName());
    if (!pinned) return none();
    const QStringList bytes = certificateFingerprint(*pinned).split(u':');
    if (bytes.size() < bytesPerLine) return unknown();  // there is one, but it cannot be read
    QStringList lines;
    for (qsizetype first = 0; first < bytes.size(); first += bytesPerLine)
        lines << bytes.mid(first, bytesPerLine).join(u':');
    return lines.join(QStringLiteral(":\n"));
}

/// The values of the configuration: an agent may send anything, or nothing, under any key.
class Values {
public:
    explicit Values(const QVariantMap& dictionary) : m_dictionary(dictionary) {}

    [[nodiscard]] QString number(const char* key) const {
        return text(key, ClientConfiguration::integer(value(key)),
                    [](qlonglong number) { return QString::number(number); });
    }
    [[nodiscard]] QString count(const char* key) const {
        return text(key, ClientConfiguration::integer(value(key)),
                    [](qlonglong number) { return QLocale().toString(number); });
    }
    [[nodiscard]] QString date(const char* key) const {
        return text(key, ClientConfiguration::date(value(key)), [](const QDateTime& date) {
            return QLocale().toString(date.toLocalTime(), QLocale::LongFormat);
        });
    }
    [[nodiscard]] QString string(const char* key) const {
        const QVariant found = value(key);
        if (!found.isValid()) return notReported();
        return found.typeId() == QMetaType::QString ? orElse(found.toString().left(longestText), none())
                                                    : unknown();
    }
    /// Of a kind that a request for maintenance can be read from, or not there.
    [[nodiscard]] bool isNumberOrMissing(const char* key) const {
        return !value(key).isValid() || ClientConfiguration::integer(value(key));
    }

private:
    [[nodiscard]] QVariant value(const char* key) const { return m_dictionary.value(QLatin1String(key)); }
    template <typename T, typename Format>
    [[nodiscard]] QString text(const char* key, const std::optional<T>& known, Format format) const {
        if (known) return format(*known);
        return value(key).isValid() ? unknown() : notReported();
    }
    const QVariantMap& m_dictionary;
};

QString maintenance(const VLService& service, const Values& values) {
    if (!values.isNumberOrMissing("maintenanceRequested")) return unknown();
    return service.needsMaintenance() ? ClientInfo::tr("Requested") : ClientInfo::tr("Not requested");
}

/// Without the one that it is filed under.
QString otherNames(const VLService& service) {
    QStringList names = service.availableHostNames();
    names.removeAll(service.hostName());
    return names.join(QStringLiteral(", "));
}

}  // namespace

ClientInfo ClientInfo::of(const VLService& service, const QString& group, const QVariantMap& machine) {
    const QVariantMap configuration = service.configDict();
    const Values values(configuration);
    const int port = service.port();
    ClientInfo info{{
        {tr("Name"), orElse(service.name(), unknown())},
        {tr("Host name"), orElse(service.hostName(), unknown())},
        {tr("Other names"), orElse(otherNames(service), none())},
        {tr("Address"), addresses(service)},
        {tr("Port"), port > 0 ? QString::number(port) : unknown()},
        {tr("Model"), orElse(clientModel(service), unknown())},
        {tr("Listed"), origin(service)},
        {tr("Group"), orElse(group, none())},
        {tr("State"), state(service), Text, true},
        {tr("Last error"), lastError(service)},
        {tr("Key fingerprint"), fingerprint(service), FixedPitch},
        {tr("Agent version"), values.number("version"), Text, true},
        {tr("Suite version"), values.number("corvalinVersion")},
        {tr("Needs console"), values.number("minAdminVersion")},
        {tr("Preferred name"), values.string("preferredHostName")},
        {tr("Maintenance"), maintenance(service, values)},
        {tr("Updates waiting"), values.count("availableUpdateCount")},
        {tr("Last counted"), values.date("availableUpdateCountLastUpdate")},
        {tr("Own crash log"), values.string("selfCrashLog")},
    }};
    const QList<MachineFacts::Fact> facts = MachineFacts::of(machine);
    for (const MachineFacts::Fact& fact : facts)
        info.rows.append({fact.title, fact.value, Text, &fact == &facts.constFirst()});
    return info;
}

QString ClientInfo::asText() const {
    QStringList lines;
    for (const Row& row : rows)
        lines << row.title + u'\t' +
                     QString(row.value)
                         .replace(QStringLiteral(":\n"), QStringLiteral(":"))
                         .replace(u'\n', u' ');
    return lines.join(u'\n');
}

QImage ClientInfo::largePicture(const VLService& service, const QByteArray& sent) {
    if (const QImage picture = MachineIcons::decode(sent); !picture.isNull())
        return MachineIcons::scaledDown(picture, largePictureSide);
    const QString model = clientModel(service);
    if (QImage picture = model.isEmpty() ? QImage() : VLService::iconForMacModel(model, {});
        !picture.isNull())
        return picture;
    return service.icon();
}
