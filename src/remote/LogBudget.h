#pragma once

#include <chrono>

/// Keeps a peer from filling the log: so many lines a minute, no more. One thread.
class LogBudget {
public:
    /// True when a line may be written.
    [[nodiscard]] bool take() {
        const auto now = std::chrono::steady_clock::now();
        if (now - m_start >= std::chrono::minutes(1)) {
            m_start = now;
            m_left = linesPerMinute;
        }
        return m_left > 0 && m_left-- > 0;
    }

private:
    static constexpr int linesPerMinute = 30;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    int m_left = linesPerMinute;
};
