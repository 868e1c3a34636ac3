#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

/// Of the changes that several runs want to make on one computer, one is under way at a time; the others wait
/// in the order in which they came. Any thread.
class ChangeTurn {
public:
    /// The turn, from the moment it comes until this object goes.
    class Taken {
    public:
        /// Waits. `shallStop` is looked at every now and then; where it says so the turn is not taken.
        Taken(ChangeTurn& turn, const std::function<bool()>& shallStop) : m_turn(turn) {
            std::unique_lock lock(turn.m_mutex);
            turn.m_waiting.push_back(this);
            while (turn.m_waiting.front() != this && !shallStop())
                turn.m_changed.wait_for(lock, lookAgain);
            m_isTaken = turn.m_waiting.front() == this;
            if (!m_isTaken) turn.leave(this);
        }
        ~Taken() {
            const std::lock_guard lock(m_turn.m_mutex);
            if (m_isTaken) m_turn.leave(this);
        }
        Taken(const Taken&) = delete;
        Taken& operator=(const Taken&) = delete;
        explicit operator bool() const { return m_isTaken; }

    private:
        ChangeTurn& m_turn;
        bool m_isTaken = false;
    };

private:
    static constexpr std::chrono::milliseconds lookAgain{100};
    void leave(const Taken* taken) {
        std::erase(m_waiting, taken);
        m_changed.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<const Taken*> m_waiting;  ///< the first has the turn
};
