#pragma once

#include "clients/VLService.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QVariant>

#include <memory>
#include <optional>

/// A client as a group remembers it while it isn't in the list.
struct RememberedClient {
    QString name;
    QString hostName;
    int port = 0;
    QString manualIP;    ///< of a client entered by hand, which is known by its address and port
    QString sharedHost;  ///< the host that several agents advertise from: the name tells them apart
    QByteArray record;   ///< the archived form

    [[nodiscard]] static RememberedClient of(const VLService& service, bool sharesHost);
    /// Nothing, and a log line, when the value is not what storedForm() gives.
    [[nodiscard]] static std::optional<RememberedClient> fromStoredForm(const QVariant& value);
    [[nodiscard]] QVariantMap storedForm() const;
    [[nodiscard]] bool isClient(const VLService& service) const;
};

/// A named group of clients in the client list. The ServiceList sees to it that a client is in at most one
/// group; change groups through it. Main thread.
class VLServiceGroup {
public:
    explicit VLServiceGroup(QString name) : m_name(std::move(name)) {}
    [[nodiscard]] const QString& name() const { return m_name; }
    void setName(const QString& name) { m_name = name; }

    [[nodiscard]] const QList<VLServicePtr>& children() const { return m_children; }
    void addChild(const VLServicePtr& service);
    void removeChild(const VLServicePtr& service);

    /// Clients that belong to the group but aren't in the list.
    [[nodiscard]] const QList<RememberedClient>& absent() const { return m_absent; }
    void remember(const RememberedClient& client) { m_absent.append(client); }
    /// Forgets whichever of them is this client. True when there was one.
    bool forget(const VLService& service);
    void forgetAbsent() { m_absent.clear(); }

private:
    QString m_name;
    QList<VLServicePtr> m_children;
    QList<RememberedClient> m_absent;
};

using VLServiceGroupPtr = std::shared_ptr<VLServiceGroup>;
Q_DECLARE_METATYPE(VLServiceGroupPtr)
