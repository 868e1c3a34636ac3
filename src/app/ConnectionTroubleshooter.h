#pragma once

#include "clients/VLService.h"
#include "clients/troubleshooter/FailingClientsModel.h"

#include <QObject>

class ServiceList;

/// Which clients fail, and when the window about them is to open. Main thread.
class ConnectionTroubleshooter : public QObject {
    Q_OBJECT
public:
    /// `services` outlives this object.
    explicit ConnectionTroubleshooter(ServiceList& services) : m_services(services) {}

    /// Asks for the window, with this client selected; null: whichever is.
    void showConnectionTroubleshooter(const VLServicePtr& service) { Q_EMIT requested(service, false); }
    /// A client could not be connected to: the first time, the window opens by itself.
    void connectionFailed(const VLServicePtr& service);
    /// Nobody is there to look at a window that opens by itself.
    void setUnattended(bool unattended) { m_isUnattended = unattended; }
    /// It has opened by itself, which it does once per run.
    [[nodiscard]] bool wasAutoLaunched() const noexcept { return m_wasAutoLaunched; }

    [[nodiscard]] FailingClientsModel& failingClients() { return m_failingClients; }
    /// Renews the list of failing clients.
    void populateConnectionTroubleshooterServices();
    /// Told by the window: only while it is visible the list follows the clients.
    void setVisible(bool visible);
    /// Something has changed about the clients.
    void refresh();
    /// The list is empty from now on.
    void stop();

Q_SIGNALS:
    /// `automatic`: nobody asked for it, so it must not take the keyboard. `service` may be null.
    void requested(const VLServicePtr& service, bool automatic);

private:
    ServiceList& m_services;
    FailingClientsModel m_failingClients;
    bool m_isUnattended = false;
    bool m_wasAutoLaunched = false;
    bool m_isVisible = false;
    bool m_isStopped = false;
};
