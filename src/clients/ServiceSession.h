#pragma once

#include "clients/VLService.h"
#include "foundation/VLTimer.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

/// One run of a client's connection thread, from its start to its end.
///
/// A record has one current session at most. Whoever replaces or ends it stops it under a lock first, so that
/// a thread that is still busy with an old attempt can't change the record any more. Any thread.
class ServiceSession {
public:
    enum class Phase { Connecting, Serving };

    /// True for the first caller only: the thread that runs this session.
    [[nodiscard]] bool claim() {
        if (m_claimed.exchange(true)) return false;
        m_thread = std::this_thread::get_id();
        return true;
    }
    [[nodiscard]] bool isOwnThread() const { return m_thread.load() == std::this_thread::get_id(); }

    /// Runs `change` unless the session was stopped; a stop that comes meanwhile waits.
    template <typename Change>
    bool whileActive(Change change) {
        const std::lock_guard lock(m_mutex);
        if (m_stopped) return false;
        change();
        return true;
    }
    void stop() {
        const std::lock_guard lock(m_mutex);
        m_stopped = true;
    }
    [[nodiscard]] bool stopped() const noexcept { return m_stopped; }

    /// The connection that is being tried or served: what wake() and invalidate() reach.
    void setControl(std::shared_ptr<VLConnection::Control> control) {
        const std::lock_guard lock(m_mutex);
        m_control = std::move(control);
        if (m_stopped && m_control) m_control->invalidate();
    }
    void wake() {
        if (const auto control = this->control()) control->wake();
    }
    void invalidate() {
        if (const auto control = this->control()) control->invalidate();
    }

    void setLabel(const QString& label) {
        if (const auto control = this->control()) control->setLabel(label);
    }

    void setProxy(VLProxyObjectPtr proxy) {
        const std::lock_guard lock(m_mutex);
        m_proxy = std::move(proxy);
    }
    [[nodiscard]] VLProxyObjectPtr proxy() const {
        const std::lock_guard lock(m_mutex);
        return m_stopped ? nullptr : m_proxy;
    }

    [[nodiscard]] Phase phase() const noexcept { return m_phase; }
    void setPhase(Phase phase) noexcept { m_phase = phase; }
    [[nodiscard]] bool runLoopRunning() const noexcept { return m_runLoopRunning; }
    void setRunLoopRunning(bool running) noexcept { m_runLoopRunning = running; }
    /// The agent's first answer has come, or is not waited for any more.
    [[nodiscard]] bool answered() const noexcept { return m_answered; }
    void setAnswered() noexcept { m_answered = true; }

    [[nodiscard]] std::shared_ptr<VLConnection::Control> control() const {
        const std::lock_guard lock(m_mutex);
        return m_control;
    }

private:
    mutable std::mutex m_mutex;
    std::atomic<bool> m_stopped{false}, m_claimed{false}, m_runLoopRunning{false}, m_answered{false};
    std::atomic<Phase> m_phase{Phase::Connecting};
    std::atomic<std::thread::id> m_thread{};
    std::shared_ptr<VLConnection::Control> m_control;
    VLProxyObjectPtr m_proxy;
};

/// Ends a connection whose peer keeps us waiting for an answer that has no time limit of its own.
class CallLimit {
public:
    CallLimit(const VLConnection& connection, std::chrono::milliseconds limit)
        : m_timer(
              VLTimer::scheduledTimer(limit, [control = connection.control()] { control->invalidate(); })) {}
    ~CallLimit() { m_timer->invalidate(); }
    CallLimit(const CallLimit&) = delete;
    CallLimit& operator=(const CallLimit&) = delete;

private:
    std::shared_ptr<VLTimer> m_timer;
};
