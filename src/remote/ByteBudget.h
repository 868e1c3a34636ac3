#pragma once

#include <QtGlobal>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

/// How many bytes may be held at once for a purpose. Whoever wants more than is left waits; one that wants
/// more than there is at all passes alone. Any thread.
class ByteBudget {
public:
    explicit ByteBudget(qint64 bytes) : m_limit(bytes) {}
    ByteBudget(const ByteBudget&) = delete;
    ByteBudget& operator=(const ByteBudget&) = delete;

    /// A part of the budget, for as long as it exists.
    class Part {
    public:
        /// `shallStop` is looked at every now and then; where it says so nothing is taken, and false is what
        /// the part is.
        Part(ByteBudget& budget, qint64 bytes, const std::function<bool()>& shallStop)
            : m_budget(budget), m_bytes(bytes) {
            std::unique_lock lock(budget.m_mutex);
            while (!(m_isTaken = budget.hasRoomFor(bytes)) && !shallStop())
                budget.m_changed.wait_for(lock, lookAgain);
            if (m_isTaken) budget.m_used += bytes;
        }
        ~Part() {
            if (!m_isTaken) return;
            const std::lock_guard lock(m_budget.m_mutex);
            m_budget.m_used -= m_bytes;
            m_budget.m_changed.notify_all();
        }
        Part(const Part&) = delete;
        Part& operator=(const Part&) = delete;
        explicit operator bool() const { return m_isTaken; }

    private:
        ByteBudget& m_budget;
        const qint64 m_bytes;
        bool m_isTaken = false;
    };

private:
    static constexpr std::chrono::milliseconds lookAgain{100};
    [[nodiscard]] bool hasRoomFor(qint64 bytes) const { return m_used == 0 || m_used + bytes <= m_limit; }

    const qint64 m_limit;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    qint64 m_used = 0;
};
