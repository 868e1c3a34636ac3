#include "dnssd/AvahiLoop.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <system_error>
#include <thread>
#include <utility>

namespace dnssd {

using namespace std::chrono_literals;

AvahiLoop::AvahiLoop() : m_poll(avahi_simple_poll_new(), &avahi_simple_poll_free) {
    if (!m_poll) throw std::bad_alloc();
    // avahi_simple_poll_wakeup() writes a plain int of the poll object and so can't be called from other
    // threads; an eventfd can.
    m_wakeFd = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (m_wakeFd < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
    m_wakeWatch =
        pollApi()->watch_new(pollApi(), m_wakeFd, AVAHI_WATCH_IN, &AvahiLoop::drainWakeUps, nullptr);
}

AvahiLoop::~AvahiLoop() {
    if (m_wakeWatch) pollApi()->watch_free(m_wakeWatch);
    m_poll.reset();
    close(m_wakeFd);
}

const AvahiPoll* AvahiLoop::pollApi() const {
    return avahi_simple_poll_get(m_poll.get());
}

void AvahiLoop::serveUntil(Clock::time_point deadline) {
    do {
        runPosted();
        runDueTimers();
        if (m_woken.exchange(false)) return;
        if (avahi_simple_poll_iterate(m_poll.get(), waitingTime(deadline)) < 0)
            std::this_thread::sleep_for(50ms);  // poll() itself failed: don't spin
    } while (Clock::now() < deadline);
    runPosted();
}

void AvahiLoop::wake() {
    m_woken = true;
    const std::uint64_t one = 1;
    // Fails only when a wake-up is pending already.
    [[maybe_unused]] const auto written = write(m_wakeFd, &one, sizeof one);
}

void AvahiLoop::post(std::function<void()> task) {
    m_posted.push_back(std::move(task));
}

AvahiLoop::TimerId AvahiLoop::startTimer(std::chrono::milliseconds delay, std::function<void()> action) {
    m_timers.emplace(++m_lastTimer, Timer{Clock::now() + delay, std::move(action)});
    return m_lastTimer;
}

void AvahiLoop::stopTimer(TimerId timer) {
    m_timers.erase(timer);
}

void AvahiLoop::runPosted() {
    while (!m_posted.empty()) {
        const auto tasks = std::exchange(m_posted, {});
        for (const auto& task : tasks)
            task();
    }
}

void AvahiLoop::runDueTimers() {
    const auto now = Clock::now();
    for (;;) {
        const auto due = std::find_if(m_timers.begin(), m_timers.end(),
                                      [now](const auto& entry) { return entry.second.due <= now; });
        if (due == m_timers.end()) return;
        const auto action = std::move(due->second.action);
        m_timers.erase(due);
        action();
        runPosted();
    }
}

int AvahiLoop::waitingTime(Clock::time_point deadline) const {
    if (!m_posted.empty()) return 0;
    auto next = deadline;
    for (const auto& entry : m_timers)
        next = std::min(next, entry.second.due);
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now());
    return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, 60'000));
}

void AvahiLoop::drainWakeUps(AvahiWatch*, int fd, AvahiWatchEvent, void*) {
    std::uint64_t count = 0;
    [[maybe_unused]] const auto taken = read(fd, &count, sizeof count);
}

}  // namespace dnssd
