#include "clients/ClientState.h"

#include "clients/VLService.h"
#include "remote/VLCorvalinServerProtocol.h"

namespace {

constexpr int clientOutdated = 2006, suiteOutdated = 2007, noConfiguration = 2008;

QString address(const VLService& service) {
    const QString ip = service.ipAddress();
    return ip.isEmpty() ? service.hostName() : ip;
}

/// What is wrong with a client although its connection stands; empty when nothing is.
QString problem(int errorCode) {
    switch (errorCode) {
        case clientOutdated:
            return ClientState::tr("Client software out of date");
        case suiteOutdated:
            return ClientState::tr("Suite out of date");
        case noConfiguration:
            return ClientState::tr("No configuration received");
        default:
            return {};
    }
}

}  // namespace

ClientState clientState(const VLService& service) {
    if (!service.changedCertificate().isEmpty()) {
        return {ClientState::Attention, ClientState::tr("Identity changed — review")};
    }
    if (!service.enabled()) return {ClientState::Disabled, ClientState::tr("Disabled")};
    if (service.isConnected()) {
        if (service.isProcessing()) return {ClientState::Working, ClientState::tr("Working…")};
        const QString wrong = problem(service.errorCode());
        if (!wrong.isEmpty()) return {ClientState::Attention, wrong};
        return {ClientState::Connected, address(service)};
    }
    if (service.spinning()) return {ClientState::Connecting, ClientState::tr("Connecting…")};
    const QString reason = service.connectionError();
    if (reason.isEmpty()) return {ClientState::NotConnected, ClientState::tr("Not connected")};
    return {ClientState::NotConnected, ClientState::tr("Not connected — %1").arg(reason)};
}

QString clientModel(const VLService& service) {
    constexpr qsizetype longestModel = 64;
    const QString key = QStringLiteral("model");
    if (const auto netService = service.netService()) {
        const QByteArray advertised = netService->txtRecord.value(key);
        if (!advertised.isEmpty()) return QString::fromUtf8(advertised).left(longestModel);
    }
    return VLCorvalinServerProtocol::textValue(service.configDict().value(key)).left(longestModel);
}
