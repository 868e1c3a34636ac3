#include "tools/settlekeep/SettlekeepController.h"

#include "base/VLLocalPaths.h"
#include "desktop/VLAlert.h"
#include "foundation/MainThread.h"
#include "foundation/StoredSorting.h"
#include "foundation/VLCallLock.h"
#include "logs/VLLog.h"
#include "remote/VLCorvalinServerProtocol.h"
#include "system/VLException.h"
#include "tools/merged/MergedRow.h"
#include "tools/settlekeep/BackupList.h"
#include "tools/settlekeep/PreferenceTree.h"

namespace {

const QString keptBackupKey = QStringLiteral("backup");  ///< in what a run keeps: its path
const QString pathKey = QStringLiteral("path");
const QString backupNameKey = QStringLiteral("backupName");
const QString backupTypeKey = QStringLiteral("backupType");
const QString keysKey = QStringLiteral("keys");

Run::Description change(const QString& action, const QString& done, const QString& subject = {}) {
    return {.action = action, .actionDone = done, .subject = subject, .isChange = true};
}

void showAlert(const QString& messageText, const QString& informativeText) {
    VLAlert::alertSheetWithMessageText(messageText, {}, {}, {}, informativeText, nullptr, false);
}

}  // namespace

void SettlekeepController::postProgress(std::function<void(TaskProgress&)> change) const {
    onMainThread([progress = context().progress, change = std::move(change)] { change(*progress); });
}

// ---- The preference tree

void SettlekeepController::populateSettlekeepPrefs() {
    try {
        VLLog::appendLog(QStringLiteral("Populating Settlekeep preference type list..."));
        m_settlekeepPrefArray =
            PreferenceTree::make(VLLocalPaths::libraryDirectory(true) + QStringLiteral("/Preferences"));
        updateSettlekeepPrefSelection();
    } catch (const std::exception& exception) {
        VLException::logException(exception, "-[AppController populateSettlekeepPrefs]");
    }
}

QStringList SettlekeepController::settlekeepSelectedPrefKeys() const {
    return PreferenceTree::selectedKeys(m_settlekeepPrefArray);
}

void SettlekeepController::updateSettlekeepPrefSelection() {
    PreferenceTree::updateSelection(m_settlekeepPrefArray);
    Q_EMIT prefsChanged();
}

void SettlekeepController::setPrefSelected(int application, int child, int selected) {
    PreferenceTree::setSelected(m_settlekeepPrefArray, application, child, selected);
    updateSettlekeepPrefSelection();
}

// ---- Backups

bool SettlekeepController::isValidName(const QString& name) {
    if (!name.isEmpty() && name != u".") return true;
    showAlert(tr("You must enter a backup name"), tr("You must enter a valid name for this backup."));
    return false;
}

void SettlekeepController::settlekeepBackup() {
    if (settlekeepSelectedPrefKeys().isEmpty()) {
        showAlert(tr("No items selected"), tr("You must select at least one item to backup."));
        return;
    }
    VLLog::appendLog(QStringLiteral("Showing backup dialog for selected preference backup..."));
    Q_EMIT backupSheetWanted(BackupFlow::Named);
}

void SettlekeepController::settlekeepBackupAction(const QString& name, int type) {
    if (!isValidName(name)) return;
    const QVariantMap options{{backupNameKey, name},
                              {backupTypeKey, qlonglong(type)},
                              {keysKey, settlekeepSelectedPrefKeys().join(u',')}};
    startRun(QStringLiteral("settlekeepBackupOnThread:"), change(tr("Back Up"), tr("Backed up"), name),
             [this, options] { settlekeepBackupOnThread(options); });
}

void SettlekeepController::settlekeepQuickBackup() {
    VLLog::appendLog(QStringLiteral("Showing Settlekeep quick backup dialog..."));
    Q_EMIT backupSheetWanted(BackupFlow::Quick);
}

