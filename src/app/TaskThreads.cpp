#include "app/TaskThreads.h"

#include "foundation/MainThread.h"
#include "foundation/VLCallLock.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"

#include <QTimer>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <utility>

namespace {

constexpr std::chrono::milliseconds refreshDelay{1500};
constexpr std::chrono::milliseconds lookAgain{500};
constexpr auto relaunchText = "Waiting for clients to relaunch...";

QString plural(int count) {
    return count == 1 ? QString() : QStringLiteral("s");
}

}  // namespace

struct TaskThreads::Condition {
    std::mutex mutex;
    std::condition_variable changed;
};

TaskThreads::TaskThreads(Environment environment, QObject* parent)
    : QObject(parent), m_environment(std::move(environment)) {}

TaskThreads::~TaskThreads() = default;

/// Runs `function` here when this is the main thread, else later there, unless this object is gone by then.
void TaskThreads::post(std::function<void()> function) {
    if (MainThread::isCurrent()) return function();
    onMainThread([alive = std::weak_ptr(m_alive), function = std::move(function)] {
        if (!alive.expired()) function();
    });
}

void TaskThreads::setIsProcessing(bool processing) {
    if (m_isProcessing.exchange(processing) == processing) return;
    post([this] { reportProcessing(); });
}

void TaskThreads::reportProcessing() {
    const bool processing = m_isProcessing;
    if (processing == m_reportedProcessing) return;
    m_reportedProcessing = processing;
    Q_EMIT isProcessingChanged(processing);
}

// ---- Counting and waiting

int TaskThreads::taskThreadCount() const {
    const std::lock_guard lock(m_countingMutex);
    return m_counting.count;
}

void TaskThreads::setTaskThreadCount(int count) {
    const std::lock_guard lock(m_countingMutex);
    m_counting.count = count;
}

int TaskThreads::incrementTaskThreadCount() {
    const std::lock_guard lock(m_countingMutex);
    VLLog::appendLog(QStringLiteral("Task threads: %i"), ++m_counting.count);
    return m_counting.counting;
}

void TaskThreads::decrementTaskThreadCount() {
    countOut({});
}

void TaskThreads::decrementTaskThreadCount(int counting) {
    countOut(counting);
}

void TaskThreads::countOut(std::optional<int> counting) {
    {
        const std::lock_guard lock(m_countingMutex);
        if (counting && *counting != m_counting.counting) return;
        VLLog::appendLog(QStringLiteral("Task threads: %i"), --m_counting.count);
        if (m_counting.count > 0) return;
    }
    cancelTaskThreads();
}

void TaskThreads::remoteTaskFinished() {
    if (m_isProcessing || taskThreadCount() > 0) decrementTaskThreadCount();
}

void TaskThreads::setProcessingCancelled(bool cancelled) {
    const std::lock_guard lock(m_countingMutex);
    m_processingCancelled = cancelled;
    if (cancelled)
        m_counting.lastCancelledRun = m_counting.run;
    else if (m_counting.run <= m_counting.lastCancelledRun)
        ++m_counting.run;  // what starts from here on is no part of what was cancelled
}

int TaskThreads::beginRun() {
    const std::lock_guard lock(m_countingMutex);
    return ++m_counting.run;
}

int TaskThreads::currentRun() const {
    const std::lock_guard lock(m_countingMutex);
    return m_counting.run;
}

bool TaskThreads::isCancelled(int run) const {
    const std::lock_guard lock(m_countingMutex);
    return run <= m_counting.lastCancelledRun;
}

void TaskThreads::cancelTaskThreads() {
    const VLCallLock lock;
    // From the moment processing ends, a waiter may go on to its next run, which neither the count nor the
    // end of this run's display may reach any more.
    const int run = m_statusRun;
    {
        const std::lock_guard guard(m_countingMutex);
        m_counting.count = 0;
        ++m_counting.counting;
    }
    setIsProcessing(false);
    broadcast();
    if (m_isInstallingUpdate) return;
    onMainThread([this, run, alive = std::weak_ptr(m_alive)] {
        if (!alive.expired() && run == m_statusRun) endStatusDisplay();
    });
}

void TaskThreads::broadcast() {
    const std::shared_ptr<Condition> condition = m_condition.get();
    if (!condition) return;
    const std::lock_guard lock(condition->mutex);
    condition->changed.notify_all();
}

void TaskThreads::waitOnProcessingWithTimeout([[maybe_unused]] double seconds) {
    if (MainThread::isCurrent()) {
        VLLog::appendLog(QStringLiteral("Error: trying to wait on main thread. Aborting..."));
        return;
    }
    const int run = currentRun();
    const auto condition = std::make_shared<Condition>();
    m_condition.set(condition);
    std::unique_lock lock(condition->mutex);
    // A waiter whose condition another one has replaced gets no broadcast; it looks for itself. The next run
    // may have started before it does.
    while (m_isProcessing && !m_processingCancelled && !isCancelled(run) && !VLThread::isCancelled())
        condition->changed.wait_for(lock, lookAgain);
}

void TaskThreads::abandon() {
    setProcessingCancelled(true);
    setTaskThreadCount(0);
    setIsProcessing(false);
    broadcast();
}

// ---- Status bar

