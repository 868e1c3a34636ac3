#pragma once

#include "runs/Run.h"

#include <condition_variable>
#include <memory>
#include <mutex>

/// The threads of one fan-out, and the wait for their end. Any thread.
class Wave {
public:
    /// One thread; it has ended when the last copy of what this gives goes.
    [[nodiscard]] static std::shared_ptr<void> part(const std::shared_ptr<Wave>& wave);
    /// Until all have ended, the run was cancelled, or the program quits. The seconds are accepted and not
    /// applied. Never on the main thread, with a log line.
    void waitOnProcessingWithTimeout(double seconds, const Run& run);
    void waitOnProcessing(const Run& run) { waitOnProcessingWithTimeout(0, run); }

private:
    std::mutex m_mutex;
    std::condition_variable m_ended;
    int m_parts = 0;
};
