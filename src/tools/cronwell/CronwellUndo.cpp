#include "tools/cronwell/CronwellUndo.h"

#include "tools/cronwell/TaskSchedule.h"

#include <QHash>

#include <array>

namespace CronwellUndo {

namespace {

const QString tasksKey = QStringLiteral("tasks");  ///< that are to be again
const QString addedKey = QStringLiteral("added");  ///< that are to go
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

Step stepTo(const QVariantMap& former, const QVariantMap& present) {
    if (isSameTask(former, present) && isSameSchedule(former, present))
        return {
            Step::Enable, former,
            QVariantMap{{fileNameKey, former.value(fileNameKey)}, {enabledKey, former.value(enabledKey)}}};
    return {Step::Edit, former, settingsOf(former)};
}

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
    QVariantList tasks, added;
    for (const QVariantMap& task : former) {
        const auto now = presents.constFind(textOf(task, fileNameKey));
        const bool isAlike = now != presents.cend() && isSameTask(task, *now) && isSameSchedule(task, *now) &&
                             isEnabledAlike(task, *now);
        if (!isAlike) tasks.append(task);
    }
    for (const QVariantMap& task : present)
        if (!formers.contains(textOf(task, fileNameKey))) added.append(task);
    QVariantMap undo;
    if (!tasks.isEmpty()) undo.insert(tasksKey, tasks);
    if (!added.isEmpty()) undo.insert(addedKey, added);
    return undo;
}

Plan plan(const QVariantMap& undo, const QList<QVariantMap>& present) {
    const ByFile presents = byFile(present);
    Plan plan;
    // Those that go first: one that comes back may be in their place.
    const QVariantList added = undo.value(addedKey).toList(), tasks = undo.value(tasksKey).toList();
    for (const QVariant& value : added) {
        const QVariantMap task = value.toMap();
        const auto now = presents.constFind(textOf(task, fileNameKey));
        if (now != presents.cend() && isSameTask(task, *now))
            plan.steps.append({Step::Remove, *now, task.value(fileNameKey)});
    }
    for (const QVariant& value : tasks) {
        const QVariantMap former = value.toMap();
        const auto now = presents.constFind(textOf(former, fileNameKey));
        if (now == presents.cend())
            plan.steps.append({Step::Add, former, settingsOf(former)});
        else if (now->value(rootKey).toLongLong() != former.value(rootKey).toLongLong())
            plan.missing.append(textOf(former, descriptionKey));
        else if (!isSameTask(former, *now) || !isSameSchedule(former, *now) || !isEnabledAlike(former, *now))
            plan.steps.append(stepTo(former, *now));
    }
    return plan;
}

}  // namespace CronwellUndo
