#include "agent/cronwell/LaunchJob.h"
#include "fuzz/Fuzzing.h"
#include "fuzz/SampleValues.h"

/// A job's file, which any user may have written. What is changed about it comes back from its file, and the
/// schedule that is told to consoles is the one that they send back.
void readInput(const QByteArray& input) {
    auto job = LaunchJob::fromData(input);
    if (!job) return;
    const TaskSchedule schedule = job->schedule();
    static_cast<void>(job->description(true));
    if (schedule.problem().isEmpty()) {
        QString problem;
        const auto sent = TaskSchedule::fromValue(schedule.type, schedule.value(), &problem);
        mustHold(sent && sent->description() == schedule.description(), "a good schedule can be sent");
    }
    job->setTask(job->task());
    job->setSchedule(schedule);
    job->setEnabled(!job->isEnabled());
    const auto again = LaunchJob::fromData(job->toData());
    mustHold(again.has_value(), "a job that was changed is a job");
    mustHold(again->isEnabled() == job->isEnabled() && again->task() == job->task() &&
                 again->schedule().description() == job->schedule().description(),
             "a job keeps what was set");
}

QList<QByteArray> seeds() {
    const OfferedTask task{QStringLiteral("com.velmora.tidyhand"), QStringLiteral("3"),
                           QStringLiteral("Empty the Trash – 空")};
    QString problem;
    QList<TaskSchedule> schedules{TaskSchedule::every(3600),
                                  TaskSchedule::whenChanged(QStringLiteral("/Volumes"))};
    for (const char* value : {"30,14,,1,", "0,,,,", "59,23,31,0,12"})
        schedules.append(*TaskSchedule::fromValue(TaskSchedule::Calendar, QLatin1String(value), &problem));
    QList<QByteArray> made;
    for (const TaskSchedule& schedule : schedules) {
        LaunchJob job = LaunchJob::make(QStringLiteral("com.velmora.tidyhand.3"), task);
        job.setSchedule(schedule);
        const QByteArray xml = job.toData();
        made.append({xml, PropertyList::toData(PropertyList::fromData(xml), PropertyList::Format::Binary)});
    }
    return made;
}
