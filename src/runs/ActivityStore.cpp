#include "runs/ActivityStore.h"

#include "base/VLLocalPaths.h"
#include "foundation/MainThread.h"
#include "foundation/VLThread.h"
#include "foundation/VLUserDefaults.h"
#include "logs/VLLog.h"
#include "runs/UndoData.h"

#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr std::size_t mostRuns = 1'000;    // that wait to be written
constexpr qint64 mostBytes = 256LL << 20;  // that they take
constexpr milliseconds firstPause{250}, longestPause{30'000};
constexpr milliseconds lookInterval{300};
constexpr std::chrono::hours pruneInterval{1};
constexpr int runsBetweenPruneSteps = 16;

/// A connection that is made when it is needed, and made anew when another file lies under the path.
class Connection {
public:
    explicit Connection(QString path) : m_path(std::move(path)) {}

    /// Runs `action` on the file. A file that proves damaged is put away, and the action repeated on a new
    /// one; any other failure is thrown, and the next use opens the file again.
    void use(const std::function<void(ActivityDatabase&)>& action) {
        for (bool isSecond : {false, true}) {
            try {
                if (m_database && m_database->isReplaced()) m_database.reset();
                if (!m_database) {
                    m_database = ActivityDatabase::open(m_path);
                    ++m_opened;
                }
                return action(*m_database);
            } catch (const ActivityError& error) {
                const auto database = std::move(m_database);
                const bool isDamaged = database && error.kind() == ActivityError::Kind::Damaged;
                if (!isDamaged || isSecond) throw;
                database->keepDamagedFile();
            }
        }
    }

    /// How often the file was opened: versions of the data are comparable within one opening.
    [[nodiscard]] int opened() const { return m_opened; }

private:
    const QString m_path;
    std::unique_ptr<ActivityDatabase> m_database;
    int m_opened = 0;
};

/// What a look at the file found.
using Look = std::pair<int, qint64>;

enum class Written { Kept, Rejected, NotNow };

/// About how much memory it takes.
qint64 bytesIn(const RunRecord& record) {
    qint64 bytes = sizeof(RunRecord);
    for (const HostOutcome& host : record.outcomes) {
        const qsizetype letters = host.hostName.size() + host.name.size() + host.outcome.reason.size();
        bytes += qint64(sizeof(HostOutcome)) + letters * qint64(sizeof(QChar));
        if (!host.undo.isEmpty()) bytes += UndoData::bytesIn(host.undo);
    }
    return bytes;
}

struct Waiting {
    std::shared_ptr<const RunRecord> run;
    qint64 bytes = 0;
};

}  // namespace

/// What the threads share. Everything below the mutex is guarded by it.
struct ActivityStore::State {
    const QString path;
    const std::function<ActivityLimits()> limits;
    const QPointer<ActivityStore> owner;  ///< for the main thread

    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Waiting> toWrite;
    qint64 waitingBytes = 0;
    quint64 added = 0, finished = 0, lost = 0;  ///< runs
    std::deque<Reading> toRead;
    QString problem;
    int watchers = 0;
    bool isWriting = false, isReading = false;  ///< the thread has been started
    bool isClosed = false;

    State(QString filePath, std::function<ActivityLimits()> fileLimits, ActivityStore* store)
        : path(std::move(filePath)), limits(std::move(fileLimits)), owner(store) {}

    void write();
    bool waitForWork(std::unique_lock<std::mutex>& lock, Clock::time_point pruneTime);
    Written tryToWrite(Connection& file, const RunRecord& record);
    bool tryToPrune(Connection& file);
    void finishFirst(bool isKept);
    void giveUp();
    void read();
    void waitForReading(std::unique_lock<std::mutex>& lock);
    void look(Connection& file, Look& last);
    void setProblem(const QString& text);
    void tell(void (ActivityStore::*signal)()) const;
};

void ActivityStore::State::tell(void (ActivityStore::*signal)()) const {
    onMainThread([store = owner, signal] {
        if (store) (store.data()->*signal)();
    });
}

/// One log line when it begins, and one when it is over.
void ActivityStore::State::setProblem(const QString& text) {
    {
        const std::lock_guard lock(mutex);
        if (problem == text) return;
        problem = text;
    }
    VLLog::appendLog(text.isEmpty() ? QStringLiteral("Activity is kept again.")
                                    : QStringLiteral("Unable to keep what was done - %1").arg(text));
    tell(&ActivityStore::problemChanged);
}

