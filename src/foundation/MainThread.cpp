#include "foundation/MainThread.h"

#include "system/VLException.h"

#include <QObject>
#include <QSocketNotifier>

#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto pollInterval = std::chrono::milliseconds(5);

/// A function on its way to the main thread. `state` is guarded by the queue's mutex.
struct Call {
    enum class State { Pending, Running, Done, Abandoned };
    std::function<void()> function;
    std::exception_ptr error;
    State state = State::Pending;
    bool hasWaiter = false;
};

/// Wakes the main thread's event loop. Through a descriptor of its own: the list of events that Qt would post
/// to is moved about under a lock that ThreadSanitizer doesn't see.
class Drainer : public QObject {
public:
    Drainer();
    ~Drainer() override { ::close(m_event); }
    Q_DISABLE_COPY_MOVE(Drainer)

    void wake() { ::eventfd_write(m_event, 1); }

private:
    void drain();

    const int m_event = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    QSocketNotifier m_notifier{m_event, QSocketNotifier::Read};
};

struct Queue {
    std::mutex mutex;
    std::condition_variable posted;    // a call was added; the main thread waits for it in waitUntil
    std::condition_variable finished;  // a call that is waited for is done or abandoned
    std::deque<std::shared_ptr<Call>> calls;
    std::unique_ptr<Drainer> drainer;
    bool wakePending = false;
    std::atomic<bool> quitting = false;
    std::atomic<std::thread::id> mainThread{};

    // Called with the mutex held.
    void wake() {
        if (wakePending || !drainer) return;
        wakePending = true;
        drainer->wake();
    }
};

// Never destroyed: threads may still post while the process ends.
Queue& queue() {
    static Queue* const instance = new Queue;
    return *instance;
}

void finish(const std::shared_ptr<Call>& call, std::exception_ptr error) {
    Queue& q = queue();
    const std::lock_guard lock(q.mutex);
    call->error = std::move(error);
    call->state = Call::State::Done;
    q.finished.notify_all();
}

void run(const std::shared_ptr<Call>& call) {
    // The error outlives the handler, so that at the end exactly one thread holds the last reference.
    std::exception_ptr error;
    try {
        call->function();
    } catch (const std::exception& exception) {
        if (call->hasWaiter)
            error = std::current_exception();
        else
            VLException::logException(exception, "onMainThread");
    } catch (...) {
        if (call->hasWaiter)
            error = std::current_exception();
        else
            VLException::logException(VLException(VLException::generic, QStringLiteral("unknown exception")),
                                      "onMainThread");
    }
    if (call->hasWaiter) finish(call, std::move(error));
}

/// The next call, or none. A further wake-up is ordered when more are left, so that they are also run
/// from an event loop that the call itself may start.
std::shared_ptr<Call> takeNext() {
    Queue& q = queue();
    const std::lock_guard lock(q.mutex);
    if (q.calls.empty()) return nullptr;
    std::shared_ptr<Call> call = std::move(q.calls.front());
    q.calls.pop_front();
    call->state = Call::State::Running;
    if (!q.calls.empty()) q.wake();
    return call;
}

/// Runs what is in the queue now. What these calls post is left for the next turn, so that input and
/// painting get their share.
void runQueued() {
    std::size_t count = 0;
    {
        const std::lock_guard lock(queue().mutex);
        count = queue().calls.size();
    }
    for (; count > 0; --count) {
        const std::shared_ptr<Call> call = takeNext();
        if (!call) return;
        run(call);
    }
}

Drainer::Drainer() {
    if (m_event < 0)
        throw VLException(VLException::generic, QStringLiteral("There are too many open files."));
    connect(&m_notifier, &QSocketNotifier::activated, this, &Drainer::drain);
}

void Drainer::drain() {
    {
        eventfd_t count = 0;
        ::eventfd_read(m_event, &count);
        const std::lock_guard lock(queue().mutex);
        queue().wakePending = false;
    }
    runQueued();
}

bool post(std::shared_ptr<Call> call) {
    Queue& q = queue();
    const std::lock_guard lock(q.mutex);
    if (q.quitting) return false;
    q.calls.push_back(std::move(call));
    q.wake();
    q.posted.notify_all();
    return true;
}

}  // namespace

void onMainThread(std::function<void()> function) {
    auto call = std::make_shared<Call>();
    call->function = std::move(function);
    post(std::move(call));
}

bool onMainThreadAndWait(std::function<void()> function) {
    if (MainThread::isQuitting()) return false;
    if (MainThread::isCurrent()) {
        function();
        return true;
    }
    const auto call = std::make_shared<Call>();
    call->function = std::move(function);
    call->hasWaiter = true;
    if (!post(call)) return false;

    Queue& q = queue();
    std::exception_ptr error;
    {
        std::unique_lock lock(q.mutex);
        q.finished.wait(
            lock, [&] { return call->state == Call::State::Done || call->state == Call::State::Abandoned; });
        if (call->state == Call::State::Abandoned) return false;
        error = std::move(call->error);
    }
    if (error) std::rethrow_exception(std::move(error));
    return true;
}

void MainThread::adopt() {
    Queue& q = queue();
    auto drainer = std::make_unique<Drainer>();
    const std::lock_guard lock(q.mutex);
    q.drainer.swap(drainer);
    q.mainThread = std::this_thread::get_id();
    q.wakePending = false;
    if (!q.calls.empty()) q.wake();
}

bool MainThread::isCurrent() noexcept {
    return queue().mainThread == std::this_thread::get_id();
}

void MainThread::beginQuitting() {
    Queue& q = queue();
    std::deque<std::shared_ptr<Call>> dropped;  // what the functions hold is released after the lock
    const std::lock_guard lock(q.mutex);
    q.quitting = true;
    dropped.swap(q.calls);
    for (const auto& call : dropped)
        call->state = Call::State::Abandoned;
    q.finished.notify_all();
}

bool MainThread::isQuitting() noexcept {
    return queue().quitting;
}

void MainThread::resume() {
    const std::lock_guard lock(queue().mutex);
    queue().quitting = false;
}

bool MainThread::waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    const auto deadline = Clock::now() + limit;
    Queue& q = queue();
    const bool isMain = isCurrent();
    for (;;) {
        if (isMain) runQueued();
        if (condition()) return true;
        const auto now = Clock::now();
        if (now >= deadline) return false;
        const auto pause = std::min<Clock::duration>(pollInterval, deadline - now);
        if (!isMain) {
            std::this_thread::sleep_for(pause);
            continue;
        }
        std::unique_lock lock(q.mutex);
        q.posted.wait_for(lock, pause, [&] { return !q.calls.empty(); });
    }
}