void SettlekeepController::settlekeepQuickBackupAction(const QString& name, int type) {
    if (!isValidName(name)) return;
    const QVariantMap options{{backupNameKey, name}, {backupTypeKey, qlonglong(type)}};
    startRun(QStringLiteral("settlekeepQuickBackupOnThread:"),
             change(tr("Quick Backup"), tr("Backed up"), name),
             [this, options] { settlekeepQuickBackupOnThread(options); });
}

void SettlekeepController::settlekeepBackupOnThread(const QVariantMap& options) {
    VLLog::appendLog(QStringLiteral("Backing up selected Settlekeep preferences: %@"),
                     options.value(keysKey));
    context().runner->executeRemoteMethods(QStringLiteral("settlekeepBackupSelected:"), options);
    startRefresh(QStringLiteral("populateSettlekeepBackups"));
}

void SettlekeepController::settlekeepQuickBackupOnThread(const QVariantMap& options) {
    const QVariant name = options.value(backupNameKey);
    const QVariant type = options.value(backupTypeKey);
    VLLog::appendLog(QStringLiteral("Performing quick backup to %@ of type %i..."), name, type);
    context().runner->executeRemoteMethods(QStringLiteral("settlekeepBackup:type:"), name, type);
    startRefresh(QStringLiteral("populateSettlekeepBackups"));
}

// ---- Lock, unlock, trash

void SettlekeepController::sendKeys(const QString& logLine, const QString& selector, const QString& worker,
                                    Run::Description description) {
    const QString keys = settlekeepSelectedPrefKeys().join(u',');
    VLLog::appendLog(logLine, keys);
    description.subject = PreferenceTree::coveredApplications(keys);
    startRun(worker, description, [this, selector, keys, worker] {
        context().runner->executeRemoteMethods(selector, keys);
        startWorker(worker, [this] { populateLocks(); });
    });
}

/// Clients that do not say have no entry.
void SettlekeepController::populateLocks() {
    constexpr qsizetype mostKeys = 200, longestKey = 64;
    const RunScope scope(runHere());
    const QVariantMap answers =
        context().runner->objectsFromRemoteMethod(QStringLiteral("settlekeepLockedKeys")).toMap();
    if (isStopped()) return;
    QHash<QString, QStringList> locks;
    for (auto answer = answers.cbegin(); answer != answers.cend(); ++answer) {
        const QVariantList keys = answer->toList();
        for (const QVariant& value : keys.first(std::min(keys.size(), mostKeys))) {
            const QString key = VLCorvalinServerProtocol::textValue(value);
            QStringList& hostNames = locks[key.left(longestKey)];
            if (!hostNames.contains(answer.key())) hostNames.append(answer.key());
        }
    }
    onMainThreadAndWait([&] {
        m_locks = locks;
        Q_EMIT locksChanged();
    });
}

void SettlekeepController::settlekeepLock() {
    sendKeys(QStringLiteral("Locking selected Settlekeep prefs: %@"),
             QStringLiteral("settlekeepLockSelected:"), QStringLiteral("settlekeepLock:"),
             change(tr("Lock"), tr("Locked")));
}

void SettlekeepController::settlekeepUnlock() {
    sendKeys(QStringLiteral("Unlocking selected Settlekeep prefs: %@"),
             QStringLiteral("settlekeepUnlockSelected:"), QStringLiteral("settlekeepUnlock:"),
             change(tr("Unlock"), tr("Unlocked")));
}

void SettlekeepController::settlekeepTrash() {
    Run::Description trashing = change(tr("Trash"), tr("Trashed"));
    trashing.keeping = keeping();
    sendKeys(QStringLiteral("Trashing selected preferences: %@"), QStringLiteral("settlekeepTrashSelected:"),
             QStringLiteral("settlekeepTrash:"), trashing);
}

