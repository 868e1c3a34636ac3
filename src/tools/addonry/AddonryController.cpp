#include "tools/addonry/AddonryController.h"

#include "foundation/MainThread.h"
#include "foundation/VLCallLock.h"
#include "foundation/VLThread.h"
#include "foundation/VLUserDefaults.h"
#include "logs/VLLog.h"
#include "system/VLException.h"
#include "tools/addonry/PluginList.h"
#include "tools/addonry/RowMerger.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace {

const QString hostNameKey = QStringLiteral("hostname");

/// What a row is sorted by: a text (folded, so that case doesn't count) or a number.
std::pair<QString, qlonglong> sortKey(const VLPluginItem& row, const QString& column) {
    if (column == QLatin1String("version")) return {row.version().toCaseFolded(), 0};
    if (column == QLatin1String("type")) return {row.type().toCaseFolded(), 0};
    if (column == QLatin1String("disabled")) return {{}, row.disabled()};
    if (column == QLatin1String("accessType")) return {{}, row.accessType()};
    if (column == QLatin1String("state")) return {{}, row.state()};
    return {row.name().toCaseFolded(), 0};
}

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

bool AddonryController::isStopped(int run) const {
    return context().progress->isCancelled(run) || VLThread::isCancelled();
}

void AddonryController::refreshAddonryPlugins() {
    const VLCallLock lock;
    onMainThreadAndWait([this] {
        if (m_addonryArray.isEmpty()) setBusy(true);
    });
    VLLog::appendLog(QStringLiteral("Populating Addonry plugins..."));
    try {
        populate();
    } catch (const std::exception& exception) {
        VLException::logException(exception, "-[AppController refreshAddonryPlugins]");
    }
    onMainThreadAndWait([this] { setBusy(false); });
    context().progress->endStatusProgress();
}

void AddonryController::populate() {
    const int refresh = ++m_lastRefresh;
    const QList<VLServicePtr> services = context().selectedServices();
    context().progress->startStatusProgress();
    const int run = context().progress->currentRun();
    RowMerger merger;
    QStringList hostNames;
    for (const VLServicePtr& service : services) {
        if (isStopped(run)) break;
        const QString hostName = service->hostName();
        hostNames.append(hostName);
        const PluginList list = PluginList::fromAnswer(
            context().runner->objectFromRemoteMethod(QStringLiteral("addonryPluginList"), {}, {}, service));
        if (!list.complaint.isEmpty())
            VLLog::appendLog(QStringLiteral("Plug-in list of %@: %@"), service->name(), list.complaint);
        for (const QVariantMap& instance : list.instances)
            merger.add(instance, hostName);
        context().progress->incrementStatusProgress();
    }
    // Half a run says nothing about the clients that it did not come to.
    if (isStopped(run)) return;
    install(merger.takeRows(hostNames), refresh, run);
}

void AddonryController::install(QList<VLPluginItem> rows, int refresh, int run) {
    sortAsStored(rows);
    onMainThreadAndWait([this, rows = std::move(rows), refresh, run]() mutable {
        if (refresh < m_installedRefresh || context().progress->isCancelled(run)) return;
        m_installedRefresh = refresh;
        setAddonryArray(std::move(rows));
    });
}

void AddonryController::sortAsStored(QList<VLPluginItem>& rows) {
    const VLUserDefaults& defaults = VLUserDefaults::standardUserDefaults();
    sortRows(rows, defaults.stringForKey(QStringLiteral("addonryOutlineSortedColumn")),
             defaults.boolForKey(QStringLiteral("addonryOutlineSortedDescending")));
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

void AddonryController::sortRows(QList<VLPluginItem>& rows, const QString& column, bool descending) {
    // Keys are made once and places are sorted, not rows: there may be a hundred thousand of them.
    struct Place {
        std::pair<QString, qlonglong> key;
        qsizetype row;
    };
    std::vector<Place> places;
    places.reserve(size_t(rows.size()));
    for (qsizetype row = 0; row < rows.size(); ++row)
        places.push_back({sortKey(rows.at(row), column), row});
    std::stable_sort(places.begin(), places.end(), [&](const Place& a, const Place& b) {
        if (a.key != b.key) return descending ? b.key < a.key : a.key < b.key;
        return rows.at(a.row).name() < rows.at(b.row).name();
    });
    QList<VLPluginItem> sorted;
    sorted.reserve(rows.size());
    for (const Place& place : places)
        sorted.append(std::move(rows[place.row]));
    rows = std::move(sorted);
}

ToolReport AddonryController::report() const {
    ToolReport report;
    report.header = {QStringLiteral("Plug-in"), QStringLiteral("Type"),      QStringLiteral("Version"),
                     QStringLiteral("Enabled"), QStringLiteral("Access"),    QStringLiteral("Computers"),
                     QStringLiteral("Differs"), QStringLiteral("Missing on")};
    for (const VLPluginItem& row : m_addonryArray) {
        QStringList missing;
        for (const QVariant& host : row.missingHosts())
            missing.append(context().friendlyServiceName(host.toMap().value(hostNameKey).toString()));
        report.rows.append({row.name(), row.type(), row.version(), enabledText(row.disabled()),
                            accessText(row.accessType()), QString::number(row.children().size()),
                            differenceText(row.state()), missing.join(QStringLiteral(", "))});
    }
    return report;
}