void TaskThreads::startStatusProgress() {
    onMainThreadAndWait([this] {
        const int count = m_environment.selectedServiceCount();
        ++m_statusRun;
        setProcessingCancelled(false);
        beginRun();
        m_statusRemark.clear();
        m_status.value = 0;
        m_status.maximum = count;
        m_status.indeterminate = count <= 1;
        m_status.running = true;
        setIsProcessing(true);
        m_status.cancelVisible = true;
        updateSelectedComputerStatus(false);
    });
}

void TaskThreads::incrementStatusProgress() {
    onMainThreadAndWait([this] {
        m_status.value = std::min(m_status.value + 1, m_status.maximum);
        Q_EMIT statusChanged();
    });
}

void TaskThreads::endStatusProgress() {
    post([this] {
        setIsProcessing(false);
        broadcast();
        endStatusDisplay();
    });
}

void TaskThreads::endStatusDisplay() {
    m_status.cancelVisible = false;
    m_status.running = false;
    updateSelectedComputerStatus(false);
}

void TaskThreads::showIndeterminateStatusProgress() {
    post([this] {
        m_status.indeterminate = true;
        m_status.running = true;
        m_status.cancelVisible = true;
        Q_EMIT statusChanged();
    });
}

void TaskThreads::cancelStatusProgress() {
    VLLog::appendLog(QStringLiteral("Status progress canceled"));
    setProcessingCancelled(true);
    endStatusProgress();
    cancelAllProgress();
}

void TaskThreads::cancelAllProgress() {
    cancelProgress();
    endStatusProgress();
    post([this] { m_environment.stopToolSpinners(); });
}

void TaskThreads::updateSelectedComputerStatus(bool refreshAfterwards) {
    post([this, refreshAfterwards] {
        const int count = m_environment.selectedServiceCount();
        if (count == 0 && m_status.text == QLatin1String(relaunchText)) return Q_EMIT statusChanged();
        if (m_isProcessing) {
            m_status.text =
                vlFormat(QStringLiteral("Processing tasks on %i computer%@"), count, plural(count));
        } else {
            m_status.running = false;
            m_status.cancelVisible = false;
            m_status.text = vlFormat(QStringLiteral("%i computer%@ selected"), count, plural(count));
        }
        Q_EMIT statusChanged();
        if (refreshAfterwards)
            QTimer::singleShot(refreshDelay, this, [this] { m_environment.autoRefreshData(); });
    });
}

void TaskThreads::setStatusText(const QString& text) {
    post([this, text] {
        m_status.text = text;
        Q_EMIT statusChanged();
    });
}

void TaskThreads::setStatusRemark(const QString& remark) {
    post([this, remark] {
        m_statusRemark = remark;
        Q_EMIT statusChanged();
    });
}

// ---- Progress sheet

void TaskThreads::startProgressForWindow(QObject* window) {
    onMainThreadAndWait([this, window] {
        m_progressHidden = false;
        setProcessingCancelled(false);
        beginRun();
        updateProgressStatus(QStringLiteral("Initializing..."));
        restartSheetBar(true);
        m_sheet.cancelEnabled = true;
        if (!m_sheet.visible) {
            m_sheet.visible = true;
            m_progressParentWindow = window;
        }
        setIsProcessing(true);
        Q_EMIT sheetChanged();
    });
}

void TaskThreads::endProgress() {
    onMainThreadAndWait([this] {
        m_progressHidden = false;
        setIsProcessing(false);
        m_sheet.running = false;
        m_sheet.visible = false;
        m_progressParentWindow.clear();
        broadcast();
        Q_EMIT sheetChanged();
    });
}

void TaskThreads::putProgressAway() {
    if (!m_sheet.visible) return;
    m_progressHidden = true;
    m_sheet.visible = false;
    Q_EMIT sheetChanged();
}

void TaskThreads::bringProgressBack() {
    if (!m_progressHidden.exchange(false)) return;
    m_sheet.visible = true;
    Q_EMIT sheetChanged();
}

void TaskThreads::updateProgressStatus(const QString& text) {
    VLLog::appendLog(QStringLiteral("Progress: %@"), text);
    onMainThreadAndWait([this, text] {
        m_sheet.text = text;
        Q_EMIT sheetChanged();
    });
}

void TaskThreads::restartSheetBar(bool indeterminate) {
    m_sheet.indeterminate = indeterminate;
    m_sheet.running = true;
}

void TaskThreads::progressBarSetIndeterminate() {
    onMainThreadAndWait([this] {
        restartSheetBar(true);
        Q_EMIT sheetChanged();
    });
}

void TaskThreads::progressBarSetMaxValue(double maximum) {
    onMainThreadAndWait([this, maximum] {
        m_sheet.maximum = maximum;
        m_sheet.value = 0;
        m_sheet.running = true;
        Q_EMIT sheetChanged();
    });
}

void TaskThreads::incrementProgress() {
    onMainThreadAndWait([this] {
        if (m_sheet.indeterminate) restartSheetBar(false);
        m_sheet.value = std::min(m_sheet.value + 1, m_sheet.maximum);
        if (m_sheet.value >= m_sheet.maximum) restartSheetBar(true);
        Q_EMIT sheetChanged();
    });
}

void TaskThreads::cancelProgress() {
    post([this] {
        m_sheet.cancelEnabled = false;
        updateProgressStatus(QStringLiteral("Canceling..."));
    });
    setProcessingCancelled(true);
    cancelTaskThreads();
}

void TaskThreads::updateTaskProgress(int number) {
    updateProgressStatus(
        vlFormat(QStringLiteral("Processing task %i of %i"), number, m_environment.selectedServiceCount()));
}
