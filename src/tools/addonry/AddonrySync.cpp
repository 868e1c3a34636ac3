// Bringing all clients to the newest version of a plug-in, with common settings.

#include "foundation/VLCallLock.h"
#include "logs/VLLog.h"
#include "remote/Aggregation.h"
#include "system/VLException.h"
#include "tools/addonry/AddonryController.h"
#include "tools/addonry/PluginKeys.h"

#include <QDateTime>

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
int compareAge(const QVariantMap& a, const QVariantMap& b) {
    const int versions =
        Aggregation::compareVersionString(a.value(versionKey).toString(), b.value(versionKey).toString());
    if (versions != 0) return versions;
    const QDateTime first = a.value(dateKey).toDateTime();
    const QDateTime second = b.value(dateKey).toDateTime();
    if (first == second || !second.isValid()) return 0;
    return !first.isValid() || first < second ? -1 : 1;
}

QVariantMap firstInstance(const VLPluginItem& row) {
    return row.children().value(0).toMap();
}

}  // namespace

QVariantMap AddonryController::newestPlugin(const QVariantList& plugins) {
    QVariantMap newest;
    for (const QVariant& plugin : plugins) {
        const QVariantMap candidate = plugin.toMap();
        if (newest.isEmpty() || compareAge(newest, candidate) < 0) newest = candidate;
    }
    return newest;
}

void AddonryController::addonrySyncPlugins() {
    const VLCallLock lock;
    VLLog::appendLog(QStringLiteral("Syncing Addonry plugins..."));
    TaskProgress& progress = *context().progress;
    QList<VLPluginItem> rows = copyOfRows();
    progress.startProgress();
    const int run = progress.currentRun();
    progress.progressBarSetMaxValue(static_cast<double>(rows.size()));
    for (VLPluginItem& row : rows) {
        if (isStopped(run)) break;
        try {
            if (row.state() >= VLPluginItem::VersionsDiffer) syncRow(row, run);
        } catch (const std::exception& exception) {
            VLException::logException(exception, "-[AppController addonrySyncPlugins]");
        }
        progress.incrementProgress();
    }
    progress.endProgress();
    startRefresh(QStringLiteral("refreshAddonryPlugins"));
}

void AddonryController::syncRow(VLPluginItem& row, int run) {
    context().progress->updateProgressStatus(vlFormat(QStringLiteral("Syncing %@..."), row.name()));
    const QVariantMap common = Aggregation::commonValuesForDictArray(row.children());
    const bool needsTransfer =
        row.state() == VLPluginItem::VersionsDiffer || row.state() == VLPluginItem::Missing;
    if (needsTransfer && !transferNewest(row, run)) return;
    applyCommon(enabling(), row, common.value(disabledKey), run);
    applyCommon(changingAccess(), row, common.value(accessTypeKey), run);
}

bool AddonryController::transferNewest(VLPluginItem& row, int run) {
    const QVariantMap newest = newestPlugin(row.children());
    if (newest.isEmpty()) {
        VLLog::appendLog(QStringLiteral("Unable to locate most recent plugin version for plugin %@"),
                         row.name());
        return false;
    }
    const QVariant data = context().runner->objectFromRemoteMethod(
        QStringLiteral("addonryPluginData:"), newest.value(pathKey), {},
        context().serviceWithHostName(newest.value(hostNameKey).toString()));
    if (data.typeId() != QMetaType::QByteArray || data.toByteArray().isEmpty()) {
        VLLog::appendLog(QStringLiteral("Unable to get plugin data representation."));
        return false;
    }
    updateInstances(row, newest, data, run);
    installWhereMissing(row, newest, data, run);
    return true;
}

void AddonryController::updateInstances(const VLPluginItem& row, const QVariantMap& newest,
                                        const QVariant& data, int run) {
    const QString selector = QStringLiteral("addonryUpdatePlugin:settings:");
    for (const QVariant& child : row.children()) {
        if (isStopped(run)) return;
        const QVariantMap instance = child.toMap();
        if (Aggregation::sameValue(instance.value(versionKey), newest.value(versionKey))) continue;
        const VLServicePtr service = context().serviceWithHostName(instance.value(hostNameKey).toString());
        if (!service) continue;
        const bool needsAdmin = addonryNeedsAdminAccess({QVariant::fromValue(row)}, {}, {}, service);
        if (isStopped(run)) return;
        if (needsAdmin)
            context().authorizedRunner->authExecuteRemoteMethod(selector, instance, data, service);
        else
            context().runner->executeRemoteMethod(
                selector, {}, QVariantMap{{QStringLiteral("obj1"), instance}, {QStringLiteral("obj2"), data}},
                service);
    }
}

void AddonryController::installWhereMissing(VLPluginItem& row, const QVariantMap& newest,
                                            const QVariant& data, int run) {
    const QVariantMap first = firstInstance(row);
    const QString fileName = first.value(pathKey).toString().section(u'/', -1);
    const QString type = first.value(typeKey).toString();
    const QString path = destination(type, fileName);
    for (const QVariant& placeholder : row.missingHosts()) {
        if (isStopped(run)) return;
        const QString hostName = placeholder.toMap().value(hostNameKey).toString();
        const VLServicePtr service = context().serviceWithHostName(hostName);
        if (!service) continue;
        // The client is told the name under which it is looked for from here on.
        QVariantMap description = newest;
        description.insert(typeKey, type);
        description.insert(pathKey, path);
        context().runner->executeRemoteMethod(QStringLiteral("addonryInstallPlugin:withData:"), description,
                                              data, service);
        row.addChild({{nameKey, row.name()},
                      {disabledKey, qlonglong{0}},
                      {accessTypeKey, qlonglong{1}},
                      {typeKey, type},
                      {pathKey, path}},
                     hostName);
    }
}

void AddonryController::applyCommon(const Change& change, const VLPluginItem& row, const QVariant& common,
                                    int run) {
    if (!common.isValid()) return;
    const QString& key = keyOf(change);
    for (const QVariant& child : row.children()) {
        if (isStopped(run)) return;
        const QVariantMap instance = child.toMap();
        if (!Aggregation::sameValue(instance.value(key), common))
            attempt(change, {{QStringLiteral("plugin"), instance}, {key, common}}, run);
    }
}
