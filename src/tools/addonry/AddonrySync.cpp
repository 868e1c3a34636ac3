// Bringing all clients to the newest version of a plug-in, with common settings.

#include "foundation/VLCallLock.h"
#include "logs/VLLog.h"
#include "remote/Aggregation.h"
#include "system/VLException.h"
#include "tools/addonry/AddonryController.h"

#include <QDateTime>

#include <algorithm>
#include <mutex>

namespace {

using namespace PluginKeys;

/// Where a client installs a plug-in of that type for its user.
QString destination(const QString& type, const QString& fileName) {
    if (type == QLatin1String("FxPlug")) return QStringLiteral("~/Library/Plug-Ins/FxPlug/") + fileName;
    if (type == QLatin1String("FxScript"))
        return QStringLiteral("~/Library/Preferences/Final Cut Pro User Data/Plugins/") + fileName;
    if (type == QLatin1String("Audio Unit"))
        return QStringLiteral("~/Library/Audio/Plug-Ins/Components/") + fileName;
    return fileName;
}

/// Below 0 when `a` is the older one.
int compareAge(const ClientCopy& a, const ClientCopy& b) {
    const int versions = Aggregation::compareVersionString(a.text(versionKey), b.text(versionKey));
    if (versions != 0) return versions;
    const QDateTime first = a.values.value(dateKey).toDateTime();
    const QDateTime second = b.values.value(dateKey).toDateTime();
    if (first == second || !second.isValid()) return 0;
    return !first.isValid() || first < second ? -1 : 1;
}

}  // namespace

std::optional<ClientCopy> AddonryController::newestPlugin(const QList<ClientCopy>& plugins) {
    const auto newest =
        std::max_element(plugins.cbegin(), plugins.cend(),
                         [](const ClientCopy& a, const ClientCopy& b) { return compareAge(a, b) < 0; });
    return newest == plugins.cend() ? std::nullopt : std::optional(*newest);
}

void AddonryController::addonrySyncPlugins() {
    const VLCallLock lock;
    const RunScope scope(runHere());
    VLLog::appendLog(QStringLiteral("Syncing Addonry plugins..."));
    TaskProgress& progress = *context().progress;
    QList<VLPluginItem> rows = copyOfRows();
    progress.startProgress();
    progress.progressBarSetMaxValue(static_cast<double>(rows.size()));
    for (VLPluginItem& row : rows) {
        const bool isMeant = row.difference() >= VLPluginItem::VersionsDiffer;
        if (isStopped()) {
            if (isMeant) noteStoppedAt(row);
            continue;
        }
        try {
            if (isMeant) syncRow(row);
        } catch (const std::exception& exception) {
            VLException::logException(exception, "-[AppController addonrySyncPlugins]");
        }
        progress.incrementProgress();
    }
    progress.endProgress();
    startRefresh(QStringLiteral("refreshAddonryPlugins"));
}

void AddonryController::syncRow(VLPluginItem& row) {
    context().progress->updateProgressStatus(tr("Syncing %1...").arg(row.name()));
    const QVariantMap common = Aggregation::commonValuesForDictArray(row.children());
    const bool needsTransfer =
        row.difference() == VLPluginItem::VersionsDiffer || row.difference() == VLPluginItem::Missing;
    if (needsTransfer && !transferNewest(row)) return;
    applyCommon(enabling(), row, common.value(disabledKey));
    applyCommon(changingAccess(), row, common.value(accessTypeKey));
}

bool AddonryController::transferNewest(VLPluginItem& row) {
    const std::optional<ClientCopy> newest = newestPlugin(row.copies());
    if (!newest) {
        VLLog::appendLog(QStringLiteral("Unable to locate most recent plugin version for plugin %@"),
                         row.name());
        return false;
    }
    const QVariant data = ask(QStringLiteral("addonryPluginData:"), newest->values.value(pathKey),
                              context().serviceWithHostName(newest->hostName));
    if (data.typeId() != QMetaType::QByteArray || data.toByteArray().isEmpty()) {
        VLLog::appendLog(QStringLiteral("Unable to get plugin data representation."));
        noteNotTransferred(row, *newest);
        return false;
    }
    updateInstances(row, *newest, data);
    installWhereMissing(row, *newest, data);
    return true;
}

