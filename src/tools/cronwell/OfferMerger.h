#pragma once

#include "tools/AgentAnswer.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <utility>

/// Merges what the applications of many clients offer for scheduling: a task is offered when any client has
/// it, and says which of them lack it.
class OfferMerger {
public:
    /// An agent's answer to vlAppTasks: applications that offer tasks, with "taskBundleID" and "name", and
    /// "tasks", dictionaries of "taskID" and "taskDescription"; all of them texts that are not empty.
    [[nodiscard]] static AgentAnswer::Entries checked(const QVariant& answer);
    static constexpr qsizetype mostOffers = 100;      ///< applications, and tasks of each
    static constexpr qsizetype maximumTasks = 2'000;  ///< of all together: further ones are left out

    /// One client's applications.
    void add(const QList<QVariantMap>& applications, const QString& hostName);
    /// By name: "taskBundleID", "name", and "tasks", each with "taskID", "taskDescription" and
    /// "missingHosts".
    [[nodiscard]] QVariantList takeApplications();

private:
    struct Task {
        QString id, description;
        QStringList hostNames;
    };
    struct Application {
        QString bundleID, name;
        QList<Task> tasks;
    };
    [[nodiscard]] Application& application(const QVariantMap& offered);
    void addTask(QList<Task>& tasks, const QVariantMap& offered);
    [[nodiscard]] QStringList missingHosts(const Task& task) const;

    QStringList m_hostNames;
    QList<Application> m_applications;
    QHash<QString, qsizetype> m_places;
    qsizetype m_taskCount = 0;
};
