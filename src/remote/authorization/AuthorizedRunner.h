#pragma once

#include "remote/RemoteClient.h"
#include "remote/TaskProgress.h"
#include "remote/VLCallback.h"
#include "remote/authorization/HostCredentials.h"

#include <QList>
#include <QString>
#include <QVariant>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class RemoteRunner;

/// Runs the operations that need an administrator of the client. As with RemoteRunner: workers only, nothing
/// here throws, a client's failure is logged and marks it not connected.
class AuthorizedRunner {
public:
    struct Environment {
        TaskProgress* progress = nullptr;                          ///< outlives the runner
        std::function<QList<RemoteClientPtr>()> selectedServices;  ///< any thread
        RemoteRunner* runner = nullptr;                            ///< outlives this one
        /// AuthorizationController's two: forgets that somebody skipped, and obtains checked credentials.
        std::function<void()> clearAuthSkipped;
        std::function<std::optional<HostCredentials>(const RemoteClientPtr&, int run)> credentialsFor;
        std::chrono::milliseconds probeLimit{std::chrono::seconds(10)};
    };
    explicit AuthorizedRunner(Environment environment) : m_environment(std::move(environment)) {}

    // One client. Part of TaskProgress's present run: nobody is asked for a password once that is cancelled.
    void authExecuteRemoteMethod(const QString& selector, const QVariant& obj1, const QVariant& obj2,
                                 const RemoteClientPtr& service) const;
    /// With a callback the agent answers through it later, else this waits for the end of the task.
    void authExecuteRemoteTask(const QString& task, const QString& bundleID, const QVariantMap& options,
                               const RemoteClientPtr& service,
                               const std::shared_ptr<VLCallback>& callback = {}) const;

    /// What one worker does.
    struct WorkOrder {
        QList<RemoteClientPtr> services;
        QString selector;
        QVariant obj1, obj2;
        bool shouldDecrementTaskCount = true;  ///< the worker counts itself out
        int run = 0, counting = 0;  ///< of TaskProgress: the run it belongs to, how it was counted in
    };
    /// The worker itself; whoever starts it counts it in.
    void authExecuteRemoteMethodsOnThread(const WorkOrder& order) const;
    /// On all selected clients, one after the other; waits until done or cancelled.
    void authExecuteRemoteMethods(const QString& selector, const QVariant& obj1 = {},
                                  const QVariant& obj2 = {}) const;

private:
    using Send = std::function<void(VLProxyObject& proxy, const HostCredentials& credentials)>;
    void authExecuteRemoteMethod(const QString& selector, const QVariant& obj1, const QVariant& obj2,
                                 const RemoteClientPtr& service, int run) const;
    void perform(const char* method, const QString& selector, const RemoteClientPtr& service, int run,
                 const Send& send) const;
    [[nodiscard]] VLProxyObjectPtr proxyFor(const QString& selector, const RemoteClientPtr& service) const;

    Environment m_environment;
};
