#include "agent/tree/TreeArchive.h"
#include "support/ChangedHome.h"
#include "support/FullDisk.h"
#include "support/SampleAgent.h"
#include "support/TestEnvironment.h"
#include "support/TestTable.h"

#include <QRegularExpression>

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

const std::pair<QString, QVariantList> quickTrash{u"executeTask:bundleID:options:"_s,
                                                  {u"0"_s, u"com.velmora.settlekeep"_s, QVariant()}};

QVariantMap selection(const QString& keys, const QVariant& name = u"B"_s, const QVariant& type = 0) {
    return {{u"backupName"_s, name}, {u"backupType"_s, type}, {u"keys"_s, keys}};
}

struct Machine : SampleAgent {
    using SampleAgent::SampleAgent;
    [[nodiscard]] QStringList home() const { return everything(disk(u"/Users/anna"_s)); }
    [[nodiscard]] QVariantMap onlyBackup() const {
        return perform(u"settlekeepBackups"_s).toMap().first().toMap();
    }
};

/// The preference files, and what of them is in the trash.
QStringList preferences(const QStringList& home) {
    return home.filter(QRegularExpression(u"^(/Users/anna)?/(Library/Preferences|[.]Trash)/.*: "_s));
}

}  // namespace

class SettlekeepAgentTest : public QObject {
    Q_OBJECT

