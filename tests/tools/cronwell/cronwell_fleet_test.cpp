#include "foundation/PropertyList.h"
#include "support/Fleet.h"
#include "support/TestFiles.h"
#include "support/TestTable.h"
#include "system/VLAlert.h"
#include "tools/cronwell/CronwellController.h"

#include <QScopeGuard>

using namespace Qt::StringLiterals;

namespace {

const QString users[]{u"anna"_s, u"bruno"_s, u"chiara"_s, u"render"_s};
const QString daemons = u"/Library/LaunchDaemons/"_s, prefix = u"com.velmora.cronwell."_s;

}  // namespace

/// The scheduled tasks of real agents on real disks: what is checked is what lies on those disks.
class CronwellFleetTest : public QObject {
    Q_OBJECT

    std::unique_ptr<Fleet> m_fleet;

    [[nodiscard]] CronwellController& cronwell() { return m_fleet->tool<CronwellController>(u"cronwell"_s); }
    [[nodiscard]] QString agents(int machine) const {
        return u"/Users/%1/Library/LaunchAgents/"_s.arg(users[machine]);
    }
    [[nodiscard]] QVariant value(int machine, const QString& folder, const char* name,
                                 const char* key) const {
        const QString file = m_fleet->path(machine, folder + prefix + QLatin1String(name) + u".plist"_s);
        return PropertyList::readFile(file).toMap().value(QLatin1String(key));
    }
    [[nodiscard]] QVariant userValue(int machine, const char* name, const char* key) const {
        return value(machine, agents(machine), name, key);
    }
    [[nodiscard]] bool synchronise() {
        return m_fleet->onWorker([this] { cronwell().cronwellSyncTasks(); });
    }
    [[nodiscard]] VLScheduledTask task(const QString& description) {
        for (const VLScheduledTask& row : cronwell().cronwellArray())
            if (row.taskDescription() == description) return row;
        return {};
    }
    [[nodiscard]] bool enable(const QString& description, bool on, const QString& hostName = {},
                              const QString& fileName = {}) {
        cronwell().setEnabled({{task(description).key(), hostName, fileName}}, on);
        return m_fleet->waitForWorkers();
    }
    /// Name and content of every job on a machine.
    [[nodiscard]] QStringList jobs(int machine) const {
        QStringList lines;
        for (const QString& folder : {daemons, agents(machine)})
            for (const QFileInfo& info : QDir(m_fleet->path(machine, folder)).entryInfoList(QDir::Files))
                lines.append(info.fileName() + QString::fromUtf8(contentsOf(info.filePath())));
        return lines;
    }

private Q_SLOTS:
    void init() {
        m_fleet = std::make_unique<Fleet>(QStringLiteral(AGENT_PROGRAM));
        QVERIFY(m_fleet->start(4));
        QVERIFY(m_fleet->onWorker([this] { cronwell().refreshCronwellTasks(); }));
        QCOMPARE(cronwell().cronwellArray().size(), 6);
    }
    void cleanup() { m_fleet.reset(); }

    void synchronises() {
        QCOMPARE(task(u"Clean caches"_s).state(), int(VLScheduledTask::SchedulesDiffer));
        QCOMPARE(task(u"Collect crash logs"_s).state(), int(VLScheduledTask::EnabledDiffers));
        QCOMPARE(task(u"Check scratch disks"_s).missingHosts().size(), 2);
        QCOMPARE(task(u"Repair disk permissions"_s).missingHosts().size(), 1);
        QCOMPARE(userValue(2, "clean", "StartCalendarInterval").toMap().value(u"Hour"_s), QVariant(5));
        const QStringList untouched = jobs(0);
        QVERIFY(synchronise());

        QCOMPARE(jobs(0), untouched);  // this one has what most have
        QCOMPARE(userValue(2, "clean", "StartCalendarInterval"),
                 QVariant(QVariantMap{{u"Hour"_s, 4LL}, {u"Minute"_s, 30LL}, {u"Weekday"_s, 1LL}}));
        QCOMPARE(userValue(1, "crashes", "Disabled"), QVariant(false));
        for (const int machine : {1, 3})
            QCOMPARE(userValue(machine, "Routemark.check", "WatchPaths"),
                     QVariant(QVariantList{u"/Volumes"_s}));
        QCOMPARE(value(2, daemons, "permissions", "StartCalendarInterval").toMap().value(u"Day"_s),
                 QVariant(1));
        QVERIFY(m_fleet->timesAsked > 0);

        // The fourth has no Snapmend: it says so, stays connected, and the task stays missing there.
        for (const VLScheduledTask& row : cronwell().cronwellArray())
            QCOMPARE(row.state(), row.taskDescription() == u"Repair disk permissions"_s
                                      ? int(VLScheduledTask::Missing)
                                      : int(VLScheduledTask::Alike));
        QVERIFY(m_fleet->console().errorCallback()->stringRepresentation().contains(
            u"com.velmora.Snapmend not found"_s));
        QVERIFY(m_fleet->client(3)->isConnected());
    }

