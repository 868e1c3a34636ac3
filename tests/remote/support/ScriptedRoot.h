#pragma once

#include "remote/VLServer.h"
#include "system/VLException.h"

#include <QHash>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

/// Something that threads wait for, once: until the test opens it, at the latest at its own end.
class Gate {
public:
    ~Gate() { open(); }
    void open() {
        const std::lock_guard lock(m_state->mutex);
        m_state->isOpen = true;
        m_state->changed.notify_all();
    }
    bool wait() { return waiter()(); }
    /// May outlive the gate.
    [[nodiscard]] std::function<bool()> waiter() const {
        return [state = m_state] {
            std::unique_lock lock(state->mutex);
            return state->changed.wait_for(lock, std::chrono::seconds(30), [&] { return state->isOpen; });
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

/// An agent's root object whose operations are functions of the test. Some are there from the beginning:
/// "echo:", "wait", which stays under way from `arrived` to `release`, and what a console asks for first.
class ScriptedRoot final : public VLRootObject {
public:
    using Operation = std::function<QVariant(const QVariantList& arguments, quint64 peer)>;

    ScriptedRoot() {
        on("echo:", [](const QVariantList& arguments, quint64) { return arguments.value(0); });
        on("wait", [this](const QVariantList&, quint64) {
            arrived.open();
            return QVariant(release.wait());
        });
        setAnswer("fetchInitialConfiguration:", goodConfiguration());
        on("setErrorCallback:", [this](const QVariantList& arguments, quint64) {
            const std::lock_guard lock(m_mutex);
            m_callback = arguments.value(0).value<VLRemoteCallbackPtr>();
            return QVariant();
        });
    }
    static QVariantMap goodConfiguration() {
        return {{QStringLiteral("version"), 1'000'000LL}, {QStringLiteral("corvalinVersion"), 1'000'000LL}};
    }

    void on(const QString& selector, Operation operation) {
        const std::lock_guard lock(m_mutex);
        m_operations[selector] = std::move(operation);
    }
    void setAnswer(const QString& selector, const QVariant& value) {
        on(selector, [value](const QVariantList&, quint64) { return value; });
    }
    /// Gives the answer once the gate is open.
    void hold(const QString& selector, const Gate& gate, const QVariant& value = {}) {
        on(selector,
           [wait = gate.waiter(), value](const QVariantList&, quint64) { return (void)wait(), value; });
    }
    [[nodiscard]] int calls(const QString& selector) const {
        const std::lock_guard lock(m_mutex);
        return m_calls.value(selector);
    }
    [[nodiscard]] VLRemoteCallbackPtr callback() const {
        const std::lock_guard lock(m_mutex);
        return m_callback;
    }

    bool respondsToSelector(const QString& selector) const override {
        const std::lock_guard lock(m_mutex);
        return m_operations.contains(selector);
    }
    QStringList selectors() const override {
        const std::lock_guard lock(m_mutex);
        return m_operations.keys();
    }
    QVariant perform(const QString& selector, const QVariantList& arguments, quint64 peer) override {
        Operation operation;
        {
            const std::lock_guard lock(m_mutex);
            ++m_calls[selector];
            operation = m_operations.value(selector);
        }
        if (!operation) throw VLException(VLException::invalidArgument, selector);
        return operation(arguments, peer);
    }
    void peerClosed(quint64) override { ++closedPeers; }

    std::atomic_int closedPeers = 0;
    Gate arrived, release;

private:
    mutable std::mutex m_mutex;
    QHash<QString, Operation> m_operations;
    QHash<QString, int> m_calls;
    VLRemoteCallbackPtr m_callback;
};

/// A callback object that collects what it receives.
class CollectingTarget final : public VLCallbackTarget {
public:
    struct Received {
        QString selector;
        QVariantList arguments;
        QString sender;
    };
    QVariant receive(const QString& selector, const QVariantList& arguments, const QString& sender) override {
        const std::lock_guard lock(m_mutex);
        m_received.push_back({selector, arguments, sender});
        return {};
    }
    [[nodiscard]] std::vector<Received> received() const {
        const std::lock_guard lock(m_mutex);
        return m_received;
    }
    [[nodiscard]] std::size_t count() const { return received().size(); }

private:
    mutable std::mutex m_mutex;
    std::vector<Received> m_received;
};
