#include "agent/tree/TreeWriter.h"
#include "support/Fleet.h"
#include "support/TestFiles.h"
#include "tools/settlekeep/SettlekeepController.h"

#include <QTest>
#include <QThread>

using namespace Qt::StringLiterals;

namespace {

const QString editorList = u"Preferences/com.apple.FinalCutPro.plist"_s;
const QString editorCache = u"Preferences/Final Cut Pro User Data/Final Cut Pro Prof Cache.fcpch"_s;
const QString motionList = u"Preferences/com.apple.motion.plist"_s;
const QString layout = u"Preferences/Final Cut Pro User Data/Button Bars/Standard.layout"_s;
const QStringList restored{editorList, editorCache, motionList};

constexpr const char* users[] = {"anna", "bruno", "chiara", "render"};

}  // namespace

/// One administrator's afternoon with real agents, looked at from their disks.
class SettlekeepFleetTest : public QObject {
    Q_OBJECT

    std::unique_ptr<Fleet> m_fleet;
    // A run works the machines in groups of equal size, one for each processor, and leaves out the rest.
    const int m_count = QThread::idealThreadCount() == 3 ? 3 : 4;

    [[nodiscard]] SettlekeepController& settlekeep() {
        return m_fleet->tool<SettlekeepController>(u"settlekeep"_s);
    }
    [[nodiscard]] QString path(int machine, const QString& file, const char* folder = "/Library/") const {
        return m_fleet->path(machine,
                             u"/Users/"_s + QLatin1String(users[machine]) + QLatin1String(folder) + file);
    }
    [[nodiscard]] QByteArray contents(int machine, const QString& file) const {
        return contentsOf(path(machine, file));
    }
    void overwrite(int machine, const QByteArray& text) const {
        for (const QString& file : restored)
            QVERIFY(writeFile(path(machine, file), text));
    }
    [[nodiscard]] QVariantMap backupOf(int machine) {
        for (const QVariantMap& backup : settlekeep().settlekeepBackupArray())
            if (backup.value(u"hostname"_s) == m_fleet->hostName(machine) && !backup.contains(u"origin"_s))
                return backup;
        return {};
    }
    bool act(void (SettlekeepController::*action)()) {
        (settlekeep().*action)();
        return m_fleet->waitForWorkers();
    }
    [[nodiscard]] int errorsAbout(const QString& text) {
        return int(m_fleet->console().errorCallback()->stringRepresentation().count(text));
    }
    /// Of every machine: all that is in its user's folder of preferences.
    [[nodiscard]] QList<QStringList> preferences() const {
        QList<QStringList> found;
        for (int machine = 0; machine < m_count; ++machine)
            found.append(everything(path(machine, u"Preferences"_s)));
        return found;
    }
    /// Takes the last run back, which makes it `before`; then that, and that too.
    [[nodiscard]] bool backAndForth(const QList<QStringList>& before) {
        const QList<QStringList> after = preferences();
        for (const bool isBack : {true, false, true})
            if (!m_fleet->undo() || preferences() != (isBack ? before : after)) return false;
        return m_fleet->complaint().isEmpty();
    }
    bool restore(const QVariantMap& backup) {
        return m_fleet->onWorker([this, backup] { settlekeep().settlekeepRestoreBackup(backup); });
    }

private Q_SLOTS:
    void initTestCase() {
        m_fleet = std::make_unique<Fleet>(QStringLiteral(AGENT_PROGRAM));
        QVERIFY(m_fleet->start(m_count));
        settlekeep().becomesVisible();
    }
    void init() {
        for (int machine = 0; machine < m_count; ++machine)
            QVERIFY(QTest::qWaitFor([&] { return m_fleet->client(machine)->isConnected(); }, patience));
    }
    void cleanupTestCase() {
        // Should a test have ended early, nobody could remove what it left locked.
        for (int machine = 0; machine < m_count; ++machine) {
            const WorkstationTree tree(m_fleet->diskFolder(machine));
            TreeWriter(tree).setLocked(u"/Users"_s, false);
        }
        m_fleet.reset();
    }

    void backsUpEveryMachine() {
        settlekeep().settlekeepBackupAction(u"Good state"_s, 1);
        QVERIFY(m_fleet->waitForWorkers());
        QCOMPARE(settlekeep().settlekeepBackupArray().size(), m_count);
        for (int machine = 0; machine < m_count; ++machine) {
            const QString folder = backupOf(machine).value(u"path"_s).toString();
            QVERIFY(QFile::exists(m_fleet->path(machine, folder + u"/Preferences.zip"_s)));
        }
        settlekeep().settlekeepQuickBackupAction(u"Quick"_s, 0);
        QVERIFY(m_fleet->waitForWorkers());
        QCOMPARE(settlekeep().report().rows.size(), 2 * m_count);
    }

