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
#include <system_error>
#include <thread>

namespace {

struct Worker {
    QString name;
    std::thread thread;
};
using Threads = std::list<Worker>;

struct Registry {
    std::mutex mutex;
    std::condition_variable changed;  // a worker ended, or all were cancelled
    Threads running;
    Threads ended;  // returned from their body, not joined yet
    std::atomic<bool> cancelled = false;
};

// Never destroyed: a worker may end after the static objects of the process.
Registry& registry() {
    static Registry* const instance = new Registry;
    return *instance;
}

void joinEnded() {
    Threads ended;
    {
        const std::lock_guard lock(registry().mutex);
        ended.swap(registry().ended);
    }
    for (Worker& worker : ended)
        worker.thread.join();
}

void runBody(const QByteArray& name, const std::function<void()>& body) {
    try {
        body();
    } catch (const std::exception& exception) {
        VLException::logException(exception, name.constData());
    } catch (...) {
        VLException::logException(VLException(VLException::generic, QStringLiteral("unknown exception")),
                                  name.constData());
    }
}

void markEnded(Threads::iterator self) {
    Registry& r = registry();
    const std::lock_guard lock(r.mutex);
    r.ended.splice(r.ended.end(), r.running, self);
    r.changed.notify_all();
}

void runWorker(Threads::iterator self, const QByteArray& name, std::function<void()> body) {
    pthread_setname_np(pthread_self(), name.left(15).constData());  // the kernel's own limit
    runBody(name, body);
    body = nullptr;  // what it holds is released while the worker still counts
    markEnded(self);
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
            const auto self = r.running.insert(r.running.end(), Worker{name, {}});
            try {
                self->thread = std::thread(runWorker, self, name.toUtf8(), std::move(body));
            } catch (const std::system_error& error) {
                refusal = QString::fromLocal8Bit(error.what());
                r.running.erase(self);
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
    const Threads& running = registry().running;
    return static_cast<int>(std::count_if(running.begin(), running.end(), [&](const Worker& worker) {
        return !worker.name.startsWith(prefix);
    }));
}

void VLThread::cancelAll() {
    Registry& r = registry();
    const std::lock_guard lock(r.mutex);
    r.cancelled = true;
    r.changed.notify_all();
}

bool VLThread::isCancelled() noexcept {
    return registry().cancelled;
}

bool VLThread::joinAll(std::chrono::milliseconds limit) {
    const bool ended = MainThread::waitUntil([] { return activeCount() == 0; }, limit);
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
