#include "agent/settlekeep/BackupStore.h"

#include "agent/settlekeep/BackupInfo.h"
#include "agent/tree/TreeArchive.h"
#include "base/PropertyList.h"
#include "logs/VLLog.h"
#include "remote/RemoteLimits.h"
#include "system/VLException.h"

#include <QDateTime>
#include <QUuid>

#include <algorithm>

namespace {

using Links = WorkstationTree::Links;
using Kind = WorkstationTree::Kind;
using PreferenceKeys::Group;

constexpr int longestNamedName = 200;
constexpr qint64 megabyte = qint64(1024) * 1024;

// A backup is restored elsewhere as one message, which has an envelope.
static_assert(BackupStore::largestData < qint64(RemoteLimits{}.messageBytes / 16 * 15));

const QString newFolder = QStringLiteral("/new");  ///< in a working folder
const QString archiveFile = QStringLiteral("/Preferences.zip");

[[noreturn]] void fail(const QString& reason) {
    throw VLException(VLException::generic, reason);
}

/// Something that whoever asked for it can put right.
[[noreturn]] void refuse(const QString& reason) {
    throw VLException(VLException::refused, reason);
}

[[noreturn]] void refuseVanished(const QString& path) {
    refuse(QStringLiteral("There is no backup at %1 any more.").arg(path));
}

/// It may have been damaged where it was kept.
void refuseUnusable(const QByteArray& archive) {
    QStringList names;
    try {
        names = TreeArchive::topLevelNames(archive);
    } catch (const VLException& error) {
        refuse(error.reason());
    }
    if (!names.contains(BackupInfo::file.mid(1))) refuse(QStringLiteral("This is no backup of preferences."));
}

/// What a backup of what a restore replaces is called.
QString nameBefore(const QVariantMap& restored) {
    if (!BackupInfo::isAutomatic(restored))
        return QStringLiteral("Before restoring “%1”")
            .arg(restored.value(BackupInfo::nameKey).toString().simplified().left(longestNamedName));
    return restored.value(BackupInfo::originKey).toString() == u"trash"
               ? QStringLiteral("Before bringing back what was trashed")
               : QStringLiteral("Before undoing a restore");
}

}  // namespace

BackupStore::BackupStore(const WorkstationTree& tree, const QString& stateDirectory, const QString& user)
    : m_tree(tree),
      m_writer(tree),
      m_change(tree, stateDirectory + QStringLiteral("/settlekeep")),
      m_user(user),
      m_library(WorkstationTree::homePath(user) + QStringLiteral("/Library/")),
      m_base(m_library + QStringLiteral("Application Support/Velmora/Settlekeep/")),
      m_backups(m_base + QStringLiteral("Backups")),
      m_working(m_base + QStringLiteral("Working")),
      m_automatic(tree, user, m_base, m_library) {}

// ---- The backups that there are

/// Empty when the folder holds no backup. The user may have written anything into it.
QVariantMap BackupStore::describe(const QString& folder) const {
    const auto archive = m_tree.entry(folder + archiveFile, Links::Refuse);
    if (!archive || archive->kind != Kind::File || !m_tree.entry(folder + BackupInfo::file, Links::Refuse))
        return {};
    const QVariantMap noted = BackupInfo::read(m_tree, folder);
    QVariantMap described = BackupInfo::describe(noted, folder, archive->modified);
    described.insert(BackupInfo::typeKey, noted.value(BackupInfo::typeKey).toLongLong());
    described.insert(BackupInfo::sizeKey, archive->size);
    return described;
}

QVariantMap BackupStore::list() const {
    QVariantMap found;
    const QList<QVariantMap> automatic = m_automatic.list();
    for (const QVariantMap& backup : automatic)
        found.insert(backup.value(BackupInfo::pathKey).toString().mid(m_base.size()), backup);
    const auto entries = m_tree.entries(m_backups, Links::Refuse);
    for (const auto& entry : entries) {
        if (entry.kind != Kind::Folder || !entry.name.endsWith(BackupInfo::extension)) continue;
        if (found.size() >= mostListed) break;
        const QVariantMap backup = describe(m_backups + u'/' + entry.name);
        if (!backup.isEmpty()) found.insert(entry.name, backup);
    }
    return found;
}

QVariantMap BackupStore::info(const QString& path) const {
    requirePossible(path);
    return m_automatic.isPossible(path) ? m_automatic.describe(path) : describe(path);
}

void BackupStore::requirePossible(const QString& path) const {
    const QString folder = path.section(u'/', 0, -2), name = path.section(u'/', -1);
    const bool isInPlace = folder == m_backups || m_automatic.isPossible(folder + u'/');
    if (isInPlace && name.endsWith(BackupInfo::extension) && WorkstationTree::isAcceptablePath(path)) return;
    throw VLException(VLException::invalidArgument,
                      QStringLiteral("Not a backup of this computer: %1").arg(path.left(200)));
}

