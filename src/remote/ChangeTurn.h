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
        /// Waits. `run`: the number of the run that takes it. `shallStop` is looked at every now and then;
        /// where it says so the turn is not taken.
        Taken(ChangeTurn& turn, int run, const std::function<bool()>& shallStop) : m_turn(turn) {
            std::unique_lock lock(turn.m_mutex);
            turn.m_waiting.push_back(this);
            while (turn.m_waiting.front() != this && !shallStop())
                turn.m_changed.wait_for(lock, lookAgain);
            m_isTaken = turn.m_waiting.front() == this;
            if (m_isTaken)
                turn.m_holder = run;
            else
                turn.leave(this);
        }
        ~Taken() {
            const std::lock_guard lock(m_turn.m_mutex);
            if (!m_isTaken) return;
            m_turn.m_holder = 0;
            m_turn.leave(this);
        }
        Taken(const Taken&) = delete;
        Taken& operator=(const Taken&) = delete;
        explicit operator bool() const { return m_isTaken; }

    private:
        ChangeTurn& m_turn;
        bool m_isTaken = false;
    };

    /// The number of the run that has it; 0 for none.
    [[nodiscard]] int holder() const {
        const std::lock_guard lock(m_mutex);
        return m_holder;
    }

private:
    static constexpr std::chrono::milliseconds lookAgain{100};
    void leave(const Taken* taken) {
        std::erase(m_waiting, taken);
        m_changed.notify_all();
    }

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_holder = 0;
    std::deque<const Taken*> m_waiting;  ///< the first has the turn
};
