#include "agent/tree/TreeArchive.h"
#include "agent/tree/TreeWriter.h"
#include "fuzz/Fuzzing.h"
#include "fuzz/SampleValues.h"

namespace {

constexpr qint64 mostContents = 1 << 20;

/// A disk with one folder to unpack in; nothing may ever appear beside that.
struct Disk {
    QTemporaryDir folder{quickFolder()};
    QString inside = QStringLiteral("/in");
    Disk() { QDir(folder.path()).mkdir(QStringLiteral("in")); }
    [[nodiscard]] bool isUntouched() const {
        return QDir(folder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot) ==
               QStringList(QStringLiteral("in"));
    }
};

}  // namespace

/// An archive that a console sends. It is unpacked where it belongs or refused, and then nothing stays of it.
/// What was unpacked can be packed.
void readInput(const QByteArray& input) {
    static const Disk disk;
    static const WorkstationTree tree(disk.folder.path());
    const QString target = disk.inside + QStringLiteral("/new");
    bool isUnpacked = false;
    try {
        static_cast<void>(TreeArchive::topLevelNames(input));
        TreeArchive::unpack(tree, input, target, mostContents);
        isUnpacked = true;
    } catch (const VLException&) {
    }
    mustHold(disk.isUntouched(), "nothing is made outside");
    if (isUnpacked) {
        static_cast<void>(TreeArchive::pack(tree, {{QStringLiteral("again"), target}}));
        TreeWriter(tree).remove(target);
    }
    mustHold(QDir(disk.folder.path() + disk.inside)
                 .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot)
                 .isEmpty(),
             "a refused archive leaves nothing");
}

QList<QByteArray> seeds() {
    const QTemporaryDir folder(quickFolder());
    const QString root = folder.path();
    QList<QByteArray> made;
    const auto pack = [&](const QMap<QString, QString>& items) {
        made.append(TreeArchive::pack(WorkstationTree(root), items));
    };
    writeFile(root + QStringLiteral("/a/file"), QByteArray(300, 'x'));
    pack({{QStringLiteral("file"), QStringLiteral("/a/file")}});
    pack({{QStringLiteral("Größe/剪辑"), QStringLiteral("/a/file")}});
    writeBundle(root + QStringLiteral("/a/b.plugin"),
                {{QStringLiteral("CFBundleName"), QStringLiteral("b")}});
    QFile::link(QStringLiteral("b.plugin/Contents"), root + QStringLiteral("/a/link"));
    QDir(root).mkpath(QStringLiteral("/a/empty"));
    pack({{QStringLiteral("a"), QStringLiteral("/a")}, {QStringLiteral("c"), QStringLiteral("/a/b.plugin")}});
    const SampleAgent agent(1);
    for (const QVariant& plugin : agent.perform(QStringLiteral("addonryPluginList")).toList().mid(0, 3))
        made.append(agent
                        .perform(QStringLiteral("addonryPluginData:"),
                                 {plugin.toMap().value(QStringLiteral("fullPath"))})
                        .toByteArray());
    agent.perform(QStringLiteral("settlekeepBackup:type:"), {QStringLiteral("b"), qlonglong(1)});
    const QVariantMap backups = agent.perform(QStringLiteral("settlekeepBackups")).toMap();
    for (const QVariant& backup : backups)
        made.append(agent
                        .perform(QStringLiteral("settlekeepBackupData:"),
                                 {backup.toMap().value(QStringLiteral("path"))})
                        .toByteArray());
    made.removeAll(QByteArray());
    return made;
}
