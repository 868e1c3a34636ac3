#pragma once

#include "agent/AgentContext.h"

#include <QByteArray>
#include <QObject>

#include <memory>

class AgentRoot;
class QFileSystemWatcher;
class ServicePublisher;
class VLServer;

/// The running agent: serves consoles, advertises itself, and tells the consoles when something about this
/// machine has changed. Main thread.
class AgentDaemon : public QObject {
    Q_OBJECT

public:
    /// Starts serving. Throws VLException when the disk, the key pair or the port is not to be had.
    explicit AgentDaemon(AgentSettings settings);
    /// finish(), if that was not called.
    ~AgentDaemon() override;

    /// Tells the consoles, withdraws the advertisement and waits for the operations under way. False when one
    /// of them hangs: then leave the process without destroying what it may still use.
    bool finish();
    /// Reads the settings anew, as far as they count while the agent runs, and has the consoles do the same
    /// with its configuration.
    void reload();

    [[nodiscard]] quint16 port() const;
    [[nodiscard]] const AgentSettings& settings() const { return m_agent->settings; }
    /// True when the program shall start anew after it has ended.
    [[nodiscard]] bool shallRelaunch() const { return m_shallRelaunch; }
    /// 1 after the server broke down; whoever watches over the agent shall start it anew then.
    [[nodiscard]] int exitCode() const { return m_exitCode; }

private:
    void startServer();
    void startAdvertising();
    void watchState();
    void stateChanged();
    void configurationChanged();
    void settingsFileChanged();
    void readSettings();
    void serverFailed();
    void hostNameChanged(const QString& hostName);
    void end(bool relaunch);

    std::shared_ptr<AgentContext> m_agent;
    std::shared_ptr<AgentRoot> m_root;
    std::unique_ptr<VLServer> m_server;
    std::unique_ptr<ServicePublisher> m_publisher;
    QFileSystemWatcher* m_watcher = nullptr;
    bool m_maintenanceRequested = false;
    QVariantMap m_configuration;
    QByteArray m_settingsFile;  ///< its content when it was last read
    bool m_shallRelaunch = false;
    bool m_isFinished = false;
    int m_exitCode = 0;
};
