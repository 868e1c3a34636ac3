#pragma once

#include "foundation/Snapshot.h"
#include "remote/TaskProgress.h"

#include <QObject>
#include <QPointer>
#include <QString>

#include <atomic>
#include <functional>
#include <memory>

/// What the status bar shows.
struct StatusProgress {
    QString text;
    bool running = false;
    bool indeterminate = false;
    bool cancelVisible = false;
    double value = 0;
    double maximum = 0;
};

/// What the progress sheet shows.
struct SheetProgress {
    QString text;
    bool visible = false;
    bool running = false;  ///< the bar moves
    bool indeterminate = true;
    bool cancelEnabled = true;
    double value = 0;
    double maximum = 0;
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

    [[nodiscard]] int taskThreadCount() const noexcept { return m_taskThreadCount; }
    void setTaskThreadCount(int count) noexcept { m_taskThreadCount = count; }
    [[nodiscard]] bool isProcessing() const noexcept { return m_isProcessing; }
    /// Sets the field and wakes nobody; isProcessingChanged() follows on the main thread.
    void setIsProcessing(bool processing);
    [[nodiscard]] bool isInstallingUpdate() const noexcept { return m_isInstallingUpdate; }
    void setIsInstallingUpdate(bool installing) noexcept { m_isInstallingUpdate = installing; }
    [[nodiscard]] bool progressHidden() const noexcept { return m_progressHidden; }

    void incrementTaskThreadCount() override;
    void decrementTaskThreadCount() override;
    void cancelTaskThreads();
    void waitOnProcessingWithTimeout(double seconds) override;
    [[nodiscard]] bool processingCancelled() const override { return m_processingCancelled; }
    void setProcessingCancelled(bool cancelled) override { m_processingCancelled = cancelled; }

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
    /// that starts next, and goes when another one starts after that. Any thread.
    void setStatusRemark(const QString& remark);

    void startProgress() override { startProgressForWindow(nullptr); }
    /// The sheet over `window`; null means the main window. Not owned; only passed on to whoever draws it.
    void startProgressForWindow(QObject* window);
    void endProgress() override;
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
    void broadcast();
    void post(std::function<void()> function);
    void reportProcessing();
    void endStatusDisplay();
    void restartSheetBar(bool indeterminate);

    Environment m_environment;
    std::atomic<int> m_taskThreadCount{0};
    std::atomic<int> m_statusRun{0};  ///< how often the status bar was started
    std::atomic<bool> m_isProcessing{false}, m_processingCancelled{false}, m_isInstallingUpdate{false},
        m_progressHidden{false};
    Snapshot<std::shared_ptr<Condition>> m_condition;  ///< of the current waiter; replaced by every wait
    StatusProgress m_status;
    SheetProgress m_sheet;
    QString m_statusRemark;
    bool m_remarkIsNew = false;  ///< no run has started since it was set
    QPointer<QObject> m_progressParentWindow;
    bool m_reportedProcessing = false;  ///< main thread: what isProcessingChanged() said last
    std::shared_ptr<const bool> m_alive = std::make_shared<bool>(true);  ///< ends what is still posted
};
