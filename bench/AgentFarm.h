#pragma once

#include "PingPong.h"

#include <QByteArray>
#include <QList>
#include <QProcess>
#include <QVariant>

#include <chrono>

/// Simulated agents, many in one process of their own, so that memory and threads of the measuring process
/// are the console's. Each is a real server with TLS; what it lists is made up.
class AgentFarm {
public:
    struct Options {
        int count = 1;
        std::chrono::milliseconds delay{0};  ///< that each agent needs for its answer
        int mute = 0;                        ///< agents that live but never answer, spread over the others
        PingPongSizes floor = {};
    };
    /// Starts this program again with agents that serve the console of that certificate.
    AgentFarm(const Options& options, const QByteArray& consoleCertificate);
    ~AgentFarm();
    AgentFarm(const AgentFarm&) = delete;
    AgentFarm& operator=(const AgentFarm&) = delete;

    /// Of the agents; 0 where one could not be started.
    [[nodiscard]] const QList<quint16>& ports() const { return m_ports; }
    [[nodiscard]] quint16 pingPongPort() const { return m_pingPongPort; }

    /// The body of the other process: `arguments` as the constructor passed them.
    static int run(const QStringList& arguments);
    static bool isFarm(const QStringList& arguments);

    /// What one agent answers to addonryPluginList: twenty plug-ins of all types.
    [[nodiscard]] static QVariantList plugins();

private:
    QProcess m_process;
    QList<quint16> m_ports;
    quint16 m_pingPongPort = 0;
};
