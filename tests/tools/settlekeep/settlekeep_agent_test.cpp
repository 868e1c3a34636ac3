#include "FailingRenames.h"
#include "agent/AgentRoot.h"
#include "agent/TestFiles.h"
#include "agent/sample/SampleTree.h"
#include "agent/settlekeep/BackupStore.h"
#include "agent/tree/TreeArchive.h"
#include "support/Programs.h"
#include "support/TestEnvironment.h"
#include "system/VLException.h"

#include <QDirIterator>

#include <sys/resource.h>

using namespace Qt::StringLiterals;

namespace {

const QString backUp = u"settlekeepBackupSelected:"_s;
const QString restoreLocal = u"settlekeepRestoreLocalBackup:"_s;
const QString restoreRemote = u"settlekeepRestoreRemoteBackup:"_s;
const QString lock = u"settlekeepLockSelected:"_s;
const QString unlock = u"settlekeepUnlockSelected:"_s;
const QString trash = u"settlekeepTrashSelected:"_s;

const QString anna = u"/Users/anna/Library/"_s;
const QString editorData = u"Preferences/Final Cut Pro User Data/"_s;
const QString editorList = u"Preferences/com.apple.FinalCutPro.plist"_s;
const QString motionList = u"Preferences/com.apple.motion.plist"_s;
const QString backups = anna + u"Application Support/Velmora/Settlekeep/Backups"_s;

QVariantMap selection(const QString& keys, const QVariant& name = u"B"_s, const QVariant& type = 0) {
    return {{u"backupName"_s, name}, {u"backupType"_s, type}, {u"keys"_s, keys}};
}

/// Every file with its contents.
QMap<QString, QByteArray> filesBelow(const QString& folder) {
    QMap<QString, QByteArray> all;
    QDirIterator entries(folder, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString path = entries.next();
        QFile file(path);
        all.insert(path.mid(folder.size()),
                   file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("-"));
    }
    return all;
}

/// Where nothing waits for a disk.
QString quickFolder() {
    const QString memory = u"/dev/shm"_s;
    return (QFileInfo(memory).isWritable() ? memory : QDir::tempPath()) + u"/settlekeep-XXXXXX"_s;
}

/// Hears of refusals.
struct Console : VLRemoteCallback {
    void post(const QString&, const QVariantList& arguments) override {
        posted = arguments.first().toMap().value(u"reason"_s).toString();
    }
    QVariant perform(const QString&, const QVariantList&, std::chrono::milliseconds) override { return {}; }
    [[nodiscard]] bool isConnected() const override { return true; }
    QString posted;
};

/// One machine with its agent, without the network.
struct Machine {
    explicit Machine(int profile) {
        SampleTree::make(folder.path(), profile);
        AgentSettings settings;
        QString error;
        settings.apply(PropertyList::readFile(folder.filePath(u"agent.conf"_s)).toMap(), folder.path(),
                       &error);
        settings.complete();
        agent = std::make_shared<AgentContext>(settings);
        root = std::make_unique<AgentRoot>(agent);
        perform(u"setErrorCallback:"_s, {QVariant::fromValue<VLRemoteCallbackPtr>(console)});
    }
    QVariant perform(const QString& selector, const QVariantList& arguments = {}) const {
        return root->perform(selector, arguments, 1);
    }
    /// The reason for which the agent refuses; empty when it does not.
    QString refusal(const QString& selector, const QVariantList& arguments) const {
        try {
            perform(selector, arguments);
        } catch (const VLException& error) {
            return error.reason();
        }
        return std::exchange(console->posted, {});
    }
    [[nodiscard]] QString disk(const QString& path) const { return folder.filePath(u"disk"_s) + path; }
    [[nodiscard]] QByteArray contents(const QString& path) const {
        QFile file(disk(path));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(none)");
    }
    [[nodiscard]] QMap<QString, QByteArray> home(const QString& user = u"anna"_s) const {
        return filesBelow(disk(u"/Users/"_s + user));
    }
    [[nodiscard]] QVariantMap onlyBackup() const {
        return perform(u"settlekeepBackups"_s).toMap().first().toMap();
    }

