#pragma once

#include "agent/settlekeep/PreferenceChange.h"
#include "agent/settlekeep/PreferenceKeys.h"
#include "agent/tree/TreeWriter.h"
#include "agent/tree/WorkstationTree.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>
#include <QVariant>

/// The preferences of one user, and the backups of them in that user's Library. A backup is a folder with a
/// zip archive of the preferences, and beside it what is listed about it; the same stands in the archive, so
/// that this can be restored on another workstation.
///
/// Throws VLException in plain words, with the disk as it was before; it is named VLException::refused where
/// nothing is wrong with the workstation except that it is not in the state for what is asked. All but list()
/// and data() are for one thread at a time.
class BackupStore {
public:
    static constexpr int mostListed = 2'000;
    static constexpr qint64 largestData = qint64(100) * 1024 * 1024;  ///< what fits into one answer

    BackupStore(const WorkstationTree& tree, const QString& stateDirectory, const QString& user);

    /// By a key of their own: "path", "name", "type", "date", "keys" (joined by commas), "size" in bytes.
    [[nodiscard]] QVariantMap list() const;
    /// What of the groups is there. Returns the path of the backup.
    QString create(const QString& name, int type, const QList<PreferenceKeys::Group>& groups) const;
    /// The archive of the backup at `path`, which must be one that list() names.
    [[nodiscard]] QByteArray data(const QString& path) const;
    /// Brings the groups in the archive to the state of the backup: also what they did not have then goes.
    /// Refuses when one of the files is locked. The names of the groups that were restored.
    QStringList restore(const QByteArray& archive) const;

    /// How many files and folders were moved to the trash. None of them when one is locked.
    qsizetype trash(const QList<PreferenceKeys::Group>& groups) const;
    /// How many files and folders there are; `couldBeImmutable` is false where the file system had to make do
    /// with read-only.
    qsizetype setLocked(const QList<PreferenceKeys::Group>& groups, bool locked,
                        bool* couldBeImmutable) const;

    /// Completes what an earlier run began, and removes what it left lying about.
    void recover() const;

private:
    [[nodiscard]] QString absolute(const QString& fileInLibrary) const { return m_library + fileInLibrary; }
    [[nodiscard]] bool isThere(const QString& path) const { return m_writer.identity(path) != 0; }
    [[nodiscard]] QString newWorkingFolder() const;
    void removeWorkingFolder(const QString& folder) const;
    [[nodiscard]] QVariantMap describe(const QString& folder) const;
    void pack(const QString& working, const QVariantMap& info,
              const QList<PreferenceKeys::Group>& groups) const;
    [[nodiscard]] QByteArray packed(const QMap<QString, QString>& items) const;
    [[nodiscard]] QString keep(const QString& working, const QString& name, const QDateTime& date) const;
    [[nodiscard]] QList<PreferenceChange::Step> restoringSteps(
        const QString& working, const QList<PreferenceKeys::Group>& groups) const;
    void refuseLocked(const QStringList& targets, const QString& what) const;

    const WorkstationTree& m_tree;
    TreeWriter m_writer;
    PreferenceChange m_change;
    QString m_user;
    QString m_library;  ///< with a slash at the end
    QString m_backups, m_working;
};
