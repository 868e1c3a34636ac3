#include "clients/view/ClientState.h"

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
            return QStringLiteral("Client software out of date");
        case suiteOutdated:
            return QStringLiteral("Suite out of date");
        case noConfiguration:
            return QStringLiteral("No configuration received");
        default:
            return {};
    }
}

}  // namespace

ClientState clientState(const VLService& service) {
    if (!service.changedCertificate().isEmpty()) {
        return {ClientState::Attention, QStringLiteral("Identity changed — review")};
    }
    if (!service.enabled()) return {ClientState::Disabled, QStringLiteral("Disabled")};
    if (service.isConnected()) {
        if (service.isProcessing()) return {ClientState::Working, QStringLiteral("Working…")};
        const QString wrong = problem(service.errorCode());
        if (!wrong.isEmpty()) return {ClientState::Attention, wrong};
        return {ClientState::Connected, address(service)};
    }
    if (service.spinning()) return {ClientState::Connecting, QStringLiteral("Connecting…")};
    const QString reason = service.connectionError();
    if (reason.isEmpty()) return {ClientState::NotConnected, QStringLiteral("Not connected")};
    return {ClientState::NotConnected, QStringLiteral("Not connected — %1").arg(reason)};
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