    QTemporaryDir folder{quickFolder()};
    std::shared_ptr<Console> console = std::make_shared<Console>();
    std::shared_ptr<AgentContext> agent;
    std::unique_ptr<AgentRoot> root;
};

/// Without the backups.
QMap<QString, QByteArray> preferences(const QMap<QString, QByteArray>& home) {
    QMap<QString, QByteArray> kept = home;
    kept.removeIf([](auto entry) { return entry.key().contains(u"/Velmora"); });
    return kept;
}

void changeEverything(const Machine& machine) {
    QFile::remove(machine.disk(anna + editorList));
    writeFile(machine.disk(anna + motionList), "new");
    writeFile(machine.disk(anna + editorData + u"Button Bars/Mine.layout"_s), "new");
    writeFile(machine.disk(anna + editorData + u"Final Cut Pro Prof Cache.fcpch"_s), "new");
    writeFile(machine.disk(anna + u"Preferences/Color/Preferences.prf"_s), "not in the backup");
}

/// A small home folder whose preferences were changed since FOLDER/archive.zip was made of them: one of each
/// kind of change.
struct ChangedHome {
    ChangedHome() {
        const QString preferences = folder.filePath(u"disk"_s) + anna + u"Preferences/"_s;
        writeFile(preferences + u"com.apple.color.plist"_s, "color");
        writeFile(preferences + u"com.apple.motion.plist"_s, "motion");
        writeFile(preferences + u"Final Cut Pro User Data/Button Bars/Old.layout"_s, QByteArray(3000, 'x'));
        const WorkstationTree tree(folder.filePath(u"disk"_s));
        const BackupStore store(tree, folder.filePath(u"state"_s), u"anna"_s);
        const QString path = store.create(u"B"_s, 0, PreferenceKeys::groups(keys));
        writeFile(folder.filePath(u"archive.zip"_s), store.data(path));
        writeFile(preferences + u"com.apple.color.plist"_s, "new");
        writeFile(preferences + u"Color/Preferences.prf"_s, "new");  // was not there
        QFile::remove(preferences + u"com.apple.motion.plist"_s);
        writeFile(preferences + u"Final Cut Pro User Data/Button Bars/New.layout"_s, "new");
    }
    /// What the next start of the agent does.
    void recover() const {
        const WorkstationTree tree(folder.filePath(u"disk"_s));
        BackupStore(tree, folder.filePath(u"state"_s), u"anna"_s).recover();
    }
    [[nodiscard]] QMap<QString, QByteArray> files() const { return filesBelow(folder.filePath(u"disk"_s)); }

    static inline const QString keys = u"color,motion,fcpButton"_s;
    QTemporaryDir folder{quickFolder()};
};

/// Runs in a process of its own: OPERATION FOLDER KILL-AT FAIL-AT CANNOT-EXCHANGE LARGEST-FILE. Prints why it
/// failed.
int runChild(const QStringList& arguments) {
    VLLocalPaths::setTestRoot(arguments.at(1) + u"/child"_s);
    const WorkstationTree tree(arguments.at(1) + u"/disk"_s);
    const BackupStore store(tree, arguments.at(1) + u"/state"_s, u"anna"_s);
    QFile archive(arguments.at(1) + u"/archive.zip"_s);
    const QByteArray data = archive.open(QIODevice::ReadOnly) ? archive.readAll() : QByteArray();
    FailingRenames::callsUntilKill = arguments.at(2).toInt();
    FailingRenames::callsUntilFailure = arguments.at(3).toInt();
    FailingRenames::cannotExchange = arguments.at(4) == "1"_L1;
    if (const rlim_t largest = arguments.at(5).toULong(); largest > 0) {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{largest, largest};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    const auto groups = PreferenceKeys::groups(ChangedHome::keys);
    try {
        if (arguments.at(0) == "restore"_L1) static_cast<void>(store.restore(data));
        if (arguments.at(0) == "trash"_L1) static_cast<void>(store.trash(groups));
        if (arguments.at(0) == "backup"_L1) static_cast<void>(store.create(u"B"_s, 0, groups));
    } catch (const VLException& error) {
        puts(qPrintable(error.reason()));
        return 1;
    }
    return 0;
}

}  // namespace

class SettlekeepAgentTest : public QObject {
    Q_OBJECT

    static ProgramResult child(const QString& operation, const ChangedHome& home, int killAt, int failAt,
                               bool cannotExchange, int largestFile = 0) {
        return runProgram(
            QCoreApplication::applicationFilePath(),
            {u"--child"_s, operation, home.folder.path(), QString::number(killAt), QString::number(failAt),
             QString::number(int(cannotExchange)), QString::number(largestFile)});
    }

    std::unique_ptr<Machine> m_untouched;

private Q_SLOTS:
    void initTestCase() {
        m_untouched = std::make_unique<Machine>(1);
        const QString target = m_untouched->disk(u"/Users/x/x.backup"_s);
        QVERIFY(QDir().mkpath(m_untouched->disk(backups)) && QDir().mkpath(target));
        QVERIFY(QFile::link(target, m_untouched->disk(backups + u"/link.backup"_s)));
    }
    void cleanupTestCase() { m_untouched.reset(); }

