#pragma once

#include "tools/AgentAnswer.h"
#include "tools/merged/MergedRow.h"
#include "tools/merged/RowOrder.h"

/// The keys of a client's scheduled job. Those of its schedule belong to TaskSchedule.
namespace TaskKeys {
inline const QString fileNameKey = QStringLiteral("filename"),
                     taskDescriptionKey = QStringLiteral("taskDescription"),
                     frequencyKey = QStringLiteral("frequencyDescription"),
                     bundleKey = QStringLiteral("taskBundleID"), taskKey = QStringLiteral("taskID"),
                     enabledKey = QStringLiteral("enabled"), rootKey = QStringLiteral("root");
}

/// One row of the scheduled tasks: a task by tool and description, merged from the jobs that the clients
/// have.
class VLScheduledTask : public MergedRow {
public:
    enum State { SchedulesDiffer = 1, EnabledDiffers = 2, Missing = 3 };
    enum Column { Task, Schedule, Tool, Enabled, RunsAs, Computers, Status, ColumnCount };
    /// Names of the columns in the stored sort settings.
    [[nodiscard]] static const QStringList& columnNames();

    /// An agent's answer to cronwellTaskDictionary. Every task has a "filename", "taskDescription" and
    /// "taskBundleID", texts that are not empty, "frequencyDescription" (a text), and 0 or 1 as "enabled" and
    /// "root".
    [[nodiscard]] static AgentAnswer::Entries checked(const QVariant& answer);
    static constexpr qsizetype mostTasks = 5'000;

    [[nodiscard]] static VLScheduledTask scheduledTask(const QVariantMap& instance, const QString& hostName);
    /// Merges one client's job; unlike with plug-ins, a later kind of difference replaces an earlier one.
    void addCopy(ClientCopy copy);
    void addChild(const QVariantMap& instance, const QString& hostName) { addCopy({hostName, instance}); }
    void complete(const QList<AskedClient>& clients);

    [[nodiscard]] static QString keyOf(const QVariantMap& instance);
    [[nodiscard]] QString key() const { return keyFor(m_taskBundleID, m_taskDescription); }
    /// Bundle identifiers have no line breaks.
    [[nodiscard]] static QString keyFor(const QString& bundleID, const QString& description) {
        return bundleID + u'\n' + description;
    }
    [[nodiscard]] const QString& title() const { return m_taskDescription; }
    [[nodiscard]] static const QString& titleKey() { return TaskKeys::taskDescriptionKey; }
    [[nodiscard]] static const QString& copyKey() { return TaskKeys::fileNameKey; }
    /// Writes the value into every job, and what it makes of the row into that.
    void writeToAll(const QString& key, qlonglong value);
    [[nodiscard]] SortKey sortKey(int column) const;

    [[nodiscard]] const QString& taskDescription() const { return m_taskDescription; }
    /// "(various)" where they differ.
    [[nodiscard]] const QString& frequencyDescription() const { return m_frequencyDescription; }
    [[nodiscard]] const QString& taskBundleID() const { return m_taskBundleID; }
    [[nodiscard]] int enabledCount() const { return m_enabledCount; }  ///< jobs
    /// On how many clients every job of it is enabled.
    [[nodiscard]] int computersWithAllEnabled() const;
    [[nodiscard]] int enabled() const { return m_enabled; }  ///< 0, 1, or -1 for mixed
    [[nodiscard]] qlonglong root() const { return m_root; }  ///< not 0: runs as administrator

    void setTaskDescription(const QString& description) { m_taskDescription = description; }
    void setFrequencyDescription(const QString& description) { m_frequencyDescription = description; }
    void setTaskBundleID(const QString& bundleID) { m_taskBundleID = bundleID; }
    void setEnabledCount(int count) { m_enabledCount = count; }
    void setEnabled(int enabled) { m_enabled = enabled; }
    void setRoot(qlonglong root) { m_root = root; }

    /// A calendar interval in words; an empty text stands for an absent number.
    [[nodiscard]] static QString friendlyIntervalDescription(const QString& minute, const QString& hour,
                                                             const QString& day, const QString& weekday,
                                                             const QString& month);

private:
    void takeFirst(const QVariantMap& instance);

    QString m_taskDescription, m_frequencyDescription, m_taskBundleID;
    int m_enabledCount = 0;
    int m_enabled = 0;
    qlonglong m_root = 0;
};
