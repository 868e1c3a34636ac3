#include "agent/cronwell/CronwellService.h"

#include "agent/AgentContext.h"
#include "agent/cronwell/FormerJobs.h"
#include "agent/cronwell/LaunchJobs.h"
#include "agent/cronwell/OfferedTasks.h"
#include "agent/dispatch/OperationTable.h"
#include "system/VLException.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <optional>

namespace {

using VLCorvalinServerProtocol::accepts;
using VLCorvalinServerProtocol::integerValue;
using VLCorvalinServerProtocol::Type;

[[noreturn]] void refuse(const QString& reason) {
    throw VLException(VLException::refused, reason);
}

/// The settings of a task as a console sends them.
class Settings {
public:
    explicit Settings(const QVariant& values) : m_values(values.toMap()) {
        if (values.typeId() != QMetaType::QVariantMap)
            refuse(QStringLiteral("The task's settings are missing."));
    }

    [[nodiscard]] bool contains(const char* key) const { return m_values.contains(QLatin1String(key)); }
    [[nodiscard]] QString text(const char* key) const {
        const QVariant value = m_values.value(QLatin1String(key));
        if (value.typeId() != QMetaType::QString || value.toString().isEmpty()) wrong(key, "text");
        return value.toString();
    }
    [[nodiscard]] bool flag(const char* key) const {
        const QVariant value = m_values.value(QLatin1String(key));
        if (!accepts(Type::Number, value)) wrong(key, "number");
        return integerValue(value) != 0;
    }
    /// The console takes a change back: the task is to be again what it was in its file.
    [[nodiscard]] bool isFormer() const { return contains("former") && flag("former"); }
    [[nodiscard]] TaskSchedule schedule() const {
        const bool isOneThatCannotBeSaid = text("scheduletype") == QString::number(TaskSchedule::Unknown);
        if (isFormer() && isOneThatCannotBeSaid) return {};
        QString problem;
        const auto schedule =
            TaskSchedule::fromValue(text("scheduletype").toLongLong(),
                                    contains("intervalval") ? text("intervalval") : QString(), &problem);
        if (!schedule) refuse(problem);
        return *schedule;
    }

private:
    [[noreturn]] static void wrong(const char* key, const char* kind) {
        refuse(QStringLiteral("The task's setting “%1” is missing or no %2.")
                   .arg(QLatin1String(key), QLatin1String(kind)));
    }
    const QVariantMap m_values;
};

/// The operations of one agent. One change is made at a time; reading is not held up by it, for every file is
/// replaced whole. What this computer cannot do as it is asked is refused (see AgentRoot); missing rights and
/// a disk that does not take a change are failures.
class CronwellService {
public:
    explicit CronwellService(AgentContext& agent) : m_agent(agent) {}

    [[nodiscard]] QVariantMap tasks() const {
        QVariantMap answer;
        const QList<LaunchJobs::Entry> entries = jobs().all();
        for (const auto& entry : entries)
            answer.insert(entry.fileName, entry.job.description(entry.isRoot));
        return answer;
    }

    void add(const OperationCall& call) {
        const Settings settings(object(call, "obj1"));
        const TaskSchedule schedule = settings.schedule();
        const QString bundleID = settings.text("bundleid"), taskID = settings.text("taskid");
        const bool isEnabled = settings.flag("enabled");
        // A console that fills in what is missing has only the way that it sends it by to say who runs it,
        // and may not know that the task is there by now.
        const bool fillsIn = !settings.contains("root");
        const bool isRoot = fillsIn ? call.arguments.at(0).isValid() : settings.flag("root");
        if (isRoot) requireAdministrator(call);

        if (settings.isFormer() && putBack(call, settings, isRoot)) return;
        requireKnown(schedule);
        const OfferedTask task = offered(bundleID, taskID);
        const std::lock_guard lock(m_mutex);
        auto entry = matching(task, isRoot, fillsIn ? std::nullopt : std::optional(schedule));
        if (!entry) {
            const QString label = jobs().freeLabel(task);
            entry = {label + QStringLiteral(".plist"), isRoot, LaunchJob::make(label, task)};
        }
        // It may still have the words of an older version of the application.
        if (entry->job.task() != task) entry->job.setTask(task);
        entry->job.setSchedule(schedule);
        entry->job.setEnabled(isEnabled);
        write(*entry);
        log(call, QStringLiteral("Scheduled task %@: %@"), entry->fileName, schedule.description());
    }

