#pragma once

#include "tools/cronwell/VLScheduledTask.h"
#include "tools/merged/MergedController.h"

/// The scheduled tasks of the selected clients, merged by tool and description.
///
/// Workers block. Each works for one run, on as many clients at once as that may; one that was cancelled
/// starts nothing more. Then it refreshes the rows on a further thread.
class CronwellController : public MergedController<VLScheduledTask> {
    Q_OBJECT
public:
    using MergedController::MergedController;

    [[nodiscard]] const QList<VLScheduledTask>& cronwellArray() const { return rows(); }  ///< main thread
    void setCronwellArray(QList<VLScheduledTask> rows) { setRows(std::move(rows)); }      ///< main thread

    /// The applications whose tasks can be scheduled, by name: "taskBundleID", "name", and "tasks", each with
    /// "taskID", "taskDescription" and "missingHosts" (selected clients that do not offer it). Main thread.
    [[nodiscard]] const QVariantList& newTaskAppDataArray() const { return m_newTaskAppDataArray; }
    void setNewTaskAppDataArray(const QVariantList& applications, const QStringList& unanswered = {}) {
        m_newTaskAppDataArray = applications;
        m_newTaskUnanswered = unanswered;
    }
    /// The host names of the clients that did not say what they offer: nothing is added there. Main thread.
    [[nodiscard]] const QStringList& newTaskUnanswered() const { return m_newTaskUnanswered; }
    /// The selected clients to which a task can be added; `others` gets the rest. Main thread.
    QList<VLServicePtr> newTaskClients(QList<RemoteClientPtr>* others = nullptr) const;
    /// The host names of those that have that task of the tool already, as far as was read. Main thread.
    [[nodiscard]] QStringList hostsWithTask(const QString& bundleID, const QVariantMap& offer) const;
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
    void cronwellEnableTask(const Edit& enabled);
    void cronwellRemoveTasks(const QList<VLScheduledTask>& rows);
    /// Adds a task on all selected clients but those of newTaskUnanswered(): "bundleid", "taskid",
    /// "scheduletype" and "intervalval" (texts), "enabled" and "root" (numbers).
    void addCronwellTaskOnThread(const QVariantMap& arguments);
    void populateCronwellAppList();

    // From the pane, on the main thread: each starts its worker and returns.
    void cronwellSyncTasksAction();
    void cronwellEnableAllAction();
    void cronwellDisableAllAction();
    /// Asks over `window` first, and then removes the jobs that those rows had when it asked, or of a row
    /// only those that are named; but none whose file has become another task's meanwhile.
    void cronwellRemoveTaskAction(const QList<RowTarget>& targets, QObject* window);
    /// The pane shows the sheet meanwhile; newTaskAppsChanged() says when there is something to choose from.
    void cronwellAddTaskAction();
    void addCronwellTask(const QVariantMap& arguments);
    /// Writes the value into the rows (and their jobs) or jobs, and has the clients do it, one after the
    /// other on one worker. Targets that are gone are skipped.
    void setEnabled(const QList<RowTarget>& targets, int enabled);

    /// The "scheduleType" of the first job whose schedule reads like this; invalid when there is none. Main
    /// thread.
    [[nodiscard]] QVariant taskScheduleScheduleTypeForDescription(const QString& description) const;

    void refresh() override { refreshCronwellTasks(); }
    /// What tasks were like, by CronwellUndo: changed, removed and added ones.
    [[nodiscard]] bool takeBack(const VLServicePtr& client, const QVariantMap& undo) override;
    [[nodiscard]] Run::Keeping keepingOfUndo() override { return keeping(); }
    void clearData() override;

protected:
    [[nodiscard]] QString table() const override { return QStringLiteral("cronwellOutline"); }
    [[nodiscard]] QStringList reportTitles() const override;
    [[nodiscard]] QStringList reportCells(const VLScheduledTask& row) const override;
    [[nodiscard]] QString differenceWord(const VLScheduledTask& row) const override;

Q_SIGNALS:
    void newTaskAppsChanged();  ///< the applications to choose from, or whether they are being read

private:
    /// What is sent to one client: on the authorised path when `root` is not 0; else on the plain one, where
    /// `settings` travel under `plainKey`.
    struct Message {
        QString hostName;
        const char* selector;
        QVariant settings;
        qlonglong root = 0;
        const char* plainKey = "obj1";
        QString logLine = {};
    };
    using ScheduleTypes = QHash<QString, QVariant>;  ///< by schedule in words

    // Main thread.
    void startEnabling(const QList<Edit>& edits);
    void startRemoving(const QList<VLScheduledTask>& rows);
    [[nodiscard]] QString namesOf(const QList<RowTarget>& targets) const;
    [[nodiscard]] QList<VLScheduledTask> rowsWithOnly(const QList<RowTarget>& targets) const;
    [[nodiscard]] QList<VLScheduledTask> withoutReplaced(QList<VLScheduledTask> asked) const;
    void setReadingApps(int change);
    void setupCronwellNewTaskApps(const QVariantList& applications, const QStringList& unanswered);

    // Workers.
    [[nodiscard]] static ScheduleTypes scheduleTypes(const QList<VLScheduledTask>& rows);
    static void addSyncMessages(const VLScheduledTask& row, const ScheduleTypes& types,
                                QList<Message>& messages);
    [[nodiscard]] static Message enabling(const ClientCopy& job, qlonglong enabled);
    void enableTasks(const QList<Edit>& edits);
    void enableEverything(qlonglong enabled) const;
    /// Each client gets its messages in their order.
    void send(const QString& name, const QList<Message>& messages) const;
    void sendTo(const RemoteClientPtr& client, const Message& message) const;
    [[nodiscard]] Run::Keeping keeping() const;
    [[nodiscard]] std::optional<QList<QVariantMap>> tasksOf(const RemoteClientPtr& client) const;
    void sendToAll(const char* selector, const QVariantMap& settings, bool root) const;
    void delayedRefresh();
    void endAndRefresh();

    QVariantList m_newTaskAppDataArray;
    QStringList m_newTaskUnanswered;
    int m_appReaders = 0;  ///< main thread
};
