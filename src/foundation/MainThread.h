#pragma once

#include <chrono>
#include <functional>

/// Hand-off to the main thread. Everything shown to the user is touched there only.
///
/// All data passes through one mutex-guarded queue that a queued Qt event drains, so that the hand-off
/// is visible to ThreadSanitizer. Functions run in the order in which they were posted.

/// Posts `function` to the main thread and returns at once. Any thread. Dropped once the application quits.
void onMainThread(std::function<void()> function);

/// Runs `function` on the main thread and waits for it; inline when called there. Exceptions thrown by
/// `function` reach the caller. Returns false, without running it, when the application is quitting (also
/// when quitting starts during the wait).
bool onMainThreadAndWait(std::function<void()> function);

namespace MainThread {

/// Declares the calling thread the main one. Called once, after the QCoreApplication was made.
void adopt();
[[nodiscard]] bool isCurrent() noexcept;

/// From here on waiting hand-offs return at once, those already waiting are released, and posts are dropped.
void beginQuitting();
[[nodiscard]] bool isQuitting() noexcept;
/// For tests: takes hand-offs again after beginQuitting().
void resume();

/// Waits until `condition` holds or `limit` has passed; says whether it held. On the main thread the hand-off
/// queue (and nothing else: no user input) is served meanwhile, so a worker that waits for the main thread
/// cannot deadlock with it. On another thread it polls every few milliseconds.
bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit);

}  // namespace MainThread
