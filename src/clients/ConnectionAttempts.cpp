#include "clients/ConnectionAttempts.h"

#include "clients/ServiceSession.h"
#include "logs/VLLog.h"
#include "system/VLException.h"

#include <QNetworkInterface>

namespace {

constexpr int maximumRegisteredNameLength = 63;

/// Text form that a socket can be made from; empty for an address that is neither IPv4 nor IPv6.
QString addressText(const VLNetAddress& resolved) {
    QHostAddress address = resolved.address;
    const auto family = address.protocol();
    if (family != QAbstractSocket::IPv4Protocol && family != QAbstractSocket::IPv6Protocol) {
        VLLog::appendLog(QStringLiteral("The address family is unknown"));
        return {};
    }
    if (address.isLinkLocal() && family == QAbstractSocket::IPv6Protocol && address.scopeId().isEmpty() &&
        resolved.interfaceIndex > 0)
        address.setScopeId(QNetworkInterface::interfaceNameFromIndex(resolved.interfaceIndex));
    return address.toString().trimmed();
}

/// The address of a client that was entered by hand. Never looked up: "300.1.1.1" is no host name.
QHostAddress manualAddress(const QString& ip) {
    return ip == u"localhost" ? QHostAddress(QHostAddress::LocalHost) : QHostAddress(ip);
}

/// A client entered by hand is filed under its address and port, which is no name that anybody registers.
bool isHostName(const QString& hostName) {
    return !hostName.contains(u':') && QHostAddress(hostName.chopped(hostName.endsWith(u'.'))).isNull();
}

}  // namespace

ConnectionAttempts::ConnectionAttempts(const VLService& service, std::shared_ptr<ServiceSession> session)
    : m_environment(VLService::environment()),
      m_session(std::move(session)),
      m_manualIP(service.manualIP()),
      m_port(service.port()),
      m_isManual(service.isManual()),
      m_netService(service.netService()) {
    m_hostName = absoluteHostName(m_netService ? m_netService->hostName : service.hostName());
    m_options.identity = m_environment->identity;
    m_options.pins = m_environment->pins;
    m_options.client = service.pinName();
    m_options.label = service.hostName();
    m_options.limits = m_environment->limits;
}

QString ConnectionAttempts::reason(const std::exception& exception) {
    const auto* own = dynamic_cast<const VLException*>(&exception);
    return own ? own->reason() : QString::fromLocal8Bit(exception.what());
}

QList<ConnectionAttempts::Endpoint> ConnectionAttempts::endpoints(const VLService& service) {
    if (service.isManual()) {
        const QString ip = service.manualIP();
        return {{ip == u"localhost" ? ip : manualAddress(ip).toString(), service.port()}};
    }
    QList<Endpoint> result;
    if (const auto netService = service.netService())
        for (const VLNetAddress& address : netService->addresses)
            result.append({addressText(address), address.port});
    return result;
}

QString ConnectionAttempts::absoluteHostName(const QString& hostName) {
    return hostName.endsWith(u'.') ? hostName : hostName + u'.';
}

QString ConnectionAttempts::registeredName(const QString& hostName,
                                           const std::optional<VLNetService>& service) {
    QString name = vlFormat(QStringLiteral("CorvalinNetClient - %@"), hostName);
    if (service) {
        const QString advertised = QString::fromUtf8(service->txtRecord.value(QStringLiteral("name")));
        if (!advertised.isEmpty()) name = advertised;
    }
    return name.left(maximumRegisteredNameLength);
}

std::unique_ptr<VLConnection> ConnectionAttempts::open() {
    if (Connection connection = byRegisteredName()) return connection;
    if (m_session->stopped()) return nullptr;
    if (Connection connection = byPort()) return connection;
    if (m_session->stopped()) return nullptr;
    return byAlternateAddresses();
}

