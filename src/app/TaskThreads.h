#pragma once

#include "foundation/Snapshot.h"
#include "remote/TaskProgress.h"

#include <QObject>
#include <QPointer>
#include <QString>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

/// What the status bar shows.
struct StatusProgress {
    QString text;
    bool running = false;
    bool indeterminate = false;
    bool cancelVisible = false;
    double value = 0;
    double maximum = 100;  ///< what a bar has that nobody has set up
};

/// What the progress sheet shows.
struct SheetProgress {
    QString text;
    bool visible = false;
    bool running = false;  ///< the bar moves
    bool indeterminate = true;
    bool cancelEnabled = true;
    double value = 0;
    double maximum = 100;  ///< what a bar has that nobody has set up
};

/// Counts the running work, lets workers wait for its end, and keeps the state of both progress displays
/// (the window draws them). Counting and waiting are for any thread; the displays change on the main thread,
/// operations called elsewhere are handed over.
class TaskThreads : public QObject, public TaskProgress {
    Q_OBJECT
public:
    struct Environment {
        std::function<int()> selectedServiceCount;  ///< any thread
        std::function<void()> autoRefreshData;      ///< main thread
        std::function<void()> stopToolSpinners;     ///< main thread
    };
    explicit TaskThreads(Environment environment, QObject* parent = nullptr);
    ~TaskThreads() override;

    [[nodiscard]] int taskThreadCount() const;
    void setTaskThreadCount(int count);
    [[nodiscard]] bool isProcessing() const noexcept { return m_isProcessing; }
    /// Sets the field and wakes nobody; isProcessingChanged() follows on the main thread.
    void setIsProcessing(bool processing);
    [[nodiscard]] bool isInstallingUpdate() const noexcept { return m_isInstallingUpdate; }
    void setIsInstallingUpdate(bool installing) noexcept { m_isInstallingUpdate = installing; }
    [[nodiscard]] bool progressHidden() const noexcept { return m_progressHidden; }

    int incrementTaskThreadCount() override;
    void decrementTaskThreadCount() override;
    void decrementTaskThreadCount(int counting) override;
    /// An agent says that a task has ended. Without anything that runs or is counted there is nothing to
    /// count out.
    void remoteTaskFinished();
    void cancelTaskThreads();
    void waitOnProcessingWithTimeout(double seconds) override;
    [[nodiscard]] bool processingCancelled() const override { return m_processingCancelled; }
    void setProcessingCancelled(bool cancelled) override;
    int beginRun() override;
    [[nodiscard]] int currentRun() const override;
    [[nodiscard]] bool isCancelled(int run) const override;

    void startStatusProgress() override;
    void incrementStatusProgress() override;
    void endStatusProgress() override;
    void showIndeterminateStatusProgress();
    void cancelStatusProgress();
    void cancelAllProgress();
    void updateSelectedComputerStatus(bool refreshAfterwards = false);
    /// A text that stays in the status bar until the next run or selection ("Waiting for clients to
    /// relaunch..." also survives an emptied selection).
    void setStatusText(const QString& text);
    /// A remark beside the status text ("2 selected computers left out of this run"). It belongs to the run
    /// under way, and goes when another one starts. Any thread.
    void setStatusRemark(const QString& remark);

    void startProgress() override { startProgressForWindow(nullptr); }
    /// The sheet over `window`; null means the main window. Not owned; only passed on to whoever draws it.
    void startProgressForWindow(QObject* window);
    void endProgress() override;
    /// Main thread: takes the sheet away while another one needs the window, and brings back one that was
    /// taken away and has not ended since. The work itself goes on.
    void putProgressAway();
    void bringProgressBack();
    void updateProgressStatus(const QString& text) override;
    void progressBarSetIndeterminate();
    void progressBarSetMaxValue(double maximum) override;
    void incrementProgress() override;
    void cancelProgress();
    void updateTaskProgress(int number);

    /// Everything that waits or runs is told to end: for quitting.
    void abandon();

    // Main thread.
    [[nodiscard]] const StatusProgress& status() const { return m_status; }
    [[nodiscard]] const SheetProgress& sheet() const { return m_sheet; }
    [[nodiscard]] const QString& statusRemark() const { return m_statusRemark; }
    [[nodiscard]] QObject* progressParentWindow() const { return m_progressParentWindow; }

Q_SIGNALS:
    void statusChanged();
    void sheetChanged();
    void isProcessingChanged(bool processing);

private:
    struct Condition;
    /// The count of running work and the numbers of the runs.
    struct Counting {
        int count = 0;
        int counting = 0;  ///< how often the count was set back
        int run = 0;
        int lastCancelledRun = -1;
    };
    void broadcast();
    void countOut(std::optional<int> counting);
    void post(std::function<void()> function);
    void reportProcessing();
    void endStatusDisplay();
    void restartSheetBar(bool indeterminate);

    Environment m_environment;
    mutable std::mutex m_countingMutex;
    Counting m_counting;
    std::atomic<int> m_statusRun{0};  ///< how often the status bar was started
    std::atomic<bool> m_isProcessing{false}, m_processingCancelled{false}, m_isInstallingUpdate{false},
        m_progressHidden{false};
    Snapshot<std::shared_ptr<Condition>> m_condition;  ///< of the current waiter; replaced by every wait
    StatusProgress m_status;
    SheetProgress m_sheet;
    QString m_statusRemark;
    QPointer<QObject> m_progressParentWindow;
    bool m_reportedProcessing = false;  ///< main thread: what isProcessingChanged() said last
    std::shared_ptr<const bool> m_alive = std::make_shared<bool>(true);  ///< ends what is still posted
};