// MARK: The writing thread

/// False when all is done and the store was closed.
bool ActivityStore::State::waitForWork(std::unique_lock<std::mutex>& lock, Clock::time_point pruneTime) {
    changed.wait_until(lock, pruneTime, [this] { return isClosed || !toWrite.empty(); });
    return !isClosed || !toWrite.empty();
}

void ActivityStore::State::finishFirst(bool isKept) {
    const std::lock_guard lock(mutex);
    waitingBytes -= toWrite.front().bytes;
    toWrite.pop_front();
    ++finished;
    if (!isKept) ++lost;
    changed.notify_all();
}

Written ActivityStore::State::tryToWrite(Connection& file, const RunRecord& record) {
    try {
        file.use([&](ActivityDatabase& database) { database.insert(record); });
        setProblem({});
        return Written::Kept;
    } catch (const ActivityError& error) {
        if (error.kind() != ActivityError::Kind::Rejected) {
            setProblem(error.text());
            return Written::NotNow;
        }
        VLLog::appendLog(QStringLiteral("\"%@\" was done, but cannot be kept - %@"), record.action,
                         error.text());
        return Written::Rejected;
    }
}

/// True when there is more to prune.
bool ActivityStore::State::tryToPrune(Connection& file) {
    bool hasMore = false;
    try {
        file.use([&](ActivityDatabase& database) { hasMore = database.prune(limits()); });
        setProblem({});
    } catch (const ActivityError& error) {
        if (error.kind() != ActivityError::Kind::Busy) setProblem(error.text());
    }
    return hasMore;
}

void ActivityStore::State::giveUp() {
    std::size_t count = 0;
    for (std::unique_lock lock(mutex); !toWrite.empty(); lock.lock(), ++count) {
        lock.unlock();
        finishFirst(false);
    }
    VLLog::appendLog(QStringLiteral("%i runs could not be kept before the end"), int(count));
}

void ActivityStore::State::write() {
    Connection file(path);
    milliseconds pause = firstPause;
    Clock::time_point pruneTime = Clock::now();  // what has become too old since the last run of the program
    int sincePruning = 0;
    std::unique_lock lock(mutex);
    while (waitForWork(lock, pruneTime)) {
        const auto record = toWrite.empty() ? nullptr : toWrite.front().run;
        const bool isLast = isClosed;
        lock.unlock();
        const Written written = record ? tryToWrite(file, *record) : Written::Kept;
        const bool isDone = written != Written::NotNow;
        if (record && isDone) finishFirst(written == Written::Kept);
        if (!isDone && isLast) giveUp();
        if (isDone && (!record || ++sincePruning >= runsBetweenPruneSteps)) {
            sincePruning = 0;
            pruneTime = tryToPrune(file) ? Clock::now() : Clock::now() + pruneInterval;
        }
        lock.lock();
        if (isDone) {
            pause = firstPause;
            continue;
        }
        changed.wait_for(lock, pause, [this] { return isClosed; });
        pause = std::min(pause * 2, longestPause);
    }
}

// MARK: The reading thread

void ActivityStore::State::look(Connection& file, Look& last) {
    Look now = last;
    try {
        file.use([&](ActivityDatabase& database) { now = {file.opened(), database.version()}; });
    } catch (const ActivityError&) {
        return;  // whoever reads will hear of it
    }
    if (std::exchange(last, now) != now) tell(&ActivityStore::changed);
}

void ActivityStore::State::waitForReading(std::unique_lock<std::mutex>& lock) {
    const auto hasWork = [this] { return isClosed || !toRead.empty(); };
    if (watchers > 0)
        changed.wait_for(lock, lookInterval, hasWork);
    else
        changed.wait(lock, [&] { return hasWork() || watchers > 0; });
}

