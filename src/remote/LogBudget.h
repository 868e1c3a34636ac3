#pragma once

#include <chrono>
#include <utility>

/// Keeps a peer from filling the log: so many lines a minute, no more. One thread.
class LogBudget {
public:
    using Time = std::chrono::steady_clock::time_point;
    static constexpr int linesPerMinute = 30;

    /// True when a line may be written.
    [[nodiscard]] bool take(Time now = std::chrono::steady_clock::now()) {
        if (now < m_start || now - m_start >= std::chrono::minutes(1)) {
            m_start = now;
            m_left = linesPerMinute;
        }
        if (m_left > 0) return m_left-- > 0;
        ++m_leftOut;
        return false;
    }
    /// How many lines were refused since the last question.
    [[nodiscard]] int takeLeftOut() { return std::exchange(m_leftOut, 0); }

private:
    Time m_start = std::chrono::steady_clock::now();
    int m_left = linesPerMinute;
    int m_leftOut = 0;
};
