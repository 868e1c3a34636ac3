#pragma once

#include <QString>

class RunList;

/// The accounting of running work that the runners and tools report to. Any thread; what touches the window
/// is handed to the main thread as each operation says.
class TaskProgress {
public:
    virtual ~TaskProgress() = default;

    /// Counts one unit of work in. The answer names the counting that it belongs to, for counting it out.
    virtual int incrementTaskThreadCount() = 0;
    virtual void decrementTaskThreadCount() = 0;
    /// Counts out a unit of that counting: without effect once the count was set back to 0, so that a worker
    /// of a cancelled run who comes late does not count out what a later run counted in.
    virtual void decrementTaskThreadCount(int counting) = 0;

    /// Blocks while processing and not cancelled. Returns at once (with a log line) on the main thread.
    /// The seconds are accepted and not applied.
    virtual void waitOnProcessingWithTimeout(double seconds) = 0;
    void waitOnProcessing() { waitOnProcessingWithTimeout(0); }

    [[nodiscard]] virtual bool processingCancelled() const = 0;
    virtual void setProcessingCancelled(bool cancelled) = 0;

    /// What runs. A thread that works for a run (RunScope) counts and shows progress for that one: its end
    /// ends nothing of another's.
    [[nodiscard]] virtual RunList& runs() = 0;

    /// Status bar of the main window. Start waits for the main thread; the steps are handed over together,
    /// and they and the end without waiting.
    virtual void startStatusProgress() = 0;
    virtual void incrementStatusProgress() = 0;
    virtual void endStatusProgress() = 0;

    /// Progress sheet over the main window. All wait for the main thread.
    virtual void startProgress() = 0;
    virtual void endProgress() = 0;
    virtual void updateProgressStatus(const QString& text) = 0;
    virtual void progressBarSetMaxValue(double maximum) = 0;
    virtual void incrementProgress() = 0;
};
