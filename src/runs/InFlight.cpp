#include "runs/InFlight.h"

#include "foundation/VLThread.h"
#include "system/VLException.h"

#include <algorithm>
#include <deque>

namespace {

constexpr int fewThreads = 2;
constexpr std::size_t longestLine = 64;
constexpr std::chrono::microseconds shortestLook{400}, longestLook{10'000};

}  // namespace

struct InFlight::State {
    std::mutex mutex;
    std::condition_variable given;    ///< something is in line, or nothing more will come: for the threads
    std::condition_variable changed;  ///< for the owner
    std::deque<Job> line;
    int threads = 0;         ///< that look for work, or do it
    int waitingThreads = 0;  ///< of those, without anything in line
    int underWay = 0, ended = 0;
    bool isOver = false;  ///< nothing more will come

    [[nodiscard]] bool isDone() const { return line.empty() && underWay == 0; }
};

InFlight::InFlight(RunPtr run, QString name)
    : m_run(std::move(run)),
      m_name(std::move(name)),
      m_state(std::make_shared<State>()),
      m_untilNextLook(shortestLook) {}

InFlight::~InFlight() {
    wait();
    const std::lock_guard lock(m_state->mutex);
    m_state->isOver = true;
    m_state->given.notify_all();
}

bool InFlight::enqueue(const RemoteClientPtr& client, Work& work) {
    int missing = 0;
    {
        const std::lock_guard lock(m_state->mutex);
        if (m_state->line.size() >= longestLine) return false;
        m_state->line.push_back({client, std::move(work)});
        m_state->given.notify_one();
        missing = m_state->threads < fewThreads && m_state->waitingThreads == 0 ? 1 : 0;
    }
    startThreads(missing);
    return true;
}

bool InFlight::start(const RemoteClientPtr& client, Work work) {
    while (!m_run->isCancelled()) {
        if (enqueue(client, work)) return true;
        waitForChange(endedCount());
    }
    return false;
}

bool InFlight::hasRoom() const {
    const std::lock_guard lock(m_state->mutex);
    return m_state->line.size() < longestLine;
}

void InFlight::startThreads(int count) {
    for (int i = 0; i < count; ++i) {
        {
            const std::lock_guard lock(m_state->mutex);
            ++m_state->threads;
        }
        if (VLThread::detach(m_name, [state = m_state, run = m_run] { workLine(state, run); })) continue;
        // The program quits, or there is no thread to be had: without any nothing in line is ever worked.
        const std::lock_guard lock(m_state->mutex);
        if (--m_state->threads == 0) {
            m_state->ended += static_cast<int>(m_state->line.size());
            m_state->line.clear();
        }
    }
}

void InFlight::lookForMore() {
    int more = 0;
    const bool hasFreePlace = m_run->hasFreePlace();
    {
        const std::lock_guard lock(m_state->mutex);
        const bool isStuck = m_state->ended == std::exchange(m_endedAtLastLook, m_state->ended);
        m_untilNextLook = isStuck ? std::min(m_untilNextLook * 2, longestLook) : shortestLook;
        if (isStuck && hasFreePlace && !m_state->line.empty() && m_state->waitingThreads == 0)
            more = std::min({m_state->threads, m_run->mostInFlight() - m_state->threads,
                             static_cast<int>(m_state->line.size())});
    }
    startThreads(more);
}

/// One thread: takes what is next in line, for as long as something comes.
void InFlight::workLine(const std::shared_ptr<State>& state, const RunPtr& run) {
    const Run::Hold hold(run);
    std::unique_lock lock(state->mutex);
    for (;;) {
        ++state->waitingThreads;
        state->given.wait(lock, [&] { return !state->line.empty() || state->isOver; });
        --state->waitingThreads;
        if (state->line.empty()) break;
        Job job = std::move(state->line.front());
        state->line.pop_front();
        ++state->underWay;
        const int number = run->drawNumber();  // under the lock: in the order of the line
        lock.unlock();
        Run::PlacePtr place = run->takePlace(job.client, number);
        perform(std::move(job), std::move(place));
        lock.lock();
        --state->underWay;
        ++state->ended;
        // While others are in line the owner looks by itself every now and then: a wake-up for each costs
        // more than it brings.
        if (state->line.empty()) state->changed.notify_one();
    }
    --state->threads;
}

/// Without a place, because the run was cancelled, the job is only let go of.
void InFlight::perform(Job job, Run::PlacePtr place) {
    if (!place) return;
    const RunPtr run = place->run();
    const RunScope scope(run, std::move(place));
    try {
        job.work();
    } catch (const std::exception& exception) {
        VLException::logException(exception, "InFlight");
        run->note(*job.client, {Outcome::Failed, QString::fromUtf8(exception.what())});
    }
}

void InFlight::wait() {
    for (;;) {
        {
            std::unique_lock lock(m_state->mutex);
            const auto isDone = [this] { return m_state->isDone(); };
            if (m_state->line.empty()) return m_state->changed.wait(lock, isDone);
            if (m_state->changed.wait_for(lock, m_untilNextLook, isDone)) return;
        }
        lookForMore();
    }
}

void InFlight::waitForChange(int endedBefore) {
    {
        std::unique_lock lock(m_state->mutex);
        const auto hasChanged = [&] { return m_state->ended != endedBefore; };
        if (m_state->line.empty())
            m_state->changed.wait_for(lock, longestLook, hasChanged);
        else
            m_state->changed.wait_for(lock, m_untilNextLook);
    }
    lookForMore();
}

int InFlight::endedCount() const {
    const std::lock_guard lock(m_state->mutex);
    return m_state->ended;
}
