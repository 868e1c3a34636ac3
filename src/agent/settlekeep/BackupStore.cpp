#include "agent/settlekeep/BackupStore.h"

#include "agent/tree/TreeArchive.h"
#include "foundation/PropertyList.h"
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

constexpr qint64 largestInfo = 64 * 1024;
constexpr int longestName = 255, longestFileName = 60;
constexpr int mostNameAttempts = 1000;
constexpr qint64 megabyte = qint64(1024) * 1024;

// A backup is restored elsewhere as one message, which has an envelope.
static_assert(BackupStore::largestData < qint64(RemoteLimits{}.messageBytes / 16 * 15));

const QString extension = QStringLiteral(".backup");
const QString infoFile = QStringLiteral("/Info.plist");
const QString archiveFile = QStringLiteral("/Preferences.zip");
const QString nameKey = QStringLiteral("name");
const QString typeKey = QStringLiteral("type");
const QString dateKey = QStringLiteral("date");
const QString keysKey = QStringLiteral("keys");

[[noreturn]] void fail(const QString& reason) {
    throw VLException(VLException::generic, reason);
}

/// Something that whoever asked for it can put right.
[[noreturn]] void refuse(const QString& reason) {
    throw VLException(VLException::refused, reason);
}

/// It may have been damaged where it was kept.
void refuseUnusable(const QByteArray& archive) {
    QStringList names;
    try {
        names = TreeArchive::topLevelNames(archive);
    } catch (const VLException& error) {
        refuse(error.reason());
    }
    if (!names.contains(infoFile.mid(1))) refuse(QStringLiteral("This is no backup of preferences."));
}

/// Whatever was typed, as the beginning of a file name.
QString fileNameFor(const QString& name) {
    QString fileName = name.left(longestFileName);
    for (QChar& character : fileName)
        if (!character.isPrint() || character == u'/' || character == u':' || character.isSurrogate())
            character = u'-';
    if (fileName.startsWith(u'.')) fileName[0] = u'-';
    return fileName;
}

QStringList keysOf(const QVariantMap& info) {
    return info.value(keysKey).toString().split(u',', Qt::SkipEmptyParts);
}

QString joinedKeys(const QList<Group>& groups) {
    QStringList keys;
    for (const Group& group : groups)
        keys.append(group.key);
    return keys.join(u',');
}

}  // namespace

BackupStore::BackupStore(const WorkstationTree& tree, const QString& stateDirectory, const QString& user)
    : m_tree(tree),
      m_writer(tree),
      m_change(tree, stateDirectory),
      m_user(user),
      m_library(WorkstationTree::homePath(user) + QStringLiteral("/Library/")) {
    const QString base = m_library + QStringLiteral("Application Support/Velmora/Settlekeep/");
    m_backups = base + QStringLiteral("Backups");
    m_working = base + QStringLiteral("Working");
}

// ---- The backups that there are

/// Empty when the folder holds no backup. The user may have written anything into it.
QVariantMap BackupStore::describe(const QString& folder) const {
    const auto archive = m_tree.entry(folder + archiveFile, Links::Refuse);
    const auto written = m_tree.read(folder + infoFile, largestInfo, Links::Refuse);
    if (!archive || archive->kind != Kind::File || !written) return {};
    const QVariantMap info = PropertyList::fromData(*written).toMap();
    const QVariant date = info.value(dateKey);
    return {{QStringLiteral("path"), folder},
            {nameKey, info.value(nameKey).toString().left(longestName)},
            {typeKey, info.value(typeKey).toLongLong()},
            {dateKey, date.typeId() == QMetaType::QDateTime ? date : archive->modified},
            {keysKey, joinedKeys(PreferenceKeys::knownGroups(keysOf(info)))},
            {QStringLiteral("size"), archive->size}};
}

QVariantMap BackupStore::list() const {
    QVariantMap found;
    const auto entries = m_tree.entries(m_backups, Links::Refuse);
    for (const auto& entry : entries) {
        if (entry.kind != Kind::Folder || !entry.name.endsWith(extension)) continue;
        if (found.size() >= mostListed) break;
        const QVariantMap backup = describe(m_backups + u'/' + entry.name);
        if (!backup.isEmpty()) found.insert(entry.name, backup);
    }
    return found;
}

QByteArray BackupStore::data(const QString& path) const {
    const QString name = path.section(u'/', -1);
    if (path != m_backups + u'/' + name || !name.endsWith(extension) ||
        !WorkstationTree::isAcceptablePath(path)) {
        throw VLException(VLException::invalidArgument,
                          QStringLiteral("Not a backup of this computer: %1").arg(path.left(200)));
    }
    const auto archive = m_tree.entry(path + archiveFile, Links::Refuse);
    if (!archive) refuse(QStringLiteral("There is no backup at %1 any more.").arg(path));
    if (archive->size > largestData) refuse(QStringLiteral("The backup %1 is too large.").arg(path));
    const auto contents = m_tree.read(path + archiveFile, largestData, Links::Refuse);
    if (!contents) fail(QStringLiteral("The backup %1 cannot be read.").arg(path));
    return *contents;
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
    const QVariantMap info{{nameKey, name},
                           {typeKey, qlonglong(type)},
                           {dateKey, date},
                           {keysKey, joinedKeys(present)},
                           {QStringLiteral("user"), m_user}};
    const QString working = newWorkingFolder();
    try {
        pack(working, info, present);
        return keep(working, name, date);
    } catch (const VLException&) {
        removeWorkingFolder(working);
        throw;
    }
}

