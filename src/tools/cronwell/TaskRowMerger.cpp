#include "tools/cronwell/TaskRowMerger.h"

#include <QSet>

namespace {

const QString hostNameKey = QStringLiteral("hostname");
const QString descriptionKey = QStringLiteral("taskDescription");

void addMissingHosts(VLScheduledTask& row, const QStringList& hostNames) {
    if (row.children().size() >= hostNames.size()) return;
    QSet<QString> present;
    for (const QVariant& child : row.children())
        present.insert(child.toMap().value(hostNameKey).toString());
    QVariantList missing;
    for (const QString& hostName : hostNames) {
        if (present.contains(hostName)) continue;
        missing.append(QVariantMap{{hostNameKey, hostName},
                                   {QStringLiteral("enabled"), -1},
                                   {QStringLiteral("frequencyDescription"), QString()},
                                   {descriptionKey, row.taskDescription()}});
    }
    row.setMissingHosts(missing);
    row.setState(VLScheduledTask::Missing);
}

}  // namespace

void TaskRowMerger::add(const QVariantMap& instance, const QString& hostName) {
    const auto key = std::pair(instance.value(QStringLiteral("taskBundleID")).toString(),
                               instance.value(descriptionKey).toString());
    const auto known = m_places.constFind(key);
    if (known != m_places.constEnd()) {
        m_rows[*known].addChild(instance, hostName);
        return;
    }
    m_places.insert(key, m_rows.size());
    m_rows.append(VLScheduledTask::scheduledTask(instance, hostName));
}

QList<VLScheduledTask> TaskRowMerger::takeRows(const QStringList& hostNames) {
    for (VLScheduledTask& row : m_rows)
        addMissingHosts(row, hostNames);
    m_places.clear();
    return std::exchange(m_rows, {});
}
