#pragma once

#include <QString>

#include <chrono>
#include <functional>

/// Detached, counted worker threads. Quitting cancels them and waits for them, so none is left behind.
class VLThread {
public:
    /// Starts `body` on a new thread and returns at once. An exception that escapes `body` is logged with
    /// `name`. False, with a log line and `body` released, when there is no thread to be had or cancelAll()
    /// was called. Any thread.
    static bool detach(const QString& name, std::function<void()> body);

    [[nodiscard]] static int activeCount();
    /// Of the workers that have not ended, those whose name does not begin with `prefix`.
    [[nodiscard]] static int activeCountWithout(const QString& prefix);

    /// Asks every worker to end: isCancelled() turns true, sleepFor() returns at once. Any thread.
    static void cancelAll();
    [[nodiscard]] static bool isCancelled() noexcept;

    /// Waits until every worker has ended, serving the hand-off queue when called on the main thread.
    /// False when some were still running after `limit`.
    static bool joinAll(std::chrono::milliseconds limit);

    /// Sleeps, unless cancelled. False when it was cut short by cancelAll().
    static bool sleepFor(std::chrono::milliseconds duration);

    /// For tests: accepts new workers again after cancelAll() and joinAll().
    static void reset();
};
