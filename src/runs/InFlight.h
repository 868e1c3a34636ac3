#pragma once

#include "runs/Run.h"

#include <QScopeGuard>
#include <QString>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

/// Works several clients of a run at once, each on a thread of its own, so that a slow one holds back nobody
/// else. The run bounds how many are under way; they are started in order, none after the run was cancelled,
/// and none is interrupted. For workers; the object belongs to the thread that made it.
class InFlight {
public:
    using Work = std::function<void()>;

    /// `name`: of the threads, for the log.
    InFlight(RunPtr run, QString name);
    /// Waits for all that was started.
    ~InFlight();
    InFlight(const InFlight&) = delete;
    InFlight& operator=(const InFlight&) = delete;

    /// Waits for a place and starts `work` in it. False, with nothing started, once the run was cancelled.
    bool start(const RemoteClientPtr& client, Work work);
    /// The same without waiting: false also when no place is free.
    bool tryStart(const RemoteClientPtr& client, Work work);
    /// Waits until all that was started has ended.
    void wait();
    /// Waits until something that was started ends, at least since `endedBefore`, or a moment has passed.
    void waitForChange(int endedBefore);
    [[nodiscard]] int endedCount() const;
    [[nodiscard]] int underWayCount() const;

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
    struct State;
    void launch(Run::PlacePtr place, Work work);

    const RunPtr m_run;
    const QString m_name;
    const std::shared_ptr<State> m_state;
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
    std::vector<Slot> slots_(static_cast<std::size_t>(clients.size()));
    InFlight inFlight(run, name);
    qsizetype started = 0, taken = 0;
    while (taken < clients.size()) {
        const int ended = inFlight.endedCount();
        while (started < clients.size()) {
            Slot& slot = slots_[static_cast<std::size_t>(started)];
            const auto work = [&fetch, &slot, client = clients[started]] {
                const auto ready = qScopeGuard([&slot] { slot.isReady = true; });
                slot.answer.emplace(fetch(client));
            };
            if (!inFlight.tryStart(clients[started], work)) break;
            ++started;
        }
        bool hasTaken = false;
        for (; taken < started; ++taken, hasTaken = true) {
            Slot& slot = slots_[static_cast<std::size_t>(taken)];
            if (!slot.isReady) break;
            if (slot.answer) take(clients[taken], *slot.answer);
            slot.answer.reset();
        }
        if (hasTaken) continue;
        if (taken == started && run->isCancelled()) return;
        inFlight.waitForChange(ended);
    }
}
