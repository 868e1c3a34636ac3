#pragma once

#include <avahi-common/simple-watch.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace dnssd {

/// The event loop of one Avahi user. Everything but wake() is for the thread that serves it; that thread may
/// change between two calls of serveUntil(), as long as the calls don't overlap.
class AvahiLoop {
public:
    using Clock = std::chrono::steady_clock;
    using TimerId = unsigned long;

    AvahiLoop();
    ~AvahiLoop();
    AvahiLoop(const AvahiLoop&) = delete;
    AvahiLoop& operator=(const AvahiLoop&) = delete;

    [[nodiscard]] const AvahiPoll* pollApi() const;

    /// Serves events until `deadline` or until somebody calls wake().
    void serveUntil(Clock::time_point deadline);
    /// Makes the running serveUntil() return soon, or the next one at once. Any thread.
    void wake();

    /// Runs `task` once no Avahi callback is on the stack any more: what frees Avahi objects goes here.
    void post(std::function<void()> task);

    /// One shot. Timers count on the steady clock, unlike Avahi's own.
    TimerId startTimer(std::chrono::milliseconds delay, std::function<void()> action);
    void stopTimer(TimerId timer);

private:
    struct Timer {
        Clock::time_point due;
        std::function<void()> action;
    };
    void runPosted();
    void runDueTimers();
    [[nodiscard]] int waitingTime(Clock::time_point deadline) const;
    static void drainWakeUps(AvahiWatch*, int fd, AvahiWatchEvent, void*);

    std::unique_ptr<AvahiSimplePoll, void (*)(AvahiSimplePoll*)> m_poll;
    int m_wakeFd = -1;
    AvahiWatch* m_wakeWatch = nullptr;
    std::atomic<bool> m_woken = false;
    std::vector<std::function<void()>> m_posted;
    std::map<TimerId, Timer> m_timers;
    TimerId m_lastTimer = 0;
};

}  // namespace dnssd
