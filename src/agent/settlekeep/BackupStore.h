#pragma once

#include "agent/settlekeep/AutomaticBackups.h"
#include "agent/settlekeep/PreferenceKeys.h"
#include "agent/tree/TreeChange.h"
#include "agent/tree/TreeWriter.h"
#include "agent/tree/WorkstationTree.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>
#include <QVariant>

#include <functional>

/// The preferences of one user, and the backups of them in that user's Library. A backup is a folder with a
/// zip archive of the preferences, and beside it what is listed about it; the same stands in the archive, so
/// that this can be restored on another workstation. Before anything is replaced or taken away a backup of it
/// is kept, see AutomaticBackups: with the change or not at all.
///
/// Throws VLException in plain words, with the disk as it was before; it is named VLException::refused where
/// nothing is wrong with the workstation except that it is not in the state for what is asked. All but
/// list(), data() and lockedKeys() are for one thread at a time.
class BackupStore {
public:
    static constexpr int mostListed = 2'000;
    static constexpr qint64 largestData = qint64(100) * 1024 * 1024;  ///< what fits into one answer

    BackupStore(const WorkstationTree& tree, const QString& stateDirectory, const QString& user);

    /// By a key of their own: "path", "name", "type", "date", "keys" (joined by commas), "size" in bytes.
    /// Those that were made before a change have an "origin" in place of the type.
    [[nodiscard]] QVariantMap list() const;
    /// What of the groups is there. Returns the path of the backup.
    QString create(const QString& name, int type, const QList<PreferenceKeys::Group>& groups) const;
    /// The archive of the backup at `path`, which must be one that list() names.
    [[nodiscard]] QByteArray data(const QString& path) const;
    /// What is listed of one backup; empty when there is none at `path`.
    [[nodiscard]] QVariantMap info(const QString& path) const;

    struct Change {
        QStringList keys;     ///< names of the groups that were restored
        qsizetype count = 0;  ///< of the files and folders that were moved to the trash
        QString kept = {};    ///< path of the backup of what was there; empty when nothing was changed
    };
    /// Brings the groups in the archive to the state of the backup: also what they did not have then goes.
    /// Refuses when one of the files is locked.
    [[nodiscard]] Change restore(const QByteArray& archive) const;
    /// The same from the backup at `path`.
    [[nodiscard]] Change restoreFrom(const QString& path) const;
    /// Moves what there is of the groups to the trash; none of it when a part is locked.
    [[nodiscard]] Change trash(const QList<PreferenceKeys::Group>& groups) const;
    /// How many files and folders there are; `couldBeImmutable` is false where the file system had to make do
    /// with read-only.
    qsizetype setLocked(const QList<PreferenceKeys::Group>& groups, bool locked,
                        bool* couldBeImmutable) const;

    /// Of the groups of which a part is locked.
    [[nodiscard]] QStringList lockedKeys() const;

    /// Completes what an earlier run began, and removes what it left lying about.
    void recover() const;

private:
    [[nodiscard]] QString absolute(const QString& fileInLibrary) const { return m_library + fileInLibrary; }
    [[nodiscard]] bool isThere(const QString& path) const { return m_writer.identity(path) != 0; }
    [[nodiscard]] QString newWorkingFolder() const;
    void removeWorkingFolder(const QString& folder) const;
    [[nodiscard]] QVariantMap describe(const QString& folder) const;
    void requirePossible(const QString& path) const;
    void pack(const QString& working, const QVariantMap& info,
              const QList<PreferenceKeys::Group>& groups) const;
    [[nodiscard]] QByteArray packed(const QMap<QString, QString>& items) const;
    [[nodiscard]] QByteArray packedAutomatic(const QString& path) const;
    /// `unpack` fills the folder that it is given like a Library, and returns what is noted down.
    [[nodiscard]] Change restoreWith(const std::function<QVariantMap(const QString& folder)>& unpack) const;
    [[nodiscard]] QList<PreferenceKeys::Group> groupsIn(const QString& unpacked,
                                                        const QVariantMap& info) const;
    [[nodiscard]] QList<TreeChange::Step> restoringSteps(const QString& working, const QVariantMap& info,
                                                         const QList<PreferenceKeys::Group>& groups) const;
    [[nodiscard]] bool holds(const QString& unpacked, const QString& file, const QVariantMap& info) const;
    /// Does the steps, with the backup of what was there. The path of that.
    [[nodiscard]] QString commit(const QString& working, QList<TreeChange::Step> steps,
                                 const TreeChange::Step& backup, TreeChange::Former former) const;
    void refuseLocked(const QList<TreeChange::Step>& steps, const QString& what) const;

    const WorkstationTree& m_tree;
    TreeWriter m_writer;
    TreeChange m_change;
    QString m_user;
    QString m_library;  ///< with a slash at the end
    QString m_base, m_backups, m_working;
    AutomaticBackups m_automatic;
};
