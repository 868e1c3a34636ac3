#include "app/ClientDetails.h"

#include "clients/ServiceList.h"
#include "foundation/MainThread.h"
#include "foundation/VLThread.h"
#include "runs/RemoteRunner.h"

void ClientDetails::showInfo(const VLServicePtr& service) {
    if (service) Q_EMIT infoRequested(service);
}

ClientInfo ClientDetails::infoOfService(const VLServicePtr& service, const QVariantMap& machine) const {
    const auto group = m_services.groupOf(service);
    return ClientInfo::of(*service, group ? group->name() : QString(), machine);
}

void ClientDetails::populateInfoForService(const VLServicePtr& service) {
    VLThread::detach(QStringLiteral("populateInfoForService"), [this, service] {
        const QVariant answer =
            m_runner.objectFromRemoteMethod(QStringLiteral("systemSpecs"), {}, {}, service);
        onMainThread([this, service, machine = answer.toMap()] { Q_EMIT infoPopulated(service, machine); });
    });
}

void ClientDetails::fetchLargeServiceIcon(const VLServicePtr& service) {
    VLThread::detach(QStringLiteral("fetchLargeServiceIcon"), [this, service] {
        const QVariantMap size{{QStringLiteral("width"), ClientInfo::largePictureSide},
                               {QStringLiteral("height"), ClientInfo::largePictureSide}};
        const QVariant answer =
            m_runner.objectFromRemoteMethod(QStringLiteral("computerIcon:"), size, {}, service);
        const QImage picture = ClientInfo::largePicture(*service, answer.toByteArray());
        onMainThread([this, service, picture] { Q_EMIT largeServiceIconFetched(service, picture); });
    });
}
