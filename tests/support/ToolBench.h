#pragma once

#include "app/TaskThreads.h"
#include "foundation/VLUserDefaults.h"
#include "remote/FakeRemote.h"
#include "support/SampleService.h"
#include "support/TestEnvironment.h"
#include "tools/Tool.h"

/// What a tool's controller needs, over clients in memory, named "one", "two" ... with the host names
/// "one.local." ... All of them are selected.
struct ToolBench {
    QList<VLServicePtr> services;
    TaskThreads progress{TaskThreads::Environment{[this] { return int(services.size()); }, [] {}, [] {}}};
    RemoteRunner runner{runnerEnvironment()};
    AuthorizedRunner authorizedRunner{authorizedEnvironment()};

    ToolBench() {
        startNewLog();
        VLUserDefaults::standardUserDefaults().removeObjectForKey(QLatin1String(RunList::inFlightKey));
    }
    /// Clients are worked one after the other, so that it is known who comes before a cancel.
    static void workOneAtATime() {
        VLUserDefaults::standardUserDefaults().setObject(1LL, QLatin1String(RunList::inFlightKey));
    }

    FakeProxy& addClient(const QString& name, FakeProxy::Answer answer) {
        const auto service = std::make_shared<SampleService>(name, QString());
        service->proxy = std::make_shared<FakeProxy>(std::move(answer));
        services.append(service);
        return *service->proxy;
    }
    bool run(std::function<void()> work) {
        VLThread::detach(QStringLiteral("test"), std::move(work));
        return VLThread::joinAll(patience);
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
        environment.prepareCredentials = [](const RemoteClientPtr&) {
            return std::optional(HostCredentials{QStringLiteral("admin"), QByteArray("x"), {}});
        };
        environment.acceptedCredentials = [](const RemoteClientPtr&, const HostCredentials& credentials) {
            return std::optional(credentials);
        };
        return environment;
    }
};
