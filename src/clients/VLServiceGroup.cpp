#include "clients/VLServiceGroup.h"

#include "logs/VLLog.h"

#include <QDataStream>

namespace {

const QString recordKey = QStringLiteral("record");
const QString addressKey = QStringLiteral("ip");
const QString hostKey = QStringLiteral("sharedHost");

constexpr qsizetype largestRecord = 2 * 1024 * 1024;

bool isTextOrMissing(const QVariant& value) {
    return !value.isValid() || value.typeId() == QMetaType::QString;
}

}  // namespace

RememberedClient RememberedClient::of(const VLService& service, bool sharesHost) {
    RememberedClient client;
    client.name = service.name();
    client.hostName = service.hostName();
    client.port = service.port();
    if (service.isManual()) client.manualIP = service.manualIP();
    const auto netService = service.netService();
    if (netService && sharesHost) client.sharedHost = netService->hostName;
    QDataStream stream(&client.record, QIODevice::WriteOnly);
    stream.setVersion(VLService::archiveVersion);
    service.encode(stream);
    return client;
}

std::optional<RememberedClient> RememberedClient::fromStoredForm(const QVariant& value) {
    const QVariantMap form = value.toMap();
    const QVariant record = form.value(recordKey), address = form.value(addressKey),
                   host = form.value(hostKey);
    const bool isWellFormed = record.typeId() == QMetaType::QByteArray && isTextOrMissing(address) &&
                              isTextOrMissing(host) && record.toByteArray().size() <= largestRecord;
    if (!isWellFormed) {
        VLLog::appendLog(QStringLiteral("A stored member of a group is not usable."));
        return std::nullopt;
    }
    RememberedClient client;
    client.record = record.toByteArray();
    QDataStream stream(client.record);
    stream.setVersion(VLService::archiveVersion);
    const VLServicePtr service = VLService::decode(stream, [](const QString&, qsizetype) { return false; });
    if (!service) return std::nullopt;
    client.name = service->name();
    client.hostName = service->hostName();
    client.port = service->port();
    client.manualIP = address.toString();
    client.sharedHost = host.toString();
    return client;
}

QVariantMap RememberedClient::storedForm() const {
    QVariantMap form{{recordKey, record}};
    if (!manualIP.isEmpty()) form.insert(addressKey, manualIP);
    if (!sharedHost.isEmpty()) form.insert(hostKey, sharedHost);
    return form;
}

bool RememberedClient::isClient(const VLService& service) const {
    if (!manualIP.isEmpty() || service.isManual())
        return service.isManual() && service.manualIP() == manualIP && service.port() == port;
    if (sharedHost.isEmpty()) return !hostName.isEmpty() && service.hostName() == hostName;
    const auto netService = service.netService();
    return netService && netService->hostName == sharedHost && service.name() == name;
}

void VLServiceGroup::addChild(const VLServicePtr& service) {
    if (!service || m_children.contains(service)) return;
    m_children.append(service);
    service->setParent(this);
}

void VLServiceGroup::removeChild(const VLServicePtr& service) {
    if (m_children.removeAll(service) > 0 && service->parent() == this) service->setParent(nullptr);
}

bool VLServiceGroup::forget(const VLService& service) {
    return m_absent.removeIf([&](const RememberedClient& client) { return client.isClient(service); }) > 0;
}