    void restoresOnItsOwnMachine() {
        const Machine machine(1);
        const auto before = machine.home();
        machine.perform(backUp, {selection(u"fcp,motion"_s, u"../My: backup"_s, 1)});
        const QVariantMap backup = machine.onlyBackup();
        QVERIFY(backup.value(u"path"_s).toString().startsWith(backups + u"/-"_s));
        QCOMPARE(backup.value(u"name"_s), u"../My: backup"_s);
        QCOMPARE(backup.value(u"type"_s), 1);
        QVERIFY(backup.value(u"keys"_s).toString().startsWith(u"fcpPrefs,fcpBoris,"_s));
        QVERIFY(backup.value(u"size"_s).toLongLong() > 1000);
        QVERIFY(qAbs(backup.value(u"date"_s).toDateTime().secsTo(QDateTime::currentDateTimeUtc())) < 100);

        changeEverything(machine);
        machine.perform(restoreLocal, {backup.value(u"path"_s)});
        auto expected = before;
        expected[u"/Library/Preferences/Color/Preferences.prf"_s] = "not in the backup";
        QCOMPARE(preferences(machine.home()), preferences(expected));

        machine.perform(backUp, {selection(u"fcp,motion"_s, u"../My: backup"_s, 1)});
        QCOMPARE(machine.perform(u"settlekeepBackups"_s).toMap().size(), 2);  // under the same name
    }

    void restoresOnAnotherMachine() {
        const Machine first(1), second(2);
        first.perform(backUp, {selection(u"fcpPrefs,fcpButton,fcpPlugins,fce,compressor"_s)});
        const QVariantMap backup = first.onlyBackup();
        // What the first machine does not have is not in it.
        QVERIFY(!backup.value(u"keys"_s).toString().contains(u"fcePrefs"));
        QFile::remove(second.disk(u"/Users/bruno/Library/"_s + editorList));
        const auto before = second.home(u"bruno"_s);
        second.perform(restoreRemote, {first.perform(u"settlekeepBackupData:"_s, {backup.value(u"path"_s)})});
        for (const QString& file : {editorList, QString(editorData + u"Final Cut Pro Prof Cache.fcpch"_s),
                                    QString(editorData + u"Button Bars/anna.layout"_s),
                                    QString(editorData + u"Plugins/Guide Templates.txt"_s),
                                    u"Application Support/Compressor/Settings/Web delivery.setting"_s})
            QCOMPARE(second.contents(u"/Users/bruno/Library/"_s + file), first.contents(anna + file));
        QCOMPARE(second.contents(u"/Users/bruno/Library/"_s + editorData + u"Button Bars/bruno.layout"_s),
                 "(none)");
        for (const QString& file : {motionList, u"Preferences/com.apple.FinalCutExpress.plist"_s})
            QCOMPARE(second.contents(u"/Users/bruno/Library/"_s + file), before.value(u"/Library/"_s + file));
    }

    void lockedPreferencesStayAsTheyAre() {
        const Machine machine(1);
        const QString list = machine.disk(anna + editorList);
        const QString layout = machine.disk(anna + editorData + u"Button Bars/Standard.layout"_s);
        machine.perform(backUp, {selection(u"fcp"_s)});
        const QString path = machine.onlyBackup().value(u"path"_s).toString();
        machine.perform(lock, {u"fcp"_s});
        const TreeWriter writer(machine.agent->tree);
        QVERIFY(writer.isLocked(anna + editorList) && writer.isLocked(anna + editorData + u"Button Bars"_s));
        QVERIFY(!writer.isLocked(anna + motionList));
        const auto before = machine.home();
        for (const auto& [selector, argument] :
             {std::pair(restoreLocal, path), {trash, u"fcpButton,motion"_s}})
            QVERIFY(machine.refusal(selector, {argument})
                        .contains(u" is locked. Unlock the preferences first."_s));
        QCOMPARE(machine.home(), before);

        // A backup of locked files does not bring the lock back.
        machine.perform(backUp, {selection(u"fcp"_s, u"locked"_s)});
        machine.perform(unlock, {u"fcp"_s});
        QVERIFY(!writer.isLocked(anna + editorList));
        QVERIFY(QFile::remove(list) && QFile::remove(layout));
        for (const QVariant& backup : machine.perform(u"settlekeepBackups"_s).toMap())
            machine.perform(restoreLocal, {backup.toMap().value(u"path"_s)});
        QVERIFY(QFile::exists(list) && !writer.isLocked(anna + editorList));
    }

