#include "agent/settlekeep/AutomaticBackups.h"

#include "agent/settlekeep/BackupInfo.h"
#include "base/PropertyList.h"
#include "logs/VLLog.h"
#include "system/VLException.h"

#include <QUuid>

#include <algorithm>

namespace {

using Links = WorkstationTree::Links;
using Kind = WorkstationTree::Kind;
using PreferenceKeys::Group;

const QString restoreOrigin = QStringLiteral("restore");
const QString trashOrigin = QStringLiteral("trash");

}  // namespace

AutomaticBackups::AutomaticBackups(const WorkstationTree& tree, const QString& user, const QString& base,
                                   QString library)
    : m_tree(tree),
      m_writer(tree),
      m_user(user),
      m_folder(base + QStringLiteral("Automatic")),
      m_library(std::move(library)) {}

QVariantMap AutomaticBackups::describe(const QString& path) const {
    const auto copies = m_tree.entry(copiesIn(path), Links::Refuse);
    const QVariantMap info = BackupInfo::read(m_tree, path);
    if (!copies || copies->kind != Kind::Folder || !BackupInfo::isAutomatic(info)) return {};
    QVariantMap described = BackupInfo::describe(info, path, copies->modified);
    const bool isTrash = info.value(BackupInfo::originKey).toString() == trashOrigin;
    described.insert(BackupInfo::originKey, isTrash ? trashOrigin : restoreOrigin);
    described.insert(BackupInfo::sizeKey, std::max(0LL, info.value(BackupInfo::sizeKey).toLongLong()));
    return described;
}

QList<QVariantMap> AutomaticBackups::list() const {
    QList<QVariantMap> found;
    const auto entries = m_tree.entries(m_folder, Links::Refuse);
    for (const auto& entry : entries) {
        if (entry.kind != Kind::Folder || !entry.name.endsWith(BackupInfo::extension)) continue;
        const QVariantMap backup = describe(m_folder + u'/' + entry.name);
        if (!backup.isEmpty()) found.append(backup);
    }
    const auto dateOf = [](const QVariantMap& backup) {
        return std::pair(backup.value(BackupInfo::dateKey).toDateTime(),
                         backup.value(BackupInfo::pathKey).toString());
    };
    std::sort(found.begin(), found.end(),
              [&](const QVariantMap& a, const QVariantMap& b) { return dateOf(a) > dateOf(b); });
    return found;
}

TreeChange::Step AutomaticBackups::stage(const TreeChange& change, const QString& working,
                                         const QList<Group>& groups, Before before,
                                         const QString& name) const {
    const QString folder = working + QStringLiteral("/former");
    m_writer.makeFolders(copiesIn(folder));
    QList<TreeWriter::Copy> copies;
    for (const QString& file : PreferenceKeys::files(groups))
        if (m_writer.identity(m_library + file) != 0)
            copies.append({m_library + file, copiesIn(folder) + u'/' + file});
    try {
        const QDateTime date = QDateTime::currentDateTimeUtc();
        QVariantMap info = BackupInfo::make(name, m_user, groups, date);
        info.insert(BackupInfo::originKey, before == Before::Trash ? trashOrigin : restoreOrigin);
        info.insert(BackupInfo::sizeKey, m_writer.copyAll(copies));
        m_writer.write(folder + BackupInfo::file, PropertyList::toData(info));
        return change.putting(folder, BackupInfo::freePath(m_writer, m_folder, name, date));
    } catch (const VLException& error) {
        throw VLException(
            error.name(),
            QStringLiteral("Nothing was %1: what it would take the place of cannot be kept. %2")
                .arg(before == Before::Trash ? QStringLiteral("trashed") : QStringLiteral("restored"),
                     error.reason()),
            error.userInfo());
    }
}

void AutomaticBackups::makeRoom(const QString& newest, const QString& workingFolders) const {
    int count = 1;
    qint64 bytes = describe(newest).value(BackupInfo::sizeKey).toLongLong();
    const QList<QVariantMap> backups = list();
    for (const QVariantMap& backup : backups) {
        const QString path = backup.value(BackupInfo::pathKey).toString();
        if (path == newest) continue;
        bytes += std::min(backup.value(BackupInfo::sizeKey).toLongLong(), mostBytes);
        if (++count <= most && bytes <= mostBytes) continue;
        const QString folder = workingFolders + u'/' + QUuid::createUuid().toString(QUuid::Id128);
        try {
            m_writer.move(path, folder);
            m_writer.remove(folder);
        } catch (const VLException& error) {
            VLLog::appendLog(QStringLiteral("%@"), error.reason());  // the next change tries again
        }
    }
}