/// Whoever was to get the newest version does not.
void AddonryController::noteNotTransferred(const VLPluginItem& row, const ClientCopy& newest) const {
    const RunPtr run = runHere();
    const QString reason = tr("“%1” could not be fetched from %2")
                               .arg(row.name(), context().friendlyServiceName(newest.hostName));
    for (const ClientCopy& copy : row.copies())
        if (!Aggregation::sameValue(copy.values.value(versionKey), newest.values.value(versionKey)))
            run->note(copy.hostName, {Outcome::Failed, reason});
    for (const AskedClient& client : row.absent())
        if (client.hasAnswered) run->note(client.hostName, {Outcome::Failed, reason});
}

void AddonryController::noteStoppedAt(const VLPluginItem& row) {
    for (const ClientCopy& copy : row.copies())
        noteStopped(copy.hostName);
    for (const AskedClient& client : row.absent())
        if (client.hasAnswered) noteStopped(client.hostName);
}

void AddonryController::updateInstances(const VLPluginItem& row, const ClientCopy& newest,
                                        const QVariant& data) {
    const QString selector = QStringLiteral("addonryUpdatePlugin:settings:");
    const QVariant version = newest.values.value(versionKey);
    forEachJob(selector, row.copies(), [&](const RemoteClientPtr& client, const ClientCopy& copy) {
        if (Aggregation::sameValue(copy.values.value(versionKey), version)) return;
        const bool needsAdmin = addonryNeedsAdminAccess(row.copies(), {}, {}, client);
        if (isStopped()) return;
        const QVariantMap instance = copy.dictionary();
        if (needsAdmin)
            context().authorizedRunner->authExecuteRemoteMethod(selector, instance, data, client);
        else
            context().runner->executeRemoteMethod(
                selector, {}, QVariantMap{{QStringLiteral("obj1"), instance}, {QStringLiteral("obj2"), data}},
                client);
    });
}

/// A client that gave no answer may have it: it is left alone.
void AddonryController::installWhereMissing(VLPluginItem& row, const ClientCopy& newest,
                                            const QVariant& data) {
    const QString selector = QStringLiteral("addonryInstallPlugin:withData:");
    const ClientCopy first = row.copies().value(0);
    const QString type = first.text(typeKey);
    const QString path = destination(type, first.text(pathKey).section(u'/', -1));
    // The client is told the name under which it is looked for from here on.
    QVariantMap description = newest.dictionary();
    description.insert(typeKey, type);
    description.insert(pathKey, path);
    QList<AskedClient> lacking = row.absent();
    lacking.removeIf([](const AskedClient& client) { return !client.hasAnswered; });
    std::mutex mutex;
    QStringList installed;
    forEachJob(selector, lacking, [&](const RemoteClientPtr& client, const AskedClient& asked) {
        if (!context().runner->executeRemoteMethod(selector, description, data, client)) return;
        const std::lock_guard lock(mutex);
        installed.append(asked.hostName);
    });
    for (const QString& hostName : std::as_const(installed))
        row.addChild({{nameKey, row.name()},
                      {disabledKey, qlonglong{0}},
                      {accessTypeKey, qlonglong{1}},
                      {typeKey, type},
                      {pathKey, path}},
                     hostName);
}

void AddonryController::applyCommon(const Change& change, const VLPluginItem& row, const QVariant& common) {
    if (!common.isValid()) return;
    QList<ClientCopy> differing = row.copies();
    differing.removeIf([&](const ClientCopy& copy) {
        return Aggregation::sameValue(copy.values.value(keyOf(change)), common);
    });
    applyToCopies(change, differing, common.toLongLong());
}
