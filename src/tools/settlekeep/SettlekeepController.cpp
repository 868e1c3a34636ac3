#include "tools/settlekeep/SettlekeepController.h"

#include "foundation/MainThread.h"
#include "foundation/VLCallLock.h"
#include "logs/VLLog.h"
#include "system/VLAlert.h"
#include "system/VLException.h"
#include "system/VLLocalPaths.h"
#include "tools/ClientCopies.h"
#include "tools/settlekeep/BackupList.h"
#include "tools/settlekeep/PreferenceTree.h"

namespace {

const QString pathKey = QStringLiteral("path");
const QString backupNameKey = QStringLiteral("backupName");
const QString backupTypeKey = QStringLiteral("backupType");
const QString keysKey = QStringLiteral("keys");

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
    showAlert(QStringLiteral("You must enter a backup name"),
              QStringLiteral("You must enter a valid name for this backup."));
    return false;
}

void SettlekeepController::settlekeepBackup() {
    if (settlekeepSelectedPrefKeys().isEmpty()) {
        showAlert(QStringLiteral("No items selected"),
                  QStringLiteral("You must select at least one item to backup."));
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
    startWorker(QStringLiteral("settlekeepBackupOnThread:"),
                [this, options] { settlekeepBackupOnThread(options); });
}

void SettlekeepController::settlekeepQuickBackup() {
    VLLog::appendLog(QStringLiteral("Showing Settlekeep quick backup dialog..."));
    Q_EMIT backupSheetWanted(BackupFlow::Quick);
}

void SettlekeepController::settlekeepQuickBackupAction(const QString& name, int type) {
    if (!isValidName(name)) return;
    const QVariantMap options{{backupNameKey, name}, {backupTypeKey, qlonglong(type)}};
    startWorker(QStringLiteral("settlekeepQuickBackupOnThread:"),
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

void SettlekeepController::sendKeys(const QString& logLine, const QString& selector, const QString& worker) {
    const QString keys = settlekeepSelectedPrefKeys().join(u',');
    VLLog::appendLog(logLine, keys);
    startWorker(worker, [this, selector, keys] { context().runner->executeRemoteMethods(selector, keys); });
}

void SettlekeepController::settlekeepLock() {
    sendKeys(QStringLiteral("Locking selected Settlekeep prefs: %@"),
             QStringLiteral("settlekeepLockSelected:"), QStringLiteral("settlekeepLock:"));
}

void SettlekeepController::settlekeepUnlock() {
    sendKeys(QStringLiteral("Unlocking selected Settlekeep prefs: %@"),
             QStringLiteral("settlekeepUnlockSelected:"), QStringLiteral("settlekeepUnlock:"));
}

void SettlekeepController::settlekeepTrash() {
    sendKeys(QStringLiteral("Trashing selected preferences: %@"), QStringLiteral("settlekeepTrashSelected:"),
             QStringLiteral("settlekeepTrash:"));
}

void SettlekeepController::settlekeepQuickTrash() {
    VLLog::appendLog(QStringLiteral("Settlekeep quick trash..."));
    startWorker(QStringLiteral("settlekeepQuickTrash:"), [this] {
        context().runner->executeRemoteTasks(QStringLiteral("0"), QStringLiteral("com.velmora.settlekeep"),
                                             {});
    });
}

// ---- The list of backups

void SettlekeepController::populateSettlekeepBackups() {
    runRefresh(
        QStringLiteral("populateSettlekeepBackups"), QStringLiteral("Populating Settlekeep backups..."),
        Display::None, [this] { return m_settlekeepBackupArray.isEmpty(); },
        [this](const Reading& reading) { populate(reading); });
}

void SettlekeepController::populate(const Reading& reading) {
    const QVariant answers = context().runner->objectsFromRemoteMethod(QStringLiteral("settlekeepBackups"));
    if (isStopped(reading.run)) return;  // what there is so far leaves clients out
    if (!answers.isValid()) {
        VLLog::appendLog(QStringLiteral("Unable to get backup data."));
        return;
    }
    QList<QVariantMap> backups;
    const QVariantMap hosts = answers.toMap();
    for (auto host = hosts.begin(); host != hosts.end(); ++host) {
        const BackupList list = BackupList::fromAnswer(*host);
        if (!list.complaint.isEmpty())
            VLLog::appendLog(QStringLiteral("Backups of %@: %@"), host.key(), list.complaint);
        for (QVariantMap backup : list.backups) {
            backup.insert(ClientCopies::hostNameKey, host.key());
            backups.append(backup);
        }
    }
    install(reading, [&] { setSettlekeepBackupArray(backups); });
}

void SettlekeepController::setSettlekeepBackupArray(const QList<QVariantMap>& backups) {
    m_settlekeepBackupArray = backups;
    m_hasResult = true;
    Q_EMIT changed();
}

void SettlekeepController::clearData() {
    m_settlekeepBackupArray.clear();
    m_hasResult = false;
    Q_EMIT changed();
}

ToolReport SettlekeepController::report() const {
    ToolReport report;
    report.header = {QStringLiteral("Backup"), QStringLiteral("Computer"), QStringLiteral("Type"),
                     QStringLiteral("Date"),   QStringLiteral("Bytes"),    QStringLiteral("Preferences")};
    for (const QVariantMap& backup : m_settlekeepBackupArray) {
        report.rows.append({backupName(backup),
                            context().friendlyServiceName(ClientCopies::hostNameOf(backup)),
                            backupTypeText(backup.value(QStringLiteral("type"))),
                            backup.value(QStringLiteral("date")).toDateTime().toUTC().toString(Qt::ISODate),
                            backup.value(QStringLiteral("size")).toString(),
                            PreferenceTree::coveredApplications(backup.value(keysKey).toString())});
    }
    return report;
}

// ---- Restoring

void SettlekeepController::settlekeepRestore(const QVariantMap& backup) {
    if (backup.isEmpty()) return;
    startWorker(QStringLiteral("settlekeepRestoreBackup:"),
                [this, backup] { settlekeepRestoreBackup(backup); });
}

void SettlekeepController::settlekeepRestoreBackup(const QVariantMap& backup) {
    const VLCallLock lock;
    TaskProgress& progress = *context().progress;
    VLLog::appendLog(QStringLiteral("Restoring Settlekeep backup %@..."), backupName(backup));
    progress.startStatusProgress();
    progress.startProgress();
    const int run = progress.currentRun();
    try {
        restore(backup, run);
    } catch (const std::exception& exception) {
        VLException::logException(exception, "-[AppController settlekeepRestoreBackup:]");
    }
    onMainThreadAndWait([&progress] {
        progress.endStatusProgress();
        progress.endProgress();
    });
}

void SettlekeepController::restore(const QVariantMap& backup, int run) {
    const VLServicePtr owner = context().serviceWithHostName(ClientCopies::hostNameOf(backup));
    if (!owner) {
        VLLog::appendLog(QStringLiteral("Unable to get service for selected backup."));
        return;
    }
    const QString path = backup.value(pathKey).toString();
    const QVariant data =
        context().runner->objectFromRemoteMethod(QStringLiteral("settlekeepBackupData:"), path, {}, owner);
    if (data.typeId() != QMetaType::QByteArray) {
        VLLog::appendLog(QStringLiteral("Unable to get data for selected backup."));
        return;
    }
    const QList<VLServicePtr> services = context().selectedServices();
    context().progress->progressBarSetMaxValue(double(services.size()));
    for (const VLServicePtr& service : services) {
        if (isStopped(run)) return;
        restoreOn(service, owner, path, data.toByteArray());
    }
}

void SettlekeepController::restoreOn(const VLServicePtr& service, const VLServicePtr& owner,
                                     const QString& path, const QByteArray& data) const {
    postProgress([name = service->name()](TaskProgress& progress) {
        progress.updateProgressStatus(QStringLiteral("Restoring backup on %1...").arg(name));
    });
    if (service->hostName() == owner->hostName()) {
        context().runner->executeRemoteMethod(QStringLiteral("settlekeepRestoreLocalBackup:"), path, {},
                                              service);
    } else {
        context().runner->executeRemoteMethod(QStringLiteral("settlekeepRestoreRemoteBackup:"), data, {},
                                              service);
    }
    postProgress([](TaskProgress& progress) {
        progress.incrementProgress();
        progress.incrementStatusProgress();
    });
}
