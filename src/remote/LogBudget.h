#pragma once

#include <chrono>
#include <mutex>
#include <utility>

/// Keeps a peer from filling the log, or from doing another thing without end: so many times a minute, no
/// more. One thread.
class LogBudget {
public:
    using Time = std::chrono::steady_clock::time_point;
    static constexpr int linesPerMinute = 30;

    explicit LogBudget(int perMinute = linesPerMinute) : m_perMinute(perMinute) {}

    /// True when a line may be written.
    [[nodiscard]] bool take(Time now = std::chrono::steady_clock::now()) {
        if (now < m_start || now - m_start >= std::chrono::minutes(1)) {
            m_start = now;
            m_left = m_perMinute;
        }
        if (m_left > 0) return m_left-- > 0;
        ++m_leftOut;
        return false;
    }
    /// How many lines were refused since the last question.
    [[nodiscard]] int takeLeftOut() { return std::exchange(m_leftOut, 0); }

private:
    Time m_start = std::chrono::steady_clock::now();
    int m_perMinute;
    int m_left = m_perMinute;
    int m_leftOut = 0;
};

/// The same for a peer that several threads speak of.
class SharedLogBudget {
public:
    [[nodiscard]] bool take() {
        const std::lock_guard lock(m_mutex);
        return m_budget.take();
    }

private:
    std::mutex m_mutex;
    LogBudget m_budget;
};
