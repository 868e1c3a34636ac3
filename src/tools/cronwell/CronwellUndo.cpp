#include "tools/cronwell/CronwellUndo.h"

#include "common/TaskSchedule.h"

#include <QHash>

#include <array>

namespace CronwellUndo {

namespace {

const QString tasksKey = QStringLiteral("tasks");
const QString changesKey = QStringLiteral("changes"), formerKey = QStringLiteral("former"),
              resultKey = QStringLiteral("result");
const QString fileNameKey = QStringLiteral("filename"), bundleKey = QStringLiteral("taskBundleID"),
              idKey = QStringLiteral("taskID"), descriptionKey = QStringLiteral("taskDescription"),
              frequencyKey = QStringLiteral("frequencyDescription"), enabledKey = QStringLiteral("enabled"),
              rootKey = QStringLiteral("root");

/// In the order of TaskSchedule::intervalKeys.
constexpr std::array calendarTexts{&TaskSchedule::minute, &TaskSchedule::hour, &TaskSchedule::day,
                                   &TaskSchedule::weekday, &TaskSchedule::month};

using ByFile = QHash<QString, QVariantMap>;

QString textOf(const QVariantMap& task, const QString& key) {
    return task.value(key).toString();
}

ByFile byFile(const QList<QVariantMap>& tasks) {
    ByFile found;
    for (const QVariantMap& task : tasks)
        found.insert(textOf(task, fileNameKey), task);
    return found;
}

bool isSameTask(const QVariantMap& a, const QVariantMap& b) {
    return textOf(a, bundleKey) == textOf(b, bundleKey) && textOf(a, idKey) == textOf(b, idKey) &&
           a.value(rootKey).toLongLong() == b.value(rootKey).toLongLong();
}

bool isSameSchedule(const QVariantMap& a, const QVariantMap& b) {
    return textOf(a, frequencyKey) == textOf(b, frequencyKey);
}

bool isEnabledAlike(const QVariantMap& a, const QVariantMap& b) {
    return a.value(enabledKey).toLongLong() == b.value(enabledKey).toLongLong();
}

bool isAlike(const QVariantMap& a, const QVariantMap& b) {
    return isSameTask(a, b) && isSameSchedule(a, b) && isEnabledAlike(a, b);
}

/// As the client told it; Unknown where it said something else.
TaskSchedule scheduleOf(const QVariantMap& task) {
    TaskSchedule schedule;
    const QVariantMap interval = task.value(QStringLiteral("interval")).toMap();
    switch (task.value(QStringLiteral("scheduleType")).toLongLong()) {
        case TaskSchedule::Seconds:
            return TaskSchedule::every(task.value(QStringLiteral("intervalSeconds")).toLongLong());
        case TaskSchedule::Directory:
            return TaskSchedule::whenChanged(textOf(task, QStringLiteral("intervalDirectory")));
        case TaskSchedule::Calendar:
            schedule.type = TaskSchedule::Calendar;
            for (std::size_t i = 0; i < calendarTexts.size(); ++i)
                schedule.*calendarTexts[i] = textOf(interval, QLatin1String(TaskSchedule::intervalKeys[i]));
            return schedule;
        default:
            return schedule;
    }
}

/// As it is added or changed: "former", because what the client keeps of it is more than the console knows.
QVariantMap settingsOf(const QVariantMap& task) {
    const TaskSchedule schedule = scheduleOf(task);
    QVariantMap settings{{QStringLiteral("former"), 1LL},
                         {fileNameKey, task.value(fileNameKey)},
                         {QStringLiteral("bundleid"), task.value(bundleKey)},
                         {QStringLiteral("taskid"), task.value(idKey)},
                         {enabledKey, task.value(enabledKey)},
                         {rootKey, task.value(rootKey)},
                         {QStringLiteral("scheduletype"), QString::number(schedule.type)}};
    if (const QString value = schedule.value(); !value.isEmpty())
        settings.insert(QStringLiteral("intervalval"), value);
    return settings;
}

/// How one file was and how the run left it: an empty map where there was none.
struct Change {
    QVariantMap former, result;
};

/// The steps that take a change back where the task still is as the run left it; what was changed since
/// stays.
class Planner {
public:
    explicit Planner(const QList<QVariantMap>& present) : m_presents(byFile(present)) {}

