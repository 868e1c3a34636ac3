#pragma once

#include "tools/Tool.h"
#include "tools/cronwell/VLScheduledTask.h"

#include <QHash>
#include <QList>
#include <QVariant>

#include <atomic>
#include <optional>
#include <variant>

class ProgressSteps;

/// The scheduled tasks of the selected clients, merged by tool and description.
///
/// Workers block. Each ends the status display and then refreshes the rows on a further thread; in this
/// order, because the refresh starts a display of its own. A worker whose run is cancelled stops at its next
/// client.
class CronwellController : public ToolController {
    Q_OBJECT
public:
    using ToolController::ToolController;

    [[nodiscard]] const QList<VLScheduledTask>& cronwellArray() const {
        return m_cronwellArray;
    }                                                    ///< main thread
    void setCronwellArray(QList<VLScheduledTask> rows);  ///< main thread; in the order given

    /// The applications whose tasks can be scheduled, by name: "taskBundleID", "name", and "tasks", each with
    /// "taskID", "taskDescription" and "missingHosts" (selected clients that do not offer it). Main thread.
    [[nodiscard]] const QVariantList& newTaskAppDataArray() const { return m_newTaskAppDataArray; }
    void setNewTaskAppDataArray(const QVariantList& applications) { m_newTaskAppDataArray = applications; }
    /// True while they are being read. Main thread.
    [[nodiscard]] bool isReadingApps() const { return m_appReaders > 0; }

    // Workers.
    /// Rebuilds the rows. A run that is cancelled leaves them as they were, and one that ends after a later
    /// one was installed is dropped.
    void refreshCronwellTasks();
    /// Gives every job of a row that differs the row's most common schedule and state, and adds it where it
    /// is missing. The common values have the keys of the row's first job only; where that one has another
    /// kind of schedule, the value is the first job's that reads like the common schedule.
    void cronwellSyncTasks();
    /// What to enable or disable: every task of every client, one client's job, or a row with all its jobs.
    struct EnableRequest {
        std::variant<std::monostate, QVariantMap, VLScheduledTask> task;
        qlonglong enabled = 0;
    };
    void cronwellEnableTask(const EnableRequest& request);
    void cronwellRemoveTasks(const QList<VLScheduledTask>& rows);
    /// Adds a task on all selected clients: "bundleid", "taskid", "scheduletype" and "intervalval" (texts),
    /// "enabled" and "root" (numbers).
    void addCronwellTaskOnThread(const QVariantMap& arguments);
    void populateCronwellAppList();

    // From the pane, on the main thread: each starts its worker and returns.
    /// A row, or one client's job in it. By their names, because the rows are replaced while a menu or an
    /// alert is open.
    struct Target {
        QString bundleID, description;
        QString hostName = {}, fileName = {};  ///< empty: the whole row
    };
    void cronwellSyncTasksAction();
    void cronwellEnableAllAction();
    void cronwellDisableAllAction();
    /// Asks over `window` first, and then removes the jobs that those rows had when it asked, but none whose
    /// file has become another task's meanwhile.
    void cronwellRemoveTaskAction(const QList<Target>& rows, QObject* window);
    /// The pane shows the sheet meanwhile; newTaskAppsChanged() says when there is something to choose from.
    void cronwellAddTaskAction();
    void addCronwellTask(const QVariantMap& arguments);
    /// Writes the value into the rows (and their jobs) or jobs, and has the clients do it, one after the
    /// other on one worker. Targets that are gone are skipped.
    void setEnabled(const QList<Target>& targets, int enabled);

    /// The "scheduleType" of the first job whose schedule reads like this; invalid when there is none. Main
    /// thread.
    [[nodiscard]] QVariant taskScheduleScheduleTypeForDescription(const QString& description) const;

    void refresh() override { refreshCronwellTasks(); }
    void clearData() override;
    [[nodiscard]] ToolReport report() const override;

Q_SIGNALS:
    void newTaskAppsChanged();  ///< the applications to choose from, or whether they are being read

private:
    /// What is sent to one client: on the authorised path when `root` is not 0; else on the plain one, where
    /// `settings` travel under `plainKey`.
    struct Message {
        const char* selector;
        QVariant settings;
        qlonglong root = 0;
        const char* plainKey = "obj1";
    };
    using ScheduleTypes = QHash<QString, QVariant>;  ///< by schedule in words

    // Main thread.
    [[nodiscard]] static std::optional<EnableRequest> write(VLScheduledTask& row, const Target& target,
                                                            int enabled);
    void startEnabling(const QList<EnableRequest>& requests);
    [[nodiscard]] QList<VLScheduledTask> withoutReplaced(QList<VLScheduledTask> rows) const;
    void setReadingApps(int change);
    void setupCronwellNewTaskApps(const QVariantList& applications);

    // Workers. `run`: of TaskProgress.
    [[nodiscard]] QList<VLScheduledTask> rows() const;  ///< any thread
    void populate(const Reading& reading);
    [[nodiscard]] static ScheduleTypes scheduleTypes(const QList<VLScheduledTask>& rows);
    void syncRow(const VLScheduledTask& row, const ScheduleTypes& types, ProgressSteps& progress);
    void enableTasks(const QList<EnableRequest>& requests);
    void enableEverything(qlonglong enabled) const;
    void enableOnHost(const QVariantMap& instance, qlonglong enabled, ProgressSteps& progress) const;
    void enableOnAllHosts(const VLScheduledTask& row, qlonglong enabled, ProgressSteps& progress) const;
    void send(const Message& message, const QString& hostName) const;
    void sendToAll(const char* selector, const QVariantMap& settings, bool root) const;
    void delayedRefresh();

    QList<VLScheduledTask> m_cronwellArray;
    QVariantList m_newTaskAppDataArray;
    int m_appReaders = 0;  ///< main thread
};
