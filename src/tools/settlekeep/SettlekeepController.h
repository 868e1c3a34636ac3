#pragma once

#include "tools/Tool.h"
#include "tools/settlekeep/VLPrefItem.h"

#include <QList>
#include <QVariant>

/// Preference backups of the selected clients: what is ticked to act on, and the backups that there are.
/// Actions and shown data are for the main thread, workers (the operations that say so) for their own.
class SettlekeepController : public ToolController {
    Q_OBJECT
public:
    enum class BackupFlow { Named, Quick };  ///< what the confirm button of the backup sheet does
    using ToolController::ToolController;

    // Actions.
    void settlekeepBackup();
    void settlekeepBackupAction(const QString& name, int type);
    void settlekeepQuickBackup();
    void settlekeepQuickBackupAction(const QString& name, int type);
    /// Restores one of the listed backups onto these clients, which the user was asked about; an empty
    /// dictionary (no row is selected) does nothing.
    void settlekeepRestore(const QVariantMap& backup, const QList<VLServicePtr>& services);
    void settlekeepRestore(const QVariantMap& backup) {  ///< onto all selected ones
        settlekeepRestore(backup, context().selectedServices());
    }
    void settlekeepLock();
    void settlekeepUnlock();
    void settlekeepTrash();
    void settlekeepQuickTrash();

    // The preference tree and its ticks.
    void populateSettlekeepPrefs();
    [[nodiscard]] const QList<VLPrefItem>& settlekeepPrefArray() const { return m_settlekeepPrefArray; }
    [[nodiscard]] QStringList settlekeepSelectedPrefKeys() const;
    void updateSettlekeepPrefSelection();
    /// A click on a box: of a group, or with `child` -1 of an application.
    void setPrefSelected(int application, int child, int selected);

    // Workers.
    void settlekeepBackupOnThread(const QVariantMap& options);
    void settlekeepQuickBackupOnThread(const QVariantMap& options);
    void settlekeepRestoreBackup(const QVariantMap& backup);  ///< onto the clients of the run
    void populateSettlekeepBackups();
    void populateLocks();

    /// By the key of a group: the host names of the clients where a part of it is locked. Main thread.
    [[nodiscard]] const QHash<QString, QStringList>& locks() const { return m_locks; }
    [[nodiscard]] const QList<QVariantMap>& settlekeepBackupArray() const { return m_settlekeepBackupArray; }
    void setSettlekeepBackupArray(const QList<QVariantMap>& backups);

    void refresh() override {
        const RunScope scope(runHere());  // one reading, and one Cancel, for both
        populateSettlekeepBackups();
        if (!isStopped()) populateLocks();
    }
    void becomesVisible() override { populateSettlekeepPrefs(); }
    void clearData() override;
    /// What a restore replaced and what was trashed, from the backup that the client made of it.
    [[nodiscard]] bool takeBack(const VLServicePtr& client, const QVariantMap& undo) override;
    [[nodiscard]] Run::Keeping keepingOfUndo() override { return keeping(); }
    [[nodiscard]] ToolReport report() const override;

Q_SIGNALS:
    void prefsChanged();
    void locksChanged();
    void backupSheetWanted(SettlekeepController::BackupFlow flow);

private:
    [[nodiscard]] static bool isValidName(const QString& name);
    void sendKeys(const QString& logLine, const QString& selector, const QString& worker,
                  Run::Description description);
    [[nodiscard]] Run::Keeping keeping() const;
    void populate(Reading& reading);
    void restore(const QVariantMap& backup);
    void restoreOn(const RemoteClientPtr& client, const RemoteClient& owner, const QString& path,
                   const QByteArray& data) const;
    /// To the main thread, without waiting.
    void postProgress(std::function<void(TaskProgress&)> change) const;

    QList<VLPrefItem> m_settlekeepPrefArray;
    QList<QVariantMap> m_settlekeepBackupArray;
    QHash<QString, QStringList> m_locks;
};