    void edit(const OperationCall& call) {
        const Settings settings(object(call, "obj1"));
        const TaskSchedule schedule = settings.schedule();
        const QString bundleID = settings.text("bundleid"), taskID = settings.text("taskid");
        const bool isEnabled = settings.flag("enabled");
        change(call, settings.text("filename"), [&](LaunchJobs::Entry& entry) {
            if (settings.isFormer()) {
                if (auto job = former(settings, entry.fileName, entry.isRoot)) {
                    write({entry.fileName, entry.isRoot, *std::move(job)});
                    return log(call, QStringLiteral("Put back task %@"), entry.fileName);
                }
            }
            requireKnown(schedule);
            // The application may be gone: a job that keeps its task can be changed all the same.
            if (const OfferedTask task = entry.job.task(); task.bundleID != bundleID || task.id != taskID)
                entry.job.setTask(offered(bundleID, taskID));
            entry.job.setSchedule(schedule);
            entry.job.setEnabled(isEnabled);
            write(entry);
            log(call, QStringLiteral("Changed task %@: %@"), entry.fileName, schedule.description());
        });
    }

    void enable(const OperationCall& call) {
        const Settings settings(object(call, "obj1"));
        const bool isEnabled = settings.flag("enabled");
        if (!settings.contains("filename")) return enableAll(call, isEnabled);
        change(call, settings.text("filename"),
               [&](LaunchJobs::Entry& entry) { setEnabled(call, entry, isEnabled); });
    }

    void remove(const OperationCall& call) {
        // The plain form carries the name as the second object, the authorised one as the first.
        const QVariant second = object(call, "obj2");
        const QVariant name = second.isValid() ? second : object(call, "obj1");
        if (name.typeId() != QMetaType::QString) refuse(QStringLiteral("The task's file name is missing."));
        change(call, name.toString(), [&](LaunchJobs::Entry& entry) {
            keepFormer(entry);
            jobs().remove(entry);
            log(call, QStringLiteral("Removed task %@"), entry.fileName);
        });
    }

private:
    [[nodiscard]] LaunchJobs jobs() const { return {m_agent.tree, m_agent.consoleUser()}; }
    [[nodiscard]] FormerJobs formerJobs() const {
        return {m_agent.settings.stateDirectory, m_agent.consoleUser()};
    }

    void keepFormer(const LaunchJobs::Entry& entry) const {
        const QByteArray content = jobs().content(entry);
        if (!content.isEmpty()) formerJobs().keep(entry.fileName, entry.isRoot, content);
    }
    void write(const LaunchJobs::Entry& entry) const {
        keepFormer(entry);
        jobs().write(entry);
    }

    static void requireKnown(const TaskSchedule& schedule) {
        if (const QString problem = schedule.problem(); !problem.isEmpty()) refuse(problem);
    }

    /// What the file held when the task was as the settings say.
    [[nodiscard]] std::optional<LaunchJob> former(const Settings& settings, const QString& fileName,
                                                  bool isRoot) const {
        auto job = formerJobs().find(fileName, isRoot, settings.text("bundleid"), settings.text("taskid"),
                                     settings.schedule());
        const bool isEnabled = settings.flag("enabled");
        if (job && job->isEnabled() != isEnabled) job->setEnabled(isEnabled);
        return job;
    }

    /// A removed task comes back under its own name. False when it is not known any more, or the name is
    /// another's by now.
    [[nodiscard]] bool putBack(const OperationCall& call, const Settings& settings, bool isRoot) {
        const QString fileName = settings.text("filename");
        const std::lock_guard lock(m_mutex);
        if (!LaunchJobs::isFileName(fileName) || jobs().isTaken(fileName)) return false;
        auto job = former(settings, fileName, isRoot);
        if (!job) return false;
        jobs().write({fileName, isRoot, *std::move(job)});
        log(call, QStringLiteral("Put back task %@"), fileName);
        return true;
    }

    [[nodiscard]] static QVariant object(const OperationCall& call, const char* key) {
        return call.arguments.at(1).toMap().value(QLatin1String(key));
    }

    void requireAdministrator(const OperationCall& call) {
        m_agent.administrators.requireAdministrator(call.peer, call.arguments.at(0));
    }

