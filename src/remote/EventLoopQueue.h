#pragma once

#include <kj/async-io.h>
#include <kj/async-unix.h>
#include <kj/io.h>

#include <deque>
#include <functional>
#include <memory>
#include <mutex>

/// Functions that other threads have a kj event loop run. The queue is an ordinary mutex-guarded one that an
/// eventfd announces; kj's own hand-over between threads is invisible to ThreadSanitizer.
///
/// post() and close() are for any thread, which keeps the queue alive through a shared_ptr; run() is for the
/// loop's thread. Functions must not throw.
class EventLoopQueue {
public:
    EventLoopQueue();

    /// False when the queue is closed: the function was dropped, and will not run.
    bool post(std::function<void()> function);
    /// Drops what is waiting and refuses what comes.
    void close();

    /// Runs the functions in the order in which they were posted, for as long as the promise is kept.
    [[nodiscard]] kj::Promise<void> run(kj::UnixEventPort& port);

private:
    [[nodiscard]] kj::Promise<void> runNext(kj::UnixEventPort::FdObserver& observer);
    void drain();

    kj::AutoCloseFd m_event;
    std::mutex m_mutex;
    std::deque<std::function<void()>> m_functions;
    bool m_closed = false;
};
