#pragma once

#include "runs/Run.h"

#include <QString>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

/// Works several clients of a run at once, so that a slow one holds back nobody else. The run bounds how many
/// are under way; they are started in order, none after the run was cancelled, and none is interrupted. For
/// workers; the object belongs to the thread that made it.
///
/// Each of its threads works one client after the other. It begins with few, which is all that quick clients
/// need, and takes more for as long as nobody gets done.
class InFlight {
public:
    using Work = std::function<void()>;

    /// `name`: of the threads, for the log.
    InFlight(RunPtr run, QString name);
    /// Waits for all that was started.
    ~InFlight();
    InFlight(const InFlight&) = delete;
    InFlight& operator=(const InFlight&) = delete;

    /// Has `work` done as soon as there is a place for it; waits while many are in line. False, with nothing
    /// done, once the run was cancelled: that also lets go of those in line.
    bool start(const RemoteClientPtr& client, Work work);
    /// Whether start() would not wait.
    [[nodiscard]] bool hasRoom() const;
    /// Waits until all that was started has ended.
    void wait();
    /// Waits a moment, less when more have ended than `endedBefore` and nothing is in line.
    void waitForChange(int endedBefore);
    [[nodiscard]] int endedCount() const;

    /// Works every client in `body`. What `body` throws is logged, and counts as a failure of that client.
    template <typename Client>
    static void forEach(const RunPtr& run, const QString& name, const QList<std::shared_ptr<Client>>& clients,
                        const std::function<void(const std::shared_ptr<Client>&)>& body) {
        InFlight inFlight(run, name);
        for (const auto& client : clients)
            if (!inFlight.start(client, [&body, client] { body(client); })) break;
    }

    /// Fetches from every client in `fetch`, and hands on what came, in the order of `clients`, to `take` on
    /// this thread. After a cancel only those are handed on that had been started.
    template <typename Answer, typename Client>
    static void readAhead(const RunPtr& run, const QString& name,
                          const QList<std::shared_ptr<Client>>& clients,
                          const std::function<Answer(const std::shared_ptr<Client>&)>& fetch,
                          const std::function<void(const std::shared_ptr<Client>&, Answer&)>& take);

private:
    struct Job {
        RemoteClientPtr client;
        Work work;
    };
    struct State;
    bool enqueue(const RemoteClientPtr& client, Work& work);
    void startThreads(int count);
    /// A moment has passed: takes more threads if nobody has got done in it.
    void lookForMore();
    static void workLine(const std::shared_ptr<State>& state, const RunPtr& run);
    static void perform(Job job, Run::PlacePtr place);

    const RunPtr m_run;
    const QString m_name;
    const std::shared_ptr<State> m_state;
    int m_endedAtLastLook = 0;
    std::chrono::microseconds m_untilNextLook;
};

template <typename Answer, typename Client>
void InFlight::readAhead(const RunPtr& run, const QString& name,
                         const QList<std::shared_ptr<Client>>& clients,
                         const std::function<Answer(const std::shared_ptr<Client>&)>& fetch,
                         const std::function<void(const std::shared_ptr<Client>&, Answer&)>& take) {
    struct Slot {
        std::optional<Answer> answer;
        std::atomic<bool> isReady{false};
    };
    std::vector<Slot> answers(static_cast<std::size_t>(clients.size()));
    InFlight inFlight(run, name);
    qsizetype started = 0, taken = 0;
    while (taken < clients.size()) {
        const int ended = inFlight.endedCount();
        while (started < clients.size() && inFlight.hasRoom()) {
            Slot& slot = answers[static_cast<std::size_t>(started)];
            // Also when the work is let go of without having been done.
            const std::shared_ptr<void> ready(nullptr, [&slot](void*) { slot.isReady = true; });
            const auto work = [&fetch, &slot, ready, client = clients[started]] {
                slot.answer.emplace(fetch(client));
            };
            if (!inFlight.start(clients[started], work)) break;
            ++started;
        }
        bool hasTaken = false;
        for (; taken < started; ++taken, hasTaken = true) {
            Slot& slot = answers[static_cast<std::size_t>(taken)];
            if (!slot.isReady) break;
            if (slot.answer) take(clients[taken], *slot.answer);
            slot.answer.reset();
        }
        if (hasTaken) continue;
        if (taken == started && run->isCancelled()) return;
        inFlight.waitForChange(ended);
    }
}
