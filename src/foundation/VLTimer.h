#pragma once

#include <chrono>
#include <functional>
#include <memory>

/// A one-shot timer that any thread may arm and invalidate. It fires on the main thread.
class VLTimer {
public:
    [[nodiscard]] static std::shared_ptr<VLTimer> scheduledTimer(std::chrono::milliseconds interval,
                                                                 std::function<void()> action);
    ~VLTimer();  ///< invalidates: whoever wants the timer to fire keeps it

    /// After this returns on the main thread, the action does not run any more. True when this call kept it
    /// from running: false when it runs, has run, or was invalidated before. Any thread.
    bool invalidate();
    /// True until it has fired or was invalidated. Any thread.
    [[nodiscard]] bool isValid() const noexcept;

private:
    VLTimer();
    struct State;
    std::shared_ptr<State> m_state;
};
