#include "support/AlertAnswers.h"
#include "support/TestTable.h"
#include "support/ToolBench.h"
#include "tools/cronwell/CronwellController.h"

#include <QSignalSpy>

using namespace Qt::StringLiterals;

namespace {

const QString tool = u"com.velmora.Tidyhand"_s;

QString key(const QString& description) {
    return VLScheduledTask::keyFor(tool, description);
}

/// "File|description|schedule|type|value|on|root".
QVariantMap task(const QStringList& words) {
    QVariantMap task{{u"filename"_s, words[0]},
                     {u"taskDescription"_s, words[1]},
                     {u"taskBundleID"_s, tool},
                     {u"taskID"_s, u"clean"_s},
                     {u"frequencyDescription"_s, words[2]},
                     {u"scheduleType"_s, words[3].toInt()},
                     {u"enabled"_s, int(words[5] == u"on"_s)},
                     {u"root"_s, int(words[6] == u"root"_s)}};
    if (words[3] == u"6"_s) task.insert(u"intervalSeconds"_s, words[4].toInt());
    if (words[3] == u"7"_s)
        task.insert(u"interval"_s, QVariantMap{{u"Hour"_s, words[4]}, {u"Minute"_s, u"0"_s}});
    if (words[3] == u"8"_s) task.insert(u"intervalDirectory"_s, words[4]);
    return task;
}

FakeProxy::Answer having(const QStringList& tasks) {
    QVariantMap answer;
    for (const QString& text : tasks)
        answer.insert(text.section(u'|', 0, 0), task(text.split(u'|')));
    return [answer](const QString& selector, const QVariantList&) {
        return selector == u"cronwellTaskDictionary"_s ? QVariant(answer) : QVariant();
    };
}

/// What was sent that changes something: "edit plain {obj1 = {bundleid = …}}".
QStringList changes(const FakeProxy& proxy) {
    QStringList lines;
    for (const auto& [selector, arguments] : proxy.sent()) {
        if (!selector.contains(u"Task:"_s)) continue;
        const QString way = arguments.value(0).isValid() ? u"auth"_s : u"plain"_s;
        lines.append(vlFormat(u"%@ %@ %@"_s, selector.mid(8).section(u"Task"_s, 0, 0).toLower(), way,
                              arguments.value(1)));
    }
    return lines;
}

}  // namespace

class CronwellControllerTest : public QObject {
    Q_OBJECT

    std::unique_ptr<ToolBench> m_bench;
    std::shared_ptr<CronwellController> m_cronwell;

    FakeProxy& addClient(const QString& name, const QStringList& tasks) {
        return m_bench->addClient(name, having(tasks));
    }
    [[nodiscard]] bool run(std::function<void()> work) { return m_bench->run(std::move(work)); }
    [[nodiscard]] bool refresh() {
        return run([this] { m_cronwell->refresh(); });
    }

private Q_SLOTS:
    void init() {
        m_bench = std::make_unique<ToolBench>();
        m_cronwell = std::make_shared<CronwellController>(m_bench->context());
    }
    void cleanup() {
        m_cronwell.reset();
        m_bench.reset();
    }

    void mergesByToolAndDescription() {
        addClient(u"one"_s,
                  {u"a|Clean|Every day at 3:00|7|3|on|user"_s, u"b|Check|Every 60 seconds|6|60|on|root"_s});
        addClient(u"two"_s, {u"c|Clean|Every day at 4:00|7|4|off|user"_s});
        m_bench->addClient(u"bad"_s, [](const QString&, const QVariantList&) { return QVariant(u"x"_s); });
        m_bench->addClient(u"gone"_s, [](const QString&, const QVariantList&) -> QVariant {
            throw VLException(VLException::inaccessible, u"gone"_s);
        });
        QVERIFY(refresh());
        const auto line = [](const char* text) { return QString::fromLatin1(text).split(u'|'); };
        QCOMPARE(m_cronwell->report().rows,
                 (QList<QStringList>{line("Check|Every 60 seconds|Tidyhand|yes|root|1|missing|two"),
                                     line("Clean|(various)|Tidyhand|mixed|user|2|enabled|")}));
        QCOMPARE(m_cronwell->cronwellArray()[1].state(), int(VLScheduledTask::Missing));
        QCOMPARE(m_cronwell->cronwellArray()[1].missingHosts().first().toMap(),
                 (QVariantMap{{u"hostname"_s, u"bad.local."_s},
                              {u"enabled"_s, -1},
                              {u"unanswered"_s, 1},
                              {u"frequencyDescription"_s, QString()},
                              {u"taskDescription"_s, u"Clean"_s}}));
        QCOMPARE(m_cronwell->taskScheduleScheduleTypeForDescription(u"Every 60 seconds"_s), QVariant(6));
        QVERIFY(!m_cronwell->taskScheduleScheduleTypeForDescription(u"(various)"_s).isValid());
    }

