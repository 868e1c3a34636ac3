#include "base/PropertyList.h"
#include "support/AlertAnswers.h"
#include "support/Fleet.h"
#include "support/TestFiles.h"
#include "support/TestTable.h"
#include "tools/cronwell/CronwellController.h"

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
        const QStringList untouched = jobs(0);
        QVERIFY(m_fleet->onWorker([this] { cronwell().cronwellSyncTasks(); }));

        QCOMPARE(jobs(0), untouched);  // this one has what most have
        QCOMPARE(value(2, agents(2), "clean", "StartCalendarInterval"),
                 QVariant(QVariantMap{{u"Hour"_s, 4LL}, {u"Minute"_s, 30LL}, {u"Weekday"_s, 1LL}}));
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

    void adds() {
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
        for (int machine = 0; machine < 4; ++machine)
            QCOMPARE(value(machine, daemons, "Tidyhand.cleanAll", "StartInterval"), QVariant(900));
        QCOMPARE(m_fleet->timesAsked, 4);  // each is another computer's administrator
        cronwell().cronwellEnableAllAction();
        QVERIFY(m_fleet->waitForWorkers());
        for (const VLScheduledTask& each : cronwell().cronwellArray())
            QCOMPARE(each.enabled(), 1);
        QCOMPARE(m_fleet->timesAsked, 4);
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
        const AlertAnswers yes;
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
};

ORLENDO_WIDGETS_TEST_MAIN(CronwellFleetTest)
#include "cronwell_fleet_test.moc"