    void addsEnablesAndRemoves() {
        cronwell().cronwellAddTaskAction();
        QVERIFY(m_fleet->waitForWorkers());
        QCOMPARE(cronwell().newTaskAppDataArray().size(), 6);
        cronwell().addCronwellTask({{u"bundleid"_s, u"com.velmora.Tidyhand"_s},
                                    {u"taskid"_s, u"cleanAll"_s},
                                    {u"scheduletype"_s, u"6"_s},
                                    {u"intervalval"_s, u"900"_s},
                                    {u"enabled"_s, 1},
                                    {u"root"_s, 1}});
        QVERIFY(m_fleet->waitForWorkers());
        const char* const added = "Tidyhand.cleanAll";
        for (int machine = 0; machine < 4; ++machine)
            QCOMPARE(value(machine, daemons, added, "StartInterval"), QVariant(900));
        QCOMPARE(m_fleet->timesAsked, 4);  // each is another computer's administrator

        QVERIFY(enable(u"Clean everything"_s, false));
        QVERIFY(enable(u"Back up preferences"_s, false, m_fleet->hostName(2), prefix + u"backup.plist"_s));
        for (int machine = 0; machine < 4; ++machine) {
            QCOMPARE(value(machine, daemons, added, "Disabled"), QVariant(true));
            QCOMPARE(userValue(machine, "backup", "Disabled"), QVariant(machine == 2));
        }
        QCOMPARE(task(u"Back up preferences"_s).enabled(), -1);

        cronwell().cronwellEnableAllAction();
        QVERIFY(m_fleet->waitForWorkers());
        for (const VLScheduledTask& each : cronwell().cronwellArray())
            QCOMPARE(each.enabled(), 1);

        const QList<VLScheduledTask> chosen{task(u"Clean everything"_s), task(u"Clean caches"_s)};
        QVERIFY(m_fleet->onWorker([&] { cronwell().cronwellRemoveTasks(chosen); }));
        for (int machine = 0; machine < 4; ++machine) {
            const QString files = jobs(machine).join(u'\n');
            QVERIFY(!files.contains(u"cleanAll.plist"_s) && !files.contains(u"cronwell.clean.plist"_s));
            QVERIFY(files.contains(u"example.nightly-sync.plist"_s));
        }
        QCOMPARE(m_fleet->timesAsked, 4);
        QCOMPARE(cronwell().cronwellArray().size(), 5);
    }

    /// Every machine's tasks are again what they were, to the byte, and forth again.
    void undoes_data() {
        const TestTable<std::function<void(CronwellController&)>> row("action");
        row("synchronise", [](CronwellController& cronwell) { cronwell.cronwellSyncTasksAction(); });
        row("disable all", [](CronwellController& cronwell) { cronwell.cronwellDisableAllAction(); });
        row("remove", [](CronwellController& cronwell) {
            QList<RowTarget> all;
            for (const VLScheduledTask& task : cronwell.cronwellArray())
                all.append({task.key()});
            cronwell.cronwellRemoveTaskAction(all, nullptr);
        });
    }
    void undoes() {
        QFETCH(std::function<void(CronwellController&)>, action);
        const auto all = [this] {
            QList<QStringList> lines;
            for (int machine = 0; machine < 4; ++machine)
                lines.append(jobs(machine));
            return lines;
        };
        VLAlert::setPresenter([](const QVariantMap&, QObject*, const std::function<void(int)>& ended) {
            ended(VLAlert::DefaultReturn);
            return VLAlert::OrderOut();
        });
        const auto noAnswers = qScopeGuard([] { VLAlert::setPresenter({}); });
        m_fleet->answer.isForAll = true;
        const auto before = all();
        QVERIFY(m_fleet->run([&] { action(cronwell()); }));
        const auto after = all();
        QVERIFY(after != before);
        for (const bool isBack : {true, false, true}) {
            QVERIFY(m_fleet->undo());
            QCOMPARE(m_fleet->complaint(), QString());
            QCOMPARE(all(), isBack ? before : after);
        }
    }

    /// Root's tasks stay as they are where nobody gives a password that is right.
    void refusedCredentials() {
        m_fleet->answer.password = u"guess"_s;
        const QStringList before = jobs(0);
        QVERIFY(enable(u"Check for updates"_s, false));
        QVERIFY(m_fleet->refusals > 0);
        QCOMPARE(jobs(0), before);
        QCOMPARE(task(u"Check for updates"_s).enabled(), 1);  // the refresh shows it as it is
        QCOMPARE(value(3, daemons, "updates", "Disabled"), QVariant(false));
    }

    /// A machine loses its power before its turn: the others are served, its own disk stays whole.
    void dropsOutInTheMiddle() {
        const QStringList before = jobs(2);
        m_fleet->kill(2);
        QVERIFY(synchronise());
        QCOMPARE(jobs(2), before);
        QCOMPARE(userValue(1, "crashes", "Disabled"), QVariant(false));
        QVERIFY(userValue(3, "Routemark.check", "Label").isValid());
        QVERIFY(m_fleet->startAgent(2));
        QVERIFY(QTest::qWaitFor([&] { return m_fleet->client(2)->isConnected(); }, patience));
        // It gave no answer when it was last looked at, so it is left alone, and read.
        QVERIFY(synchronise());
        QCOMPARE(jobs(2), before);
        QVERIFY(synchronise());
        QCOMPARE(task(u"Clean caches"_s).state(), int(VLScheduledTask::Alike));
        QCOMPARE(jobs(2).size(), before.size());
    }
};

ORLENDO_WIDGETS_TEST_MAIN(CronwellFleetTest)
#include "cronwell_fleet_test.moc"
