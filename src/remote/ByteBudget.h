#pragma once

#include <QtGlobal>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <utility>

/// How many bytes may be held at once for a purpose. Whoever wants more than is left waits; one that wants
/// more than there is at all passes alone. What turns out to be larger than expected is counted all the same.
/// Any thread.
class ByteBudget {
public:
    explicit ByteBudget(qint64 bytes) : m_limit(bytes) {}
    ByteBudget(const ByteBudget&) = delete;
    ByteBudget& operator=(const ByteBudget&) = delete;

    /// A part of the budget, for as long as it exists.
    class Part {
    public:
        /// Of no size yet; never waits.
        explicit Part(ByteBudget& budget) : m_budget(budget), m_isTaken(true) {}
        /// `shallStop` is looked at every now and then; where it says so nothing is taken, and false is what
        /// the part is.
        Part(ByteBudget& budget, qint64 bytes, const std::function<bool()>& shallStop)
            : m_budget(budget), m_bytes(bytes) {
            std::unique_lock lock(budget.m_mutex);
            while (!(m_isTaken = budget.hasRoomFor(bytes)) && !shallStop())
                budget.m_changed.wait_for(lock, lookAgain);
            if (m_isTaken) budget.add(bytes);
        }
        ~Part() {
            if (m_isTaken) resize(0);
        }
        /// Without waiting, also beyond the budget: the bytes are there. Only of a part that was taken.
        void resize(qint64 bytes) {
            const std::lock_guard lock(m_budget.m_mutex);
            m_budget.add(bytes - std::exchange(m_bytes, bytes));
            m_budget.m_changed.notify_all();
        }
        Part(const Part&) = delete;
        Part& operator=(const Part&) = delete;
        explicit operator bool() const { return m_isTaken; }

    private:
        ByteBudget& m_budget;
        qint64 m_bytes = 0;
        bool m_isTaken = false;
    };

    [[nodiscard]] qint64 used() const {
        const std::lock_guard lock(m_mutex);
        return m_used;
    }
    /// The most that was held at once since the last call.
    [[nodiscard]] qint64 takePeak() {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_peak, m_used);
    }

private:
    static constexpr std::chrono::milliseconds lookAgain{100};
    [[nodiscard]] bool hasRoomFor(qint64 bytes) const { return m_used == 0 || m_used + bytes <= m_limit; }

    void add(qint64 bytes) {
        m_used += bytes;
        m_peak = std::max(m_peak, m_used);
    }

    const qint64 m_limit;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    qint64 m_used = 0, m_peak = 0;
};
