#include "foundation/PropertyList.h"
#include "support/Fleet.h"
#include "tools/cronwell/CronwellController.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QStringList users{u"anna"_s, u"bruno"_s, u"chiara"_s, u"render"_s};
const QString updates = u"/Library/LaunchDaemons/com.velmora.cronwell.updates.plist"_s;

}  // namespace

/// The scheduled tasks of real agents on real disks: what is checked is what lies on those disks.
class CronwellFleetTest : public QObject {
    Q_OBJECT

    std::unique_ptr<Fleet> m_fleet;

    [[nodiscard]] CronwellController& cronwell() { return m_fleet->tool<CronwellController>(u"cronwell"_s); }
    [[nodiscard]] QString agentFile(int machine, const QString& name) const {
        return m_fleet->path(machine, u"/Users/%1/Library/LaunchAgents/com.velmora.cronwell.%2.plist"_s.arg(
                                          users[machine], name));
    }
    [[nodiscard]] static QVariant value(const QString& file, const char* key) {
        return PropertyList::readFile(file).toMap().value(QLatin1String(key));
    }
    [[nodiscard]] bool refresh() {
        return m_fleet->onWorker([this] { cronwell().refreshCronwellTasks(); });
    }
    [[nodiscard]] int row(const QString& description) {
        for (int row = 0; row < cronwell().cronwellArray().size(); ++row)
            if (cronwell().cronwellArray()[row].taskDescription() == description) return row;
        return -1;
    }
    [[nodiscard]] const VLScheduledTask& task(const QString& description) {
        return cronwell().cronwellArray().at(row(description));
    }
    [[nodiscard]] CronwellController::Target target(const QString& description) {
        return {task(description).taskBundleID(), description};
    }
    /// A client counts as not connected after a failure, until it was connected anew.
    [[nodiscard]] bool isBack(int machine) {
        return QTest::qWaitFor([&] { return m_fleet->client(machine)->isConnected(); }, 30'000);
    }
    /// Name and content of every job on a machine.
    [[nodiscard]] QStringList jobs(int machine) const {
        QStringList lines;
        for (const QString& folder :
             {u"/Library/LaunchDaemons"_s, u"/Users/%1/Library/LaunchAgents"_s.arg(users[machine])}) {
            const QDir directory(m_fleet->path(machine, folder));
            for (const QFileInfo& info : directory.entryInfoList(QDir::Files | QDir::Hidden)) {
                QFile file(info.filePath());
                if (file.open(QIODevice::ReadOnly))
                    lines.append(info.fileName() + QString::fromUtf8(file.readAll()));
            }
        }
        return lines;
    }

private Q_SLOTS:
    void init() {
        m_fleet = std::make_unique<Fleet>(QStringLiteral(AGENT_PROGRAM));
        QVERIFY(m_fleet->start(4));
        QVERIFY(refresh());
        QCOMPARE(cronwell().cronwellArray().size(), 6);
    }
    void cleanup() { m_fleet.reset(); }

    void synchronises() {
        QCOMPARE(task(u"Clean caches"_s).state(), int(VLScheduledTask::SchedulesDiffer));
        QCOMPARE(task(u"Collect crash logs"_s).state(), int(VLScheduledTask::EnabledDiffers));
        QCOMPARE(task(u"Check scratch disks"_s).missingHosts().size(), 2);
        QCOMPARE(task(u"Repair disk permissions"_s).missingHosts().size(), 1);
        QCOMPARE(value(agentFile(2, u"clean"_s), "StartCalendarInterval").toMap().value(u"Hour"_s),
                 QVariant(5LL));
        const QStringList untouched = jobs(0);
        QVERIFY(m_fleet->onWorker([this] { cronwell().cronwellSyncTasks(); }));

        QCOMPARE(jobs(0), untouched);  // this one has what most have
        QCOMPARE(value(agentFile(2, u"clean"_s), "StartCalendarInterval"),
                 QVariant(QVariantMap{{u"Hour"_s, 4LL}, {u"Minute"_s, 30LL}, {u"Weekday"_s, 1LL}}));
        QCOMPARE(value(agentFile(1, u"crashes"_s), "Disabled"), QVariant(false));
        for (const int machine : {1, 3}) {
            QCOMPARE(value(agentFile(machine, u"Routemark.check"_s), "WatchPaths"),
                     QVariant(QVariantList{u"/Volumes"_s}));
            QCOMPARE(value(agentFile(machine, u"Routemark.check"_s), "taskDescription"),
                     QVariant(u"Check scratch disks"_s));
        }
        const QString permissions =
            m_fleet->path(2, u"/Library/LaunchDaemons/com.velmora.cronwell.permissions.plist"_s);
        QCOMPARE(value(permissions, "StartCalendarInterval").toMap().value(u"Day"_s), QVariant(1LL));
        QVERIFY(m_fleet->timesAsked > 0);

        // The fourth has no Snapmend: it says so, and the task stays missing there.
        QVERIFY(isBack(3) && refresh());
        QCOMPARE(task(u"Repair disk permissions"_s).state(), int(VLScheduledTask::Missing));
        QVERIFY(m_fleet->console().errorCallback()->stringRepresentation().contains(
            u"com.velmora.Snapmend not found"_s));
        for (const VLScheduledTask& other : cronwell().cronwellArray())
            if (other.taskDescription() != u"Repair disk permissions"_s)
                QCOMPARE(other.state(), int(VLScheduledTask::Alike));
    }

    void addsEnablesAndRemoves() {
        cronwell().cronwellAddTaskAction();
        QVERIFY(m_fleet->waitForWorkers());
        QCOMPARE(cronwell().newTaskAppDataArray().size(), 6);
        const QVariantMap arguments{{u"bundleid"_s, u"com.velmora.Tidyhand"_s},
                                    {u"taskid"_s, u"cleanAll"_s},
                                    {u"scheduletype"_s, u"6"_s},
                                    {u"intervalval"_s, u"900"_s},
                                    {u"enabled"_s, 1},
                                    {u"root"_s, 1}};
        const QString added = u"/Library/LaunchDaemons/com.velmora.cronwell.Tidyhand.cleanAll.plist"_s;
        cronwell().addCronwellTask(arguments);
        QVERIFY(m_fleet->waitForWorkers());
        for (int machine = 0; machine < 4; ++machine)
            QCOMPARE(value(m_fleet->path(machine, added), "StartInterval"), QVariant(900LL));
        QCOMPARE(m_fleet->timesAsked, 4);  // each is another computer's administrator

        cronwell().setEnabled({target(u"Clean everything"_s)}, 0);
        QVERIFY(m_fleet->waitForWorkers());
        CronwellController::Target ofOne = target(u"Back up preferences"_s);
        ofOne.hostName = m_fleet->hostName(2);
        ofOne.fileName = QFileInfo(agentFile(2, u"backup"_s)).fileName();
        cronwell().setEnabled({ofOne}, 0);
        QVERIFY(m_fleet->waitForWorkers());
        for (int machine = 0; machine < 4; ++machine) {
            QCOMPARE(value(m_fleet->path(machine, added), "Disabled"), QVariant(true));
            QCOMPARE(value(agentFile(machine, u"backup"_s), "Disabled"), QVariant(machine == 2));
        }
        QCOMPARE(task(u"Back up preferences"_s).enabled(), -1);

        cronwell().cronwellEnableAllAction();
        QVERIFY(m_fleet->waitForWorkers());
        for (const VLScheduledTask& each : cronwell().cronwellArray())
            QCOMPARE(each.enabled(), 1);

        const QList<VLScheduledTask> chosen{task(u"Clean everything"_s), task(u"Clean caches"_s)};
        QVERIFY(m_fleet->onWorker([&] { cronwell().cronwellRemoveTasks(chosen); }));
        for (int machine = 0; machine < 4; ++machine) {
            QVERIFY(!QFile::exists(m_fleet->path(machine, added)));
            QVERIFY(!QFile::exists(agentFile(machine, u"clean"_s)));
            QVERIFY(QFile::exists(
                m_fleet->path(machine, u"/Library/LaunchDaemons/example.nightly-sync.plist"_s)));
        }
        QCOMPARE(m_fleet->timesAsked, 4);
        QCOMPARE(cronwell().cronwellArray().size(), 5);
    }

    /// Root's tasks stay as they are where nobody gives a password that is right.
    void refusedCredentials() {
        m_fleet->answer.password = u"guess"_s;
        const QStringList before = jobs(0);
        cronwell().setEnabled({target(u"Check for updates"_s)}, 0);
        QVERIFY(m_fleet->waitForWorkers());
        QVERIFY(m_fleet->refusals > 0);
        QCOMPARE(jobs(0), before);
        QCOMPARE(task(u"Check for updates"_s).enabled(), 1);  // the refresh shows it as it is
        QCOMPARE(value(m_fleet->path(3, updates), "Disabled"), QVariant(false));
    }

    /// A machine loses its power before its turn: the others are served, its own disk stays whole.
    void dropsOutInTheMiddle() {
        const QStringList before = jobs(2);
        m_fleet->kill(2);
        QVERIFY(m_fleet->onWorker([this] { cronwell().cronwellSyncTasks(); }));
        QCOMPARE(jobs(2), before);
        QCOMPARE(value(agentFile(1, u"crashes"_s), "Disabled"), QVariant(false));
        QVERIFY(QFile::exists(agentFile(3, u"Routemark.check"_s)));
        QVERIFY(m_fleet->startAgent(2));
        QVERIFY(isBack(2));
        QVERIFY(m_fleet->onWorker([this] { cronwell().cronwellSyncTasks(); }));
        // It lacked everything when it was last looked at, and yet nothing is there twice now.
        QVERIFY(isBack(3) && refresh());
        QCOMPARE(task(u"Clean caches"_s).state(), int(VLScheduledTask::Alike));
        QCOMPARE(jobs(2).size(), before.size());
    }
};

ORLENDO_WIDGETS_TEST_MAIN(CronwellFleetTest)
#include "cronwell_fleet_test.moc"
