#include "base/VLFormat.h"
#include "common/TaskSchedule.h"
#include "support/TestTable.h"
#include "tools/cronwell/OfferMerger.h"
#include "tools/cronwell/VLScheduledTask.h"

using namespace Qt::StringLiterals;

namespace {

/// "3:00 on": schedule, and on or off.
QVariantMap instance(const QString& text) {
    return {{u"taskDescription"_s, u"Clean"_s},
            {u"taskBundleID"_s, u"com.velmora.Tidyhand"_s},
            {u"frequencyDescription"_s, text.section(u' ', 0, 0)},
            {u"enabled"_s, int(text.endsWith(u"on"_s))},
            {u"root"_s, 1}};
}

}  // namespace

class ScheduledTaskTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void intervalInWords_data() {
        // Minute, hour, day, weekday, month.
        addTextRows({"interval", "words"},
                    uR"(
,,,,|
5,,,,|Every hour at minute 05
,3,,,|Every day at 3:00
30,14,,1,|Every Monday at 14:30
,9,,0,2|Every February on every Sunday at 9:00
,9,,7,|Every Sunday at 9:00
,9,,x,|Every Unknown at 9:00
,,5,,|Every month on day 5 Every hour at minute 00
15,2,1,,|Every month on day 1 at 2:15
1,2,24,3,12|Every December on day 24 at 2:01
,,,3,|Every Wednesday Every hour at minute 00
,8,,,6|Every June on every day at 8:00
,,,,13|Every Unknown Every hour at minute 00
)"_s);
    }
    void intervalInWords() {
        QFETCH(QString, interval);
        const QStringList parts = interval.split(u',');
        const QString words =
            VLScheduledTask::friendlyIntervalDescription(parts[0], parts[1], parts[2], parts[3], parts[4]);
        QTEST(words, "words");
    }

    void scheduleValues_data() {
        // In words, or what is wrong with it.
        addTextRows({"type", "value", "words"},
                    uR"(
6|'3600'|Every 3600 seconds
6|'1'|Every second
6|'0'|The seconds must be a number from 1 to 2147483647.
6|'2147483648'|The seconds must be a number from 1 to 2147483647.
7|'05,07,,,'|Every day at 7:05
7|',8,31,,12'|Every December on day 31 at 8:00
7|',,,,'|At least one of minute, hour, day, weekday and month is needed.
7|'60,,,,'|The minute must be a number from 0 to 59.
7|'0,0,0,,'|The day must be a number from 1 to 31.
7|'0,0,30,,2'|February has no day 30.
7|'0,0'|A calendar interval is five numbers with commas, not “0,0”.
8|'/Volumes/Media A'|Whenever /Volumes/Media A changes
8|''|A directory to watch is needed.
8|'/a/../b'|The directory's path must not climb (“..”).
8|'/a	b'|The directory's path holds characters that cannot be shown.
9|'60'|The kind of schedule is unknown.
)"_s);
    }
    void scheduleValues() {
        QFETCH(QString, type);
        QFETCH(QString, value);
        const qlonglong number = type.toLongLong();
        QString problem;
        const auto schedule = TaskSchedule::fromValue(number, value.mid(1).chopped(1), &problem);
        QCOMPARE(problem.isEmpty(), schedule.has_value());
        const QString words = schedule ? schedule->description() : problem;
        QTEST(words, "words");
        if (schedule) QCOMPARE(TaskSchedule::fromValue(number, schedule->value(), &problem), schedule);
    }

    void merge_data() {
        // Schedule, state, how many are enabled, enabled. Once "(various)", every further schedule counts as
        // different; and the state is looked at again.
        addTextRows({"instances", "merged"},
                    uR"(
3:00 on|3:00 0 1 1
3:00 off|3:00 0 0 0
3:00 on,4:00 on|(various) 1 2 1
3:00 on,4:00 off|(various) 2 1 -1
3:00 on,3:00 off|3:00 2 1 -1
3:00 off,3:00 on|3:00 2 1 -1
3:00 off,4:00 off|(various) 1 0 0
3:00 on,4:00 on,3:00 on|(various) 1 3 1
3:00 on,3:00 off,4:00 on|(various) 2 2 -1
)"_s);
    }
    void merge() {
        QFETCH(QString, instances);
        VLScheduledTask task;
        for (const QString& text : instances.split(u','))
            task.addChild(instance(text), u"a."_s);
        const QString merged = vlFormat(u"%@ %i %i %i"_s, task.frequencyDescription(), task.state(),
                                        task.enabledCount(), task.enabled());
        QTEST(merged, "merged");
        QCOMPARE(task.root(), 1);
    }

    void offersAreMerged() {
        OfferMerger merger;
        const auto add = [&](const QString& hostName, const QStringList& applications) {
            QVariantList answer;
            for (const QString& text : applications) {
                QVariantList tasks;
                for (const QString& id : text.section(u' ', 1).split(u' '))
                    tasks.append(QVariantMap{{u"taskID"_s, id}, {u"taskDescription"_s, id}});
                const QString name = text.section(u' ', 0, 0);
                answer.append(QVariantMap{{u"taskBundleID"_s, name}, {u"name"_s, name}, {u"tasks"_s, tasks}});
            }
            merger.add(OfferMerger::checked(answer).entries, hostName);
        };
        add(u"a."_s, {u"Tidy clean clean"_s, u"broken "_s});
        add(u"b."_s, {u"Check check"_s, u"Tidy all clean"_s});
        QStringList found;
        for (const QVariant& application : merger.takeApplications())
            for (const QVariant& task : application.toMap().value(u"tasks"_s).toList())
                found.append(vlFormat(u"%@ %@ -%@"_s, application.toMap().value(u"name"_s),
                                      task.toMap().value(u"taskID"_s),
                                      task.toMap().value(u"missingHosts"_s).toStringList().join(u',')));
        QCOMPARE(found, (QStringList{u"Check check -a."_s, u"Tidy clean -"_s, u"Tidy all -a."_s}));
    }
};

QTEST_GUILESS_MAIN(ScheduledTaskTest)
#include "scheduled_task_test.moc"