void ActivityStore::State::read() {
    Connection file(path);
    Look last{};
    std::unique_lock lock(mutex);
    for (;;) {
        waitForReading(lock);
        if (isClosed) return;
        const bool looks = watchers > 0;
        std::deque<Reading> readings;
        readings.swap(toRead);
        lock.unlock();
        if (looks) look(file, last);
        for (Reading& reading : readings) {
            QString error;
            try {
                file.use(reading.query);
            } catch (const ActivityError& failure) {
                error = failure.text();
            }
            reading.query = nullptr;
            onMainThread([finish = std::move(reading.finish), error] { finish(error); });
        }
        lock.lock();
    }
}

// MARK: The store

ActivityStore::ActivityStore(const QString& path, std::function<ActivityLimits()> limits, QObject* parent)
    : QObject(parent), m_state(std::make_shared<State>(path, std::move(limits), this)) {
    startWriting();
}

ActivityStore::~ActivityStore() {
    close();
}

QString ActivityStore::defaultPath() {
    return VLLocalPaths::libraryDirectory(::geteuid() != 0) + QStringLiteral("/Activity/activity.sqlite");
}

ActivityLimits ActivityStore::storedLimits() {
    const VLUserDefaults& defaults = VLUserDefaults::standardUserDefaults();
    const auto bounded = [&](const QString& key, qlonglong most) {
        return std::clamp(defaults.integerForKey(key), qlonglong(1), most);
    };
    ActivityLimits limits;
    limits.days = int(bounded(QStringLiteral("activityDays"), mostDays));
    limits.bytes = bounded(QStringLiteral("activityMegabytes"), mostMegabytes) << 20;
    return limits;
}

const QString& ActivityStore::path() const {
    return m_state->path;
}

void ActivityStore::add(RunRecord record) {
    const auto run = std::make_shared<const RunRecord>(std::move(record));
    const qint64 bytes = bytesIn(*run);
    State& state = *m_state;
    bool isLost = false;
    {
        const std::lock_guard lock(state.mutex);
        isLost = state.isClosed || state.toWrite.size() >= mostRuns ||
                 (!state.toWrite.empty() && state.waitingBytes + bytes > mostBytes);
        if (!isLost) {
            state.toWrite.push_back({run, bytes});
            state.waitingBytes += bytes;
            ++state.added;
            state.changed.notify_all();
        } else {
            ++state.lost;
        }
    }
    if (isLost)
        VLLog::appendLog(QStringLiteral("\"%@\" was done, but there is no room to keep it"), run->action);
    startWriting();
}

/// Unless the thread runs already.
void ActivityStore::startWriting() {
    {
        const std::lock_guard lock(m_state->mutex);
        if (m_state->isClosed || std::exchange(m_state->isWriting, true)) return;
    }
    if (VLThread::detach(QStringLiteral("activity"), [shared = m_state] { shared->write(); })) return;
    const std::lock_guard lock(m_state->mutex);
    m_state->isWriting = false;  // the next run tries again
}

bool ActivityStore::flush(milliseconds limit) {
    std::unique_lock lock(m_state->mutex);
    const quint64 last = m_state->added, lost = m_state->lost;
    return m_state->changed.wait_for(lock, limit, [&] { return m_state->finished >= last; }) &&
           m_state->lost == lost;
}

void ActivityStore::close() {
    const std::lock_guard lock(m_state->mutex);
    m_state->isClosed = true;
    m_state->changed.notify_all();
}

QString ActivityStore::problem() const {
    const std::lock_guard lock(m_state->mutex);
    return m_state->problem;
}

void ActivityStore::startReading(Reading reading) {
    changeReading([&](State& state) { state.toRead.push_back(std::move(reading)); });
}

void ActivityStore::startWatching() {
    changeReading([](State& state) { ++state.watchers; });
}

/// Starts the reading thread where it does not run yet.
void ActivityStore::changeReading(const std::function<void(State&)>& change) {
    bool starts = false;
    {
        const std::lock_guard lock(m_state->mutex);
        if (m_state->isClosed) return;
        change(*m_state);
        starts = !std::exchange(m_state->isReading, true);
        m_state->changed.notify_all();
    }
    if (!starts ||
        VLThread::detach(QStringLiteral("activity reader"), [shared = m_state] { shared->read(); }))
        return;
    const std::lock_guard lock(m_state->mutex);
    m_state->isReading = false;  // the next reading tries again
}

void ActivityStore::stopWatching() {
    const std::lock_guard lock(m_state->mutex);
    --m_state->watchers;
}
