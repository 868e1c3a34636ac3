#include "tools/cronwell/OfferMerger.h"

#include "tools/cronwell/ScheduledTaskList.h"

#include <algorithm>

OfferMerger::Application& OfferMerger::application(const QVariantMap& offered) {
    const QString bundleID = offered.value(QStringLiteral("taskBundleID")).toString();
    const auto known = m_places.constFind(bundleID);
    if (known != m_places.constEnd()) return m_applications[*known];
    m_places.insert(bundleID, m_applications.size());
    m_applications.append({bundleID, offered.value(QStringLiteral("name")).toString(), {}});
    return m_applications.last();
}

void OfferMerger::add(const QVariant& answer, const QString& hostName) {
    m_hostNames.append(hostName);
    for (const QVariantMap& offered : offeredApplications(answer)) {
        QList<Task>& tasks = application(offered).tasks;
        for (const QVariant& value : offered.value(QStringLiteral("tasks")).toList()) {
            const QVariantMap task = value.toMap();
            const QString id = task.value(QStringLiteral("taskID")).toString();
            auto known =
                std::find_if(tasks.begin(), tasks.end(), [&](const Task& other) { return other.id == id; });
            if (known == tasks.end())
                known = tasks.insert(tasks.end(),
                                     {id, task.value(QStringLiteral("taskDescription")).toString(), {}});
            if (!known->hostNames.contains(hostName)) known->hostNames.append(hostName);
        }
    }
}

QVariantList OfferMerger::takeApplications() {
    std::sort(m_applications.begin(), m_applications.end(), [](const Application& a, const Application& b) {
        return QString::compare(a.name, b.name, Qt::CaseInsensitive) < 0;
    });
    QVariantList applications;
    for (const Application& application : std::as_const(m_applications)) {
        QVariantList tasks;
        for (const Task& task : application.tasks) {
            QStringList missing = m_hostNames;
            missing.removeIf([&](const QString& hostName) { return task.hostNames.contains(hostName); });
            tasks.append(QVariantMap{{QStringLiteral("taskID"), task.id},
                                     {QStringLiteral("taskDescription"), task.description},
                                     {QStringLiteral("missingHosts"), missing}});
        }
        applications.append(QVariantMap{{QStringLiteral("taskBundleID"), application.bundleID},
                                        {QStringLiteral("name"), application.name},
                                        {QStringLiteral("tasks"), tasks}});
    }
    m_applications.clear();
    m_places.clear();
    return applications;
}
