#include "remote/EventLoopQueue.h"

#include "system/VLException.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>
#include <utility>

EventLoopQueue::EventLoopQueue() : m_event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (m_event.get() < 0)
        throw VLException(VLException::generic, QStringLiteral("There are too many open files."));
}

bool EventLoopQueue::post(std::function<void()> function) {
    bool wasEmpty = false;
    {
        const std::lock_guard lock(m_mutex);
        if (m_closed) return false;
        wasEmpty = m_functions.empty();
        m_functions.push_back(std::move(function));
    }
    // The loop takes all that is waiting at once, so only the first one has to wake it.
    if (wasEmpty) {
        const std::uint64_t one = 1;
        [[maybe_unused]] const auto written = ::write(m_event.get(), &one, sizeof one);
    }
    return true;
}

void EventLoopQueue::close() {
    std::deque<std::function<void()>> dropped;  // destroyed after the lock: it may hold the last reference
    const std::lock_guard lock(m_mutex);
    m_closed = true;
    dropped.swap(m_functions);
}

void EventLoopQueue::drain() {
    std::uint64_t count = 0;
    [[maybe_unused]] const auto taken = ::read(m_event.get(), &count, sizeof count);

    std::deque<std::function<void()>> functions;
    {
        const std::lock_guard lock(m_mutex);
        functions.swap(m_functions);
    }
    for (auto& function : functions) {
        function();
        function = nullptr;
    }
}

kj::Promise<void> EventLoopQueue::run(kj::UnixEventPort& port) {
    auto observer = kj::heap<kj::UnixEventPort::FdObserver>(port, m_event.get(),
                                                            kj::UnixEventPort::FdObserver::OBSERVE_READ);
    auto promise = runNext(*observer);
    return promise.attach(kj::mv(observer));
}

kj::Promise<void> EventLoopQueue::runNext(kj::UnixEventPort::FdObserver& observer) {
    // Watching starts before draining: what is posted in between is announced once more, never missed.
    auto readable = observer.whenBecomesReadable();
    drain();
    return readable.then([this, &observer] { return runNext(observer); });
}
