// Reading the plug-ins, and the report.
#include "tools/addonry/AddonryController.h"

namespace {

QString enabledText(int disabled) {
    if (disabled < 0) return QStringLiteral("mixed");
    return disabled == 0 ? QStringLiteral("yes") : QStringLiteral("no");
}

QString accessText(qlonglong accessType) {
    if (accessType < 0) return QStringLiteral("mixed");
    return accessType == 1 ? QStringLiteral("current user") : QStringLiteral("all users");
}

}  // namespace

void AddonryController::refreshAddonryPlugins() {
    refreshRows({.operation = "refreshAddonryPlugins",
                 .logLine = "Populating Addonry plugins...",
                 .selector = "addonryPluginList",
                 .complaint = "Plug-in list of %@: %@"});
}

QStringList AddonryController::reportTitles() const {
    return {QStringLiteral("Plug-in"), QStringLiteral("Type"), QStringLiteral("Version"),
            QStringLiteral("Enabled"), QStringLiteral("Access")};
}

QStringList AddonryController::reportCells(const VLPluginItem& row) const {
    return {row.name(), row.type(), row.version(), enabledText(row.disabled()), accessText(row.accessType())};
}

QString AddonryController::differenceWord(const VLPluginItem& row) const {
    switch (row.difference()) {
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