    void restoresOneMachinesBackupOnAll() {
        QList<QByteArray> before;
        for (const QString& file : restored)
            before << contents(0, file);
        const QByteArray layoutBefore = contents(1, layout);
        for (int machine = 0; machine < m_count; ++machine)
            overwrite(machine, "spoiled");
        QVERIFY(restore(backupOf(0)));
        for (int machine = 0; machine < m_count; ++machine)
            for (qsizetype file = 0; file < restored.size(); ++file)
                QCOMPARE(contents(machine, restored[file]), before[file]);
        QCOMPARE(contents(1, layout), layoutBefore);  // was not ticked
    }

    void lockedMachinesSayThatTheyAreLocked() {
        const QByteArray before = contents(1, motionList);
        QVERIFY(act(&SettlekeepController::settlekeepLock));
        // One after the other: of errors that come at the same moment the queue may lose one.
        const QVariantMap backup = backupOf(0);
        for (int machine = 0; machine < m_count; ++machine) {
            m_fleet->select({machine});
            QVERIFY(restore(backup));
            QTRY_COMPARE_WITH_TIMEOUT(errorsAbout(u"Nothing was restored: "_s), machine + 1, patience);
            QVERIFY(act(&SettlekeepController::settlekeepTrash));
            QTRY_COMPARE_WITH_TIMEOUT(errorsAbout(u"Nothing was trashed: "_s), machine + 1, patience);
        }
        m_fleet->console().services().selectAll();
        QCOMPARE(contents(1, motionList), before);
        QVERIFY(act(&SettlekeepController::settlekeepUnlock));  // at once: a refusal parts nobody
        overwrite(1, "unlocked");
    }

    /// And every machine gets back what it had, and loses it again.
    void trashesOnEveryMachine() {
        for (int row = 0; row < settlekeep().settlekeepPrefArray().size(); ++row)
            settlekeep().setPrefSelected(row, -1, VLPrefItem::Off);
        settlekeep().setPrefSelected(0, 0, VLPrefItem::On);
        const QList<QStringList> before = preferences();
        QVERIFY(m_fleet->run([this] { settlekeep().settlekeepTrash(); }));
        for (int machine = 0; machine < m_count; ++machine) {
            QVERIFY(QFile::exists(path(machine, u"com.apple.FinalCutPro.plist"_s, "/.Trash/")));
            QVERIFY(!QFile::exists(path(machine, editorList)));
            QVERIFY(QFile::exists(path(machine, motionList)));
        }
        QVERIFY(backAndForth(before));
        QVERIFY(m_fleet->run([this] { settlekeep().settlekeepQuickTrash(); }));
        for (int machine = 0; machine < m_count; ++machine)
            QVERIFY(!QFile::exists(path(machine, motionList)));
        QVERIFY(QFile::exists(path(1, layout)));
        QVERIFY(backAndForth(before));
        const QVariantMap backup = backupOf(0);
        overwrite(0, "spoiled");
        const QList<QStringList> spoiled = preferences();
        QVERIFY(m_fleet->run([&] { settlekeep().settlekeepRestore(backup); }));
        QVERIFY(backAndForth(spoiled));
    }

    /// The agent of the second machine is killed while its turn is: it has the old or the new, the others the
    /// new.
    void machineDropsOutOfARestore() {
        for (int machine = 0; machine < m_count; ++machine)
            overwrite(machine, "old");
        startNewLog();
        settlekeep().settlekeepRestore(backupOf(0));
        QVERIFY(QTest::qWaitFor(
            [] { return logLines().contains(u"Progress: Restoring backup on Bay 2..."_s); }, patience));
        m_fleet->kill(1);
        QVERIFY(m_fleet->waitForWorkers());
        QVERIFY(m_fleet->startAgent(1));
        for (const QString& file : restored) {
            const bool isNew = contents(1, restored.first()) != "old";
            QCOMPARE(contents(1, file), isNew ? contents(0, file) : QByteArray("old"));
            for (int machine = 2; machine < m_count; ++machine)
                QCOMPARE(contents(machine, file), contents(0, file));
        }
        QVERIFY(contents(0, motionList) != "old");
    }
};

ORLENDO_WIDGETS_TEST_MAIN(SettlekeepFleetTest)
#include "settlekeep_fleet_test.moc"
