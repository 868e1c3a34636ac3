#pragma once

#include "app/TaskThreads.h"
#include "remote/FakeRemote.h"
#include "support/TestEnvironment.h"
#include "tools/addonry/AddonryController.h"

/// A client record whose agent is a function.
class FakeService : public VLService {
public:
    FakeService(const QString& name, FakeProxy::Answer answer)
        : proxy(std::make_shared<FakeProxy>(std::move(answer))) {
        setName(name);
        setHostName(name + QLatin1String(".local."));
        m_isConnected = true;
    }
    VLProxyObjectPtr proxyObject() const override { return proxy; }
    void connectOnThread(VLCallbackTargetPtr) override {}
    void refreshServiceView() override {}

    const std::shared_ptr<FakeProxy> proxy;
};

inline QVariantMap plugin(const QString& name, const QString& version = QStringLiteral("1.0"),
                          bool disabled = false, int accessType = 2) {
    return {{QStringLiteral("name"), name},
            {QStringLiteral("version"), version},
            {QStringLiteral("type"), QStringLiteral("FxPlug")},
            {QStringLiteral("fullPath"), QStringLiteral("/Library/Plug-Ins/FxPlug/") + name},
            {QStringLiteral("disabled"), int(disabled)},
            {QStringLiteral("accessType"), accessType}};
}

inline FakeProxy::Answer answering(const QVariant& answer) {
    return [answer](const QString& selector, const QVariantList&) {
        return selector == QLatin1String("addonryPluginList") ? answer : QVariant();
    };
}

/// A controller over clients in memory, named "one", "two" ... with the host names "one.local." ...
struct AddonryBench {
    QList<VLServicePtr> services;
    TaskThreads progress{TaskThreads::Environment{[this] { return int(services.size()); }, [] {}, [] {}}};
    RemoteRunner runner{runnerEnvironment()};
    AuthorizedRunner authorizedRunner{authorizedEnvironment()};
    AddonryController controller{context()};

    AddonryBench() { startNewLog(); }

    FakeProxy& addClient(const QString& name, FakeProxy::Answer answer) {
        const auto service = std::make_shared<FakeService>(name, std::move(answer));
        services.append(service);
        return *service->proxy;
    }
    bool run(std::function<void()> work) {
        VLThread::detach(QStringLiteral("test"), std::move(work));
        return VLThread::joinAll(patience);
    }
    bool refresh() {
        return run([this] { controller.refresh(); });
    }
    [[nodiscard]] const VLPluginItem* row(const QString& name) const {
        for (const VLPluginItem& item : controller.addonryArray())
            if (item.name() == name) return &item;
        return nullptr;
    }

private:
    [[nodiscard]] QList<RemoteClientPtr> clients() const { return {services.begin(), services.end()}; }
    RemoteRunner::Environment runnerEnvironment() {
        RemoteRunner::Environment environment;
        environment.progress = &progress;
        environment.selectedServices = [this] { return clients(); };
        return environment;
    }
    AuthorizedRunner::Environment authorizedEnvironment() {
        AuthorizedRunner::Environment environment;
        environment.progress = &progress;
        environment.selectedServices = [this] { return clients(); };
        environment.runner = &runner;
        environment.clearAuthSkipped = [] {};
        environment.credentialsFor = [](const RemoteClientPtr&, int) {
            return std::optional(HostCredentials{QStringLiteral("admin"), QByteArray("x"), {}});
        };
        return environment;
    }
    ToolContext context() {
        ToolContext context;
        context.runner = &runner;
        context.authorizedRunner = &authorizedRunner;
        context.progress = &progress;
        context.selectedServices = [this] { return services; };
        context.serviceWithHostName = [this](const QString& hostName) -> VLServicePtr {
            for (const VLServicePtr& service : services)
                if (service->hostName() == hostName) return service;
            return nullptr;
        };
        context.friendlyServiceName = [](const QString& hostName) { return hostName.section(u'.', 0, 0); };
        return context;
    }
};
