#pragma once

#include "agent/cronwell/LaunchJob.h"
#include "agent/tree/WorkstationTree.h"

#include <QList>
#include <QSet>
#include <QString>

#include <optional>

/// The suite's jobs on a workstation: files in the user's Library/LaunchAgents and, run as the administrator,
/// in the machine's Library/LaunchDaemons. Jobs of others are not there for this class. A file name counts
/// once: where both folders have it, it is the machine's. Any thread; changes need a lock outside.
class LaunchJobs {
public:
    static constexpr int mostJobs = 1'000;

    struct Entry {
        QString fileName;
        bool isRoot = false;
        LaunchJob job;
    };

    /// `user`: whose jobs count; empty for nobody's.
    LaunchJobs(const WorkstationTree& tree, QString user) : m_tree(tree), m_user(std::move(user)) {}

    /// The machine's first, each folder's by file name; at most `mostJobs` files of a folder are read.
    [[nodiscard]] QList<Entry> all() const;
    /// Throws VLException unless `fileName` is the plain name of a job file of the suite.
    [[nodiscard]] Entry require(const QString& fileName) const;
    /// What stands in its file; empty when that is gone.
    [[nodiscard]] QByteArray content(const Entry& entry) const;
    /// Whether either folder has a file of that name, of the suite or not.
    [[nodiscard]] bool isTaken(const QString& fileName) const;

    // These throw VLException and then have changed nothing.
    /// Makes the file, or replaces it whole.
    void write(const Entry& entry) const;
    void remove(const Entry& entry) const;

    [[nodiscard]] static bool isFileName(const QString& name);
    /// A label for a new job of that task, whose file name, with ".plist", neither folder has.
    [[nodiscard]] QString freeLabel(const OfferedTask& task) const;

private:
    /// Throws where there is no user.
    [[nodiscard]] QString folder(bool isRoot) const;
    [[nodiscard]] QSet<QString> takenNames() const;
    [[nodiscard]] std::optional<LaunchJob> read(const QString& fileName, bool isRoot) const;

    const WorkstationTree& m_tree;
    const QString m_user;
};
