#pragma once

#include "clients/ClientInfo.h"
#include "clients/VLService.h"

#include <QImage>
#include <QObject>

class RemoteRunner;
class ServiceList;

/// What is known of one client, for the information panel. Main thread; what the agent has to be asked comes
/// with a signal.
class ClientDetails : public QObject {
    Q_OBJECT
public:
    /// Both outlive this object and its workers.
    ClientDetails(ServiceList& services, RemoteRunner& runner) : m_services(services), m_runner(runner) {}

    /// Asks for the panel, about this client.
    void showInfo(const VLServicePtr& service);
    /// `machine`: what the agent told about the machine, if it was asked.
    [[nodiscard]] ClientInfo infoOfService(const VLServicePtr& service, const QVariantMap& machine) const;
    /// Asks the agent about the machine; the facts come with infoPopulated(), and are empty when the client
    /// can't be asked.
    void populateInfoForService(const VLServicePtr& service);
    /// Asks the agent for its picture; it comes with largeServiceIconFetched().
    void fetchLargeServiceIcon(const VLServicePtr& service);

Q_SIGNALS:
    void infoRequested(const VLServicePtr& service);
    void infoPopulated(const VLServicePtr& service, const QVariantMap& machine);
    void largeServiceIconFetched(const VLServicePtr& service, const QImage& picture);  ///< may be null

private:
    ServiceList& m_services;
    RemoteRunner& m_runner;
};
