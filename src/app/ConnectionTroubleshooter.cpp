#include "app/ConnectionTroubleshooter.h"

#include "clients/ServiceList.h"

void ConnectionTroubleshooter::connectionFailed(const VLServicePtr& service) {
    // A record that was removed since is no reason, and must not use up the one time.
    const bool isListed = m_services.serviceArray().contains(service);
    if (isListed && !m_wasAutoLaunched && !m_isUnattended) {
        m_wasAutoLaunched = true;
        Q_EMIT requested(service, true);
    }
    refresh();
}

void ConnectionTroubleshooter::populateConnectionTroubleshooterServices() {
    m_failingClients.setServices(m_services.serviceArray());
}

void ConnectionTroubleshooter::setVisible(bool visible) {
    m_isVisible = visible;
    refresh();
}

void ConnectionTroubleshooter::refresh() {
    if (m_isVisible && !m_isStopped) populateConnectionTroubleshooterServices();
}

void ConnectionTroubleshooter::stop() {
    m_isStopped = true;
    m_failingClients.setServices({});
}
