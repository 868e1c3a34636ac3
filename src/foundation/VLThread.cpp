#include "foundation/VLThread.h"

#include "foundation/MainThread.h"
#include "logs/VLLog.h"
#include "system/VLException.h"

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <list>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace {

// A fan-out starts a thread for each operation under way, so one that has ended waits a while for the next
// body: that is much cheaper than a new one.
constexpr std::chrono::seconds longestRest{5};
constexpr std::size_t mostResting = 64;

struct Body {
    QString name;
    std::function<void()> function;
};

struct Worker {
    std::thread thread;
    std::condition_variable given;
    std::optional<Body> next;  ///< given to one that rests
    QString name;              ///< of the body that it runs
};
using Workers = std::list<Worker>;

struct Registry {
    std::mutex mutex;
    std::condition_variable changed;  // a body ended, or all were cancelled
    Workers running, resting;
    Workers ended;  // not joined yet
    std::atomic<bool> cancelled = false;
};

// Never destroyed: a worker may end after the static objects of the process.
Registry& registry() {
    static Registry* const instance = new Registry;
    return *instance;
}

void joinEnded() {
    Workers ended;
    {
        const std::lock_guard lock(registry().mutex);
        ended.swap(registry().ended);
    }
    for (Worker& worker : ended)
        worker.thread.join();
}

void run(Body body) {
    const QByteArray name = body.name.toUtf8();
    pthread_setname_np(pthread_self(), name.left(15).constData());  // the kernel's own limit
    try {
        body.function();
    } catch (const std::exception& exception) {
        VLException::logException(exception, name.constData());
    } catch (...) {
        VLException::logException(VLException(VLException::generic, QStringLiteral("unknown exception")),
                                  name.constData());
    }
    // What the body holds is released here, while the worker still counts.
}

/// The next body for a worker whose last one has ended; none when it is to end itself.
std::optional<Body> nextBody(Workers::iterator self) {
    Registry& r = registry();
    std::unique_lock lock(r.mutex);
    r.resting.splice(r.resting.end(), r.running, self);
    r.changed.notify_all();
    if (r.resting.size() <= mostResting)
        self->given.wait_for(lock, longestRest, [&] { return self->next || r.cancelled; });
    if (self->next) return std::exchange(self->next, std::nullopt);
    r.ended.splice(r.ended.end(), r.resting, self);
    r.changed.notify_all();
    return std::nullopt;
}

void work(Workers::iterator self, Body first) {
    std::optional<Body> body(std::move(first));
    while (body) {
        run(std::move(*body));
        body.reset();
        body = nextBody(self);
    }
}

/// Under the registry's lock. Throws std::system_error when there is no thread to be had.
void start(Registry& r, Body body) {
    if (!r.resting.empty()) {
        const auto rested = std::prev(r.resting.end());  // the one that rests for the shortest time
        rested->name = body.name;
        rested->next = std::move(body);
        r.running.splice(r.running.end(), r.resting, rested);
        rested->given.notify_one();
        return;
    }
    r.running.emplace_back();
    const auto self = std::prev(r.running.end());
    self->name = body.name;
    try {
        self->thread = std::thread(work, self, std::move(body));
    } catch (const std::system_error&) {
        r.running.erase(self);
        throw;
    }
}

}  // namespace

bool VLThread::detach(const QString& name, std::function<void()> body) {
    joinEnded();
    Registry& r = registry();
    QString refusal;
    {
        const std::lock_guard lock(r.mutex);
        if (r.cancelled) {
            refusal = QStringLiteral("the program is quitting");
        } else {
            try {
                start(r, {name, std::move(body)});
            } catch (const std::system_error& error) {
                refusal = QString::fromLocal8Bit(error.what());
            }
        }
    }
    if (refusal.isEmpty()) return true;
    VLLog::appendLog(QStringLiteral("Thread %@ was not started: %@"), name, refusal);
    return false;
}

int VLThread::activeCount() {
    const std::lock_guard lock(registry().mutex);
    return static_cast<int>(registry().running.size());
}

int VLThread::activeCountWithout(const QString& prefix) {
    const std::lock_guard lock(registry().mutex);
    const Workers& running = registry().running;
    return static_cast<int>(std::count_if(running.begin(), running.end(), [&](const Worker& worker) {
        return !worker.name.startsWith(prefix);
    }));
}

void VLThread::cancelAll() {
    Registry& r = registry();
    const std::lock_guard lock(r.mutex);
    r.cancelled = true;
    r.changed.notify_all();
    for (Worker& worker : r.resting)
        worker.given.notify_one();
}

bool VLThread::isCancelled() noexcept {
    return registry().cancelled;
}

bool VLThread::joinAll(std::chrono::milliseconds limit) {
    const auto isQuiet = [] {
        Registry& r = registry();
        const std::lock_guard lock(r.mutex);
        return r.running.empty() && (!r.cancelled || r.resting.empty());
    };
    const bool ended = MainThread::waitUntil(isQuiet, limit);
    joinEnded();
    return ended;
}

bool VLThread::sleepFor(std::chrono::milliseconds duration) {
    Registry& r = registry();
    std::unique_lock lock(r.mutex);
    return !r.changed.wait_for(lock, duration, [&r] { return r.cancelled.load(); });
}

void VLThread::reset() {
    const std::lock_guard lock(registry().mutex);
    registry().cancelled = false;
}
