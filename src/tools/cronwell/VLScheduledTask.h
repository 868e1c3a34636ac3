#pragma once

#include <QString>
#include <QVariant>

/// One row of the scheduled tasks: a task by tool and description, merged from the jobs that the clients
/// have.
class VLScheduledTask {
public:
    enum State { Alike = 0, SchedulesDiffer = 1, EnabledDiffers = 2, Missing = 3 };

    [[nodiscard]] static VLScheduledTask scheduledTask(const QVariantMap& instance, const QString& hostName);
    /// Merges one client's job; unlike with plug-ins, a later kind of difference replaces an earlier one.
    void addChild(QVariantMap instance, const QString& hostName);

    [[nodiscard]] const QString& taskDescription() const { return m_taskDescription; }
    /// "(various)" where they differ.
    [[nodiscard]] const QString& frequencyDescription() const { return m_frequencyDescription; }
    [[nodiscard]] const QString& taskBundleID() const { return m_taskBundleID; }
    [[nodiscard]] const QVariantList& children() const { return m_children; }
    [[nodiscard]] int state() const { return m_state; }
    [[nodiscard]] int enabledCount() const { return m_enabledCount; }
    [[nodiscard]] int enabled() const { return m_enabled; }  ///< 0, 1, or -1 for mixed
    [[nodiscard]] qlonglong root() const { return m_root; }  ///< not 0: runs as administrator
    /// One placeholder for every selected client that lacks the task.
    [[nodiscard]] const QVariantList& missingHosts() const { return m_missingHosts; }

    void setTaskDescription(const QString& description) { m_taskDescription = description; }
    void setFrequencyDescription(const QString& description) { m_frequencyDescription = description; }
    void setTaskBundleID(const QString& bundleID) { m_taskBundleID = bundleID; }
    void setChildren(const QVariantList& children) { m_children = children; }
    void setState(int state) { m_state = state; }
    void setEnabledCount(int count) { m_enabledCount = count; }
    void setEnabled(int enabled) { m_enabled = enabled; }
    void setRoot(qlonglong root) { m_root = root; }
    void setMissingHosts(const QVariantList& hosts) { m_missingHosts = hosts; }

    /// A calendar interval in words; an empty text stands for an absent number.
    [[nodiscard]] static QString friendlyIntervalDescription(const QString& minute, const QString& hour,
                                                             const QString& day, const QString& weekday,
                                                             const QString& month);

private:
    void takeFirst(const QVariantMap& instance);

    QString m_taskDescription, m_frequencyDescription, m_taskBundleID;
    QVariantList m_children;
    int m_state = Alike;
    int m_enabledCount = 0;
    int m_enabled = 0;
    qlonglong m_root = 0;
    QVariantList m_missingHosts;
};
