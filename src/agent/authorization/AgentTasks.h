#pragma once

#include <QHash>
#include <QString>
#include <QVariant>

#include <functional>

/// Tasks of the suite's applications, by the application's bundle identifier.
/// Filled at start-up and constant afterwards.
class AgentTasks {
public:
    /// Does the task and returns what there is to say about it. Throws VLException, taskNotFound() for a task
    /// that the application does not have. `peer`: the console that asks. Any thread.
    using Run = std::function<QString(quint64 peer, const QString& task, const QVariantMap& options)>;

    void add(const QString& bundleID, Run run) { m_applications.insert(bundleID, std::move(run)); }
    [[nodiscard]] bool isEmpty() const { return m_applications.isEmpty(); }
    [[nodiscard]] bool contains(const QString& bundleID) const { return m_applications.contains(bundleID); }
    /// Throws the error 1000 for an application that this agent knows no tasks of.
    [[nodiscard]] QString run(quint64 peer, const QString& task, const QString& bundleID,
                              const QVariantMap& options) const;

    [[noreturn]] static void taskNotFound(const QString& bundleID);

private:
    QHash<QString, Run> m_applications;
};