    static QByteArray archiveOf(const QVariant& info, const QString& file) {
        const QTemporaryDir folder;
        writeFile(folder.filePath(u"disk/a/file"_s), "from outside");
        writeFile(folder.filePath(u"disk/a/info"_s), PropertyList::toData(info));
        return TreeArchive::pack(
            WorkstationTree(folder.filePath(u"disk"_s)),
            {{u"Info.plist"_s, u"/a/info"_s}, {QString(u"Library/"_s + file), u"/a/file"_s}});
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

    void restoresWhatWasThere() {
        const Machine machine(1);
        const auto before = preferences(machine.home());
        const QString name = u"../My: backup \U0001F468\u200D\U0001F467"_s;
        machine.perform(backUp, {selection(u"fcp,fce,motion"_s, name, 1)});
        const QVariantMap backup = machine.onlyBackup();
        QVERIFY(backup.value(u"path"_s).toString().startsWith(backups + u"/-"_s));
        QCOMPARE(backup.value(u"name"_s), name);
        const QString keys = backup.value(u"keys"_s).toString();
        QVERIFY(keys.startsWith(u"fcpPrefs,fcpBoris,"_s) && !keys.contains(u"fcePrefs"_s));  // it has none
        QVERIFY(qAbs(backup.value(u"date"_s).toDateTime().secsTo(QDateTime::currentDateTimeUtc())) < 100);

        QFile::remove(machine.disk(anna + editorList));
        for (const QString& file : {motionList, QString(editorData + u"Button Bars/Mine.layout"_s),
                                    QString(editorData + u"Final Cut Pro Prof Cache.fcpch"_s)})
            writeFile(machine.disk(anna + file), "new");
        machine.perform(restoreLocal, {backup.value(u"path"_s)});
        QCOMPARE(preferences(machine.home()), before);

        machine.perform(backUp, {selection(u"fcp"_s, name, 1)});
        QCOMPARE(machine.perform(u"settlekeepBackups"_s).toMap().size(), 3);  // under the same name
    }

    /// What a trash and a restore took, and no more, comes back exactly; and so does what that took.
    void waysBack() {
        const Machine machine(1);
        const auto lastUndo = [&] { return machine.perform(u"settlekeepLastUndo"_s).toMap(); };
        const auto shown = [&] {
            return machine.home().filter(QRegularExpression(u"^/Library/Preferences/.*(: | -> )"_s));
        };
        const QString keys = u"fcpPrefs,fcpBoris,fcpButton,stp"_s;
        const QFileInfo list(machine.disk(anna + editorList));
        QVERIFY(QFile::setPermissions(list.filePath(), QFile::Permissions(0x6626)));
        const QString link = machine.disk(anna + u"Preferences/com.borisfx.Text Scrambler"_s);
        QVERIFY(QFile::remove(link) && QFile::link(u"/elsewhere"_s, link));
        QFile::remove(machine.disk(anna + u"Preferences/com.apple.soundtrackpro.plist"_s));
        const auto before = shown();
        const auto date = list.lastModified();
        machine.perform(trash, {keys});
        const QVariantMap trashed = lastUndo();
        QCOMPARE(trashed.value(u"name"_s), u"Before trashing"_s);
        QCOMPARE(trashed.value(u"origin"_s), u"trash"_s);
        QCOMPARE(trashed.value(u"keys"_s), keys + u"Prefs"_s);
        QCOMPARE(machine.onlyBackup(), trashed);
        machine.perform(trash, {keys});
        QVERIFY(lastUndo().isEmpty());  // there was nothing left

        const auto afterTrash = shown();
        writeFile(machine.disk(anna + u"Preferences/com.apple.soundtrackpro.plist"_s), "new");
        const auto withNew = shown();
        for (const bool isRemote : {false, true}) {
            const QVariant path = trashed.value(u"path"_s);
            if (isRemote)
                machine.perform(restoreRemote, {machine.perform(u"settlekeepBackupData:"_s, {path})});
            else
                machine.perform(restoreLocal, {path});
            // A link that leads out does not travel.
            QCOMPARE(shown().filter(u"elsewhere"_s).size(), isRemote ? 0 : 1);
            if (isRemote) continue;
            QCOMPARE(shown(), before);
            const QFileInfo now(list.filePath());
            QCOMPARE(now.permissions(), QFile::Permissions(0x6626));
            QCOMPARE(now.lastModified(), date);
            QCOMPARE(lastUndo().value(u"name"_s), u"Before bringing back what was trashed"_s);
            machine.perform(restoreLocal, {lastUndo().value(u"path"_s)});
            QCOMPARE(shown(), withNew);
        }
        QVERIFY(afterTrash != withNew);
    }

    void lockedPreferencesStayAsTheyAre() {
        const Machine machine(1);
        const QString list = machine.disk(anna + editorList);
        machine.perform(backUp, {selection(u"fcp"_s)});
        const QString path = machine.onlyBackup().value(u"path"_s).toString();
        machine.perform(lock, {u"fcp"_s});
        const TreeWriter writer(machine.tree());
        QVERIFY(writer.isLocked(anna + editorList) && writer.isLocked(anna + editorData + u"Button Bars"_s));
        QVERIFY(!writer.isLocked(anna + motionList));
        const QVariantList locked = machine.perform(u"settlekeepLockedKeys"_s).toList();
        QVERIFY(locked.contains(u"fcpPrefs"_s) && locked.contains(u"fcpButton"_s));
        QVERIFY(!locked.contains(u"motionPrefs"_s));
        const auto before = machine.home();
        for (const auto& [selector, arguments] :
             {std::pair(restoreLocal, QVariantList{path}), {trash, {u"fcpButton,motion"_s}}, quickTrash})
            QVERIFY(machine.refusal(selector, arguments).startsWith(u"Nothing was "_s));
        QCOMPARE(machine.home(), before);

        // A backup of locked files does not bring the lock back.
        machine.perform(backUp, {selection(u"fcp"_s, u"locked"_s)});
        machine.perform(unlock, {u"fcp"_s});
        QVERIFY(machine.perform(u"settlekeepLockedKeys"_s).toList().isEmpty());
        QVERIFY(!writer.isLocked(anna + editorList) && QFile::remove(list));
        for (const QVariant& backup : machine.perform(u"settlekeepBackups"_s).toMap())
            machine.perform(restoreLocal, {backup.toMap().value(u"path"_s)});
        QVERIFY(QFile::exists(list) && !writer.isLocked(anna + editorList));
    }

    void badArgumentsChangeNothing_data() {
        const TestTable<QString, QVariantList, QString> row("selector", "arguments", "reason");
        const QString noName = u"A backup cannot have this name."_s, noKeys = u"No preferences are chosen."_s,
                      noType = u"There is no such type of backup."_s;
        row("path as key", lock, {u"motion,../../etc"_s}, u"There are no preferences “../../etc”."_s);
        row("nothing chosen", backUp, {selection({})}, noKeys);
        row("keys of a wrong kind", backUp, {QVariantMap{{u"keys"_s, 1}}}, noKeys);
        row("nothing there", backUp, {selection(u"fcePrefs"_s)},
            u"There is nothing to back up: this computer has none of these preferences."_s);
        for (const QVariant& name : {QVariant(QString()), QVariant(QVariantList()),
                                     QVariant(QString(300, u'x')), QVariant(u"a\nb"_s)})
            row(qPrintable(u"name "_s + name.toString().left(9)), backUp, {selection(u"fcp"_s, name)},
                noName);
        row("type", backUp, {selection(u"fcp"_s, u"B"_s, -1)}, noType);
        row("quick type", u"settlekeepBackup:type:"_s, {u"B"_s, 1e300}, noType);
        for (const QString& path :
             {u"/etc/passwd"_s, QString(), u"/Users/anna/Library/Preferences/x.backup"_s,
              QString(backups + u"/../x.backup"_s), QString(backups + u"/.."_s)})
            row(qPrintable(u"path "_s + path), restoreLocal, {path},
                u"Raised: Not a backup of this computer: "_s + path);
        for (const QString& path :
             {QString(backups + u"/vanished.backup"_s), QString(backups + u"/link.backup"_s)})
            row(qPrintable(path), restoreLocal, {path}, u"There is no backup at %1 any more."_s.arg(path));
        // An archive decides neither where files go nor what else is touched.
        row("no archive", restoreRemote, {QByteArray("rubbish")},
            u"The archive is not usable: Unrecognized archive format"_s);
        for (const auto& [tag, info, file] :
             {std::tuple("no information", QVariant(), motionList),
              {"a list", QVariantList{1}, motionList},
              {"unknown keys", QVariantMap{{u"keys"_s, u"../x,other"_s}}, motionList},
              {"keys without files", QVariantMap{{u"keys"_s, u"fcp"_s}}, motionList},
              {"files without keys", QVariantMap{{u"keys"_s, u"motion"_s}}, u"Preferences/x.plist"_s}})
            row(tag, restoreRemote, {archiveOf(info, file)}, u"This is no backup of preferences."_s);
    }
    void badArgumentsChangeNothing() {
        QFETCH(QString, selector);
        QFETCH(QVariantList, arguments);
        const Machine& machine = *m_untouched;
        const auto before = preferences(machine.home());
        QTEST(machine.refusal(selector, arguments), "reason");
        QCOMPARE(preferences(machine.home()), before);
        QVERIFY(machine.perform(u"settlekeepBackups"_s).toMap().isEmpty());
        QVERIFY(machine.home().filter(u"/Working/"_s).isEmpty());
    }

    void fullDisk() {
        const QTemporaryDir folder(quickFolder());
        ChangedHome::make(folder.path());
        const WorkstationTree tree(folder.filePath(u"disk"_s));
        const BackupStore store(tree, folder.filePath(u"state"_s), ChangedHome::user);
        const QByteArray archive = contentsOf(folder.filePath(u"archive.zip"_s));
        const auto groups = PreferenceKeys::groups(ChangedHome::keys);
        const QStringList before = everything(folder.filePath(u"disk"_s));
        const std::function<void()> changes[] = {[&] { (void)store.create(u"B"_s, 0, groups); },
                                                 [&] { (void)store.restore(archive); },
                                                 [&] { (void)store.trash(groups); }};
        for (const auto& change : changes) {
            QString reason;
            {
                const FullDisk limit(300);
                try {
                    change();
                } catch (const VLException& error) {
                    reason = error.reason();
                }
            }
            QVERIFY2(reason.contains(u"there is no room left on the disk"_s), qPrintable(reason));
            QCOMPARE(everything(folder.filePath(u"disk"_s)), before);
        }
    }
};

ORLENDO_TEST_MAIN(SettlekeepAgentTest)
#include "settlekeep_agent_test.moc"
