#include "tools/cronwell/TaskRowMerger.h"

#include "tools/cronwell/TaskKeys.h"

namespace {

using namespace TaskKeys;

void addMissingHosts(VLScheduledTask& row, const QStringList& hostNames) {
    if (row.children().size() >= hostNames.size()) return;
    QVariantList missing;
    for (const QString& hostName : ClientCopies::hostsWithout(row.children(), hostNames))
        missing.append(QVariantMap{{hostNameKey, hostName},
                                   {enabledKey, -1},
                                   {frequencyKey, QString()},
                                   {taskDescriptionKey, row.taskDescription()}});
    row.setMissingHosts(missing);
    row.setState(VLScheduledTask::Missing);
}

}  // namespace

void TaskRowMerger::add(const QVariantMap& instance, const QString& hostName) {
    const auto key =
        std::pair(instance.value(bundleKey).toString(), instance.value(taskDescriptionKey).toString());
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
