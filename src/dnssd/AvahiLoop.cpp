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

AvahiLoop::AvahiLoop() : poll_(avahi_simple_poll_new(), &avahi_simple_poll_free) {
    if (!poll_) throw std::bad_alloc();
    // avahi_simple_poll_wakeup() writes a plain int of the poll object and so can't be called from other
    // threads; an eventfd can.
    wakeFd_ = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (wakeFd_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
    wakeWatch_ = pollApi()->watch_new(pollApi(), wakeFd_, AVAHI_WATCH_IN, &AvahiLoop::drainWakeUps, nullptr);
}

AvahiLoop::~AvahiLoop() {
    if (wakeWatch_) pollApi()->watch_free(wakeWatch_);
    poll_.reset();
    close(wakeFd_);
}

const AvahiPoll* AvahiLoop::pollApi() const {
    return avahi_simple_poll_get(poll_.get());
}

void AvahiLoop::serveUntil(Clock::time_point deadline) {
    do {
        runPosted();
        runDueTimers();
        if (woken_.exchange(false)) return;
        if (avahi_simple_poll_iterate(poll_.get(), waitingTime(deadline)) < 0)
            std::this_thread::sleep_for(50ms);  // poll() itself failed: don't spin
    } while (Clock::now() < deadline);
    runPosted();
}

void AvahiLoop::wake() {
    woken_ = true;
    const std::uint64_t one = 1;
    // Fails only when a wake-up is pending already.
    [[maybe_unused]] const auto written = write(wakeFd_, &one, sizeof one);
}

void AvahiLoop::post(std::function<void()> task) {
    posted_.push_back(std::move(task));
}

AvahiLoop::TimerId AvahiLoop::startTimer(std::chrono::milliseconds delay, std::function<void()> action) {
    timers_.emplace(++lastTimer_, Timer{Clock::now() + delay, std::move(action)});
    return lastTimer_;
}

void AvahiLoop::stopTimer(TimerId timer) {
    timers_.erase(timer);
}

void AvahiLoop::runPosted() {
    while (!posted_.empty()) {
        const auto tasks = std::exchange(posted_, {});
        for (const auto& task : tasks)
            task();
    }
}

void AvahiLoop::runDueTimers() {
    const auto now = Clock::now();
    for (;;) {
        const auto due = std::find_if(timers_.begin(), timers_.end(),
                                      [now](const auto& entry) { return entry.second.due <= now; });
        if (due == timers_.end()) return;
        const auto action = std::move(due->second.action);
        timers_.erase(due);
        action();
        runPosted();
    }
}

int AvahiLoop::waitingTime(Clock::time_point deadline) const {
    if (!posted_.empty()) return 0;
    auto next = deadline;
    for (const auto& entry : timers_)
        next = std::min(next, entry.second.due);
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now());
    return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, 60'000));
}

void AvahiLoop::drainWakeUps(AvahiWatch*, int fd, AvahiWatchEvent, void*) {
    std::uint64_t count = 0;
    [[maybe_unused]] const auto taken = read(fd, &count, sizeof count);
}

}  // namespace dnssd
