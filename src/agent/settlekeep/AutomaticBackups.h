#pragma once

#include "agent/settlekeep/PreferenceKeys.h"
#include "agent/tree/TreeChange.h"

#include <QList>
#include <QString>
#include <QVariant>

/// The backups that this program makes by itself, of what a change is about to replace or to take away: that
/// is copied file by file, whatever its size, and what was not there is known to have been missing. They lie
/// beside those that a user made; the oldest ones go when there are too many. Throws VLException.
class AutomaticBackups {
public:
    static constexpr int most = 10;
    static constexpr qint64 mostBytes = qint64(1024) * 1024 * 1024;  ///< the newest one alone may take more

    enum class Before { Restore, Trash };

    /// `base`: of all that is kept for the user; `library` ends in a slash.
    AutomaticBackups(const WorkstationTree& tree, const QString& user, const QString& base, QString library);

    /// As BackupStore::list(), the newest first; with "origin", which is "restore" or "trash".
    [[nodiscard]] QList<QVariantMap> list() const;
    /// Whether a backup at `path` would be one of these.
    [[nodiscard]] bool isPossible(const QString& path) const { return path.startsWith(m_folder + u'/'); }
    /// Empty when there is none at `path`.
    [[nodiscard]] QVariantMap describe(const QString& path) const;
    /// Where its copies are: a folder like the user's Library.
    [[nodiscard]] static QString copiesIn(const QString& path) { return path + QStringLiteral("/Library"); }

    /// Copies what there is of the groups into `working`. The step that makes it a backup of that name.
    [[nodiscard]] TreeChange::Step stage(const TreeChange& change, const QString& working,
                                         const QList<PreferenceKeys::Group>& groups, Before before,
                                         const QString& name) const;
    /// Moves those that are too many to new folders in `workingFolders`, each in one step, and removes them
    /// there. Never `newest`.
    void makeRoom(const QString& newest, const QString& workingFolders) const;

private:
    const WorkstationTree& m_tree;
    TreeWriter m_writer;
    QString m_user, m_folder, m_library;
};
