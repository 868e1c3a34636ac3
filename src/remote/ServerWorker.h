#pragma once

#include "corvalin.capnp.h"
#include "remote/RemoteLimits.h"
#include "remote/VLServer.h"

#include <QString>
#include <QVariant>

#include <capnp/message.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

/// Performs the operations of one console, one after the other, on a thread that starts with the first one.
/// Answers are encoded on that thread too, so the server's loop only passes them on.
class ServerWorker {
public:
    using Outcome = std::shared_ptr<capnp::MallocMessageBuilder>;  ///< its root is a wire::Outcome
    struct Job {
        QString selector;
        QVariantList arguments;
        std::size_t bytes = 0;
        std::function<void(Outcome)> done;  ///< empty for oneway operations; runs on the worker's thread
    };

    /// `ended` is called on the worker's thread as its last act, when it was started at all.
    ServerWorker(std::shared_ptr<VLRootObject> root, const RemoteLimits& limits, quint64 peer,
                 std::function<void()> ended);
    /// join() first.
    ~ServerWorker() = default;

    /// False when too much is waiting already. The server's thread.
    [[nodiscard]] bool add(Job job);
    /// Nothing is waited for any more. Oneway operations that were taken in are still performed, unless
    /// `dropAll`. The server's thread.
    void close(bool dropAll);
    [[nodiscard]] bool wasStarted() const { return m_thread.joinable(); }
    void join();

private:
    void run();
    [[nodiscard]] bool takeNext(Job& job);
    void perform(const Job& job);
    [[nodiscard]] Outcome outcomeOf(const Job& job) const;

    const std::shared_ptr<VLRootObject> m_root;
    const RemoteLimits m_limits;
    const quint64 m_peer;
    const std::function<void()> m_ended;
    std::thread m_thread;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Job> m_jobs;
    std::size_t m_bytes = 0;  ///< of the arguments that are waiting
    bool m_closed = false;
};
