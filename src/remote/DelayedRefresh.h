#pragma once

#include <functional>

/// Runs a refresh some time later. Dropped when the program quits meanwhile. `refresh` may be empty.
namespace DelayedRefresh {

/// Blocks the calling worker for `seconds`, then runs `refresh` on the main thread and waits for it.
void delayedRefresh(const std::function<void()>& refresh, double seconds);

/// Returns at once; `refresh` runs on a thread of its own, after whole `seconds`.
void delayedRefreshOnNewThread(std::function<void()> refresh, int seconds);

}  // namespace DelayedRefresh