void SettlekeepController::settlekeepQuickTrash() {
    VLLog::appendLog(QStringLiteral("Settlekeep quick trash..."));
    Run::Description trashing = change(tr("Quick Trash"), tr("Trashed"), tr("main preferences"));
    trashing.keeping = keeping();
    startRun(QStringLiteral("settlekeepQuickTrash:"), trashing, [this] {
        context().runner->executeRemoteTasks(QStringLiteral("0"), QStringLiteral("com.velmora.settlekeep"),
                                             {});
    });
}

// ---- Taking back

Run::Keeping SettlekeepController::keeping() const {
    using Undo = std::optional<QVariantMap>;
    // The path of the backup that the agent made last of what it was about to replace; empty for none.
    const auto lastBackup = [this](const RemoteClientPtr& client) -> Undo {
        const QVariant answer =
            context().runner->objectFromRemoteMethod(QStringLiteral("settlekeepLastUndo"), {}, {}, client);
        if (!answer.isValid()) return std::nullopt;
        const QString path = VLCorvalinServerProtocol::textValue(answer.toMap().value(pathKey));
        return QVariantMap{{keptBackupKey, path.size() <= AgentAnswer::longestText ? path : QString()}};
    };
    // An operation that failed before it replaced anything has made none.
    const auto after = [lastBackup](const RemoteClientPtr& client, const QVariantMap& before) -> Undo {
        const Undo last = lastBackup(client);
        const bool isNew = last && *last != before && !last->value(keptBackupKey).toString().isEmpty();
        return last && !isNew ? QVariantMap() : last;
    };
    return {lastBackup, after};
}

bool SettlekeepController::takeBack(const VLServicePtr& client, const QVariantMap& undo) {
    const QString path = undo.value(keptBackupKey).toString();
    if (path.isEmpty()) return false;
    context().runner->executeRemoteMethod(QStringLiteral("settlekeepRestoreLocalBackup:"), path, {}, client);
    return true;
}

// ---- The list of backups

void SettlekeepController::populateSettlekeepBackups() {
    runRefresh(
        QStringLiteral("populateSettlekeepBackups"), QStringLiteral("Populating Settlekeep backups..."),
        Display::None, [this] { return m_settlekeepBackupArray.isEmpty(); },
        [this](Reading& reading) { populate(reading); });
}

void SettlekeepController::populate(Reading& reading) {
    const QVariant answers = context().runner->objectsFromRemoteMethod(QStringLiteral("settlekeepBackups"));
    if (isStopped()) return;  // what there is so far leaves clients out
    if (!answers.isValid()) {
        VLLog::appendLog(QStringLiteral("Unable to get backup data."));
        return;
    }
    QList<QVariantMap> backups;
    const QVariantMap hosts = answers.toMap();
    for (auto host = hosts.begin(); host != hosts.end(); ++host) {
        const AgentAnswer::Entries list = checkedBackups(*host);
        if (!list.complaint.isEmpty())
            VLLog::appendLog(QStringLiteral("Backups of %@: %@"), host.key(), list.complaint);
        for (QVariantMap backup : list.entries) {
            backup.insert(ClientCopy::hostNameKey, host.key());
            backups.append(backup);
        }
    }
    for (const RemoteClientPtr& client : reading.run->clients())
        if (!hosts.contains(client->hostName())) noteUnanswered(*client, reading);
    install(reading, [&] { setSettlekeepBackupArray(backups); });
}

void SettlekeepController::setSettlekeepBackupArray(const QList<QVariantMap>& backups) {
    m_settlekeepBackupArray = backups;
    m_hasResult = true;
    Q_EMIT changed();
}

void SettlekeepController::clearData() {
    m_settlekeepBackupArray.clear();
    m_locks.clear();
    forgetResult();
    Q_EMIT locksChanged();
}