QByteArray BackupStore::data(const QString& path) const {
    requirePossible(path);
    if (m_automatic.isPossible(path)) return packedAutomatic(path);
    const auto archive = m_tree.entry(path + archiveFile, Links::Refuse);
    if (!archive) refuseVanished(path);
    if (archive->size > largestData) refuse(QStringLiteral("The backup %1 is too large.").arg(path));
    const auto contents = m_tree.read(path + archiveFile, largestData, Links::Refuse);
    if (!contents) fail(QStringLiteral("The backup %1 cannot be read.").arg(path));
    return *contents;
}

QByteArray BackupStore::packedAutomatic(const QString& path) const {
    const QVariantMap backup = m_automatic.describe(path);
    if (backup.isEmpty()) refuseVanished(path);
    QMap<QString, QString> items{{BackupInfo::file.mid(1), path + BackupInfo::file}};
    for (const QString& file : PreferenceKeys::files(BackupInfo::groupsOf(backup)))
        if (const QString copy = AutomaticBackups::copiesIn(path) + u'/' + file; isThere(copy))
            items.insert(QStringLiteral("Library/") + file, copy);
    return packed(items);
}

// ---- Making one

QString BackupStore::newWorkingFolder() const {
    const QString folder = m_working + u'/' + QUuid::createUuid().toString(QUuid::Id128);
    m_writer.makeFolders(folder);
    return folder;
}

void BackupStore::removeWorkingFolder(const QString& folder) const {
    try {
        m_writer.remove(folder);
    } catch (const VLException& error) {
        VLLog::appendLog(error.reason());  // the next start tries again
    }
}

QString BackupStore::create(const QString& name, int type, const QList<Group>& groups) const {
    QList<Group> present;
    for (Group group : groups) {
        const auto isMissing = [this](const QString& file) {
            return !m_tree.entry(absolute(file), Links::Refuse);
        };
        group.files.removeIf(isMissing);
        if (!group.files.isEmpty()) present.append(group);
    }
    if (present.isEmpty())
        refuse(QStringLiteral("There is nothing to back up: this computer has none of these preferences."));
    const QDateTime date = QDateTime::currentDateTimeUtc();
    QVariantMap info = BackupInfo::make(name, m_user, present, date);
    info.insert(BackupInfo::typeKey, qlonglong(type));
    const QString working = newWorkingFolder();
    try {
        pack(working, info, present);
        const QString path = BackupInfo::freePath(m_writer, m_backups, name, date);
        m_writer.move(working, path);
        return path;
    } catch (const VLException&) {
        removeWorkingFolder(working);
        throw;
    }
}

void BackupStore::pack(const QString& working, const QVariantMap& info, const QList<Group>& groups) const {
    m_writer.write(working + BackupInfo::file, PropertyList::toData(info));
    QMap<QString, QString> items{{BackupInfo::file.mid(1), working + BackupInfo::file}};
    for (const QString& file : PreferenceKeys::files(groups))
        items.insert(QStringLiteral("Library/") + file, absolute(file));
    m_writer.write(working + archiveFile, packed(items));
}

QByteArray BackupStore::packed(const QMap<QString, QString>& items) const {
    QByteArray archive;
    try {
        archive = TreeArchive::pack(m_tree, items);
    } catch (const VLException& error) {
        refuse(error.reason());  // it is the user's own files that cannot be packed
    }
    if (archive.size() > largestData)
        refuse(
            QStringLiteral("These preferences are too large for a backup: they take %1 MB packed, and %2 MB "
                           "can be kept.")
                .arg(archive.size() / megabyte)
                .arg(largestData / megabyte));
    return archive;
}

// ---- Changes, each with the backup of what it replaces

BackupStore::Change BackupStore::restore(const QByteArray& archive) const {
    refuseUnusable(archive);
    return restoreWith([&](const QString& folder) {
        TreeArchive::unpack(m_tree, archive, folder);
        return BackupInfo::read(m_tree, folder);
    });
}

BackupStore::Change BackupStore::restoreFrom(const QString& path) const {
    requirePossible(path);
    if (!m_automatic.isPossible(path)) return restore(data(path));
    if (m_automatic.describe(path).isEmpty()) refuseVanished(path);
    return restoreWith([&](const QString& folder) {
        m_writer.copyAll({{AutomaticBackups::copiesIn(path), AutomaticBackups::copiesIn(folder)}});
        return BackupInfo::read(m_tree, path);
    });
}

BackupStore::Change BackupStore::restoreWith(
    const std::function<QVariantMap(const QString& folder)>& unpack) const {
    const QString working = newWorkingFolder(), unpacked = working + newFolder;
    QList<TreeChange::Step> steps;
    TreeChange::Step backup;
    Change change;
    try {
        const QVariantMap info = unpack(unpacked);
        const QList<Group> groups = groupsIn(unpacked, info);
        if (groups.isEmpty()) refuse(QStringLiteral("This is no backup of preferences."));
        steps = restoringSteps(working, info, groups);
        refuseLocked(steps, QStringLiteral("restored"));
        for (const Group& group : groups)
            change.keys.append(group.key);
        if (!steps.isEmpty())
            backup = m_automatic.stage(m_change, working, groups, AutomaticBackups::Before::Restore,
                                       nameBefore(info));
    } catch (const VLException&) {
        removeWorkingFolder(working);
        throw;
    }
    change.kept = commit(working, std::move(steps), backup, TreeChange::Former::Removed);
    return change;
}

