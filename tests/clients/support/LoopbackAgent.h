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

using namespace Qt::StringLiterals;

/// Lets others wait until the test opens it, at the latest at its own end: made after the agent that waits.
class Gate {
public:
    ~Gate() { open(); }
    void open() {
        const std::lock_guard lock(m_state->mutex);
        m_state->isOpen = true;
        m_state->changed.notify_all();
    }
    [[nodiscard]] std::function<void()> waiter() const {
        return [state = m_state] {
            std::unique_lock lock(state->mutex);
            state->changed.wait(lock, [&] { return state->isOpen; });
        };
    }

private:
    struct State {
        std::mutex mutex;
        std::condition_variable changed;
        bool isOpen = false;
    };
    std::shared_ptr<State> m_state = std::make_shared<State>();
};

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
        return {{u"version"_s, qlonglong(1'000'000)}, {u"corvalinVersion"_s, qlonglong(1'000'000)}};
    }

    void on(const char* selector, Answer answer) {
        const std::lock_guard lock(m_mutex);
        m_answers.insert(QLatin1String(selector), std::move(answer));
    }
    void setAnswer(const char* selector, const QVariant& value) {
        on(selector, [value](const QVariantList&) { return value; });
    }
    /// Gives the answer once the gate is open.
    void hold(const char* selector, const Gate& gate, const QVariant& value = {}) {
        on(selector, [wait = gate.waiter(), value](const QVariantList&) { return wait(), value; });
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
        if (!answer) throw VLException(VLException::invalidArgument, u"unknown operation"_s);
        return answer(arguments);
    }

private:
    mutable std::mutex m_mutex;
    QHash<QString, Answer> m_answers;
    QHash<QString, int> m_calls;
    VLRemoteCallbackPtr m_callback;
};

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