ToolReport SettlekeepController::report() const {
    ToolReport report;
    report.header = {QStringLiteral("Backup"), QStringLiteral("Computer"), QStringLiteral("Type"),
                     QStringLiteral("Date"),   QStringLiteral("Bytes"),    QStringLiteral("Preferences")};
    QList<QVariantMap> backups = m_settlekeepBackupArray;
    const StoredSorting sorting = storedSorting(QStringLiteral("settlekeepBackupTable"), backupColumnNames());
    sortBackups(backups, backupColumnNames().at(sorting.column), sorting.order == Qt::DescendingOrder,
                context().friendlyServiceName);
    for (const QVariantMap& backup : std::as_const(backups)) {
        report.rows.append({backupName(backup),
                            context().friendlyServiceName(backup.value(ClientCopy::hostNameKey).toString()),
                            backupTypeWord(backup),
                            backup.value(QStringLiteral("date")).toDateTime().toUTC().toString(Qt::ISODate),
                            backup.value(QStringLiteral("size")).toString(),
                            PreferenceTree::coveredApplications(backup.value(keysKey).toString())});
    }
    return report;
}

// ---- Restoring

void SettlekeepController::settlekeepRestore(const QVariantMap& backup, const QList<VLServicePtr>& services) {
    if (backup.isEmpty()) return;
    Run::Description restoring = change(tr("Restore"), tr("Restored"), backupName(backup));
    restoring.keeping = keeping();
    startRunOn(QStringLiteral("settlekeepRestoreBackup:"), restoring, {services.begin(), services.end()},
               [this, backup] { settlekeepRestoreBackup(backup); });
}

void SettlekeepController::settlekeepRestoreBackup(const QVariantMap& backup) {
    const VLCallLock lock;
    const RunScope scope(runHere());
    TaskProgress& progress = *context().progress;
    VLLog::appendLog(QStringLiteral("Restoring Settlekeep backup %@..."), backupName(backup));
    progress.startStatusProgress();
    progress.startProgress();
    try {
        restore(backup);
    } catch (const std::exception& exception) {
        VLException::logException(exception, "-[AppController settlekeepRestoreBackup:]");
    }
    progress.endStatusProgress();
    progress.endProgress();
}

void SettlekeepController::restore(const QVariantMap& backup) {
    const VLServicePtr owner =
        context().serviceWithHostName(backup.value(ClientCopy::hostNameKey).toString());
    if (!owner) {
        VLLog::appendLog(QStringLiteral("Unable to get service for selected backup."));
        return noteNothingToSend(tr("the computer that has the backup is not in the list"));
    }
    const QString path = backup.value(pathKey).toString();
    const QVariant data = ask(QStringLiteral("settlekeepBackupData:"), path, owner);
    if (data.typeId() != QMetaType::QByteArray) {
        VLLog::appendLog(QStringLiteral("Unable to get data for selected backup."));
        return noteNothingToSend(tr("the backup could not be fetched from %1").arg(owner->name()));
    }
    const QList<RemoteClientPtr> clients = Run::current()->clients();
    context().progress->progressBarSetMaxValue(double(clients.size()));
    forEachClient(QStringLiteral("settlekeepRestoreBackup:"), clients, [&](const RemoteClientPtr& client) {
        restoreOn(client, *owner, path, data.toByteArray());
    });
}

void SettlekeepController::restoreOn(const RemoteClientPtr& client, const RemoteClient& owner,
                                     const QString& path, const QByteArray& data) const {
    postProgress([name = client->name()](TaskProgress& progress) {
        progress.updateProgressStatus(tr("Restoring backup on %1...").arg(name));
    });
    if (client->hostName() == owner.hostName())
        context().runner->executeRemoteMethod(QStringLiteral("settlekeepRestoreLocalBackup:"), path, {},
                                              client);
    else
        context().runner->executeRemoteMethod(QStringLiteral("settlekeepRestoreRemoteBackup:"), data, {},
                                              client);
    postProgress([](TaskProgress& progress) { progress.incrementProgress(); });
}