    /// Two jobs of one task on a computer are no second computer, and hide no missing one.
    void countsComputersNotJobs_data() {
        addTextRows({"first", "second", "row", "state"},
                    uR"(
a on,b on||yes 1 missing two|0
a on,b off||mixed 1 missing two|2
a on,b on|c on|yes 2 duplicated |0
a on,b off|c on|mixed 2 enabled |2
a on|c on|yes 2 none |0
)"_s);
    }
    void countsComputersNotJobs() {
        QFETCH(QString, first);
        QFETCH(QString, second);
        const auto jobs = [](const QString& texts) {
            QStringList tasks;
            for (const QString& text : texts.split(u',', Qt::SkipEmptyParts))
                tasks << u"%1|Clean|x|6|60|%2|user"_s.arg(text.section(u' ', 0, 0), text.section(u' ', 1));
            return tasks;
        };
        addClient(u"one"_s, jobs(first));
        FakeProxy& two = addClient(u"two"_s, jobs(second));
        QVERIFY(refresh());
        const QString row =
            QStringList(m_cronwell->report().rows.value(0).mid(3)).join(u' ').remove(u"user "_s);
        QTEST(row.trimmed(), "row");
        const QString state = QString::number(m_cronwell->cronwellArray().value(0).state());
        QTEST(state, "state");
        QVERIFY(run([this] { m_cronwell->cronwellSyncTasks(); }));
        QCOMPARE(changes(two).filter(u"add "_s).size(), second.isEmpty() ? 1 : 0);
    }

    void removesSingleJobs() {
        FakeProxy& one = addClient(u"one"_s, {u"a|Clean|x|6|60|on|user"_s, u"b|Clean|x|6|60|on|root"_s});
        FakeProxy& two = addClient(u"two"_s, {u"c|Clean|x|6|60|on|user"_s});
        QVERIFY(refresh());
        const AlertAnswers alerts(VLAlert::DefaultReturn);
        m_cronwell->cronwellRemoveTaskAction({{key(u"Clean"_s), u"one.local."_s, u"b"_s}}, nullptr);
        QVERIFY(VLThread::joinAll(patience));
        QCOMPARE(changes(one), QStringList{u"remove auth {obj1 = b}"_s});
        QVERIFY(changes(two).isEmpty());
        QCOMPARE(alerts.details, QStringList{u"Only on one. This cannot be undone."_s});
    }

    void synchronises_data() {
        // The task of each client, if any, and what is sent to one of them: value and type, or only a type.
        addTextRows({"clients", "receiver", "sent", "schedule"},
                    uR"(
three three
four three three|0|edit plain b|0,3,,, 7
three four|1|edit plain b|0,3,,, 7
off three three|0|edit plain d|0,3,,, 7
three - three|1|add plain|0,3,,, 7
often -|1|add plain|60 6
watching -|1|add plain|/a 8
other -|1|add plain|0
rooted -|1|add auth|60 6
three ? -|2|add plain|0,3,,, 7
often three three|0|edit plain c|0,3,,, 7
)"_s);  // the last: the common values have the keys of the first, who has another kind of schedule
    }
    void synchronises() {
        QFETCH(QString, clients);
        QFETCH(QString, receiver);
        QFETCH(QString, sent);
        QFETCH(QString, schedule);
        const QHash<QString, QString> tasks{{u"three"_s, u"a|Clean|Every day at 3:00|7|3|on|user"_s},
                                            {u"four"_s, u"b|Clean|Every day at 4:00|7|4|on|user"_s},
                                            {u"often"_s, u"c|Clean|Every 60 seconds|6|60|on|user"_s},
                                            {u"off"_s, u"d|Clean|Every day at 3:00|7|3|off|user"_s},
                                            {u"rooted"_s, u"e|Clean|Every 60 seconds|6|60|on|root"_s},
                                            {u"watching"_s, u"f|Clean|Whenever /a changes|8|/a|on|user"_s},
                                            {u"other"_s, u"g|Clean|Odd|0||on|user"_s}};
        QList<FakeProxy*> proxies;
        for (const QString& name : clients.split(u' ')) {
            const FakeProxy::Answer answer =
                name == u"?"_s ? FakeProxy::Answer()  // what it has is not known
                               : having(tasks.contains(name) ? QStringList{tasks[name]} : QStringList());
            proxies.append(&m_bench->addClient(QString::number(proxies.size()), answer));
        }
        QVERIFY(refresh());
        QVERIFY(run([this] { m_cronwell->cronwellSyncTasks(); }));
        const QString file = sent.section(u' ', 2), value = schedule.section(u' ', 0, -2);
        const QString expected = sent.section(u' ', 0, 1) +
                                 u" {obj1 = {bundleid = com.velmora.Tidyhand; enabled = 1; "_s +
                                 (file.isEmpty() ? QString() : u"filename = %1; "_s.arg(file)) +
                                 (value.isEmpty() ? QString() : u"intervalval = %1; "_s.arg(value)) +
                                 u"scheduletype = %1; taskid = clean}}"_s.arg(schedule.section(u' ', -1));
        for (qsizetype i = 0; i < proxies.size(); ++i)
            QCOMPARE(changes(*proxies[i]).join(u'\n'), receiver == QString::number(i) ? expected : QString());
        QVERIFY(!logLines().filter(u"Syncing Cronwell tasks..."_s).isEmpty());
        QCOMPARE(logLines().filter(u"Populating Cronwell tasks..."_s).size(), 2);
    }

