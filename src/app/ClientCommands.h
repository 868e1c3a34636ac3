#pragma once

#include "clients/VLService.h"
#include "remote/VLProxyObject.h"

#include <QCoreApplication>
#include <QList>
#include <QString>

class Discovery;
class RemoteRunner;
class RunList;

/// What the client menu does to clients. What is asked of their agents is a run, like those of the tools: a
/// client is not restarted in the middle of what a tool changes there, and what became of it can be read.
/// Main thread; all of it returns at once.
class ClientCommands {
    Q_DECLARE_TR_FUNCTIONS(ClientCommands)
public:
    /// All of them outlive this object and its workers.
    ClientCommands(RunList& runs, RemoteRunner& runner, Discovery& discovery, VLCallbackTargetPtr callback)
        : m_runs(runs), m_runner(runner), m_discovery(discovery), m_callback(std::move(callback)) {}

    void restartClients(const QList<VLServicePtr>& services);
    /// Ends the agents; the console can't start them again.
    void stopClients(const QList<VLServicePtr>& services);
    void cancelMaintenance(const QList<VLServicePtr>& services);
    void reconnectClients(const QList<VLServicePtr>& services);
    /// Reads the clients' configuration again.
    void refreshClientInfo(const QList<VLServicePtr>& services);
    /// Ends the connection and takes the client off the list; one entered by hand is forgotten.
    void disconnectClient(const VLServicePtr& service);

    /// The client's new key is that of the same machine: `certificate`, as it was shown.
    void acceptIdentity(const VLServicePtr& service, const QByteArray& certificate);

    /// Whether the client would hear of it at this moment.
    [[nodiscard]] static bool canRestart(const VLService& service);
    [[nodiscard]] static bool canStop(const VLService& service);
    [[nodiscard]] static bool canCancelMaintenance(const VLService& service);

private:
    struct Command {
        QString selector, action, actionDone;
    };
    void send(const Command& command, const QList<RemoteClientPtr>& clients, const QString& retryOf = {});

    RunList& m_runs;
    RemoteRunner& m_runner;
    Discovery& m_discovery;
    const VLCallbackTargetPtr m_callback;
};