void BackupStore::pack(const QString& working, const QVariantMap& info, const QList<Group>& groups) const {
    m_writer.write(working + infoFile, PropertyList::toData(info));
    QMap<QString, QString> items{{QStringLiteral("Info.plist"), working + infoFile}};
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

/// Several may have the same name: they differ in their date.
QString BackupStore::keep(const QString& working, const QString& name, const QDateTime& date) const {
    const QString base =
        QStringLiteral("%1/%2 %3")
            .arg(m_backups, fileNameFor(name), date.toString(QStringLiteral("yyyy-MM-dd HH.mm.ss")));
    for (int attempt = 1; attempt <= mostNameAttempts; ++attempt) {
        const QString path =
            (attempt == 1 ? base : QStringLiteral("%1 %2").arg(base).arg(attempt)) + extension;
        if (isThere(path)) continue;
        m_writer.move(working, path);
        return path;
    }
    fail(QStringLiteral("There are too many backups named “%1”.").arg(name));
}

// ---- Restoring one

QStringList BackupStore::restore(const QByteArray& archive) const {
    refuseUnusable(archive);
    const QString working = newWorkingFolder();
    QList<PreferenceChange::Step> steps;
    QStringList keys;
    try {
        const QString unpacked = working + QStringLiteral("/new");
        TreeArchive::unpack(m_tree, archive, unpacked);
        const auto written = m_tree.read(unpacked + infoFile, largestInfo, Links::Refuse);
        const QVariantMap info = PropertyList::fromData(written.value_or(QByteArray())).toMap();
        const QList<Group> groups = PreferenceKeys::knownGroups(keysOf(info));
        steps = restoringSteps(working, groups);
        if (steps.isEmpty()) refuse(QStringLiteral("This is no backup of preferences."));
        QStringList targets;
        for (const PreferenceChange::Step& step : std::as_const(steps))
            targets.append(step.target);
        refuseLocked(targets, QStringLiteral("restored"));
        for (const Group& group : groups)
            keys.append(group.key);
    } catch (const VLException&) {
        removeWorkingFolder(working);
        throw;
    }
    m_change.commit(working, steps, PreferenceChange::Former::Removed, m_user);
    return keys;
}

QList<PreferenceChange::Step> BackupStore::restoringSteps(const QString& working,
                                                          const QList<Group>& groups) const {
    const QString unpacked = working + QStringLiteral("/new/Library/");
    const auto isInBackup = [&](const QString& file) {
        const auto entry = m_tree.entry(unpacked + file, Links::Refuse);
        return entry && (entry->kind == Kind::File || entry->kind == Kind::Folder);
    };
    QList<PreferenceChange::Step> steps;
    QList<Group> present;
    std::copy_if(groups.begin(), groups.end(), std::back_inserter(present), [&](const Group& group) {
        return std::any_of(group.files.begin(), group.files.end(), isInBackup);
    });
    for (const QString& file : PreferenceKeys::files(present)) {
        if (isInBackup(file)) {
            m_writer.setLocked(unpacked + file, false);  // read-only may have stood for locked
            steps.append(m_change.putting(unpacked + file, absolute(file)));
        } else if (isThere(absolute(file))) {
            steps.append({absolute(file), QStringLiteral("%1/old-%2").arg(working).arg(steps.size())});
        }
    }
    return steps;
}

void BackupStore::refuseLocked(const QStringList& targets, const QString& what) const {
    for (const QString& target : targets) {
        if (!isThere(target) || !m_writer.isLocked(target)) continue;
        refuse(
            QStringLiteral("Nothing was %1: %2 is locked. Unlock the preferences first.").arg(what, target));
    }
}

// ---- Trash and locks

qsizetype BackupStore::trash(const QList<Group>& groups) const {
    QStringList targets;
    for (const QString& file : PreferenceKeys::files(groups))
        if (isThere(absolute(file))) targets.append(absolute(file));
    if (targets.isEmpty()) return 0;
    refuseLocked(targets, QStringLiteral("trashed"));
    const QString working = newWorkingFolder();
    QList<PreferenceChange::Step> steps;
    for (const QString& target : std::as_const(targets)) {
        // In the trash it is found under its own name.
        const QString place =
            QStringLiteral("%1/%2/%3").arg(working).arg(steps.size()).arg(target.section(u'/', -1));
        steps.append({target, place});
    }
    m_change.commit(working, steps, PreferenceChange::Former::Trashed, m_user);
    return targets.size();
}

qsizetype BackupStore::setLocked(const QList<Group>& groups, bool locked, bool* couldBeImmutable) const {
    qsizetype count = 0;
    for (const QString& file : PreferenceKeys::files(groups)) {
        if (!isThere(absolute(file))) continue;
        *couldBeImmutable = m_writer.setLocked(absolute(file), locked) && *couldBeImmutable;
        ++count;
    }
    return count;
}

void BackupStore::recover() const {
    m_change.recover();
    const auto entries = m_tree.entries(m_working, Links::Refuse);
    for (const auto& entry : entries)
        removeWorkingFolder(m_working + u'/' + entry.name);
}
