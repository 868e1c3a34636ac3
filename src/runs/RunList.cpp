#include "runs/RunList.h"

#include "foundation/MainThread.h"
#include "foundation/VLUserDefaults.h"

#include <algorithm>

struct RunList::Shared {
    std::mutex mutex;
    int lastNumber = 0;
    QList<std::weak_ptr<Run>> active;
    QList<QString> redoOrder;
    QHash<QString, Redo> redos;
    QString userName;
    std::function<void(const RunRecord&)> keep;
    RunList* list = nullptr;  ///< main thread; null once it is gone
};

namespace {

int operationsInFlight() {
    const VLUserDefaults& defaults = VLUserDefaults::standardUserDefaults();
    const QString key = QLatin1String(RunList::inFlightKey);
    if (!defaults.objectForKey(key).isValid()) return RunList::usuallyInFlight;
    return static_cast<int>(
        std::clamp<qlonglong>(defaults.integerForKey(key), RunList::fewestInFlight, RunList::mostInFlight));
}

}  // namespace

RunList::RunList(QObject* parent) : QObject(parent), m_shared(std::make_shared<Shared>()) {
    m_shared->list = this;
}

RunList::~RunList() {
    m_shared->list = nullptr;
}

void RunList::keepRecords(const QString& userName, std::function<void(const RunRecord&)> keep) {
    const std::lock_guard lock(m_shared->mutex);
    m_shared->userName = userName;
    m_shared->keep = std::move(keep);
}

RunPtr RunList::begin(Run::Description description, QList<RemoteClientPtr> clients) {
    const auto tell = [](const std::shared_ptr<Shared>& shared, std::function<void(RunList&)> how) {
        onMainThread([shared, how = std::move(how)] {
            if (shared->list) how(*shared->list);
        });
    };
    const auto hasEnded = [shared = m_shared, tell](Run& run) {
        const bool isNamed = !run.description().action.isEmpty();
        RunRecord record = isNamed ? run.record() : RunRecord();
        std::function<void(const RunRecord&)> keep;
        {
            const std::lock_guard lock(shared->mutex);
            record.user = shared->userName;
            keep = shared->keep;
        }
        if (isNamed && keep) keep(record);
        {
            const std::lock_guard lock(shared->mutex);
            shared->active.removeIf([&](const std::weak_ptr<Run>& other) {
                const RunPtr present = other.lock();
                return !present || present.get() == &run;
            });
        }
        tell(shared, [record, isNamed](RunList& list) {
            if (isNamed) Q_EMIT list.ended(record);
            Q_EMIT list.changed();
        });
    };
    RunPtr run;
    {
        const std::lock_guard lock(m_shared->mutex);
        run = std::make_shared<Run>(++m_shared->lastNumber, std::move(description), std::move(clients),
                                    operationsInFlight(), hasEnded);
        m_shared->active.append(run);
    }
    tell(m_shared, [](RunList& list) { Q_EMIT list.changed(); });
    return run;
}

int RunList::lastNumber() const {
    const std::lock_guard lock(m_shared->mutex);
    return m_shared->lastNumber;
}

QList<RunPtr> RunList::active() const {
    QList<RunPtr> runs;
    const std::lock_guard lock(m_shared->mutex);
    for (const std::weak_ptr<Run>& weak : std::as_const(m_shared->active))
        if (const RunPtr run = weak.lock()) runs.append(run);
    return runs;
}

RunPtr RunList::active(int number) const {
    for (const RunPtr& run : active())
        if (run->number() == number) return run;
    return nullptr;
}

void RunList::cancelAll() {
    for (const RunPtr& run : active())
        run->cancel();
}

/// It is said before the operation is answered: a change that is being made there is what it is about. Else
/// it comes late, to the last change, or it is about whatever is asked.
QList<RunPtr> RunList::concernedBy(const QString& hostName) const {
    RunPtr lastChange;
    QList<RunPtr> readings;
    for (const RunPtr& run : active()) {
        if (run->hasTurnOn(hostName)) return {run};
        if (run->description().isChange && run->outcome(hostName)) lastChange = run;
        if (!run->description().isChange && run->isUnderWayOn(hostName)) readings.append(run);
    }
    return lastChange ? QList<RunPtr>{lastChange} : readings;
}

void RunList::noteReport(const QString& hostName, const Outcome& outcome) const {
    const QList<RunPtr> concerned = concernedBy(hostName);
    for (const RunPtr& run : concerned)
        run->note(hostName, outcome);
}

RunPtr RunList::workOn(const QString& hostName) const {
    if (const RunPtr here = Run::current()) return here;
    const QList<RunPtr> concerned = concernedBy(hostName);
    return concerned.isEmpty() ? nullptr : concerned.first();
}

void RunList::keepRedo(const Run& run, Redo redo) {
    const std::lock_guard lock(m_shared->mutex);
    m_shared->redos.insert(run.id(), std::move(redo));
    m_shared->redoOrder.append(run.id());
    if (m_shared->redoOrder.size() > mostRedos) m_shared->redos.remove(m_shared->redoOrder.takeFirst());
}

RunList::Redo RunList::redoOf(const QString& id) const {
    const std::lock_guard lock(m_shared->mutex);
    return m_shared->redos.value(id);
}
