#include "tools/cronwell/VLScheduledTask.h"

#include "remote/Aggregation.h"
#include "tools/cronwell/TaskKeys.h"
#include "tools/cronwell/TaskSchedule.h"

namespace {

using namespace TaskKeys;

constexpr int mixed = -1;

bool isEnabled(const QVariantMap& instance) {
    return instance.value(enabledKey).toLongLong() != 0;
}

}  // namespace

VLScheduledTask VLScheduledTask::scheduledTask(const QVariantMap& instance, const QString& hostName) {
    VLScheduledTask task;
    task.addChild(instance, hostName);
    return task;
}

void VLScheduledTask::addChild(QVariantMap instance, const QString& hostName) {
    instance.insert(hostNameKey, hostName);
    m_children.append(instance);
    if (isEnabled(instance)) ++m_enabledCount;
    if (m_children.size() == 1) {
        takeFirst(instance);
    } else if (instance.value(frequencyKey).toString() != m_frequencyDescription) {
        m_frequencyDescription = QLatin1String(Aggregation::various);
        m_state = SchedulesDiffer;
    }
    if (m_enabledCount > 0 && m_enabledCount != m_children.size()) {
        m_state = EnabledDiffers;
        m_enabled = mixed;
    }
}

void VLScheduledTask::takeFirst(const QVariantMap& instance) {
    m_enabled = isEnabled(instance) ? 1 : 0;
    m_frequencyDescription = instance.value(frequencyKey).toString();
    m_taskBundleID = instance.value(bundleKey).toString();
    m_taskDescription = instance.value(taskDescriptionKey).toString();
    m_root = instance.value(rootKey).toLongLong();
}

QString VLScheduledTask::friendlyIntervalDescription(const QString& minute, const QString& hour,
                                                     const QString& day, const QString& weekday,
                                                     const QString& month) {
    return TaskSchedule::friendlyIntervalDescription(minute, hour, day, weekday, month);
}
