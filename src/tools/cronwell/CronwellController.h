#pragma once

#include "tools/Tool.h"
#include "tools/cronwell/VLScheduledTask.h"

#include <QHash>
#include <QList>
#include <QVariant>

#include <atomic>
#include <variant>

/// The scheduled tasks of the selected clients, merged by tool and description.
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
    /// is missing.
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
    void cronwellSyncTasksAction();
    void cronwellEnableAllAction();
    void cronwellDisableAllAction();
    /// Asks over `window` first. Rows as cronwellArray() has them.
    void cronwellRemoveTaskAction(const QList<int>& rows, QObject* window);
    /// The pane shows the sheet meanwhile; newTaskAppsChanged() says when there is something to choose from.
    void cronwellAddTaskAction();
    void addCronwellTask(const QVariantMap& arguments);
    /// A row (`child` below 0) or one client's job in it: writes the value into the row, into every job of a
    /// merged one as well, and starts the worker.
    void setEnabled(int row, int child, int enabled);

    /// The "scheduleType" of the first job whose schedule reads like this; invalid when there is none. Main
    /// thread.
    [[nodiscard]] QVariant taskScheduleScheduleTypeForDescription(const QString& description) const;

    void refresh() override { refreshCronwellTasks(); }
    void clearData() override;
    [[nodiscard]] ToolReport report() const override;

    /// Orders rows by one of their values ("taskDescription", "frequencyDescription", "taskBundleID",
    /// "enabled", "root", "state").
    static void sortRows(QList<VLScheduledTask>& rows, const QString& column, bool descending);

Q_SIGNALS:
    void newTaskAppsChanged();  ///< the applications to choose from, or whether they are being read

private:
    class ProgressSteps;
    using ScheduleTypes = QHash<QString, QVariant>;  ///< by schedule in words

    [[nodiscard]] bool isStopped(int run) const;
    [[nodiscard]] QList<VLScheduledTask> rows() const;  ///< any thread
    void populate();
    void install(QList<VLScheduledTask> rows, int refresh, int run);
    void setupCronwellNewTaskApps(const QVariantList& applications);
    void readApps();
    void setReadingApps(int change);

    [[nodiscard]] static ScheduleTypes scheduleTypes(const QList<VLScheduledTask>& rows);
    void syncRow(const VLScheduledTask& row, const ScheduleTypes& types, ProgressSteps& progress);
    void enableOnHost(const QVariantMap& instance, qlonglong enabled) const;
    void enableOnAllHosts(const VLScheduledTask& row, qlonglong enabled);
    void enableEverything(qlonglong enabled) const;
    void startEnabling(EnableRequest request);
    /// The authorised path when `root` is not 0; else the plain one, with `settings` under `plainKey`.
    void send(const char* selector, const QVariant& settings, qlonglong root, const char* plainKey,
              const QString& hostName) const;
    void sendToAll(const char* selector, const QVariantMap& settings, bool root) const;
    void delayedRefresh();

    QList<VLScheduledTask> m_cronwellArray;
    QVariantList m_newTaskAppDataArray;
    std::atomic<int> m_lastRefresh{0};
    int m_installedRefresh = 0;  ///< main thread
    int m_appReaders = 0;        ///< main thread
};
