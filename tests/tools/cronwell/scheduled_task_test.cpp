#include "tools/cronwell/OfferMerger.h"
#include "tools/cronwell/ScheduledTaskList.h"
#include "tools/cronwell/TaskSchedule.h"
#include "tools/cronwell/VLScheduledTask.h"

#include <QTest>

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
        QTest::addColumn<QString>("interval");  // minute, hour, day, weekday, month
        QTest::addColumn<QString>("words");
        const auto row = [](const char* interval, const char* words) {
            QTest::newRow(interval) << QString::fromLatin1(interval) << QString::fromLatin1(words);
        };
        row(",,,,", "");
        row("5,,,,", "Every hour at minute 05");
        row("45,,,,", "Every hour at minute 45");
        row(",3,,,", "Every day at 3:00");
        row("30,14,,1,", "Every Monday at 14:30");
        row(",9,,0,2", "Every February on every Sunday at 9:00");
        row(",9,,7,", "Every Sunday at 9:00");
        row(",9,,8,", "Every Unknown at 9:00");
        row(",9,,x,", "Every Unknown at 9:00");
        row(",,5,,", "Every month on day 5 Every hour at minute 00");
        row("15,2,1,,", "Every month on day 1 at 2:15");
        row("1,2,24,3,12", "Every December on day 24 at 2:01");  // the day hides the weekday
        row(",,,3,", "Every Wednesday Every hour at minute 00");
        row(",8,,,6", "Every June on every day at 8:00");
        row(",,,,13", "Every Unknown Every hour at minute 00");
        row(",,,,0", "Every Unknown Every hour at minute 00");
        row("7,,,4,1", "Every January on every Thursday Every hour at minute 07");
    }
    void intervalInWords() {
        QFETCH(QString, interval);
        const QStringList parts = interval.split(u',');
        const QString words =
            VLScheduledTask::friendlyIntervalDescription(parts[0], parts[1], parts[2], parts[3], parts[4]);
        QTEST(words, "words");
    }

    void scheduleValues_data() {
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("kept");   // empty: refused
        QTest::addColumn<QString>("words");  // or the beginning of the problem
        const auto row = [](int type, const QString& value, const QString& kept, const char* words) {
            QTest::newRow(qPrintable(QString::number(type) + u' ' + value.left(40)))
                << type << value << kept << QString::fromLatin1(words);
        };
        row(6, u"3600"_s, u"3600"_s, "Every 3600 seconds");
        row(6, u"1"_s, u"1"_s, "Every second");
        for (const char* seconds : {"0", "-5", "2147483648", "99999999999999999999", "60 ", "+60", ""})
            row(6, QString::fromLatin1(seconds), {}, "The seconds must be");
        row(7, u"05,07,,,"_s, u"5,7,,,"_s, "Every day at 7:05");
        row(7, u",,31,,12"_s, u",,31,,12"_s, "Every December on day 31");
        row(7, u",,,,"_s, {}, "At least one of");
        row(7, u"60,,,,"_s, {}, "The minute must be a number from 0 to 59.");
        row(7, u"0,24,,,"_s, {}, "The hour must be");
        row(7, u"0,0,0,,"_s, {}, "The day must be");
        row(7, u"0,0,,8,"_s, {}, "The weekday must be");
        row(7, u"0,0,,,13"_s, {}, "The month must be");
        row(7, u"0,0,30,,2"_s, {}, "February has no day 30.");
        row(7, u"0,0,31,,4"_s, {}, "April has no day 31.");
        row(7, u"-1,,,,"_s, {}, "The minute must be");
        row(7, u"x,,,,"_s, {}, "The minute must be");
        row(7, u"0,0"_s, {}, "A calendar interval is five numbers");
        row(7, u"0,0,,,,"_s, {}, "A calendar interval is five numbers");
        row(8, u"/Volumes/Media A"_s, u"/Volumes/Media A"_s, "Whenever /Volumes/Media A changes");
        row(8, {}, {}, "A directory to watch is needed.");
        row(8, u"Volumes"_s, {}, "The directory must begin with a slash.");
        row(8, u"/a/../b"_s, {}, "The directory's path must not climb");
        row(8, u"/a\nb"_s, {}, "The directory's path holds characters");
        row(8, u'/' + QString(2000, u'a'), {}, "The directory's path is too long.");
        row(0, u"60"_s, {}, "The kind of schedule is unknown.");
        row(9, u"60"_s, {}, "The kind of schedule is unknown.");
    }
    void scheduleValues() {
        QFETCH(int, type);
        QFETCH(QString, value);
        QFETCH(QString, kept);
        QFETCH(QString, words);
        QString problem;
        const auto schedule = TaskSchedule::fromValue(type, value, &problem);
        QCOMPARE(schedule.has_value(), !kept.isEmpty());
        QCOMPARE(problem.isEmpty(), schedule.has_value());
        QVERIFY2((schedule ? schedule->description() : problem).startsWith(words), qPrintable(problem));
        if (schedule) QCOMPARE(schedule->value(), kept);
    }

    void merge_data() {
        QTest::addColumn<QStringList>("instances");
        QTest::addColumn<QString>("schedule");
        QTest::addColumn<int>("state");
        QTest::addColumn<int>("enabledCount");
        QTest::addColumn<int>("enabled");
        const auto row = [](const char* name, const QStringList& instances, const char* schedule, int state,
                            int enabledCount, int enabled) {
            QTest::newRow(name) << instances << QString::fromLatin1(schedule) << state << enabledCount
                                << enabled;
        };
        row("one", {"3:00 on"}, "3:00", 0, 1, 1);
        row("one off", {"3:00 off"}, "3:00", 0, 0, 0);
        row("alike", {"3:00 on", "3:00 on"}, "3:00", 0, 2, 1);
        row("schedules", {"3:00 on", "4:00 on"}, "(various)", 1, 2, 1);
        row("schedules and state", {"3:00 on", "4:00 off"}, "(various)", 2, 1, -1);
        row("state", {"3:00 on", "3:00 off"}, "3:00", 2, 1, -1);
        row("state, off first", {"3:00 off", "3:00 on"}, "3:00", 2, 1, -1);
        row("both off", {"3:00 off", "4:00 off"}, "(various)", 1, 0, 0);
        // Once "(various)", every further schedule counts as different; and the state is looked at again.
        row("various stays", {"3:00 on", "4:00 on", "3:00 on"}, "(various)", 1, 3, 1);
        row("schedule after state", {"3:00 on", "3:00 off", "4:00 on"}, "(various)", 2, 2, -1);
    }
    void merge() {
        QFETCH(QStringList, instances);
        VLScheduledTask task = VLScheduledTask::scheduledTask(instance(instances.takeFirst()), u"a."_s);
        for (const QString& text : instances)
            task.addChild(instance(text), u"b."_s);
        QTEST(task.frequencyDescription(), "schedule");
        QTEST(task.state(), "state");
        QTEST(task.enabledCount(), "enabledCount");
        QTEST(task.enabled(), "enabled");
        QCOMPARE(task.root(), 1);
        QCOMPARE(task.taskBundleID(), u"com.velmora.Tidyhand"_s);
        QCOMPARE(task.children().size(), instances.size() + 1);
        QCOMPARE(task.children().last().toMap().value(u"hostname"_s),
                 QVariant(instances.isEmpty() ? u"a."_s : u"b."_s));
    }

    void answersOfAnyKind_data() {
        QTest::addColumn<QVariant>("answer");
        QTest::addColumn<QString>("complaint");
        QTest::addColumn<int>("count");
        const QVariantMap good = instance(u"3:00 on"_s);
        const auto with = [&](const char* key, const QVariant& value) {
            QVariantMap task = good;
            task.insert(QLatin1String(key), value);
            return QVariant(QVariantMap{{u"a.plist"_s, task}});
        };
        QTest::newRow("nothing") << QVariant() << QString() << 0;
        QTest::newRow("empty") << QVariant(QVariantMap()) << QString() << 0;
        QTest::newRow("list") << QVariant(QVariantList()) << u"not a dictionary"_s << 0;
        QTest::newRow("good") << with("taskID", u"x"_s) << QString() << 1;
        QTest::newRow("task no dictionary") << QVariant(QVariantMap{{u"a.plist"_s, 5}, {u"b.plist"_s, good}})
                                            << u"1 of 2 tasks left out"_s << 1;
        for (const QString& name : {QString(), u"../a.plist"_s, u"a\0b"_s, QString(300, u'a')})
            QTest::newRow(qPrintable(u"name "_s + name.left(12)))
                << QVariant(QVariantMap{{name, good}}) << u"1 of 1 tasks left out"_s << 0;
        QTest::newRow("no description") << with("taskDescription", 5) << u"1 of 1 tasks left out"_s << 0;
        QTest::newRow("huge description")
            << with("taskDescription", QString(100'000, u'x')) << u"1 of 1 tasks left out"_s << 0;
        QTest::newRow("no bundle") << with("taskBundleID", QString()) << u"1 of 1 tasks left out"_s << 0;
        for (const char* key : {"enabled", "root", "scheduleType", "intervalSeconds", "interval",
                                "intervalDirectory", "frequencyDescription", "taskID"})
            QTest::newRow(key) << with(key, QVariantList{1}) << u"1 values of a wrong kind"_s << 1;
        QTest::newRow("interval of anything")
            << with("interval", QVariantMap{{u"Hour"_s, QVariantList()}, {u"Day"_s, 1e300}}) << QString()
            << 1;
    }
    void answersOfAnyKind() {
        QFETCH(QVariant, answer);
        QFETCH(QString, complaint);
        const ScheduledTaskList list = ScheduledTaskList::fromAnswer(answer);
        QVERIFY2(list.complaint.contains(complaint) && list.complaint.isEmpty() == complaint.isEmpty(),
                 qPrintable(list.complaint));
        QTEST(int(list.tasks.size()), "count");
        for (const QVariantMap& task : list.tasks)
            QVERIFY(task.contains(u"filename"_s) && task.contains(u"enabled"_s));
        OfferMerger merger;  // the same rubbish as an answer to the other question
        merger.add(OfferList::fromAnswer(answer).applications, u"a."_s);
        QVERIFY(merger.takeApplications().isEmpty());
    }

    void offersAreMerged() {
        const auto offers = [](const QString& bundleID, const QStringList& ids) {
            QVariantList tasks;
            for (const QString& id : ids)
                tasks.append(QVariantMap{{u"taskID"_s, id}, {u"taskDescription"_s, id}});
            return QVariantMap{{u"taskBundleID"_s, bundleID}, {u"name"_s, bundleID}, {u"tasks"_s, tasks}};
        };
        OfferMerger merger;
        const auto add = [&merger](const QVariantList& answer, const QString& hostName) {
            merger.add(OfferList::fromAnswer(answer).applications, hostName);
        };
        add({offers(u"Tidy"_s, {u"clean"_s}), offers(u"broken"_s, {u""_s})}, u"a."_s);
        add({offers(u"Check"_s, {u"check"_s}), offers(u"Tidy"_s, {u"all"_s, u"clean"_s})}, u"b."_s);
        QStringList found;
        for (const QVariant& value : merger.takeApplications()) {
            const QVariantMap application = value.toMap();
            for (const QVariant& task : application.value(u"tasks"_s).toList())
                found.append(application.value(u"name"_s).toString() + u' ' +
                             task.toMap().value(u"taskID"_s).toString() + u" -"_s +
                             task.toMap().value(u"missingHosts"_s).toStringList().join(u','));
        }
        QCOMPARE(found, (QStringList{u"Check check -a."_s, u"Tidy clean -"_s, u"Tidy all -a."_s}));
    }
};

QTEST_GUILESS_MAIN(ScheduledTaskTest)
#include "scheduled_task_test.moc"
