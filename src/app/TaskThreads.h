#pragma once

#include "foundation/Snapshot.h"
#include "remote/TaskProgress.h"
#include "runs/RunList.h"

#include <QHash>
#include <QMap>
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
///
/// All of this is the view over the runs under way. What a worker of a run counts and shows is kept by run;
/// the count is the sum, and processing lasts until nothing of any run is left. What is done outside of a
/// run has a place of its own, under the number 0.
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
    [[nodiscard]] RunList& runs() override { return m_runs; }

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
    [[nodiscard]] QObject* progressParentWindow() const { return m_progressParentWindow; }

Q_SIGNALS:
    void statusChanged();
    void sheetChanged();
    void isProcessingChanged(bool processing);

private:
    struct Condition;
    /// Work that was counted in for one run. `token` names the counting: it changes when the count is set
    /// back, so that late workers do not count out what was counted in after that.
    struct Count {
        int units = 0, token = 0;
    };
    /// What runs, by run.
    struct Counting {
        QHash<int, Count> counts;
        QHash<int, int> parts;  ///< those that are processing; which start of a display it was
        int lastToken = 0, lastStart = 0;
        int lastCancelledRun = -1;

        [[nodiscard]] int total() const;
    };
    /// What one run shows in the status bar.
    struct Bar {
        int start = 0;
        double value = 0, maximum = 0;
        bool indeterminate = false;
    };
    [[nodiscard]] static int runHere();
    // For those without a run: each start of a display counts as the begin of one.
    void beginUnnamed();
    [[nodiscard]] bool isCancelledSince(int begun) const;
    [[nodiscard]] bool isProcessingPart(int run) const;
    /// Main thread: the run is processing from here on. Which start this is.
    int startPart(int run);
    /// Ends the run's part in processing; its bar too, unless it was started again since.
    void endPart(int run, bool withBar);
    void removeBar(int run, int start);
    void countedOut(int run);
    void broadcast();
    void post(std::function<void()> function);
    void reportProcessing();
    void showBars();
    void takeSteps();
    void endStatusDisplay();
    static void restartBar(SheetProgress& sheet, bool indeterminate);
    [[nodiscard]] SheetProgress& sheetOf(int run);
    [[nodiscard]] bool showNextSheet();

    Environment m_environment;
    RunList m_runs;
    mutable std::mutex m_countingMutex;
    Counting m_counting;
    std::mutex m_stepsMutex;
    QHash<int, int> m_steps;  ///< of the status bar, by run, not yet handed over
    QMap<int, Bar> m_bars;    ///< main thread: of the runs that show in the status bar
    int m_sheetRun = 0;       ///< main thread: whose the sheet is
    std::atomic<bool> m_isProcessing{false}, m_processingCancelled{false}, m_isInstallingUpdate{false},
        m_progressHidden{false};
    Snapshot<std::shared_ptr<Condition>> m_condition;  ///< of the current waiter; replaced by every wait
    StatusProgress m_status;
    SheetProgress m_sheet;
    QMap<int, SheetProgress> m_otherSheets;  ///< by run, in the order in which they began; main thread
    QPointer<QObject> m_progressParentWindow;
    bool m_reportedProcessing = false;  ///< main thread: what isProcessingChanged() said last
    std::shared_ptr<const bool> m_alive = std::make_shared<bool>(true);  ///< ends what is still posted
};
