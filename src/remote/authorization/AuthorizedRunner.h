#pragma once

#include "remote/RemoteClient.h"
#include "remote/TaskProgress.h"
#include "remote/VLCallback.h"
#include "remote/authorization/HostCredentials.h"
#include "runs/Run.h"

#include <QCoreApplication>
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
    Q_DECLARE_TR_FUNCTIONS(AuthorizedRunner)
public:
    struct Environment {
        TaskProgress* progress = nullptr;                          ///< outlives the runner
        std::function<QList<RemoteClientPtr>()> selectedServices;  ///< any thread
        RemoteRunner* runner = nullptr;                            ///< outlives this one
        // AuthorizationController's: forgets that somebody skipped, finds credentials to try, and has the
        // client accept them or others.
        std::function<void()> clearAuthSkipped;
        std::function<std::optional<HostCredentials>(const RemoteClientPtr&)> prepareCredentials;
        std::function<std::optional<HostCredentials>(const RemoteClientPtr&, const HostCredentials&)>
            acceptedCredentials;
        std::chrono::milliseconds probeLimit{std::chrono::seconds(10)};
    };
    explicit AuthorizedRunner(Environment environment) : m_environment(std::move(environment)) {}

    // One client. Nobody is asked for a password once the run of this thread is cancelled.
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
        int counting = 0;                      ///< of TaskProgress: how it was counted in
    };
    /// The worker itself; whoever starts it counts it in. It sees to the credentials of one client after the
    /// other, and keeps as many of the operations themselves under way as the run has places for.
    void authExecuteRemoteMethodsOnThread(const WorkOrder& order) const;
    /// On all selected clients; waits until done or cancelled.
    void authExecuteRemoteMethods(const QString& selector, const QVariant& obj1 = {},
                                  const QVariant& obj2 = {}) const;

private:
    using Send = std::function<void(VLProxyObject& proxy, const HostCredentials& credentials)>;
    /// An operation on one client, in its two steps.
    struct Operation {
        QString selector;
        const char* method;  ///< names it in the log
        Send send;
        QVariantList sent;  ///< what it sends besides the credentials
    };
    [[nodiscard]] Operation methodOperation(const QString& selector, const QVariant& obj1,
                                            const QVariant& obj2) const;
    /// Credentials to try, where there is a connection and an operation of that name.
    [[nodiscard]] std::optional<HostCredentials> prepare(const Operation& operation,
                                                         const RemoteClientPtr& service) const;
    void carryOut(const Operation& operation, const RemoteClientPtr& service,
                  const HostCredentials& prepared) const;
    void perform(const Operation& operation, const RemoteClientPtr& service) const;
    [[nodiscard]] RunPtr runHere() const;
    [[nodiscard]] QList<RemoteClientPtr> clientsOfRun() const;
    [[nodiscard]] VLProxyObjectPtr proxyFor(const QString& selector, const RemoteClientPtr& service) const;

    Environment m_environment;
};