/// A link only where this program copied it: what an archive has in place of a file leads nowhere.
bool BackupStore::holds(const QString& unpacked, const QString& file, const QVariantMap& info) const {
    const QString path = AutomaticBackups::copiesIn(unpacked) + u'/' + file;
    return m_tree.entry(path, Links::Refuse) || (BackupInfo::isAutomatic(info) && isThere(path));
}

/// What the backup is about. One that knows what was missing is about that too.
QList<Group> BackupStore::groupsIn(const QString& unpacked, const QVariantMap& info) const {
    QList<Group> groups = BackupInfo::groupsOf(info);
    if (BackupInfo::isAutomatic(info)) return groups;
    groups.removeIf([&](const Group& group) {
        return std::none_of(group.files.begin(), group.files.end(),
                            [&](const QString& file) { return holds(unpacked, file, info); });
    });
    return groups;
}

QList<TreeChange::Step> BackupStore::restoringSteps(const QString& working, const QVariantMap& info,
                                                    const QList<Group>& groups) const {
    const QString unpacked = working + newFolder;
    QList<TreeChange::Step> steps;
    for (const QString& file : PreferenceKeys::files(groups)) {
        const QString former = AutomaticBackups::copiesIn(unpacked) + u'/' + file;
        if (holds(unpacked, file, info)) {
            m_writer.setLocked(former, false);  // read-only may have stood for locked
            steps.append(m_change.putting(former, absolute(file)));
        } else if (isThere(absolute(file))) {
            steps.append({absolute(file), QStringLiteral("%1/old-%2").arg(working).arg(steps.size())});
        }
    }
    return steps;
}

BackupStore::Change BackupStore::trash(const QList<Group>& groups) const {
    QStringList targets;
    for (const QString& file : PreferenceKeys::files(groups))
        if (isThere(absolute(file))) targets.append(absolute(file));
    if (targets.isEmpty()) return {};
    const QString working = newWorkingFolder();
    QList<TreeChange::Step> steps;
    TreeChange::Step backup;
    try {
        for (const QString& target : std::as_const(targets)) {
            // In the trash it is found under its own name.
            const QString place =
                QStringLiteral("%1/%2/%3").arg(working).arg(steps.size()).arg(target.section(u'/', -1));
            steps.append({target, place});
        }
        refuseLocked(steps, QStringLiteral("trashed"));
        backup = m_automatic.stage(m_change, working, groups, AutomaticBackups::Before::Trash,
                                   QStringLiteral("Before trashing"));
    } catch (const VLException&) {
        removeWorkingFolder(working);
        throw;
    }
    return {{}, targets.size(), commit(working, std::move(steps), backup, TreeChange::Former::Trashed)};
}

QString BackupStore::commit(const QString& working, QList<TreeChange::Step> steps,
                            const TreeChange::Step& backup, TreeChange::Former former) const {
    if (steps.isEmpty()) {
        removeWorkingFolder(working);
        return {};
    }
    steps.prepend(backup);
    m_change.commit({working}, steps, former, m_user);
    m_automatic.makeRoom(backup.target, m_working);
    return backup.target;
}

void BackupStore::refuseLocked(const QList<TreeChange::Step>& steps, const QString& what) const {
    for (const TreeChange::Step& step : steps) {
        if (!isThere(step.target) || !m_writer.isLocked(step.target)) continue;
        refuse(QStringLiteral("Nothing was %1: %2 is locked. Unlock the preferences first.")
                   .arg(what, step.target));
    }
}

// ---- Locks

qsizetype BackupStore::setLocked(const QList<Group>& groups, bool locked, bool* couldBeImmutable) const {
    qsizetype count = 0;
    for (const QString& file : PreferenceKeys::files(groups)) {
        if (!isThere(absolute(file))) continue;
        *couldBeImmutable = m_writer.setLocked(absolute(file), locked) && *couldBeImmutable;
        ++count;
    }
    return count;
}

QStringList BackupStore::lockedKeys() const {
    QStringList keys;
    const auto isLocked = [this](const QString& file) {
        return isThere(absolute(file)) && m_writer.isLocked(absolute(file));
    };
    for (const Group& group : PreferenceKeys::allGroups())
        if (std::any_of(group.files.begin(), group.files.end(), isLocked)) keys.append(group.key);
    return keys;
}

void BackupStore::recover() const {
    m_change.recover();
    const auto entries = m_tree.entries(m_working, Links::Refuse);
    for (const auto& entry : entries)
        removeWorkingFolder(m_working + u'/' + entry.name);
}
