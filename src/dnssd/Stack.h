#pragma once

#include "dnssd/AvahiLoop.h"
#include "dnssd/Backend.h"

#include <chrono>
#include <functional>
#include <memory>

namespace dnssd {

/// Keeps a back end at hand: the daemon while one answers, else the embedded core, else none until the system
/// bus or a network interface turns up. All of it on the loop's thread.
class Stack {
public:
    struct Settings {
        BackendSettings backend;
        /// Only a back end that can publish will do.
        bool mustPublish = false;
        /// How long a daemon that went may stay away before the embedded core takes over. Daemons are mostly
        /// just restarted.
        std::chrono::milliseconds embeddedDelay{2000};
    };
    struct Delegate {
        /// The back end can be used: set up queries and records.
        std::function<void(Backend&)> ready;
        /// It is going away: destroy every operation on it.
        std::function<void()> lost;
    };

    Stack(AvahiLoop& loop, Settings settings, Delegate delegate);
    ~Stack();
    Stack(const Stack&) = delete;
    Stack& operator=(const Stack&) = delete;

    /// Looks for a back end at once; ready() may be called from here.
    void start();
    [[nodiscard]] Backend* backend() const { return m_current; }
    /// Some back end is there, though it may not be ready to publish yet.
    [[nodiscard]] bool hasCandidate() const;
    [[nodiscard]] BackendKind kind() const { return m_current ? m_current->kind() : BackendKind::None; }

private:
    void review();
    void reviewDaemon();
    void reviewEmbedded();
    void use(Backend* backend);
    void reviewLater(std::chrono::milliseconds delay);
    [[nodiscard]] bool daemonAnswers() const;
    [[nodiscard]] bool canUse(const Backend& backend) const;
    [[nodiscard]] std::function<void()> stateObserver();

    AvahiLoop& m_loop;
    const Settings m_settings;
    const Delegate m_delegate;
    const std::shared_ptr<bool> m_alive = std::make_shared<bool>(true);
    std::unique_ptr<Backend> m_daemon;
    std::unique_ptr<Backend> m_embedded;
    Backend* m_current = nullptr;
    AvahiLoop::Clock::time_point m_embeddedNotBefore{};
    AvahiLoop::TimerId m_timer = 0;
};

}  // namespace dnssd
