#include "tools/addonry/AddonryController.h"

#include "logs/VLLog.h"
#include "tools/ClientCopies.h"
#include "tools/addonry/PluginList.h"
#include "tools/addonry/RowMerger.h"

#include <utility>

namespace {

QString enabledText(int disabled) {
    if (disabled < 0) return QStringLiteral("mixed");
    return disabled == 0 ? QStringLiteral("yes") : QStringLiteral("no");
}

QString accessText(qlonglong accessType) {
    if (accessType < 0) return QStringLiteral("mixed");
    return accessType == 1 ? QStringLiteral("current user") : QStringLiteral("all users");
}

QString differenceText(int state) {
    switch (state) {
        case VLPluginItem::VersionsDiffer:
            return QStringLiteral("version");
        case VLPluginItem::EnabledDiffers:
            return QStringLiteral("enabled");
        case VLPluginItem::AccessTypeDiffers:
            return QStringLiteral("access");
        case VLPluginItem::Missing:
            return QStringLiteral("missing");
        default:
            return QStringLiteral("none");
    }
}

}  // namespace

void AddonryController::refreshAddonryPlugins() {
    runRefresh(
        QStringLiteral("refreshAddonryPlugins"), QStringLiteral("Populating Addonry plugins..."),
        Display::StatusBar, [this] { return m_addonryArray.isEmpty(); },
        [this](const Reading& reading) { populate(reading); });
}

void AddonryController::populate(const Reading& reading) {
    RowMerger merger;
    QStringList hostNames;
    const auto take = [&](const VLService& client, const QVariant& answer) {
        hostNames.append(client.hostName());
        const PluginList list = PluginList::fromAnswer(answer);
        if (!list.complaint.isEmpty())
            VLLog::appendLog(QStringLiteral("Plug-in list of %@: %@"), client.name(), list.complaint);
        for (const QVariantMap& instance : list.instances)
            merger.add(instance, hostNames.last());
    };
    if (!askEach(QStringLiteral("addonryPluginList"), reading, take)) return;
    QList<VLPluginItem> rows = merger.takeRows(hostNames);
    install(reading, [&] { setAddonryArray(std::move(rows)); });
}

void AddonryController::setAddonryArray(QList<VLPluginItem> rows) {
    m_addonryArray = std::move(rows);
    m_hasResult = true;
    Q_EMIT changed();
}

void AddonryController::clearData() {
    m_addonryArray.clear();
    m_hasResult = false;
    Q_EMIT changed();
}

ToolReport AddonryController::report() const {
    ToolReport report;
    report.header = {QStringLiteral("Plug-in"), QStringLiteral("Type"),      QStringLiteral("Version"),
                     QStringLiteral("Enabled"), QStringLiteral("Access"),    QStringLiteral("Computers"),
                     QStringLiteral("Differs"), QStringLiteral("Missing on")};
    for (const VLPluginItem& row : m_addonryArray) {
        QStringList missing;
        for (const QVariant& host : row.missingHosts())
            missing.append(context().friendlyServiceName(ClientCopies::hostNameOf(host.toMap())));
        report.rows.append({row.name(), row.type(), row.version(), enabledText(row.disabled()),
                            accessText(row.accessType()), QString::number(row.children().size()),
                            differenceText(row.state()), missing.join(QStringLiteral(", "))});
    }
    return report;
}
