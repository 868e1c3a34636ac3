#pragma once

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
    /// One client's answer to vlAppTasks, as it came.
    void add(const QVariant& answer, const QString& hostName);
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

    QStringList m_hostNames;
    QList<Application> m_applications;
    QHash<QString, qsizetype> m_places;
};
