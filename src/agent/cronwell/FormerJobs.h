#pragma once

#include "agent/cronwell/LaunchJob.h"
#include "agent/cronwell/LaunchJobs.h"

#include <QByteArray>
#include <QString>

#include <optional>

/// What jobs were before they were changed or removed, with all that consoles are not told about. It lies in
/// the agent's own folder: nobody else can leave a job there that an administrator then puts back.
/// One change at a time; throws VLException when the disk does not take it.
class FormerJobs {
public:
    static constexpr int mostFiles = 100;  ///< the ones that were changed longest ago are forgotten
    static constexpr qsizetype mostOfOne = 5;

    /// `user`: whose jobs are not the administrator's.
    FormerJobs(const QString& stateDirectory, const QString& user);

    /// `content`: of the file as it stands.
    void keep(const QString& fileName, bool isRoot, const QByteArray& content) const;
    /// The last one in that file that ran the task on that schedule.
    [[nodiscard]] std::optional<LaunchJob> find(const QString& fileName, bool isRoot, const QString& bundleID,
                                                const QString& taskID, const TaskSchedule& schedule) const;

private:
    [[nodiscard]] QString path(const QString& fileName, bool isRoot) const;
    void forgetOldest() const;

    const QString m_folder, m_user;
};