    void trashIsTheUsers() {
        const Machine machine(1);
        const QByteArray list = machine.contents(anna + editorList);
        machine.perform(trash, {QString()});
        machine.perform(trash, {u"fcpPrefs,fcpButton,fcpPlugins,fce"_s});
        QCOMPARE(machine.contents(u"/Users/anna/.Trash/com.apple.FinalCutPro.plist"_s), list);
        QVERIFY(QFile::exists(machine.disk(u"/Users/anna/.Trash/Button Bars/Standard.layout"_s)));
        QCOMPARE(machine.contents(anna + editorList), "(none)");
        QVERIFY(QFile::exists(machine.disk(anna + motionList)));

        const QString task = u"executeTask:bundleID:options:"_s, bundle = u"com.velmora.settlekeep"_s;
        QVERIFY(machine.refusal(task, {u"1"_s, bundle, QVariant()}).startsWith(u"Task not found"_s));
        machine.perform(task, {u"0"_s, bundle, QVariant()});
        QVERIFY(!QFile::exists(machine.disk(anna + motionList)));
        QVERIFY(QFile::exists(machine.disk(anna + editorData + u"Window Layouts/Standard.layout"_s)));
    }

    void badArgumentsChangeNothing_data() {
        QTest::addColumn<QString>("selector");
        QTest::addColumn<QVariantList>("arguments");
        QTest::addColumn<QString>("reason");
        const auto row = [](const char* name, const QString& selector, const QVariantList& arguments,
                            const char* reason) {
            QTest::newRow(name) << selector << arguments << QString::fromUtf8(reason);
        };
        row("unknown key", trash, {u"motion,other"_s}, "There are no preferences “other”.");
        row("path as key", lock, {u"../../etc"_s}, "There are no preferences");
        row("nothing chosen", backUp, {selection({})}, "No preferences are chosen.");
        row("nothing there", backUp, {selection(u"fcePrefs"_s)}, "There is nothing to back up");
        row("keys of a wrong kind", backUp, {QVariantMap{{u"keys"_s, 1}}}, "No preferences are chosen.");
        row("no name", backUp, {selection(u"fcp"_s, QString())}, "cannot have this name");
        row("name of a wrong kind", backUp, {selection(u"fcp"_s, QVariantList())}, "cannot have this name");
        row("long name", backUp, {selection(u"fcp"_s, QString(300, u'x'))}, "cannot have this name");
        row("two lines", backUp, {selection(u"fcp"_s, u"a\nb"_s)}, "cannot have this name");
        row("type", backUp, {selection(u"fcp"_s, u"B"_s, -1)}, "no such type");
        row("quick type", u"settlekeepBackup:type:"_s, {u"B"_s, 1e300}, "no such type");
        for (const char* path :
             {"/etc/passwd", "", "/Users/anna/Library/Preferences/x.backup",
              "/Users/anna/Library/Application Support/Velmora/Settlekeep/Backups/../x.backup",
              "/Users/anna/Library/Application Support/Velmora/Settlekeep/Backups/.."})
            row(qPrintable(u"path %1"_s.arg(QLatin1String(path))), restoreLocal, {QLatin1String(path)},
                "Not a backup");
        row("vanished", u"settlekeepBackupData:"_s, {QString(backups + u"/x.backup"_s)}, "no backup at");
        row("no archive", restoreRemote, {QByteArray("rubbish")}, "The archive is not usable");
        row("link instead of a backup", restoreLocal, {QString(backups + u"/link.backup"_s)}, "no backup at");
    }
    void badArgumentsChangeNothing() {
        QFETCH(QString, selector);
        QFETCH(QVariantList, arguments);
        QFETCH(QString, reason);
        const Machine& machine = *m_untouched;
        const auto before = preferences(machine.home());
        const QString refusal = machine.refusal(selector, arguments);
        QVERIFY2(refusal.contains(reason), qPrintable(refusal));
        QCOMPARE(preferences(machine.home()), before);
        QVERIFY(machine.perform(u"settlekeepBackups"_s).toMap().isEmpty());
        QVERIFY(machine.home().keys().filter(u"/Working/"_s).isEmpty());
    }

