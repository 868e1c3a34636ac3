#include "agent/cronwell/LaunchJob.h"

#include "base/PropertyList.h"
#include "remote/VLCorvalinServerProtocol.h"

#include <array>

namespace {

using VLCorvalinServerProtocol::accepts;
using VLCorvalinServerProtocol::integerValue;
using VLCorvalinServerProtocol::textValue;
using VLCorvalinServerProtocol::Type;

// The suite's own keys; the launch service passes over them.
const QString descriptionKey = QStringLiteral("taskDescription");
const QString bundleKey = QStringLiteral("taskBundleID");
const QString idKey = QStringLiteral("taskID");
// The launch service's.
const QString disabledKey = QStringLiteral("Disabled");
const QString argumentsKey = QStringLiteral("ProgramArguments");
const QString secondsKey = QStringLiteral("StartInterval");
const QString calendarKey = QStringLiteral("StartCalendarInterval");
const QString directoriesKey = QStringLiteral("WatchPaths");

const QString program = QStringLiteral("/Library/Application Support/Corvalin/CorvalinTask");

struct CalendarPart {
    const char* key;
    QString TaskSchedule::*text;
};
constexpr std::array calendarParts{
    CalendarPart{"Minute", &TaskSchedule::minute}, CalendarPart{"Hour", &TaskSchedule::hour},
    CalendarPart{"Day", &TaskSchedule::day}, CalendarPart{"Weekday", &TaskSchedule::weekday},
    CalendarPart{"Month", &TaskSchedule::month}};

QVariantMap intervalTexts(const TaskSchedule& schedule) {
    QVariantMap texts;
    for (const CalendarPart& part : calendarParts)
        texts.insert(QLatin1String(part.key), schedule.*part.text);
    return texts;
}

TaskSchedule calendarSchedule(const QVariantMap& interval) {
    TaskSchedule schedule;
    schedule.type = TaskSchedule::Calendar;
    for (const CalendarPart& part : calendarParts) {
        const QVariant value = interval.value(QLatin1String(part.key));
        if (accepts(Type::Number, value)) schedule.*part.text = QString::number(integerValue(value));
    }
    return schedule;
}

/// The one element of a list of one.
QVariant onlyElement(const QVariant& value) {
    if (value.typeId() != QMetaType::QVariantList) return value;
    const QVariantList list = value.toList();
    return list.size() == 1 ? list.first() : QVariant();
}

}  // namespace

QString LaunchJob::shownText(const QVariant& value) {
    QString text = textValue(value).left(4 * longestText);
    text.removeIf([](QChar c) { return !c.isPrint() && !c.isSpace() && !c.isSurrogate(); });
    return text.simplified().left(longestText);
}

std::optional<LaunchJob> LaunchJob::fromData(const QByteArray& data) {
    const QVariant content = PropertyList::fromData(data);
    if (content.typeId() != QMetaType::QVariantMap) return std::nullopt;
    LaunchJob job;
    job.m_content = content.toMap();
    job.m_isBinary = data.startsWith("bplist");
    const OfferedTask task = job.task();
    if (task.bundleID.isEmpty() || task.id.isEmpty() || task.description.isEmpty()) return std::nullopt;
    return job;
}

LaunchJob LaunchJob::make(const QString& label, const OfferedTask& task) {
    LaunchJob job;
    job.m_content.insert(QStringLiteral("Label"), label);
    job.setTask(task);
    job.setEnabled(true);
    return job;
}

OfferedTask LaunchJob::task() const {
    return {shownText(m_content.value(bundleKey)), shownText(m_content.value(idKey)),
            shownText(m_content.value(descriptionKey))};
}

TaskSchedule LaunchJob::schedule() const {
    const bool hasSeconds = m_content.contains(secondsKey), hasCalendar = m_content.contains(calendarKey),
               hasDirectories = m_content.contains(directoriesKey);
    if (int(hasSeconds) + int(hasCalendar) + int(hasDirectories) != 1) return {};
    if (hasSeconds) {
        const QVariant seconds = m_content.value(secondsKey);
        return accepts(Type::Number, seconds) ? TaskSchedule::every(integerValue(seconds)) : TaskSchedule();
    }
    const QVariant only = onlyElement(m_content.value(hasCalendar ? calendarKey : directoriesKey));
    if (hasCalendar)
        return only.typeId() == QMetaType::QVariantMap ? calendarSchedule(only.toMap()) : TaskSchedule();
    const TaskSchedule watching = TaskSchedule::whenChanged(textValue(only));
    return watching.problem().isEmpty() ? watching : TaskSchedule();
}

bool LaunchJob::isEnabled() const {
    return integerValue(m_content.value(disabledKey)) == 0;
}

QVariantMap LaunchJob::description(bool isRoot) const {
    const OfferedTask offered = task();
    const TaskSchedule when = schedule();
    QVariantMap described{{descriptionKey, offered.description},
                          {bundleKey, offered.bundleID},
                          {idKey, offered.id},
                          {QStringLiteral("frequencyDescription"), when.description()},
                          {QStringLiteral("scheduleType"), qlonglong(when.type)},
                          {QStringLiteral("enabled"), qlonglong(isEnabled())},
                          {QStringLiteral("root"), qlonglong(isRoot)}};
    switch (when.type) {
        case TaskSchedule::Seconds:
            described.insert(QStringLiteral("intervalSeconds"), when.seconds);
            break;
        case TaskSchedule::Calendar:
            described.insert(QStringLiteral("interval"), intervalTexts(when));
            break;
        case TaskSchedule::Directory:
            described.insert(QStringLiteral("intervalDirectory"), when.directory);
            break;
        case TaskSchedule::Unknown:
            break;
    }
    return described;
}

void LaunchJob::setTask(const OfferedTask& task) {
    m_content.insert(descriptionKey, task.description);
    m_content.insert(bundleKey, task.bundleID);
    m_content.insert(idKey, task.id);
    m_content.insert(argumentsKey, QVariantList{program, QStringLiteral("-bundleid"), task.bundleID,
                                                QStringLiteral("-taskid"), task.id});
}

void LaunchJob::setSchedule(const TaskSchedule& schedule) {
    for (const QString& key : {secondsKey, calendarKey, directoriesKey})
        m_content.remove(key);
    switch (schedule.type) {
        case TaskSchedule::Seconds:
            m_content.insert(secondsKey, schedule.seconds);
            break;
        case TaskSchedule::Calendar: {
            QVariantMap interval;
            for (const CalendarPart& part : calendarParts)
                if (const QString& text = schedule.*part.text; !text.isEmpty())
                    interval.insert(QLatin1String(part.key), text.toLongLong());
            // Without one the launch service would start the task at every minute, not at the hour's first.
            if (schedule.minute.isEmpty()) interval.insert(QStringLiteral("Minute"), 0LL);
            m_content.insert(calendarKey, interval);
            break;
        }
        case TaskSchedule::Directory:
            m_content.insert(directoriesKey, QVariantList{schedule.directory});
            break;
        case TaskSchedule::Unknown:
            break;
    }
}

void LaunchJob::setEnabled(bool enabled) {
    m_content.insert(disabledKey, !enabled);
}

QByteArray LaunchJob::toData() const {
    return PropertyList::toData(m_content,
                                m_isBinary ? PropertyList::Format::Binary : PropertyList::Format::Xml);
}