    /// Changes one job, once the console has shown that it may. That is checked without the lock: it can take
    /// seconds, for which other consoles must not wait.
    template <typename Change>
    void change(const OperationCall& call, const QString& fileName, const Change& change) {
        const bool isRoot = jobs().require(fileName).isRoot;
        if (isRoot) requireAdministrator(call);
        const std::lock_guard lock(m_mutex);
        LaunchJobs::Entry entry = jobs().require(fileName);
        if (entry.isRoot && !isRoot) changedMeanwhile();
        change(entry);
    }

    /// All of them or, without the rights that one of them needs, none.
    void enableAll(const OperationCall& call, bool isEnabled) {
        const auto toChange = [&] {
            QList<LaunchJobs::Entry> entries = jobs().all();
            entries.removeIf([&](const auto& entry) { return entry.job.isEnabled() == isEnabled; });
            return entries;
        };
        const auto anyRoot = [](const QList<LaunchJobs::Entry>& entries) {
            return std::any_of(entries.cbegin(), entries.cend(),
                               [](const auto& entry) { return entry.isRoot; });
        };
        const bool needsRights = anyRoot(toChange());
        if (needsRights) requireAdministrator(call);
        const std::lock_guard lock(m_mutex);
        QList<LaunchJobs::Entry> entries = toChange();
        if (anyRoot(entries) && !needsRights) changedMeanwhile();
        for (LaunchJobs::Entry& entry : entries)
            setEnabled(call, entry, isEnabled);
    }

    void setEnabled(const OperationCall& call, LaunchJobs::Entry& entry, bool isEnabled) {
        if (entry.job.isEnabled() == isEnabled) return;
        entry.job.setEnabled(isEnabled);
        jobs().write(entry);
        log(call, isEnabled ? QStringLiteral("Enabled task %@") : QStringLiteral("Disabled task %@"),
            entry.fileName);
    }

    [[noreturn]] static void changedMeanwhile() {
        refuse(QStringLiteral("The scheduled tasks have changed meanwhile; please try again."));
    }

    /// A computer that lacks the application has nothing wrong with it: that refuses the task.
    [[nodiscard]] OfferedTask offered(const QString& bundleID, const QString& taskID) const {
        try {
            return OfferedTasks::require(m_agent.tree, bundleID, taskID);
        } catch (const VLException& error) {
            throw VLException(VLException::refused, error.reason(), error.userInfo());
        }
    }

    /// Adding what is there already, perhaps once more after a lost answer, makes no second job of it.
    /// Without a schedule any job of the task will do.
    [[nodiscard]] std::optional<LaunchJobs::Entry> matching(
        const OfferedTask& task, bool isRoot, const std::optional<TaskSchedule>& schedule) const {
        const QList<LaunchJobs::Entry> entries = jobs().all();
        const auto found = std::find_if(entries.cbegin(), entries.cend(), [&](const auto& entry) {
            const OfferedTask other = entry.job.task();
            return entry.isRoot == isRoot && other.bundleID == task.bundleID && other.id == task.id &&
                   (!schedule || entry.job.schedule().description() == schedule->description());
        });
        return found == entries.cend() ? std::nullopt : std::optional(*found);
    }

    template <typename... Values>
    void log(const OperationCall& call, const QString& format, const Values&... values) {
        m_agent.log.append(call.peer, format, values...);
    }

    AgentContext& m_agent;
    std::mutex m_mutex;
};

}  // namespace

void addCronwellOperations(OperationTable& table, AgentContext& agent) {
    const auto service = std::make_shared<CronwellService>(agent);
    const auto addChange = [&](const char* selector, void (CronwellService::*change)(const OperationCall&)) {
        table.add(QLatin1String(selector), [service, change](const OperationCall& call) {
            (service.get()->*change)(call);
            return QVariant();
        });
    };
    table.add(QStringLiteral("cronwellTaskDictionary"),
              [service](const OperationCall&) { return QVariant(service->tasks()); });
    addChange("cronwellAddTask:settings:", &CronwellService::add);
    addChange("cronwellEditTask:settings:", &CronwellService::edit);
    addChange("cronwellEnableTask:settings:", &CronwellService::enable);
    addChange("cronwellRemoveTask:settings:", &CronwellService::remove);
    table.add(QStringLiteral("vlAppTasks"),
              [&agent](const OperationCall&) { return QVariant(OfferedTasks::list(agent.tree)); });
}
