#include "runs/Wave.h"

#include "foundation/MainThread.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"

namespace {

constexpr std::chrono::milliseconds lookAgain{50};  // nobody tells of a cancel here

}  // namespace

std::shared_ptr<void> Wave::part(const std::shared_ptr<Wave>& wave) {
    {
        const std::lock_guard lock(wave->m_mutex);
        ++wave->m_parts;
    }
    return {nullptr, [wave](void*) {
                const std::lock_guard lock(wave->m_mutex);
                --wave->m_parts;
                wave->m_ended.notify_all();
            }};
}

void Wave::waitOnProcessingWithTimeout([[maybe_unused]] double seconds, const Run& run) {
    if (MainThread::isCurrent()) {
        VLLog::appendLog(QStringLiteral("Error: trying to wait on main thread. Aborting..."));
        return;
    }
    std::unique_lock lock(m_mutex);
    while (m_parts > 0 && !run.isCancelled() && !VLThread::isCancelled())
        m_ended.wait_for(lock, lookAgain);
}
