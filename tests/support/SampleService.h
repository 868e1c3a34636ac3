#pragma once

#include "clients/VLService.h"
#include "support/FakeProxy.h"

#include <atomic>

using namespace Qt::StringLiterals;

/// A client without a network, in whatever state a test wants to see.
class SampleService : public VLService {
public:
    SampleService(const QString& name, const QString& address, const QString& model = {})
        : m_address(address) {
        setName(name);
        setHostName(name.toLower().replace(u' ', u'-') + u".local."_s);
        m_port = 51000;
        m_isConnected = true;
        if (!model.isEmpty()) setIcon(iconForMacModel(model, {}));
    }
    [[nodiscard]] QString ipAddress() const override {
        return m_address.isEmpty() ? VLService::ipAddress() : m_address;
    }
    VLProxyObjectPtr proxyObject() const override { return proxy; }
    void connectOnThread(VLCallbackTargetPtr) override { ++reconnects; }
    void disconnect() override { m_isConnected = false; }
    void fetchInitialConfiguration(bool) override {}

    void showAdvertised(const QString& host) {
        VLNetService service;
        service.name = name();
        service.hostName = host;
        m_netService.set(service);
    }
    void showEnteredByHand(const QString& ip, int port) {
        m_isManual = true;
        m_manualIP.set(ip);
        m_port = port;
        setHostName(pinName());
    }
    void showNotConnected(const QString& reason, ConnectionFailure failure = ConnectionFailure::Other) {
        m_isConnected = false;
        m_spinning = false;
        m_connectionError.set(reason);
        m_connectionFailure = failure;
    }
    void showConnecting() {
        showNotConnected({});
        m_spinning = true;
    }
    void showChangedIdentity(const QByteArray& certificate) {
        showNotConnected(u"the agent shows another key"_s);
        m_changedCertificate.set(certificate);
    }
    void showState(bool connected, ConnectionFailure failure, int code = 0) {
        const bool isFine = failure == ConnectionFailure::None;
        showNotConnected(isFine ? QString() : u"the reason"_s, failure);
        m_isConnected = connected;
        m_errorCode = code;
    }
    void showError(int code) { m_errorCode = code; }
    void showConfiguration(const QVariantMap& configuration) { m_configDict.set(configuration); }

    std::shared_ptr<FakeProxy> proxy;  ///< of its agent, where it has one; set before use
    std::atomic<int> reconnects{0};

private:
    QString m_address;
};
