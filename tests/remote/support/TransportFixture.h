#pragma once

#include "remote/VLConnection.h"
#include "remote/support/ScriptedRoot.h"

#include <QTemporaryDir>
#include <QTest>

#include <future>
#include <optional>
#include <thread>

/// A connection served by a thread of its own, as the console does it.
class ServingThread {
public:
    using Body = std::function<void(VLConnection&)>;

    /// Returns when the connection stands and `first` has run; throws what went wrong.
    ServingThread(const QString& host, quint16 port, const VLConnectionOptions& options, Body first = {}) {
        std::promise<void> ready;
        m_thread = std::thread([&, this] { run(host, port, options, first, ready); });
        ready.get_future().wait();
        if (!m_error) return;
        m_thread.join();
        throw VLException(*m_error);
    }
    ~ServingThread() {
        m_stop = true;
        m_control->wake();
        m_thread.join();
    }
    ServingThread(const ServingThread&) = delete;
    ServingThread& operator=(const ServingThread&) = delete;

    [[nodiscard]] VLProxyObject& proxy() const { return *m_proxy; }
    [[nodiscard]] VLProxyObjectPtr sharedProxy() const { return m_proxy; }
    [[nodiscard]] VLConnection::Control& control() const { return *m_control; }
    [[nodiscard]] bool ends(std::chrono::milliseconds limit) {
        return QTest::qWaitFor([this] { return m_ended.load(); }, int(limit.count()));
    }
    /// After the connection has ended.
    [[nodiscard]] QString lossReason() const { return m_lossReason; }

private:
    void run(const QString& host, quint16 port, const VLConnectionOptions& options, const Body& first,
             std::promise<void>& ready) {
        std::optional<VLConnection> connection;
        try {
            connection.emplace(host, port, options);
            m_proxy = connection->rootProxy();
            m_control = connection->control();
            if (first) first(*connection);
        } catch (const VLException& exception) {
            m_error = exception;
        }
        const bool failed = m_error.has_value();
        ready.set_value();
        if (failed) return;
        while (!m_stop && connection->isValid())
            connection->serve(std::chrono::seconds(2));
        m_lossReason = connection->lossReason();
        connection.reset();
        m_ended = true;
    }

    VLProxyObjectPtr m_proxy;
    std::shared_ptr<VLConnection::Control> m_control;
    std::optional<VLException> m_error;
    std::atomic_bool m_stop = false, m_ended = false;
    QString m_lossReason;
    std::thread m_thread;
};

/// Keys, pins, limits and operations of a console and an agent on the loopback interface.
struct TransportFixture {
    QTemporaryDir folder;
    TlsIdentity console = TlsIdentity::create(QStringLiteral("console"));
    TlsIdentity agent = TlsIdentity::create(QStringLiteral("agent"));
    std::shared_ptr<PinnedCertificates> pins =
        std::make_shared<PinnedCertificates>(folder.filePath(QStringLiteral("pins")));
    RemoteLimits limits;
    std::shared_ptr<ScriptedRoot> root = std::make_shared<ScriptedRoot>();

    [[nodiscard]] VLConnectionOptions options() const {
        return {console, pins, QStringLiteral("edit-bay-1.local."), QStringLiteral("edit-bay-1"), limits};
    }
    [[nodiscard]] VLServerOptions serverOptions() const {
        VLServerOptions options;
        options.identity = agent;
        options.authorizedCertificates = [certificate = console.certificate] { return QList{certificate}; };
        options.address = QStringLiteral("127.0.0.1");
        options.limits = limits;
        return options;
    }
    [[nodiscard]] std::unique_ptr<VLServer> serve() const { return serve(serverOptions()); }
    [[nodiscard]] std::unique_ptr<VLServer> serve(const VLServerOptions& options) const {
        return std::make_unique<VLServer>(root, options);
    }
    [[nodiscard]] std::unique_ptr<ServingThread> connect(quint16 port, ServingThread::Body first = {}) const {
        return std::make_unique<ServingThread>(QStringLiteral("127.0.0.1"), port, options(),
                                               std::move(first));
    }
};

/// The agent answers with what it was sent.
inline bool works(const ServingThread& client) {
    return client.proxy().perform(QStringLiteral("echo:"), {7}, std::chrono::seconds(10)).toInt() == 7;
}

/// The exception that `body` raises; one named "none" when it raises nothing.
template <typename Body>
VLException raisedBy(Body body) {
    try {
        body();
    } catch (const VLException& exception) {
        return exception;
    }
    return VLException(QStringLiteral("none"), QString());
}