    void enables() {
        FakeProxy& one = addClient(u"one"_s, {u"a|Clean|x|6|60|off|user"_s, u"r|Check|x|6|60|off|root"_s});
        FakeProxy& two = addClient(u"two"_s, {u"b|Clean|x|6|60|off|user"_s});
        QVERIFY(refresh());  // rows: Check, Clean
        const auto& rows = m_cronwell->cronwellArray();
        QSignalSpy changed(m_cronwell.get(), &ToolController::changed);
        m_cronwell->setEnabled({{key(u"Clean"_s)},
                                {key(u"Check"_s), u"one.local."_s, u"r"_s},
                                {key(u"Check"_s), u"two.local."_s, u"r"_s},  // nobody's
                                {key(u"gone"_s)}},
                               1);
        QVERIFY(rows[1].enabled() == 1 && rows[0].enabled() == 0);
        for (const QVariant& child : rows[0].children() + rows[1].children())
            QCOMPARE(child.toMap().value(u"enabled"_s), QVariant(1));
        QCOMPARE(changed.size(), 1);
        QVERIFY(VLThread::joinAll(patience));
        const auto enable = [](const char* way, const char* more) {
            return u"enable %1 {obj1 = {enabled = %2}}"_s.arg(QLatin1String(way), QLatin1String(more));
        };
        QCOMPARE(changes(one),
                 (QStringList{enable("plain", "1; filename = a"), enable("auth", "1; filename = r")}));
        QCOMPARE(changes(two), QStringList{enable("plain", "1; filename = b")});
        QCOMPARE(changed.size(), 2);  // the one delayed refresh, which finds them as they were
        QCOMPARE(rows[1].enabled(), 0);
    }

    /// A refresh while the alert is open changes nothing about what it asked.
    void removesWhatWasConfirmed() {
        const QStringList tasks{u"a|Clean|x|6|60|on|user"_s, u"r|Check|x|6|60|on|root"_s,
                                u"o|Old|x|6|60|on|user"_s};
        FakeProxy& one = addClient(u"one"_s, tasks);
        QVERIFY(refresh());
        AlertAnswers alerts(VLAlert::AlternateReturn);
        // The file of "Old" is another task's by now, and the others were not found this time.
        alerts.meanwhile = [this] {
            m_cronwell->setCronwellArray({VLScheduledTask::scheduledTask(
                task({u"o"_s, u"New"_s, u"x"_s, u"6"_s, u"60"_s, u"on"_s, u"user"_s}), u"one.local."_s)});
        };
        m_cronwell->cronwellRemoveTaskAction({}, nullptr);
        m_cronwell->cronwellRemoveTaskAction({{key(u"Check"_s)}}, nullptr);
        QVERIFY(VLThread::joinAll(patience));
        QVERIFY(changes(one).isEmpty());
        alerts.answer = VLAlert::DefaultReturn;
        QVERIFY(refresh());
        const QList<RowTarget> chosen{
            {key(u"Check"_s)}, {key(u"Clean"_s)}, {key(u"Old"_s)}, {key(u"gone"_s)}};
        m_cronwell->cronwellRemoveTaskAction(chosen, nullptr);
        QVERIFY(VLThread::joinAll(patience));
        QCOMPARE(changes(one), (QStringList{u"remove auth {obj1 = r}"_s, u"remove plain {obj2 = a}"_s}));
        QCOMPARE(alerts.asked, QStringList({u"Are you sure you wish to delete this task?"_s,
                                            u"Are you sure you wish to delete these tasks?"_s}));
        QCOMPARE(alerts.details, QStringList(2, u"This cannot be undone."_s));
        QVERIFY(!logLines().filter(u"Removing Cronwell tasks: (Check, Clean)"_s).isEmpty());
    }
};

ORLENDO_TEST_MAIN(CronwellControllerTest)
#include "cronwell_controller_test.moc"
