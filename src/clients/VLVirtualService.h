#pragma once

#include "clients/VLService.h"

/// Stands in for the agent of a demonstration client: answers two operations from the sample answers that
/// come with the program ("Stats1.plist" to "Stats5.plist"), and every other one with nothing. Any thread.
class VLVirtualProxy : public VLProxyObject {
public:
    /// `bundle` holds the samples; the program's own when null.
    explicit VLVirtualProxy(const VLBundle* bundle = nullptr);

    [[nodiscard]] bool respondsToSelector(const QString& selector,
                                          std::chrono::milliseconds limit = noTimeLimit) override;
    QVariant perform(const QString& selector, const QVariantList& arguments = {},
                     std::chrono::milliseconds limit = noTimeLimit) override;

private:
    [[nodiscard]] QVariant addonryPluginList() const;
    [[nodiscard]] QVariantMap varispotSystemInfo() const;
    const VLBundle& m_bundle;
};

/// A demonstration client: always connected, without network, thread and time-outs.
class VLVirtualService : public VLService {
public:
    [[nodiscard]] static VLServicePtr virtualServiceWithName(const QString& name);

    [[nodiscard]] QString ipAddress() const override { return QStringLiteral("127.0.0.1"); }
    [[nodiscard]] VLProxyObjectPtr proxyObject() const override { return m_proxy; }
    void connectOnThread(VLCallbackTargetPtr) override {}
    void disconnect() override {}
    void invalidate() override {}
    using VLService::invalidate;
    /// There is no agent that could be asked.
    void fetchInitialConfiguration(bool) override {}

protected:
    void connect(const VLCallbackTargetPtr&) override { setIsConnected(true); }

private:
    const VLProxyObjectPtr m_proxy = std::make_shared<VLVirtualProxy>();
};
