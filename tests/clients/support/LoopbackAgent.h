#pragma once

#include "remote/TlsIdentity.h"
#include "remote/support/ScriptedRoot.h"

#include <QBuffer>
#include <QImage>
#include <QTcpServer>

using namespace Qt::StringLiterals;

/// Key pairs are slow to make; the tests share these.
inline const TlsIdentity& consoleIdentity() {
    static const TlsIdentity identity = TlsIdentity::create(u"test console"_s);
    return identity;
}
inline const TlsIdentity& agentIdentity() {
    static const TlsIdentity identity = TlsIdentity::create(u"test agent"_s);
    return identity;
}
inline const TlsIdentity& otherAgentIdentity() {
    static const TlsIdentity identity = TlsIdentity::create(u"another test agent"_s);
    return identity;
}

/// A real server on the loopback interface that answers this console from a script.
class LoopbackAgent {
public:
    explicit LoopbackAgent(const QByteArray& console = consoleIdentity().certificate) : m_console(console) {
        restart();
    }
    void stop() { m_server.reset(); }
    /// On the port that it had before.
    void restart(const TlsIdentity& identity = agentIdentity()) {
        stop();
        VLServerOptions options;
        options.identity = identity;
        options.authorizedCertificates = [console = m_console] { return QList{console}; };
        options.address = address();
        options.port = m_port;
        m_server = std::make_unique<VLServer>(root, std::move(options));
        m_port = m_server->port();
    }
    [[nodiscard]] quint16 port() const { return m_port; }
    [[nodiscard]] static QString address() { return u"127.0.0.1"_s; }
    [[nodiscard]] int connectionCount() const { return m_server ? m_server->connectionCount() : 0; }

    const std::shared_ptr<ScriptedRoot> root = std::make_shared<ScriptedRoot>();

private:
    QByteArray m_console;
    quint16 m_port = 0;
    std::unique_ptr<VLServer> m_server;
};

/// A port that nothing listens on.
inline quint16 deadPort() {
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

inline QByteArray pngOf(const QSize& size) {
    QImage image(size, QImage::Format_ARGB32);
    image.fill(Qt::red);
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return data;
}