    void takeBack(const Change& change) {
        const QVariantMap& known = change.result.isEmpty() ? change.former : change.result;
        const QVariantMap present = m_presents.value(textOf(known, fileNameKey));
        if (change.former.isEmpty())
            removeAdded(change.result, present);
        else if (change.result.isEmpty())
            addRemoved(change.former, present);
        else
            changeBack(change, present);
    }
    [[nodiscard]] Plan takePlan() { return std::move(m_plan); }

private:
    void removeAdded(const QVariantMap& added, const QVariantMap& present) {
        if (!present.isEmpty() && isSameTask(added, present))
            m_plan.steps.append({Step::Remove, present, added.value(fileNameKey)});
    }
    void addRemoved(const QVariantMap& former, const QVariantMap& present) {
        if (present.isEmpty())
            m_plan.steps.append({Step::Add, former, settingsOf(former)});
        else if (!isSameTask(former, present) || !isSameSchedule(former, present))
            m_plan.missing.append(textOf(former, descriptionKey));
    }
    void changeBack(const Change& change, const QVariantMap& present) {
        const auto& [former, result] = change;
        if (isAlike(former, present)) return;
        if (present.isEmpty() || !isSameTask(result, present))
            return m_plan.missing.append(textOf(former, descriptionKey));
        const bool movedSince = !isSameSchedule(result, present);
        const bool moves = (!isSameSchedule(former, result) || !isSameTask(former, result)) && !movedSince;
        const bool turns = !isEnabledAlike(former, result) && isEnabledAlike(result, present);
        QVariantMap wanted = former;
        if (!turns) wanted.insert(enabledKey, present.value(enabledKey));
        if (moves && !(isSameSchedule(wanted, present) && isSameTask(wanted, present)))
            m_plan.steps.append({Step::Edit, former, settingsOf(wanted)});
        else if (turns)
            m_plan.steps.append({Step::Enable, former,
                                 QVariantMap{{fileNameKey, former.value(fileNameKey)},
                                             {enabledKey, former.value(enabledKey)}}});
        else
            m_plan.missing.append(textOf(former, descriptionKey));
    }

    const ByFile m_presents;
    Plan m_plan;
};

}  // namespace

QVariantMap everything(const QList<QVariantMap>& tasks) {
    return {{tasksKey, QVariantList(tasks.begin(), tasks.end())}};
}

QVariantMap difference(const QVariantMap& everything, const QList<QVariantMap>& present) {
    QList<QVariantMap> former;
    const QVariantList kept = everything.value(tasksKey).toList();
    for (const QVariant& task : kept)
        former.append(task.toMap());
    const ByFile formers = byFile(former), presents = byFile(present);
    QVariantList changes;
    // Those that go first: one that comes back may be in their place.
    for (const QVariantMap& task : present)
        if (!formers.contains(textOf(task, fileNameKey))) changes.append(QVariantMap{{resultKey, task}});
    for (const QVariantMap& task : std::as_const(former)) {
        const QVariantMap now = presents.value(textOf(task, fileNameKey));
        if (now.isEmpty())
            changes.append(QVariantMap{{formerKey, task}});
        else if (!isAlike(task, now))
            changes.append(QVariantMap{{formerKey, task}, {resultKey, now}});
    }
    return changes.isEmpty() ? QVariantMap() : QVariantMap{{changesKey, changes}};
}

Plan plan(const QVariantMap& undo, const QList<QVariantMap>& present) {
    Planner planner(present);
    const QVariantList changes = undo.value(changesKey).toList();
    for (const QVariant& value : changes) {
        const QVariantMap change = value.toMap();
        planner.takeBack({change.value(formerKey).toMap(), change.value(resultKey).toMap()});
    }
    return planner.takePlan();
}

}  // namespace CronwellUndo
