#include "app/TaskThreads.h"

#include "foundation/MainThread.h"
#include "foundation/VLCallLock.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"

#include <QTimer>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <numeric>
#include <utility>

namespace {

constexpr std::chrono::milliseconds refreshDelay{1500};
constexpr std::chrono::milliseconds lookAgain{500};
constexpr std::chrono::milliseconds gatherTime{30};  ///< of the steps of the bar
constexpr auto relaunchText = "Waiting for clients to relaunch...";

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

int TaskThreads::Counting::total() const {
    return std::accumulate(counts.begin(), counts.end(), 0,
                           [](int sum, const Count& count) { return sum + count.units; });
}

/// The run that this thread works for; 0 for none.
int TaskThreads::runHere() {
    const RunPtr run = Run::current();
    return run ? run->number() : 0;
}

int TaskThreads::taskThreadCount() const {
    const std::lock_guard lock(m_countingMutex);
    return m_counting.total();
}

void TaskThreads::setTaskThreadCount(int count) {
    const std::lock_guard lock(m_countingMutex);
    m_counting.counts.clear();
    m_counting.counts.insert(0, {count, ++m_counting.lastToken});
}

int TaskThreads::incrementTaskThreadCount() {
    const std::lock_guard lock(m_countingMutex);
    Count& count = m_counting.counts[runHere()];
    if (count.token == 0) count.token = ++m_counting.lastToken;
    ++count.units;
    VLLog::appendLog(QStringLiteral("Task threads: %i"), m_counting.total());
    return count.token;
}

void TaskThreads::decrementTaskThreadCount() {
    const int run = runHere();
    {
        const std::lock_guard lock(m_countingMutex);
        Count& count = m_counting.counts[run];
        --count.units;
        VLLog::appendLog(QStringLiteral("Task threads: %i"), m_counting.total());
        if (count.units > 0) return;
    }
    countedOut(run);
}

void TaskThreads::decrementTaskThreadCount(int counting) {
    int run = 0;
    {
        const std::lock_guard lock(m_countingMutex);
        const auto found = std::find_if(m_counting.counts.begin(), m_counting.counts.end(),
                                        [&](const Count& count) { return count.token == counting; });
        if (found == m_counting.counts.end()) return;
        --found->units;
        VLLog::appendLog(QStringLiteral("Task threads: %i"), m_counting.total());
        if (found->units > 0) return;
        run = found.key();
    }
    countedOut(run);
}

/// Agents may say so whenever they like, and as often: it can end nothing but what is counted or shown
/// outside of any run.
void TaskThreads::remoteTaskFinished() {
    {
        const std::lock_guard lock(m_countingMutex);
        if (m_counting.counts.value(0).units <= 0 && !m_counting.parts.contains(0)) return;
    }
    decrementTaskThreadCount();
}

void TaskThreads::countedOut(int run) {
    const VLCallLock lock;
    {
        const std::lock_guard guard(m_countingMutex);
        m_counting.counts.remove(run);
    }
    endPart(run, !m_isInstallingUpdate);
}

void TaskThreads::cancelTaskThreads() {
    const VLCallLock lock;
    QList<int> runs;
    {
        const std::lock_guard guard(m_countingMutex);
        m_counting.counts.clear();
        runs = m_counting.parts.keys();
    }
    for (const int run : std::as_const(runs))
        endPart(run, !m_isInstallingUpdate);
    setIsProcessing(false);
    broadcast();
    if (m_isInstallingUpdate) return;
    onMainThread([this, alive = std::weak_ptr(m_alive)] {
        if (!alive.expired() && m_bars.isEmpty()) endStatusDisplay();
    });
}

void TaskThreads::setProcessingCancelled(bool cancelled) {
    m_processingCancelled = cancelled;
    if (!cancelled) return;
    const std::lock_guard lock(m_countingMutex);
    m_counting.lastCancelledRun = m_runs.lastNumber();
    m_runs.cancelAll();
}

void TaskThreads::beginUnnamed() {
    static_cast<void>(m_runs.begin({}, {}));
}

bool TaskThreads::isCancelledSince(int begun) const {
    if (const RunPtr here = Run::current()) return here->isCancelled();
    const std::lock_guard lock(m_countingMutex);
    return begun <= m_counting.lastCancelledRun;
}

// ---- Processing

bool TaskThreads::isProcessingPart(int run) const {
    const std::lock_guard lock(m_countingMutex);
    return m_counting.parts.contains(run);
}

int TaskThreads::startPart(int run) {
    int start = 0;
    {
        const std::lock_guard lock(m_countingMutex);
        start = ++m_counting.lastStart;
        m_counting.parts.insert(run, start);
        m_isProcessing = true;
    }
    post([this] { reportProcessing(); });
    return start;
}

/// From the moment its part ends, whoever waited for the run may go on to the next display, which the end of
/// this one's may not reach any more.
void TaskThreads::endPart(int run, bool withBar) {
    int start = 0;
    {
        const std::lock_guard lock(m_countingMutex);
        start = m_counting.parts.take(run);
        if (m_counting.parts.isEmpty()) m_isProcessing = false;
    }
    post([this] { reportProcessing(); });
    broadcast();
    if (!withBar) return;
    onMainThread([this, run, start, alive = std::weak_ptr(m_alive)] {
        if (!alive.expired()) removeBar(run, start);
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
    const int run = runHere();
    const int begun = m_runs.lastNumber();
    const auto condition = std::make_shared<Condition>();
    m_condition.set(condition);
    std::unique_lock lock(condition->mutex);
    // A waiter whose condition another one has replaced gets no broadcast; it looks for itself. The next run
    // may have started before it does.
    while (isProcessingPart(run) && !m_processingCancelled && !isCancelledSince(begun) &&
           !VLThread::isCancelled())
        condition->changed.wait_for(lock, lookAgain);
}

void TaskThreads::abandon() {
    setProcessingCancelled(true);
    {
        const std::lock_guard lock(m_countingMutex);
        m_counting.parts.clear();
    }
    setTaskThreadCount(0);
    setIsProcessing(false);
    broadcast();
}

// ---- Status bar

void TaskThreads::startStatusProgress() {
    const RunPtr run = Run::current();
    if (!run) beginUnnamed();
    onMainThreadAndWait([this, run] {
        const qsizetype clients = run ? run->clients().size() : 0;
        const double count = clients > 0 ? double(clients) : m_environment.selectedServiceCount();
        m_processingCancelled = false;
        const int number = run ? run->number() : 0;
        m_bars.insert(number, {startPart(number), 0, count, count <= 1});
        showBars();
        updateSelectedComputerStatus(false);
    });
}

void TaskThreads::incrementStatusProgress() {
    {
        const std::lock_guard lock(m_stepsMutex);
        const bool isUnderWay = !m_steps.isEmpty();
        ++m_steps[runHere()];
        if (isUnderWay) return;
    }
    if (MainThread::isCurrent()) return takeSteps();
    post([this] { QTimer::singleShot(gatherTime, this, [this] { takeSteps(); }); });
}

/// Many clients may be done with in one turn of the event loop.
void TaskThreads::takeSteps() {
    QHash<int, int> steps;
    {
        const std::lock_guard lock(m_stepsMutex);
        steps.swap(m_steps);
    }
    for (auto step = steps.cbegin(); step != steps.cend(); ++step) {
        const auto bar = m_bars.find(step.key());
        if (bar != m_bars.end()) bar->value = std::min(bar->value + *step, bar->maximum);
    }
    showBars();
    Q_EMIT statusChanged();
}

void TaskThreads::endStatusProgress() {
    const int run = runHere();
    post([this, run] {
        int start = 0;
        {
            const std::lock_guard lock(m_countingMutex);
            start = m_counting.parts.value(run);
        }
        endPart(run, false);
        removeBar(run, start);
    });
}

void TaskThreads::removeBar(int run, int start) {
    const auto bar = m_bars.find(run);
    if (bar != m_bars.end() && (start == 0 || bar->start == start)) m_bars.erase(bar);
    if (m_bars.isEmpty()) return endStatusDisplay();
    showBars();
    updateSelectedComputerStatus(false);
}

/// One bar for all: the steps of all runs that show.
void TaskThreads::showBars() {
    if (m_bars.isEmpty()) return;
    m_status.value = m_status.maximum = 0;
    m_status.indeterminate = true;
    for (const Bar& bar : std::as_const(m_bars)) {
        m_status.value += bar.value;
        m_status.maximum += bar.maximum;
        m_status.indeterminate = m_status.indeterminate && bar.indeterminate;
    }
    m_status.running = m_status.cancelVisible = true;
}

void TaskThreads::endStatusDisplay() {
    m_status.cancelVisible = false;
    m_status.running = false;
    updateSelectedComputerStatus(false);
}

void TaskThreads::showIndeterminateStatusProgress() {
    post([this, run = runHere()] {
        m_bars[run].indeterminate = true;
        showBars();
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
            m_status.text = vlFormat(
                count == 1 ? tr("Processing tasks on %i computer") : tr("Processing tasks on %i computers"),
                count);
        } else {
            m_status.running = false;
            m_status.cancelVisible = false;
            m_status.text =
                vlFormat(count == 1 ? tr("%i computer selected") : tr("%i computers selected"), count);
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

// ---- Progress sheet

/// The sheet shows one run; the others' wait behind it with what they have to show.
SheetProgress& TaskThreads::sheetOf(int run) {
    const auto other = m_otherSheets.find(run);
    return other != m_otherSheets.end() ? *other : m_sheet;
}

void TaskThreads::startProgressForWindow(QObject* window) {
    const int run = runHere();
    if (run == 0) beginUnnamed();
    onMainThreadAndWait([this, window, run] {
        const bool isOthers = m_sheet.visible || m_progressHidden;
        if (isOthers && run != m_sheetRun && isProcessingPart(m_sheetRun))
            m_otherSheets.insert(m_sheetRun, m_sheet);
        m_otherSheets.remove(run);
        m_progressHidden = false;
        m_processingCancelled = false;
        m_sheetRun = run;
        updateProgressStatus(tr("Initializing..."));
        restartBar(m_sheet, true);
        m_sheet.cancelEnabled = true;
        if (!m_sheet.visible) {
            m_sheet.visible = true;
            m_progressParentWindow = window;
        }
        static_cast<void>(startPart(run));
        Q_EMIT sheetChanged();
    });
}

void TaskThreads::endProgress() {
    onMainThreadAndWait([this, run = runHere()] {
        endPart(run, false);
        if (m_otherSheets.remove(run) > 0) return;
        if (m_sheet.visible && run != m_sheetRun && isProcessingPart(m_sheetRun)) return;  // another's
        if (showNextSheet()) return Q_EMIT sheetChanged();
        m_progressHidden = false;
        m_sheet.running = false;
        m_sheet.visible = false;
        m_progressParentWindow.clear();
        Q_EMIT sheetChanged();
    });
}

/// That of the run which began last; as visible as the one before it.
bool TaskThreads::showNextSheet() {
    while (!m_otherSheets.isEmpty()) {
        const int run = m_otherSheets.lastKey();
        SheetProgress next = m_otherSheets.take(run);
        if (!isProcessingPart(run)) continue;
        next.visible = m_sheet.visible;
        m_sheet = next;
        m_sheetRun = run;
        return true;
    }
    return false;
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
    onMainThreadAndWait([this, text, run = runHere()] {
        sheetOf(run).text = text;
        Q_EMIT sheetChanged();
    });
}

void TaskThreads::restartBar(SheetProgress& sheet, bool indeterminate) {
    sheet.indeterminate = indeterminate;
    sheet.running = true;
}

void TaskThreads::progressBarSetIndeterminate() {
    onMainThreadAndWait([this, run = runHere()] {
        restartBar(sheetOf(run), true);
        Q_EMIT sheetChanged();
    });
}

void TaskThreads::progressBarSetMaxValue(double maximum) {
    onMainThreadAndWait([this, maximum, run = runHere()] {
        SheetProgress& sheet = sheetOf(run);
        sheet.maximum = maximum;
        sheet.value = 0;
        sheet.running = true;
        Q_EMIT sheetChanged();
    });
}

void TaskThreads::incrementProgress() {
    onMainThreadAndWait([this, run = runHere()] {
        SheetProgress& sheet = sheetOf(run);
        if (sheet.indeterminate) restartBar(sheet, false);
        sheet.value = std::min(sheet.value + 1, sheet.maximum);
        if (sheet.value >= sheet.maximum) restartBar(sheet, true);
        Q_EMIT sheetChanged();
    });
}

void TaskThreads::cancelProgress() {
    post([this] {
        m_sheet.cancelEnabled = false;
        updateProgressStatus(tr("Canceling..."));
    });
    setProcessingCancelled(true);
    cancelTaskThreads();
}

void TaskThreads::updateTaskProgress(int number) {
    updateProgressStatus(
        vlFormat(tr("Processing task %i of %i"), number, m_environment.selectedServiceCount()));
}
