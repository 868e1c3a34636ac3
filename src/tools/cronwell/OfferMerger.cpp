#include "tools/cronwell/OfferMerger.h"

#include <QSet>

#include <algorithm>

namespace {

constexpr AgentAnswer::Key taskKeys[] = {{"taskDescription", AgentAnswer::filledText, true},
                                         {"taskID", AgentAnswer::filledText, true}};

QVariant tasks(const QVariant& value) {
    const QList<QVariantMap> kept =
        AgentAnswer::fromArray(value, {taskKeys, OfferMerger::mostOffers}).entries;
    return kept.isEmpty() ? QVariant() : QVariantList(kept.begin(), kept.end());
}

constexpr AgentAnswer::Kind filledTasks{[](const QVariant&) { return false; }, tasks};

constexpr AgentAnswer::Key applicationKeys[] = {{"name", AgentAnswer::filledText, true},
                                                {"taskBundleID", AgentAnswer::lineOfText, true},
                                                {"tasks", filledTasks, true}};

}  // namespace

AgentAnswer::Entries OfferMerger::checked(const QVariant& answer) {
    return AgentAnswer::fromArray(answer, {applicationKeys, mostOffers});
}

OfferMerger::Application& OfferMerger::application(const QVariantMap& offered) {
    const QString bundleID = offered.value(QStringLiteral("taskBundleID")).toString();
    const auto known = m_places.constFind(bundleID);
    if (known != m_places.constEnd()) return m_applications[*known];
    m_places.insert(bundleID, m_applications.size());
    m_applications.append({bundleID, offered.value(QStringLiteral("name")).toString(), {}});
    return m_applications.last();
}

void OfferMerger::add(const QList<QVariantMap>& applications, const QString& hostName) {
    m_hostNames.append(hostName);
    for (const QVariantMap& offered : applications) {
        QList<Task>& tasks = application(offered).tasks;
        for (const QVariant& task : offered.value(QStringLiteral("tasks")).toList())
            addTask(tasks, task.toMap());
    }
}

/// Of the client that was added last.
void OfferMerger::addTask(QList<Task>& tasks, const QVariantMap& offered) {
    const QString id = offered.value(QStringLiteral("taskID")).toString();
    auto known = std::find_if(tasks.begin(), tasks.end(), [&](const Task& other) { return other.id == id; });
    if (known == tasks.end()) {
        if (m_taskCount == maximumTasks) return;
        ++m_taskCount;
        tasks.append({id, offered.value(QStringLiteral("taskDescription")).toString(), {}});
        known = tasks.end() - 1;
    }
    if (known->hostNames.isEmpty() || known->hostNames.last() != m_hostNames.last())
        known->hostNames.append(m_hostNames.last());
}

QStringList OfferMerger::missingHosts(const Task& task) const {
    const QSet<QString> present(task.hostNames.begin(), task.hostNames.end());
    QStringList missing;
    for (const QString& hostName : m_hostNames)
        if (!present.contains(hostName)) missing.append(hostName);
    return missing;
}

QVariantList OfferMerger::takeApplications() {
    std::sort(m_applications.begin(), m_applications.end(), [](const Application& a, const Application& b) {
        return QString::compare(a.name, b.name, Qt::CaseInsensitive) < 0;
    });
    QVariantList applications;
    for (const Application& application : std::as_const(m_applications)) {
        if (application.tasks.isEmpty()) continue;
        QVariantList tasks;
        for (const Task& task : application.tasks)
            tasks.append(QVariantMap{{QStringLiteral("taskID"), task.id},
                                     {QStringLiteral("taskDescription"), task.description},
                                     {QStringLiteral("missingHosts"), missingHosts(task)}});
        applications.append(QVariantMap{{QStringLiteral("taskBundleID"), application.bundleID},
                                        {QStringLiteral("name"), application.name},
                                        {QStringLiteral("tasks"), tasks}});
    }
    m_applications.clear();
    m_places.clear();
    return applications;
}