/// Nothing is registered under an address, so nothing is tried before the agent has said its name.
ConnectionAttempts::Connection ConnectionAttempts::byRegisteredName() {
    if (!isHostName(m_hostName)) return nullptr;
    const QString name = registeredName(m_hostName, m_netService);
    VLLog::appendLog(QStringLiteral("Connecting to %@..."), name);
    VLLog::appendLog(QStringLiteral("Address count: %i"),
                     static_cast<int>(m_netService ? m_netService->addresses.size() : 0));
    const auto limit = m_environment->timing.nameLookUp;
    std::optional<RegisteredPort> port;
    try {
        port = m_environment->lookUpPort ? m_environment->lookUpPort(name, m_hostName, limit)
                                         : lookUpRegisteredPort(name, m_hostName, limit);
    } catch (const std::exception& exception) {
        failed(exception);
    }
    if (!port || m_session->stopped()) return nullptr;
    return attempt(port->host, port->port);
}

/// Host names of the "local" domain are the service resolver's business: asking the system for them could go
/// out to a unicast name server. Their first resolved address is what the name stands for.
QString ConnectionAttempts::portHost() const {
    if (m_isManual) return m_manualIP == u"localhost" ? m_manualIP : manualAddress(m_manualIP).toString();
    const bool isLinkLocalName = m_hostName.endsWith(QLatin1StringView(".local."), Qt::CaseInsensitive);
    if (isLinkLocalName && m_netService && !m_netService->addresses.isEmpty())
        return addressText(m_netService->addresses.constFirst());
    return m_hostName;
}

ConnectionAttempts::Connection ConnectionAttempts::byPort() {
    VLLog::appendLog(QStringLiteral("Trying to connect to host %@:%i"), m_manualIP, m_port);
    return attempt(portHost(), m_port);
}

ConnectionAttempts::Connection ConnectionAttempts::byAlternateAddresses() {
    VLLog::appendLog(QStringLiteral("Unable to connect; trying alternate addresses..."));
    QList<VLNetAddress> addresses;
    if (m_netService) addresses = m_netService->addresses;
    if (m_isManual) {
        VLLog::appendLog(QStringLiteral("Connection is manual."));
        // Its family is IPv4 whatever the numbers are; those that make no address give an empty host.
        return attempt(manualAddress(m_manualIP).toString(), m_port);
    }
    if (addresses.size() < 2) return nullptr;
    for (const VLNetAddress& address : std::as_const(addresses)) {
        if (m_session->stopped()) return nullptr;
        if (Connection connection = attempt(addressText(address), address.port)) return connection;
    }
    return nullptr;
}

ConnectionAttempts::Connection ConnectionAttempts::attempt(const QString& host, int port) {
    if (host.isEmpty() || port < 1 || port > 65535) {
        VLLog::appendLog(QStringLiteral("Error creating socket port."));
        if (m_failure.isEmpty()) {
            m_failure = QStringLiteral("The client's address or port is not valid.");
            m_failureKind = ConnectionFailure::BadAddress;
        }
        return nullptr;
    }
    try {
        auto connection = std::make_unique<VLConnection>(host, static_cast<quint16>(port), m_options);
        m_session->setControl(connection->control());
        if (m_session->stopped()) return nullptr;
        const CallLimit limit(*connection, m_environment->timing.probe);
        // The answer does not matter; that there is one shows that an agent serves this port.
        (void)connection->rootProxy()->respondsToSelector(QStringLiteral("fetchInitialConfiguration:"));
        if (connection->isValid()) return connection;
    } catch (const std::exception& exception) {
        if (!m_session->stopped()) failed(exception);
    }
    m_session->setControl(nullptr);
    return nullptr;
}

void ConnectionAttempts::failed(const std::exception& exception) {
    VLLog::appendLogAndPrint(vlFormat(QStringLiteral("Connection exception: %@"), reason(exception)));
    if (!m_changedCertificate.isEmpty()) return;
    m_failure = reason(exception);
    m_failureKind = connectionFailure(exception);
    const auto* own = dynamic_cast<const VLException*>(&exception);
    if (own && own->name() == VLException::changedKey)
        m_changedCertificate = own->userInfo().value(QStringLiteral("certificate")).toByteArray();
}
