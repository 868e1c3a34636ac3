#include "agent/sample/SampleProfile.h"
#include "agent/sample/SampleWriter.h"

namespace {

enum class Owner { User, System };
enum class Kind { None, Seconds, Calendar, Directory };
enum class State { Enabled, Disabled };

struct Schedule {
    Kind kind = Kind::None;  ///< None: this machine does not have the job
    int seconds = 0;
    int minute = -1, hour = -1, day = -1, weekday = -1;
    const char* directory = nullptr;
    State state = State::Enabled;
};

constexpr Schedule every(int seconds, State state = State::Enabled) {
    Schedule schedule{.kind = Kind::Seconds};
    schedule.seconds = seconds;
    schedule.state = state;
    return schedule;
}
constexpr Schedule at(int hour, int minute, int weekday = -1, int day = -1, State state = State::Enabled) {
    Schedule schedule{.kind = Kind::Calendar};
    schedule.minute = minute;
    schedule.hour = hour;
    schedule.weekday = weekday;
    schedule.day = day;
    schedule.state = state;
    return schedule;
}
constexpr Schedule whenChanged(const char* directory) {
    Schedule schedule{.kind = Kind::Directory};
    schedule.directory = directory;
    return schedule;
}

struct Job {
    Owner owner;
    const char* label;
    const char* bundleId;
    const char* taskId;
    const char* description;
    PerMachine<Schedule> schedules;
};

constexpr Job jobs[] = {
    {Owner::User,
     "com.velmora.cronwell.backup",
     "com.velmora.settlekeep",
     "quickBackup",
     "Back up preferences",
     {at(3, 0), at(3, 0), at(3, 0), at(3, 0)}},
    {Owner::User,
     "com.velmora.cronwell.clean",
     "com.velmora.Tidyhand",
     "cleanEveryday",
     "Clean caches",
     {at(4, 30, 1), at(4, 30, 1), at(5, 0, 1), at(4, 30, 1)}},  // schedules differ
    {Owner::User,
     "com.velmora.cronwell.crashes",
     "com.velmora.Faultscope",
     "collect",
     "Collect crash logs",
     {every(3600), every(3600, State::Disabled), every(3600), every(3600)}},  // one is switched off
    {Owner::User,
     "com.velmora.cronwell.scratch",
     "com.velmora.Routemark",
     "check",
     "Check scratch disks",
     {whenChanged("/Volumes"), {}, whenChanged("/Volumes"), {}}},  // missing on two
    {Owner::System,
     "com.velmora.cronwell.updates",
     "com.velmora.Corvalin",
     "checkUpdates",
     "Check for updates",
     {at(12, 0), at(12, 0), at(12, 0), at(12, 0)}},
    {Owner::System,
     "com.velmora.cronwell.permissions",
     "com.velmora.Snapmend",
     "repairPermissions",
     "Repair disk permissions",
     {at(2, 15, -1, 1), at(2, 15, -1, 1), at(2, 15, -1, 15), {}}},
};

QVariantMap calendarInterval(const Schedule& schedule) {
    QVariantMap interval;
    const auto add = [&interval](const char* key, int value) {
        if (value >= 0) interval.insert(QString::fromLatin1(key), qlonglong(value));
    };
    add("Minute", schedule.minute);
    add("Hour", schedule.hour);
    add("Day", schedule.day);
    add("Weekday", schedule.weekday);
    return interval;
}

QVariantMap launchJob(const Job& job, const Schedule& schedule) {
    const QString bundleId = QString::fromUtf8(job.bundleId);
    const QString taskId = QString::fromUtf8(job.taskId);
    QVariantMap content{
        {QStringLiteral("Label"), QString::fromUtf8(job.label)},
        {QStringLiteral("ProgramArguments"),
         QVariantList{QStringLiteral("/Library/Application Support/Corvalin/CorvalinTask"),
                      QStringLiteral("-bundleid"), bundleId, QStringLiteral("-taskid"), taskId}},
        {QStringLiteral("Disabled"), schedule.state == State::Disabled},
        // The suite's own keys; the launch service passes over them.
        {QStringLiteral("taskDescription"), QString::fromUtf8(job.description)},
        {QStringLiteral("taskBundleID"), bundleId},
        {QStringLiteral("taskID"), taskId},
    };
    switch (schedule.kind) {
        case Kind::Seconds:
            content.insert(QStringLiteral("StartInterval"), qlonglong(schedule.seconds));
            break;
        case Kind::Calendar:
            content.insert(QStringLiteral("StartCalendarInterval"), calendarInterval(schedule));
            break;
        case Kind::Directory:
            content.insert(QStringLiteral("WatchPaths"), QVariantList{QString::fromUtf8(schedule.directory)});
            break;
        case Kind::None:
            break;
    }
    return content;
}

}  // namespace

void writeSampleJobs(const SampleWriter& disk, const SampleProfile& profile) {
    for (const Job& job : jobs) {
        const Schedule& schedule = job.schedules.at(static_cast<std::size_t>(profile.index));
        if (schedule.kind == Kind::None) continue;
        const QString folder = job.owner == Owner::System
                                   ? QStringLiteral("/Library/LaunchDaemons")
                                   : profile.home() + QStringLiteral("/Library/LaunchAgents");
        disk.propertyList(QStringLiteral("%1/%2.plist").arg(folder, QString::fromUtf8(job.label)),
                          launchJob(job, schedule));
    }
    // One that is not the suite's: it must be left alone by everything that works on the suite's jobs.
    disk.propertyList(QStringLiteral("/Library/LaunchDaemons/example.nightly-sync.plist"),
                      {{QStringLiteral("Label"), QStringLiteral("example.nightly-sync")},
                       {QStringLiteral("ProgramArguments"), QVariantList{QStringLiteral("/usr/bin/rsync")}},
                       {QStringLiteral("StartInterval"), qlonglong(86400)}});
}
