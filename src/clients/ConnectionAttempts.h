#pragma once

#include "clients/VLService.h"

#include <QByteArray>
#include <QString>

#include <memory>

class ServiceSession;

/// Opens the connection to one client's agent, trying the ways to it one after another: the registered name,
/// host and port, each resolved address. Lives on the connection thread.
class ConnectionAttempts {
public:
    ConnectionAttempts(const VLService& service, std::shared_ptr<ServiceSession> session);

    /// The first connection over which the agent answers; null when every way failed or the session was
    /// stopped.
    [[nodiscard]] std::unique_ptr<VLConnection> open();

    /// Why the last way failed, in plain words. A changed key outlives the failures that come after it: it is
    /// what the administrator has to decide about.
    [[nodiscard]] const QString& failure() const { return m_failure; }
    [[nodiscard]] ConnectionFailure failureKind() const { return m_failureKind; }
    [[nodiscard]] const QByteArray& changedCertificate() const { return m_changedCertificate; }

    /// An exception in plain words, without its name.
    [[nodiscard]] static QString reason(const std::exception& exception);
    /// Where the agent is looked for when its registered name is no help: each address, as text, and port.
    struct Endpoint {
        QString host;
        int port = 0;
    };
    [[nodiscard]] static QList<Endpoint> endpoints(const VLService& service);
    /// With a trailing dot.
    [[nodiscard]] static QString absoluteHostName(const QString& hostName);
    /// The name that the agent's port is registered under.
    [[nodiscard]] static QString registeredName(const QString& hostName,
                                                const std::optional<VLNetService>& service);

private:
    using Connection = std::unique_ptr<VLConnection>;
    [[nodiscard]] Connection byRegisteredName();
    [[nodiscard]] Connection byPort();
    [[nodiscard]] Connection byAlternateAddresses();
    [[nodiscard]] Connection attempt(const QString& host, int port);
    [[nodiscard]] QString portHost() const;
    void failed(const std::exception& exception);

    std::shared_ptr<const VLServiceEnvironment> m_environment;
    std::shared_ptr<ServiceSession> m_session;
    QString m_hostName;  ///< where the client is reached, absolute
    QString m_manualIP;
    int m_port;
    bool m_isManual;
    std::optional<VLNetService> m_netService;
    VLConnectionOptions m_options;
    QString m_failure;
    ConnectionFailure m_failureKind = ConnectionFailure::Other;
    QByteArray m_changedCertificate;
};
