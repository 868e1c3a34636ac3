// The controller's part in the connection troubleshooter and in the client information panel.
#include "app/AppController.h"
#include "foundation/MainThread.h"
#include "foundation/VLThread.h"

void AppController::showConnectionTroubleshooter(const VLServicePtr& service) {
    Q_EMIT connectionTroubleshooterRequested(service, false);
}

void AppController::populateConnectionTroubleshooterServices() {
    m_failingClients.setServices(m_services->serviceArray());
}

void AppController::setTroubleshooterVisible(bool visible) {
    m_troubleshooterVisible = visible;
    refreshTroubleshooter();
}

void AppController::refreshTroubleshooter() {
    if (m_troubleshooterVisible && !m_isShutDown) populateConnectionTroubleshooterServices();
}

void AppController::showInfo(const VLServicePtr& service) {
    if (service) Q_EMIT infoRequested(service);
}

ClientInfo AppController::infoOfService(const VLServicePtr& service, const QVariantMap& machine) const {
    const auto group = m_services->groupOf(service);
    return ClientInfo::of(*service, group ? group->name() : QString(), machine);
}

void AppController::populateInfoForService(const VLServicePtr& service) {
    VLThread::detach(QStringLiteral("populateInfoForService"), [this, service] {
        const QVariant answer =
            m_runner->objectFromRemoteMethod(QStringLiteral("systemSpecs"), {}, {}, service);
        onMainThread([this, service, machine = answer.toMap()] { Q_EMIT infoPopulated(service, machine); });
    });
}

void AppController::fetchLargeServiceIcon(const VLServicePtr& service) {
    VLThread::detach(QStringLiteral("fetchLargeServiceIcon"), [this, service] {
        const QVariantMap size{{QStringLiteral("width"), ClientInfo::largePictureSide},
                               {QStringLiteral("height"), ClientInfo::largePictureSide}};
        const QVariant answer =
            m_runner->objectFromRemoteMethod(QStringLiteral("computerIcon:"), size, {}, service);
        const QImage picture = ClientInfo::largePicture(*service, answer.toByteArray());
        onMainThread([this, service, picture] { Q_EMIT largeServiceIconFetched(service, picture); });
    });
}
