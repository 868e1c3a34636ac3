#pragma once

#include "corvalin.capnp.h"
#include "remote/AnswerRoom.h"
#include "remote/LogBudget.h"
#include "remote/RemoteLimits.h"
#include "remote/VLServer.h"

#include <QString>
#include <QVariant>

#include <capnp/message.h>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

/// Performs the operations of one console in two lanes: in each, one after the other, on a thread that starts
/// with the lane's first operation. Control operations are few and short, and get through while one of the
/// others hangs; an ordinary one waits for the control operations that were sent before it, and for room for
/// its answer. Answers are encoded on these threads too, so the server's loop only passes them on.
class ServerWorker : public std::enable_shared_from_this<ServerWorker> {
public:
    using Outcome = std::shared_ptr<capnp::MallocMessageBuilder>;  ///< its root is a wire::Outcome
    using Clock = std::chrono::steady_clock;
    enum Lane { Ordinary, Control };
    using Answer = std::shared_ptr<AnswerRoom::Answer>;  ///< null where it needs none
    struct Job {
        QString selector;
        QVariantList arguments;
        std::size_t bytes = 0;
        Lane lane = Ordinary;
        quint64 after = 0;  ///< how many control operations were sent before it; set by add()
        /// Empty for oneway operations. Runs on the lane's thread.
        std::function<void(Outcome, Answer)> done;
        std::optional<AnswerRoom::Size> answer = std::nullopt;  ///< how much room it needs
    };

    /// `ended` is called as the last act of the last lane, when any was started at all.
    ServerWorker(std::shared_ptr<VLRootObject> root, const RemoteLimits& limits, quint64 peer,
                 std::shared_ptr<AnswerRoom> room, std::function<void()> ended);
    /// join() or abandon() first.
    ~ServerWorker() = default;
    ServerWorker(const ServerWorker&) = delete;
    ServerWorker& operator=(const ServerWorker&) = delete;

    // The server's thread.
    /// False when too much is waiting in that lane already.
    [[nodiscard]] bool add(Job job);
    /// Nothing is waited for any more. Oneway operations that were taken in are still performed, unless
    /// `dropAll`.
    void close(bool dropAll);
    [[nodiscard]] bool wasStarted() const;
    /// After close(): waits for the operations under way. False, with nothing joined, when they take longer.
    [[nodiscard]] bool join(Clock::time_point deadline);
    /// After close(): the threads are on their own. They keep what they use alive.
    void abandon();

private:
    struct Line {
        std::thread thread;
        std::deque<Job> jobs;
        std::size_t bytes = 0;  ///< of the arguments that are waiting
    };

    void run(Line& line);
    void endPeer();
    [[nodiscard]] bool takeNext(Line& line, Job& job);
    void perform(const Job& job);
    void performAndAnswer(const Job& job);
    [[nodiscard]] Outcome outcomeOf(const Job& job) const;

    const std::shared_ptr<VLRootObject> m_root;
    const RemoteLimits m_limits;
    const quint64 m_peer;
    const std::shared_ptr<AnswerRoom> m_room;
    const std::function<void()> m_ended;
    SharedLogBudget m_log;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::array<Line, 2> m_lines;
    quint64 m_controlSent = 0, m_controlDone = 0;
    int m_running = 0;                  ///< lanes whose threads have not ended
    bool m_isIdle = true;               ///< no thread of it does anything any more
    std::atomic_bool m_closed = false;  ///< set under the mutex
};
