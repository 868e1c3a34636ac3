#include "system/VLAlert.h"
#include "tools/addonry/AddonryBench.h"
#include "tools/cronwell/CronwellController.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// "File|description|schedule|type|value|on|root".
QVariantMap task(const QStringList& words) {
    QVariantMap task{{u"taskDescription"_s, words[1]},
                     {u"taskBundleID"_s, u"com.velmora.Tidyhand"_s},
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

/// What was sent that changes something: "edit plain obj1 bundleid=…".
QStringList changes(const FakeProxy& proxy) {
    QStringList lines;
    for (const auto& [selector, arguments] : proxy.sent()) {
        if (!selector.startsWith(u"cronwell"_s) || selector == u"cronwellTaskDictionary"_s) continue;
        const QVariantMap objects = arguments.value(1).toMap();
        QStringList words{selector.mid(8).section(u"Task"_s, 0, 0).toLower(),
                          arguments.value(0).isValid() ? u"auth"_s : u"plain"_s};
        for (auto object = objects.cbegin(); object != objects.cend(); ++object) {
            words.append(object.key());
            const QVariantMap settings = object->toMap();
            for (auto setting = settings.cbegin(); setting != settings.cend(); ++setting)
                words.append(setting.key() + u'=' + setting->toString());
            if (settings.isEmpty()) words.append(object->toString());
        }
        lines.append(words.join(u' '));
    }
    return lines;
}

}  // namespace

class CronwellControllerTest : public QObject {
    Q_OBJECT

    std::unique_ptr<AddonryBench> m_bench;
    std::shared_ptr<CronwellController> m_cronwell;

    FakeProxy& addClient(const QString& name, const QStringList& tasks) {
        return m_bench->addClient(name, having(tasks));
    }
    [[nodiscard]] bool run(std::function<void()> work) { return m_bench->run(std::move(work)); }
    [[nodiscard]] bool refresh() {
        return run([this] { m_cronwell->refresh(); });
    }

    [[nodiscard]] CronwellController::Target target(int row) const {
        const VLScheduledTask& task = m_cronwell->cronwellArray().at(row);
        return {task.taskBundleID(), task.taskDescription()};
    }
    [[nodiscard]] CronwellController::Target job(int row, const QString& hostName,
                                                 const QString& file) const {
        CronwellController::Target job = target(row);
        job.hostName = hostName;
        job.fileName = file;
        return job;
    }

private Q_SLOTS:
    void init() {
        m_bench = std::make_unique<AddonryBench>();
        m_cronwell = std::make_shared<CronwellController>(m_bench->controller.context());
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
        QCOMPARE(
            m_cronwell->report().rows,
            (QList<QStringList>{line("Check|Every 60 seconds|Tidyhand|yes|root|1|missing|two, bad, gone"),
                                line("Clean|(various)|Tidyhand|mixed|user|2|missing|bad, gone")}));
        QCOMPARE(m_cronwell->cronwellArray()[1].missingHosts().first().toMap(),
                 (QVariantMap{{u"hostname"_s, u"bad.local."_s},
                              {u"enabled"_s, -1},
                              {u"frequencyDescription"_s, QString()},
                              {u"taskDescription"_s, u"Clean"_s}}));
        QCOMPARE(m_cronwell->cronwellArray()[1].children()[1].toMap().value(u"filename"_s), QVariant(u"c"_s));
        QCOMPARE(m_cronwell->taskScheduleScheduleTypeForDescription(u"Every 60 seconds"_s), QVariant(6));
        QVERIFY(!m_cronwell->taskScheduleScheduleTypeForDescription(u"(various)"_s).isValid());
        QVERIFY(!logLines().filter(u"Populating Cronwell tasks..."_s).isEmpty());
        m_cronwell->clearData();
        QVERIFY(m_cronwell->cronwellArray().isEmpty() && !m_cronwell->hasResult());
    }

    void synchronises_data() {
        QTest::addColumn<QStringList>("tasks");  // one client each; empty: it has none
        QTest::addColumn<QStringList>("sent");   // to each; empty: nothing
        const QString settings = u"bundleid=com.velmora.Tidyhand "_s;
        const QString three = u"a|Clean|Every day at 3:00|7|3|on|user"_s,
                      four = u"b|Clean|Every day at 4:00|7|4|on|user"_s,
                      often = u"c|Clean|Every 60 seconds|6|60|on|user"_s,
                      off = u"d|Clean|Every day at 3:00|7|3|off|user"_s,
                      rooted = u"e|Clean|Every 60 seconds|6|60|on|root"_s,
                      watching = u"f|Clean|Whenever /a changes|8|/a|on|user"_s,
                      other = u"g|Clean|Odd|0||on|user"_s;
        const auto to = [&](const char* verb, const QString& fileName, const QString& value, int type,
                            int enabled = 1) {
            const QString file = fileName.isEmpty() ? QString() : u" filename="_s + fileName;
            const QString interval = value.isEmpty() ? QString() : u" intervalval="_s + value;
            return QString(QLatin1String(verb) + u" obj1 "_s + settings + u"enabled=%1"_s.arg(enabled) +
                           file + interval + u" scheduletype=%1 taskid=clean"_s.arg(type));
        };
        QTest::newRow("alike") << QStringList{three, three} << QStringList{{}, {}};
        QTest::newRow("most have it") << QStringList{four, three, three}
                                      << QStringList{to("edit plain", u"b"_s, u"0,3,,,"_s, 7), {}, {}};
        QTest::newRow("as many: the first")
            << QStringList{three, four} << QStringList{{}, to("edit plain", u"b"_s, u"0,3,,,"_s, 7)};
        QTest::newRow("enabled") << QStringList{off, three, three}
                                 << QStringList{to("edit plain", u"d"_s, u"0,3,,,"_s, 7), {}, {}};
        QTest::newRow("missing") << QStringList{three, {}, three}
                                 << QStringList{{}, to("add plain", {}, u"0,3,,,"_s, 7), {}};
        QTest::newRow("seconds") << QStringList{often, {}}
                                 << QStringList{{}, to("add plain", {}, u"60"_s, 6)};
        QTest::newRow("directory") << QStringList{watching, {}}
                                   << QStringList{{}, to("add plain", {}, u"/a"_s, 8)};
        QTest::newRow("no schedule") << QStringList{other, {}} << QStringList{{}, to("add plain", {}, {}, 0)};
        QTest::newRow("administrator's")
            << QStringList{rooted, {}} << QStringList{{}, to("add auth", {}, u"60"_s, 6)};
        // The common values have the keys of the first, who has another kind of schedule.
        QTest::newRow("first is of another kind")
            << QStringList{often, three, three}
            << QStringList{to("edit plain", u"c"_s, u"0,3,,,"_s, 7), {}, {}};
    }
    void synchronises() {
        QFETCH(QStringList, tasks);
        QFETCH(QStringList, sent);
        QList<FakeProxy*> clients;
        for (qsizetype i = 0; i < tasks.size(); ++i)
            clients.append(
                &addClient(QString::number(i), tasks[i].isEmpty() ? QStringList() : QStringList{tasks[i]}));
        QVERIFY(refresh());
        QVERIFY(run([this] { m_cronwell->cronwellSyncTasks(); }));
        for (qsizetype i = 0; i < tasks.size(); ++i)
            QCOMPARE(changes(*clients[i]).join(u'\n'), sent[i]);
        QVERIFY(!logLines().filter(u"Syncing Cronwell tasks..."_s).isEmpty());
        QCOMPARE(logLines().filter(u"Populating Cronwell tasks..."_s).size(), 2);
    }

    void enables() {
        FakeProxy& one = addClient(u"one"_s, {u"a|Clean|x|6|60|off|user"_s, u"r|Check|x|6|60|off|root"_s});
        FakeProxy& two = addClient(u"two"_s, {u"b|Clean|x|6|60|off|user"_s});
        QVERIFY(refresh());  // rows: Check, Clean
        QSignalSpy changed(m_cronwell.get(), &ToolController::changed);
        m_cronwell->setEnabled({target(1)}, 1);
        QCOMPARE(m_cronwell->cronwellArray()[1].enabled(), 1);
        for (const QVariant& child : m_cronwell->cronwellArray()[1].children())
            QCOMPARE(child.toMap().value(u"enabled"_s), QVariant(1));
        QCOMPARE(changed.size(), 1);
        QVERIFY(VLThread::joinAll(patience));
        QCOMPARE(changes(one), QStringList{u"enable plain obj1 enabled=1 filename=a"_s});
        QCOMPARE(changes(two), QStringList{u"enable plain obj1 enabled=1 filename=b"_s});
        QCOMPARE(changed.size(), 2);  // the delayed refresh, which finds them as they were
        QCOMPARE(m_cronwell->cronwellArray()[1].enabled(), 0);

        m_cronwell->setEnabled({job(0, u"one.local."_s, u"r"_s)}, 1);
        QCOMPARE(m_cronwell->cronwellArray()[0].enabled(), 0);
        m_cronwell->setEnabled({job(0, u"two.local."_s, u"r"_s)}, 1);  // nobody's
        QVERIFY(VLThread::joinAll(patience));
        QCOMPARE(changes(one).last(), u"enable auth obj1 enabled=1 filename=r"_s);
        m_cronwell->cronwellDisableAllAction();
        QVERIFY(VLThread::joinAll(patience));
        for (const FakeProxy* client : {&one, &two})
            QCOMPARE(changes(*client).last(), u"enable auth obj1 enabled=0"_s);
        m_bench->services.removeFirst();
        QVERIFY(refresh());
        m_cronwell->cronwellEnableAllAction();
        QVERIFY(VLThread::joinAll(patience));
        QCOMPARE(changes(two).last(), u"enable plain obj1 enabled=1"_s);
        const QString log = logLines().join(u'\n');
        for (const QString& line :
             {u"Enabling Cronwell task on all hosts..."_s,
              u"Enabling Cronwell task Check on host one.local...."_s, u"Disabling all Cronwell tasks..."_s,
              u"Enabling all Cronwell tasks..."_s})
            QVERIFY2(log.contains(line), qPrintable(line));
    }

    void removesWhatWasConfirmed() {
        FakeProxy& one = addClient(u"one"_s, {u"a|Clean|x|6|60|on|user"_s, u"r|Check|x|6|60|on|root"_s});
        QVERIFY(refresh());
        QList<QVariantMap> asked;
        int answer = VLAlert::AlternateReturn;
        VLAlert::setPresenter(
            [&](const QVariantMap& description, QObject*, const std::function<void(int)>& ended) {
                asked.append(description);
                if (answer == VLAlert::DefaultReturn) m_cronwell->clearData();  // a change of the selection
                ended(answer);
                return [] {};
            });
        m_cronwell->cronwellRemoveTaskAction({}, nullptr);
        m_cronwell->cronwellRemoveTaskAction({target(0)}, nullptr);
        QVERIFY(VLThread::joinAll(patience));
        QVERIFY(changes(one).isEmpty());
        answer = VLAlert::DefaultReturn;
        m_cronwell->cronwellRemoveTaskAction({target(0), target(1), {u"x"_s, u"gone"_s}}, nullptr);
        QVERIFY(VLThread::joinAll(patience));
        VLAlert::setPresenter({});
        QCOMPARE(changes(one), (QStringList{u"remove auth obj1 r"_s, u"remove plain obj2 a"_s}));
        QCOMPARE(asked.size(), 2);
        const auto text = [&](int alert, const char* key) {
            return asked[alert].value(QLatin1String(key)).toString();
        };
        QCOMPARE(text(0, "messageText"), u"Are you sure you wish to delete this task?"_s);
        QCOMPARE(text(1, "messageText"), u"Are you sure you wish to delete these tasks?"_s);
        QCOMPARE(text(1, "informativeText"), u"This cannot be undone."_s);
        QCOMPARE(text(1, "defaultButtonTitle"), u"Remove"_s);
        QCOMPARE(text(1, "alternateButtonTitle"), u"Cancel"_s);
        QVERIFY(!logLines().filter(u"Removing Cronwell tasks: (Check, Clean)"_s).isEmpty());
    }

    void addsOnEveryClient() {
        FakeProxy& one = addClient(u"one"_s, {});
        FakeProxy& two = addClient(u"two"_s, {});
        for (const int root : {0, 1}) {
            m_cronwell->addCronwellTask({{u"bundleid"_s, u"x"_s}, {u"root"_s, root}});
            QVERIFY(VLThread::joinAll(patience));
        }
        for (const FakeProxy* client : {&one, &two})
            QCOMPARE(changes(*client), (QStringList{u"add plain obj1 bundleid=x root=0"_s,
                                                    u"add auth obj1 bundleid=x root=1"_s}));
        QVERIFY(
            !logLines().filter(u"Adding Cronwell task with arguments: {bundleid = x; root = 0}"_s).isEmpty());
    }

    /// Cancelling in the middle leaves the clients that were not reached yet as they are.
    void cancelledSyncStops() {
        addClient(u"one"_s, {u"a|Clean|x|6|60|on|user"_s});
        m_bench->addClient(u"two"_s, [this](const QString& selector, const QVariantList&) -> QVariant {
            if (selector.startsWith(u"cronwellAdd"_s))
                onMainThreadAndWait([this] { m_bench->progress.cancelStatusProgress(); });
            return selector == u"cronwellTaskDictionary"_s ? QVariant(QVariantMap()) : QVariant();
        });
        FakeProxy& three = addClient(u"three"_s, {});
        QVERIFY(refresh());
        QVERIFY(run([this] { m_cronwell->cronwellSyncTasks(); }));
        QVERIFY(changes(three).isEmpty());
        QVERIFY(!m_bench->progress.isProcessing() && !m_cronwell->isBusy());
    }
};

ORLENDO_TEST_MAIN(CronwellControllerTest)
#include "cronwell_controller_test.moc"
