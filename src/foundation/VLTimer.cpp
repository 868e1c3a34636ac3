#include "foundation/VLTimer.h"

#include "foundation/MainThread.h"
#include "system/VLException.h"

#include <QTimer>

#include <mutex>

namespace {

using Clock = std::chrono::steady_clock;

/// Qt's event loop cannot be left by an exception.
void runGuarded(const std::function<void()>& action) {
    try {
        action();
    } catch (const std::exception& exception) {
        VLException::logException(exception, "VLTimer");
    } catch (...) {
        VLException::logException(VLException(VLException::generic, QStringLiteral("unknown exception")),
                                  "VLTimer");
    }
}

}  // namespace

struct VLTimer::State {
    mutable std::mutex mutex;
    std::function<void()> action;  // empty once it has fired or was invalidated

    std::function<void()> take() {
        const std::lock_guard lock(mutex);
        return std::exchange(action, nullptr);
    }
};

VLTimer::VLTimer() : m_state(std::make_shared<State>()) {}

VLTimer::~VLTimer() {
    invalidate();
}

std::shared_ptr<VLTimer> VLTimer::scheduledTimer(std::chrono::milliseconds interval,
                                                 std::function<void()> action) {
    const std::shared_ptr<VLTimer> timer(new VLTimer);
    timer->m_state->action = std::move(action);
    const auto deadline = Clock::now() + interval;
    const auto arm = [deadline, state = std::weak_ptr(timer->m_state)] {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        QTimer::singleShot(std::max(left, std::chrono::milliseconds(0)), [state] {
            const auto alive = state.lock();
            if (!alive) return;
            if (const std::function<void()> action = alive->take()) runGuarded(action);
        });
    };
    if (MainThread::isCurrent())
        arm();
    else
        onMainThread(arm);
    return timer;
}

bool VLTimer::invalidate() {
    std::function<void()> dropped = m_state->take();
    if (!dropped) return false;
    // What the action holds belongs to the main thread, so it is released there.
    if (!MainThread::isCurrent()) onMainThread([held = std::move(dropped)] {});
    return true;
}

bool VLTimer::isValid() const noexcept {
    const std::lock_guard lock(m_state->mutex);
    return static_cast<bool>(m_state->action);
}