    /// An archive decides neither where files go nor what else is touched.
    void strangeArchives_data() {
        QTest::addColumn<QVariant>("info");
        QTest::addColumn<QString>("file");
        QTest::newRow("no information") << QVariant() << motionList;
        QTest::newRow("a list") << QVariant(QVariantList{1}) << motionList;
        QTest::newRow("unknown keys") << QVariant(QVariantMap{{u"keys"_s, u"../x,other"_s}}) << motionList;
        QTest::newRow("keys without files") << QVariant(QVariantMap{{u"keys"_s, u"fcp"_s}}) << motionList;
        QTest::newRow("files without keys")
            << QVariant(QVariantMap{{u"keys"_s, u"motion"_s}}) << u"Preferences/com.apple.loginitems.plist"_s;
    }
    void strangeArchives() {
        QFETCH(QVariant, info);
        QFETCH(QString, file);
        const Machine& machine = *m_untouched;
        const QString staging = anna + u"staging"_s;
        QVERIFY(writeFile(machine.disk(staging + u"/file"_s), "from outside"));
        QVERIFY(writeFile(machine.disk(staging + u"/Info.plist"_s), PropertyList::toData(info)));
        const QByteArray archive =
            TreeArchive::pack(machine.agent->tree, {{u"Info.plist"_s, staging + u"/Info.plist"_s},
                                                    {QString(u"Library/"_s + file), staging + u"/file"_s}});
        const auto before = preferences(machine.home());
        QCOMPARE(machine.refusal(restoreRemote, {archive}), u"This is no backup of preferences."_s);
        QCOMPARE(preferences(machine.home()), before);
    }

    void oldOrNewAfterEveryKill_data() {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<bool>("cannotExchange");
        QTest::newRow("restore") << u"restore"_s << false;
        QTest::newRow("restore without exchanging") << u"restore"_s << true;
        QTest::newRow("trash") << u"trash"_s << false;
    }
    void oldOrNewAfterEveryKill() {
        QFETCH(QString, operation);
        QFETCH(bool, cannotExchange);
        const ChangedHome reference;
        const auto old = preferences(reference.files());
        QCOMPARE(child(operation, reference, 0, 0, cannotExchange).exitCode, 0);
        const auto changed = preferences(reference.files());
        QVERIFY(old != changed);

        int olds = 0, news = 0;
        bool isThrough = false;
        for (int call = 1; call < 200 && !isThrough; ++call) {
            const ChangedHome home;
            isThrough = child(operation, home, call, 0, cannotExchange).exitCode == 0;
            home.recover();
            const auto now = preferences(home.files());
            QVERIFY2(now == old || now == changed, qPrintable(u"a mixture after call %1"_s.arg(call)));
            ++(now == old ? olds : news);
            QVERIFY(QDir(home.folder.filePath(u"state/settlekeep"_s)).isEmpty());
            QVERIFY(filesBelow(home.folder.path()).keys().filter(u"/Working/"_s).isEmpty());
        }
        QVERIFY2(isThrough && olds > 0 && news > 1, qPrintable(u"%1 old, %2 new"_s.arg(olds).arg(news)));
    }

    /// Any one call that fails: all or nothing, and in the second case it is said.
    void oldOrNewAfterEveryFailure_data() { oldOrNewAfterEveryKill_data(); }
    void oldOrNewAfterEveryFailure() {
        QFETCH(QString, operation);
        QFETCH(bool, cannotExchange);
        const ChangedHome reference;
        const auto old = preferences(reference.files());
        child(operation, reference, 0, 0, cannotExchange);
        const auto changed = preferences(reference.files());
        int refusals = 0;
        for (int call = 1; call < 40; ++call) {
            const ChangedHome home;
            const ProgramResult result = child(operation, home, 0, call, cannotExchange);
            if (result.exitCode != 0) QVERIFY2(result.output.contains(u"error"_s), qPrintable(result.output));
            QCOMPARE(preferences(home.files()), result.exitCode == 0 ? changed : old);
            refusals += result.exitCode == 0 ? 0 : 1;
        }
        QVERIFY(refusals > 3);
    }

    void fullDisk_data() {
        QTest::addColumn<QString>("operation");
        QTest::newRow("backup") << u"backup"_s;
        QTest::newRow("restore") << u"restore"_s;
    }
    void fullDisk() {
        QFETCH(QString, operation);
        const ChangedHome home;
        const auto before = home.files();
        const ProgramResult result = child(operation, home, 0, 0, false, 300);
        QCOMPARE(result.exitCode, 1);
        QVERIFY2(result.output.contains(u"there is no room left on the disk"_s), qPrintable(result.output));
        QCOMPARE(home.files(), before);
    }
};

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    if (argc > 1 && qstrcmp(argv[1], "--child") == 0) return runChild(application.arguments().mid(2));
    const TestEnvironment environment;
    SettlekeepAgentTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "settlekeep_agent_test.moc"
