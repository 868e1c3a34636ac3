#include "common/TaskSchedule.h"

#include <QStringList>

#include <algorithm>
#include <array>

namespace {

constexpr std::array monthNames{"January", "February", "March",     "April",   "May",      "June",
                                "July",    "August",   "September", "October", "November", "December"};
constexpr std::array weekdayNames{"Sunday",   "Monday", "Tuesday",  "Wednesday",
                                  "Thursday", "Friday", "Saturday", "Sunday"};
constexpr std::array daysInMonth{31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

template <size_t Count>
QString nameAt(const std::array<const char*, Count>& names, int index) {
    const bool isKnown = index >= 0 && index < int(Count);
    return QLatin1String(isKnown ? names[size_t(index)] : "Unknown");
}

QString monthName(const QString& month) {
    return nameAt(monthNames, month.toInt() - 1);
}

QString weekdayName(const QString& weekday) {
    bool isNumber = false;
    const int index = weekday.toInt(&isNumber);
    return nameAt(weekdayNames, isNumber ? index : -1);
}

/// One number of a calendar interval.
struct Part {
    const char* name;
    QString TaskSchedule::*text;
    int lowest, highest;
};
constexpr std::array parts{Part{"minute", &TaskSchedule::minute, 0, 59},
                           Part{"hour", &TaskSchedule::hour, 0, 23}, Part{"day", &TaskSchedule::day, 1, 31},
                           Part{"weekday", &TaskSchedule::weekday, 0, 7},
                           Part{"month", &TaskSchedule::month, 1, 12}};

/// Digits and nothing else: toInt() alone also takes signs and spaces.
std::optional<qlonglong> numberIn(const QString& text) {
    const bool allDigits =
        std::all_of(text.begin(), text.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
    if (!allDigits || text.isEmpty() || text.size() > 10) return std::nullopt;
    return text.toLongLong();
}

QString calendarProblem(const TaskSchedule& schedule) {
    for (const Part& part : parts) {
        const QString& text = schedule.*part.text;
        if (text.isEmpty()) continue;
        const auto number = numberIn(text);
        if (!number || *number < part.lowest || *number > part.highest)
            return QStringLiteral("The %1 must be a number from %2 to %3.")
                .arg(QLatin1String(part.name))
                .arg(part.lowest)
                .arg(part.highest);
    }
    if (std::all_of(parts.begin(), parts.end(),
                    [&](const Part& part) { return (schedule.*part.text).isEmpty(); }))
        return QStringLiteral("At least one of minute, hour, day, weekday and month is needed.");
    const int month = schedule.month.toInt();
    if (month > 0 && schedule.day.toInt() > daysInMonth[size_t(month - 1)])
        return QStringLiteral("%1 has no day %2.").arg(monthName(schedule.month), schedule.day);
    return {};
}

QString directoryProblem(const QString& directory) {
    if (directory.isEmpty()) return QStringLiteral("A directory to watch is needed.");
    if (!directory.startsWith(u'/')) return QStringLiteral("The directory must begin with a slash.");
    if (directory.size() > TaskSchedule::longestDirectory)
        return QStringLiteral("The directory's path is too long.");
    const bool isPrintable = std::all_of(directory.begin(), directory.end(),
                                         [](QChar c) { return c.isPrint() || c.isSurrogate(); });
    if (!isPrintable) return QStringLiteral("The directory's path holds characters that cannot be shown.");
    if (directory.split(u'/').contains(QStringLiteral("..")))
        return QStringLiteral("The directory's path must not climb (“..”).");
    return {};
}

TaskSchedule calendarFrom(const QString& value, bool* isWhole) {
    TaskSchedule schedule;
    schedule.type = TaskSchedule::Calendar;
    const QStringList texts = value.split(u',');
    *isWhole = texts.size() == qsizetype(parts.size());
    for (size_t i = 0; *isWhole && i < parts.size(); ++i) {
        const auto number = numberIn(texts.at(qsizetype(i)));
        schedule.*parts[i].text = number ? QString::number(*number) : texts.at(qsizetype(i));
    }
    return schedule;
}

}  // namespace

TaskSchedule TaskSchedule::every(qlonglong seconds) {
    TaskSchedule schedule;
    schedule.type = Seconds;
    schedule.seconds = seconds;
    return schedule;
}

TaskSchedule TaskSchedule::whenChanged(const QString& directory) {
    TaskSchedule schedule;
    schedule.type = Directory;
    schedule.directory = directory;
    return schedule;
}

QString TaskSchedule::value() const {
    switch (type) {
        case Seconds:
            return QString::number(seconds);
        case Calendar:
            return QStringList{minute, hour, day, weekday, month}.join(u',');
        case Directory:
            return directory;
        case Unknown:
            break;
    }
    return {};
}

std::optional<TaskSchedule> TaskSchedule::fromValue(qlonglong type, const QString& value, QString* problem) {
    TaskSchedule schedule;
    bool isWhole = true;
    switch (type) {
        case Seconds:
            schedule = every(numberIn(value).value_or(0));
            break;
        case Calendar:
            schedule = calendarFrom(value, &isWhole);
            break;
        case Directory:
            schedule = whenChanged(value);
            break;
        default:
            break;
    }
    *problem = isWhole ? schedule.problem()
                       : QStringLiteral("A calendar interval is five numbers with commas, not “%1”.")
                             .arg(value.left(80));
    return problem->isEmpty() ? std::optional(schedule) : std::nullopt;
}

QString TaskSchedule::problem() const {
    switch (type) {
        case Seconds:
            return seconds >= 1 && seconds <= mostSeconds
                       ? QString()
                       : QStringLiteral("The seconds must be a number from 1 to %1.").arg(mostSeconds);
        case Calendar:
            return calendarProblem(*this);
        case Directory:
            return directoryProblem(directory);
        case Unknown:
            break;
    }
    return QStringLiteral("The kind of schedule is unknown.");
}

QString TaskSchedule::description() const {
    switch (type) {
        case Seconds:
            return seconds == 1 ? QStringLiteral("Every second")
                                : QStringLiteral("Every %1 seconds").arg(seconds);
        case Calendar:
            return friendlyIntervalDescription(minute, hour, day, weekday, month);
        case Directory:
            return QStringLiteral("Whenever %1 changes").arg(directory);
        case Unknown:
            break;
    }
    return QStringLiteral("Unknown schedule");
}

QString TaskSchedule::friendlyIntervalDescription(const QString& minute, const QString& hour,
                                                  const QString& day, const QString& weekday,
                                                  const QString& month) {
    const bool hasDay = !day.isEmpty(), hasWeekday = !weekday.isEmpty(), hasMonth = !month.isEmpty();
    if (minute.isEmpty() && hour.isEmpty() && !hasDay && !hasWeekday && !hasMonth) return {};
    const QString minuteText = minute.isEmpty() ? QStringLiteral("00") : minute.rightJustified(2, u'0');

    QString text;
    if (hasMonth)
        text = QStringLiteral("Every %1 ").arg(monthName(month));
    else if (hasDay)
        text = QStringLiteral("Every month ");
    if (hasDay)
        text += QStringLiteral("on day %1 ").arg(day);
    else if (hasWeekday)
        text += (hasMonth ? QStringLiteral("on every %1 ") : QStringLiteral("Every %1 "))
                    .arg(weekdayName(weekday));
    else if (!hour.isEmpty())
        text += hasMonth ? QStringLiteral("on every day ") : QStringLiteral("Every day ");
    // Without an hour this follows whatever stands there, with its capital letter.
    text += hour.isEmpty() ? QStringLiteral("Every hour at minute %1").arg(minuteText)
                           : QStringLiteral("at %1:%2").arg(hour, minuteText);
    return text;
}
