#pragma once

#include "remote/TlsIdentity.h"
#include "remote/VLServer.h"
#include "system/VLException.h"

#include <QBuffer>
#include <QHash>
#include <QImage>
#include <QTcpServer>
#include <QVariant>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

/// What an agent of the tests answers. Any thread.
class ScriptedRoot : public VLRootObject {
public:
    using Answer = std::function<QVariant(const QVariantList& arguments)>;

    ScriptedRoot() {
        setAnswer("fetchInitialConfiguration:", goodConfiguration());
        on("setErrorCallback:", [this](const QVariantList& arguments) {
            const std::lock_guard lock(m_mutex);
            m_callback = arguments.value(0).value<VLRemoteCallbackPtr>();
            return QVariant();
        });
    }

    static QVariantMap goodConfiguration() {
        return {{QStringLiteral("version"), qlonglong(1'000'000)},
                {QStringLiteral("corvalinVersion"), qlonglong(1'000'000)}};
    }

    void on(const char* selector, Answer answer) {
        const std::lock_guard lock(m_mutex);
        m_answers.insert(QLatin1String(selector), std::move(answer));
    }
    void setAnswer(const char* selector, const QVariant& value) {
        on(selector, [value](const QVariantList&) { return value; });
    }
    [[nodiscard]] int calls(const char* selector) const {
        const std::lock_guard lock(m_mutex);
        return m_calls.value(QLatin1String(selector));
    }
    [[nodiscard]] VLRemoteCallbackPtr callback() const {
        const std::lock_guard lock(m_mutex);
        return m_callback;
    }

    bool respondsToSelector(const QString& selector) const override {
        const std::lock_guard lock(m_mutex);
        return m_answers.contains(selector);
    }
    QVariant perform(const QString& selector, const QVariantList& arguments, quint64) override {
        Answer answer;
        {
            const std::lock_guard lock(m_mutex);
            ++m_calls[selector];
            answer = m_answers.value(selector);
        }
        if (!answer) throw VLException(VLException::invalidArgument, QStringLiteral("unknown operation"));
        return answer(arguments);
    }

private:
    mutable std::mutex m_mutex;
    QHash<QString, Answer> m_answers;
    QHash<QString, int> m_calls;
    VLRemoteCallbackPtr m_callback;
};

/// Lets an answer of an agent wait until the test opens it.
class Gate {
public:
    ~Gate() { open(); }
    void open() {
        const std::lock_guard lock(m_mutex);
        m_isOpen = true;
        m_changed.notify_all();
    }
    void wait() {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_isOpen; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isOpen = false;
};

/// Key pairs are slow to make; the tests share these.
inline const TlsIdentity& consoleIdentity() {
    static const TlsIdentity identity = TlsIdentity::create(QStringLiteral("test console"));
    return identity;
}
inline const TlsIdentity& agentIdentity() {
    static const TlsIdentity identity = TlsIdentity::create(QStringLiteral("test agent"));
    return identity;
}
inline const TlsIdentity& otherAgentIdentity() {
    static const TlsIdentity identity = TlsIdentity::create(QStringLiteral("another test agent"));
    return identity;
}

/// A real server on the loopback interface that answers from a script.
class LoopbackAgent {
public:
    explicit LoopbackAgent(const QString& address = QStringLiteral("127.0.0.1"), quint16 port = 0)
        : root(std::make_shared<ScriptedRoot>()), m_address(address) {
        start(port);
        m_port = m_server->port();
    }
    void stop() { m_server.reset(); }
    /// On the port that it had before.
    void restart(const TlsIdentity& identity = agentIdentity()) {
        m_identity = identity;
        start(m_port);
    }
    [[nodiscard]] quint16 port() const { return m_port; }
    [[nodiscard]] QString address() const { return m_address; }
    [[nodiscard]] int connectionCount() const { return m_server ? m_server->connectionCount() : 0; }

    std::shared_ptr<ScriptedRoot> root;

private:
    void start(quint16 port) {
        VLServerOptions options;
        options.identity = m_identity;
        options.authorizedCertificates = [] { return QList<QByteArray>{consoleIdentity().certificate}; };
        options.address = m_address;
        options.port = port;
        m_server = std::make_unique<VLServer>(root, std::move(options));
    }

    QString m_address;
    TlsIdentity m_identity = agentIdentity();
    quint16 m_port = 0;
    std::unique_ptr<VLServer> m_server;
};

/// A port of the address that nothing listens on.
inline quint16 deadPort(const QString& address = QStringLiteral("127.0.0.1")) {
    QTcpServer server;
    server.listen(QHostAddress(address), 0);
    return server.serverPort();
}

inline QByteArray pngOf(const QSize& size, const QColor& color = Qt::red) {
    QImage image(size, QImage::Format_ARGB32);
    image.fill(color);
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return data;
}
